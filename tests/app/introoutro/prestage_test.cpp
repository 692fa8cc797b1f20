// The host's stages around the filter, through the built program and the real
// plug-in: converted clips come out whole, clips of another display aspect are
// fitted, and --matte writes the output's alpha.

#include "introoutro/clip_ending.h"
#include "introoutro/splice_plan.h"
#include "io/frame_clock.h"
#include "io/y4m_reader.h"
#include "run_program.h"
#include "y4m_test_files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>

namespace {

using namespace introoutro_test;

class IntrooutroStages : public ::testing::Test {
protected:
  run_result run(const std::vector<std::string>& args) {
    run_setup s;
    s.stderr_file = dir / "stderr.txt";
    return run_program(INTROOUTRO_BIN, args, s);
  }

  // A stream of flat frames: luma y(n), chroma neutral (or a mono plane).
  std::string flat(const std::string& name, const std::string& header, uint64_t frames,
                   const std::function<uint8_t(uint64_t)>& y) {
    const ns_y4m::stream_header h = ns_y4m::parse_stream_header(header);
    const size_t luma = size_t{h.width} * h.height;
    std::string s = header + "\n";
    for (uint64_t n = 0; n < frames; ++n) {
      s += "FRAME\n" + std::string(luma, static_cast<char>(y(n))) +
           std::string(ns_y4m::picture_bytes(h) - luma, '\x80');
    }
    return y4m_test::write_file(dir / name, s);
  }

  static std::vector<std::string> frames_of(const std::string& path) {
    ns_y4m::y4m_reader r(path);
    std::vector<std::string> frames;
    std::string f(r.picture_size(), '\0');
    while (r.read_frame(reinterpret_cast<uint8_t*>(f.data()))) frames.push_back(f);
    return frames;
  }

  y4m_test::scratch_dir dir;
};

// A converted clip gives its whole duration at the main rate, for each method of the
// converter: the time grid, telecine, 24->25, 25->24 and decimation, a one-frame clip
// and a title card held 30 s. The outro's frames are those after the main source's
// (luma 200), and the plan predicts the output's length exactly.
TEST_F(IntrooutroStages, ConvertedClipsComeOutWhole) {
  struct clip_case {
    const char* what;
    ns_y4m::ratio clip_rate;
    ns_y4m::ratio main_rate;
    uint64_t frames;
    double tolerance;  // output frames
    bool last_shown = true;  // false: the method itself drops the last picture
  };
  const std::vector<clip_case> cases = {
      {"time grid 25 -> 29.97", {25, 1}, {30000, 1001}, 50, 1},
      {"time grid 30 -> 25", {30, 1}, {25, 1}, 61, 1},
      {"telecine 24 -> 29.97", {24, 1}, {30000, 1001}, 48, 1},
      {"telecine 23.976 -> 29.97", {24000, 1001}, {30000, 1001}, 96, 1},
      {"24 -> 25", {24, 1}, {25, 1}, 48, 1},
      {"25 -> 24", {25, 1}, {24, 1}, 50, 1},
      {"decimation 50 -> 25", {50, 1}, {25, 1}, 51, 1},
      {"decimation 59.94 -> 29.97", {60000, 1001}, {30000, 1001}, 60, 1, false},
      {"one frame, time grid", {25, 1}, {30000, 1001}, 1, 1},
      {"one frame, 25 -> 24", {25, 1}, {24, 1}, 1, 1},
      // The cadence mixes the first two pictures of every 24 into three outputs, so
      // one picture comes out as three frames or not at all.
      {"one frame, 24 -> 25", {24, 1}, {25, 1}, 1, 2},
      {"title card F1:30", {1, 30}, {25, 1}, 1, 750 * 0.02},
  };
  for (const clip_case& c : cases) {
    SCOPED_TRACE(c.what);
    const auto header = [](ns_y4m::ratio r) {
      return "YUV4MPEG2 W32 H24 F" + std::to_string(r.num) + ":" + std::to_string(r.den);
    };
    const std::string outro = flat("o.y4m", header(c.clip_rate), c.frames, [](uint64_t n) { return 20 + n % 100; });
    const std::string main = flat("m.y4m", header(c.main_rate), 3, [](uint64_t) { return 200; });
    const std::string out = dir / "out.y4m";
    const run_result r = run({"--main", main, "--outro", outro, "-o", out, "-q"});
    ASSERT_EQ(r.status, 0) << r.err;
    const std::vector<std::string> frames = frames_of(out);
    ASSERT_GE(frames.size(), 3u);
    EXPECT_EQ(frames[2][0], '\xc8');
    const double whole = static_cast<double>(c.frames) * ns_y4m::frame_clock(c.main_rate).frames_per_second() /
                         ns_y4m::frame_clock(c.clip_rate).frames_per_second();
    const double got = static_cast<double>(frames.size() - 3);
    EXPECT_GE(got, 1.0);
    EXPECT_LE(std::fabs(got - std::round(whole)), c.tolerance) << got << " frames for " << whole;
    if (c.last_shown) {
      EXPECT_EQ(static_cast<uint8_t>(frames.back()[0]), 20 + (c.frames - 1) % 100);
    }

    using namespace ns_introoutro;
    const auto planned = expected_output({{role::main, main, ns_y4m::y4m_reader(main).header(), 3, true},
                                          {role::outro, outro, ns_y4m::y4m_reader(outro).header(), c.frames, true}});
    ASSERT_TRUE(planned);
    EXPECT_TRUE(planned->exact);
    EXPECT_EQ(planned->frames, frames.size());
  }
}

// Every clip length from 1 to 300 frames, as the plan predicts the splice: the time
// grid, decimation and 25->24 to within a frame of the clip's duration; 24->25 too,
// and telecine within half its group of five. No clip vanishes: a lone picture that
// a cadence can only release with a whole group (A, A/A', A' for 24->25) shows as
// that group.
TEST(ClipEnding, WholeClipsForEveryLength) {
  struct pair_case {
    const char* what;
    ns_y4m::ratio clip, main;
    double tolerance;
    uint64_t lone = 1;  // frames a one-picture clip gives
  };
  const std::vector<pair_case> pairs = {
      {"time grid 25 -> 29.97", {25, 1}, {30000, 1001}, 1},
      {"time grid 60 -> 25", {60, 1}, {25, 1}, 1},
      {"time grid 29.97 -> 29.97", {30000, 1001}, {30000, 1001}, 0},
      {"decimation 50 -> 25", {50, 1}, {25, 1}, 1},
      {"25 -> 24", {25, 1}, {24, 1}, 1},
      {"24 -> 25", {24, 1}, {25, 1}, 1, 3},
      {"telecine 23.976 -> 29.97", {24000, 1001}, {30000, 1001}, 3, 5},
  };
  for (const pair_case& p : pairs) {
    SCOPED_TRACE(p.what);
    const ns_y4m::frame_clock clip(p.clip), main(p.main);
    EXPECT_EQ(ns_introoutro::whole_clip_frames(clip, main.frames_per_second(), 1), p.lone);
    for (uint64_t n = 2; n <= 300; ++n) {
      const double whole = static_cast<double>(n) * main.frames_per_second() / clip.frames_per_second();
      const uint64_t got = ns_introoutro::whole_clip_frames(clip, main.frames_per_second(), n);
      EXPECT_LE(std::fabs(static_cast<double>(got) - std::round(whole)), p.tolerance) << n << " frames give " << got;
    }
  }
}

// A 16:9 clip of a circle into a 4:3 PAL main source (720x576, pixels 16:15 wide).
// pad: black rows (luma 16, chroma 128) top and bottom and a round circle; crop: no
// border and a round circle; stretch: the old ellipse. A clip of the main source's
// shape passes the pre-stage untouched: pad and stretch give the same bytes.
TEST_F(IntrooutroStages, FitsClipsToTheMainDisplayAspect) {
  constexpr uint32_t cw = 320, ch = 180, radius = 60;
  std::string circle = "YUV4MPEG2 W320 H180 F25:1 A1:1\n";
  for (int n = 0; n < 2; ++n) {
    std::string y(cw * ch, '\x40');
    for (uint32_t r = 0; r < ch; ++r) {
      for (uint32_t c = 0; c < cw; ++c) {
        if (std::hypot(c + 0.5 - cw / 2.0, r + 0.5 - ch / 2.0) < radius) y[r * cw + c] = '\xe0';
      }
    }
    circle += "FRAME\n" + y + std::string(cw * ch / 2, '\x80');
  }
  const std::string clip = y4m_test::write_file(dir / "circle.y4m", circle);
  const std::string main = flat("pal.y4m", "YUV4MPEG2 W720 H576 F25:1 A16:15", 2, [](uint64_t) { return 100; });
  constexpr uint32_t w = 720, h = 576;

  struct shape {
    uint32_t top_border = 0, bottom_border = 0;  // rows of black
    double aspect = 0;                            // of the circle as displayed
  };
  const auto measure = [&](const std::string& fit) {
    const std::string out = dir / ("out-" + fit + ".y4m");
    const run_result r = run({"--intro", clip, "--main", main, "-o", out, "-q", "--fit", fit});
    EXPECT_EQ(r.status, 0) << r.err;
    const std::vector<std::string> frames = frames_of(out);
    EXPECT_EQ(frames.size(), 4u);
    shape s;
    if (frames.empty()) return s;
    const std::string& f = frames[0];
    const auto black_row = [&](uint32_t row) {
      for (uint32_t c = 0; c < w; ++c) {
        if (f[row * w + c] != '\x10') return false;
      }
      for (uint32_t c = 0; c < w / 2; ++c) {
        if (f[w * h + row / 2 * (w / 2) + c] != '\x80' || f[w * h * 5 / 4 + row / 2 * (w / 2) + c] != '\x80') return false;
      }
      return true;
    };
    while (s.top_border < h && black_row(s.top_border)) ++s.top_border;
    while (s.bottom_border < h && black_row(h - 1 - s.bottom_border)) ++s.bottom_border;
    // Extent of the bright disc: samples above the midpoint between disc and ground.
    uint32_t left = w, right = 0, top = h, bottom = 0;
    for (uint32_t r = 0; r < h; ++r) {
      for (uint32_t c = 0; c < w; ++c) {
        if (static_cast<uint8_t>(f[r * w + c]) > 0x90) {
          left = std::min(left, c), right = std::max(right, c), top = std::min(top, r), bottom = std::max(bottom, r);
        }
      }
    }
    s.aspect = (right - left + 1) * 16.0 / 15.0 / (bottom - top + 1);
    return s;
  };

  const shape pad = measure("pad");
  // 16:9 in 4:3: a quarter of the rows are border, half at each side (less a row of
  // scaling blur at each edge of the picture).
  EXPECT_NEAR(pad.top_border, h / 8, 3);
  EXPECT_NEAR(pad.bottom_border, h / 8, 3);
  EXPECT_NEAR(pad.aspect, 1.0, 0.02);
  const shape crop = measure("crop");
  EXPECT_EQ(crop.top_border + crop.bottom_border, 0u);
  EXPECT_NEAR(crop.aspect, 1.0, 0.02);
  const shape stretch = measure("stretch");
  EXPECT_EQ(stretch.top_border + stretch.bottom_border, 0u);
  EXPECT_NEAR(stretch.aspect, (4.0 / 3) / (16.0 / 9), 0.02);

  // A square-pixel 4:3 clip already has the main source's shape.
  const std::string narrow_clip = flat("narrow.y4m", "YUV4MPEG2 W240 H180 F25:1 A1:1", 2, [](uint64_t n) { return 50 + n; });
  std::vector<std::string> outputs;
  for (const char* fit : {"pad", "stretch"}) {
    const std::string out = dir / (std::string("same-") + fit + ".y4m");
    ASSERT_EQ(run({"--intro", narrow_clip, "--main", main, "-o", out, "-q", "--fit", fit}).status, 0);
    outputs.push_back(y4m_test::read_file(out));
  }
  EXPECT_TRUE(outputs[0] == outputs[1]);
}

// --matte: a Cmono stream of the main source's size, one frame per output frame. A
// clip frame with a matte gives its plane scaled to the picture (a flat plane stays
// flat; fitted into letterbox rows, the rows are transparent); main frames and a clip
// without a matte give 255.
TEST_F(IntrooutroStages, MatteFollowsTheOutput) {
  const std::string intro = flat("i.y4m", "YUV4MPEG2 W64 H48 F25:1", 3, [](uint64_t n) { return 40 + n; });
  const std::string alpha = flat("a.y4m", "YUV4MPEG2 W64 H48 F25:1 Cmono", 3, [](uint64_t n) { return 10 * n + 50; });
  const std::string main = flat("m.y4m", "YUV4MPEG2 W128 H96 F25:1 Ip", 2, [](uint64_t) { return 100; });
  const std::string outro = flat("o.y4m", "YUV4MPEG2 W64 H48 F25:1", 2, [](uint64_t) { return 200; });
  const std::string matte = dir / "matte.y4m";
  run_result r = run({"--intro", intro, "--intro-alpha", alpha, "--main", main, "--outro", outro, "-o",
                      dir / "out.y4m", "--matte", matte, "-q"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(ns_y4m::format_stream_header(ns_y4m::y4m_reader(matte).header()), "YUV4MPEG2 W128 H96 F25:1 Ip Cmono\n");
  const size_t plane = 128 * 96;
  std::vector<std::string> expected;
  for (const char v : {'\x32', '\x3c', '\x46', '\xff', '\xff', '\xff', '\xff'}) expected.emplace_back(plane, v);
  EXPECT_TRUE(frames_of(matte) == expected);

  // A 16:9 clip with a flat matte, padded into the 4:3 main: transparent borders.
  const std::string wide = flat("w.y4m", "YUV4MPEG2 W128 H72 F25:1", 1, [](uint64_t) { return 90; });
  const std::string wide_alpha = flat("wa.y4m", "YUV4MPEG2 W128 H72 F25:1 Cmono", 1, [](uint64_t) { return 180; });
  r = run({"--intro", wide, "--intro-alpha", wide_alpha, "--main", main, "-o", dir / "out2.y4m", "--matte", matte,
           "-q"});
  ASSERT_EQ(r.status, 0) << r.err;
  const std::vector<std::string> frames = frames_of(matte);
  ASSERT_EQ(frames.size(), 3u);
  const std::string& f = frames[0];
  EXPECT_EQ(f.substr(0, 128 * 10), std::string(128 * 10, '\0'));
  EXPECT_EQ(f.substr(128 * 86), std::string(128 * 10, '\0'));
  EXPECT_EQ(f.substr(128 * 20, 128 * 56), std::string(128 * 56, '\xb4'));
  EXPECT_EQ(frames[1], std::string(plane, '\xff'));
}

}  // namespace
