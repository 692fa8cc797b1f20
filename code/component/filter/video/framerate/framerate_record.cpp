#include "filter/video/framerate/framerate_record.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace ns_video_framerate {

framerate_frame* allocate_record(uint32_t bytes, const uint8_t* alpha, size_t alpha_bytes) {
  // malloc(0) may return null; a zero-sized buffer still gets a block of its own.
  auto* f = static_cast<framerate_frame*>(std::malloc(sizeof(framerate_frame)));
  auto* data = static_cast<uint8_t*>(std::malloc(bytes ? bytes : 1));
  auto* key = alpha ? static_cast<uint8_t*>(std::malloc(alpha_bytes ? alpha_bytes : 1)) : nullptr;
  if (!f || !data || (alpha && !key)) {
    std::free(f);
    std::free(data);
    std::free(key);
    throw std::bad_alloc();
  }
  if (key) std::memcpy(key, alpha, alpha_bytes);
  f->data = data;
  f->size = bytes;
  f->alpha = key;
  return f;
}

void release_record(framerate_frame* f) {
  if (!f) return;
  std::free(f->data);
  std::free(f->alpha);
  std::free(f);
}

}  // namespace ns_video_framerate
