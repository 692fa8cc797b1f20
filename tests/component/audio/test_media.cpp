#include "test_media.h"

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/error.h>
#include <libswresample/swresample.h>
}

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <numbers>
#include <stdexcept>

namespace ns_audio_test {

namespace {

void check(int rc, const std::string& what) {
  if (rc < 0) {
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(rc, text, sizeof text);
    throw std::runtime_error(what + ": " + text);
  }
}

class muxer {
public:
  explicit muxer(const std::string& path) : path(path) {
    check(avformat_alloc_output_context2(&ctx, nullptr, nullptr, path.c_str()), path);
  }
  ~muxer() {
    for (AVCodecContext* e : encoders) avcodec_free_context(&e);
    if ((ctx->oformat->flags & AVFMT_NOFILE) == 0) avio_closep(&ctx->pb);
    avformat_free_context(ctx);
  }

  // Opens `enc` (set up by the caller) and gives it a stream.
  AVStream* add(AVCodecContext* enc, const AVCodec* codec) {
    encoders.push_back(enc);
    if ((ctx->oformat->flags & AVFMT_GLOBALHEADER) != 0) enc->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    check(avcodec_open2(enc, codec, nullptr), path + ": open " + codec->name);
    AVStream* st = avformat_new_stream(ctx, nullptr);
    check(avcodec_parameters_from_context(st->codecpar, enc), path);
    st->time_base = enc->time_base;
    return st;
  }
  void start() {
    if ((ctx->oformat->flags & AVFMT_NOFILE) == 0) check(avio_open(&ctx->pb, path.c_str(), AVIO_FLAG_WRITE), path);
    check(avformat_write_header(ctx, nullptr), path + ": header");
  }
  // Encodes `f` (null: flush) and writes what comes out.
  void encode(AVCodecContext* enc, AVStream* st, const AVFrame* f) {
    check(avcodec_send_frame(enc, f), path + ": encode");
    AVPacket* p = av_packet_alloc();
    while (avcodec_receive_packet(enc, p) == 0) {
      av_packet_rescale_ts(p, enc->time_base, st->time_base);
      p->stream_index = st->index;
      check(av_interleaved_write_frame(ctx, p), path + ": write");
    }
    av_packet_free(&p);
  }
  void finish() { check(av_write_trailer(ctx), path + ": trailer"); }

  AVFormatContext* ctx = nullptr;

private:
  std::string path;
  std::vector<AVCodecContext*> encoders;
};

void add_pictures(muxer& m, const picture_stream& p, std::vector<std::function<void()>>& steps) {
  const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_MPEG4);
  AVCodecContext* enc = avcodec_alloc_context3(codec);
  enc->width = 16;
  enc->height = 16;
  enc->pix_fmt = AV_PIX_FMT_YUV420P;
  enc->time_base = av_inv_q(p.rate);
  enc->framerate = p.rate;
  AVStream* st = m.add(enc, codec);
  steps.push_back([&m, enc, st, p] {
    AVFrame* f = av_frame_alloc();
    f->format = AV_PIX_FMT_YUV420P;
    f->width = 16;
    f->height = 16;
    check(av_frame_get_buffer(f, 0), "picture");
    const int64_t first = std::llround(p.start * p.rate.num / p.rate.den);
    for (int i = 0; i < p.frames; ++i) {
      check(av_frame_make_writable(f), "picture");
      for (int plane = 0; plane < 3; ++plane) {
        for (int y = 0; y < (plane == 0 ? 16 : 8); ++y) memset(f->data[plane] + y * f->linesize[plane], 16 + 8 * i, plane == 0 ? 16 : 8);
      }
      f->pts = first + i;
      m.encode(enc, st, f);
    }
    m.encode(enc, st, nullptr);
    av_frame_free(&f);
  });
}

void add_tone(muxer& m, const tone_stream& t, std::vector<std::function<void()>>& steps) {
  const AVCodec* codec = avcodec_find_encoder_by_name(t.encoder);
  if (codec == nullptr) throw std::runtime_error(std::string("no encoder ") + t.encoder);
  AVCodecContext* enc = avcodec_alloc_context3(codec);
  enc->sample_rate = static_cast<int>(t.sample_rate);
  av_channel_layout_from_mask(&enc->ch_layout, t.channel_mask);
  enc->sample_fmt = codec->sample_fmts[0];
  enc->time_base = {1, enc->sample_rate};
  if (std::string(t.encoder) == "aac") enc->bit_rate = 256000;
  AVStream* st = m.add(enc, codec);
  steps.push_back([&m, enc, st, t] {
    const int chunk = enc->frame_size > 0 ? enc->frame_size : 1024;
    const int channels = enc->ch_layout.nb_channels;
    SwrContext* swr = nullptr;
    check(swr_alloc_set_opts2(&swr, &enc->ch_layout, enc->sample_fmt, enc->sample_rate, &enc->ch_layout,
                              AV_SAMPLE_FMT_FLT, enc->sample_rate, 0, nullptr), "swr");
    check(swr_init(swr), "swr");
    const int64_t total = std::llround(t.seconds * t.sample_rate);
    const int64_t first = std::llround(t.start * t.sample_rate);
    std::vector<float> tone(static_cast<size_t>(chunk * channels));
    AVFrame* f = av_frame_alloc();
    for (int64_t n = 0; n < total; n += chunk) {
      const int count = static_cast<int>(std::min<int64_t>(chunk, total - n));
      for (int i = 0; i < count; ++i) {
        const double v = t.amplitude * std::sin(2 * std::numbers::pi * t.hz * static_cast<double>(n + i) / t.sample_rate);
        for (int c = 0; c < channels; ++c) tone[static_cast<size_t>(i * channels + c)] = static_cast<float>(v);
      }
      av_frame_unref(f);
      f->format = enc->sample_fmt;
      f->sample_rate = enc->sample_rate;
      f->nb_samples = count;
      check(av_channel_layout_copy(&f->ch_layout, &enc->ch_layout), "layout");
      check(av_frame_get_buffer(f, 0), "sound");
      const uint8_t* in = reinterpret_cast<const uint8_t*>(tone.data());
      check(swr_convert(swr, f->data, count, &in, count), "convert");
      f->pts = first + n;
      m.encode(enc, st, f);
    }
    m.encode(enc, st, nullptr);
    av_frame_free(&f);
    swr_free(&swr);
  });
}

}  // namespace

void write_media(const std::string& path, std::optional<picture_stream> pictures, std::optional<tone_stream> tone) {
  muxer m(path);
  std::vector<std::function<void()>> steps;
  if (pictures) add_pictures(m, *pictures, steps);
  if (tone) add_tone(m, *tone, steps);
  m.start();
  for (auto& s : steps) s();
  m.finish();
}

void write_raw_audio(const std::string& path, AVCodecID codec, const std::vector<std::vector<uint8_t>>& packets) {
  muxer m(path);
  AVStream* st = avformat_new_stream(m.ctx, nullptr);
  st->codecpar->codec_type = AVMEDIA_TYPE_AUDIO;
  st->codecpar->codec_id = codec;
  st->codecpar->sample_rate = 44100;
  av_channel_layout_from_mask(&st->codecpar->ch_layout, AV_CH_LAYOUT_STEREO);
  st->time_base = {1, 44100};
  m.start();
  int64_t pts = 0;
  for (const auto& bytes : packets) {
    AVPacket* p = av_packet_alloc();
    check(av_new_packet(p, static_cast<int>(bytes.size())), "packet");
    std::copy(bytes.begin(), bytes.end(), p->data);
    p->pts = p->dts = pts;
    p->duration = 1152;
    pts += 1152;
    p->stream_index = st->index;
    check(av_interleaved_write_frame(m.ctx, p), path);
    av_packet_free(&p);
  }
  m.finish();
}

std::string temp_path(const std::string& name) {
  return ::testing::TempDir() + "audio_" + std::to_string(::getpid()) + "_" + name;
}

}  // namespace ns_audio_test
