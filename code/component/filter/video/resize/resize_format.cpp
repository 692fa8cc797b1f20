#include "filter/video/resize/resize_format.h"

#include "orrin/picture_format.h"

namespace ns_video_resize {

using Quorvane::Orrin::kFourccI2AL;
using Quorvane::Orrin::kFourccI420;
using Quorvane::Orrin::kFourccI422;
using Quorvane::Orrin::kFourccI444;

std::optional<format_layout> describe_format(uint32_t code) noexcept {
  switch (code) {
    case 1: return format_layout{1, 1, 1, 1, kFourccI420};
    case 2: return format_layout{2, 1, 1, 1, 0};
    case 3: return format_layout{1, 1, 0, 1, kFourccI422};
    case 4: return format_layout{1, 0, 0, 1, kFourccI444};
    case 5: return format_layout{2, 1, 0, 1, 0};
    case 6: return format_layout{2, 0, 0, 1, 0};
    case 7: return format_layout{1, 1, 0, 2, kFourccI2AL};
    case 8: return format_layout{1, 0, 0, 2, 0};
    case 9: return format_layout{2, 1, 0, 2, 0};
    case 10: return format_layout{2, 0, 0, 2, 0};
    default: return std::nullopt;
  }
}

plane_size plane_dimensions(const format_layout& f, uint32_t plane, uint32_t width,
                            uint32_t height) noexcept {
  if (!is_chroma(f, plane)) return {width, height};
  return {width >> f.chroma_shift_x, height >> f.chroma_shift_y};
}

uint64_t frame_samples(const format_layout& f, uint32_t width, uint32_t height) noexcept {
  uint64_t total = 0;
  for (uint32_t p = 0; p < plane_count(f); ++p) {
    const plane_size s = plane_dimensions(f, p, width, height);
    total += uint64_t{s.width} * s.height;
  }
  return total;
}

}  // namespace ns_video_resize
