#pragma once
// The project's resizer set up for one kind of clip picture, and for a lone 8-bit
// plane (an "alpha" matte) through the same resizer: the plane travels as the luma
// of a 4:2:0 picture whose chroma is neutral, so that it is placed and scaled exactly
// as the pictures are.

#include "filter/video/resize/kx_resize.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace ns_introoutro {

// How a picture is placed in the destination before it is scaled.
struct placement_request {
  uint32_t fit_mode = 0;     // the resizer's: 0 stretch, 1 crop to fill, 2 pad to fit
  float aspect_num = 0.0f;   // the source's display aspect in destination pixels;
  float aspect_den = 0.0f;   // 0:0 for none
};

struct resize_deleter {
  void operator()(ns_video_resize::kx_resize* r) const { ns_video_resize::destroy_video_resize(r); }
};
using resize_ptr = std::unique_ptr<ns_video_resize::kx_resize, resize_deleter>;

// A resizer from src to dst in `resize_format` (1: 4:2:0, 3: 4:2:2), borders of luma
// `fill`. Throws std::runtime_error naming `what` when the resizer refuses.
resize_ptr make_resizer(uint32_t src_width, uint32_t src_height, uint32_t dst_width, uint32_t dst_height,
                        uint32_t resize_format, const placement_request& place, uint32_t fill, const std::string& what);

class plane_resizer {
public:
  plane_resizer(uint32_t src_width, uint32_t src_height, uint32_t dst_width, uint32_t dst_height,
                const placement_request& place, uint8_t fill, const std::string& what);

  // Resizes the plane (`bytes` bytes; a shorter one counts as 0 beyond its end) and
  // returns the dst_width x dst_height result, valid until the next call.
  const uint8_t* process(const uint8_t* plane, size_t bytes);

private:
  const size_t src_plane;
  resize_ptr resizer;
  std::vector<uint8_t> in;   // the plane, then neutral chroma
  std::vector<uint8_t> out;
};

}  // namespace ns_introoutro
