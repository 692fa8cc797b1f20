#pragma once
// Filter functions and the per-axis tables of the separable scaler. Destination
// sample x sits at pos = (src - 1) / (dst - 1) * x in the source (first and last
// samples aligned), and takes `taps` source samples from index[x] on, weighted by
// weights[t][x].

#include <cstdint>
#include <vector>

namespace ns_video_resize {

enum : uint32_t {
  filter_bilinear = 1,
  filter_cubic = 2,    // cubic convolution with parameter a (cubic_a)
  filter_bspline = 3,  // cubic B-spline
  filter_nearest = 4,
};

// Taps of a filter: 2, 4, 4, 1; 0 for any other value.
uint32_t filter_taps(uint32_t filter) noexcept;

// The filter's weight at distance d >= 0 (single precision); 0 for an unknown filter.
float kernel_weight(uint32_t filter, float cubic_a, float d) noexcept;

struct axis_table {
  std::vector<uint32_t> index;              // first source sample of each span
  std::vector<std::vector<float>> weights;  // [tap][destination sample]
};

// Needs src_len >= taps and dst_len >= 2. A span that would start before the first
// or end after the last source sample is moved inside and its position rounded to a
// whole sample, so border samples are taken alone. The nearest filter's single tap
// is the source sample nearest to pos (halves round up).
axis_table build_axis_table(uint32_t filter, float cubic_a, uint32_t src_len, uint32_t dst_len);

// The first dst_len span starts of `table` for another plane; for a subsampled plane
// every start is lowered to src_len - taps so that its spans stay inside it (the
// weights stay those of the full plane).
std::vector<uint32_t> plane_index(const axis_table& table, uint32_t dst_len, bool subsampled,
                                  uint32_t src_len, uint32_t taps);

}  // namespace ns_video_resize
