#include "io/encoder_choice.h"

namespace ns_media {

namespace {

std::string encoders_for(const media_muxer& mux, AVMediaType type) {
  std::string list;
  void* it = nullptr;
  while (const AVCodec* c = av_codec_iterate(&it)) {
    const bool hardware = c->capabilities & (AV_CODEC_CAP_HARDWARE | AV_CODEC_CAP_HYBRID);
    if (!av_codec_is_encoder(c) || c->type != type || hardware || mux.refuses(c->id)) continue;
    list += (list.empty() ? "" : ", ") + std::string(c->name);
  }
  return list;
}

}  // namespace

const AVCodec* choose_encoder(const std::string& given, AVMediaType type, const media_muxer& mux,
                              std::span<const container_default> defaults) {
  const std::string container = mux.container().name;
  std::string name = given;
  if (name.empty()) {
    for (const container_default& d : defaults) {
      if (container == d.container) name = d.encoder;
    }
  }
  const bool audio = type == AVMEDIA_TYPE_AUDIO;
  const AVCodecID own = audio ? mux.container().audio_codec : mux.container().video_codec;
  const AVCodec* c = name.empty() ? avcodec_find_encoder(own) : avcodec_find_encoder_by_name(name.c_str());
  if (c == nullptr && !name.empty()) {
    // A codec's name ("h264") stands for its first encoder.
    if (const AVCodecDescriptor* d = avcodec_descriptor_get_by_name(name.c_str())) c = avcodec_find_encoder(d->id);
  }
  const std::string kind = audio ? "audio" : "video";
  const std::string listed = audio ? " audio encoders here are: " : " encoders here are: ";
  if (c == nullptr || c->type != type) {
    mux.fail("the " + kind + " encoder " + (name.empty() ? "for " + container : name) + " is not available; the " +
             container + listed + encoders_for(mux, type));
  }
  if (mux.refuses(c->id)) {
    mux.fail("the " + container + " container cannot hold " + avcodec_get_name(c->id) + " (encoder " + c->name +
             "); its" + listed + encoders_for(mux, type));
  }
  return c;
}

}  // namespace ns_media
