#pragma once
// The video encoder of a media output: chosen by the container (mp4 H.264 with
// libx264 at crf 18, preset medium; mov ProRes 422 HQ; mkv lossless FFV1; mxf MPEG-2)
// or by name, set up with the stream's rate, pixel aspect, field order, colour range
// and chroma siting. Errors are KX::CException naming the output and the encoder.

#include "io/av_ptr.h"
#include "io/media_muxer.h"
#include "io/y4m_header.h"

#include <cstdint>
#include <optional>
#include <string>

namespace ns_media {

// Empty or unset: the container's default.
struct encoder_settings {
  std::string codec;             // an encoder's name, e.g. "libx264", "prores_ks", "ffv1"
  std::optional<int> crf;        // for encoders with a constant-quality mode
  std::string preset;            // for encoders with presets
  std::optional<int64_t> bitrate;  // bits per second
};

class video_encoder {
public:
  // Opens the encoder for pictures described by `h`, adds its stream to `mux`.
  video_encoder(const ns_y4m::stream_header& h, const encoder_settings& s, media_muxer& mux);

  const char* codec_name() const { return codec->codec->name; }
  // The layout the encoder takes its pictures in.
  AVPixelFormat picture_format() const { return codec->pix_fmt; }
  // Encodes `picture` and writes what comes out.
  void encode(AVFrame* picture);
  // Flushes the last pictures and ends the stream in the muxer.
  void finish();

private:
  // Takes what avcodec_send_frame said, then writes every packet that is ready.
  void drain(int sent);

  media_muxer& mux;
  codec_ptr codec;
  packet_ptr packet;
  int stream = -1;
};

}  // namespace ns_media
