#pragma once
// Source component: one Y4M stream onto its one output queue. Frame n carries the
// stream's clock: sequence n, play and decode time n / rate, duration 1 / rate and the
// SMPTE time code of n at the rate; an optional matte stream (Cmono, the same size
// and rate, frame for frame) gives each frame an "alpha" parameter of W x H bytes.
// Parameters of a FRAME header go with the frame as its frame_header_parameter.
// The output queue is described with the stream's width, height and frame rate.

#include "io/frame_clock.h"
#include "io/y4m_reader.h"
#include "zm/ZMComponent.h"

#include <memory>
#include <string>

namespace ns_y4m {

// Name of the frame parameter (an RString) that carries a source's tag.
inline constexpr const char* source_parameter = "source";
// A tag value to share between all the frames of one source.
KX::RPtr<const ulbase::object_refcount> make_source_tag(const std::string& name);

class y4m_source : public KX::ZM::RSource {
public:
  // A non-empty `tag` is attached to every frame as parameter "source", so that a
  // consumer downstream can tell which input a frame came from.
  explicit y4m_source(std::unique_ptr<y4m_reader> pictures, std::unique_ptr<y4m_reader> matte = nullptr,
                      const std::string& tag = {});
  ~y4m_source() override;

  // Throws KX::CException unless the pictures are 8-bit 4:2:0 or 4:2:2 and the matte
  // (when given) is a mono stream of the same size and rate.
  int configure(const KX::ZM::RComponentConfiguration& config) override;
  // Reads and puts one frame; false at the end of the stream.
  bool process() override;

private:
  [[noreturn]] void fail(const std::string& message) const;

  std::unique_ptr<y4m_reader> pictures;
  std::unique_ptr<y4m_reader> matte;
  const frame_clock clock;
  KX::RPtr<const ulbase::object_refcount> tag;
};

}  // namespace ns_y4m
