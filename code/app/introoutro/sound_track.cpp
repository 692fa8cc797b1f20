#include "introoutro/sound_track.h"

#include "audio/audio_decoder.h"
#include "introoutro/join_tap.h"
#include "io/audio_encoder.h"

#include <utility>

namespace ns_introoutro {

namespace {

// Sample frames passed on at a time.
constexpr size_t chunk_frames = 4096;

ns_audio::piece_role piece_role_of(role r) {
  switch (r) {
    case role::intro: return ns_audio::piece_role::intro;
    case role::main: return ns_audio::piece_role::main;
    default: return ns_audio::piece_role::outro;
  }
}

// The inputs in output order: intro, main, outro.
std::vector<const job_input*> in_order(const std::vector<job_input>& inputs) {
  std::vector<const job_input*> ordered;
  for (const role r : {role::intro, role::main, role::outro}) {
    for (const job_input& i : inputs) {
      if (i.info.role == r) ordered.push_back(&i);
    }
  }
  return ordered;
}

// Runs `open` on a file's sound; with ignore_errors a failure is a warning and the
// piece is silent.
template <typename Open>
auto guarded(const audio_options& audio, const message_sink& warn, Open open) -> decltype(open()) {
  try {
    return open();
  } catch (const ns_audio::audio_error& e) {
    if (!audio.ignore_errors) throw;
    warn(std::string(e.what()) + "; that piece goes on without sound");
    return {};
  }
}

}  // namespace

sound_plan plan_sound(const std::vector<job_input>& inputs, const audio_options& audio, const message_sink& note,
                      const message_sink& warn) {
  sound_plan plan;
  std::optional<ns_audio::audio_format> main;
  std::vector<std::optional<ns_audio::audio_format>> clips;
  for (const job_input* i : in_order(inputs)) {
    std::optional<ns_audio::audio_format> own;
    if (i->sound_from == "-") {
      note("standard input is read once, for its pictures: its sound is not used (give it as a file for sound)");
    } else if (!i->sound_from.empty()) {
      own = guarded(audio, warn, [i] { return ns_audio::probe_audio(i->sound_from); });
    }
    plan.pieces.push_back({i->info.role, own ? i->sound_from : ""});
    (i->info.role == role::main ? main : clips.emplace_back()) = own;
  }
  plan.format = ns_audio::choose_output_format(main, clips);
  return plan;
}

namespace {

std::vector<ns_audio::piece> open_pieces(const sound_plan& plan, const ns_audio::audio_format& format,
                                         const audio_options& audio, const message_sink& warn) {
  std::vector<ns_audio::piece> pieces;
  for (const sound_plan::source& source : plan.pieces) {
    ns_audio::piece p{piece_role_of(source.r), nullptr};
    if (!source.path.empty()) p.sound = guarded(audio, warn, [&] { return ns_audio::open_audio(source.path, format); });
    pieces.push_back(std::move(p));
  }
  return pieces;
}

}  // namespace

sound_track::sound_track(const sound_plan& plan, const ns_audio::audio_format& format,
                         ns_y4m::ratio video_rate, const audio_options& audio, const message_sink& warn, writer write)
    : splicer(format, {video_rate.num, video_rate.den}, open_pieces(plan, format, audio, warn),
              {audio.join_fade_ms, audio.ignore_errors, warn}),
      write(std::move(write)),
      chunk(chunk_frames * format.channels()),
      worker([this] { run(); }) {}

sound_track::~sound_track() {
  {
    std::lock_guard<std::mutex> hold(lock);
    stop = true;
  }
  wake.notify_one();
  if (worker.joinable()) worker.join();
}

void sound_track::raise_failure() {
  if (failure) std::rethrow_exception(std::exchange(failure, nullptr));
}

void sound_track::picture(bool from_main) {
  {
    std::lock_guard<std::mutex> hold(lock);
    raise_failure();
    told.push_back(from_main);
  }
  wake.notify_one();
}

void sound_track::finish(uint64_t frames) {
  {
    std::lock_guard<std::mutex> hold(lock);
    end = frames;
  }
  wake.notify_one();
  worker.join();
  raise_failure();
}

// Takes the pictures told so far in one go, so that the sink's thread waits on the
// lock only as long as a swap takes.
void sound_track::run() {
  std::vector<bool> batch;
  for (;;) {
    std::optional<uint64_t> last;
    {
      std::unique_lock<std::mutex> hold(lock);
      wake.wait(hold, [this] { return stop || end || !told.empty(); });
      if (stop) return;
      batch.swap(told);
      last = end;
    }
    try {
      for (const bool from_main : batch) splicer.picture(from_main);
      batch.clear();
      pass_on();
      if (last) {
        splicer.finish(*last);
        pass_on();
        return;
      }
    } catch (...) {
      std::lock_guard<std::mutex> hold(lock);
      failure = std::current_exception();
      return;
    }
  }
}

void sound_track::pass_on() {
  while (const size_t n = splicer.pull(UINT64_MAX, chunk.data(), chunk_frames)) write(chunk.data(), n);
}

namespace {

class encoded_sound final : public ns_media::companion_stream {
public:
  encoded_sound(ns_media::media_sink& sink, const sound_plan& plan, const ns_audio::audio_format& format,
                const ns_y4m::ratio rate, const audio_options& audio, const encoder_options& settings,
                const message_sink& warn)
      : encoder(format.sample_rate, format.channel_mask, {settings.audio_codec, settings.audio_bitrate}, sink.muxer()),
        track(plan, format, rate, audio, warn, [this](const float* s, size_t n) { encoder.write(s, n); }) {}

  void after_picture(const KX::RPtr<KX::ZM::RFrame>& frame) override { track.picture(is_main_frame(*frame)); }
  void at_end(uint64_t pictures) override {
    track.finish(pictures);
    encoder.finish();
  }

private:
  ns_media::audio_encoder encoder;
  sound_track track;
};

}  // namespace

void add_sound_stream(ns_media::media_sink& sink, const sound_plan& plan,
                      const ns_audio::audio_format& format, ns_y4m::ratio video_rate, const audio_options& audio,
                      const encoder_options& encoder, const message_sink& warn) {
  sink.add_companion(std::make_unique<encoded_sound>(sink, plan, format, video_rate, audio, encoder, warn));
}

sound_file::sound_file(const std::string& path, const sound_plan& plan,
                       const ns_audio::audio_format& format, ns_y4m::ratio video_rate, const audio_options& audio,
                       const message_sink& warn)
    : wav(path, format, ns_audio::wav_sample::pcm24),
      track(plan, format, video_rate, audio, warn, [this](const float* s, size_t n) { wav.write(s, n); }) {}

void sound_file::see(const KX::ZM::RFrame& frame) { track.picture(is_main_frame(frame)); }

void sound_file::finish(uint64_t frames) {
  track.finish(frames);
  wav.close();
}

}  // namespace ns_introoutro
