#pragma once
// Source component: the first video stream of a media file, decoded and converted to
// the filter's 8-bit planar layout ("IYUV" 4:2:0 or "Y22P" 4:2:2), onto its one output
// queue. Frames carry the same clock as a Y4M source's (sequence n, play and decode
// time n / rate, duration 1 / rate), with time codes counted on from the container's
// start time code (00:00:00:00 without one). A variable-rate stream is conformed to
// its average rate first. The output queue is described with the header's width,
// height and frame rate.

#include "io/frame_clock.h"
#include "io/media_decoder.h"
#include "io/picture_converter.h"
#include "io/rate_conformer.h"
#include "zm/ZMComponent.h"

#include <functional>
#include <memory>
#include <string>

namespace ns_media {

class media_source : public KX::ZM::RSource {
public:
  // Told once about what changes the pictures on the way: dithering to 8 bits, a
  // variable rate made constant, an unreadable start time code.
  using notice_sink = std::function<void(const std::string&)>;

  // Frames in chroma layout `target` (a 4:2:0 siting or C422); a non-empty `tag` is
  // attached to every frame as parameter "source", as a Y4M source does.
  media_source(std::unique_ptr<media_decoder> decoder, ns_y4m::chroma target, const std::string& tag = {},
               notice_sink notice = {});
  ~media_source() override;

  // The Y4M header that describes the frames.
  const ns_y4m::stream_header& header() const { return format; }

  int configure(const KX::ZM::RComponentConfiguration& config) override;
  // Decodes, converts and puts one frame; false at the end of the stream.
  bool process() override;

private:
  [[noreturn]] void fail(const std::string& message) const;
  ns_y4m::malloc_ptr picture_of(const AVFrame& decoded);
  void put(ns_y4m::malloc_ptr picture);

  std::unique_ptr<media_decoder> decoder;
  const ns_y4m::stream_header format;
  const ns_y4m::frame_clock clock;
  const uint64_t picture_size;
  picture_converter converter;
  std::unique_ptr<rate_conformer> conformer;
  KX::RPtr<const ulbase::object_refcount> tag;
  notice_sink notice;
  uint64_t first_timecode = 0;
  uint64_t emitted = 0;
  double first_seconds = 0;
  bool told_dither = false;
  bool conformer_finished = false;
};

}  // namespace ns_media
