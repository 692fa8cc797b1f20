#pragma once
// Frame-rate converter: takes a clip's pictures one record at a time and queues them
// again at another rate (time-grid repeat/drop, decimation, 24<->25 cadence changes,
// 2:3 telecine, inverse telecine), each output stamped on the output clock.
//
// Threading: a converter is used by one thread at a time; it takes no locks.
//
// Ownership: records and their `data`/`alpha` blocks are malloc blocks released with
// free. A record handed to push_frame belongs to the converter; one returned by
// pop_frame belongs to the caller. A picture's last appearance in the output is
// usually the very record that was pushed, restamped; repeats and woven or mixed
// pictures are new records. A repeated picture is held once and each repeat copied
// from it as it is popped, so memory does not grow with how long a picture is shown.
// The destructor releases every record the converter still holds (waiting input,
// finished output, the held picture) so that an abandoned stream never leaks.

#include <cstdint>

#include "ulbase/timecode.h"

namespace ns_video_framerate {

// One picture with its timing. `data` holds all planes back to back (luma, U, V)
// in the converter's `format`; `alpha` is an optional width x height key plane.
struct framerate_frame {
  uint8_t* data;
  uint32_t size;
  double duration;
  double play_time;
  double decode_time;
  uint64_t sequence;
  ulbase::timecode timecode;
  uint8_t* alpha;
};

// Configuration block; configure() writes back every field but the last two.
struct framerate_params {
  bool cadence_aware;     // allows automatic decimation and the cadence methods
  double src_rate;        // input pictures per second
  double dst_rate;        // output rate; 0 = src_rate; snapped to exact 1000/1001 rates
  bool decimate;          // keep every n-th input
  int32_t decimation;     // n for decimate (|n| for negative values); -2 doubles the rate
  uint32_t format;        // picture layout, see below
  uint32_t width;         // luma samples per line
  uint32_t height;        // luma lines
  uint32_t field_order;   // 0 progressive, 1 or 2 interlaced
  bool adaptive_ivtc;     // inverse telecine: detect the cadence instead of trusting ivtc_phase
  uint32_t ivtc_phase;    // inverse telecine: cycle position 0..4 of the repeated field
  bool keep_timecode;     // outputs carry their source picture's time code
  uint32_t time_mode;     // time-grid start and tie rule: 1000, 1002, 1003 or other
};

// Picture layouts, planar, no row padding:
//   0  8-bit 4:2:0   1  8-bit 4:2:2   2  8-bit 4:4:4   3  16-bit 4:2:2   4  16-bit 4:4:4
// Chroma planes are (width/2 or width) x (height/2 or height) samples.

class framerate_filter {
public:
  virtual ~framerate_filter() = default;

  // 0 when configured. 1, leaving `p` exactly as it was, when `format` is above 4, a
  // picture would exceed 4 GiB, `src_rate` is not a positive finite number, `dst_rate`
  // is negative or not finite, or `decimate` is set with `decimation` 0 (none of them
  // has a meaningful output clock), or when pictures were already pushed. Before the
  // first picture a second call replaces the first.
  virtual int configure(framerate_params& p) = 0;

  // Hands over one record (stream order) and runs one step of the method; null ends
  // the stream and flushes what the method still holds (a record pushed after that
  // continues the stream). Returns 0.
  // A record whose `size` is below the configured picture size, and every record
  // pushed before a successful configure, is released unread and counted in
  // rejected_frames() instead of taking part in the conversion.
  virtual int push_frame(framerate_frame* f) = 0;

  // The oldest finished record, or null. Drain after every push_frame.
  virtual framerate_frame* pop_frame() = 0;

  // Records refused by push_frame so far.
  virtual uint64_t rejected_frames() const = 0;
};

// Format 3 or 4: a 16-bit converter; any other value: an 8-bit one.
framerate_filter* create_framerate_filter(uint32_t format);
// Deletes `f` and returns 0; returns 2 for null.
int destroy_framerate_filter(framerate_filter* f);

}  // namespace ns_video_framerate
