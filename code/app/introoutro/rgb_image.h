#pragma once
// An 8-bit RGB picture, rows top to bottom without padding.

#include "introoutro/bitmap_font.h"

#include <cstdint>
#include <vector>

namespace ns_introoutro {

struct rgb_image {
  rgb_image(int width, int height) : width(width), height(height), pixels(size_t(width) * height * 3) {}
  canvas view() { return {pixels.data(), ptrdiff_t{width} * 3, width, height, 3}; }

  int width;
  int height;
  std::vector<uint8_t> pixels;
};

}  // namespace ns_introoutro
