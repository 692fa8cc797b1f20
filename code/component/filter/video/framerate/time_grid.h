#pragma once
// The time-grid method's arithmetic: instants compared in whole milliseconds, the
// grid's first instant and its tie rule by time_mode.
//
//   time_mode   grid starts at              an output instant t is "before" m when
//   1000        first_time                  ms(t) <  ms(m)   (ties go to the later picture)
//   1002        first_time + period         ms(t) <= ms(m)   (ties go to the earlier picture)
//   1003        first_time + period         ms(t) <  ms(m)
//   other       0.0                         ms(t) <= ms(m)

#include <cstdint>

namespace ns_video_framerate {

// trunc(x * 1000 + 0.5), saturated to the int64 range; NaN counts as the minimum so
// that a picture without a usable time is shown zero times rather than forever.
int64_t grid_ms(double seconds);

bool grid_before(int64_t instant_ms, int64_t limit_ms, uint32_t time_mode);

// The first picture's play time snapped down onto a grid of `out_rate`, with half an
// input period of tolerance (a picture a hair early still lands on its instant).
double grid_first_time(double out_rate, double play_time, double src_rate);

// The first grid instant for `time_mode`; `unset` is returned for modes that keep it.
double grid_start(double first_time, double period, uint32_t time_mode, double unset);

}  // namespace ns_video_framerate
