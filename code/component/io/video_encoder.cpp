#include "io/video_encoder.h"

#include "io/encoder_choice.h"
#include "io/media_format.h"
#include "io/picture_converter.h"

extern "C" {
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

#include <cstring>
#include <vector>

namespace ns_media {

namespace {

constexpr container_default defaults[] = {
    {"mp4", "libx264"}, {"mov", "prores_ks"}, {"matroska", "ffv1"}, {"mxf", "mpeg2video"}};

constexpr int default_crf = 18;
constexpr const char* default_preset = "medium";
constexpr int prores_422_hq = 3;

// The stream's own layout when the encoder takes it, else the nearest planar one it
// takes (ProRes wants 10-bit 4:2:2).
AVPixelFormat layout_for(const AVCodec& c, AVPixelFormat own) {
  if (c.pix_fmts == nullptr) return own;
  std::vector<AVPixelFormat> usable;
  for (const AVPixelFormat* f = c.pix_fmts; *f != AV_PIX_FMT_NONE; ++f) {
    if (*f == own) return own;
    if (zimg_reads(*f)) usable.push_back(*f);
  }
  usable.push_back(AV_PIX_FMT_NONE);
  return avcodec_find_best_pix_fmt_of_list(usable.data(), own, 0, nullptr);
}

bool has_option(AVCodecContext& c, const char* name) {
  return c.priv_data != nullptr && av_opt_find(c.priv_data, name, nullptr, 0, 0) != nullptr;
}

}  // namespace

video_encoder::video_encoder(const ns_y4m::stream_header& h, const encoder_settings& s, media_muxer& mux)
    : mux(mux), packet(make_packet()) {
  const AVCodec* c = choose_encoder(s.codec, AVMEDIA_TYPE_VIDEO, mux, defaults);
  const std::string who = std::string("the encoder ") + c->name;
  codec.reset(avcodec_alloc_context3(c));
  if (!codec) throw std::bad_alloc();
  codec->width = static_cast<int>(h.width);
  codec->height = static_cast<int>(h.height);
  codec->framerate = {static_cast<int>(h.rate.num), static_cast<int>(h.rate.den)};
  codec->time_base = av_inv_q(codec->framerate);
  if (h.aspect && h.aspect->num > 0) {
    codec->sample_aspect_ratio = {static_cast<int>(h.aspect->num), static_cast<int>(h.aspect->den)};
  }
  codec->pix_fmt = layout_for(*c, pixel_format_of(h.sampling));
  if (codec->pix_fmt == AV_PIX_FMT_NONE) mux.fail(who + " takes no planar YUV pictures");
  codec->color_range = range_of(h);
  codec->chroma_sample_location = siting_of(h.sampling);
  codec->field_order = field_order_of(h);
  if (codec->field_order == AV_FIELD_TT || codec->field_order == AV_FIELD_BB) {
    codec->flags |= AV_CODEC_FLAG_INTERLACED_DCT | AV_CODEC_FLAG_INTERLACED_ME;
  }
  if (mux.container().flags & AVFMT_GLOBALHEADER) codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  codec->thread_count = 0;

  if (s.bitrate) codec->bit_rate = *s.bitrate;
  const bool x264 = std::strcmp(c->name, "libx264") == 0;
  const std::optional<int> crf = s.crf ? s.crf : (x264 && !s.bitrate ? std::optional<int>(default_crf) : std::nullopt);
  if (crf) {
    if (!has_option(*codec, "crf")) mux.fail(who + " has no --crf (constant quality); give --bitrate instead");
    av_opt_set_int(codec->priv_data, "crf", *crf, 0);
  }
  const std::string preset = !s.preset.empty() ? s.preset : (x264 ? default_preset : "");
  if (!preset.empty()) {
    if (!has_option(*codec, "preset")) mux.fail(who + " has no --preset");
    if (av_opt_set(codec->priv_data, "preset", preset.c_str(), 0) < 0) mux.fail(who + " has no preset " + preset);
  }
  if (std::strcmp(c->name, "prores_ks") == 0) av_opt_set_int(codec->priv_data, "profile", prores_422_hq, 0);
  if (c->id == AV_CODEC_ID_FFV1) codec->level = 3;  // per-slice checksums, multithreaded
  if (c->id == AV_CODEC_ID_MPEG2VIDEO && !s.bitrate) {
    // Without a rate MPEG-2 would get 200 kbit/s; a fixed fine quantiser suits a master.
    codec->flags |= AV_CODEC_FLAG_QSCALE;
    codec->global_quality = 2 * FF_QP2LAMBDA;
  }
  const int e = avcodec_open2(codec.get(), c, nullptr);
  if (e < 0) mux.fail(who + " cannot encode this stream: " + av_error_text(e));
  stream = mux.add_stream(*codec);
}

void video_encoder::encode(AVFrame* picture) {
  if (codec->flags & AV_CODEC_FLAG_QSCALE) picture->quality = codec->global_quality;
  drain(avcodec_send_frame(codec.get(), picture));
}

void video_encoder::finish() {
  drain(avcodec_send_frame(codec.get(), nullptr));
  mux.end_stream(stream);
}

void video_encoder::drain(int sent) {
  if (sent < 0) mux.fail(std::string("the encoder ") + codec->codec->name + " failed: " + av_error_text(sent));
  for (;;) {
    const int e = avcodec_receive_packet(codec.get(), packet.get());
    if (e == AVERROR(EAGAIN) || e == AVERROR_EOF) return;
    if (e < 0) mux.fail(std::string("the encoder ") + codec->codec->name + " failed: " + av_error_text(e));
    mux.write(*packet, stream);
    av_packet_unref(packet.get());
  }
}

}  // namespace ns_media
