#include "filter/video/framerate/framerate_filter.h"

#include <new>

#include "filter/video/framerate/framerate_impl.h"

namespace ns_video_framerate {

framerate_filter* create_framerate_filter(uint32_t format) {
  if (format == 3 || format == 4) return new (std::nothrow) framerate_impl<uint16_t>();
  return new (std::nothrow) framerate_impl<uint8_t>();
}

int destroy_framerate_filter(framerate_filter* f) {
  if (!f) return 2;
  delete f;
  return 0;
}

}  // namespace ns_video_framerate
