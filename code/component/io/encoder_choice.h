#pragma once
// Choosing the encoder of a media output's stream: one named by the user (an
// encoder's name, or a codec's for its first encoder) or the container's default.

#include "io/media_muxer.h"

#include <span>
#include <string>

namespace ns_media {

// The encoder a container gets when none is named ("mp4" is the muxer's name).
struct container_default {
  const char* container;
  const char* encoder;
};

// `name` when given, else the encoder `defaults` lists for the container, else the
// muxer's own default for `type`. Fails through `mux` when there is no such
// encoder of `type` or the container cannot hold its codec, listing the container's
// encoders of that type.
const AVCodec* choose_encoder(const std::string& name, AVMediaType type, const media_muxer& mux,
                              std::span<const container_default> defaults);

}  // namespace ns_media
