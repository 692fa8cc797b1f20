#pragma once
// Pixel kernels: row conversions, float arithmetic and Gaussian smoothing. Every entry
// point forwards, arguments untouched, to the implementation that variant_index picks
// for this processor; all implementations return the same status and the same bits.

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace ns_pixel_kernels {

// 0 success, negative an error (nothing written), positive a warning.
using pixel_status = int32_t;
enum : pixel_status {
  status_ok = 0,
  status_size_error = -6,
  status_null_pointer = -8,
  status_no_memory = -9,
  status_step_error = -14,
  status_mask_size_error = -33,
  status_unexpected_vendor = 20,          // init_dispatch: not "GenuineIntel"; index still chosen
  status_cache_query_unsupported = 36,    // largest_cache_size: not Intel, or no leaf 2
  status_cache_size_unknown = 37,         // largest_cache_size: no cache found by leaf 4 or 2
};

// convert_f32_to_u8 rounding; any value other than 0 and 1 rounds half away from zero.
enum : int32_t { round_toward_zero = 0, round_nearest = 1, round_half_away = 2 };

// gauss_filter_* kernel selectors; no other value is accepted.
enum : int32_t { mask_3x3 = 33, mask_5x5 = 55 };

// A region's size in samples, width first, passed by value.
struct pixel_size {
  int32_t width;
  int32_t height;
};

// Implementation in use: 0 generic, 1 SSE3, 2 SSSE3, 3 SSSE3+MOVBE, 4 SSE4.1, 5 AVX,
// 6 AVX2+FMA+BMI1/2. Statically 0, so entry points called before init_dispatch run
// the generic code. Written only by init_dispatch, always with the same value.
extern std::atomic<int32_t> variant_index;

// Probes the processor once and sets variant_index; returns status_ok, or
// status_unexpected_vendor when the vendor is not "GenuineIntel".
pixel_status init_dispatch();

// The 64-bit feature mask (bit layout in dispatch/cpu_features.h); with id_registers
// non-null also EAX, EBX, ECX, EDX of CPUID leaf 1. Computed once, then cached.
pixel_status query_cpu_features(uint64_t* features, uint32_t id_registers[4]);

// The largest data or unified cache in bytes (CPUID leaf 4, else leaf 2 descriptors);
// computed once, then cached. On a non-zero status *bytes is 0.
pixel_status largest_cache_size(int32_t* bytes);

// Allocation functions the kernels use (slots allocate and release only).
struct memory_hooks {
  void* (*allocate)(size_t bytes);
  void* (*allocate_zeroed)(size_t count, size_t size);
  void* (*reallocate)(void* block, size_t bytes);
  void (*release)(void* block);
};
// Replaces the hooks (the C runtime's by default) and returns the previous ones.
// Not for use while kernels run on other threads.
memory_hooks set_memory_hooks(const memory_hooks& hooks);

// A 64-byte-aligned block of `bytes` bytes from the allocate hook; null for bytes < 1
// or when the hook fails. Release it with aligned_free_64 (null is ignored).
void* aligned_alloc_64(int32_t bytes);
void aligned_free_64(void* block);

// Row kernels. Checks, in order: a null pointer gives status_null_pointer, then
// len < 1 gives status_size_error; nothing is written on failure. dst may be the
// same array as a source (each element is read before it is written).

// dst[i] = src[i] as float.
pixel_status convert_u8_to_f32(const uint8_t* src, float* dst, int32_t len);
pixel_status convert_u16_to_f32(const uint16_t* src, float* dst, int32_t len);
// dst[i] = src[i] * 2^-scale_factor, clamped to 0..255, rounded by round_mode.
pixel_status convert_f32_to_u8(const float* src, uint8_t* dst, int32_t len, int32_t round_mode,
                               int32_t scale_factor);
// dst[i] = src[i] * value; value 1.0 copies the bits, value +-0.0 writes +0.0.
pixel_status multiply_by_constant_f32(const float* src, float value, float* dst, int32_t len);
// dst[i] = src1[i] + src2[i]; dst[i] = src1[i] * src2[i].
pixel_status add_f32(const float* src1, const float* src2, float* dst, int32_t len);
pixel_status multiply_f32(const float* src1, const float* src2, float* dst, int32_t len);

// A weighted sum of `taps` float rows, narrowed: sum = rows[0][i] * weights[0], then
// sum = rows[t][i] * weights[t] + sum, each one single-precision operation (no fused
// multiply-add); a tap of weight +-0.0 adds +0.0 whatever its row holds. 8-bit: saturated
// to 0..255, rounded in the current rounding mode; 16-bit: truncated toward zero, clamped
// to 0..65535; NaN stores 0. Null pointers (a row too), then taps < 1 or len < 1, fail.
pixel_status weighted_rows_f32_to_u8(const float* const* rows, const float* weights, int32_t taps,
                                     uint8_t* dst, int32_t len);
pixel_status weighted_rows_f32_to_u16(const float* const* rows, const float* weights, int32_t taps,
                                      uint16_t* dst, int32_t len);

// 3x3 (weights 1-2-1 squared, /16, ties to even) or 5x5 (/571, rounded) smoothing of
// a roi.width x roi.height region; steps in bytes. The source ring of 1 (3x3) or 2
// (5x5) samples around the region is read; dst outside the region is never written;
// src and dst must not overlap. Checks, in order: null (-8), roi < 1 (-6),
// step < 1 (-14), mask (-33), no memory (-9).
pixel_status gauss_filter_u8(const uint8_t* src, int32_t src_step, uint8_t* dst, int32_t dst_step,
                             pixel_size roi, int32_t mask);
pixel_status gauss_filter_u16(const uint16_t* src, int32_t src_step, uint16_t* dst,
                              int32_t dst_step, pixel_size roi, int32_t mask);

}  // namespace ns_pixel_kernels
