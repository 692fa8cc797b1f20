// process_xtro_queue: one clip frame in, stamped and written out.

#include "filter/video/intro-outro/VideoIntroOutroFilter.h"

namespace ns_video_introoutro {

bool VideoIntroOutroFilter::process_xtro_queue(int32_t& index, ns_video_framerate::framerate_filter*,
                                               ns_video_resize::kx_resize*) {
  KX::RPtr<KX::ZM::RFrame> frame = inReaders[index]->nextFrame();
  if (!frame) {
    index = -1;
    return false;
  }
  start_clock(*frame);
  put_stamped(std::move(frame));
  return true;
}

}  // namespace ns_video_introoutro
