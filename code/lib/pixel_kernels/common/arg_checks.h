#pragma once
// Argument checks shared by every implementation, so that all levels reject the
// same calls with the same status before touching memory.

#include "pixel_kernels/pixel_kernels.h"

namespace ns_pixel_kernels {
namespace {

// Any null pointer, then len < 1.
template <class... Ptr>
inline pixel_status check_row_args(int32_t len, const Ptr*... ptrs) {
  if (((ptrs == nullptr) || ...)) return status_null_pointer;
  return len < 1 ? status_size_error : status_ok;
}

// Null rows, weights or dst, then a null row among the taps; then taps < 1 or len < 1.
template <class R, class S>
inline pixel_status check_weighted_args(const R* const* rows, const float* weights, int32_t taps,
                                        const S* dst, int32_t len) {
  if (rows == nullptr || weights == nullptr || dst == nullptr) return status_null_pointer;
  for (int32_t t = 0; t < taps; ++t)
    if (rows[t] == nullptr) return status_null_pointer;
  return taps < 1 || len < 1 ? status_size_error : status_ok;
}

// Null, region size, steps, mask, in that order.
inline pixel_status check_gauss_args(const void* src, int32_t src_step, const void* dst,
                                     int32_t dst_step, pixel_size roi, int32_t mask) {
  if (src == nullptr || dst == nullptr) return status_null_pointer;
  if (roi.width < 1 || roi.height < 1) return status_size_error;
  if (src_step < 1 || dst_step < 1) return status_step_error;
  if (mask != mask_3x3 && mask != mask_5x5) return status_mask_size_error;
  return status_ok;
}

}  // namespace
}  // namespace ns_pixel_kernels
