#pragma once
// The sound stream of a media output: interleaved float samples encoded with the
// container's sound codec (AAC for mp4, 24-bit PCM for mov and mxf, FLAC for mkv) or
// one chosen by name, stamped on the sample clock (pts = samples before), in frames
// of the encoder's size; the last frame is short where the encoder allows it, else
// padded with silence and its packet's duration cut back, so that the stream lasts
// exactly the samples given. Errors are KX::CException naming the output.

#include "io/av_ptr.h"
#include "io/media_muxer.h"

#include <cstdint>
#include <optional>
#include <string>

namespace ns_media {

struct audio_encoder_settings {
  std::string codec;               // an encoder's or codec's name; empty: the container's
  std::optional<int64_t> bitrate;  // bits per second, for lossy encoders (default 192k)
};

class audio_encoder {
public:
  // Opens the encoder for `channel_mask` (FFmpeg's native-order AV_CH_* bits) at
  // `sample_rate` and adds its stream to `mux`.
  audio_encoder(uint32_t sample_rate, uint64_t channel_mask, const audio_encoder_settings& s, media_muxer& mux);

  const char* codec_name() const { return codec->codec->name; }
  // `frames` sample frames, channels interleaved, nominal range [-1, 1].
  void write(const float* samples, size_t frames);
  // Encodes what is held, flushes the encoder and ends the stream in the muxer.
  void finish();

private:
  // Sends `pending`, whose first `real` samples were given (the rest is padding).
  void send_pending(int real);
  void drain(int sent);

  media_muxer& mux;
  codec_ptr codec;
  packet_ptr packet;
  frame_ptr pending;    // the frame being filled
  int frame_size = 0;   // samples per frame sent to the encoder
  bool short_last = false;  // the encoder takes a shorter last frame
  int stream = -1;
  int64_t samples = 0;  // given so far
  int filled = 0;       // samples in `pending`
};

}  // namespace ns_media
