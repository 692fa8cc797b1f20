#include "filter/video/resize/kx_resize.h"

#include "filter/video/resize/video_resize_impl.h"

namespace ns_video_resize {

kx_resize* create_video_resize(int32_t resize_format) {
  if (resize_format >= 7 && resize_format < 11) return new video_resize_impl<uint16_t>();
  return new video_resize_impl<uint8_t>();
}

void destroy_video_resize(kx_resize* resizer) { delete resizer; }

}  // namespace ns_video_resize
