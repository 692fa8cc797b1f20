#include "filter/video/resize/smoothing.h"

#include <cstring>

#include "pixel_kernels/pixel_kernels.h"

namespace ns_video_resize {

namespace pk = ns_pixel_kernels;

namespace {

pk::pixel_status gauss(const uint8_t* src, int32_t step, uint8_t* dst, pk::pixel_size roi,
                       int32_t mask) {
  return pk::gauss_filter_u8(src, step, dst, step, roi, mask);
}
pk::pixel_status gauss(const uint16_t* src, int32_t step, uint16_t* dst, pk::pixel_size roi,
                       int32_t mask) {
  return pk::gauss_filter_u16(src, step, dst, step, roi, mask);
}

}  // namespace

uint32_t prefilter_level_for(uint32_t prefilter, uint32_t src_width, uint32_t src_height,
                             uint32_t dst_width, uint32_t dst_height) noexcept {
  if (prefilter == 0) return prefilter_none;
  const float rw = static_cast<float>(src_width) / static_cast<float>(dst_width);
  const float rh = static_cast<float>(src_height) / static_cast<float>(dst_height);
  if (rw > 3.8f || rh > 3.8f) return prefilter_strong;
  if (rw > 1.7f || rh > 1.7f || prefilter == 2) return prefilter_light;
  return prefilter_none;
}

template <class S>
void smooth_plane(S* plane, uint32_t width, uint32_t height, uint32_t mask, S* scratch) {
  const uint32_t ring = mask == smooth_5x5 ? 2 : 1;
  if (width <= 2 * ring || height <= 2 * ring) return;
  const std::size_t offset = std::size_t{ring} * width + ring;
  std::memcpy(scratch, plane, std::size_t{width} * height * sizeof(S));
  const pk::pixel_size roi{static_cast<int32_t>(width - 2 * ring),
                           static_cast<int32_t>(height - 2 * ring)};
  gauss(scratch + offset, static_cast<int32_t>(width * sizeof(S)), plane + offset, roi,
        mask == smooth_5x5 ? pk::mask_5x5 : pk::mask_3x3);
}

template <class S>
void smooth_frame(S* frame, const format_layout& layout, uint32_t width, uint32_t height,
                  uint32_t level, S* scratch) {
  if (level == prefilter_none) return;
  const uint32_t luma = layout.full_planes - 1;  // E, when present, precedes Y
  S* plane = frame;
  for (uint32_t p = 0; p < plane_count(layout); ++p) {
    const plane_size size = plane_dimensions(layout, p, width, height);
    if (p >= luma) {
      const uint32_t mask = p == luma && level == prefilter_strong ? smooth_5x5 : smooth_3x3;
      smooth_plane(plane, size.width, size.height, mask, scratch);
    }
    plane += std::size_t{size.width} * size.height;
  }
}

template void smooth_plane<uint8_t>(uint8_t*, uint32_t, uint32_t, uint32_t, uint8_t*);
template void smooth_plane<uint16_t>(uint16_t*, uint32_t, uint32_t, uint32_t, uint16_t*);
template void smooth_frame<uint8_t>(uint8_t*, const format_layout&, uint32_t, uint32_t, uint32_t,
                                    uint8_t*);
template void smooth_frame<uint16_t>(uint16_t*, const format_layout&, uint32_t, uint32_t, uint32_t,
                                     uint16_t*);

}  // namespace ns_video_resize
