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
