#pragma once
// Filter component: the output's "alpha" as a stream of 8-bit planes of the main
// source's size, frame for frame, for a Y4M sink with a Cmono header to write. A
// frame that carries a matte plane (a clip frame; the plane has the size the filter
// saw the clip at) gives that plane scaled to the picture; every other frame gives
// 255 (opaque). It reads the output queue beside the output's own sink, so it works
// whatever writes the pictures.

#include "base/RBuffer.h"
#include "introoutro/plane_resizer.h"
#include "io/y4m_header.h"
#include "zm/ZMComponent.h"

#include <memory>
#include <optional>
#include <vector>

namespace ns_introoutro {

struct plane_size {
  uint32_t width = 0;
  uint32_t height = 0;
};

class matte_frames : public KX::ZM::RFilter {
public:
  // `main` is the output's size; intro and outro are the sizes the filter sees the
  // clips at (absent for a clip not spliced).
  matte_frames(plane_size main, std::optional<plane_size> intro, std::optional<plane_size> outro);
  ~matte_frames() override;

  // Throws KX::CException unless the queue is described with the main source's size.
  int configure(const KX::ZM::RComponentConfiguration& config) override;
  bool process() override;
  void flush() override {}

private:
  // The plane of a frame that carries one, at the picture's size.
  const uint8_t* scaled(const KX::ZM::RFrame& frame, const KX::RBuffer& plane);

  struct clip_matte {
    plane_size size;
    std::unique_ptr<plane_resizer> scaler;  // made when a plane first needs scaling
  };

  const plane_size main;
  std::optional<clip_matte> intro, outro;
  const std::vector<uint8_t> opaque;
  bool main_seen = false;
};

// The header of the matte stream of an output with header `main`.
ns_y4m::stream_header matte_header(const ns_y4m::stream_header& main);

}  // namespace ns_introoutro
