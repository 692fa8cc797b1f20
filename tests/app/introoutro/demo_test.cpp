#include "conversion.h"
#include "introoutro/demo_clips.h"
#include "io/y4m_reader.h"
#include "png_reader.h"
#include "run_program.h"
#include "y4m_test_files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

namespace {

using namespace introoutro_test;
using ::testing::HasSubstr;

using ns_introoutro::demo_clip;
using ns_introoutro::demo_clips;
using ns_introoutro::render_demo_picture;

// "width,height,rate,frames" of the first video stream as ffprobe, an independent
// reader, sees it, counting the frames by decoding them.
std::string ffprobe_stream(const std::string& path) {
  std::FILE* probe = popen(("ffprobe -v error -count_frames -select_streams v:0 -show_entries "
                            "stream=width,height,r_frame_rate,nb_read_frames -of csv=p=0 '" + path + "'").c_str(), "r");
  if (!probe) return {};
  char line[128] = "";
  const bool got = std::fgets(line, sizeof line, probe) != nullptr;
  pclose(probe);
  return got ? line : "";
}

// The demo, as a new user runs it: no files of their own, the output under its default
// name in the current directory, in the main source's format with every clip conformed.
TEST(IntrooutroDemo, SplicesItsClipsIntoTheMainFormat) {
  y4m_test::scratch_dir dir;
  run_setup s;
  s.cwd = dir / "";
  s.stderr_file = dir / "stderr.txt";
  s.limit = std::chrono::seconds(280);
  const run_result r = run_program(INTROOUTRO_BIN, {"demo", "--preview", "demo.png"}, s);
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_THAT(r.err, HasSubstr("intro 50 + main 120 + outro 48 frames in"));
  EXPECT_THAT(r.err, HasSubstr("the demo splice is in introoutro-demo.y4m"));

  const std::string out = dir / "introoutro-demo.y4m";
  ns_y4m::y4m_reader reader(out);
  EXPECT_EQ(ns_y4m::format_stream_header(reader.header()), "YUV4MPEG2 W1920 H1080 F30000:1001 Ip A1:1 C420jpeg\n");
  // Every main picture exactly once, in order, with about two seconds of converted
  // intro before and of outro after.
  const demo_clip& main = demo_clips()[1];
  std::vector<uint8_t> picture(reader.picture_size()), next_main(reader.picture_size());
  render_demo_picture(main, 0, next_main.data());
  uint64_t frames = 0, mains = 0, first_main = 0;
  while (reader.read_frame(picture.data())) {
    if (mains < main.frames && picture == next_main) {
      if (mains == 0) first_main = frames;
      EXPECT_EQ(frames, first_main + mains) << "main frame " << mains << " is not where it belongs";
      render_demo_picture(main, ++mains, next_main.data());
    }
    ++frames;
  }
  EXPECT_EQ(mains, main.frames);
  expect_about(first_main, 50, 25, 30000.0 / 1001);
  expect_about(frames - first_main - mains, 48, 24, 30000.0 / 1001);
  EXPECT_THAT(r.err, HasSubstr(std::to_string(frames) + " frames out (1920x1080 at 29.97 frames/s"));

  // Four 480x270 thumbnails (a quarter of 1080p) side by side with their labels.
  const decoded_png sheet = read_png(dir / "demo.png");
  ASSERT_TRUE(sheet.ok);
  EXPECT_EQ(sheet.width, 12u + 4 * (480 + 12));
  EXPECT_GT(sheet.height, 12u + 270 + 12);
  EXPECT_LT(sheet.height, 12u + 270 + 12 + 100);

  if (std::system("command -v ffprobe >/dev/null 2>&1") != 0) GTEST_SKIP() << "ffprobe is not installed";
  EXPECT_EQ(ffprobe_stream(out), "1920,1080,30000/1001," + std::to_string(frames) + "\n");
}

}  // namespace
