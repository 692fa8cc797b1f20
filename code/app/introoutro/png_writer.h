#pragma once
// Writes an RGB picture as a PNG file (libpng). Errors are std::runtime_error naming
// the file.

#include "introoutro/rgb_image.h"

#include <string>

namespace ns_introoutro {

void write_png(const std::string& path, const rgb_image& image);

}  // namespace ns_introoutro
