#include "filter/video/framerate/picture_layout.h"

namespace ns_video_framerate {

picture_layout layout_of(uint32_t format, uint32_t width, uint32_t height) {
  switch (format) {
    case 0: return {1, width, height, width / 2, height / 2};
    case 1: return {1, width, height, width / 2, height};
    case 2: return {1, width, height, width, height};
    case 3: return {2, width, height, width / 2, height};
    default: return {2, width, height, width, height};
  }
}

}  // namespace ns_video_framerate
