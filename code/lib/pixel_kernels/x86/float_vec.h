#pragma once
// Float vector wrappers, so one kernel template serves 128-bit and 256-bit levels.
// Included only by per-level translation units; everything has internal linkage,
// so each unit keeps the encoding of its own flags.

#include <immintrin.h>

namespace ns_pixel_kernels {
namespace {

// One lane of f32x4: the scalar forms of the same instructions, for the elements
// before and after the whole vectors of a row.
struct f32x1 {
  using reg = __m128;
  static constexpr int lanes = 1;
  static reg load(const float* p) { return _mm_load_ss(p); }
  static void store(float* p, reg v) { _mm_store_ss(p, v); }
  static reg set1(float v) { return _mm_set1_ps(v); }
  static reg add(reg a, reg b) { return _mm_add_ss(a, b); }
  static reg mul(reg a, reg b) { return _mm_mul_ss(a, b); }
  static reg min(reg a, reg b) { return _mm_min_ss(a, b); }
  static reg max(reg a, reg b) { return _mm_max_ss(a, b); }
  using ireg = __m128i;
  static ireg cvt(reg v) { return _mm_cvtps_epi32(v); }
  static ireg cvtt(reg v) { return _mm_cvttps_epi32(v); }
};

struct f32x4 {
  using reg = __m128;
  static constexpr int lanes = 4;
  static reg load(const float* p) { return _mm_loadu_ps(p); }
  static void store(float* p, reg v) { _mm_storeu_ps(p, v); }
  static reg set1(float v) { return _mm_set1_ps(v); }
  static reg add(reg a, reg b) { return _mm_add_ps(a, b); }
  static reg mul(reg a, reg b) { return _mm_mul_ps(a, b); }
  // min returns its second operand when either is NaN, so NaN saturates to 255.
  static reg min(reg a, reg b) { return _mm_min_ps(a, b); }
  static reg max(reg a, reg b) { return _mm_max_ps(a, b); }
  using ireg = __m128i;
  static ireg cvt(reg v) { return _mm_cvtps_epi32(v); }  // current rounding mode
  static ireg cvtt(reg v) { return _mm_cvttps_epi32(v); }
};

#if defined(__AVX__)
struct f32x8 {
  using reg = __m256;
  static constexpr int lanes = 8;
  static reg load(const float* p) { return _mm256_loadu_ps(p); }
  static void store(float* p, reg v) { _mm256_storeu_ps(p, v); }
  static reg set1(float v) { return _mm256_set1_ps(v); }
  static reg add(reg a, reg b) { return _mm256_add_ps(a, b); }
  static reg mul(reg a, reg b) { return _mm256_mul_ps(a, b); }
  static reg min(reg a, reg b) { return _mm256_min_ps(a, b); }
  static reg max(reg a, reg b) { return _mm256_max_ps(a, b); }
  using ireg = __m256i;
  static ireg cvt(reg v) { return _mm256_cvtps_epi32(v); }
  static ireg cvtt(reg v) { return _mm256_cvttps_epi32(v); }
};
#endif

}  // namespace
}  // namespace ns_pixel_kernels
