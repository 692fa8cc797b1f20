#pragma once
// Play times and SMPTE time codes of the frames of a stream at a rational rate.

#include "io/y4m_header.h"
#include "ulbase/timecode.h"
#include "zm/RFrame.h"

#include <cstdint>

namespace ns_y4m {

class frame_clock {
public:
  // rate.num and rate.den above 0.
  explicit frame_clock(ratio rate);

  double frames_per_second() const { return static_cast<double>(rate.num) / rate.den; }
  double period() const { return static_cast<double>(rate.den) / rate.num; }
  // Frame n starts at n * den / num seconds, computed without accumulating errors.
  double time_of(uint64_t n) const { return static_cast<double>(n) * rate.den / rate.num; }
  // The time-code mode of the rate; mode_none when no SMPTE mode counts at it.
  ulbase::timecode::mode_type timecode_mode() const { return mode; }
  ulbase::timecode timecode_of(uint64_t n) const { return ulbase::timecode::from_frame_index(mode, n); }

private:
  ratio rate;
  ulbase::timecode::mode_type mode;
};

// Gives frame n of the stream its sequence n, play and decode time, duration and
// time code.
void stamp_frame(KX::ZM::RVideoFrame& frame, const frame_clock& clock, uint64_t n);

}  // namespace ns_y4m
