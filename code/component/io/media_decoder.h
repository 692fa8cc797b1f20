#pragma once
// Demuxes a media file (or standard input) and decodes its first video stream, picture
// after picture in display order. Errors are KX::CException naming the file and,
// past the opening, the stream and the frame. One thread at a time.

#include "io/av_ptr.h"
#include "io/descriptor.h"
#include "io/media_format.h"

#include <cstdint>
#include <optional>
#include <string>

namespace ns_media {

class media_decoder {
public:
  // Opens `path` ("-" = standard input) and the decoder of its first video stream.
  explicit media_decoder(const std::string& path);
  ~media_decoder();
  media_decoder(const media_decoder&) = delete;
  media_decoder& operator=(const media_decoder&) = delete;

  const std::string& name() const { return label; }
  const video_properties& properties() const { return video; }
  // The decoder's name, e.g. "h264", for messages.
  const char* codec_name() const;
  // The container's start time code as it stores it ("01:00:00:00", ';' before the
  // frames for drop-frame), when it carries one.
  const std::optional<std::string>& start_timecode() const { return timecode; }
  struct frame_count {
    uint64_t frames;
    bool exact;  // false: from the duration, or a variable-rate stream
  };
  // What the container says about its length, when it says anything.
  std::optional<frame_count> frames_in_file() const;

  // Asked while a read waits; true gives up (the graph was cancelled).
  void set_stop(ns_y4m::stop_check check) { stop = std::move(check); }

  // The next picture, valid until the next call; null at the end of the stream.
  const AVFrame* next();
  // A picture's presentation time in seconds from the stream's own zero; NaN when
  // it has none.
  double seconds_of(const AVFrame& f) const;
  uint64_t frames_decoded() const { return decoded; }

  [[noreturn]] void fail(const std::string& what) const;

private:
  [[noreturn]] void fail_stream(const std::string& what, int error) const;

  std::string label;
  AVFormatContext* format = nullptr;
  codec_ptr codec;
  int index = -1;
  video_properties video;
  std::optional<std::string> timecode;
  packet_ptr packet;
  frame_ptr picture;
  bool piped = false;
  bool draining = false;
  uint64_t decoded = 0;
  ns_y4m::stop_check stop;
};

}  // namespace ns_media
