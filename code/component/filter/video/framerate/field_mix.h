#pragma once
// A picture woven from the top field (even lines) of `a` and the bottom field (odd
// lines) of `b`. Chroma sited on both fields (4:2:2, 4:4:4) is woven the same way;
// 4:2:0 chroma, whose lines span both fields, is the rounded average of a and b.

#include <cstdint>

#include "filter/video/framerate/picture_layout.h"

namespace ns_video_framerate {

template <class T>
void field_mix(T* out, const T* a, const T* b, const picture_layout& layout);

extern template void field_mix<uint8_t>(uint8_t*, const uint8_t*, const uint8_t*, const picture_layout&);
extern template void field_mix<uint16_t>(uint16_t*, const uint16_t*, const uint16_t*, const picture_layout&);

}  // namespace ns_video_framerate
