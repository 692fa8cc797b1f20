#include "filter/video/resize/coefficients.h"

#include <algorithm>
#include <cmath>

namespace ns_video_resize {

uint32_t filter_taps(uint32_t filter) noexcept {
  switch (filter) {
    case filter_bilinear: return 2;
    case filter_cubic:
    case filter_bspline: return 4;
    case filter_nearest: return 1;
    default: return 0;
  }
}

float kernel_weight(uint32_t filter, float a, float d) noexcept {
  const float d2 = d * d;
  const float d3 = d2 * d;
  switch (filter) {
    case filter_bilinear: return std::fabs(1.0f - d);
    case filter_cubic:
      if (d <= 1.0f) return (a + 2.0f) * d3 - (a + 3.0f) * d2 + 1.0f;
      if (d <= 2.0f) return a * d3 - 5.0f * a * d2 + 8.0f * a * d - 4.0f * a;
      return 0.0f;
    case filter_bspline:
      if (d <= 1.0f) return 0.5f * d3 - d2 + 0.6666667f;
      if (d <= 2.0f) return d2 - 0.16666667f * d3 - 2.0f * d + 1.3333334f;
      return 0.0f;
    case filter_nearest: return 1.0f;
    default: return 0.0f;
  }
}

axis_table build_axis_table(uint32_t filter, float cubic_a, uint32_t src_len, uint32_t dst_len) {
  const uint32_t taps = filter_taps(filter);
  axis_table table;
  table.index.resize(dst_len);
  table.weights.assign(taps, std::vector<float>(dst_len));
  const float ratio = static_cast<float>(src_len - 1) / static_cast<float>(dst_len - 1);
  const int64_t last_start = int64_t{src_len} - taps;
  for (uint32_t x = 0; x < dst_len; ++x) {
    float pos = ratio * static_cast<float>(x);
    int64_t start;
    if (taps == 1) {
      start = std::min<int64_t>(static_cast<int64_t>(std::trunc(double{pos} + 0.5)), last_start);
    } else {
      start = static_cast<int64_t>(std::trunc(pos)) - taps / 2 + 1;
      if (start < 0 || start > last_start) {
        start = std::clamp<int64_t>(start, 0, last_start);
        pos = static_cast<float>(std::trunc(double{pos} + 0.5));
      }
    }
    table.index[x] = static_cast<uint32_t>(start);
    for (uint32_t t = 0; t < taps; ++t) {
      const double distance = std::fabs(double{pos} - static_cast<double>(start + t));
      table.weights[t][x] = kernel_weight(filter, cubic_a, static_cast<float>(distance));
    }
  }
  return table;
}

std::vector<uint32_t> plane_index(const axis_table& table, uint32_t dst_len, bool subsampled,
                                  uint32_t src_len, uint32_t taps) {
  std::vector<uint32_t> index(table.index.begin(), table.index.begin() + dst_len);
  if (subsampled) {
    for (uint32_t& start : index) start = std::min(start, src_len - taps);
  }
  return index;
}

}  // namespace ns_video_resize
