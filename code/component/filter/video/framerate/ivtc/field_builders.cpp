#include "filter/video/framerate/ivtc/field_builders.h"

#include <cstring>

#include "filter/video/framerate/plane_ops.h"

namespace ns_video_framerate {

namespace {

// Line y of a plane = rounded average of lines y-1 and y+1, for y = first, first+2,
// ... `count` lines.
template <class T>
void average_lines(T* plane, uint32_t width, uint32_t first, uint32_t count) {
  for (uint32_t i = 0; i < count; ++i) {
    T* line = plane + size_t{first + 2 * i} * width;
    average_samples(line, line - width, line + width, width);
  }
}

template <class T>
void copy_line(T* plane, uint32_t width, uint32_t to, uint32_t from) {
  std::memcpy(plane + size_t{to} * width, plane + size_t{from} * width, size_t{width} * sizeof(T));
}

}  // namespace

template <class T>
void weave_fields(T* out, const T* a, const T* b, const picture_layout& layout, int parity) {
  const T* even = parity == 2 ? b : a;
  const T* odd = parity == 2 ? a : b;
  weave_plane(out, even, odd, layout.width, layout.height);
  const size_t luma = layout.luma_samples(), chroma = layout.chroma_samples();
  if (layout.chroma_height < layout.height) {
    std::memcpy(out + luma, a + luma, 2 * chroma * sizeof(T));
    rebuild_chroma_field(out, layout, parity == 2 ? 1 : 2);
    return;
  }
  for (size_t plane = luma; plane < luma + 2 * chroma; plane += chroma)
    weave_plane(out + plane, even + plane, odd + plane, layout.chroma_width, layout.chroma_height);
}

template <class T>
void interpolate_field(T* out, const T* f, const picture_layout& layout, int parity) {
  std::memcpy(out, f, layout.samples() * sizeof(T));
  const uint32_t lines = layout.height / 2 > 0 ? layout.height / 2 - 1 : 0;
  average_lines(out, layout.width, parity == 1 ? 2 : 1, lines);
  rebuild_chroma_field(out, layout, parity);
}

template <class T>
void rebuild_chroma_field(T* picture, const picture_layout& layout, int parity) {
  const uint32_t w = layout.chroma_width, ch = layout.chroma_height;
  if (ch < 2) return;
  const uint32_t lines = (ch - 2) / 2;
  for (int p = 0; p < 2; ++p) {
    T* plane = picture + layout.luma_samples() + p * layout.chroma_samples();
    if (parity == 1) {
      copy_line(plane, w, 0, 1);
      average_lines(plane, w, 2, lines);
    } else {
      average_lines(plane, w, 1, lines);
      copy_line(plane, w, ch - 1, ch - 2);
    }
  }
}

template void weave_fields<uint8_t>(uint8_t*, const uint8_t*, const uint8_t*, const picture_layout&, int);
template void weave_fields<uint16_t>(uint16_t*, const uint16_t*, const uint16_t*, const picture_layout&, int);
template void interpolate_field<uint8_t>(uint8_t*, const uint8_t*, const picture_layout&, int);
template void interpolate_field<uint16_t>(uint16_t*, const uint16_t*, const picture_layout&, int);
template void rebuild_chroma_field<uint8_t>(uint8_t*, const picture_layout&, int);
template void rebuild_chroma_field<uint16_t>(uint16_t*, const picture_layout&, int);

}  // namespace ns_video_framerate
