#pragma once
// The convert_f32_to_u8 scale multiplier, shared so that every level scales by
// exactly the same float.

#include <cstdint>

namespace ns_pixel_kernels {
namespace {

// 2^-scale_factor, formed by repeated halving or doubling of 1.0f so that the
// subnormal and overflowing ends round as single precision does. The factor is 0
// after 150 halvings and infinite after 128 doublings, so the loops stop there.
inline float scale_multiplier(int32_t scale_factor) {
  constexpr int32_t saturated = 160;
  float m = 1.0f;
  for (int32_t i = 0; i < scale_factor && i < saturated; ++i) m *= 0.5f;
  for (int32_t i = 0; i > scale_factor && i > -saturated; --i) m *= 2.0f;
  return m;
}

}  // namespace
}  // namespace ns_pixel_kernels
