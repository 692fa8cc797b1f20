// Reference float arithmetic: one IEEE operation per element, plain loops.

#include <cstring>

#include "pixel_kernels/common/arg_checks.h"
#include "pixel_kernels/dispatch/tables.h"

namespace ns_pixel_kernels::generic {

pixel_status multiply_by_constant_f32(const float* src, float value, float* dst, int32_t len) {
  if (pixel_status s = check_row_args(len, src, dst)) return s;
  const size_t bytes = static_cast<size_t>(len) * sizeof(float);
  if (value == 1.0f) {
    // A bit copy keeps -0.0 and NaN payloads that a multiplication might not.
    if (dst != src) std::memmove(dst, src, bytes);
  } else if (value == 0.0f) {
    std::memset(dst, 0, bytes);  // +0.0 even for infinite or NaN sources
  } else {
    for (int32_t i = 0; i < len; ++i) dst[i] = src[i] * value;
  }
  return status_ok;
}

pixel_status add_f32(const float* src1, const float* src2, float* dst, int32_t len) {
  if (pixel_status s = check_row_args(len, src1, src2, dst)) return s;
  for (int32_t i = 0; i < len; ++i) dst[i] = src1[i] + src2[i];
  return status_ok;
}

pixel_status multiply_f32(const float* src1, const float* src2, float* dst, int32_t len) {
  if (pixel_status s = check_row_args(len, src1, src2, dst)) return s;
  for (int32_t i = 0; i < len; ++i) dst[i] = src1[i] * src2[i];
  return status_ok;
}

}  // namespace ns_pixel_kernels::generic
