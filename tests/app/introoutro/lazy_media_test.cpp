#include "io/y4m_header.h"
#include "run_program.h"
#include "y4m_test_files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

namespace {

using namespace introoutro_test;
using ::testing::HasSubstr;
using ::testing::Not;

// The dynamic loader's record of every library the program maps (LD_DEBUG=files),
// with the program's exit status.
run_result run_logging_loads(const std::vector<std::string>& args, const std::string& log) {
  run_setup s;
  s.stderr_file = log;
  ::setenv("LD_DEBUG", "files", 1);
  run_result r = run_program(INTROOUTRO_BIN, args, s);
  ::unsetenv("LD_DEBUG");
  return r;
}

// A Y4M-only splice never maps FFmpeg's libraries nor the media module; writing its
// sound beside loads both, and the job still works.
TEST(IntrooutroMediaModule, LoadedOnlyForJobsThatNeedFfmpeg) {
  y4m_test::scratch_dir dir;
  const std::string header = "YUV4MPEG2 W32 H16 F25:1 A1:1 C420mpeg2";
  const uint64_t bytes = ns_y4m::picture_bytes(ns_y4m::parse_stream_header(header));
  const std::string intro = y4m_test::write_file(dir / "intro.y4m", y4m_test::stream(header, 2, bytes, 0));
  const std::string main = y4m_test::write_file(dir / "main.y4m", y4m_test::stream(header, 3, bytes, 10));

  run_result r = run_logging_loads({"--intro", intro, "--main", main, "-o", dir / "out.y4m"}, dir / "y4m.log");
  ASSERT_EQ(r.status, 0) << y4m_test::read_file(dir / "y4m.log");
  const std::string y4m_log = y4m_test::read_file(dir / "y4m.log");
  EXPECT_THAT(y4m_log, HasSubstr("kx_filter_video_introoutro.so"));  // the log does record dlopen
  EXPECT_THAT(y4m_log, Not(HasSubstr("introoutro_media.so")));
  EXPECT_THAT(y4m_log, Not(HasSubstr("libavcodec")));
  EXPECT_THAT(y4m_log, Not(HasSubstr("libavformat")));

  r = run_logging_loads({"--intro", intro, "--main", main, "-o", dir / "out.y4m", "--audio-out", dir / "out.wav"},
                        dir / "wav.log");
  ASSERT_EQ(r.status, 0) << y4m_test::read_file(dir / "wav.log");
  const std::string wav_log = y4m_test::read_file(dir / "wav.log");
  EXPECT_THAT(wav_log, HasSubstr("introoutro_media.so"));
  EXPECT_THAT(wav_log, HasSubstr("libavcodec"));
  EXPECT_EQ(y4m_test::read_file(dir / "out.wav").substr(0, 4), "RIFF");
}

}  // namespace
