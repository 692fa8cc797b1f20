#pragma once
// Gaussian filters on integer vectors (i128, and i256 on AVX2). Each block computes
// a run of output samples straight from the source rows, so no row buffer is
// allocated. A row is covered by whole blocks, the last one overlapping its
// neighbour; rows narrower than a block fall to narrower vectors, then to samples.

#include <cstddef>
#include <cstdint>

#include "pixel_kernels/common/arg_checks.h"
#include "pixel_kernels/common/gauss_rules.h"
#include "pixel_kernels/x86/int_vec.h"

namespace ns_pixel_kernels {
namespace {

// 8-bit 3x3: row sums (<= 4 * 255) and S (<= 16 * 255) fit 16-bit lanes.
struct gauss3_u8 {
  using sample = uint8_t;

  template <class V>
  static typename V::reg round(typename V::reg h0, typename V::reg h1, typename V::reg h2) {
    const auto s = V::add16(V::add16(h0, h2), V::template shl16<1>(h1));
    const auto odd = V::and_(V::template shr16<4>(s), V::set16(1));
    return V::template shr16<4>(V::add16(V::add16(s, V::set16(7)), odd));
  }

  template <class V>
  static void block(const unsigned char* s, ptrdiff_t step, unsigned char* d) {
    typename V::reg lo[3], hi[3];
    for (int r = 0; r < 3; ++r) {
      const unsigned char* p = s + (r - 1) * step;
      const auto a = V::load(p - 1), b = V::load(p), c = V::load(p + 1);
      lo[r] = V::add16(V::add16(V::lo8(a), V::lo8(c)), V::template shl16<1>(V::lo8(b)));
      hi[r] = V::add16(V::add16(V::hi8(a), V::hi8(c)), V::template shl16<1>(V::hi8(b)));
    }
    V::store(d, V::pack16(round<V>(lo[0], lo[1], lo[2]), round<V>(hi[0], hi[1], hi[2])));
  }

  static void scalar(const unsigned char* s, ptrdiff_t step, unsigned char* d) {
    *d = gauss3_at<uint8_t>(s, step);
  }
};

// 16-bit 3x3 in 32-bit lanes (S <= 16 * 65535).
struct gauss3_u16 {
  using sample = uint16_t;

  template <class V>
  static typename V::reg round(typename V::reg h0, typename V::reg h1, typename V::reg h2) {
    const auto s = V::add32(V::add32(h0, h2), V::template shl32<1>(h1));
    const auto odd = V::and_(V::template shr32<4>(s), V::set32(1));
    return V::template shr32<4>(V::add32(V::add32(s, V::set32(7)), odd));
  }

  template <class V>
  static void block(const unsigned char* s, ptrdiff_t step, unsigned char* d) {
    typename V::reg lo[3], hi[3];
    for (int r = 0; r < 3; ++r) {
      const unsigned char* p = s + (r - 1) * step;
      const auto a = V::load(p - 2), b = V::load(p), c = V::load(p + 2);
      lo[r] = V::add32(V::add32(V::lo16(a), V::lo16(c)), V::template shl32<1>(V::lo16(b)));
      hi[r] = V::add32(V::add32(V::hi16(a), V::hi16(c)), V::template shl32<1>(V::hi16(b)));
    }
    V::store(d, V::pack32(round<V>(lo[0], lo[1], lo[2]), round<V>(hi[0], hi[1], hi[2])));
  }

  static void scalar(const unsigned char* s, ptrdiff_t step, unsigned char* d) {
    const uint16_t v = gauss3_at<uint16_t>(s, step);
    __builtin_memcpy(d, &v, sizeof v);
  }
};

// Profile weights of source row offset r (-2..2).
inline const uint32_t (&gauss5_row_weights(int r))[3] {
  return gauss5_weights[r == 0 ? 2 : (r == 1 || r == -1) ? 1 : 0];
}

// 8-bit 5x5: each row's profile fits 16 bits (row 0 peaks at 65025); the five are
// summed in 32-bit lanes (S <= 571 * 255).
struct gauss5_u8 {
  using sample = uint8_t;

  template <class V>
  static void block(const unsigned char* s, ptrdiff_t step, unsigned char* d) {
    using R = typename V::reg;
    R acc[4] = {V::set32(286), V::set32(286), V::set32(286), V::set32(286)};
    for (int r = -2; r <= 2; ++r) {
      const unsigned char* p = s + r * step;
      const uint32_t(&w)[3] = gauss5_row_weights(r);
      const R w0 = V::set16(static_cast<int>(w[0])), w1 = V::set16(static_cast<int>(w[1])),
              w2 = V::set16(static_cast<int>(w[2]));
      const R l2 = V::load(p - 2), l1 = V::load(p - 1), c = V::load(p), r1 = V::load(p + 1),
              r2 = V::load(p + 2);
      auto profile = [&](R (*widen)(R)) {
        const R outer = V::mullo16(V::add16(widen(l2), widen(r2)), w0);
        const R inner = V::mullo16(V::add16(widen(l1), widen(r1)), w1);
        return V::add16(V::add16(outer, inner), V::mullo16(widen(c), w2));
      };
      const R lo = profile(V::lo8), hi = profile(V::hi8);
      acc[0] = V::add32(acc[0], V::lo16(lo));
      acc[1] = V::add32(acc[1], V::hi16(lo));
      acc[2] = V::add32(acc[2], V::lo16(hi));
      acc[3] = V::add32(acc[3], V::hi16(hi));
    }
    // ((S + 286) * 29382) >> 24 stays below 2^32 for every 8-bit S.
    const R scale = V::set32(29382);
    R q[4];
    for (int k = 0; k < 4; ++k) q[k] = V::template shr32<24>(V::mullo32(acc[k], scale));
    V::store(d, V::pack16(V::pack32(q[0], q[1]), V::pack32(q[2], q[3])));
  }

  static void scalar(const unsigned char* s, ptrdiff_t step, unsigned char* d) {
    *d = gauss5_at<uint8_t>(s, step);
  }
};

// 16-bit 5x5 in 32-bit lanes (S <= 571 * 65535 < 2^26).
struct gauss5_u16 {
  using sample = uint16_t;

  template <class V>
  static void block(const unsigned char* s, ptrdiff_t step, unsigned char* d) {
    using R = typename V::reg;
    R acc[2] = {V::set32(286), V::set32(286)};
    for (int r = -2; r <= 2; ++r) {
      const unsigned char* p = s + r * step;
      const uint32_t(&w)[3] = gauss5_row_weights(r);
      const R w0 = V::set32(static_cast<int>(w[0])), w1 = V::set32(static_cast<int>(w[1])),
              w2 = V::set32(static_cast<int>(w[2]));
      const R l2 = V::load(p - 4), l1 = V::load(p - 2), c = V::load(p), r1 = V::load(p + 2),
              r2 = V::load(p + 4);
      auto profile = [&](R (*widen)(R)) {
        const R outer = V::mullo32(V::add32(widen(l2), widen(r2)), w0);
        const R inner = V::mullo32(V::add32(widen(l1), widen(r1)), w1);
        return V::add32(V::add32(outer, inner), V::mullo32(widen(c), w2));
      };
      acc[0] = V::add32(acc[0], profile(V::lo16));
      acc[1] = V::add32(acc[1], profile(V::hi16));
    }
    // The high word of (S + 286) * 7521834 is S / 571 rounded.
    const R scale = V::set32(7521834);
    V::store(d, V::pack32(V::mulhi32(acc[0], scale), V::mulhi32(acc[1], scale)));
  }

  static void scalar(const unsigned char* s, ptrdiff_t step, unsigned char* d) {
    const uint16_t v = gauss5_at<uint16_t>(s, step);
    __builtin_memcpy(d, &v, sizeof v);
  }
};

template <class K>
inline void filter_row(const unsigned char* s, ptrdiff_t step, unsigned char* d, int32_t width) {
  constexpr ptrdiff_t size = sizeof(typename K::sample);
  for (int32_t x = 0; x < width; ++x) K::scalar(s + x * size, step, d + x * size);
}

template <class K, class V, class... Narrower>
inline void filter_row(const unsigned char* s, ptrdiff_t step, unsigned char* d, int32_t width) {
  constexpr ptrdiff_t size = sizeof(typename K::sample);
  constexpr int32_t n = V::bytes / size;
  if (width < n) {
    filter_row<K, Narrower...>(s, step, d, width);
    return;
  }
  for (int32_t x = 0; x + n < width; x += n) K::template block<V>(s + x * size, step, d + x * size);
  // The last block ends at the region's edge, overlapping the one before it.
  K::template block<V>(s + (width - n) * size, step, d + (width - n) * size);
}

template <class K3, class K5, class... Vs, class T>
inline pixel_status gauss_filter_impl(const T* src, int32_t src_step, T* dst, int32_t dst_step,
                                      pixel_size roi, int32_t mask) {
  if (pixel_status s = check_gauss_args(src, src_step, dst, dst_step, roi, mask)) return s;
  for (int32_t y = 0; y < roi.height; ++y) {
    const unsigned char* s = sample_addr(src, src_step, y, 0);
    unsigned char* d = sample_addr(dst, dst_step, y, 0);
    if (mask == mask_3x3) {
      filter_row<K3, Vs...>(s, src_step, d, roi.width);
    } else {
      filter_row<K5, Vs...>(s, src_step, d, roi.width);
    }
  }
  return status_ok;
}

}  // namespace
}  // namespace ns_pixel_kernels

// Defines one level's Gaussian filter entry points in ns_pixel_kernels::<level>,
// on the integer vectors listed widest first.
#define PK_DEFINE_GAUSS(level, ...)                                                             \
  namespace ns_pixel_kernels::level {                                                          \
  pixel_status gauss_filter_u8(const uint8_t* src, int32_t src_step, uint8_t* dst,             \
                               int32_t dst_step, pixel_size roi, int32_t mask) {               \
    return gauss_filter_impl<gauss3_u8, gauss5_u8, __VA_ARGS__>(src, src_step, dst, dst_step, roi, \
                                                                mask);                         \
  }                                                                                            \
  pixel_status gauss_filter_u16(const uint16_t* src, int32_t src_step, uint16_t* dst,          \
                                int32_t dst_step, pixel_size roi, int32_t mask) {              \
    return gauss_filter_impl<gauss3_u16, gauss5_u16, __VA_ARGS__>(src, src_step, dst, dst_step, \
                                                                  roi, mask);                  \
  }                                                                                            \
  }
