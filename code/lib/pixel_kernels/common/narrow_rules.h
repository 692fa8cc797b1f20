#pragma once
// Scalar narrowing of float sums to samples, shared by the generic conversion and
// the generic weighted rows so that both store the same bytes for every float.

#include <cstdint>

namespace ns_pixel_kernels {
namespace {

// Written so that NaN fails both comparisons and ends at 0.
inline float saturate_u8(float v) {
  v = v > 255.0f ? 255.0f : v;
  return v > 0.0f ? v : 0.0f;
}

// Adding 2^23 leaves no fraction bits for a value in 0..255, so the addition rounds
// to an integer in the current rounding mode, exactly as a vector conversion does.
inline int32_t round_current_mode(float v) {
  constexpr float shift = 0x1p23f;
  return static_cast<int32_t>((v + shift) - shift);
}

// Truncation toward zero, clamped to 0..65535; NaN stores 0.
inline uint16_t truncate_u16(float v) {
  return !(v > 0.0f) ? 0 : v >= 65535.0f ? 65535 : static_cast<uint16_t>(static_cast<int32_t>(v));
}

}  // namespace
}  // namespace ns_pixel_kernels
