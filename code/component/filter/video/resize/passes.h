#pragma once
// The scaler's one-dimensional passes over whole planes. A weighted pass widens the
// taps' samples to float, multiplies each by its weight, sums them in tap order and
// narrows the sum (8-bit: round to nearest even, saturated; 16-bit: truncated,
// clamped to 0..65535), one pixel-kernel call per output row. A nearest pass copies
// the sample (or row) at each span start.

#include <cstdint>

#include "filter/video/resize/plane_buffer.h"

namespace ns_video_resize {

inline constexpr uint32_t kMaxTaps = 4;

// The horizontal pass works on bands of this many rows.
inline constexpr uint32_t kBandRows = 256;

// What a pass works with besides its planes: the current plane's span starts, the
// shared weights, taps float lines as long as the longest row or column (widened input
// rows), and two bands of kBandRows rows (of the longest row) for transposition.
template <class S>
struct pass_context {
  uint32_t taps = 0;
  const uint32_t* h_index = nullptr;
  const uint32_t* v_index = nullptr;
  const float* h_weights[kMaxTaps] = {};
  const float* v_weights[kMaxTaps] = {};
  float* lines[kMaxTaps] = {};
  S* transposed[2] = {};
};

// dst.width x dst.height from src, which has dst's height (horizontal) or width (vertical).
template <class S>
using pass_fn = void (*)(const pass_context<S>& context, const plane_buffer<S>& dst,
                         const plane_buffer<S>& src);

template <class S>
pass_fn<S> horizontal_pass(bool nearest);
template <class S>
pass_fn<S> vertical_pass(bool nearest);

}  // namespace ns_video_resize
