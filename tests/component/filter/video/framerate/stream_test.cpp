#include <gtest/gtest.h>

#include <random>

#include "frame_helpers.h"

namespace {

using namespace framerate_test;

// Every method over a longer stream: runs of pushes between drains, and a refused
// record in the middle, change no output; abandoned with records queued on both
// sides, the converter frees them (the sanitizer build's leak checker watches).
TEST(Stream, BurstsAndARefusedRecordChangeNothingAndAbandonedRecordsAreFreed) {
  const picture_layout l = layout_of(1, 8, 6);
  const std::vector<frame_ptr> in = clip(l, 120, true);
  const struct {
    double src, dst;
    uint32_t time_mode;
    size_t outputs;
  } cases[] = {{25, 30, 1000, 144}, {30, 24, 1002, 96},  {30, 15, 1000, 60},
               {24, 25, 1000, 125}, {25, 24, 1000, 115}, {23.976, 29.97, 1000, 150}};
  std::mt19937 rng(20240601);
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.src << " -> " << c.dst);
    framerate_params p = params_for(c.src, c.dst, 1, 8, 6);
    p.time_mode = c.time_mode;
    const std::vector<frame_ptr> single = convert(p, in, {.start = 1.0});
    EXPECT_EQ(single.size(), c.outputs);
    const std::vector<frame_ptr> bursts = convert(p, in, {.start = 1.0, .short_after = 50, .bursts = &rng});
    ASSERT_EQ(bursts.size(), single.size());
    for (size_t k = 0; k < single.size(); ++k) {
      const framerate_frame &a = *single[k], &b = *bursts[k];
      ASSERT_EQ(a.size, b.size);
      EXPECT_TRUE(std::memcmp(a.data, b.data, a.size) == 0 && std::memcmp(a.alpha, b.alpha, 48) == 0) << k;
      EXPECT_TRUE(a.play_time == b.play_time && a.timecode == b.timecode) << k;
    }
    convert(p, in, {.end = false, .drain = false});
  }
}

}  // namespace
