// The output stamp: one running count and one running clock for all three sources,
// so that the pieces join without a gap or a jump whatever their own times were.

#include "filter/video/intro-outro/VideoIntroOutroFilter.h"

namespace ns_video_introoutro {

void VideoIntroOutroFilter::start_clock(const KX::ZM::RFrame& frame) {
  if (time_started) return;
  time_started = true;
  next_time = frame.getPlayTime();
}

void VideoIntroOutroFilter::put_stamped(KX::RPtr<KX::ZM::RFrame> frame) {
  frame->setSequence(next_sequence++);  // wraps at 2^32
  frame->setDecodeTime(next_time);
  frame->setPlayTime(next_time);
  next_time += frame->getDuration();
  outWriters[0]->put(std::move(frame));
}

}  // namespace ns_video_introoutro
