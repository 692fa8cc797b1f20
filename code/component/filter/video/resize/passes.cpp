#include "filter/video/resize/passes.h"

#include <emmintrin.h>

#include <cstring>

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

// line[t][x] = row[index[x] + t] for every tap: four (or two) neighbouring floats
// per column are loaded at once and transposed into the tap lines. A span never
// reaches past the row, so neither do the loads.
void gather_spans(const float* row, const uint32_t* index, uint32_t taps, float* const* line,
                  uint32_t len) {
  uint32_t x = 0;
  if (taps == 4) {
    for (; x + 4 <= len; x += 4) {
      __m128 a = _mm_loadu_ps(row + index[x]);
      __m128 b = _mm_loadu_ps(row + index[x + 1]);
      __m128 c = _mm_loadu_ps(row + index[x + 2]);
      __m128 d = _mm_loadu_ps(row + index[x + 3]);
      _MM_TRANSPOSE4_PS(a, b, c, d);
      _mm_storeu_ps(line[0] + x, a);
      _mm_storeu_ps(line[1] + x, b);
      _mm_storeu_ps(line[2] + x, c);
      _mm_storeu_ps(line[3] + x, d);
    }
  } else if (taps == 2) {
    for (; x + 4 <= len; x += 4) {
      const auto pair = [row](uint32_t start) {
        return _mm_castsi128_ps(_mm_loadu_si64(row + start));
      };
      const __m128 ab = _mm_movelh_ps(pair(index[x]), pair(index[x + 1]));
      const __m128 cd = _mm_movelh_ps(pair(index[x + 2]), pair(index[x + 3]));
      _mm_storeu_ps(line[0] + x, _mm_shuffle_ps(ab, cd, _MM_SHUFFLE(2, 0, 2, 0)));
      _mm_storeu_ps(line[1] + x, _mm_shuffle_ps(ab, cd, _MM_SHUFFLE(3, 1, 3, 1)));
    }
  }
  for (; x < len; ++x) {
    for (uint32_t t = 0; t < taps; ++t) line[t][x] = row[index[x] + t];
  }
}

// sum = w[0] * tap[0]; sum = w[t] * tap[t] + sum for t = 1 .. taps - 1.
void weighted_sum(const pass_context& c, float* const* tap, const float* const* weights,
                  float* sum, uint32_t len) {
  const auto n = static_cast<int32_t>(len);
  pk::multiply_f32(tap[0], weights[0], sum, n);
  for (uint32_t t = 1; t < c.taps; ++t) {
    pk::multiply_f32(tap[t], weights[t], tap[t], n);
    pk::add_f32(tap[t], sum, sum, n);
  }
}

template <class S>
void weighted_horizontal(const pass_context& c, const plane_buffer<S>& dst,
                         const plane_buffer<S>& src) {
  float* const* tap = c.lines;
  float* source_row = c.lines[c.taps];
  for (uint32_t y = 0; y < dst.height(); ++y) {
    widen(src.row(y), source_row, src.width());
    gather_spans(source_row, c.h_index, c.taps, tap, dst.width());
    weighted_sum(c, tap, c.h_weights, tap[0], dst.width());
    narrow_row(tap[0], dst.row(y), dst.width());
  }
}

template <class S>
void weighted_vertical(const pass_context& c, const plane_buffer<S>& dst,
                       const plane_buffer<S>& src) {
  // Lines 0 .. taps-1 keep widened source rows: row r lives in line r % taps, so a
  // row that several output rows share is widened once.
  uint32_t held[kMaxTaps];
  std::memset(held, 0xFF, sizeof held);
  float* sum = c.lines[c.taps];
  float* product = c.lines[c.taps + 1];
  const auto n = static_cast<int32_t>(dst.width());
  for (uint32_t y = 0; y < dst.height(); ++y) {
    const uint32_t first = c.v_index[y];
    for (uint32_t t = 0; t < c.taps; ++t) {
      const uint32_t r = first + t;
      if (held[r % c.taps] != r) {
        widen(src.row(r), c.lines[r % c.taps], dst.width());
        held[r % c.taps] = r;
      }
    }
    pk::multiply_by_constant_f32(c.lines[first % c.taps], c.v_weights[0][y], sum, n);
    for (uint32_t t = 1; t < c.taps; ++t) {
      pk::multiply_by_constant_f32(c.lines[(first + t) % c.taps], c.v_weights[t][y], product, n);
      pk::add_f32(product, sum, sum, n);
    }
    narrow_row(sum, dst.row(y), dst.width());
  }
}

template <class S>
void nearest_horizontal(const pass_context& c, const plane_buffer<S>& dst,
                        const plane_buffer<S>& src) {
  for (uint32_t y = 0; y < dst.height(); ++y) {
    const S* in = src.row(y);
    S* out = dst.row(y);
    for (uint32_t x = 0; x < dst.width(); ++x) out[x] = in[c.h_index[x]];
  }
}

template <class S>
void nearest_vertical(const pass_context& c, const plane_buffer<S>& dst,
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
    dst[x] = !(v > 0.0f) ? 0 : v >= 65535.0f ? 65535 : static_cast<uint16_t>(static_cast<int32_t>(v));
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
