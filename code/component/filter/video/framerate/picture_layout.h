#pragma once
// Plane geometry of the converter's picture layouts (formats 0..4): luma, then U and
// V, each plane's lines back to back without padding.

#include <cstddef>
#include <cstdint>

namespace ns_video_framerate {

struct picture_layout {
  uint32_t sample_bytes;  // 1 or 2
  uint32_t width, height;
  uint32_t chroma_width, chroma_height;

  size_t luma_samples() const { return size_t{width} * height; }
  size_t chroma_samples() const { return size_t{chroma_width} * chroma_height; }
  size_t samples() const { return luma_samples() + 2 * chroma_samples(); }
  size_t bytes() const { return samples() * sample_bytes; }
};

// Layout of `format` (0..4) at width x height; odd sizes halve chroma downwards.
picture_layout layout_of(uint32_t format, uint32_t width, uint32_t height);

}  // namespace ns_video_framerate
