// Reference weighted rows: element by element, the products and running sums in tap
// order, then the generic conversion's narrowing.

#include "pixel_kernels/common/arg_checks.h"
#include "pixel_kernels/common/narrow_rules.h"
#include "pixel_kernels/dispatch/tables.h"

namespace ns_pixel_kernels::generic {
namespace {

// A zero weight contributes +0.0 without reading its row, as multiply_by_constant_f32
// makes it even from infinities and NaN.
template <class S, class Narrow>
void weigh(const float* const* rows, const float* weights, int32_t taps, S* dst, int32_t len,
           Narrow narrow) {
  auto product = [&](int32_t t, int32_t i) {
    return weights[t] == 0.0f ? 0.0f : rows[t][i] * weights[t];
  };
  for (int32_t i = 0; i < len; ++i) {
    float sum = product(0, i);
    for (int32_t t = 1; t < taps; ++t) sum = product(t, i) + sum;
    dst[i] = narrow(sum);
  }
}

uint8_t narrow_u8(float v) { return static_cast<uint8_t>(round_current_mode(saturate_u8(v))); }

}  // namespace

pixel_status weighted_rows_f32_to_u8(const float* const* rows, const float* weights, int32_t taps,
                                     uint8_t* dst, int32_t len) {
  if (pixel_status s = check_weighted_args(rows, weights, taps, dst, len)) return s;
  weigh(rows, weights, taps, dst, len, narrow_u8);
  return status_ok;
}

pixel_status weighted_rows_f32_to_u16(const float* const* rows, const float* weights, int32_t taps,
                                      uint16_t* dst, int32_t len) {
  if (pixel_status s = check_weighted_args(rows, weights, taps, dst, len)) return s;
  weigh(rows, weights, taps, dst, len, truncate_u16);
  return status_ok;
}

}  // namespace ns_pixel_kernels::generic
