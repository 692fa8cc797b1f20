#pragma once
// Internal: the per-level implementations and the dispatch tables that the entry
// points index. Tests and benchmarks include this to call every variant directly.

#include <array>

#include "pixel_kernels/pixel_kernels.h"

namespace ns_pixel_kernels {

constexpr int kVariantCount = 7;

using convert_u8_to_f32_fn = pixel_status(const uint8_t*, float*, int32_t);
using convert_u16_to_f32_fn = pixel_status(const uint16_t*, float*, int32_t);
using convert_f32_to_u8_fn = pixel_status(const float*, uint8_t*, int32_t, int32_t, int32_t);
using multiply_by_constant_f32_fn = pixel_status(const float*, float, float*, int32_t);
using add_f32_fn = pixel_status(const float*, const float*, float*, int32_t);
using multiply_f32_fn = pixel_status(const float*, const float*, float*, int32_t);
using weighted_rows_f32_to_u8_fn = pixel_status(const float* const*, const float*, int32_t,
                                                uint8_t*, int32_t);
using weighted_rows_f32_to_u16_fn = pixel_status(const float* const*, const float*, int32_t,
                                                 uint16_t*, int32_t);
using gauss_filter_u8_fn = pixel_status(const uint8_t*, int32_t, uint8_t*, int32_t, pixel_size,
                                        int32_t);
using gauss_filter_u16_fn = pixel_status(const uint16_t*, int32_t, uint16_t*, int32_t, pixel_size,
                                         int32_t);

// One pointer per variant index, in index order.
template <class Fn>
using dispatch_table = std::array<Fn*, kVariantCount>;

extern const dispatch_table<convert_u8_to_f32_fn> convert_u8_to_f32_table;
extern const dispatch_table<convert_u16_to_f32_fn> convert_u16_to_f32_table;
extern const dispatch_table<convert_f32_to_u8_fn> convert_f32_to_u8_table;
extern const dispatch_table<multiply_by_constant_f32_fn> multiply_by_constant_f32_table;
extern const dispatch_table<add_f32_fn> add_f32_table;
extern const dispatch_table<multiply_f32_fn> multiply_f32_table;
extern const dispatch_table<weighted_rows_f32_to_u8_fn> weighted_rows_f32_to_u8_table;
extern const dispatch_table<weighted_rows_f32_to_u16_fn> weighted_rows_f32_to_u16_table;
extern const dispatch_table<gauss_filter_u8_fn> gauss_filter_u8_table;
extern const dispatch_table<gauss_filter_u16_fn> gauss_filter_u16_table;

// Declares one level's implementations in ns_pixel_kernels::<level>. Every level
// declares every routine; a level that reuses a lower one's code (SSSE3+MOVBE reuses
// SSSE3 everywhere, SSE4.1 reuses SSE3 for add/multiply) simply does not define it,
// and its table slot names the lower level instead.
#define PK_DECLARE_LEVEL(level)                                                               \
  namespace level {                                                                           \
  convert_u8_to_f32_fn convert_u8_to_f32;                                                     \
  convert_u16_to_f32_fn convert_u16_to_f32;                                                   \
  convert_f32_to_u8_fn convert_f32_to_u8;                                                     \
  multiply_by_constant_f32_fn multiply_by_constant_f32;                                       \
  add_f32_fn add_f32;                                                                         \
  multiply_f32_fn multiply_f32;                                                               \
  weighted_rows_f32_to_u8_fn weighted_rows_f32_to_u8;                                         \
  weighted_rows_f32_to_u16_fn weighted_rows_f32_to_u16;                                       \
  gauss_filter_u8_fn gauss_filter_u8;                                                         \
  gauss_filter_u16_fn gauss_filter_u16;                                                       \
  }

PK_DECLARE_LEVEL(generic)
PK_DECLARE_LEVEL(sse3)
PK_DECLARE_LEVEL(ssse3)
PK_DECLARE_LEVEL(sse41)
PK_DECLARE_LEVEL(avx)
PK_DECLARE_LEVEL(avx2)

#undef PK_DECLARE_LEVEL

}  // namespace ns_pixel_kernels
