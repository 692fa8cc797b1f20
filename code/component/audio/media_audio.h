#pragma once
// A media file opened for its sound: the first audio stream, its layout as a native
// channel mask, and where it starts relative to the file's first video stream.
// Internal to the decoder and the probe.

#include "audio/audio_format.h"
#include "io/av_ptr.h"

#include <string>

namespace ns_audio {

struct media_audio {
  ns_media::input_ptr input;
  int stream = -1;  // -1: the file has no audio stream
  audio_format format;  // the stream's own rate and layout
  // Audio start minus first video stream start, in seconds as a fraction with
  // positive denominator; 0 without a video stream or start times.
  int64_t lead_num = 0;
  int64_t lead_den = 1;

  // "show.mov: audio stream #1" for messages.
  std::string where(const std::string& path) const;
};

// Opens `path` and reads its streams. Throws audio_error naming the file when it is
// not a media file, and naming the stream when its layout cannot be conformed.
media_audio open_media_audio(const std::string& path);

// The native channel mask that `layout` plays as: its own when it is in FFmpeg's
// native order, the usual layout of that many channels when the order is unknown.
// Throws audio_error (naming `where`) for layouts without one.
uint64_t native_mask(const AVChannelLayout& layout, const std::string& where);

}  // namespace ns_audio
