#include <gtest/gtest.h>

#include "frame_helpers.h"

namespace {

using namespace framerate_test;

const picture_layout layout8 = layout_of(0, 8, 8);

// Pushes `count` pictures at 25 fps from `start`, draining after each push, then the
// end of the stream (twice: the second must add nothing) when `end` is set. Returns
// the source id of every output and checks what every output must carry.
std::vector<int> run_grid(framerate_params p, int count, bool end, std::vector<frame_ptr>& out, double start = 0.0) {
  filter_ptr conv(create_framerate_filter(p.format));
  EXPECT_EQ(conv->configure(p), 0);
  out.clear();
  for (int i = 0; i < count; ++i) {
    conv->push_frame(make_frame(layout8, i, start + i * 0.04, 0.04, true));
    drain(*conv, out);
  }
  for (int i = 0; end && i < 2; ++i) {
    conv->push_frame(nullptr);
    drain(*conv, out);
  }
  std::vector<int> ids;
  for (size_t k = 0; k < out.size(); ++k) {
    ids.push_back(luma_fields(*out[k], layout8).first);
    EXPECT_EQ(out[k]->sequence, k);
    EXPECT_DOUBLE_EQ(out[k]->duration, 1.0 / p.dst_rate);
    EXPECT_TRUE(out[k]->alpha && out[k]->alpha[63] == ids.back()) << "the key plane travels with its picture";
  }
  return ids;
}

TEST(TimeGrid, TwentyFiveToThirtyByTimeModeAndTies) {
  framerate_params p = params_for(25, 30);
  std::vector<frame_ptr> out;
  // 1000: grid from first_time, a tie (100 ms instant = 100 ms middle) goes to the later
  // picture; the end fills up to the last picture's end (467 ms < 480 ms).
  p.time_mode = 1000;
  EXPECT_EQ(run_grid(p, 12, true, out), (std::vector<int>{0, 1, 2, 3, 3, 4, 5, 6, 7, 8, 8, 9, 10, 11, 11}));
  for (size_t k = 0; k < out.size(); ++k) EXPECT_DOUBLE_EQ(out[k]->play_time, k / 30.0);
  // 1002: one period late, ties to the earlier picture: picture 0 never shows.
  p.time_mode = 1002;
  EXPECT_EQ(run_grid(p, 12, false, out), (std::vector<int>{1, 2, 2, 3, 4, 5, 6, 7, 7, 8, 9, 10, 11}));
  EXPECT_DOUBLE_EQ(out[0]->play_time, 0.0);
  p.time_mode = 1003;
  EXPECT_EQ(run_grid(p, 12, false, out), (std::vector<int>{1, 2, 3, 3, 4, 5, 6, 7, 8, 8, 9, 10, 11}));
  // Other modes start the grid at 0: a clip at 10 s shows its first picture at every
  // instant up to its middle, stamped from the snapped first time.
  p.time_mode = 0;
  EXPECT_EQ(run_grid(p, 1, false, out, 10.0), std::vector<int>(301, 0));
  EXPECT_DOUBLE_EQ(out.back()->play_time, 20.0);
  run_grid(p, 1, false, out, 10.0 - 0.0005);
  EXPECT_DOUBLE_EQ(out.front()->play_time, 10.0);
  EXPECT_TRUE(run_grid(p, 0, true, out).empty()) << "an empty stream outputs nothing";
}

TEST(TimeGrid, TimeCodesKeptGeneratedOrDefault) {
  framerate_params p = params_for(25, 30);
  p.time_mode = 1000;
  std::vector<frame_ptr> out;
  const std::vector<int> ids = run_grid(p, 12, true, out);
  // Picture 0 carries 00:00:40:00 at 25 fps = picture 1200 at 30; then one per output.
  for (size_t k = 0; k < out.size(); ++k)
    EXPECT_EQ(out[k]->timecode, ulbase::timecode::from_frame_index(30, 1200 + k));
  p.keep_timecode = true;
  run_grid(p, 12, true, out);
  for (size_t k = 0; k < out.size(); ++k)
    EXPECT_EQ(out[k]->timecode, ulbase::timecode::from_frame_index(25, 1000 + ids[k]));
  p = params_for(25, 48);  // unclassified: every output has the same empty code
  p.time_mode = 1000;
  run_grid(p, 12, true, out);
  ASSERT_FALSE(out.empty());
  for (const frame_ptr& f : out) EXPECT_EQ(f->timecode, ulbase::timecode());
}

TEST(Decimation, ThirtyToFifteenPassesEveryOtherRecordOn) {
  framerate_params p = params_for(30, 15);
  filter_ptr conv(create_framerate_filter(0));
  ASSERT_EQ(conv->configure(p), 0);
  std::vector<frame_ptr> out;
  std::vector<uint8_t*> pushed;
  for (int i = 0; i <= 10; ++i) {
    framerate_frame* f = i < 10 ? make_frame(layout8, i, 5.0 + i / 30.0, 1 / 30.0) : nullptr;
    if (f) pushed.push_back(f->data);
    conv->push_frame(f);
    drain(*conv, out);
  }
  ASSERT_EQ(out.size(), 5u);
  for (size_t k = 0; k < out.size(); ++k) {
    EXPECT_EQ(out[k]->data, pushed[2 * k]) << "kept records are passed on, not copied";
    EXPECT_EQ(out[k]->sequence, k);
    EXPECT_DOUBLE_EQ(out[k]->duration, 2 / 30.0);
    EXPECT_DOUBLE_EQ(out[k]->play_time, 5.0 + 2 * k / 30.0);
    EXPECT_EQ(out[k]->timecode.step(), 2u);
  }
}

}  // namespace
