#include "filter/video/framerate/time_grid.h"

#include <cmath>

namespace ns_video_framerate {

int64_t grid_ms(double seconds) {
  const double v = std::trunc(seconds * 1000.0 + 0.5);
  if (!(v > -9.2e18)) return INT64_MIN;
  if (v >= 9.2e18) return INT64_MAX;
  return static_cast<int64_t>(v);
}

bool grid_before(int64_t instant_ms, int64_t limit_ms, uint32_t time_mode) {
  if (time_mode == 1000 || time_mode == 1003) return instant_ms < limit_ms;
  return instant_ms <= limit_ms;
}

double grid_first_time(double out_rate, double play_time, double src_rate) {
  return std::trunc(out_rate * play_time + 1.0 / (2.0 * src_rate)) / out_rate;
}

double grid_start(double first_time, double period, uint32_t time_mode, double unset) {
  if (time_mode == 1002 || time_mode == 1003) return first_time + period;
  if (time_mode == 1000) return first_time;
  return unset;
}

}  // namespace ns_video_framerate
