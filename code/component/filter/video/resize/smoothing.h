#pragma once
// Gaussian smoothing before strong reductions, against aliasing. A plane is copied
// to `scratch` and its interior filtered back from the copy, so the outer ring
// (1 sample for 3x3, 2 for 5x5) keeps its values.

#include <cstdint>

#include "filter/video/resize/resize_format.h"

namespace ns_video_resize {

enum : uint32_t { prefilter_none = 0, prefilter_light = 1, prefilter_strong = 2 };
enum : uint32_t { smooth_3x3 = 3, smooth_5x5 = 5 };

// The smoothing level for a reduction from src to dst: none when `prefilter` is 0;
// otherwise strong when either ratio exceeds 3.8, light when either exceeds 1.7 or
// `prefilter` is 2, else none (ratios in single precision, strict comparisons).
uint32_t prefilter_level_for(uint32_t prefilter, uint32_t src_width, uint32_t src_height,
                             uint32_t dst_width, uint32_t dst_height) noexcept;

// `scratch` holds at least width * height samples. Planes too small for the mask
// keep their values.
template <class S>
void smooth_plane(S* plane, uint32_t width, uint32_t height, uint32_t mask, S* scratch);

// The smoothing of a whole placed frame at `level`: 5x5 (strong) or 3x3 (light) on
// Y, 3x3 on both chroma planes; the extra plane E of four-plane layouts is left out.
template <class S>
void smooth_frame(S* frame, const format_layout& layout, uint32_t width, uint32_t height,
                  uint32_t level, S* scratch);

}  // namespace ns_video_resize
