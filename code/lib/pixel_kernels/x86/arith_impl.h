#pragma once
// Element-wise float arithmetic on V-wide vectors (f32x4 or f32x8), four vectors
// per block. One IEEE operation per element, as in the generic code.

#include <cstdint>
#include <cstring>

#include "pixel_kernels/common/arg_checks.h"
#include "pixel_kernels/x86/float_vec.h"
#include "pixel_kernels/x86/row_blocks.h"

namespace ns_pixel_kernels {
namespace {

struct add_op {
  template <class W>
  static typename W::reg apply(typename W::reg a, typename W::reg b) {
    return W::add(a, b);
  }
};
struct multiply_op {
  template <class W>
  static typename W::reg apply(typename W::reg a, typename W::reg b) {
    return W::mul(a, b);
  }
};

// One vector per block (run_row unrolls); one() is the same operation on one lane.
template <class V, class Op>
struct binary_block {
  static constexpr int n = V::lanes;
  template <class W>
  static void step(float* d, const float* a, const float* b) {
    W::store(d, Op::template apply<W>(W::load(a), W::load(b)));
  }
  void operator()(float* d, const float* a, const float* b) const { step<V>(d, a, b); }
  void one(float* d, const float* a, const float* b) const { step<f32x1>(d, a, b); }
};

template <class V>
struct scale_block {
  static constexpr int n = V::lanes;
  float value;
  template <class W>
  void step(float* d, const float* s) const {
    W::store(d, W::mul(W::load(s), W::set1(value)));
  }
  void operator()(float* d, const float* s) const { step<V>(d, s); }
  void one(float* d, const float* s) const { step<f32x1>(d, s); }
};

// Destination alignment of the whole blocks: one vector.
template <class V>
constexpr int vector_bytes = V::lanes * static_cast<int>(sizeof(float));

template <class V>
pixel_status add_f32_impl(const float* src1, const float* src2, float* dst, int32_t len) {
  if (pixel_status s = check_row_args(len, src1, src2, dst)) return s;
  run_row<vector_bytes<V>>(binary_block<V, add_op>{}, dst, len, src1, src2);
  return status_ok;
}

template <class V>
pixel_status multiply_f32_impl(const float* src1, const float* src2, float* dst, int32_t len) {
  if (pixel_status s = check_row_args(len, src1, src2, dst)) return s;
  run_row<vector_bytes<V>>(binary_block<V, multiply_op>{}, dst, len, src1, src2);
  return status_ok;
}

// ZeroFill(dst, bytes) writes the +0.0 fill, so the AVX levels can stream big ones.
template <class V, class ZeroFill>
pixel_status multiply_by_constant_f32_impl(const float* src, float value, float* dst,
                                           int32_t len, ZeroFill zero_fill) {
  if (pixel_status s = check_row_args(len, src, dst)) return s;
  const size_t bytes = static_cast<size_t>(len) * sizeof(float);
  if (value == 1.0f) {
    // A bit copy keeps -0.0 and NaN payloads.
    if (dst != src) std::memmove(dst, src, bytes);
  } else if (value == 0.0f) {
    zero_fill(dst, bytes);  // +0.0 even for infinite or NaN sources
  } else {
    run_row<vector_bytes<V>>(scale_block<V>{value}, dst, len, src);
  }
  return status_ok;
}

inline void plain_zero_fill(float* dst, size_t bytes) { std::memset(dst, 0, bytes); }

#if defined(__AVX__)
// A fill larger than 2 MiB and than the largest cache would only evict data still
// in use, so it bypasses the caches with non-temporal stores in 64-byte lines.
inline void streaming_zero_fill(float* dst, size_t bytes) {
  constexpr size_t threshold = 2097152;
  int32_t cache = 0;
  largest_cache_size(&cache);  // 0 when unknown: then only the threshold counts
  if (bytes <= threshold || bytes <= static_cast<size_t>(cache)) {
    std::memset(dst, 0, bytes);
    return;
  }
  unsigned char* p = reinterpret_cast<unsigned char*>(dst);
  const size_t head = (64 - reinterpret_cast<uintptr_t>(p) % 64) % 64;
  std::memset(p, 0, head);
  p += head;
  bytes -= head;
  const __m256 zero = _mm256_setzero_ps();
  for (; bytes >= 64; p += 64, bytes -= 64) {
    _mm256_stream_ps(reinterpret_cast<float*>(p), zero);
    _mm256_stream_ps(reinterpret_cast<float*>(p + 32), zero);
  }
  std::memset(p, 0, bytes);
  _mm_sfence();  // order the streamed lines before anything the caller stores next
}
#endif

}  // namespace
}  // namespace ns_pixel_kernels

// Define one level's arithmetic entry points in ns_pixel_kernels::<level>, on float
// vector V; the constant multiply also names its +0.0 fill.
#define PK_DEFINE_ADD_MULTIPLY(level, V)                                                        \
  namespace ns_pixel_kernels::level {                                                          \
  pixel_status add_f32(const float* src1, const float* src2, float* dst, int32_t len) {        \
    return add_f32_impl<V>(src1, src2, dst, len);                                              \
  }                                                                                            \
  pixel_status multiply_f32(const float* src1, const float* src2, float* dst, int32_t len) {   \
    return multiply_f32_impl<V>(src1, src2, dst, len);                                         \
  }                                                                                            \
  }

#define PK_DEFINE_MULTIPLY_BY_CONSTANT(level, V, zero_fill)                                     \
  namespace ns_pixel_kernels::level {                                                          \
  pixel_status multiply_by_constant_f32(const float* src, float value, float* dst, int32_t len) { \
    return multiply_by_constant_f32_impl<V>(src, value, dst, len, zero_fill);                  \
  }                                                                                            \
  }
