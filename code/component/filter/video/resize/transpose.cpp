#include "filter/video/resize/transpose.h"

#include <emmintrin.h>

#include <algorithm>
#include <cstddef>

namespace ns_video_resize {

namespace {

__m128i load16(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }
void store16(void* p, __m128i v) { _mm_storeu_si128(static_cast<__m128i*>(p), v); }

// 16x16 bytes per block, so that every load and store is a whole SSE register: each
// step interleaves groups of rows at twice the width of the step before.
void transpose_block(const uint8_t* in, std::size_t in_stride, uint8_t* out,
                     std::size_t out_stride) {
  __m128i a[16], b[16];
  for (int i = 0; i < 8; ++i) {  // columns 0-7, then 8-15, of rows 2i, 2i + 1
    const __m128i r0 = load16(in + 2 * i * in_stride);
    const __m128i r1 = load16(in + (2 * i + 1) * in_stride);
    a[2 * i] = _mm_unpacklo_epi8(r0, r1);
    a[2 * i + 1] = _mm_unpackhi_epi8(r0, r1);
  }
  for (int j = 0; j < 4; ++j) {  // columns 4q .. 4q + 3 of rows 4j .. 4j + 3 in b[4j + q]
    b[4 * j] = _mm_unpacklo_epi16(a[4 * j], a[4 * j + 2]);
    b[4 * j + 1] = _mm_unpackhi_epi16(a[4 * j], a[4 * j + 2]);
    b[4 * j + 2] = _mm_unpacklo_epi16(a[4 * j + 1], a[4 * j + 3]);
    b[4 * j + 3] = _mm_unpackhi_epi16(a[4 * j + 1], a[4 * j + 3]);
  }
  for (int h = 0; h < 2; ++h) {  // columns 2k, 2k + 1 of rows 8h .. 8h + 7 in a[8h + k]
    for (int q = 0; q < 4; ++q) {
      a[8 * h + 2 * q] = _mm_unpacklo_epi32(b[8 * h + q], b[8 * h + 4 + q]);
      a[8 * h + 2 * q + 1] = _mm_unpackhi_epi32(b[8 * h + q], b[8 * h + 4 + q]);
    }
  }
  for (int k = 0; k < 8; ++k) {
    store16(out + 2 * k * out_stride, _mm_unpacklo_epi64(a[k], a[8 + k]));
    store16(out + (2 * k + 1) * out_stride, _mm_unpackhi_epi64(a[k], a[8 + k]));
  }
}

void transpose_block(const uint16_t* in, std::size_t in_stride, uint16_t* out,
                     std::size_t out_stride) {
  __m128i a[8], b[8];
  for (int i = 0; i < 4; ++i) {
    const __m128i r0 = load16(in + 2 * i * in_stride);
    const __m128i r1 = load16(in + (2 * i + 1) * in_stride);
    a[2 * i] = _mm_unpacklo_epi16(r0, r1);
    a[2 * i + 1] = _mm_unpackhi_epi16(r0, r1);
  }
  for (int h = 0; h < 2; ++h) {  // rows 0-3, then rows 4-7
    b[4 * h] = _mm_unpacklo_epi32(a[4 * h], a[4 * h + 2]);
    b[4 * h + 1] = _mm_unpackhi_epi32(a[4 * h], a[4 * h + 2]);
    b[4 * h + 2] = _mm_unpacklo_epi32(a[4 * h + 1], a[4 * h + 3]);
    b[4 * h + 3] = _mm_unpackhi_epi32(a[4 * h + 1], a[4 * h + 3]);
  }
  for (int i = 0; i < 4; ++i) {
    store16(out + 2 * i * out_stride, _mm_unpacklo_epi64(b[i], b[i + 4]));
    store16(out + (2 * i + 1) * out_stride, _mm_unpackhi_epi64(b[i], b[i + 4]));
  }
}

template <class S>
void transpose(const S* in, uint32_t width, uint32_t height, S* out) {
  constexpr uint32_t n = 16 / sizeof(S);
  const uint32_t full_width = width / n * n;
  const uint32_t full_height = height / n * n;
  // Bands of 64 bytes of output row: each output cache line is filled whole while
  // the band's input rows are still cached.
  constexpr uint32_t band = 64 / sizeof(S);
  for (uint32_t y0 = 0; y0 < full_height; y0 += band) {
    const uint32_t y1 = std::min(y0 + band, full_height);
    for (uint32_t x = 0; x < full_width; x += n) {
      for (uint32_t y = y0; y < y1; y += n) {
        transpose_block(in + std::size_t{y} * width + x, width, out + std::size_t{x} * height + y,
                        height);
      }
    }
  }
  // The right and bottom edges that do not fill a block.
  for (uint32_t y = 0; y < height; ++y) {
    const uint32_t first = y < full_height ? full_width : 0;
    for (uint32_t x = first; x < width; ++x)
      out[std::size_t{x} * height + y] = in[std::size_t{y} * width + x];
  }
}

}  // namespace

void transpose_plane(const uint8_t* in, uint32_t width, uint32_t height, uint8_t* out) {
  transpose(in, width, height, out);
}

void transpose_plane(const uint16_t* in, uint32_t width, uint32_t height, uint16_t* out) {
  transpose(in, width, height, out);
}

}  // namespace ns_video_resize
