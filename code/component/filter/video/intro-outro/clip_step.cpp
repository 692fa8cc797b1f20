// process_xtro_queue: one clip frame in; out go the frames it becomes at the main
// source's rate and size, stamped.

#include "filter/video/intro-outro/VideoIntroOutroFilter.h"
#include "filter/video/intro-outro/clip_record.h"

#include "base/RBuffer.h"
#include "filter/video/framerate/framerate_filter.h"
#include "filter/video/resize/kx_resize.h"

namespace ns_video_introoutro {

bool VideoIntroOutroFilter::process_xtro_queue(int32_t& index, ns_video_framerate::framerate_filter* rate,
                                               ns_video_resize::kx_resize* resize) {
  KX::RPtr<KX::ZM::RFrame> frame = inReaders[index]->nextFrame();
  if (!frame) {
    // Frames the converter still holds are not written; it frees them when destroyed.
    index = -1;
    return false;
  }
  start_clock(*frame);

  if (rate == nullptr) {
    // The same frame goes out with all its parameters, duration and time code.
    if (resize != nullptr) resize_picture(*frame, *resize);
    put_stamped(std::move(frame));
    return true;
  }

  const bool intro = &index == &intro_index;
  const uint32_t width = intro ? intro_width : outro_width;
  const uint32_t height = intro ? intro_height : outro_height;
  // The converter works on its own copies; the clip frame stays untouched.
  rate->push_frame(record_from_frame(*frame, width, height).release());

  bool wrote = false;
  while (ns_video_framerate::framerate_frame* popped = rate->pop_frame()) {
    record_ptr record(popped);
    KX::RPtr<KX::ZM::RVideoFrame> converted = KX::ZM::RVideoFrame::createWithData(
        frame->getDataFormat(), record->size, record->data, 0, KX::kTakeOver);
    record->data = nullptr;
    converted->setDuration(KX::CTimeStamp::createWithSeconds(record->duration));
    converted->setTimecode(record->timecode);
    if (record->alpha != nullptr) {
      // The plane keeps the clip's size even when the picture is resized.
      KX::RPtr<KX::RBuffer> alpha(new KX::RBuffer(static_cast<int>(width * height), record->alpha, KX::kTakeOver));
      record->alpha = nullptr;
      converted->addParameter("alpha", alpha);
    }
    if (resize != nullptr) resize_picture(*converted, *resize);
    put_stamped(std::move(converted));
    wrote = true;
  }
  return wrote;
}

void VideoIntroOutroFilter::resize_picture(KX::ZM::RFrame& frame, ns_video_resize::kx_resize& resize) {
  // A resizer that reports no byte count leaves a whole main-size picture.
  uint32_t bytes = resize.frame_bytes();
  resize.process(frame.getDataLength(), frame.getData(), &bytes, conv_buffer);
  // A copy, so that conv_buffer serves the next picture at once.
  frame.setData(bytes, conv_buffer, KX::kCopy);
}

}  // namespace ns_video_introoutro
