// The media source's pure pieces: rates and headers from stream properties, the
// picture converter, the variable-rate conformer and the Y4M sniffing.

#include "io/media_format.h"
#include "io/picture_converter.h"
#include "io/rate_conformer.h"
#include "io/stream_peek.h"
#include "y4m_test_files.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace ns_media;

AVRational q(int num, int den) { return {num, den}; }
bool same(AVRational a, AVRational b) { return a.num == b.num && a.den == b.den; }

TEST(MediaFormat, RatesAreExactAndVariableOnlyWhenTheGuessesDisagree) {
  const stream_rate ntsc = constant_rate(q(2997, 100), q(30000, 1001));
  EXPECT_TRUE(same(ntsc.rate, q(30000, 1001)));
  EXPECT_FALSE(ntsc.variable);
  EXPECT_TRUE(same(constant_rate(q(2997, 100), q(0, 0)).rate, q(30000, 1001)));
  const stream_rate vfr = constant_rate(q(30, 1), q(40, 2));
  EXPECT_TRUE(same(vfr.rate, q(20, 1)));
  EXPECT_TRUE(vfr.variable);
  // Not near a common rate: kept, reduced.
  EXPECT_TRUE(same(constant_rate(q(24690, 2000), q(0, 1)).rate, q(2469, 200)));
}

TEST(MediaFormat, HeaderCarriesFieldOrderAspectRangeAndSitingBothWays) {
  video_properties v;
  v.width = 720;
  v.height = 576;
  v.rate = q(25, 1);
  v.sample_aspect = q(32, 30);
  v.range = AVCOL_RANGE_JPEG;
  v.format = AV_PIX_FMT_YUV420P10LE;
  v.siting = AVCHROMA_LOC_TOPLEFT;
  const struct {
    AVFieldOrder in;
    std::optional<char> y4m;
    AVFieldOrder back;
  } orders[] = {{AV_FIELD_PROGRESSIVE, 'p', AV_FIELD_PROGRESSIVE}, {AV_FIELD_TB, 't', AV_FIELD_TT},
                {AV_FIELD_BT, 'b', AV_FIELD_BB}, {AV_FIELD_UNKNOWN, std::nullopt, AV_FIELD_UNKNOWN}};
  for (const auto& o : orders) {
    v.field_order = o.in;
    const ns_y4m::stream_header h = header_for(v, own_chroma(v));
    EXPECT_EQ(h.interlacing, o.y4m) << o.in;
    EXPECT_EQ(field_order_of(h), o.back) << o.in;
  }
  const ns_y4m::stream_header h = header_for(v, own_chroma(v));
  EXPECT_EQ(ns_y4m::format_stream_header(h), "YUV4MPEG2 W720 H576 F25:1 A16:15 C420paldv XCOLORRANGE=FULL\n");
  EXPECT_EQ(range_of(h), AVCOL_RANGE_JPEG);
  EXPECT_EQ(siting_of(h.sampling), AVCHROMA_LOC_TOPLEFT);

  v.format = AV_PIX_FMT_YUV422P10LE;
  EXPECT_EQ(own_chroma(v), ns_y4m::chroma::c422);
  v.format = AV_PIX_FMT_NV12;
  v.siting = AVCHROMA_LOC_UNSPECIFIED;
  EXPECT_EQ(own_chroma(v), ns_y4m::chroma::c420mpeg2);
  for (const ns_y4m::chroma c : {ns_y4m::chroma::c420jpeg, ns_y4m::chroma::c420mpeg2, ns_y4m::chroma::c420paldv}) {
    v.siting = siting_of(c);
    EXPECT_EQ(own_chroma(v), c) << ns_y4m::chroma_name(c);
  }
}

frame_ptr picture(AVPixelFormat format, int width, int height, bool interlaced = false) {
  frame_ptr f = make_frame();
  f->format = format;
  f->width = width;
  f->height = height;
  f->interlaced_frame = interlaced;
  f->color_range = AVCOL_RANGE_MPEG;
  EXPECT_EQ(av_frame_get_buffer(f.get(), 0), 0);
  return f;
}

template <class T>
T at(const AVFrame& f, int plane, int x, int y) {
  return reinterpret_cast<const T*>(f.data[plane] + ptrdiff_t{y} * f.linesize[plane])[x];
}
template <class T>
void set(AVFrame& f, int plane, int x, int y, T v) {
  reinterpret_cast<T*>(f.data[plane] + ptrdiff_t{y} * f.linesize[plane])[x] = v;
}

// 10-bit code 4v is 8-bit code v exactly (limited range): the dither must not move
// exact values, and a range or depth mix-up would.
TEST(PictureConverter, TenBitsToEightKeepExactCodesAndSayTheyWereDithered) {
  frame_ptr in = picture(AV_PIX_FMT_YUV422P10LE, 64, 8);
  for (int y = 0; y < 8; ++y) {
    for (int x = 0; x < 64; ++x) set<uint16_t>(*in, 0, x, y, static_cast<uint16_t>(4 * (16 + (x + 8 * y) % 220)));
    for (int x = 0; x < 32; ++x) {
      set<uint16_t>(*in, 1, x, y, static_cast<uint16_t>(4 * (16 + x * 7)));
      set<uint16_t>(*in, 2, x, y, static_cast<uint16_t>(4 * (240 - x * 7)));
    }
  }
  picture_converter c({AV_PIX_FMT_YUV422P, AVCHROMA_LOC_LEFT});
  EXPECT_FALSE(c.dithered());
  const frame_ptr out = c.convert(*in);
  EXPECT_TRUE(c.dithered());
  ASSERT_EQ(out->format, AV_PIX_FMT_YUV422P);
  for (int y = 0; y < 8; ++y) {
    for (int x = 0; x < 64; ++x) ASSERT_EQ(at<uint8_t>(*out, 0, x, y), 16 + (x + 8 * y) % 220) << x << "," << y;
    for (int x = 0; x < 32; ++x) {
      ASSERT_EQ(at<uint8_t>(*out, 1, x, y), 16 + x * 7) << x << "," << y;
      ASSERT_EQ(at<uint8_t>(*out, 2, x, y), 240 - x * 7) << x << "," << y;
    }
  }
}

TEST(PictureConverter, UnpacksSemiPlanarWithoutChangingASampleAndPassesItsOwnLayoutThrough) {
  frame_ptr in = picture(AV_PIX_FMT_NV12, 32, 8);
  for (int y = 0; y < 8; ++y) {
    for (int x = 0; x < 32; ++x) set<uint8_t>(*in, 0, x, y, static_cast<uint8_t>(x * 5 + y));
  }
  for (int y = 0; y < 4; ++y) {
    for (int x = 0; x < 16; ++x) {
      set<uint8_t>(*in, 1, 2 * x, y, static_cast<uint8_t>(20 + x + y));
      set<uint8_t>(*in, 1, 2 * x + 1, y, static_cast<uint8_t>(200 - x - y));
    }
  }
  picture_converter c({AV_PIX_FMT_YUV420P, AVCHROMA_LOC_LEFT});
  const frame_ptr out = c.convert(*in);
  for (int y = 0; y < 8; ++y) {
    for (int x = 0; x < 32; ++x) ASSERT_EQ(at<uint8_t>(*out, 0, x, y), x * 5 + y);
  }
  for (int y = 0; y < 4; ++y) {
    for (int x = 0; x < 16; ++x) {
      ASSERT_EQ(at<uint8_t>(*out, 1, x, y), 20 + x + y) << "U " << x << "," << y;
      ASSERT_EQ(at<uint8_t>(*out, 2, x, y), 200 - x - y) << "V " << x << "," << y;
    }
  }
  EXPECT_FALSE(c.dithered());
  // Already the target layout: the same picture, not a copy.
  const frame_ptr again = c.convert(*out);
  EXPECT_EQ(again->data[0], out->data[0]);
}

// 4:2:2 to 4:2:0 of an interlaced picture halves each field's chroma on its own: the
// colours of the two fields never mix.
TEST(PictureConverter, InterlacedChromaIsResampledFieldByField) {
  frame_ptr in = picture(AV_PIX_FMT_YUV422P, 32, 16, true);
  for (int y = 0; y < 16; ++y) {
    for (int x = 0; x < 32; ++x) set<uint8_t>(*in, 0, x, y, 100);
    for (int x = 0; x < 16; ++x) {
      set<uint8_t>(*in, 1, x, y, y % 2 == 0 ? 60 : 190);
      set<uint8_t>(*in, 2, x, y, y % 2 == 0 ? 190 : 60);
    }
  }
  picture_converter c({AV_PIX_FMT_YUV420P, AVCHROMA_LOC_LEFT});
  const frame_ptr out = c.convert(*in);
  for (int y = 0; y < 8; ++y) {
    for (int x = 0; x < 16; ++x) {
      ASSERT_EQ(at<uint8_t>(*out, 1, x, y), y % 2 == 0 ? 60 : 190) << x << "," << y;
      ASSERT_EQ(at<uint8_t>(*out, 2, x, y), y % 2 == 0 ? 190 : 60) << x << "," << y;
    }
  }
}

// Pictures at 0, 1, 3, 4 and 7 thirtieths of a second: every grid instant at 30 gets
// a picture, the first one not yet half over there, so the gaps are filled by
// repeats and no picture is lost.
TEST(RateConformer, GapsAreFilledByThePictureOnScreen) {
  const uint32_t size = 4 * 2 * 3 / 2;
  rate_conformer r(30.0, false, 4, 2);
  std::vector<int> shown;
  const auto drain = [&] {
    while (ns_y4m::malloc_ptr p = r.pop()) shown.push_back(p.get()[0]);
  };
  for (const int slot : {0, 1, 3, 4, 7}) {
    ns_y4m::malloc_ptr p = ns_y4m::malloc_bytes(size);
    std::fill(p.get(), p.get() + size, static_cast<uint8_t>(slot));
    r.push(std::move(p), size, slot / 30.0);
    drain();
  }
  r.finish();
  drain();
  EXPECT_EQ(shown, (std::vector<int>{0, 1, 3, 3, 4, 7, 7, 7}));
}

TEST(StreamPeek, OnlyTheWholeMagicWithItsSpaceIsY4m) {
  y4m_test::scratch_dir dir;
  EXPECT_TRUE(looks_like_y4m(y4m_test::write_file(dir / "a", "YUV4MPEG2 W2 H2 F1:1\n")));
  EXPECT_FALSE(looks_like_y4m(y4m_test::write_file(dir / "b", "YUV4MPEG2W2")));
  EXPECT_FALSE(looks_like_y4m(y4m_test::write_file(dir / "c", std::string("\0\0\0\x18" "ftypmp42", 12))));
  // Nothing to look at: the Y4M reader says why.
  EXPECT_TRUE(looks_like_y4m(dir / "missing"));
}

}  // namespace
