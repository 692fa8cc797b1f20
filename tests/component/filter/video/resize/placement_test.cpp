#include <gtest/gtest.h>

#include <tuple>
#include <utility>
#include <vector>

#include "filter/video/resize/placement.h"

namespace ns_video_resize {
namespace {

struct geometry {
  int32_t result;
  uint32_t width, height;
};

geometry place(frame_placement& p, uint32_t format, uint32_t w, uint32_t h, const edges& crops, const edges& pads,
               uint32_t dst_w, uint32_t dst_h, uint32_t fit, float num = 0, float den = 0) {
  EXPECT_EQ(p.set_format(format, num != 0, w, h, num, den, 16), 1);
  p.set_framing(crops, pads);
  geometry g{};
  g.result = p.compute_geometry(dst_w, dst_h, fit, &g.width, &g.height);
  return g;
}

TEST(FramePlacement, FitsHdInto16By9StandardDefinition) {
  frame_placement pad;
  const geometry padded = place(pad, 1, 1920, 1080, {}, {}, 720, 576, fit_pad, 16, 9);
  EXPECT_DOUBLE_EQ(pad.target_aspect(), 1.25);
  EXPECT_EQ(std::pair(padded.width, padded.height), std::pair(1920u, 1536u));
  EXPECT_EQ(pad.pads(), (edges{0, 0, 228, 228}));

  frame_placement crop;
  const geometry cropped = place(crop, 1, 1920, 1080, {}, {}, 720, 576, fit_crop, 16, 9);
  EXPECT_EQ(std::pair(cropped.width, cropped.height), std::pair(1350u, 1080u));
  EXPECT_EQ(crop.crops(), (edges{286, 284, 0, 0})) << "285 on each side, moved to an even pair";
}

TEST(FramePlacement, IdentityAndOddSizesAndOddPairsBecomeEven) {
  for (uint32_t fit : {fit_stretch, fit_crop, fit_pad}) {
    frame_placement same;
    const geometry whole = place(same, 1, 720, 576, {}, {}, 720, 576, fit);
    EXPECT_EQ(std::tuple(whole.result, whole.width, whole.height), std::tuple(1, 720u, 576u));
    EXPECT_TRUE(same.identity()) << "no crop, pad or aspect, fit " << fit;
    // 719 columns kept, and a destination of the same shape, so no fitting happens:
    // padding adds a left border column, the other modes drop the first column.
    frame_placement p;
    const uint32_t width = place(p, 3, 720, 576, {1, 0, 0, 0}, {}, 719, 576, fit).width;
    EXPECT_EQ(std::tuple(width, p.crops().left, p.pads().left),
              fit == fit_pad ? std::tuple(720u, 1u, 1u) : std::tuple(718u, 2u, 0u)) << "fit " << fit;
  }

  frame_placement p;
  const geometry g = place(p, 3, 720, 576, {3, 1, 1, 3}, {1, 3, 5, 1}, 720, 576, fit_stretch);
  EXPECT_EQ(std::pair(g.width, g.height), std::pair(720u, 578u));
  EXPECT_EQ(p.crops(), (edges{4, 0, 2, 2}));
  EXPECT_EQ(p.pads(), (edges{2, 2, 6, 0}));
  EXPECT_FALSE(p.identity());
}

TEST(FramePlacement, RejectsGeometryItCannotPlace) {
  uint32_t w = 0, h = 0;
  frame_placement p;
  EXPECT_EQ(p.set_format(1, false, 720, 575, 0, 0, 0), -1);
  ASSERT_EQ(p.set_format(1, false, 720, 576, 0, 0, 0), 1);
  EXPECT_EQ(p.compute_geometry(720, 576, fit_stretch, &w, &h), -1) << "crops never handed over";
  p.set_framing({}, {});
  EXPECT_EQ(p.compute_geometry(720, 576, 3, &w, &h), -1);
  EXPECT_EQ(p.compute_geometry(0, 576, fit_stretch, &w, &h), -1);
  // Fitting that would crop more than the picture holds.
  p.set_framing({}, {0, 0, 4000, 4000});
  EXPECT_EQ(p.compute_geometry(16, 9, fit_crop, &w, &h), -1);
  std::vector<uint8_t> in(720 * 576 * 3 / 2), out(in.size(), 7);
  EXPECT_EQ(p.place_frame(in.data(), static_cast<uint32_t>(in.size()), out.data()), -1);
  EXPECT_EQ(out[0], 7);
}

TEST(FramePlacement, SixteenBitBordersAndCroppedChromaLandInPlace) {
  // 4:2:2 16-bit, 8x4: crop two columns at the left, pad 2 on every side.
  frame_placement p;
  const geometry g = place(p, 7, 8, 4, {2, 0, 0, 0}, {2, 2, 2, 2}, 10, 8, fit_stretch);
  ASSERT_EQ(std::tuple(g.result, g.width, g.height), std::tuple(1, 10u, 8u));
  std::vector<uint16_t> in(8 * 4 + 2 * 4 * 4);
  for (std::size_t i = 0; i < in.size(); ++i) in[i] = static_cast<uint16_t>(1000 + i);
  std::vector<uint16_t> out(10 * 8 + 2 * 5 * 8 + 4, 0xABCD);
  const uint32_t in_bytes = static_cast<uint32_t>(in.size() * 2);
  EXPECT_EQ(p.place_frame(in.data(), in_bytes - 2, out.data()), -1);
  EXPECT_EQ(out[0], 0xABCD) << "a short frame is not read or placed";
  ASSERT_EQ(p.place_frame(in.data(), in_bytes, out.data()), 1);

  const auto luma = [&](uint32_t x, uint32_t y) { return out[y * 10 + x]; };
  const auto u = [&](uint32_t x, uint32_t y) { return out[80 + y * 5 + x]; };
  const auto v = [&](uint32_t x, uint32_t y) { return out[120 + y * 5 + x]; };
  EXPECT_EQ(luma(0, 0), 0x1010);  // the fill byte 16 in both bytes
  EXPECT_EQ(luma(1, 3), 0x1010);
  EXPECT_EQ(luma(2, 2), 1000 + 0 * 8 + 2);  // source (2, 0) at (2, 2)
  EXPECT_EQ(luma(7, 5), 1000 + 3 * 8 + 7);  // source (7, 3)
  EXPECT_EQ(luma(8, 5), 0x1010);
  EXPECT_EQ(luma(2, 6), 0x1010);
  EXPECT_EQ(u(0, 2), 32768);
  EXPECT_EQ(u(1, 2), 1032 + 0 * 4 + 1);  // U (1, 0): the crop of 2 columns is 1 chroma column
  EXPECT_EQ(u(3, 5), 1032 + 3 * 4 + 3);
  EXPECT_EQ(u(4, 5), 32768);
  EXPECT_EQ(v(1, 2), 1048 + 1);
  EXPECT_EQ(v(1, 7), 32768);
  EXPECT_EQ(out[160], 0xABCD) << "nothing written past the placed frame";
}

}  // namespace
}  // namespace ns_video_resize
