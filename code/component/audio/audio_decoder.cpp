#include "audio/audio_decoder.h"

#include "audio/join_clock.h"
#include "audio/media_audio.h"

extern "C" {
#include <libswresample/swresample.h>
}

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>
#include <utility>
#include <vector>

namespace ns_audio {

namespace {

struct resampler_freer {
  void operator()(SwrContext* s) const noexcept { swr_free(&s); }
};
using resampler_ptr = std::unique_ptr<SwrContext, resampler_freer>;

class decoder final : public audio_source {
public:
  decoder(const std::string& path, media_audio opened, const audio_format& target);

  size_t read(float* out, size_t max_frames) override;
  int64_t lead() const override { return lead_samples; }
  const std::string& name() const override { return label; }

private:
  // Decodes and converts until `ready` holds samples; false at the end of the stream.
  bool refill();
  // Appends the conversion of `f` to `ready`; null drains the resampler.
  void convert(const AVFrame* f);
  // (Re)builds the resampler for the format of `f`, draining the previous one.
  void configure(const AVFrame& f);
  [[noreturn]] void fail(const std::string& what, int code) const;
  // "cannot decode mp3 audio at 12.345 s", of the last packet sent.
  std::string cannot_decode(const char* at) const;

  media_audio media;
  const audio_format target;
  const std::string label;
  const int64_t lead_samples;
  ns_media::codec_ptr codec;
  ns_media::packet_ptr packet = ns_media::make_packet();
  ns_media::frame_ptr frame = ns_media::make_frame();
  resampler_ptr resampler;
  int in_rate = 0;
  int in_format = AV_SAMPLE_FMT_NONE;
  uint64_t in_mask = 0;
  // One decoded frame's worth of converted samples, handed out from `taken` on.
  std::vector<float> ready;
  size_t taken = 0;  // sample frames
  std::exception_ptr failure;  // raised at the next read, after the samples before it
  bool flushed = false;
  bool ended = false;
  double last_time = 0;  // seconds, of the last packet sent, for messages
};

decoder::decoder(const std::string& path, media_audio opened, const audio_format& target)
    : media(std::move(opened)),
      target(target),
      label(media.where(path)),
      lead_samples(seconds_to_samples(media.lead_num, media.lead_den, target.sample_rate)) {
  AVFormatContext* input = media.input.get();
  for (unsigned i = 0; i < input->nb_streams; ++i) {
    if (static_cast<int>(i) != media.stream) input->streams[i]->discard = AVDISCARD_ALL;
  }
  const AVStream* stream = input->streams[media.stream];
  const AVCodecID id = stream->codecpar->codec_id;
  const AVCodec* found = avcodec_find_decoder(id);
  // Experimental decoders are refused, as the ffmpeg program refuses them by default.
  if (found == nullptr || (found->capabilities & AV_CODEC_CAP_EXPERIMENTAL) != 0) {
    throw audio_error(label + ": its codec, " + avcodec_get_name(id) + ", cannot be decoded by this FFmpeg build");
  }
  codec.reset(avcodec_alloc_context3(found));
  if (!codec) throw std::bad_alloc();
  if (const int rc = avcodec_parameters_to_context(codec.get(), stream->codecpar); rc < 0) {
    fail(std::string("cannot set up the ") + found->name + " decoder", rc);
  }
  codec->pkt_timebase = stream->time_base;
  if (const int rc = avcodec_open2(codec.get(), found, nullptr); rc < 0) {
    fail(std::string("cannot open the ") + found->name + " decoder", rc);
  }
}

void decoder::fail(const std::string& what, int code) const {
  throw audio_error(label + ": " + what + ": " + ns_media::av_error_text(code));
}

std::string decoder::cannot_decode(const char* at) const {
  char seconds[32];
  std::snprintf(seconds, sizeof seconds, "%.3f s", last_time);
  return std::string("cannot decode ") + avcodec_get_name(codec->codec_id) + " audio " + at + " " + seconds;
}

size_t decoder::read(float* out, size_t max_frames) {
  if (failure) std::rethrow_exception(std::exchange(failure, nullptr));
  const size_t channels = target.channels();
  size_t done = 0;
  while (done < max_frames) {
    if (taken * channels == ready.size()) {
      try {
        if (!refill()) break;
      } catch (const audio_error&) {
        if (done == 0) throw;
        failure = std::current_exception();
        break;
      }
    }
    const size_t n = std::min(max_frames - done, ready.size() / channels - taken);
    std::memcpy(out + done * channels, ready.data() + taken * channels, n * channels * sizeof(float));
    taken += n;
    done += n;
  }
  return done;
}

bool decoder::refill() {
  ready.clear();
  taken = 0;
  while (ready.empty()) {
    if (ended) return false;
    const int got = avcodec_receive_frame(codec.get(), frame.get());
    if (got == 0) {
      convert(frame.get());
      av_frame_unref(frame.get());
      continue;
    }
    if (got == AVERROR_EOF) {
      convert(nullptr);
      ended = true;
      continue;
    }
    if (got != AVERROR(EAGAIN)) fail(cannot_decode("near"), got);
    if (flushed) return false;
    const int rc = av_read_frame(media.input.get(), packet.get());
    if (rc == AVERROR_EOF) {
      flushed = true;
      avcodec_send_packet(codec.get(), nullptr);
      continue;
    }
    if (rc < 0) fail("cannot read the file", rc);
    if (packet->stream_index == media.stream) {
      const AVRational tb = media.input->streams[media.stream]->time_base;
      if (packet->pts != AV_NOPTS_VALUE) last_time = static_cast<double>(packet->pts) * tb.num / tb.den;
      const int sent = avcodec_send_packet(codec.get(), packet.get());
      av_packet_unref(packet.get());
      if (sent < 0) fail(cannot_decode("at"), sent);
    } else {
      av_packet_unref(packet.get());
    }
  }
  return true;
}

void decoder::configure(const AVFrame& f) {
  const uint64_t mask = native_mask(f.ch_layout, label);
  if (resampler && f.sample_rate == in_rate && f.format == in_format && mask == in_mask) return;
  if (resampler) convert(nullptr);
  AVChannelLayout in{}, out{};
  av_channel_layout_from_mask(&in, mask);
  av_channel_layout_from_mask(&out, target.channel_mask);
  SwrContext* made = nullptr;
  int rc = swr_alloc_set_opts2(&made, &out, AV_SAMPLE_FMT_FLT, static_cast<int>(target.sample_rate), &in,
                               static_cast<AVSampleFormat>(f.format), f.sample_rate, 0, nullptr);
  resampler.reset(made);
  if (rc >= 0) rc = swr_init(made);
  av_channel_layout_uninit(&in);
  av_channel_layout_uninit(&out);
  if (rc < 0) {
    fail("cannot conform " + describe({static_cast<uint32_t>(f.sample_rate), mask}) + " to " + describe(target), rc);
  }
  in_rate = f.sample_rate;
  in_format = f.format;
  in_mask = mask;
}

void decoder::convert(const AVFrame* f) {
  if (f != nullptr) configure(*f);
  if (!resampler) return;
  const size_t channels = target.channels();
  for (;;) {
    const int room = swr_get_out_samples(resampler.get(), f != nullptr ? f->nb_samples : 0);
    if (room < 0) fail("cannot resample", room);
    const size_t before = ready.size();
    ready.resize(before + static_cast<size_t>(room) * channels);
    auto* dst = reinterpret_cast<uint8_t*>(ready.data() + before);
    const int made = swr_convert(resampler.get(), &dst, room,
                                 f != nullptr ? const_cast<const uint8_t**>(f->extended_data) : nullptr,
                                 f != nullptr ? f->nb_samples : 0);
    if (made < 0) fail("cannot resample", made);
    ready.resize(before + static_cast<size_t>(made) * channels);
    // One call converts a whole frame; draining may take more than one.
    if (f != nullptr || made == 0) return;
  }
}

}  // namespace

std::optional<audio_format> probe_audio(const std::string& path) {
  const media_audio m = open_media_audio(path);
  if (m.stream < 0) return std::nullopt;
  return m.format;
}

std::unique_ptr<audio_source> open_audio(const std::string& path, const audio_format& format) {
  media_audio m = open_media_audio(path);
  if (m.stream < 0) return nullptr;
  return std::make_unique<decoder>(path, std::move(m), format);
}

}  // namespace ns_audio
