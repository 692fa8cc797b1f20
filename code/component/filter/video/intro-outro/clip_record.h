#pragma once
// The frame-rate converter's record for one clip frame: malloc copies of the picture
// and its "alpha" plane, owned until handed to the converter or to a host frame.

#include "filter/video/framerate/framerate_filter.h"
#include "zm/RFrame.h"

#include <memory>

namespace ns_video_introoutro {

struct record_release {
  // Frees the record with whatever blocks it still holds.
  void operator()(ns_video_framerate::framerate_frame* record) const;
};
using record_ptr = std::unique_ptr<ns_video_framerate::framerate_frame, record_release>;

// The record of `frame`, whose pictures are width x height; alpha null when the
// frame has none. Throws std::bad_alloc when malloc fails.
record_ptr record_from_frame(const KX::ZM::RFrame& frame, uint32_t width, uint32_t height);

}  // namespace ns_video_introoutro
