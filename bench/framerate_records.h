#pragma once
// Records and configuration blocks for the frame-rate benchmarks.

#include <cstdint>
#include <cstdlib>

#include "filter/video/framerate/framerate_filter.h"

namespace framerate_bench {

using ns_video_framerate::framerate_frame;

inline framerate_frame* new_record(size_t bytes) {
  auto* f = static_cast<framerate_frame*>(std::calloc(1, sizeof(framerate_frame)));
  f->size = static_cast<uint32_t>(bytes);
  f->data = static_cast<uint8_t*>(std::malloc(bytes));
  return f;
}

inline void free_record(framerate_frame* f) {
  std::free(f->data);
  std::free(f->alpha);
  std::free(f);
}

// A cadence-aware block for src -> dst fps pictures of `format`.
inline ns_video_framerate::framerate_params params(double src, double dst, uint32_t format, uint32_t width,
                                                   uint32_t height) {
  ns_video_framerate::framerate_params p{};
  p.cadence_aware = true;
  p.src_rate = src;
  p.dst_rate = dst;
  p.decimation = 1;
  p.format = format;
  p.width = width;
  p.height = height;
  return p;
}

}  // namespace framerate_bench
