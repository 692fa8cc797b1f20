#pragma once
// Tells a YUV4MPEG2 stream from anything else by its first bytes, without taking them
// from the input, so that the reader chosen afterwards sees the whole stream.

#include <string>

namespace ns_media {

// True when `path` ("-" = standard input) starts with "YUV4MPEG2 ", and also when it
// cannot be looked at (missing, unreadable, a terminal): the Y4M reader then reports
// why. Standard input is peeked without consuming it: read at its offset when it is a
// file, duplicated with tee(2) when it is a pipe.
bool looks_like_y4m(const std::string& path);

}  // namespace ns_media
