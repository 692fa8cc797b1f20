#include "io/av_ptr.h"

#include <new>

namespace ns_media {

frame_ptr make_frame() {
  frame_ptr f(av_frame_alloc());
  if (!f) throw std::bad_alloc();
  return f;
}

packet_ptr make_packet() {
  packet_ptr p(av_packet_alloc());
  if (!p) throw std::bad_alloc();
  return p;
}

std::string av_error_text(int code) {
  char text[AV_ERROR_MAX_STRING_SIZE] = {};
  av_strerror(code, text, sizeof text);
  return text;
}

}  // namespace ns_media
