#include "io/output_kind.h"

#include <algorithm>
#include <cctype>

namespace ns_media {

bool writes_y4m(const std::string& path) {
  if (path == "-") return true;
  const size_t dot = path.rfind('.');
  if (dot == std::string::npos || path.find('/', dot) != std::string::npos) return true;
  std::string ext = path.substr(dot + 1);
  std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
  return ext == "y4m";
}

}  // namespace ns_media
