#pragma once
// Pictures that inverse telecine builds from its input fields, for every layout
// (8-bit T = uint8_t, 16-bit T = uint16_t). Parity 2 = even lines, 1 = odd lines.
//
//   weave_fields(a, b, 2)      interpolate_field(f, 1)    rebuild_chroma_field(p, 1)
//   line 0  b                  line 0  f                  line 0  = line 1
//   line 1  a                  line 1  f                  line 2  = avg(1, 3)
//   line 2  b                  line 2  avg(1, 3)          line 4  = avg(3, 5) ...
//   line 3  a                  line 3  f
//
// All write a whole picture of `layout` into `out`, which must not alias the inputs.

#include <cstdint>

#include "filter/video/framerate/picture_layout.h"

namespace ns_video_framerate {

// `a` with the luma lines of `parity` taken from `b`. 4:2:2 and 4:4:4 chroma planes
// are woven the same way; 4:2:0 chroma stays a's and the chroma lines of the field
// taken from b are re-interpolated (rebuild_chroma_field with the other parity).
template <class T>
void weave_fields(T* out, const T* a, const T* b, const picture_layout& layout, int parity);

// `f` with the luma lines of one field re-made from their neighbours: lines 2, 4 ...
// height-2 for parity 1 (the odd field is kept), 1, 3 ... height-3 for parity 2; then
// rebuild_chroma_field with the same parity.
template <class T>
void interpolate_field(T* out, const T* f, const picture_layout& layout, int parity);

// In place, on both chroma planes of `picture` (ch lines each): parity 1 - line 0 =
// line 1, even lines 2 .. as rounded averages of their neighbours; parity 2 - odd
// lines 1 .. likewise, the last line = the one above it. (ch - 2) / 2 lines average.
template <class T>
void rebuild_chroma_field(T* picture, const picture_layout& layout, int parity);

extern template void weave_fields<uint8_t>(uint8_t*, const uint8_t*, const uint8_t*, const picture_layout&, int);
extern template void weave_fields<uint16_t>(uint16_t*, const uint16_t*, const uint16_t*, const picture_layout&, int);
extern template void interpolate_field<uint8_t>(uint8_t*, const uint8_t*, const picture_layout&, int);
extern template void interpolate_field<uint16_t>(uint16_t*, const uint16_t*, const picture_layout&, int);
extern template void rebuild_chroma_field<uint8_t>(uint8_t*, const picture_layout&, int);
extern template void rebuild_chroma_field<uint16_t>(uint16_t*, const picture_layout&, int);

}  // namespace ns_video_framerate
