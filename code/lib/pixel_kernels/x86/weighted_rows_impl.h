#pragma once
// Weighted float rows on float vectors (f32x4, or f32x8 on the AVX levels): each lane
// multiplies and adds its taps in tap order, one IEEE operation each as in the generic
// code, saturates and converts. Four vectors make a block. How samples pack depends on
// the including unit's flags, as in convert_impl.h.

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "pixel_kernels/common/arg_checks.h"
#include "pixel_kernels/x86/float_vec.h"
#include "pixel_kernels/x86/int_vec.h"
#include "pixel_kernels/x86/row_blocks.h"

namespace ns_pixel_kernels {
namespace {

// A tap whose weight is zero adds +0.0, which changes no sum but a zero's sign, and no
// narrowing sees that sign; so such taps are dropped and their rows not read (a float
// row may hold infinities or NaN there, which a product would turn into NaN, where
// multiply_by_constant_f32 writes +0.0).
//
// The taps that remain, up to four, are copied into the kernel's own frame, where no
// store to dst can alias them, so rows and weights stay in registers along the row.
template <int Count>
struct fixed_taps {
  const float* row[Count];
  float weight[Count];
};

template <int Count>
inline fixed_taps<Count> leading(const fixed_taps<4>& taps) {
  fixed_taps<Count> first;
  for (int t = 0; t < Count; ++t) {
    first.row[t] = taps.row[t];
    first.weight[t] = taps.weight[t];
  }
  return first;
}

// Any number of taps, read from the caller's arrays; zero weights skipped per element.
struct any_taps {
  const float* const* row;
  const float* weight;
  int32_t n;
};

// The sum at element i: the first product, then product + sum for each later tap.
template <class V, int Count>
inline typename V::reg weighted_sum(const fixed_taps<Count>& taps, ptrdiff_t i) {
  typename V::reg sum = V::mul(V::load(taps.row[0] + i), V::set1(taps.weight[0]));
  for (int32_t t = 1; t < Count; ++t)
    sum = V::add(V::mul(V::load(taps.row[t] + i), V::set1(taps.weight[t])), sum);
  return sum;
}

// Starting from +0.0 instead of the first product changes only a zero's sign.
template <class V>
inline typename V::reg weighted_sum(const any_taps& taps, ptrdiff_t i) {
  typename V::reg sum = V::set1(0.0f);
  for (int32_t t = 0; t < taps.n; ++t) {
    if (taps.weight[t] != 0.0f)
      sum = V::add(V::mul(V::load(taps.row[t] + i), V::set1(taps.weight[t])), sum);
  }
  return sum;
}

// min and max return their second operand when either is NaN, so with the bound
// first NaN passes min and max turns it into 0, as the generic saturation does.
template <class V>
inline typename V::reg saturate(typename V::reg v, float top) {
  return V::max(V::min(V::set1(top), v), V::set1(0.0f));
}

// 8-bit: rounded in the current rounding mode.
struct u8_narrowing {
  using sample = uint8_t;
  template <class V>
  static typename V::ireg convert(typename V::reg v) {
    return V::cvt(saturate<V>(v, 255.0f));
  }
  // Four vectors of int32 in 0..255.
  template <class V>
  static void store(uint8_t* d, const typename V::ireg (&q)[4]) {
    if constexpr (V::lanes == 4) {
      const __m128i bytes =
          _mm_packus_epi16(_mm_packs_epi32(q[0], q[1]), _mm_packs_epi32(q[2], q[3]));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(d), bytes);
    } else {
#if defined(__AVX2__)
      // The packs work within 128-bit lanes: dword k holds samples 4k..4k+3 in the order
      // 0, 2, 4, 6, 1, 3, 5, 7.
      const __m256i bytes =
          _mm256_packus_epi16(_mm256_packs_epi32(q[0], q[1]), _mm256_packs_epi32(q[2], q[3]));
      _mm256_storeu_si256(
          reinterpret_cast<__m256i*>(d),
          _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7)));
#elif defined(__AVX__)
      for (int k = 0; k < 4; k += 2) {
        const __m128i w0 =
            _mm_packs_epi32(_mm256_castsi256_si128(q[k]), _mm256_extractf128_si256(q[k], 1));
        const __m128i w1 = _mm_packs_epi32(_mm256_castsi256_si128(q[k + 1]),
                                           _mm256_extractf128_si256(q[k + 1], 1));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d + 8 * k), _mm_packus_epi16(w0, w1));
      }
#endif
    }
  }
  static void store_one(uint8_t* d, __m128i q) { *d = static_cast<uint8_t>(_mm_cvtsi128_si32(q)); }
};

// 16-bit: truncated.
struct u16_narrowing {
  using sample = uint16_t;
  template <class V>
  static typename V::ireg convert(typename V::reg v) {
    return V::cvtt(saturate<V>(v, 65535.0f));
  }
  // Four vectors of int32 in 0..65535.
  template <class V>
  static void store(uint16_t* d, const typename V::ireg (&q)[4]) {
    for (int k = 0; k < 4; k += 2) {
      uint16_t* at = d + k * V::lanes;
      if constexpr (V::lanes == 4) {
        i128::store(reinterpret_cast<unsigned char*>(at), i128::pack32(q[k], q[k + 1]));
      } else {
#if defined(__AVX2__)
        // The pack works within 128-bit lanes; the permutation puts the quarters back in order.
        const __m256i packed = _mm256_packus_epi32(q[k], q[k + 1]);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(at), _mm256_permute4x64_epi64(packed, 0xD8));
#elif defined(__AVX__)
        for (int h = 0; h < 2; ++h) {
          i128::store(reinterpret_cast<unsigned char*>(at + 8 * h),
                      i128::pack32(_mm256_castsi256_si128(q[k + h]),
                                   _mm256_extractf128_si256(q[k + h], 1)));
        }
#endif
      }
    }
  }
  static void store_one(uint16_t* d, __m128i q) {
    *d = static_cast<uint16_t>(_mm_cvtsi128_si32(q));
  }
};

template <class K, class V, class Taps>
struct weighted_block {
  using S = typename K::sample;
  static constexpr int32_t n = 4 * V::lanes;
  Taps taps;

  void operator()(S* dst, ptrdiff_t i) const {
    typename V::ireg q[4];
    for (int k = 0; k < 4; ++k)
      q[k] = K::template convert<V>(weighted_sum<V>(taps, i + k * V::lanes));
    K::template store<V>(dst + i, q);
  }
  void one(S* dst, ptrdiff_t i) const {
    K::store_one(dst + i, K::template convert<f32x1>(weighted_sum<f32x1>(taps, i)));
  }
};

// Whole blocks, then one more block ending at the last element (recomputing the overlap
// gives the same bytes). When dst overlaps a row, element by element, each element's
// taps read before it is stored, as the generic code does.
template <class K, class V, class Taps, class S>
inline void weigh_row(const Taps& taps, S* dst, int32_t len, bool dst_is_a_row) {
  const weighted_block<K, V, Taps> block{taps};
  constexpr int32_t n = weighted_block<K, V, Taps>::n;
  if (dst_is_a_row || len < n) {
    for (int32_t i = 0; i < len; ++i) block.one(dst, i);
    return;
  }
  int32_t i = 0;
  for (; len - i >= n; i += n) block(dst, i);
  if (i < len) block(dst, len - n);
}

// Up to four taps: the ones with a non-zero weight, in order, on a count fixed at
// compile time; none gives all zeros.
template <class K, class V, class S>
inline void weigh_few(const float* const* rows, const float* weights, int32_t taps, S* dst,
                      int32_t len, bool dst_is_a_row) {
  fixed_taps<4> kept;
  int32_t n = 0;
  for (int32_t t = 0; t < taps; ++t) {
    if (weights[t] != 0.0f) {
      kept.row[n] = rows[t];
      kept.weight[n++] = weights[t];
    }
  }
  switch (n) {
    case 0:
      for (int32_t i = 0; i < len; ++i) dst[i] = 0;
      break;
    case 1:
      weigh_row<K, V>(leading<1>(kept), dst, len, dst_is_a_row);
      break;
    case 2:
      weigh_row<K, V>(leading<2>(kept), dst, len, dst_is_a_row);
      break;
    case 3:
      weigh_row<K, V>(leading<3>(kept), dst, len, dst_is_a_row);
      break;
    default:
      weigh_row<K, V>(kept, dst, len, dst_is_a_row);
      break;
  }
}

template <class K, class V, class S = typename K::sample>
inline pixel_status weighted_rows_impl(const float* const* rows, const float* weights, int32_t taps,
                                       S* dst, int32_t len) {
  if (pixel_status s = check_weighted_args(rows, weights, taps, dst, len)) return s;
  bool dst_is_a_row = false;
  for (int32_t t = 0; t < taps; ++t) dst_is_a_row = dst_is_a_row || !apart(dst, rows[t], len);
  if (taps <= 4) {
    weigh_few<K, V>(rows, weights, taps, dst, len, dst_is_a_row);
  } else {
    weigh_row<K, V>(any_taps{rows, weights, taps}, dst, len, dst_is_a_row);
  }
  return status_ok;
}

}  // namespace
}  // namespace ns_pixel_kernels

// Defines one level's weighted-row entry points in ns_pixel_kernels::<level>, on float vector V.
#define PK_DEFINE_WEIGHTED_ROWS(level, V)                                               \
  namespace ns_pixel_kernels::level {                                                   \
  pixel_status weighted_rows_f32_to_u8(const float* const* rows, const float* weights,  \
                                       int32_t taps, uint8_t* dst, int32_t len) {       \
    return weighted_rows_impl<u8_narrowing, V>(rows, weights, taps, dst, len);          \
  }                                                                                     \
  pixel_status weighted_rows_f32_to_u16(const float* const* rows, const float* weights, \
                                        int32_t taps, uint16_t* dst, int32_t len) {     \
    return weighted_rows_impl<u16_narrowing, V>(rows, weights, taps, dst, len);         \
  }                                                                                     \
  }
