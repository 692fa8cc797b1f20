#include "filter/video/intro-outro/clip_record.h"

#include "base/RBuffer.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

namespace ns_video_introoutro {

namespace {

// The converter frees these blocks, so they come from malloc; a zero-byte request
// still yields a block.
uint8_t* malloc_bytes(size_t bytes) {
  void* block = std::malloc(std::max<size_t>(bytes, 1));
  if (block == nullptr) throw std::bad_alloc();
  return static_cast<uint8_t*>(block);
}

// W x H bytes from the frame's "alpha" buffer. A shorter buffer is copied as far as
// it goes and the rest is zero (fully transparent) rather than read past its end.
uint8_t* alpha_copy(const KX::ZM::RFrame& frame, uint32_t width, uint32_t height) {
  if (frame.getParameterCount("alpha") == 0 || width == 0 || height == 0) return nullptr;
  const KX::RPtr<const ulbase::object_refcount> parameter = frame.getParameter("alpha");
  const auto* buffer = dynamic_cast<const KX::RBuffer*>(parameter.get());
  if (buffer == nullptr) return nullptr;
  const size_t plane = size_t{width} * height;
  const size_t present = std::min(plane, static_cast<size_t>(std::max(buffer->getUsed(), 0)));
  uint8_t* alpha = malloc_bytes(plane);
  if (present > 0) std::memcpy(alpha, buffer->getBuffer(), present);
  std::memset(alpha + present, 0, plane - present);
  return alpha;
}

}  // namespace

void record_release::operator()(ns_video_framerate::framerate_frame* record) const {
  std::free(record->data);
  std::free(record->alpha);
  std::free(record);
}

record_ptr record_from_frame(const KX::ZM::RFrame& frame, uint32_t width, uint32_t height) {
  auto* raw = static_cast<ns_video_framerate::framerate_frame*>(std::malloc(sizeof(ns_video_framerate::framerate_frame)));
  if (raw == nullptr) throw std::bad_alloc();
  // Every field is set before anything else can throw, so the release is always safe.
  raw->data = nullptr;
  raw->alpha = nullptr;
  record_ptr record(raw);
  record->data = malloc_bytes(frame.getDataLength());
  if (frame.getDataLength() > 0) std::memcpy(record->data, frame.getData(), frame.getDataLength());
  record->size = frame.getDataLength();
  record->duration = frame.getDuration().getSecondsAsDouble();
  record->play_time = frame.getPlayTime().getSecondsAsDouble();
  record->decode_time = frame.getDecodeTime().getSecondsAsDouble();
  record->sequence = frame.getSequence();
  const auto* video = dynamic_cast<const KX::ZM::RVideoFrame*>(&frame);
  new (&record->timecode) ulbase::timecode(video != nullptr ? video->getTimecode() : ulbase::timecode());
  record->alpha = alpha_copy(frame, width, height);
  return record;
}

}  // namespace ns_video_introoutro
