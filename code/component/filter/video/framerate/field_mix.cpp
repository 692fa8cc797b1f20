#include "filter/video/framerate/field_mix.h"

#include "filter/video/framerate/plane_ops.h"

namespace ns_video_framerate {

template <class T>
void field_mix(T* out, const T* a, const T* b, const picture_layout& layout) {
  weave_plane(out, a, b, layout.width, layout.height);
  const size_t luma = layout.luma_samples();
  const size_t chroma = layout.chroma_samples();
  if (layout.chroma_height < layout.height) {
    average_samples(out + luma, a + luma, b + luma, 2 * chroma);
    return;
  }
  for (size_t plane = luma; plane < luma + 2 * chroma; plane += chroma)
    weave_plane(out + plane, a + plane, b + plane, layout.chroma_width, layout.chroma_height);
}

template void field_mix<uint8_t>(uint8_t*, const uint8_t*, const uint8_t*, const picture_layout&);
template void field_mix<uint16_t>(uint16_t*, const uint16_t*, const uint16_t*, const picture_layout&);

}  // namespace ns_video_framerate
