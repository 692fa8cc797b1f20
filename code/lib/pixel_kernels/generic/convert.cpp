// Reference conversions: plain loops for the x86-64 baseline. The compiler may
// vectorise them with SSE2; every step is one exact IEEE operation, so it cannot
// change a result.

#include "pixel_kernels/common/arg_checks.h"
#include "pixel_kernels/common/narrow_rules.h"
#include "pixel_kernels/common/scale_factor.h"
#include "pixel_kernels/dispatch/tables.h"

namespace ns_pixel_kernels::generic {
namespace {

// 2v is exact; (trunc(2v) + 1) / 2 rounds halves away from zero without touching
// the rounding mode.
inline int32_t round_half_away_int(float v) { return (static_cast<int32_t>(v + v) + 1) >> 1; }

template <class Round>
void narrow(const float* src, uint8_t* dst, int32_t len, float multiplier, bool scaled,
            Round round) {
  if (scaled) {
    for (int32_t i = 0; i < len; ++i)
      dst[i] = static_cast<uint8_t>(round(saturate_u8(src[i] * multiplier)));
  } else {
    for (int32_t i = 0; i < len; ++i) dst[i] = static_cast<uint8_t>(round(saturate_u8(src[i])));
  }
}

}  // namespace

pixel_status convert_u8_to_f32(const uint8_t* src, float* dst, int32_t len) {
  if (pixel_status s = check_row_args(len, src, dst)) return s;
  for (int32_t i = 0; i < len; ++i) dst[i] = static_cast<float>(src[i]);
  return status_ok;
}

pixel_status convert_u16_to_f32(const uint16_t* src, float* dst, int32_t len) {
  if (pixel_status s = check_row_args(len, src, dst)) return s;
  for (int32_t i = 0; i < len; ++i) dst[i] = static_cast<float>(src[i]);
  return status_ok;
}

pixel_status convert_f32_to_u8(const float* src, uint8_t* dst, int32_t len, int32_t round_mode,
                               int32_t scale_factor) {
  if (pixel_status s = check_row_args(len, src, dst)) return s;
  const float m = scale_multiplier(scale_factor);
  const bool scaled = scale_factor != 0;
  switch (round_mode) {
    case round_toward_zero:
      narrow(src, dst, len, m, scaled, [](float v) { return static_cast<int32_t>(v); });
      break;
    case round_nearest:
      narrow(src, dst, len, m, scaled, round_current_mode);
      break;
    default:
      narrow(src, dst, len, m, scaled, round_half_away_int);
      break;
  }
  return status_ok;
}

}  // namespace ns_pixel_kernels::generic
