// Clips conformed to the main source's rate and size, through the plug-in in a
// graph of threads.

#include "splice_graph.h"

#include "frame_helpers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace introoutro_test {
namespace {

using ns_video_framerate::framerate_frame;

const double kMainRate = 30000.0 / 1001.0;
const double kMainPeriod = 1001.0 / 30000.0;

config_keys keys_for(uint32_t fourcc) {
  const std::string name = fourcc == kIYUV ? "IYUV" : "Y22P";
  return {{"system_informat", name}, {"system_outformat", name}};
}

// How many frames a converter set up as the filter sets it up makes of these clip
// frames at the main rate: what the filter must write for the clip (it drops what
// the converter still holds at the end).
size_t converter_output(const std::vector<RPtr<RVideoFrame>>& clip, double clip_rate, uint32_t fourcc, uint32_t width,
                        uint32_t height) {
  ns_video_framerate::framerate_params p =
      framerate_test::params_for(clip_rate, kMainRate, fourcc == kIYUV ? 0 : 1, width, height);
  p.adaptive_ivtc = true;
  p.keep_timecode = true;
  p.time_mode = 1000;
  framerate_test::filter_ptr converter(ns_video_framerate::create_framerate_filter(p.format));
  EXPECT_EQ(converter->configure(p), 0);
  std::vector<framerate_test::frame_ptr> out;
  for (const RPtr<RVideoFrame>& f : clip) {
    auto* r = static_cast<framerate_frame*>(std::calloc(1, sizeof(framerate_frame)));
    r->size = f->getDataLength();
    r->data = static_cast<uint8_t*>(std::malloc(r->size));
    std::memcpy(r->data, f->getData(), r->size);
    r->duration = f->getDuration().getSecondsAsDouble();
    r->play_time = r->decode_time = f->getPlayTime().getSecondsAsDouble();
    converter->push_frame(r);
    framerate_test::drain(*converter, out);
  }
  return out.size();
}

// The value of every byte, or -1 when they differ.
int flat_value(const uint8_t* p, size_t bytes) {
  return std::all_of(p, p + bytes, [p](uint8_t b) { return b == p[0]; }) ? p[0] : -1;
}

// Intro: 25 fps 1280x720, picture k flat luma 20 + 30k with an alpha plane of 100 + k
// and its own time code. Main: 30000/1001 fps 1920x1080, patterned. Outro: 24 fps
// 1280x720, one flat picture, no alpha (telecine weaves its fields, which stay that
// picture).
TEST(IntroOutroConversion, ClipsTakeTheMainRateAndSizeAroundAnUntouchedMain) {
  for (uint32_t fourcc : {kIYUV, kY22P}) {
    SCOPED_TRACE(fourcc == kIYUV ? "IYUV" : "Y22P");
    const uint32_t clip_plane = 1280 * 720;
    std::vector<RPtr<RVideoFrame>> intro, main, outro;
    for (uint8_t k = 0; k < 5; ++k) {
      intro.push_back(make_frame(fourcc, flat_picture(fourcc, 1280, 720, 20 + 30 * k, 90, 170), 10.0 + k * 0.04, 0.04));
      intro.back()->addParameter("alpha", byte_plane(clip_plane, 100 + k));
      intro.back()->setTimecode(ulbase::timecode::from_frame_index(ulbase::timecode::mode_25, 1000 + k));
      outro.push_back(make_frame(fourcc, flat_picture(fourcc, 1280, 720, 60, 110, 140), 3.0 + k / 24.0, 1 / 24.0));
    }
    std::vector<std::vector<uint8_t>> main_pictures;
    for (uint8_t k = 0; k < 2; ++k) {
      std::vector<uint8_t> p(picture_bytes(fourcc, 1920, 1080));
      for (size_t i = 0; i < p.size(); ++i) p[i] = static_cast<uint8_t>(i * 7 + k);
      main.push_back(make_frame(fourcc, p, 50.0 + k * kMainPeriod, kMainPeriod));
      main_pictures.push_back(std::move(p));
    }
    const size_t intro_count = converter_output(intro, 25.0, fourcc, 1280, 720);
    const size_t outro_count = converter_output(outro, 24.0, fourcc, 1280, 720);
    ASSERT_GT(intro_count, 0u);
    ASSERT_GT(outro_count, 0u);

    const splice_output out = run_splice({{"intro", video(1280, 720, 25.0), intro},
                                          {"main", video(1920, 1080, kMainRate), main},
                                          {"outro", video(1280, 720, 24.0), outro}},
                                         keys_for(fourcc));
    ASSERT_FALSE(out.error) << out.error->what();
    ASSERT_EQ(out.frames.size(), intro_count + main.size() + outro_count);
    double time = 10.0;
    for (size_t k = 0; k < out.frames.size(); ++k) {
      SCOPED_TRACE("frame " + std::to_string(k));
      const RFrame& f = *out.frames[k];
      EXPECT_EQ(f.getSequence(), k);
      EXPECT_EQ(f.getPlayTime().getSecondsAsDouble(), time);
      EXPECT_EQ(f.getDecodeTime(), f.getPlayTime());
      time += f.getDuration().getSecondsAsDouble();
      if (k >= intro_count && k < intro_count + main.size()) {
        EXPECT_EQ(&f, main[k - intro_count].get());
        EXPECT_EQ(bytes_of(f), main_pictures[k - intro_count]);
        continue;
      }
      EXPECT_EQ(f.getDataFormat(), fourcc);
      ASSERT_EQ(f.getDataLength(), picture_bytes(fourcc, 1920, 1080));
      EXPECT_NEAR(f.getDuration().getSecondsAsDouble(), kMainPeriod, 1e-12);
      if (k >= intro_count) {
        EXPECT_EQ(f.getParameterCount("alpha"), 0u);
        EXPECT_TRUE(bytes_of(f) == flat_picture(fourcc, 1920, 1080, 60, 110, 140));
        continue;
      }
      // The alpha plane stays at the clip's size and travels with its own picture and
      // time code.
      const KX::RBuffer* alpha = alpha_of(f);
      ASSERT_NE(alpha, nullptr);
      ASSERT_EQ(alpha->getUsed(), static_cast<int>(clip_plane));
      const int a = flat_value(alpha->getBuffer(), clip_plane) - 100;
      ASSERT_TRUE(a >= 0 && a < 5) << a;
      EXPECT_TRUE(bytes_of(f) == flat_picture(fourcc, 1920, 1080, 20 + 30 * a, 90, 170));
      EXPECT_EQ(static_cast<const RVideoFrame&>(f).getTimecode(), intro[a]->getTimecode());
    }
  }
}

// Without a converter a clip frame goes out as the same object, parameters, duration
// and all; a resizer only replaces its picture. Both clips resized share one buffer.
TEST(IntroOutroConversion, ClipsWithoutConverterKeepTheirFrames) {
  std::vector<RPtr<RVideoFrame>> intro, main, outro;
  for (uint8_t k = 0; k < 3; ++k) {
    intro.push_back(make_frame(kIYUV, flat_picture(kIYUV, 8, 4, 30 + k, 40, 50), k * 0.04, 0.04 + k * 0.01));
    intro.back()->addParameter("alpha", byte_plane(5, k));  // deliberately short: nothing reads it
    intro.back()->addParameter("label", byte_plane(1, k));
    main.push_back(tagged_frame(0x20 + k, 5.0 + k, 0.04));
    outro.push_back(make_frame(kIYUV, flat_picture(kIYUV, 16, 8, 70, 80, 90 + k), 0.0, 0.03));
  }
  const splice_output out = run_splice({{"intro", video(8, 4, 25.0), intro},
                                        {"main", video(4, 2, 25.0), main},
                                        {"outro", video(16, 8, 25.9), outro}},
                                       keys_for(kIYUV));
  ASSERT_FALSE(out.error) << out.error->what();
  ASSERT_EQ(out.frames.size(), 9u);
  for (int k = 0; k < 9; ++k) {
    SCOPED_TRACE("frame " + std::to_string(k));
    const RFrame& f = *out.frames[k];
    EXPECT_EQ(&f, (k < 3 ? intro : k < 6 ? main : outro)[k % 3].get());
    ASSERT_EQ(f.getDataLength(), 12u);
    if (k < 3) {
      EXPECT_EQ(f.getDuration().getSecondsAsDouble(), 0.04 + k * 0.01);
      EXPECT_EQ(f.getParameterCount("alpha") + f.getParameterCount("label"), 2u);
      EXPECT_EQ(bytes_of(f), flat_picture(kIYUV, 4, 2, 30 + k, 40, 50));
    } else if (k >= 6) {
      EXPECT_EQ(bytes_of(f), flat_picture(kIYUV, 4, 2, 70, 80, 90 + k - 6));
    }
  }
}

// A clip rate is compared in whole frames, so a 29.97 clip under a 29.97 main is
// converted all the same: its frames take the converter's period, not their own.
// Even pictures carry an alpha buffer of 5 bytes instead of 4 x 2: what is there is
// kept, the rest is zero, and nothing past its end is read.
TEST(IntroOutroConversion, FractionalClipRateUnderTheSameMainRateIsConverted) {
  std::vector<RPtr<RVideoFrame>> intro, main;
  for (uint8_t k = 0; k < 4; ++k) {
    intro.push_back(make_frame(kY22P, std::vector<uint8_t>(16, 0x10 + k), k * kMainPeriod, 0.5));
    if (k % 2 == 0) intro.back()->addParameter("alpha", byte_plane(5, 0x10 + k));
    main.push_back(make_frame(kY22P, std::vector<uint8_t>(16, 0x20 + k), 9.0 + k, 0.04));
  }
  const size_t intro_count = converter_output(intro, kMainRate, kY22P, 4, 2);
  const splice_output out =
      run_splice({{"main", video(4, 2, kMainRate), main}, {"intro", video(4, 2, kMainRate), intro}}, keys_for(kY22P));
  ASSERT_GT(intro_count, 0u);
  ASSERT_EQ(out.frames.size(), intro_count + 4);
  for (size_t k = 0; k < intro_count; ++k) {
    SCOPED_TRACE("frame " + std::to_string(k));
    const RFrame& f = *out.frames[k];
    EXPECT_NEAR(f.getDuration().getSecondsAsDouble(), kMainPeriod, 1e-12);
    const uint8_t tag = f.getData()[0];
    const KX::RBuffer* alpha = alpha_of(f);
    const std::vector<uint8_t> got = alpha ? std::vector<uint8_t>(alpha->getBuffer(), alpha->getBuffer() + alpha->getUsed())
                                           : std::vector<uint8_t>{};
    const std::vector<uint8_t> expected = {tag, tag, tag, tag, tag, 0, 0, 0};
    EXPECT_EQ(got, (tag - 0x10) % 2 == 0 ? expected : std::vector<uint8_t>{});
  }
}

}  // namespace
}  // namespace introoutro_test
