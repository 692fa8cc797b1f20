#include <gtest/gtest.h>

#include "filter/video/framerate/field_mix.h"
#include "frame_helpers.h"

namespace {

using namespace framerate_test;

// Pushes pictures 0..count-1 at `src` fps and returns the (even, odd) luma source of
// each output; `out` receives the records.
std::vector<std::pair<int, int>> run(framerate_params p, int count, bool end, std::vector<frame_ptr>& out) {
  const picture_layout l = layout_of(p.format, p.width, p.height);
  filter_ptr conv(create_framerate_filter(p.format));
  EXPECT_EQ(conv->configure(p), 0);
  out.clear();
  for (int i = 0; i < count; ++i) {
    conv->push_frame(make_frame(l, i, 2.0 + i / p.src_rate, 1 / p.src_rate));
    drain(*conv, out);
  }
  if (end) {
    conv->push_frame(nullptr);
    drain(*conv, out);
  }
  std::vector<std::pair<int, int>> fields;
  for (size_t k = 0; k < out.size(); ++k) {
    fields.push_back(luma_fields(*out[k], l));
    EXPECT_EQ(out[k]->sequence, k);
    EXPECT_DOUBLE_EQ(out[k]->play_time, 2.0 + k / p.dst_rate);
  }
  return fields;
}

using fields = std::vector<std::pair<int, int>>;

TEST(FieldMix, WeavesLumaAndWeavesOrAveragesChroma) {
  for (uint32_t format : {0u, 1u, 2u, 3u, 4u}) {
    const picture_layout l = layout_of(format, 6, 7);  // odd height: the last line is even
    frame_ptr a(make_frame(l, 3, 0, 0)), b(make_frame(l, 9, 0, 0)), out(make_frame(l, 0, 0, 0));
    if (l.sample_bytes == 1) field_mix(out->data, a->data, b->data, l);
    else field_mix(reinterpret_cast<uint16_t*>(out->data), reinterpret_cast<const uint16_t*>(a->data),
                   reinterpret_cast<const uint16_t*>(b->data), l);
    SCOPED_TRACE(testing::Message() << "format " << format);
    for (uint32_t y = 0; y < l.height; ++y) EXPECT_EQ(line_source(*out, l, 0, y), (y & 1) ? 9 : 3) << y;
    for (int plane = 1; plane < 3; ++plane)
      for (uint32_t y = 0; y < l.chroma_height; ++y) {
        if (format != 0) {
          EXPECT_EQ(line_source(*out, l, plane, y), (y & 1) ? 9 : 3) << "chroma line " << y;
          continue;
        }
        const uint32_t want = (pattern(3, plane, y, 1) + pattern(9, plane, y, 1) + 1) / 2;
        for (uint32_t x = 0; x < l.chroma_width; ++x)
          EXPECT_EQ(sample_at(out->data, 1, plane_offset(l, plane) + y * l.chroma_width + x), want);
      }
  }
  // 16-bit averages must not wrap: 0xFFFF with 0xFFFD gives 0xFFFE.
  const picture_layout l = layout_of(0, 2, 2);
  uint16_t a[6] = {0, 0, 0, 0, 0xFFFF, 0xFFFF}, b[6] = {1, 1, 1, 1, 0xFFFD, 0xFFFC}, out[6];
  ns_video_framerate::field_mix(out, a, b, l);
  EXPECT_EQ(out[4], 0xFFFE);
  EXPECT_EQ(out[5], 0xFFFE);
}

TEST(FilmToPal, MixesOncePerTwentyFiveOutputs) {
  std::vector<frame_ptr> out;
  fields want = {{0, 0}, {0, 1}};
  for (int i = 1; i <= 24; ++i) want.push_back({i, i});
  want.push_back({24, 25});
  want.push_back({25, 25});
  const fields got = run(params_for(24, 25), 26, false, out);
  EXPECT_EQ(got, want);
  // Time codes restart from the first picture's time in 25 fps counting, one per output.
  for (size_t k = 0; k < out.size(); ++k) EXPECT_EQ(out[k]->timecode.frame_index(), 1000 + k);

  run(params_for(24, 25), 1, false, out);
  EXPECT_TRUE(out.empty()) << "one picture waits for its partner";
  EXPECT_EQ(run(params_for(24, 25), 1, true, out), (fields{{0, 0}}));

  const framerate_params p = params_for(24, 25, 4);  // 16-bit 4:4:4
  EXPECT_EQ(run(p, 3, false, out), (fields{{0, 0}, {0, 1}, {1, 1}}));
  EXPECT_EQ(line_source(*out[1], layout_of(4, 8, 8), 2, 5), 1) << "4:4:4 chroma is woven";
}

TEST(PalToFilm, DropsInputsOneAndTwentySix) {
  std::vector<frame_ptr> out;
  const fields got = run(params_for(25, 24), 50, true, out);
  ASSERT_EQ(got.size(), 48u);
  std::vector<int> ids, want;
  for (const auto& f : got) ids.push_back(f.first);
  for (int i = 0; i < 50; ++i) {
    if (i != 1 && i != 26) want.push_back(i);
  }
  EXPECT_EQ(ids, want);
}

TEST(Telecine, GroupsLookAheadAndShortEnds) {
  std::vector<frame_ptr> out;
  const framerate_params p = params_for(23.976, 29.97);
  run(p, 4, false, out);
  EXPECT_TRUE(out.empty()) << "four pictures wait for the fifth";
  EXPECT_EQ(run(p, 5, false, out), (fields{{0, 0}, {1, 1}, {1, 2}, {2, 3}, {3, 3}}));
  const fields group2 = {{4, 4}, {5, 5}, {5, 6}, {6, 7}, {7, 7}};
  for (size_t tail = 1; tail <= 4; ++tail) {
    const fields got = run(p, 4 + static_cast<int>(tail), true, out);
    fields want = {{0, 0}, {1, 1}, {1, 2}, {2, 3}, {3, 3}};
    if (tail == 4) want.insert(want.end(), group2.begin(), group2.end());
    else want.insert(want.end(), group2.begin(), group2.begin() + tail);
    EXPECT_EQ(got, want) << "end with " << tail << " pictures queued";
  }
  // 16-bit 4:2:2: chroma follows the luma fields.
  run(params_for(23.976, 29.97, 3), 5, false, out);
  ASSERT_EQ(out.size(), 5u);
  const picture_layout l16 = layout_of(3, 8, 8);
  EXPECT_EQ(luma_fields(*out[3], l16), std::make_pair(2, 3));
  EXPECT_EQ(line_source(*out[3], l16, 1, 4), 2);
  EXPECT_EQ(line_source(*out[3], l16, 2, 7), 3);
  // 4:2:0 chroma of a mixed picture is the average of its two sources.
  run(p, 5, false, out);
  EXPECT_EQ(out[2]->data[64], (pattern(1, 1, 0, 1) + pattern(2, 1, 0, 1) + 1) / 2);
}

TEST(Telecine, DriftRuleOnlyForExactFilmToNtscVideo) {
  std::vector<frame_ptr> out;
  const fields exact = run(params_for(24, 29.97), 801, false, out);
  ASSERT_EQ(exact.size(), 999u) << "the 200th group gives four pictures";
  // Pictures 796..799 given plainly (8-bit patterns repeat every 256 pictures).
  EXPECT_EQ(fields(exact.end() - 4, exact.end()), (fields{{28, 28}, {29, 29}, {30, 30}, {31, 31}}));
  EXPECT_EQ(run(params_for(23.976, 29.97), 801, false, out).size(), 1000u);
  EXPECT_EQ(run(params_for(24, 30), 801, false, out).size(), 1000u);
}

}  // namespace
