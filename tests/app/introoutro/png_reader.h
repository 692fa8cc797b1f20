#pragma once
// Decodes a PNG file (libpng) for checks on what introoutro wrote.

#include <png.h>

#include <cstdio>
#include <cstdint>
#include <string>
#include <vector>

namespace introoutro_test {

struct decoded_png {
  bool ok = false;
  uint32_t width = 0, height = 0;
  std::vector<uint8_t> rgb;  // 8-bit RGB rows, as written
  const uint8_t* pixel(uint32_t x, uint32_t y) const { return rgb.data() + (size_t(y) * width + x) * 3; }
};

inline decoded_png read_png(const std::string& path) {
  decoded_png out;
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_file(&image, path.c_str())) return out;
  image.format = PNG_FORMAT_RGB;
  out.rgb.resize(PNG_IMAGE_SIZE(image));
  if (!png_image_finish_read(&image, nullptr, out.rgb.data(), 0, nullptr)) {
    png_image_free(&image);
    return out;
  }
  out.ok = true;
  out.width = image.width;
  out.height = image.height;
  return out;
}

}  // namespace introoutro_test
