#include <gtest/gtest.h>

#include <random>

#include "frame_helpers.h"

namespace {

using namespace framerate_test;

struct stream_case {
  const char* name;
  framerate_params params;
  size_t dropped;   // input pictures that no output shows
  size_t outputs;
};

const picture_layout layout = layout_of(1, 8, 6);
constexpr int inputs = 120;

// Runs the whole stream, pushing `burst(rng)` records between drains; a record one
// byte short is slipped in after picture 50 when `with_short` is set.
std::vector<frame_ptr> run_stream(const framerate_params& p, std::mt19937* rng, bool with_short) {
  framerate_params q = p;
  filter_ptr conv(create_framerate_filter(q.format));
  EXPECT_EQ(conv->configure(q), 0);
  std::vector<frame_ptr> out;
  int next = 0;
  while (next < inputs) {
    const int burst = rng ? static_cast<int>((*rng)() % 7) + 1 : 1;
    for (int i = 0; i < burst && next < inputs; ++i, ++next) {
      conv->push_frame(make_frame(layout, next, 1.0 + next / q.src_rate, 1 / q.src_rate, true));
      if (with_short && next == 50) {
        framerate_frame* bad = make_frame(layout, 99, 0.0, 0.0);
        --bad->size;
        conv->push_frame(bad);
      }
    }
    drain(*conv, out);
  }
  conv->push_frame(nullptr);
  drain(*conv, out);
  EXPECT_EQ(conv->rejected_frames(), with_short ? 1u : 0u);
  return out;
}

TEST(Stream, EveryPictureAccountedForAndBurstsEqualSingleSteps) {
  auto params = [](double src, double dst, uint32_t time_mode = 1000) {
    framerate_params p = params_for(src, dst, 1, 8, 6);
    p.time_mode = time_mode;
    return p;
  };
  const stream_case cases[] = {
      {"grid 25->30", params(25, 30), 0, 144},
      // one in five, and the first picture, which lies before the late-starting grid
      {"grid 30->24", params(30, 24, 1002), 25, 96},
      {"decimate 30->15", params(30, 15), 60, 60},
      {"24->25", params(24, 25), 0, 125},
      {"25->24", params(25, 24), 5, 115},
      {"telecine", params(23.976, 29.97), 0, 150},
  };
  std::mt19937 rng(20240601);
  for (const stream_case& c : cases) {
    SCOPED_TRACE(c.name);
    const std::vector<frame_ptr> single = run_stream(c.params, nullptr, false);
    EXPECT_EQ(single.size(), c.outputs);

    // in = out + dropped - repeated, sources in order, stamps strictly increasing
    std::vector<bool> shown(inputs, false);
    size_t repeated = 0;
    int previous = -1;
    for (size_t k = 0; k < single.size(); ++k) {
      const int id = luma_fields(*single[k], layout).first;
      ASSERT_GE(id, previous) << "output " << k;
      repeated += id == previous;
      shown[id] = true;
      previous = id;
      EXPECT_EQ(single[k]->sequence, k);
      EXPECT_TRUE(k == 0 || single[k]->play_time > single[k - 1]->play_time) << "output " << k;
    }
    const size_t dropped = static_cast<size_t>(std::count(shown.begin(), shown.end(), false));
    EXPECT_EQ(dropped, c.dropped);
    EXPECT_EQ(size_t{inputs}, single.size() + dropped - repeated);

    const std::vector<frame_ptr> bursts = run_stream(c.params, &rng, true);
    ASSERT_EQ(bursts.size(), single.size());
    for (size_t k = 0; k < single.size(); ++k) {
      const framerate_frame &a = *single[k], &b = *bursts[k];
      ASSERT_EQ(a.size, b.size);
      EXPECT_EQ(std::memcmp(a.data, b.data, a.size), 0) << "output " << k;
      EXPECT_EQ(std::memcmp(a.alpha, b.alpha, layout.luma_samples()), 0);
      EXPECT_EQ(a.play_time, b.play_time);
      EXPECT_EQ(a.duration, b.duration);
      EXPECT_EQ(a.timecode, b.timecode);
    }

    // Abandoned mid-stream with records queued on both sides: the destructor frees
    // them (the leak checker of the sanitizer build watches this).
    filter_ptr conv(create_framerate_filter(1));
    framerate_params q = c.params;
    ASSERT_EQ(conv->configure(q), 0);
    for (int i = 0; i < 9; ++i) conv->push_frame(make_frame(layout, i, i / q.src_rate, 1 / q.src_rate, true));
  }
}

}  // namespace
