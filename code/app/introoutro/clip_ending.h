#pragma once
// Whole clips through the filter's frame-rate converter. The filter never tells its
// converter that a clip has ended, so pictures the converter still holds at the end
// would be lost. A clip_ending follows a converted clip's frames through a shadow of
// that converter (the same code, configured as the filter configures it, on 2x2
// pictures) and, at the end, says which guard frames (copies of the last picture) to
// append so that the clip comes out at its whole duration at the main rate, as near
// as the converter's method allows: the time grid to the frame; 24->25 and telecine
// in whole groups of their cadence (a clip that ends inside a group gains or loses
// part of one); decimation and 25->24 hold nothing and need no guard.

#include "io/frame_clock.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace ns_video_framerate {
class framerate_filter;
}

namespace ns_introoutro {

struct frame_timing {
  double play_time = 0.0;
  double duration = 0.0;
  uint64_t sequence = 0;
};

class clip_ending {
public:
  // A clip at clip_fps under a main source at main_fps that the filter converts
  // (needs_rate_conversion).
  clip_ending(double clip_fps, double main_fps);
  ~clip_ending();
  clip_ending(const clip_ending&) = delete;
  clip_ending& operator=(const clip_ending&) = delete;

  // Each clip frame, in order.
  void see(const frame_timing& frame);
  // Once, after the last frame: the timings of the guards to append, in order.
  std::vector<frame_timing> guards();
  // Frames at the main rate the clip gives: so far, or in all once guards() has run.
  uint64_t frames_out() const { return out; }

private:
  uint64_t push(const frame_timing& frame);

  std::unique_ptr<ns_video_framerate::framerate_filter> shadow;
  double clip_rate = 0.0;
  double output_rate = 0.0;
  bool time_grid = false;
  double grid_first = 0.0;  // the converter's first output instant
  uint64_t seen = 0;
  frame_timing first, last;
  uint64_t out = 0;
};

// The frames at the main rate that a converted clip of `frames` frames on `clip`'s
// clock (as a file's frames are stamped) gives with its guards.
uint64_t whole_clip_frames(const ns_y4m::frame_clock& clip, double main_fps, uint64_t frames);

}  // namespace ns_introoutro
