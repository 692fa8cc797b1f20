#include "filter/video/resize/smoothing.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace ns_video_resize {
namespace {

// An impulse in the middle of every plane shows which planes were smoothed and how far
// each mask reaches; a value on the outer ring shows the ring is kept.
template <class S>
void check_smoothing_reach(uint32_t format, S peak) {
  const format_layout layout = *describe_format(format);
  constexpr uint32_t w = 12, h = 12;
  std::vector<S> frame(frame_samples(layout, w, h));
  std::vector<S> scratch(w * h);
  std::vector<S*> planes;
  std::vector<plane_size> sizes;
  for (S* p = frame.data(); planes.size() < plane_count(layout);) {
    planes.push_back(p);
    sizes.push_back(plane_dimensions(layout, static_cast<uint32_t>(planes.size() - 1), w, h));
    p += std::size_t{sizes.back().width} * sizes.back().height;
  }
  const auto at = [&](uint32_t p, uint32_t x, uint32_t y) -> S& { return planes[p][y * sizes[p].width + x]; };
  const auto mid_x = [&](uint32_t p) { return sizes[p].width / 2; };
  const auto mid_y = [&](uint32_t p) { return sizes[p].height / 2; };
  const uint32_t luma = layout.full_planes - 1;

  for (uint32_t level : {prefilter_none, prefilter_light, prefilter_strong}) {
    SCOPED_TRACE(testing::Message() << "format " << format << " level " << level);
    std::fill(frame.begin(), frame.end(), S{0});
    for (uint32_t p = 0; p < planes.size(); ++p) at(p, mid_x(p), mid_y(p)) = peak;
    at(luma, 0, 0) = peak;
    smooth_frame(frame.data(), layout, w, h, level, scratch.data());

    EXPECT_EQ(at(luma, 0, 0), peak) << "outer ring changed";
    for (uint32_t p = 0; p < planes.size(); ++p) {
      SCOPED_TRACE(testing::Message() << "plane " << p);
      const bool smoothed = level != prefilter_none && p >= luma;
      const uint32_t reach = !smoothed ? 0 : (p == luma && level == prefilter_strong) ? 2 : 1;
      EXPECT_EQ(at(p, mid_x(p), mid_y(p)) == peak, !smoothed);
      EXPECT_EQ(at(p, mid_x(p) + 1, mid_y(p)) != 0, reach >= 1);
      EXPECT_EQ(at(p, mid_x(p), mid_y(p) - 1) != 0, reach >= 1);
      EXPECT_EQ(at(p, mid_x(p) + 2, mid_y(p)) != 0, reach >= 2);
      EXPECT_EQ(at(p, mid_x(p), mid_y(p) + 2) != 0, reach >= 2);
    }
  }
}

TEST(Smoothing, ReachesTheLumaAndChromaPlanesItShouldAndKeepsTheRing) {
  check_smoothing_reach<uint8_t>(2, 255);     // E Y U V, 4:2:0
  check_smoothing_reach<uint16_t>(9, 65535);  // E Y U V, 4:2:2, 16-bit
}

}  // namespace
}  // namespace ns_video_resize
