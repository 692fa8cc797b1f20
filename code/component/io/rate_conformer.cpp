#include "io/rate_conformer.h"

#include "filter/video/framerate/framerate_filter.h"

#include <stdexcept>

namespace ns_media {

using ns_video_framerate::framerate_frame;

void rate_conformer::filter_deleter::operator()(ns_video_framerate::framerate_filter* f) const noexcept {
  ns_video_framerate::destroy_framerate_filter(f);
}

rate_conformer::rate_conformer(double rate, bool layout_422, uint32_t width, uint32_t height) : period(1.0 / rate) {
  const uint32_t format = layout_422 ? 1 : 0;
  filter.reset(ns_video_framerate::create_framerate_filter(format));
  ns_video_framerate::framerate_params p{};
  p.src_rate = rate;
  p.dst_rate = rate;  // the same rate: only the time grid acts, never a cadence
  p.format = format;
  p.width = width;
  p.height = height;
  p.time_mode = 1000;  // the grid starts at the first picture
  if (filter->configure(p) != 0) throw std::runtime_error("the frame-rate converter refused the stream");
}

rate_conformer::~rate_conformer() = default;

void rate_conformer::push(ns_y4m::malloc_ptr picture, uint32_t size, double seconds) {
  auto* record = static_cast<framerate_frame*>(std::malloc(sizeof(framerate_frame)));
  if (record == nullptr) throw std::bad_alloc();
  *record = framerate_frame{picture.release(), size, period, seconds, seconds, pushed++, {}, nullptr};
  filter->push_frame(record);
}

void rate_conformer::finish() { filter->push_frame(nullptr); }

ns_y4m::malloc_ptr rate_conformer::pop() {
  framerate_frame* record = filter->pop_frame();
  if (record == nullptr) return nullptr;
  ns_y4m::malloc_ptr picture(record->data);
  std::free(record->alpha);
  std::free(record);
  return picture;
}

}  // namespace ns_media
