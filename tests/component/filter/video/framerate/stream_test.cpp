#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "frame_helpers.h"

namespace {

using namespace framerate_test;

const picture_layout layout = layout_of(1, 8, 6);
constexpr int inputs = 120;

// The whole stream with `burst(rng)` pushes between drains (1 without rng); with
// `with_short` a record one byte short follows picture 50 and must change nothing.
std::vector<frame_ptr> run_stream(framerate_params p, std::mt19937* rng, bool with_short) {
  filter_ptr conv(create_framerate_filter(p.format));
  EXPECT_EQ(conv->configure(p), 0);
  std::vector<frame_ptr> out;
  for (int next = 0; next <= inputs;) {
    for (int i = rng ? static_cast<int>((*rng)() % 7) : 0; i >= 0 && next <= inputs; --i, ++next) {
      conv->push_frame(next < inputs ? make_frame(layout, next, 1.0 + next / p.src_rate, 1 / p.src_rate, true)
                                     : nullptr);
      if (with_short && next == 50) {
        framerate_frame* bad = make_frame(layout, 99, 0.0, 0.0);
        --bad->size;
        conv->push_frame(bad);
      }
    }
    drain(*conv, out);
  }
  EXPECT_EQ(conv->rejected_frames(), with_short ? 1u : 0u);
  return out;
}

TEST(Stream, EveryPictureAccountedForAndBurstsEqualSingleSteps) {
  const auto params = [](double src, double dst, uint32_t time_mode = 1000) {
    framerate_params p = params_for(src, dst, 1, 8, 6);
    p.time_mode = time_mode;
    return p;
  };
  const struct {
    framerate_params params;
    size_t dropped, outputs;
  } cases[] = {
      {params(25, 30), 0, 144}, {params(30, 24, 1002), 25, 96},  // 1 in 5, and picture 0 before the late grid
      {params(30, 15), 60, 60}, {params(24, 25), 0, 125}, {params(25, 24), 5, 115}, {params(23.976, 29.97), 0, 150},
  };
  std::mt19937 rng(20240601);
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.params.src_rate << " -> " << c.params.dst_rate);
    const std::vector<frame_ptr> single = run_stream(c.params, nullptr, false);
    EXPECT_EQ(single.size(), c.outputs);
    // in = out + dropped - repeated, sources in order, stamps strictly increasing
    std::vector<bool> shown(inputs, false);
    size_t repeated = 0;
    for (size_t k = 0; k < single.size(); ++k) {
      const int id = luma_fields(*single[k], layout).first;
      const int previous = k ? luma_fields(*single[k - 1], layout).first : -1;
      ASSERT_GE(id, previous) << "output " << k;
      repeated += id == previous;
      shown[id] = true;
      EXPECT_EQ(single[k]->sequence, k);
      EXPECT_TRUE(k == 0 || single[k]->play_time > single[k - 1]->play_time) << "output " << k;
    }
    const auto dropped = static_cast<size_t>(std::count(shown.begin(), shown.end(), false));
    EXPECT_EQ(dropped, c.dropped);
    EXPECT_EQ(size_t{inputs}, single.size() + dropped - repeated);

    const std::vector<frame_ptr> bursts = run_stream(c.params, &rng, true);
    ASSERT_EQ(bursts.size(), single.size());
    for (size_t k = 0; k < single.size(); ++k) {
      const framerate_frame &a = *single[k], &b = *bursts[k];
      ASSERT_EQ(a.size, b.size);
      EXPECT_TRUE(std::memcmp(a.data, b.data, a.size) == 0 && std::memcmp(a.alpha, b.alpha, 48) == 0) << k;
      EXPECT_TRUE(a.play_time == b.play_time && a.duration == b.duration && a.timecode == b.timecode) << k;
    }
    // Abandoned with records queued on both sides: the destructor frees them (the
    // sanitizer build's leak checker watches this).
    filter_ptr conv(create_framerate_filter(1));
    framerate_params q = c.params;
    ASSERT_EQ(conv->configure(q), 0);
    for (int i = 0; i < 9; ++i) conv->push_frame(make_frame(layout, i, i / q.src_rate, 1 / q.src_rate, true));
  }
}

}  // namespace
