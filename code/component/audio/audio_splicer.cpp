#include "audio/audio_splicer.h"

#include <algorithm>
#include <stdexcept>

namespace ns_audio {

struct audio_splicer::open_piece {
  std::unique_ptr<audio_source> sound;  // null once silent or at its end
  int64_t lead = 0;
  uint64_t skip = 0;   // samples of a negative lead not yet dropped
  uint64_t start = 0;  // output sample of its first; set when the piece before ends
  uint64_t end = 0;    // output sample after its last; set when it ends
  bool fade_in = false;
  bool fade_out = false;
};

audio_splicer::audio_splicer(const audio_format& format, frame_rate video_rate, std::vector<piece> given,
                             splice_options options)
    : format(format),
      rate(video_rate),
      options(std::move(options)),
      fade(sample_at_frame(this->options.join_fade_ms, {1000, 1}, format.sample_rate)) {
  if (format.sample_rate == 0 || format.channels() == 0) throw std::invalid_argument("the sound needs a rate and channels");
  if (rate.num == 0 || rate.den == 0) throw std::invalid_argument("the video needs a frame rate");
  int mains = 0;
  for (size_t i = 0; i < given.size(); ++i) {
    if (i > 0 && given[i].role <= given[i - 1].role) {
      throw std::invalid_argument("pieces go intro, main, outro, each at most once");
    }
    if (given[i].role == piece_role::main) {
      main_index = i;
      ++mains;
    }
    auto p = std::make_unique<open_piece>();
    p->sound = std::move(given[i].sound);
    p->lead = p->sound ? p->sound->lead() : 0;
    p->skip = p->lead < 0 ? static_cast<uint64_t>(-p->lead) : 0;
    p->fade_in = i > 0;
    p->fade_out = i + 1 < given.size();
    pieces.push_back(std::move(p));
  }
  if (mains != 1) throw std::invalid_argument("the splice has exactly one main piece");
}

audio_splicer::~audio_splicer() = default;

void audio_splicer::picture(bool from_main) {
  if (from_main) {
    if (ended > main_index) throw std::logic_error("a main-source picture after the outro's");
    while (ended < main_index) end_piece(video_frames);
    main_seen = true;
  } else if (!main_seen && main_index == 0) {
    throw std::logic_error("a picture before the main source's, and there is no intro");
  } else if (main_seen && ended == main_index) {
    end_piece(video_frames);
  }
  if (!from_main && ended == pieces.size()) {
    throw std::logic_error("a picture after the main source's, and there is no outro");
  }
  ++video_frames;
}

void audio_splicer::end_piece(uint64_t frames) {
  if (ended == pieces.size()) throw std::logic_error("every piece has ended already");
  if (frames < video_frames) throw std::logic_error("a piece cannot end before the pictures already told");
  video_frames = frames;
  open_piece& p = *pieces[ended];
  p.end = sample_at_frame(frames, rate, format.sample_rate);
  if (++ended < pieces.size()) pieces[ended]->start = p.end;
}

void audio_splicer::finish(uint64_t frames) {
  while (ended < pieces.size()) end_piece(frames);
  finished = true;
}

uint64_t audio_splicer::ready() const {
  if (ended == pieces.size()) return pieces.back()->end;
  const open_piece& p = *pieces[ended];
  // The fade-out of the open piece needs its end; hold its length back until then.
  const uint64_t hold = p.fade_out ? fade : 0;
  const uint64_t so_far = sample_at_frame(video_frames, rate, format.sample_rate);
  return so_far > p.start + hold ? so_far - hold : p.start;
}

bool audio_splicer::done() const { return finished && pos == pieces.back()->end; }

size_t audio_splicer::pull(uint64_t until, float* out, size_t capacity) {
  const uint64_t limit = std::min(until, ready());
  size_t done = 0;
  while (pos < limit && done < capacity) {
    while (current < ended && pos >= pieces[current]->end) pieces[current++]->sound.reset();
    const uint64_t piece_limit = current < ended ? std::min(limit, pieces[current]->end) : limit;
    const size_t n = static_cast<size_t>(std::min<uint64_t>(capacity - done, piece_limit - pos));
    render(out + done * format.channels(), n);
    pos += n;
    done += n;
  }
  return done;
}

void audio_splicer::render(float* out, size_t n) {
  open_piece& p = *pieces[current];
  const size_t channels = format.channels();
  const uint64_t t0 = pos - p.start;  // within the piece
  size_t silent = 0;
  if (p.lead > 0 && t0 < static_cast<uint64_t>(p.lead)) silent = static_cast<size_t>(std::min<uint64_t>(n, p.lead - t0));
  std::fill(out, out + silent * channels, 0.0f);
  read_sound(p, out + silent * channels, n - silent);
  if (fade == 0) return;
  const bool end_known = current < ended;
  for (size_t i = 0; i < n; ++i) {
    const uint64_t t = t0 + i;
    float gain = 1.0f;
    // Both ramps reach 0 at the cut: the first sample of a piece and the last one
    // before a join are silent.
    if (p.fade_in && t < fade) gain *= static_cast<float>(t) / static_cast<float>(fade);
    if (p.fade_out && end_known) {
      const uint64_t left = p.end - p.start - 1 - t;
      if (left < fade) gain *= static_cast<float>(left) / static_cast<float>(fade);
    }
    if (gain != 1.0f) {
      for (size_t c = 0; c < channels; ++c) out[i * channels + c] *= gain;
    }
  }
}

void audio_splicer::read_sound(open_piece& p, float* out, size_t n) {
  const size_t channels = format.channels();
  size_t got = 0;
  try {
    if (p.sound && p.skip > 0) {
      std::vector<float> scratch(std::min<uint64_t>(p.skip, 4096) * channels);
      while (p.skip > 0) {
        const size_t dropped = p.sound->read(scratch.data(), std::min<uint64_t>(p.skip, scratch.size() / channels));
        if (dropped == 0) break;
        p.skip -= dropped;
      }
    }
    while (p.sound && got < n) {
      const size_t r = p.sound->read(out + got * channels, n - got);
      if (r == 0) p.sound.reset();  // shorter than its pictures: silence follows
      got += r;
    }
  } catch (const audio_error& e) {
    if (!options.ignore_errors) throw;
    if (options.warn) options.warn(std::string(e.what()) + "; that piece goes on without sound");
    p.sound.reset();
  }
  std::fill(out + got * channels, out + n * channels, 0.0f);
}

}  // namespace ns_audio
