#pragma once
// Test pictures whose every line names its source picture and line, and one driver
// that feeds pictures to a converter and checks what every output must carry.

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <utility>
#include <vector>

#include "filter/video/framerate/framerate_filter.h"
#include "filter/video/framerate/picture_layout.h"

namespace framerate_test {

using namespace ns_video_framerate;

// Sample value of picture `id`, plane 0..2, line y. Adjacent lines and pictures
// differ, so a line from the wrong picture or one line off shows.
inline uint32_t pattern(uint32_t id, int plane, uint32_t y, uint32_t sample_bytes) {
  const uint32_t v = id * 31 + y + 85 * plane;
  return sample_bytes == 1 ? (v & 0xFF) : (v * 97) & 0xFFFF;
}

inline uint32_t sample_at(const uint8_t* data, uint32_t sample_bytes, size_t i) {
  return sample_bytes == 1 ? data[i] : reinterpret_cast<const uint16_t*>(data)[i];
}

inline size_t plane_offset(const picture_layout& l, int plane) {
  return plane == 0 ? 0 : l.luma_samples() + (plane - 1) * l.chroma_samples();
}

struct frame_deleter {
  void operator()(framerate_frame* f) const {
    std::free(f->data);
    std::free(f->alpha);
    std::free(f);
  }
};
using frame_ptr = std::unique_ptr<framerate_frame, frame_deleter>;

struct filter_deleter {
  void operator()(framerate_filter* f) const { destroy_framerate_filter(f); }
};
using filter_ptr = std::unique_ptr<framerate_filter, filter_deleter>;

// A malloc'd record of picture `id` (also its sequence), time code 1000 + id at
// 25 fps, with `alpha` a key plane of value id; untimed.
inline framerate_frame* make_frame(const picture_layout& l, uint32_t id, bool alpha = false) {
  auto* f = static_cast<framerate_frame*>(std::calloc(1, sizeof(framerate_frame)));
  f->size = static_cast<uint32_t>(l.bytes());
  f->data = static_cast<uint8_t*>(std::malloc(f->size));
  for (int plane = 0; plane < 3; ++plane)
    for (uint32_t y = 0; y < (plane ? l.chroma_height : l.height); ++y)
      for (uint32_t x = 0, w = plane ? l.chroma_width : l.width; x < w; ++x) {
        const size_t i = plane_offset(l, plane) + size_t{y} * w + x;
        const uint32_t v = pattern(id, plane, y, l.sample_bytes);
        if (l.sample_bytes == 1) f->data[i] = static_cast<uint8_t>(v);
        else reinterpret_cast<uint16_t*>(f->data)[i] = static_cast<uint16_t>(v);
      }
  f->sequence = id;
  f->timecode = ulbase::timecode::from_frame_index(ulbase::timecode::mode_25, 1000 + id);
  f->alpha = alpha ? static_cast<uint8_t*>(std::malloc(l.luma_samples())) : nullptr;
  if (alpha) std::memset(f->alpha, static_cast<int>(id & 0xFF), l.luma_samples());
  return f;
}

inline std::vector<frame_ptr> clip(const picture_layout& l, int count, bool alpha = false) {
  std::vector<frame_ptr> pictures;
  for (int i = 0; i < count; ++i) pictures.emplace_back(make_frame(l, static_cast<uint32_t>(i), alpha));
  return pictures;
}

inline framerate_frame* copy_of(const framerate_frame& src, size_t alpha_bytes) {
  auto* f = static_cast<framerate_frame*>(std::malloc(sizeof(framerate_frame)));
  *f = src;
  f->data = static_cast<uint8_t*>(std::malloc(src.size));
  std::memcpy(f->data, src.data, src.size);
  f->alpha = src.alpha ? static_cast<uint8_t*>(std::malloc(alpha_bytes)) : nullptr;
  if (src.alpha) std::memcpy(f->alpha, src.alpha, alpha_bytes);
  return f;
}

inline void drain(framerate_filter& c, std::vector<frame_ptr>& out) {
  while (framerate_frame* f = c.pop_frame()) out.emplace_back(f);
}

// How convert() feeds a converter.
struct feed {
  double start = 0.0;              // play time of the first picture
  bool end = true;                 // end the stream, twice: the second end must add nothing
  int short_after = -1;            // after this picture, a copy of it one byte short
  std::mt19937* bursts = nullptr;  // random runs of 1 to 7 pushes between drains
  bool drain = true;               // false: abandon the converter with its records
};

// Pushes copies of `in`, re-timed at p.src_rate, and returns the outputs. Whatever the
// method, outputs are numbered 0, 1, 2 ..., last one output period each and are
// stamped a period apart; only the short record is refused.
inline std::vector<frame_ptr> convert(framerate_params p, const std::vector<frame_ptr>& in, const feed& how = {}) {
  filter_ptr conv(create_framerate_filter(p.format));
  EXPECT_EQ(conv->configure(p), 0);
  const size_t luma = layout_of(p.format, p.width, p.height).luma_samples();
  const int pushes = static_cast<int>(in.size()) + (how.short_after >= 0);
  std::vector<frame_ptr> out;
  for (int i = 0; i < pushes;) {
    for (int run = how.bursts ? static_cast<int>((*how.bursts)() % 7) : 0; run >= 0 && i < pushes; --run, ++i) {
      const int from = how.short_after >= 0 && i > how.short_after ? i - 1 : i;
      framerate_frame* f = copy_of(*in[from], luma);
      f->play_time = f->decode_time = how.start + from / p.src_rate;
      f->duration = 1 / p.src_rate;
      if (i == how.short_after + 1 && how.short_after >= 0) --f->size;
      conv->push_frame(f);
    }
    if (how.drain) drain(*conv, out);
  }
  for (int ends = how.end ? 2 : 0; ends > 0; --ends) {
    const size_t before = out.size();
    conv->push_frame(nullptr);
    if (how.drain) drain(*conv, out);
    EXPECT_TRUE(ends == 2 || out.size() == before) << "a second end added outputs";
  }
  EXPECT_EQ(conv->rejected_frames(), how.short_after >= 0 ? 1u : 0u);
  for (size_t k = 0; k < out.size(); ++k) {
    EXPECT_EQ(out[k]->sequence, k);
    EXPECT_DOUBLE_EQ(out[k]->duration, 1 / p.dst_rate) << "output " << k;
    EXPECT_DOUBLE_EQ(out[k]->play_time, out[0]->play_time + k / p.dst_rate) << "output " << k;
  }
  return out;
}

// The id (below 256) of the picture that line y of `plane` in `f` comes from, or -1.
inline int line_source(const framerate_frame& f, const picture_layout& l, int plane, uint32_t y) {
  const uint32_t w = plane ? l.chroma_width : l.width;
  const size_t at = plane_offset(l, plane) + size_t{y} * w;
  for (uint32_t id = 0; id < 256; ++id) {
    bool all = true;
    for (uint32_t x = 0; x < w && all; ++x)
      all = sample_at(f.data, l.sample_bytes, at + x) == pattern(id, plane, y, l.sample_bytes);
    if (all) return static_cast<int>(id);
  }
  return -1;
}

// Ids of the pictures behind the even and odd luma lines of `f` ({-1, -1} if mixed).
inline std::pair<int, int> luma_fields(const framerate_frame& f, const picture_layout& l) {
  std::pair<int, int> ids{line_source(f, l, 0, 0), line_source(f, l, 0, 1)};
  for (uint32_t y = 2; y < l.height; ++y)
    if (line_source(f, l, 0, y) != ((y & 1) ? ids.second : ids.first)) return {-1, -1};
  return ids;
}

inline framerate_params params_for(double src, double dst, uint32_t format = 0, uint32_t width = 8,
                                   uint32_t height = 8) {
  framerate_params p{};
  p.cadence_aware = true;
  p.src_rate = src;
  p.dst_rate = dst;
  p.decimation = 1;
  p.format = format;
  p.width = width;
  p.height = height;
  return p;
}

}  // namespace framerate_test
