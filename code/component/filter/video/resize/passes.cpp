#include "filter/video/resize/passes.h"

#include <algorithm>
#include <cstring>

#include "filter/video/resize/transpose.h"
#include "pixel_kernels/pixel_kernels.h"

namespace ns_video_resize {

namespace pk = ns_pixel_kernels;

namespace {

void widen(const uint8_t* src, float* dst, uint32_t len) {
  pk::convert_u8_to_f32(src, dst, static_cast<int32_t>(len));
}
void widen(const uint16_t* src, float* dst, uint32_t len) {
  pk::convert_u16_to_f32(src, dst, static_cast<int32_t>(len));
}

// out row y = weights[0][y] * in row index[y] + ... + weights[taps-1][y] * in row
// index[y] + taps - 1, summed in tap order; rows of `width` samples, packed. Lines
// 0 .. taps-1 keep widened input rows, row r in line r % taps, so a row that several
// output rows share is widened once.
template <class S>
void filter_rows(const pass_context<S>& c, const uint32_t* index, const float* const* weights,
                 const S* in, S* out, uint32_t width, uint32_t out_rows) {
  uint32_t held[kMaxTaps];
  std::fill(held, held + kMaxTaps, UINT32_MAX);
  float* sum = c.lines[c.taps];
  float* product = c.lines[c.taps + 1];
  const auto n = static_cast<int32_t>(width);
  for (uint32_t y = 0; y < out_rows; ++y) {
    const uint32_t first = index[y];
    for (uint32_t r = first; r < first + c.taps; ++r) {
      if (held[r % c.taps] != r) {
        widen(in + std::size_t{r} * width, c.lines[r % c.taps], width);
        held[r % c.taps] = r;
      }
    }
    pk::multiply_by_constant_f32(c.lines[first % c.taps], weights[0][y], sum, n);
    for (uint32_t t = 1; t < c.taps; ++t) {
      pk::multiply_by_constant_f32(c.lines[(first + t) % c.taps], weights[t][y], product, n);
      pk::add_f32(product, sum, sum, n);
    }
    narrow_row(sum, out + std::size_t{y} * width, width);
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

void narrow_row(const float* sums, uint8_t* dst, uint32_t len) {
  pk::convert_f32_to_u8(sums, dst, static_cast<int32_t>(len), pk::round_nearest, 0);
}

void narrow_row(const float* sums, uint16_t* dst, uint32_t len) {
  for (uint32_t x = 0; x < len; ++x) {
    const float v = sums[x];
    // Written so that NaN, too, stores 0.
    dst[x] = !(v > 0.0f)     ? 0
             : v >= 65535.0f ? 65535
                             : static_cast<uint16_t>(static_cast<int32_t>(v));
  }
}

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
