#pragma once
// Gaussian filters on integer vectors (i128, and i256 on AVX2), computed straight
// from the source rows in vertical strips of one vector's width: no row buffer is
// allocated, so these never fail for memory.

#include <cstddef>
#include <cstdint>

#include "pixel_kernels/common/arg_checks.h"
#include "pixel_kernels/common/gauss_rules.h"
#include "pixel_kernels/x86/int_vec.h"

namespace ns_pixel_kernels {
namespace {

// Lane arithmetic of the 3x3 filter per sample type: 8-bit samples in 16-bit lanes
// (row sums <= 4 * 255, S <= 16 * 255), 16-bit samples in 32-bit lanes.
struct lanes_u8 {
  template <class V> static typename V::reg lo(typename V::reg a) { return V::lo8(a); }
  template <class V> static typename V::reg hi(typename V::reg a) { return V::hi8(a); }
  template <class V> static typename V::reg add(typename V::reg a, typename V::reg b) { return V::add16(a, b); }
  template <class V> static typename V::reg twice(typename V::reg a) { return V::template shl16<1>(a); }
  template <class V> static typename V::reg div16(typename V::reg a) { return V::template shr16<4>(a); }
  template <class V> static typename V::reg set(int v) { return V::set16(v); }
  template <class V> static typename V::reg pack(typename V::reg a, typename V::reg b) { return V::pack16(a, b); }
};
struct lanes_u16 {
  template <class V> static typename V::reg lo(typename V::reg a) { return V::lo16(a); }
  template <class V> static typename V::reg hi(typename V::reg a) { return V::hi16(a); }
  template <class V> static typename V::reg add(typename V::reg a, typename V::reg b) { return V::add32(a, b); }
  template <class V> static typename V::reg twice(typename V::reg a) { return V::template shl32<1>(a); }
  template <class V> static typename V::reg div16(typename V::reg a) { return V::template shr32<4>(a); }
  template <class V> static typename V::reg set(int v) { return V::set32(v); }
  template <class V> static typename V::reg pack(typename V::reg a, typename V::reg b) { return V::pack32(a, b); }
};

// 3x3 over a strip of one vector's width, top to bottom: each source row's
// (1, 2, 1) sums are computed once and kept for the two output rows below it.
template <class T, class L>
struct gauss3 {
  using sample = T;

  template <class V>
  struct row_sums {
    typename V::reg lo, hi;
  };

  template <class V>
  static row_sums<V> horizontal(const unsigned char* p) {
    constexpr ptrdiff_t n = sizeof(T);
    const auto a = V::load(p - n), b = V::load(p), c = V::load(p + n);
    return {L::template add<V>(L::template add<V>(L::template lo<V>(a), L::template lo<V>(c)),
                               L::template twice<V>(L::template lo<V>(b))),
            L::template add<V>(L::template add<V>(L::template hi<V>(a), L::template hi<V>(c)),
                               L::template twice<V>(L::template hi<V>(b)))};
  }

  // (S + 7 + ((S >> 4) & 1)) >> 4: S / 16 with ties to even.
  template <class V>
  static typename V::reg round(typename V::reg h0, typename V::reg h1, typename V::reg h2) {
    const auto s = L::template add<V>(L::template add<V>(h0, h2), L::template twice<V>(h1));
    const auto odd = V::and_(L::template div16<V>(s), L::template set<V>(1));
    return L::template div16<V>(L::template add<V>(L::template add<V>(s, L::template set<V>(7)), odd));
  }

  template <class V>
  static void strip(const unsigned char* s, ptrdiff_t src_step, unsigned char* d, ptrdiff_t dst_step,
                    int32_t height) {
    row_sums<V> above = horizontal<V>(s - src_step), mid = horizontal<V>(s);
    for (ptrdiff_t y = 0; y < height; ++y) {
      const row_sums<V> below = horizontal<V>(s + (y + 1) * src_step);
      V::store(d + y * dst_step, L::template pack<V>(round<V>(above.lo, mid.lo, below.lo),
                                                     round<V>(above.hi, mid.hi, below.hi)));
      above = mid;
      mid = below;
    }
  }

  static void scalar(const unsigned char* s, ptrdiff_t step, unsigned char* d) {
    const T v = gauss3_at<T>(s, step);
    __builtin_memcpy(d, &v, sizeof v);
  }
};
using gauss3_u8 = gauss3<uint8_t, lanes_u8>;
using gauss3_u16 = gauss3<uint16_t, lanes_u16>;

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

// 16-bit 5x5 with PMADDWD: samples biased by -32768 become signed 16-bit, each
// multiply-add takes two taps, and the bias (571 * 32768 in total) returns in the
// starting value together with the rounding's 286. S < 2^26 stays in 32 bits.
struct gauss5_u16 {
  using sample = uint16_t;

  // A 32-bit lane holding the weights for a (first, second) pair of 16-bit taps.
  static int pair(uint32_t first, uint32_t second) { return static_cast<int>((second << 16) | first); }

  template <class V>
  static void block(const unsigned char* s, ptrdiff_t step, unsigned char* d) {
    using R = typename V::reg;
    const R bias = V::set16(INT16_MIN);
    R acc[2] = {V::set32(571 * 32768 + 286), V::set32(571 * 32768 + 286)};
    for (int r = -2; r <= 2; ++r) {
      const unsigned char* p = s + r * step;
      const uint32_t(&w)[3] = gauss5_row_weights(r);
      const R left = V::set32(pair(w[0], w[1])), centre = V::set32(pair(w[2], w[1])),
              right = V::set32(pair(w[0], 0));
      const R l2 = V::xor_(V::load(p - 4), bias), l1 = V::xor_(V::load(p - 2), bias),
              c = V::xor_(V::load(p), bias), r1 = V::xor_(V::load(p + 2), bias),
              r2 = V::xor_(V::load(p + 4), bias);
      acc[0] = V::add32(acc[0], V::add32(V::add32(V::madd16(V::zip_lo16(l2, l1), left),
                                                  V::madd16(V::zip_lo16(c, r1), centre)),
                                         V::madd16(V::zip_lo16(r2, r2), right)));
      acc[1] = V::add32(acc[1], V::add32(V::add32(V::madd16(V::zip_hi16(l2, l1), left),
                                                  V::madd16(V::zip_hi16(c, r1), centre)),
                                         V::madd16(V::zip_hi16(r2, r2), right)));
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

// The 5x5 blocks share nothing between rows: a strip is its blocks top to bottom.
template <class K5>
struct gauss5_strips : K5 {
  template <class V>
  static void strip(const unsigned char* s, ptrdiff_t src_step, unsigned char* d, ptrdiff_t dst_step,
                    int32_t height) {
    for (ptrdiff_t y = 0; y < height; ++y) K5::template block<V>(s + y * src_step, src_step, d + y * dst_step);
  }
};

// No vector fits: sample by sample.
template <class K>
inline void filter_region(const unsigned char* s, ptrdiff_t src_step, unsigned char* d, ptrdiff_t dst_step,
                          pixel_size roi) {
  constexpr ptrdiff_t size = sizeof(typename K::sample);
  for (ptrdiff_t y = 0; y < roi.height; ++y)
    for (ptrdiff_t x = 0; x < roi.width; ++x) K::scalar(s + y * src_step + x * size, src_step, d + y * dst_step + x * size);
}

// Strips of V's width cover the region, the last one overlapping its neighbour
// when the width is not a multiple; a region narrower than V takes the next
// narrower vector.
template <class K, class V, class... Narrower>
inline void filter_region(const unsigned char* s, ptrdiff_t src_step, unsigned char* d, ptrdiff_t dst_step,
                          pixel_size roi) {
  constexpr ptrdiff_t size = sizeof(typename K::sample);
  constexpr int32_t n = V::bytes / size;
  if (roi.width < n) {
    filter_region<K, Narrower...>(s, src_step, d, dst_step, roi);
    return;
  }
  for (ptrdiff_t x = 0; x + n < roi.width; x += n)
    K::template strip<V>(s + x * size, src_step, d + x * size, dst_step, roi.height);
  const ptrdiff_t last = (roi.width - n) * size;
  K::template strip<V>(s + last, src_step, d + last, dst_step, roi.height);
}

template <class K3, class K5, class... Vs, class T>
inline pixel_status gauss_filter_impl(const T* src, int32_t src_step, T* dst, int32_t dst_step,
                                      pixel_size roi, int32_t mask) {
  if (pixel_status s = check_gauss_args(src, src_step, dst, dst_step, roi, mask)) return s;
  const unsigned char* s = sample_addr(src, src_step, 0, 0);
  unsigned char* d = sample_addr(dst, dst_step, 0, 0);
  if (mask == mask_3x3) {
    filter_region<K3, Vs...>(s, src_step, d, dst_step, roi);
  } else {
    // Row by row: the five source rows of an output row stay in L1 across it.
    for (ptrdiff_t y = 0; y < roi.height; ++y)
      filter_region<gauss5_strips<K5>, Vs...>(s + y * src_step, src_step, d + y * dst_step, dst_step,
                                              pixel_size{roi.width, 1});
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
