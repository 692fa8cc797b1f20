#pragma once
// Which sink an output name asks for, decided without FFmpeg.

#include <string>

namespace ns_media {

// True when `path` is written as raw YUV4MPEG2 ("-", a .y4m name, or a name without
// an extension such as a device) rather than through a media container.
bool writes_y4m(const std::string& path);

}  // namespace ns_media
