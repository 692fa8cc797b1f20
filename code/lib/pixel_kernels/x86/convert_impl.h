#pragma once
// Widening and narrowing conversions, one block kernel per direction. Which
// instructions widen and pack depends on the flags of the including unit: SSE2
// unpacks, SSSE3 byte shuffles, SSE4.1 zero-extending moves, AVX 256-bit float
// conversion over 128-bit integer halves, AVX2 256-bit throughout.

#include <cstdint>

#include "pixel_kernels/common/arg_checks.h"
#include "pixel_kernels/common/scale_factor.h"
#include "pixel_kernels/x86/float_vec.h"
#include "pixel_kernels/x86/row_blocks.h"

#include <immintrin.h>

namespace ns_pixel_kernels {
namespace {

inline __m128i load_si128(const void* p) {
  return _mm_lddqu_si128(static_cast<const __m128i*>(p));
}

// 16 bytes -> four vectors of four int32.
inline void widen_u8(__m128i v, __m128i (&q)[4]) {
#if defined(__SSE4_1__)
  q[0] = _mm_cvtepu8_epi32(v);
  q[1] = _mm_cvtepu8_epi32(_mm_srli_si128(v, 4));
  q[2] = _mm_cvtepu8_epi32(_mm_srli_si128(v, 8));
  q[3] = _mm_cvtepu8_epi32(_mm_srli_si128(v, 12));
#elif defined(__SSSE3__)
  // Index bytes with the top bit set produce zero bytes.
  q[0] = _mm_shuffle_epi8(v, _mm_setr_epi8(0, -1, -1, -1, 1, -1, -1, -1, 2, -1, -1, -1, 3, -1, -1, -1));
  q[1] = _mm_shuffle_epi8(v, _mm_setr_epi8(4, -1, -1, -1, 5, -1, -1, -1, 6, -1, -1, -1, 7, -1, -1, -1));
  q[2] = _mm_shuffle_epi8(v, _mm_setr_epi8(8, -1, -1, -1, 9, -1, -1, -1, 10, -1, -1, -1, 11, -1, -1, -1));
  q[3] = _mm_shuffle_epi8(v, _mm_setr_epi8(12, -1, -1, -1, 13, -1, -1, -1, 14, -1, -1, -1, 15, -1, -1, -1));
#else
  const __m128i z = _mm_setzero_si128();
  const __m128i lo = _mm_unpacklo_epi8(v, z), hi = _mm_unpackhi_epi8(v, z);
  q[0] = _mm_unpacklo_epi16(lo, z);
  q[1] = _mm_unpackhi_epi16(lo, z);
  q[2] = _mm_unpacklo_epi16(hi, z);
  q[3] = _mm_unpackhi_epi16(hi, z);
#endif
}

// Eight uint16 -> two vectors of four int32.
inline void widen_u16(__m128i v, __m128i (&q)[2]) {
#if defined(__SSE4_1__)
  q[0] = _mm_cvtepu16_epi32(v);
  q[1] = _mm_cvtepu16_epi32(_mm_srli_si128(v, 8));
#else
  const __m128i z = _mm_setzero_si128();
  q[0] = _mm_unpacklo_epi16(v, z);
  q[1] = _mm_unpackhi_epi16(v, z);
#endif
}

// 32 samples per block on every level.
constexpr int convert_block = 32;

struct u8_to_f32_block {
  static constexpr int n = convert_block;
  void operator()(float* d, const uint8_t* s) const {
#if defined(__AVX2__)
    for (int k = 0; k < n; k += 8) {
      const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(s + k));
      _mm256_storeu_ps(d + k, _mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(bytes)));
    }
#else
    for (int k = 0; k < n; k += 16) {
      __m128i q[4];
      widen_u8(load_si128(s + k), q);
#if defined(__AVX__)
      _mm256_storeu_ps(d + k, _mm256_cvtepi32_ps(_mm256_set_m128i(q[1], q[0])));
      _mm256_storeu_ps(d + k + 8, _mm256_cvtepi32_ps(_mm256_set_m128i(q[3], q[2])));
#else
      for (int j = 0; j < 4; ++j) _mm_storeu_ps(d + k + 4 * j, _mm_cvtepi32_ps(q[j]));
#endif
    }
#endif
  }
  void one(float* d, const uint8_t* s) const { *d = static_cast<float>(*s); }  // exact
};

struct u16_to_f32_block {
  static constexpr int n = convert_block;
  void operator()(float* d, const uint16_t* s) const {
    for (int k = 0; k < n; k += 8) {
#if defined(__AVX2__)
      _mm256_storeu_ps(d + k, _mm256_cvtepi32_ps(_mm256_cvtepu16_epi32(load_si128(s + k))));
#elif defined(__AVX__)
      __m128i q[2];
      widen_u16(load_si128(s + k), q);
      _mm256_storeu_ps(d + k, _mm256_cvtepi32_ps(_mm256_set_m128i(q[1], q[0])));
#else
      __m128i q[2];
      widen_u16(load_si128(s + k), q);
      _mm_storeu_ps(d + k, _mm_cvtepi32_ps(q[0]));
      _mm_storeu_ps(d + k + 4, _mm_cvtepi32_ps(q[1]));
#endif
    }
  }
  void one(float* d, const uint16_t* s) const { *d = static_cast<float>(*s); }  // exact
};

// Four vectors of int32 -> 16 bytes. Mode 2 arrives as trunc(2v) <= 510 and is
// halved after the first pack, where it still fits 16 bits: (t + 1) >> 1 rounds
// halves away from zero.
template <int Mode>
inline __m128i narrow_i32(__m128i q0, __m128i q1, __m128i q2, __m128i q3) {
  __m128i w0 = _mm_packs_epi32(q0, q1), w1 = _mm_packs_epi32(q2, q3);
  if constexpr (Mode == 2) {
    const __m128i one = _mm_set1_epi16(1);
    w0 = _mm_srli_epi16(_mm_add_epi16(w0, one), 1);
    w1 = _mm_srli_epi16(_mm_add_epi16(w1, one), 1);
  }
  return _mm_packus_epi16(w0, w1);
}

// Saturates to 0..255 (NaN to 255: min returns its second operand) and converts:
// mode 0 truncates, mode 1 follows the current rounding mode (nearest-even by
// default, as the generic code does), mode 2 yields trunc(2v) for the halving.
template <int Mode, bool Scaled, class V>
inline typename V::ireg clamp_convert(const float* s, float multiplier) {
  typename V::reg v = V::load(s);
  if constexpr (Scaled) v = V::mul(v, V::set1(multiplier));
  v = V::max(V::min(v, V::set1(255.0f)), V::set1(0.0f));
  if constexpr (Mode == 0) return V::cvtt(v);
  if constexpr (Mode == 1) return V::cvt(v);
  return V::cvtt(V::add(v, v));
}

template <int Mode, bool Scaled>
struct f32_to_u8_block {
  static constexpr int n = convert_block;
  float multiplier;

#if defined(__AVX__)
  __m256i convert8(const float* s) const { return clamp_convert<Mode, Scaled, f32x8>(s, multiplier); }
#endif
  __m128i convert4(const float* s) const { return clamp_convert<Mode, Scaled, f32x4>(s, multiplier); }

  void one(uint8_t* d, const float* s) const {
    int32_t t = _mm_cvtsi128_si32(clamp_convert<Mode, Scaled, f32x1>(s, multiplier));
    if constexpr (Mode == 2) t = (t + 1) >> 1;
    *d = static_cast<uint8_t>(t);
  }

  void operator()(uint8_t* d, const float* s) const {
#if defined(__AVX2__)
    __m256i w0 = _mm256_packs_epi32(convert8(s), convert8(s + 8));
    __m256i w1 = _mm256_packs_epi32(convert8(s + 16), convert8(s + 24));
    if constexpr (Mode == 2) {
      const __m256i one = _mm256_set1_epi16(1);
      w0 = _mm256_srli_epi16(_mm256_add_epi16(w0, one), 1);
      w1 = _mm256_srli_epi16(_mm256_add_epi16(w1, one), 1);
    }
    // The packs work within 128-bit lanes: dword k of the result holds samples
    // 4k..4k+3 in the order 0, 2, 4, 6, 1, 3, 5, 7.
    const __m256i bytes = _mm256_packus_epi16(w0, w1);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(d),
                        _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7)));
#elif defined(__AVX__)
    for (int k = 0; k < n; k += 16) {
      const __m256i a = convert8(s + k), b = convert8(s + k + 8);
      _mm_storeu_si128(reinterpret_cast<__m128i*>(d + k),
                       narrow_i32<Mode>(_mm256_castsi256_si128(a), _mm256_extractf128_si256(a, 1),
                                        _mm256_castsi256_si128(b), _mm256_extractf128_si256(b, 1)));
    }
#else
    for (int k = 0; k < n; k += 16) {
      _mm_storeu_si128(reinterpret_cast<__m128i*>(d + k),
                       narrow_i32<Mode>(convert4(s + k), convert4(s + k + 4), convert4(s + k + 8),
                                        convert4(s + k + 12)));
    }
#endif
  }
};

// Whole blocks store to aligned destinations: 32 bytes on the AVX levels, 16 below.
#if defined(__AVX__)
constexpr int convert_align = 32;
#else
constexpr int convert_align = 16;
#endif

inline pixel_status convert_u8_to_f32_impl(const uint8_t* src, float* dst, int32_t len) {
  if (pixel_status s = check_row_args(len, src, dst)) return s;
  run_row<convert_align>(u8_to_f32_block{}, dst, len, src);
  return status_ok;
}

inline pixel_status convert_u16_to_f32_impl(const uint16_t* src, float* dst, int32_t len) {
  if (pixel_status s = check_row_args(len, src, dst)) return s;
  run_row<convert_align>(u16_to_f32_block{}, dst, len, src);
  return status_ok;
}

template <int Mode>
inline void narrow_row(const float* src, uint8_t* dst, int32_t len, int32_t scale_factor) {
  if (scale_factor == 0) {
    run_row<convert_align>(f32_to_u8_block<Mode, false>{1.0f}, dst, len, src);
  } else {
    run_row<convert_align>(f32_to_u8_block<Mode, true>{scale_multiplier(scale_factor)}, dst, len,
                           src);
  }
}

inline pixel_status convert_f32_to_u8_impl(const float* src, uint8_t* dst, int32_t len,
                                           int32_t round_mode, int32_t scale_factor) {
  if (pixel_status s = check_row_args(len, src, dst)) return s;
  if (round_mode == round_toward_zero) {
    narrow_row<0>(src, dst, len, scale_factor);
  } else if (round_mode == round_nearest) {
    narrow_row<1>(src, dst, len, scale_factor);
  } else {
    narrow_row<2>(src, dst, len, scale_factor);
  }
  return status_ok;
}

}  // namespace
}  // namespace ns_pixel_kernels

// Defines one level's conversion entry points in ns_pixel_kernels::<level>.
#define PK_DEFINE_CONVERT(level)                                                                 \
  namespace ns_pixel_kernels::level {                                                          \
  pixel_status convert_u8_to_f32(const uint8_t* src, float* dst, int32_t len) {                \
    return convert_u8_to_f32_impl(src, dst, len);                                              \
  }                                                                                            \
  pixel_status convert_u16_to_f32(const uint16_t* src, float* dst, int32_t len) {              \
    return convert_u16_to_f32_impl(src, dst, len);                                             \
  }                                                                                            \
  pixel_status convert_f32_to_u8(const float* src, uint8_t* dst, int32_t len, int32_t round_mode, \
                                 int32_t scale_factor) {                                       \
    return convert_f32_to_u8_impl(src, dst, len, round_mode, scale_factor);                    \
  }                                                                                            \
  }
