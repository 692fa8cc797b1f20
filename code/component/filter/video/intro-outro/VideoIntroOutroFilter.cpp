#include "filter/video/intro-outro/VideoIntroOutroFilter.h"

#include "filter/video/framerate/framerate_filter.h"
#include "filter/video/resize/kx_resize.h"

namespace ns_video_introoutro {

VideoIntroOutroFilter::~VideoIntroOutroFilter() {
  // Frames a converter still holds at the end of its clip are freed with it.
  ns_video_framerate::destroy_framerate_filter(intro_rate);
  ns_video_framerate::destroy_framerate_filter(outro_rate);
  ns_video_resize::destroy_video_resize(intro_resize);
  ns_video_resize::destroy_video_resize(outro_resize);
  delete[] conv_buffer;
}

// Nothing is held back between steps: a clip's converter keeps only frames that are
// not to be written.
void VideoIntroOutroFilter::flush() {}

}  // namespace ns_video_introoutro
