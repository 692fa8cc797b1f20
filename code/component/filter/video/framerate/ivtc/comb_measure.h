#pragma once
// Luma measures behind inverse telecine, for 8- and 16-bit samples. 16-bit sums are
// scaled down by 256 so both forms land on the same scale.
//
// Field parity codes: 2 = top field (even lines 0, 2, ...), 1 = bottom field (odd lines).

#include <cstddef>
#include <cstdint>
#include <deque>

namespace ns_video_framerate {

// Motion mask of two pictures: 255 over the 3x3 neighbourhood of every interior
// sample (1 <= x <= width-2, 1 <= y <= height-2) where |a - b| > threshold (x256 for
// 16-bit), 0 elsewhere. `rows` is scratch space of 5 x width bytes.
template <class T>
void build_motion_mask(uint8_t* mask, const T* a, const T* b, uint32_t width, uint32_t height, uint32_t threshold,
                       uint8_t* rows);

// Mean absolute difference of a and b over one field, divided by the whole picture
// area (width x height), for the top field and the bottom field in one pass.
struct field_differences {
  float top;
  float bottom;
};
template <class T>
field_differences field_difference(const T* a, const T* b, uint32_t width, uint32_t height);

// Where the mask is set on even lines: sum |line 2k - line 2k+1| over 1 + sum of
// |horizontal neighbour differences|. High when the two fields disagree (combing).
template <class T>
float comb_level(const T* p, const uint8_t* mask, uint32_t width, uint32_t height);

// The measure histories never hold more than five values (one per queued picture).
constexpr size_t max_history = 8;

// Element n/2 of a sorted copy of the first max_history values; 0 for no values.
float median(const std::deque<float>& values);

}  // namespace ns_video_framerate
