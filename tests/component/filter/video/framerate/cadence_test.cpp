#include <gtest/gtest.h>

#include "filter/video/framerate/field_mix.h"
#include "frame_helpers.h"

namespace {

using namespace framerate_test;
using fields = std::vector<std::pair<int, int>>;

// Pictures 0..count-1 from 2 s through a converter for p; the (even, odd) luma
// sources of the outputs.
fields run(const framerate_params& p, int count, bool end, std::vector<frame_ptr>& out) {
  const picture_layout l = layout_of(p.format, p.width, p.height);
  out = convert(p, clip(l, count), {.start = 2.0, .end = end});
  fields got;
  for (const frame_ptr& f : out) got.push_back(luma_fields(*f, l));
  EXPECT_TRUE(out.empty() || out[0]->play_time == 2.0) << "the clock starts at the first picture";
  return got;
}

TEST(FieldMix, WeavesLumaAndWeavesOrAveragesChroma) {
  for (uint32_t format : {0u, 1u, 2u, 3u, 4u}) {
    SCOPED_TRACE(testing::Message() << "format " << format);
    const picture_layout l = layout_of(format, 6, 7);  // odd height: the last line is even, from a
    frame_ptr a(make_frame(l, 3)), b(make_frame(l, 9)), out(make_frame(l, 0));
    if (l.sample_bytes == 1) field_mix(out->data, a->data, b->data, l);
    else field_mix(reinterpret_cast<uint16_t*>(out->data), reinterpret_cast<const uint16_t*>(a->data),
                   reinterpret_cast<const uint16_t*>(b->data), l);
    for (uint32_t y = 0; y < l.height; ++y) EXPECT_EQ(line_source(*out, l, 0, y), (y & 1) ? 9 : 3) << y;
    for (int plane = 1; plane < 3; ++plane)
      for (uint32_t y = 0; y < l.chroma_height; ++y) {
        const uint32_t avg = (pattern(3, plane, y, 1) + pattern(9, plane, y, 1) + 1) / 2;
        if (format == 0) EXPECT_EQ(sample_at(out->data, 1, plane_offset(l, plane) + y * l.chroma_width), avg);
        else EXPECT_EQ(line_source(*out, l, plane, y), (y & 1) ? 9 : 3) << "chroma line " << y;
      }
  }
  uint16_t a[6] = {0, 0, 0, 0, 0xFFFF, 0xFFFF}, b[6] = {1, 1, 1, 1, 0xFFFD, 0xFFFC}, out[6];
  field_mix(out, a, b, layout_of(0, 2, 2));
  EXPECT_EQ(out[4], 0xFFFE) << "16-bit averages must not wrap";
  EXPECT_EQ(out[5], 0xFFFE);
}

// 24 -> 25 mixes two pictures at outputs 1, 26 ...; 25 -> 24 drops inputs 1, 26 ...
TEST(PalAndFilm, FilmToPalMixesOncePerTwentyFiveOutputsPalToFilmDropsOnce) {
  std::vector<frame_ptr> out;
  fields want = {{0, 0}, {0, 1}};
  for (int i = 1; i <= 24; ++i) want.push_back({i, i});
  want.insert(want.end(), {{24, 25}, {25, 25}});
  EXPECT_EQ(run(params_for(24, 25), 26, false, out), want);
  // Time codes restart from the first picture's time in 25 fps counting, one per output.
  for (size_t k = 0; k < out.size(); ++k) EXPECT_EQ(out[k]->timecode.frame_index(), 1000 + k);
  EXPECT_TRUE(run(params_for(24, 25), 1, false, out).empty()) << "one picture waits for its partner";
  EXPECT_EQ(run(params_for(24, 25), 1, true, out), (fields{{0, 0}}));
  EXPECT_EQ(run(params_for(24, 25, 4), 3, false, out), (fields{{0, 0}, {0, 1}, {1, 1}}));  // 16-bit 4:4:4
  EXPECT_EQ(line_source(*out[1], layout_of(4, 8, 8), 2, 5), 1) << "4:4:4 chroma is woven";

  want.clear();
  for (int i = 0; i < 50; ++i) {
    if (i != 1 && i != 26) want.push_back({i, i});
  }
  EXPECT_EQ(run(params_for(25, 24), 50, true, out), want);
}

TEST(Telecine, GroupsLookAheadShortEndsAndDrift) {
  std::vector<frame_ptr> out;
  const framerate_params p = params_for(23.976, 29.97);
  EXPECT_TRUE(run(p, 4, false, out).empty()) << "four pictures wait for the fifth";
  const fields group1 = {{0, 0}, {1, 1}, {1, 2}, {2, 3}, {3, 3}}, group2 = {{4, 4}, {5, 5}, {5, 6}, {6, 7}, {7, 7}};
  EXPECT_EQ(run(p, 5, false, out), group1);
  EXPECT_EQ(out[2]->data[64], (pattern(1, 1, 0, 1) + pattern(2, 1, 0, 1) + 1) / 2) << "4:2:0 chroma averaged";
  for (size_t tail = 1; tail <= 4; ++tail) {
    fields want = group1;
    want.insert(want.end(), group2.begin(), group2.begin() + (tail == 4 ? 5 : tail));
    EXPECT_EQ(run(p, 4 + static_cast<int>(tail), true, out), want) << "end with " << tail << " queued";
  }
  run(params_for(23.976, 29.97, 3), 5, false, out);  // 16-bit 4:2:2: chroma follows the luma fields
  const picture_layout l16 = layout_of(3, 8, 8);
  EXPECT_EQ(luma_fields(*out[3], l16), std::make_pair(2, 3));
  EXPECT_EQ(line_source(*out[3], l16, 1, 4), 2);
  EXPECT_EQ(line_source(*out[3], l16, 2, 7), 3);
  // 24.000 -> 29.97: the 200th group gives pictures 796..799 plainly (ids wrap at 256).
  const fields exact = run(params_for(24, 29.97), 801, false, out);
  ASSERT_EQ(exact.size(), 999u);
  EXPECT_EQ(fields(exact.end() - 4, exact.end()), (fields{{28, 28}, {29, 29}, {30, 30}, {31, 31}}));
  EXPECT_EQ(run(params_for(23.976, 29.97), 801, false, out).size(), 1000u);
  EXPECT_EQ(run(params_for(24, 30), 801, false, out).size(), 1000u);
}

}  // namespace
