#pragma once
// The converter's finished records, oldest first. A picture shown at several output
// instants in a row is queued once, as a run of repeats that become records of their
// own only as they are popped: memory follows the pictures held, not how long each
// is shown.

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>

#include "filter/video/framerate/framerate_filter.h"

namespace ns_video_framerate {

// The stamp of a run's first repeat; each later repeat is the next output number, and
// its time code steps on when `timecode_steps` is set.
struct repeat_stamp {
  uint32_t sequence;
  double period;
  double first_time;  // play time of output 0
  ulbase::timecode timecode;
  bool timecode_steps;
};

class output_queue {
public:
  output_queue() = default;
  output_queue(const output_queue&) = delete;
  output_queue& operator=(const output_queue&) = delete;
  // Releases every record still queued and its share of the repeated pictures.
  ~output_queue();

  // Queues a finished record, which the queue owns until it is popped.
  void push(framerate_frame* f);
  // Queues `count` repeats of `picture` (its whole `size` bytes and, if it has one,
  // its key plane of `alpha_bytes`), stamped from `first` on.
  void push_repeats(std::shared_ptr<const framerate_frame> picture, size_t alpha_bytes, const repeat_stamp& first,
                    uint64_t count);

  // The oldest record, which the caller owns, or null. A repeat is copied from its
  // picture here; when that copy cannot be allocated, std::bad_alloc leaves it queued.
  framerate_frame* pop();

private:
  struct entry {
    framerate_frame* record = nullptr;  // a finished record, or null for a run:
    std::shared_ptr<const framerate_frame> picture;
    size_t alpha_bytes = 0;
    repeat_stamp next{};
    uint64_t left = 0;
  };
  std::deque<entry> entries_;
};

}  // namespace ns_video_framerate
