#include "io/audio_encoder.h"

#include "io/encoder_choice.h"

extern "C" {
#include <libavutil/channel_layout.h>
}

#include <algorithm>
#include <cmath>
#include <vector>

namespace ns_media {

namespace {

constexpr container_default defaults[] = {
    {"mp4", "aac"}, {"mov", "pcm_s24le"}, {"matroska", "flac"}, {"mxf", "pcm_s24le"}};

constexpr int64_t default_bitrate = 192000;
// Samples per frame for encoders that take any number (PCM).
constexpr int any_size_frame = 1024;

// The layouts the samples can be handed over in, best first: float as it is, then
// 24-bit integers (in the top of 32), then 16-bit.
constexpr AVSampleFormat preferred[] = {AV_SAMPLE_FMT_FLT, AV_SAMPLE_FMT_FLTP, AV_SAMPLE_FMT_S32,
                                        AV_SAMPLE_FMT_S32P, AV_SAMPLE_FMT_S16, AV_SAMPLE_FMT_S16P};

AVSampleFormat sample_format_for(const AVCodec& c) {
  if (c.sample_fmts == nullptr) return AV_SAMPLE_FMT_FLT;
  for (const AVSampleFormat want : preferred) {
    for (const AVSampleFormat* f = c.sample_fmts; *f != AV_SAMPLE_FMT_NONE; ++f) {
      if (*f == want) return want;
    }
  }
  return AV_SAMPLE_FMT_NONE;
}

// The layout itself when the encoder lists it, else one it lists with as many
// channels (AAC knows 5.1 by its back speakers; the channel order is the same).
bool set_layout(AVCodecContext& codec, const AVCodec& c, uint64_t mask) {
  AVChannelLayout own{};
  if (av_channel_layout_from_mask(&own, mask) < 0) return false;
  if (c.ch_layouts == nullptr) {
    codec.ch_layout = own;
    return true;
  }
  const AVChannelLayout* same_count = nullptr;
  for (const AVChannelLayout* l = c.ch_layouts; l->nb_channels != 0; ++l) {
    if (av_channel_layout_compare(l, &own) == 0) return av_channel_layout_copy(&codec.ch_layout, l) == 0;
    if (same_count == nullptr && l->nb_channels == own.nb_channels) same_count = l;
  }
  return same_count != nullptr && av_channel_layout_copy(&codec.ch_layout, same_count) == 0;
}

int32_t quantise(float x, float scale, int32_t low, int32_t high) {
  if (std::isnan(x)) return 0;
  return static_cast<int32_t>(std::clamp(std::lrint(static_cast<double>(x) * scale), static_cast<long>(low),
                                         static_cast<long>(high)));
}

// Stores `n` interleaved sample frames at sample `at` of `f`, in its layout.
void store(AVFrame& f, int at, const float* in, int n, int channels) {
  const auto format = static_cast<AVSampleFormat>(f.format);
  const bool planar = av_sample_fmt_is_planar(format);
  for (int i = 0; i < n; ++i) {
    for (int c = 0; c < channels; ++c) {
      const float x = in[i * channels + c];
      const int plane = planar ? c : 0;
      const int index = planar ? at + i : (at + i) * channels + c;
      switch (format) {
        case AV_SAMPLE_FMT_FLT:
        case AV_SAMPLE_FMT_FLTP:
          reinterpret_cast<float*>(f.extended_data[plane])[index] = x;
          break;
        case AV_SAMPLE_FMT_S32:
        case AV_SAMPLE_FMT_S32P:
          // 24 significant bits: what a float sample holds exactly.
          reinterpret_cast<int32_t*>(f.extended_data[plane])[index] =
              quantise(x, 8388608.0f, -8388608, 8388607) * 256;
          break;
        default:
          reinterpret_cast<int16_t*>(f.extended_data[plane])[index] =
              static_cast<int16_t>(quantise(x, 32768.0f, -32768, 32767));
          break;
      }
    }
  }
}

}  // namespace

audio_encoder::audio_encoder(uint32_t sample_rate, uint64_t channel_mask, const audio_encoder_settings& s,
                             media_muxer& mux)
    : mux(mux), packet(make_packet()), pending(make_frame()) {
  const AVCodec* c = choose_encoder(s.codec, AVMEDIA_TYPE_AUDIO, mux, defaults);
  const std::string who = std::string("the audio encoder ") + c->name;
  codec.reset(avcodec_alloc_context3(c));
  if (!codec) throw std::bad_alloc();
  codec->sample_rate = static_cast<int>(sample_rate);
  codec->time_base = {1, static_cast<int>(sample_rate)};
  codec->sample_fmt = sample_format_for(*c);
  if (codec->sample_fmt == AV_SAMPLE_FMT_NONE) mux.fail(who + " takes no float, 32- or 16-bit samples");
  if (codec->sample_fmt == AV_SAMPLE_FMT_S32 || codec->sample_fmt == AV_SAMPLE_FMT_S32P) {
    codec->bits_per_raw_sample = 24;
  }
  if (!set_layout(*codec, *c, channel_mask)) {
    char name[128] = "?";
    AVChannelLayout own{};
    if (av_channel_layout_from_mask(&own, channel_mask) == 0) av_channel_layout_describe(&own, name, sizeof name);
    mux.fail(who + " cannot encode the channel layout " + name);
  }
  if (c->capabilities & AV_CODEC_CAP_EXPERIMENTAL) codec->strict_std_compliance = FF_COMPLIANCE_EXPERIMENTAL;
  codec->bit_rate = s.bitrate.value_or(default_bitrate);
  if (mux.container().flags & AVFMT_GLOBALHEADER) codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  const int e = avcodec_open2(codec.get(), c, nullptr);
  if (e < 0) mux.fail(who + " cannot encode " + std::to_string(sample_rate) + " Hz sound: " + av_error_text(e));
  const bool any_size = codec->frame_size == 0 || (c->capabilities & AV_CODEC_CAP_VARIABLE_FRAME_SIZE);
  frame_size = any_size ? any_size_frame : codec->frame_size;
  short_last = any_size || (c->capabilities & AV_CODEC_CAP_SMALL_LAST_FRAME);
  stream = mux.add_stream(*codec);

  pending->format = codec->sample_fmt;
  pending->sample_rate = codec->sample_rate;
  pending->nb_samples = frame_size;
  if (av_channel_layout_copy(&pending->ch_layout, &codec->ch_layout) < 0) throw std::bad_alloc();
  if (av_frame_get_buffer(pending.get(), 0) < 0) throw std::bad_alloc();
}

void audio_encoder::write(const float* in, size_t frames) {
  const int channels = codec->ch_layout.nb_channels;
  while (frames > 0) {
    if (av_frame_make_writable(pending.get()) < 0) throw std::bad_alloc();
    const int n = static_cast<int>(std::min<size_t>(frames, static_cast<size_t>(frame_size - filled)));
    store(*pending, filled, in, n, channels);
    filled += n;
    samples += n;
    in += static_cast<size_t>(n) * channels;
    frames -= static_cast<size_t>(n);
    if (filled == frame_size) send_pending(filled);
  }
}

void audio_encoder::send_pending(int real) {
  pending->pts = samples - real;
  pending->nb_samples = filled;
  drain(avcodec_send_frame(codec.get(), pending.get()));
  filled = 0;
}

void audio_encoder::finish() {
  if (filled > 0) {
    const int real = filled;
    if (!short_last) {
      // Silence to the encoder's frame size; drain() cuts the packet back.
      const int channels = codec->ch_layout.nb_channels;
      const std::vector<float> silence(static_cast<size_t>(frame_size - filled) * channels, 0.0f);
      store(*pending, filled, silence.data(), frame_size - filled, channels);
      filled = frame_size;
    }
    send_pending(real);
  }
  drain(avcodec_send_frame(codec.get(), nullptr));
  mux.end_stream(stream);
}

void audio_encoder::drain(int sent) {
  if (sent < 0) mux.fail(std::string("the audio encoder ") + codec->codec->name + " failed: " + av_error_text(sent));
  for (;;) {
    const int e = avcodec_receive_packet(codec.get(), packet.get());
    if (e == AVERROR(EAGAIN) || e == AVERROR_EOF) return;
    if (e < 0) mux.fail(std::string("the audio encoder ") + codec->codec->name + " failed: " + av_error_text(e));
    // A padded last frame lasts only as long as the samples it was given.
    if (packet->pts != AV_NOPTS_VALUE && packet->duration > 0 && packet->pts + packet->duration > samples) {
      packet->duration = std::max<int64_t>(samples - packet->pts, 0);
    }
    mux.write(*packet, stream);
    av_packet_unref(packet.get());
  }
}

}  // namespace ns_media
