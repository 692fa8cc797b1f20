#pragma once
// Output records: allocation, release and the output clock's times. Every record and
// its `data`/`alpha` buffers are malloc blocks, as the caller may adopt them.

#include <cstddef>
#include <cstdint>
#include <memory>

#include "filter/video/framerate/framerate_filter.h"

namespace ns_video_framerate {

// A record with an uninitialised `bytes` picture buffer and, when `alpha` is given, a
// copy of its `alpha_bytes` key plane; other fields unset. Throws std::bad_alloc,
// leaving nothing allocated.
framerate_frame* allocate_record(uint32_t bytes, const uint8_t* alpha, size_t alpha_bytes);

// Frees the record and both its buffers; null is ignored.
void release_record(framerate_frame* f);

struct record_deleter {
  void operator()(framerate_frame* f) const { release_record(f); }
};
using record_ptr = std::unique_ptr<framerate_frame, record_deleter>;

// Duration, play and decode time and sequence of output number n on a clock that
// ticks every `period` seconds from `first_time`.
inline void stamp_clock(framerate_frame& f, uint32_t n, double period, double first_time) {
  f.duration = period;
  f.play_time = f.decode_time = n * period + first_time;
  f.sequence = n;
}

}  // namespace ns_video_framerate
