#include <gtest/gtest.h>

#include "frame_helpers.h"

namespace {

using namespace framerate_test;

const picture_layout layout8 = layout_of(0, 8, 8);

// Pushes pictures 0..count-1 at 25 fps from `start`, draining after each push, then
// (when `end`) the end of the stream. Returns the source id of every output.
std::vector<int> run_grid(framerate_params p, int count, bool end, std::vector<frame_ptr>* kept = nullptr,
                          double start = 0.0) {
  filter_ptr conv(create_framerate_filter(p.format));
  EXPECT_EQ(conv->configure(p), 0);
  std::vector<frame_ptr> out;
  for (int i = 0; i < count; ++i) {
    conv->push_frame(make_frame(layout8, i, start + i * 0.04, 0.04, true));
    drain(*conv, out);
  }
  if (end) {
    conv->push_frame(nullptr);
    drain(*conv, out);
    conv->push_frame(nullptr);
    EXPECT_EQ(conv->pop_frame(), nullptr) << "a second end of stream outputs nothing";
  }
  std::vector<int> ids;
  for (size_t k = 0; k < out.size(); ++k) {
    const framerate_frame& f = *out[k];
    ids.push_back(luma_fields(f, layout8).first);
    EXPECT_EQ(f.sequence, k);
    EXPECT_DOUBLE_EQ(f.duration, 1.0 / p.dst_rate);
    EXPECT_NE(f.alpha, nullptr);
    if (f.alpha) {
      EXPECT_EQ(f.alpha[63], ids.back()) << "the key plane travels with its picture";
    }
  }
  if (kept) *kept = std::move(out);
  return ids;
}

TEST(TimeGrid, TwentyFiveToThirtyByTimeModeAndTies) {
  framerate_params p = params_for(25, 30);
  p.time_mode = 1000;  // grid from first_time, ties to the later picture
  std::vector<frame_ptr> out;
  EXPECT_EQ(run_grid(p, 12, true, &out), (std::vector<int>{0, 1, 2, 3, 3, 4, 5, 6, 7, 8, 8, 9, 10, 11, 11}));
  for (size_t k = 0; k < out.size(); ++k) EXPECT_DOUBLE_EQ(out[k]->play_time, k / 30.0);
  p.time_mode = 1002;  // one period late, ties to the earlier picture: picture 0 never shows
  EXPECT_EQ(run_grid(p, 12, false), (std::vector<int>{1, 2, 2, 3, 4, 5, 6, 7, 7, 8, 9, 10, 11}));
  p.time_mode = 1003;
  EXPECT_EQ(run_grid(p, 12, false), (std::vector<int>{1, 2, 3, 3, 4, 5, 6, 7, 8, 8, 9, 10, 11}));
}

TEST(TimeGrid, OtherModesStartAtZeroAndStampFromTheSnappedFirstTime) {
  framerate_params p = params_for(25, 30);
  p.time_mode = 0;
  std::vector<frame_ptr> out;
  // A clip starting at 10 s: every instant from 0 up to its middle (10.02 s) shows it.
  const std::vector<int> ids = run_grid(p, 1, false, &out, 10.0);
  EXPECT_EQ(ids, std::vector<int>(301, 0));
  EXPECT_DOUBLE_EQ(out.front()->play_time, 10.0);
  EXPECT_DOUBLE_EQ(out.back()->play_time, 20.0);
  // A first picture a hair before an instant is snapped onto it.
  run_grid(p, 1, false, &out, 10.0 - 0.0005);
  EXPECT_DOUBLE_EQ(out.front()->play_time, 10.0);

  filter_ptr conv(create_framerate_filter(0));
  ASSERT_EQ(conv->configure(p), 0);
  conv->push_frame(nullptr);
  EXPECT_EQ(conv->pop_frame(), nullptr) << "an empty stream outputs nothing";
}

TEST(TimeGrid, TimeCodesKeptGeneratedOrDefault) {
  framerate_params p = params_for(25, 30);
  p.time_mode = 1000;
  std::vector<frame_ptr> out;
  const std::vector<int> ids = run_grid(p, 12, true, &out);
  // Picture 0 carries 00:00:40:00 at 25 fps = picture 1200 of 30 fps; then one per output.
  for (size_t k = 0; k < out.size(); ++k) {
    EXPECT_EQ(out[k]->timecode.mode(), ulbase::timecode::mode_30);
    EXPECT_EQ(out[k]->timecode.frame_index(), 1200 + k);
  }
  p.keep_timecode = true;
  run_grid(p, 12, true, &out);
  for (size_t k = 0; k < out.size(); ++k)
    EXPECT_EQ(out[k]->timecode, ulbase::timecode::from_frame_index(ulbase::timecode::mode_25, 1000 + ids[k]));
  p = params_for(25, 48);  // unclassified: every output has the same empty code
  p.time_mode = 1000;
  run_grid(p, 12, true, &out);
  ASSERT_FALSE(out.empty());
  for (const frame_ptr& f : out) EXPECT_EQ(f->timecode, ulbase::timecode());
}

TEST(Decimation, ThirtyToFifteenPassesEveryOtherRecordOn) {
  framerate_params p = params_for(30, 15);
  filter_ptr conv(create_framerate_filter(0));
  ASSERT_EQ(conv->configure(p), 0);
  ASSERT_TRUE(p.decimate);
  std::vector<frame_ptr> out;
  std::vector<uint8_t*> pushed;
  for (int i = 0; i < 10; ++i) {
    framerate_frame* f = make_frame(layout8, i, 5.0 + i / 30.0, 1 / 30.0);
    f->timecode.words[3] = 1;
    pushed.push_back(f->data);
    conv->push_frame(f);
    drain(*conv, out);
  }
  conv->push_frame(nullptr);
  drain(*conv, out);
  ASSERT_EQ(out.size(), 5u);
  for (size_t k = 0; k < out.size(); ++k) {
    const framerate_frame& f = *out[k];
    EXPECT_EQ(f.data, pushed[2 * k]) << "kept records are passed on, not copied";
    EXPECT_EQ(luma_fields(f, layout8).first, static_cast<int>(2 * k));
    EXPECT_EQ(f.sequence, k);
    EXPECT_DOUBLE_EQ(f.duration, 2 / 30.0);
    EXPECT_DOUBLE_EQ(f.play_time, 5.0 + 2 * k / 30.0);
    EXPECT_EQ(f.timecode.step(), 2u);
  }
}

}  // namespace
