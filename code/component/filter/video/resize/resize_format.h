#pragma once
// The resize format codes: planar layouts, planes one after the other without row
// padding. Codes 2, 5, 6, 9, 10 carry an extra full-size plane E before Y.
//
//   code  samples  planes                chroma
//   1     8-bit    Y U V                 w/2 x h/2
//   2     8-bit    E Y U V               w/2 x h/2
//   3, 7  8, 16    Y U V                 w/2 x h
//   4, 8  8, 16    Y U V                 w x h
//   5, 9  8, 16    E Y U V               w/2 x h
//   6, 10 8, 16    E Y U V               w x h

#include <cstdint>
#include <optional>

namespace ns_video_resize {

struct format_layout {
  uint32_t full_planes;       // 1 (Y) or 2 (E, Y)
  uint32_t chroma_shift_x;    // 1: chroma has half the width, rounded down
  uint32_t chroma_shift_y;    // 1: chroma has half the height, rounded down
  uint32_t sample_bytes;      // 1 or 2
  uint32_t converter_fourcc;  // the media library's FourCC, 0 when it has none
};

std::optional<format_layout> describe_format(uint32_t code) noexcept;

inline uint32_t plane_count(const format_layout& f) noexcept { return f.full_planes + 2; }
inline bool is_chroma(const format_layout& f, uint32_t plane) noexcept {
  return plane >= f.full_planes;
}

struct plane_size {
  uint32_t width;
  uint32_t height;
};

// Size of `plane` in a frame of width x height.
plane_size plane_dimensions(const format_layout& f, uint32_t plane, uint32_t width,
                            uint32_t height) noexcept;
// Samples of a whole frame of width x height.
uint64_t frame_samples(const format_layout& f, uint32_t width, uint32_t height) noexcept;

}  // namespace ns_video_resize
