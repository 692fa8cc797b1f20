#pragma once
// Sink component: encodes the frames of its one input queue ("IYUV" or "Y22P", as the
// header says) and writes them into a media container, the container chosen by the
// output's extension and the encoder by it or by `encoder_settings`. The encoder is
// opened and then the file created at construction, so a refused extension or
// encoder fails before the graph runs and leaves no file; the header is written at the first frame,
// with that frame's time code as the container's start time code (mov, mp4, mxf, mkv).
// Frames reach the encoder without a copy when it takes the stream's own layout.
//
// More streams (sound) join through muxer(): add_stream() before the graph starts,
// then write() packets from any thread, interleaved with the video, and end_stream()
// at their end; the file is finished when the video and every added stream have ended.

#include "io/media_muxer.h"
#include "io/output_sink.h"
#include "io/picture_converter.h"
#include "io/video_encoder.h"

#include <atomic>
#include <memory>

namespace ns_media {

class media_sink : public ns_y4m::output_sink {
public:
  // Throws KX::CException naming `path` for an extension without a container, an
  // encoder that is not there or cannot take the stream.
  media_sink(const std::string& path, const ns_y4m::stream_header& header, const encoder_settings& settings,
             frame_tap tap = {});
  ~media_sink() override;

  media_muxer& muxer() { return mux; }
  const char* codec_name() const { return encoder.codec_name(); }

  // Throws KX::CException unless the input queue is described with the header's
  // size and rate.
  int configure(const KX::ZM::RComponentConfiguration& config) override;
  // Encodes one frame; at the end of the input flushes the encoder, ends the video
  // stream (the last stream to end finishes the file) and returns false.
  bool process() override;

  const std::string& name() const override { return mux.name(); }
  uint64_t frames_written() const override { return frames.load(std::memory_order_relaxed); }
  uint64_t bytes_written() const override { return mux.bytes_written(); }

private:
  [[noreturn]] void fail(const std::string& message) const;
  frame_ptr wrap(const KX::RPtr<KX::ZM::RFrame>& frame) const;

  const ns_y4m::stream_header header;
  media_muxer mux;
  video_encoder encoder;
  picture_converter converter;
  frame_tap tap;
  std::atomic<uint64_t> frames{0};
};

// True when `path` is written as raw YUV4MPEG2 ("-", a .y4m name, or a name without
// an extension such as a device) rather than through a media container.
bool writes_y4m(const std::string& path);

}  // namespace ns_media
