#include "filter/video/resize/passes.h"

#include <algorithm>
#include <cstring>

#include "filter/video/resize/transpose.h"
#include "pixel_kernels/pixel_kernels.h"

namespace ns_video_resize {

namespace pk = ns_pixel_kernels;

namespace {

// Rows, weights and lengths here are never null or empty: the kernels cannot fail.
void weigh(const float* const* rows, const float* weights, uint32_t taps, uint8_t* dst,
           uint32_t len) {
  pk::weighted_rows_f32_to_u8(rows, weights, static_cast<int32_t>(taps), dst,
                              static_cast<int32_t>(len));
}
void weigh(const float* const* rows, const float* weights, uint32_t taps, uint16_t* dst,
           uint32_t len) {
  pk::weighted_rows_f32_to_u16(rows, weights, static_cast<int32_t>(taps), dst,
                               static_cast<int32_t>(len));
}
void widen(const uint8_t* src, float* dst, uint32_t len) {
  pk::convert_u8_to_f32(src, dst, static_cast<int32_t>(len));
}
void widen(const uint16_t* src, float* dst, uint32_t len) {
  pk::convert_u16_to_f32(src, dst, static_cast<int32_t>(len));
}

// out row y = weights[0][y] * in row index[y] + ... + weights[taps-1][y] * in row
// index[y] + taps - 1, summed in tap order by one kernel call; rows of `width` samples,
// packed. Lines 0 .. taps-1 keep widened input rows, row r in line r % taps, so a row
// that several output rows share is widened once (cheaper than widening every tap of
// every output row inside the kernel).
template <class S>
void filter_rows(const pass_context<S>& c, const uint32_t* index, const float* const* weights,
                 const S* in, S* out, uint32_t width, uint32_t out_rows) {
  uint32_t held[kMaxTaps];
  std::fill(held, held + kMaxTaps, UINT32_MAX);
  const float* rows[kMaxTaps];
  float row_weights[kMaxTaps];
  for (uint32_t y = 0; y < out_rows; ++y) {
    for (uint32_t t = 0; t < c.taps; ++t) {
      const uint32_t r = index[y] + t;
      if (held[r % c.taps] != r) {
        widen(in + std::size_t{r} * width, c.lines[r % c.taps], width);
        held[r % c.taps] = r;
      }
      rows[t] = c.lines[r % c.taps];
      row_weights[t] = weights[t][y];
    }
    weigh(rows, row_weights, c.taps, out + std::size_t{y} * width, width);
  }
}

// Column x of dst weighs the columns of src by h_weights[.][x]: the same sums as the
// vertical pass makes, so it is one, on transposed bands of kBandRows rows (small
// enough for the transposed copies to stay in the second-level cache).
template <class S>
void weighted_horizontal(const pass_context<S>& c, const plane_buffer<S>& dst,
                         const plane_buffer<S>& src) {
  for (uint32_t y = 0; y < src.height(); y += kBandRows) {
    const uint32_t rows = std::min(kBandRows, src.height() - y);
    transpose_plane(src.row(y), src.width(), rows, c.transposed[0]);
    filter_rows(c, c.h_index, c.h_weights, c.transposed[0], c.transposed[1], rows, dst.width());
    transpose_plane(c.transposed[1], rows, dst.width(), dst.row(y));
  }
}

template <class S>
void weighted_vertical(const pass_context<S>& c, const plane_buffer<S>& dst,
                       const plane_buffer<S>& src) {
  filter_rows(c, c.v_index, c.v_weights, src.samples(), dst.samples(), dst.width(), dst.height());
}

template <class S>
void nearest_horizontal(const pass_context<S>& c, const plane_buffer<S>& dst,
                        const plane_buffer<S>& src) {
  for (uint32_t y = 0; y < dst.height(); ++y) {
    const S* in = src.row(y);
    S* out = dst.row(y);
    for (uint32_t x = 0; x < dst.width(); ++x) out[x] = in[c.h_index[x]];
  }
}

template <class S>
void nearest_vertical(const pass_context<S>& c, const plane_buffer<S>& dst,
                      const plane_buffer<S>& src) {
  for (uint32_t y = 0; y < dst.height(); ++y) {
    std::memcpy(dst.row(y), src.row(c.v_index[y]), std::size_t{dst.width()} * sizeof(S));
  }
}

}  // namespace

template <class S>
pass_fn<S> horizontal_pass(bool nearest) {
  return nearest ? &nearest_horizontal<S> : &weighted_horizontal<S>;
}

template <class S>
pass_fn<S> vertical_pass(bool nearest) {
  return nearest ? &nearest_vertical<S> : &weighted_vertical<S>;
}

template pass_fn<uint8_t> horizontal_pass<uint8_t>(bool);
template pass_fn<uint16_t> horizontal_pass<uint16_t>(bool);
template pass_fn<uint8_t> vertical_pass<uint8_t>(bool);
template pass_fn<uint16_t> vertical_pass<uint16_t>(bool);

}  // namespace ns_video_resize
