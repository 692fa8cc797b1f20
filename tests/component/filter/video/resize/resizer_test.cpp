#include <gtest/gtest.h>

#include <random>

#include "filter/video/resize/video_resize_impl.h"
#include "resize_test_support.h"

namespace ns_video_resize {
namespace {

using namespace testing_support;

frame noise(uint32_t format, uint32_t w, uint32_t h, uint32_t seed) {
  std::mt19937 rng(seed);
  frame f(format, w, h);
  for (uint8_t& b : f.storage()) b = static_cast<uint8_t>(rng());
  return f;
}

TEST(Resizer, SameSizeCopiesTheFrameByteForByteWhateverTheBufferLength) {
  for (uint32_t format : {1u, 3u, 7u, 10u}) {
    SCOPED_TRACE(testing::Message() << "format " << format);
    auto r = make_resizer(format);
    ASSERT_EQ(configure(*r, {64, 36, 64, 36, format}), 1);
    frame in = noise(format, 64, 36, format);
    ASSERT_EQ(r->frame_bytes(), in.bytes());
    // A caller's buffer longer than one frame: the extra bytes are not taken.
    std::vector<uint8_t> longer(in.storage());
    longer.resize(longer.size() + 4096, 0xEE);
    std::vector<uint8_t> out(in.bytes() + 64, 0x5A);
    uint32_t out_bytes = 0;
    ASSERT_EQ(r->process(static_cast<uint32_t>(longer.size()), longer.data(), &out_bytes, out.data()), 1);
    EXPECT_EQ(out_bytes, r->frame_bytes());
    EXPECT_EQ(std::memcmp(out.data(), in.data(), in.bytes()), 0);
    EXPECT_EQ(out[in.bytes()], 0x5A);
  }
}

TEST(Resizer, FailedConfigurationsLeaveAResizerThatWritesNothing) {
  struct bad {
    const char* why;
    resize_args args;
    int32_t result;
  };
  const resize_args base{640, 360, 320, 180, 4};
  const bad cases[] = {
      {"odd source width", {640, 360, 721, 576, 1}, -1},
      {"odd source height", {640, 360, 720, 575, 3}, -1},
      {"unknown format", {640, 360, 320, 180, 11}, -1},
      {"zero destination", {0, 360, 320, 180, 1}, -1},
      {"fit mode 3", base | [](auto& a) { a.fit_mode = 3; }, -1},
      {"crops as wide as the source", base | [](auto& a) { a.crops = {160, 160, 0, 0}; }, -1},
      {"one-column destination", resize_args{1, 360, 320, 180, 4} | with_filter(filter_bilinear), -1},
      {"chroma narrower than the taps", resize_args{16, 16, 4, 4, 1} | with_filter(filter_cubic), -1},
      {"odd height by fields",
       resize_args{64, 35, 32, 32, 4} | [](auto& a) { a.scan_mode = 2, a.filter = filter_bilinear; }, -1},
      {"filter 5", base | with_filter(5), 0},
  };
  for (const bad& c : cases) {
    auto r = make_resizer(c.args.format);
    EXPECT_EQ(configure(*r, c.args), c.result) << c.why;
    EXPECT_EQ(r->frame_bytes(), 0u) << c.why;
    std::vector<uint8_t> in(720 * 576 * 2, 1), out(16, 0x5A);
    uint32_t out_bytes = 77;
    EXPECT_EQ(r->process(static_cast<uint32_t>(in.size()), in.data(), &out_bytes, out.data()), 0) << c.why;
    EXPECT_EQ(out_bytes, 77u) << c.why;
    EXPECT_EQ(out[0], 0x5A) << c.why;
  }
}

TEST(Resizer, BadFramesAreRefusedWithoutWriting) {
  auto r = make_resizer(4);
  ASSERT_EQ(configure(*r, resize_args{48, 24, 32, 16, 4} | with_filter(filter_cubic)), 1);
  const frame in = noise(4, 32, 16, 1);
  std::vector<uint8_t> out(r->frame_bytes(), 0x5A);
  uint32_t out_bytes = 77;
  EXPECT_EQ(r->process(in.bytes() - 1, in.data(), &out_bytes, out.data()), 0);
  EXPECT_EQ(r->process(in.bytes(), in.data(), nullptr, out.data()), 0);
  EXPECT_EQ(r->process(in.bytes(), in.data(), &out_bytes, nullptr), 0);
  EXPECT_EQ(out_bytes, 77u);
  EXPECT_TRUE(std::all_of(out.begin(), out.end(), [](uint8_t b) { return b == 0x5A; }));
  EXPECT_EQ(r->process(in.bytes(), in.data(), &out_bytes, out.data()), 1);
  EXPECT_EQ(out_bytes, r->frame_bytes());
  destroy_video_resize(nullptr);
}

// A null picture succeeds and writes no picture. Scaling progressively, on the
// resizer's own scaler or the converter, reports the frame size first all the same;
// by fields, placing only, or copying, the size is left as it was.
TEST(Resizer, ANullPictureReportsTheFrameSizeOnlyWhenScalingProgressively) {
  const auto fields = [](resize_args& a) { a.scan_mode = 2; };
  const struct {
    const char* flow;
    resize_args args;
    bool reports;
  } cases[] = {
      {"own scaler", resize_args{48, 24, 32, 16, 4} | with_filter(filter_cubic), true},
      {"converter", resize_args{48, 24, 32, 16, 1}, true},
      {"own scaler, 16-bit", resize_args{48, 24, 32, 16, 7} | with_filter(filter_bilinear), true},
      {"own scaler by fields", resize_args{48, 24, 32, 16, 4} | with_filter(filter_cubic) | fields, false},
      {"converter by fields", resize_args{48, 24, 32, 16, 1} | fields, false},
      {"placement only", resize_args{48, 24, 32, 16, 1} | [](auto& a) { a.scan_mode = 1; }, false},
      {"same size", resize_args{32, 16, 32, 16, 1}, false},
  };
  for (const auto& c : cases) {
    auto r = make_resizer(c.args.format);
    ASSERT_EQ(configure(*r, c.args), 1) << c.flow;
    std::vector<uint8_t> out(r->frame_bytes(), 0x5A);
    uint32_t out_bytes = 77;
    EXPECT_EQ(r->process(1000, nullptr, &out_bytes, out.data()), 1) << c.flow;
    EXPECT_EQ(out_bytes, c.reports ? r->frame_bytes() : 77u) << c.flow;
    EXPECT_TRUE(std::all_of(out.begin(), out.end(), [](uint8_t b) { return b == 0x5A; })) << c.flow;
    EXPECT_EQ(r->process(1000, nullptr, nullptr, nullptr), 1) << c.flow;
  }
}

TEST(Resizer, ReconfiguringReplacesEveryBuffer) {
  auto r = make_resizer(1);
  const resize_args up = resize_args{96, 54, 64, 36, 1} | with_filter(filter_bilinear);
  const resize_args down = resize_args{40, 20, 80, 40, 1} | with_filter(filter_nearest);
  for (const resize_args& a : {up, resize_args{0, 0, 64, 36, 1}, down}) {
    const int32_t result = configure(*r, a);
    ASSERT_EQ(result, a.dst_width == 0 ? -1 : 1);
    if (result != 1) continue;
    const frame in(1, a.src_width, a.src_height, [](uint32_t p, uint32_t, uint32_t) { return 50 + 60 * p; });
    ASSERT_EQ(r->frame_bytes(), frame(1, a.dst_width, a.dst_height).bytes());
    const frame out = run(*r, 1, a.dst_width, a.dst_height, in);
    for (uint32_t p = 0; p < 3; ++p)
      EXPECT_EQ(out.at(p, out.size(p).width - 1, out.size(p).height - 1), 50 + 60 * p);
  }
}

TEST(Resizer, PrefilterLevelFollowsTheReductionRatio) {
  struct level_case {
    uint32_t src_width, dst_width, prefilter, level;
  };
  const level_case cases[] = {{1700, 1000, 1, 0}, {1710, 1000, 1, 1}, {3800, 1000, 1, 1}, {3810, 1000, 1, 2},
                              {3810, 1000, 0, 0}, {1000, 1000, 2, 1}, {1000, 800, 2, 1}};
  for (const level_case& c : cases) {
    auto r = make_resizer(4);
    ASSERT_EQ(configure(*r, resize_args{c.dst_width, 8, c.src_width, 8, 4} |
                                [&](auto& a) { a.filter = filter_bilinear, a.prefilter = c.prefilter; }),
              1);
    EXPECT_EQ(dynamic_cast<video_resize_impl<uint8_t>&>(*r).prefilter_level(), c.level)
        << c.src_width << " -> " << c.dst_width << " prefilter " << c.prefilter;
  }
}

TEST(Resizer, PlacementModeCentresTheClipAndAspectModesFitIt) {
  // 8x4 into 12x8: two border columns and rows on each side.
  auto r = make_resizer(1);
  ASSERT_EQ(configure(*r, resize_args{12, 8, 8, 4, 1} | [](auto& a) { a.scan_mode = 1, a.fill = 16; }), 1);
  const frame in(1, 8, 4, [](uint32_t p, uint32_t x, uint32_t y) { return 30 + 50 * p + x + 8 * y; });
  const frame out = run(*r, 1, 12, 8, in);
  EXPECT_EQ(out.at(0, 1, 3), 16u);
  EXPECT_EQ(out.at(0, 2, 2), in.at(0, 0, 0));
  EXPECT_EQ(out.at(0, 9, 5), in.at(0, 7, 3));
  EXPECT_EQ(out.at(1, 0, 0), 128u);
  EXPECT_EQ(out.at(2, 4, 2), in.at(2, 3, 1));

  // 12x8 into 8x4: the centre is cut out.
  auto crop = make_resizer(1);
  ASSERT_EQ(configure(*crop, resize_args{8, 4, 12, 8, 1} | [](auto& a) { a.scan_mode = 1; }), 1);
  const frame big(1, 12, 8, [](uint32_t p, uint32_t x, uint32_t y) { return 20 + 60 * p + x + 12 * y; });
  const frame centre = run(*crop, 1, 8, 4, big);
  EXPECT_EQ(centre.at(0, 7, 3), big.at(0, 9, 5));
  EXPECT_EQ(centre.at(1, 3, 1), big.at(1, 4, 2));

  auto fit = make_resizer(4);
  ASSERT_EQ(configure(*fit, resize_args{720, 576, 1920, 1080, 4} |
                               [](auto& a) { a.aspect_mode = 3, a.fit_mode = fit_pad, a.filter = filter_nearest; }),
            1);
  const auto& impl = dynamic_cast<video_resize_impl<uint8_t>&>(*fit);
  EXPECT_EQ(impl.placed_width(), 1920u);
  EXPECT_EQ(impl.placed_height(), 1536u);
  EXPECT_EQ(fit->frame_bytes(), 3u * 720 * 576);
}

}  // namespace
}  // namespace ns_video_resize
