#pragma once
// Integer vector wrappers for the Gaussian filters: one filter template runs on
// 128-bit registers (every level) and 256-bit ones (AVX2). Widening unpacks and the
// narrowing packs both work within 128-bit lanes, so a widen/narrow pair keeps the
// sample order on either width.

#include <cstdint>

#include <immintrin.h>

namespace ns_pixel_kernels {
namespace {

struct i128 {
  using reg = __m128i;
  static constexpr int bytes = 16;
  static reg load(const unsigned char* p) { return _mm_lddqu_si128(reinterpret_cast<const reg*>(p)); }
  static void store(unsigned char* p, reg v) { _mm_storeu_si128(reinterpret_cast<reg*>(p), v); }
  static reg set16(int v) { return _mm_set1_epi16(static_cast<int16_t>(v)); }
  static reg set32(int v) { return _mm_set1_epi32(v); }
  static reg lo8(reg a) { return _mm_unpacklo_epi8(a, _mm_setzero_si128()); }
  static reg hi8(reg a) { return _mm_unpackhi_epi8(a, _mm_setzero_si128()); }
  static reg lo16(reg a) { return _mm_unpacklo_epi16(a, _mm_setzero_si128()); }
  static reg hi16(reg a) { return _mm_unpackhi_epi16(a, _mm_setzero_si128()); }
  static reg zip_lo16(reg a, reg b) { return _mm_unpacklo_epi16(a, b); }
  static reg zip_hi16(reg a, reg b) { return _mm_unpackhi_epi16(a, b); }
  static reg madd16(reg a, reg b) { return _mm_madd_epi16(a, b); }
  static reg xor_(reg a, reg b) { return _mm_xor_si128(a, b); }
  static reg add16(reg a, reg b) { return _mm_add_epi16(a, b); }
  static reg add32(reg a, reg b) { return _mm_add_epi32(a, b); }
  static reg and_(reg a, reg b) { return _mm_and_si128(a, b); }
  static reg mullo16(reg a, reg b) { return _mm_mullo_epi16(a, b); }
  template <int n> static reg shl16(reg a) { return _mm_slli_epi16(a, n); }
  template <int n> static reg shr16(reg a) { return _mm_srli_epi16(a, n); }
  template <int n> static reg shl32(reg a) { return _mm_slli_epi32(a, n); }
  template <int n> static reg shr32(reg a) { return _mm_srli_epi32(a, n); }

  // Low 32 bits of each 32x32 product.
  static reg mullo32(reg a, reg b) {
#if defined(__SSE4_1__)
    return _mm_mullo_epi32(a, b);
#else
    const reg even = _mm_mul_epu32(a, b);
    const reg odd = _mm_mul_epu32(_mm_srli_epi64(a, 32), _mm_srli_epi64(b, 32));
    return _mm_unpacklo_epi32(_mm_shuffle_epi32(even, 0x08), _mm_shuffle_epi32(odd, 0x08));
#endif
  }
  // High 32 bits of each unsigned 32x32 product.
  static reg mulhi32(reg a, reg b) {
    const reg even = _mm_srli_epi64(_mm_mul_epu32(a, b), 32);
    const reg odd = _mm_mul_epu32(_mm_srli_epi64(a, 32), _mm_srli_epi64(b, 32));
#if defined(__SSE4_1__)
    return _mm_blend_epi16(even, odd, 0xCC);
#else
    return _mm_or_si128(even, _mm_and_si128(odd, _mm_setr_epi32(0, -1, 0, -1)));
#endif
  }
  // uint16 values <= 255 -> bytes.
  static reg pack16(reg a, reg b) { return _mm_packus_epi16(a, b); }
  // uint32 values <= 65535 -> uint16.
  static reg pack32(reg a, reg b) {
#if defined(__SSE4_1__)
    return _mm_packus_epi32(a, b);
#else
    // Only a signed pack exists: bias into int16 range and back.
    const reg bias32 = _mm_set1_epi32(32768);
    const reg packed = _mm_packs_epi32(_mm_sub_epi32(a, bias32), _mm_sub_epi32(b, bias32));
    return _mm_xor_si128(packed, _mm_set1_epi16(INT16_MIN));
#endif
  }
};

#if defined(__AVX2__)
struct i256 {
  using reg = __m256i;
  static constexpr int bytes = 32;
  static reg load(const unsigned char* p) { return _mm256_loadu_si256(reinterpret_cast<const reg*>(p)); }
  static void store(unsigned char* p, reg v) { _mm256_storeu_si256(reinterpret_cast<reg*>(p), v); }
  static reg set16(int v) { return _mm256_set1_epi16(static_cast<int16_t>(v)); }
  static reg set32(int v) { return _mm256_set1_epi32(v); }
  static reg lo8(reg a) { return _mm256_unpacklo_epi8(a, _mm256_setzero_si256()); }
  static reg hi8(reg a) { return _mm256_unpackhi_epi8(a, _mm256_setzero_si256()); }
  static reg lo16(reg a) { return _mm256_unpacklo_epi16(a, _mm256_setzero_si256()); }
  static reg hi16(reg a) { return _mm256_unpackhi_epi16(a, _mm256_setzero_si256()); }
  static reg zip_lo16(reg a, reg b) { return _mm256_unpacklo_epi16(a, b); }
  static reg zip_hi16(reg a, reg b) { return _mm256_unpackhi_epi16(a, b); }
  static reg madd16(reg a, reg b) { return _mm256_madd_epi16(a, b); }
  static reg xor_(reg a, reg b) { return _mm256_xor_si256(a, b); }
  static reg add16(reg a, reg b) { return _mm256_add_epi16(a, b); }
  static reg add32(reg a, reg b) { return _mm256_add_epi32(a, b); }
  static reg and_(reg a, reg b) { return _mm256_and_si256(a, b); }
  static reg mullo16(reg a, reg b) { return _mm256_mullo_epi16(a, b); }
  template <int n> static reg shl16(reg a) { return _mm256_slli_epi16(a, n); }
  template <int n> static reg shr16(reg a) { return _mm256_srli_epi16(a, n); }
  template <int n> static reg shl32(reg a) { return _mm256_slli_epi32(a, n); }
  template <int n> static reg shr32(reg a) { return _mm256_srli_epi32(a, n); }
  static reg mullo32(reg a, reg b) { return _mm256_mullo_epi32(a, b); }
  static reg mulhi32(reg a, reg b) {
    const reg even = _mm256_srli_epi64(_mm256_mul_epu32(a, b), 32);
    const reg odd = _mm256_mul_epu32(_mm256_srli_epi64(a, 32), _mm256_srli_epi64(b, 32));
    return _mm256_blend_epi32(even, odd, 0xAA);
  }
  static reg pack16(reg a, reg b) { return _mm256_packus_epi16(a, b); }
  static reg pack32(reg a, reg b) { return _mm256_packus_epi32(a, b); }
};
#endif

}  // namespace
}  // namespace ns_pixel_kernels
