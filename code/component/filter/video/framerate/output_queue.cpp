#include "filter/video/framerate/output_queue.h"

#include <cstring>
#include <utility>

#include "filter/video/framerate/framerate_record.h"

namespace ns_video_framerate {

output_queue::~output_queue() {
  for (entry& e : entries_) release_record(e.record);
}

void output_queue::push(framerate_frame* f) {
  entry e;
  e.record = f;
  entries_.push_back(std::move(e));
}

void output_queue::push_repeats(std::shared_ptr<const framerate_frame> picture, size_t alpha_bytes,
                                const repeat_stamp& first, uint64_t count) {
  if (count == 0) return;
  entry e;
  e.picture = std::move(picture);
  e.alpha_bytes = alpha_bytes;
  e.next = first;
  e.left = count;
  entries_.push_back(std::move(e));
}

framerate_frame* output_queue::pop() {
  if (entries_.empty()) return nullptr;
  entry& e = entries_.front();
  if (!e.picture) {
    framerate_frame* f = e.record;
    entries_.pop_front();
    return f;
  }
  const framerate_frame& picture = *e.picture;
  framerate_frame* f = allocate_record(picture.size, picture.alpha, e.alpha_bytes);
  std::memcpy(f->data, picture.data, picture.size);
  stamp_clock(*f, e.next.sequence, e.next.period, e.next.first_time);
  f->timecode = e.next.timecode;
  if (--e.left == 0) {
    entries_.pop_front();
  } else {
    ++e.next.sequence;
    if (e.next.timecode_steps) e.next.timecode.increment();
  }
  return f;
}

}  // namespace ns_video_framerate
