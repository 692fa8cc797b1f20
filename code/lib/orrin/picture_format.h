#pragma once
// The planar picture formats the video converter handles. In a picture the luma plane
// comes first, rows `stride` bytes apart, then U and V, each with rows
// (stride >> chroma_shift_x) bytes apart and (height >> chroma_shift_y) rows.

#include <cstdint>
#include <optional>

namespace Quorvane::Orrin {

inline constexpr uint32_t kFourccI420 = 0x49343230;  // 'I420' 8-bit 4:2:0
inline constexpr uint32_t kFourccI422 = 0x49343232;  // 'I422' 8-bit 4:2:2
inline constexpr uint32_t kFourccI444 = 0x49343434;  // 'I444' 8-bit 4:4:4
inline constexpr uint32_t kFourccI2AL = 0x4932414C;  // 'I2AL' 16-bit 4:2:2

struct PictureLayout {
  uint32_t bytes_per_sample;
  uint32_t chroma_shift_x;
  uint32_t chroma_shift_y;
};

constexpr std::optional<PictureLayout> DescribePictureFormat(uint32_t fourcc) noexcept {
  switch (fourcc) {
    case kFourccI420: return PictureLayout{1, 1, 1};
    case kFourccI422: return PictureLayout{1, 1, 0};
    case kFourccI444: return PictureLayout{1, 0, 0};
    case kFourccI2AL: return PictureLayout{2, 1, 0};
    default: return std::nullopt;
  }
}

}  // namespace Quorvane::Orrin
