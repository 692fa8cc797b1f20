#include <gtest/gtest.h>

#include "frame_helpers.h"

namespace {

using namespace framerate_test;

const picture_layout layout8 = layout_of(0, 8, 8);

// Pictures 0..count-1 at 25 fps from `start`, each with a key plane; returns the
// source of every output.
std::vector<int> run_grid(const framerate_params& p, int count, bool end, std::vector<frame_ptr>& out,
                          double start = 0.0) {
  out = convert(p, clip(layout8, count, true), {.start = start, .end = end});
  std::vector<int> ids;
  for (const frame_ptr& f : out) {
    ids.push_back(luma_fields(*f, layout8).first);
    EXPECT_TRUE(f->alpha && f->alpha[63] == ids.back()) << "the key plane travels with its picture";
  }
  return ids;
}

TEST(TimeGrid, TwentyFiveToThirtyByTimeModeAndTies) {
  framerate_params p = params_for(25, 30);
  std::vector<frame_ptr> out;
  // 1000: grid from first_time, a tie (100 ms instant = 100 ms middle) goes to the later
  // picture; the end fills up to the last picture's end (467 ms < 480 ms).
  p.time_mode = 1000;
  const std::vector<int> ids = run_grid(p, 12, true, out);
  EXPECT_EQ(ids, (std::vector<int>{0, 1, 2, 3, 3, 4, 5, 6, 7, 8, 8, 9, 10, 11, 11}));
  EXPECT_EQ(out[0]->play_time, 0.0);
  // Picture 0 carries 00:00:40:00 at 25 fps = picture 1200 at 30; then one per output.
  for (size_t k = 0; k < out.size(); ++k)
    EXPECT_EQ(out[k]->timecode, ulbase::timecode::from_frame_index(30, 1200 + k));
  p.keep_timecode = true;
  run_grid(p, 12, true, out);
  for (size_t k = 0; k < out.size(); ++k)
    EXPECT_EQ(out[k]->timecode, ulbase::timecode::from_frame_index(25, 1000 + ids[k]));
  p.keep_timecode = false;
  // 1002: one period late, ties to the earlier picture: picture 0 never shows.
  p.time_mode = 1002;
  EXPECT_EQ(run_grid(p, 12, false, out), (std::vector<int>{1, 2, 2, 3, 4, 5, 6, 7, 7, 8, 9, 10, 11}));
  EXPECT_EQ(out[0]->play_time, 0.0);
  p.time_mode = 1003;
  EXPECT_EQ(run_grid(p, 12, false, out), (std::vector<int>{1, 2, 3, 3, 4, 5, 6, 7, 8, 8, 9, 10, 11}));
  // Other modes start the grid at 0: a clip at 10 s shows its first picture at every
  // instant up to its middle, stamped from the snapped first time.
  p.time_mode = 0;
  EXPECT_EQ(run_grid(p, 1, false, out, 10.0), std::vector<int>(301, 0));
  EXPECT_DOUBLE_EQ(out[0]->play_time, 10.0);
  run_grid(p, 1, false, out, 10.0 - 0.0005);
  EXPECT_DOUBLE_EQ(out[0]->play_time, 10.0);
  EXPECT_TRUE(run_grid(p, 0, true, out).empty()) << "an empty stream outputs nothing";
  p = params_for(25, 48);  // unclassified: every output has the same empty code
  p.time_mode = 1000;
  run_grid(p, 12, true, out);
  ASSERT_FALSE(out.empty());
  for (const frame_ptr& f : out) EXPECT_EQ(f->timecode, ulbase::timecode());
}

TEST(Decimation, ThirtyToFifteenPassesEveryOtherRecordOn) {
  const std::vector<frame_ptr> out = convert(params_for(30, 15), clip(layout8, 10), {.start = 5.0});
  ASSERT_EQ(out.size(), 5u);
  for (size_t k = 0; k < out.size(); ++k) {
    EXPECT_EQ(luma_fields(*out[k], layout8).first, 2 * static_cast<int>(k));
    EXPECT_EQ(out[k]->timecode, ulbase::timecode::from_frame_index(25, 1000 + 2 * k, 2));
  }
  EXPECT_DOUBLE_EQ(out[0]->play_time, 5.0);
  // Kept records are passed on, not copied.
  filter_ptr conv(create_framerate_filter(0));
  framerate_params p = params_for(30, 15);
  ASSERT_EQ(conv->configure(p), 0);
  framerate_frame* kept = make_frame(layout8, 0);
  conv->push_frame(kept);
  const frame_ptr popped(conv->pop_frame());
  EXPECT_EQ(popped.get(), kept);
}

}  // namespace
