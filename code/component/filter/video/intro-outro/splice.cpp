// The routing: intro, then main source, then outro, one frame per step.

#include "filter/video/intro-outro/VideoIntroOutroFilter.h"

namespace ns_video_introoutro {

int VideoIntroOutroFilter::runloop(ulbase::object_refcount*) {
  // A source at end of data has had every frame read, so the loop never waits on it;
  // a step may still find it finished and move on.
  while (has_frames_to_read(intro_index) || has_frames_to_read(main_index) || has_frames_to_read(outro_index)) {
    process();
  }
  flush();
  outWriters[0]->end();
  return 0;
}

bool VideoIntroOutroFilter::process() {
  if (intro_index != -1) return process_xtro_queue(intro_index, intro_rate, intro_resize);
  if (main_index != -1) return process_main_queue();
  if (outro_index != -1) return process_xtro_queue(outro_index, outro_rate, outro_resize);
  return false;
}

bool VideoIntroOutroFilter::process_main_queue() {
  KX::RPtr<KX::ZM::RFrame> frame = inReaders[main_index]->nextFrame();
  if (!frame) {
    main_index = -1;
    return false;
  }
  start_clock(*frame);
  // The same object goes out, stamped in place: this filter is its queue's one reader.
  put_stamped(std::move(frame));
  return true;
}

// Not at end of data: the queue has not ended, or this reader has not read every
// frame put (counts compared on their low 32 bits).
bool VideoIntroOutroFilter::has_frames_to_read(int32_t index) const {
  if (index == -1) return false;
  const KX::ZM::RQFrameReader& reader = *inReaders[index];
  if (!reader.eoq()) return true;
  return static_cast<uint32_t>(reader.getQueue()->getTotalNodes()) != static_cast<uint32_t>(reader.getTotalRead());
}

}  // namespace ns_video_introoutro
