#pragma once
// Sink component: encodes the frames of its one input queue ("IYUV" or "Y22P", as the
// header says) and writes them into a media container, the container chosen by the
// output's extension and the encoder by it or by `encoder_settings`. The encoder is
// opened and then the file created at construction, so a refused extension or
// encoder fails before the graph runs and leaves no file; the header is written at the first frame,
// with that frame's time code as the container's start time code (mov, mp4, mxf, mkv).
// Frames reach the encoder without a copy when it takes the stream's own layout.
//
// More streams (sound) join as companions: each adds its stream through muxer()
// before the graph starts, is told on the sink's thread after every picture written
// and at the end of the video, writes its packets to the muxer (interleaved with the
// video) and ends its stream; the file is finished when every stream has ended.

#include "io/media_muxer.h"
#include "io/output_kind.h"
#include "io/output_sink.h"
#include "io/picture_converter.h"
#include "io/video_encoder.h"

#include <atomic>
#include <memory>
#include <vector>

namespace ns_media {

// A stream that shares the file with the video and follows its pictures.
class companion_stream {
public:
  virtual ~companion_stream() = default;
  // `frame` was just written (frames in output order).
  virtual void after_picture(const KX::RPtr<KX::ZM::RFrame>& frame) = 0;
  // The video ended after `pictures` frames: write the rest and end the stream.
  virtual void at_end(uint64_t pictures) = 0;
};

class media_sink : public ns_y4m::output_sink {
public:
  // Throws KX::CException naming `path` for an extension without a container, an
  // encoder that is not there or cannot take the stream.
  media_sink(const std::string& path, const ns_y4m::stream_header& header, const encoder_settings& settings,
             frame_tap tap = {});
  ~media_sink() override;

  media_muxer& muxer() { return mux; }
  // Before the graph starts, with its stream already added to muxer().
  void add_companion(std::unique_ptr<companion_stream> c) { companions.push_back(std::move(c)); }
  const char* codec_name() const { return encoder.codec_name(); }

  // Throws KX::CException unless the input queue is described with the header's
  // size and rate.
  int configure(const KX::ZM::RComponentConfiguration& config) override;
  // Encodes one frame; at the end of the input flushes the encoder, ends the video
  // stream, then the companions', and returns false.
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
  std::vector<std::unique_ptr<companion_stream>> companions;
  std::atomic<uint64_t> frames{0};
};

}  // namespace ns_media
