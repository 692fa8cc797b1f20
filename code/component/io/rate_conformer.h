#pragma once
// Puts the pictures of a variable-rate stream on a constant-rate grid with the
// project's frame-rate converter (time-grid repeat and drop): each grid instant shows
// the first picture that is not yet half over there, each picture taken as one
// period long. One thread at a time.

#include "io/malloc_ptr.h"

#include <cstdint>
#include <memory>

namespace ns_video_framerate {
class framerate_filter;
}

namespace ns_media {

class rate_conformer {
public:
  // `layout_422` picks 8-bit 4:2:2 pictures over 4:2:0; width and height even.
  rate_conformer(double rate, bool layout_422, uint32_t width, uint32_t height);
  ~rate_conformer();
  rate_conformer(const rate_conformer&) = delete;
  rate_conformer& operator=(const rate_conformer&) = delete;

  // Hands over one whole picture shown from `seconds` on (stream order).
  void push(ns_y4m::malloc_ptr picture, uint32_t size, double seconds);
  // No more pictures: the last ones come out.
  void finish();
  // The next picture on the grid, or null when none is ready.
  ns_y4m::malloc_ptr pop();

private:
  struct filter_deleter {
    void operator()(ns_video_framerate::framerate_filter* f) const noexcept;
  };
  std::unique_ptr<ns_video_framerate::framerate_filter, filter_deleter> filter;
  const double period;
  uint64_t pushed = 0;
};

}  // namespace ns_media
