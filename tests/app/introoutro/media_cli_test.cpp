// introoutro on media files made by the ffmpeg program (skipped without it): every
// output container read back by the project's own media source code agrees with the
// raw Y4M splice; FFV1 in and out keeps the main frames bit for bit; a variable-rate
// main source is conformed; pipes and mixed inputs work; failures name the file.

#include "io/media_decoder.h"
#include "io/y4m_reader.h"
#include "ffmpeg_files.h"
#include "y4m_test_files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

extern "C" {
#include <libavutil/imgutils.h>
}

#include <sys/stat.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

namespace {

using namespace introoutro_test;
using ::testing::HasSubstr;

struct read_back {
  ns_media::video_properties video;
  std::optional<std::string> timecode;
  std::vector<std::string> pictures;  // planar, as decoded
};

read_back decode(const std::string& path) {
  ns_media::media_decoder d(path);
  read_back r{d.properties(), d.start_timecode(), {}};
  while (const AVFrame* f = d.next()) {
    const auto format = static_cast<AVPixelFormat>(f->format);
    std::string bytes(static_cast<size_t>(av_image_get_buffer_size(format, f->width, f->height, 1)), '\0');
    av_image_copy_to_buffer(reinterpret_cast<uint8_t*>(bytes.data()), static_cast<int>(bytes.size()), f->data,
                            f->linesize, format, f->width, f->height, 1);
    r.pictures.push_back(std::move(bytes));
  }
  return r;
}

uint64_t y4m_frames(const std::string& path) {
  ns_y4m::y4m_reader r(path);
  std::string picture(r.picture_size(), '\0');
  while (r.read_frame(reinterpret_cast<uint8_t*>(picture.data()))) {
  }
  return r.frames_read();
}

class MediaFiles : public ffmpeg_files<MediaFiles> {
protected:
  static void SetUpTestSuite() {
    if (!start()) return;
    const std::string lavfi = "ffmpeg -v error -y -f lavfi -i ";
    made = make(lavfi + "testsrc2=s=96x72:r=25:d=1 -c:v libx264 -pix_fmt yuv420p " + at("intro.mp4")) &&
           // The main source: interlaced, 10-bit 4:2:2 ProRes with an aspect and a start time code.
           make(lavfi + "testsrc=s=128x96:r=25:d=1.2 -vf setsar=4/3,setfield=tff -flags +ildct+ilme -c:v prores_ks "
                        "-profile:v 3 -pix_fmt yuv422p10le -timecode 01:00:00:00 " + at("main.mov")) &&
           make(lavfi + "smptebars=s=112x84:r=24:d=1 -c:v ffv1 -pix_fmt yuv422p " + at("outro.mkv")) &&
           make(lavfi + "testsrc2=s=64x48:r=25:d=0.8 -c:v ffv1 -pix_fmt yuv420p " + at("main.mkv")) &&
           make(lavfi + "testsrc2=s=64x48:r=25:d=0.4 -c:v libx264 -pix_fmt yuv420p " + at("bumper.mp4")) &&
           make(lavfi + "testsrc2=s=64x48:r=30000/1001:d=1 -vf \"select='not(eq(mod(n\\,3)\\,1))'\" -vsync vfr "
                        "-c:v libx264 -pix_fmt yuv420p " + at("vfr.mp4")) &&
           make(lavfi + "testsrc2=s=64x48:r=25:d=0.4 -f yuv4mpegpipe -pix_fmt yuv420p " + at("bumper.y4m")) &&
           make(lavfi + "testsrc2=s=64x48:r=25:d=0.8 -c:v mpeg2video " + at("mpeg2.mkv")) &&
           make(lavfi + "sine=d=0.2 " + at("sound.wav"));
  }
};

TEST_F(MediaFiles, EveryContainerAgreesWithTheY4mSplice) {
  const std::vector<std::string> roles = {"--main", at("main.mov"), "--outro", at("outro.mkv")};
  auto args = roles;
  args.insert(args.end(), {"-o", out("ref.y4m")});
  run_result r = run(args);
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_THAT(r.err, HasSubstr("main.mov: 10-bit pictures are dithered to 8 bits"));
  const uint64_t frames = y4m_frames(out("ref.y4m"));
  ns_y4m::y4m_reader ref(out("ref.y4m"));
  EXPECT_EQ(ns_y4m::format_stream_header(ref.header()), "YUV4MPEG2 W128 H96 F25:1 It A4:3 C422 XCOLORRANGE=LIMITED\n");
  EXPECT_GE(frames, 30u + 23u);  // the outro's 24 pictures converted to 25 frames/s

  for (const std::string container : {"mp4", "mov", "mkv", "mxf"}) {
    SCOPED_TRACE(container);
    args = roles;
    args.insert(args.end(), {"-o", out("out." + container), "-q"});
    r = run(args);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.err, "");
    const read_back b = decode(out("out." + container));
    EXPECT_EQ(b.pictures.size(), frames);
    EXPECT_EQ(b.video.width, 128);
    EXPECT_EQ(b.video.height, 96);
    EXPECT_EQ(av_cmp_q(b.video.rate, {25, 1}), 0);
    EXPECT_FALSE(b.video.variable_rate);
    EXPECT_EQ(av_cmp_q(b.video.sample_aspect, {4, 3}), 0);
    EXPECT_EQ(b.timecode.value_or("none"), "01:00:00:00");
    EXPECT_TRUE(b.video.field_order == AV_FIELD_TT || b.video.field_order == AV_FIELD_TB) << b.video.field_order;
  }
  // With an intro first, the output's time code starts where its first frame's does.
  r = run({"--intro", at("intro.mp4"), "--main", at("main.mov"), "-o", out("intro.mov"), "-q"});
  ASSERT_EQ(r.status, 0) << r.err;
  const read_back b = decode(out("intro.mov"));
  EXPECT_EQ(b.pictures.size(), 25u + 30u);
  EXPECT_EQ(b.timecode.value_or("none"), "00:00:00:00");
}

TEST_F(MediaFiles, LosslessMainFramesComeThroughFfv1BitForBit) {
  const run_result r = run({"--intro", at("bumper.mp4"), "--main", at("main.mkv"), "-o", out("out.mkv"), "-q"});
  ASSERT_EQ(r.status, 0) << r.err;
  const read_back in = decode(at("main.mkv"));
  const read_back spliced = decode(out("out.mkv"));
  ASSERT_EQ(in.pictures.size(), 20u);
  ASSERT_EQ(spliced.pictures.size(), 10u + 20u);
  EXPECT_EQ(spliced.video.format, AV_PIX_FMT_YUV420P);
  for (size_t k = 0; k < in.pictures.size(); ++k) {
    ASSERT_TRUE(spliced.pictures[10 + k] == in.pictures[k]) << "main frame " << k;
  }
}

TEST_F(MediaFiles, VariableRateMainIsConformedToItsAverage) {
  const run_result r = run({"--main", at("vfr.mp4"), "--outro", at("bumper.mp4"), "-o", out("out.y4m")});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_THAT(r.err, HasSubstr("vfr.mp4: the frame rate varies; conformed to its average, 20000/1001 frames/s"));
  ns_y4m::y4m_reader spliced(out("out.y4m"));
  EXPECT_EQ(spliced.header().rate, (ns_y4m::ratio{20000, 1001}));
  // One second at 19.98 frames/s, then the 0.4 s outro converted from 25 to 19.98.
  const uint64_t frames = y4m_frames(out("out.y4m"));
  EXPECT_GE(frames, 20u + 7u);
  EXPECT_LE(frames, 21u + 8u);
}

// A media main source through a pipe beside a Y4M intro, and a Y4M main through a
// pipe beside a media outro: the peek at the pipe takes nothing from it.
TEST_F(MediaFiles, PipesAndMixedInputsSpliceAlike) {
  const std::string fifo = out("fifo");
  // A reader that gives up early must not kill the test with SIGPIPE.
  std::signal(SIGPIPE, SIG_IGN);
  const auto through_pipe = [&](const std::string& file, std::vector<std::string> args) {
    EXPECT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    std::thread feed([&] {
      std::ofstream(fifo, std::ios::binary) << y4m_test::read_file(file);
    });
    const run_result r = run(args, streams(fifo));
    feed.join();
    std::filesystem::remove(fifo);
    return r;
  };
  run_result r = through_pipe(at("main.mkv"), {"--intro", at("bumper.y4m"), "--main", "-", "-o", out("a.y4m")});
  ASSERT_EQ(r.status, 0) << r.err;
  r = run({"--intro", at("bumper.y4m"), "--main", at("main.mkv"), "-o", out("b.y4m")});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(y4m_frames(out("a.y4m")), 10u + 20u);
  EXPECT_TRUE(y4m_test::read_file(out("a.y4m")) == y4m_test::read_file(out("b.y4m")));

  r = through_pipe(at("bumper.y4m"), {"--main", "-", "--outro", at("bumper.mp4"), "-o", out("c.mkv"), "-q"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(decode(out("c.mkv")).pictures.size(), 20u);

  // A mov keeps its index at the end: from a redirected file it is found, through a
  // pipe the message says why not.
  r = run({"--main", "-", "--outro", at("outro.mkv"), "-o", out("d.y4m"), "-q"}, streams(at("main.mov")));
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_GE(y4m_frames(out("d.y4m")), 30u + 23u);
  r = through_pipe(at("main.mov"), {"--main", "-", "--outro", at("outro.mkv"), "-o", out("e.y4m")});
  EXPECT_EQ(r.status, 1);
  EXPECT_THAT(r.err, HasSubstr("standard input: stream #0 (prores): read error after frame 0 (a pipe cannot seek"));
}

TEST_F(MediaFiles, FailuresNameTheFileTheStreamOrTheEncoder) {
  const std::string text = y4m_test::write_file(out("notes.mp4"), "these are not pictures\n");
  std::string damaged = y4m_test::read_file(at("mpeg2.mkv"));
  for (size_t i = damaged.size() / 2; i < damaged.size() / 2 + 64; ++i) damaged[i] = static_cast<char>(0x5a);
  y4m_test::write_file(out("damaged.mkv"), damaged);
  const struct {
    std::vector<std::string> args;
    std::string message;
    std::string output;
  } cases[] = {
      {{"--main", text, "--outro", at("bumper.mp4"), "-o", out("o.mp4")}, text + ": not a media file", out("o.mp4")},
      {{"--main", at("sound.wav"), "--outro", at("bumper.mp4"), "-o", out("o.mp4")},
       "sound.wav: no video stream (the file holds audio pcm_s16le)", out("o.mp4")},
      {{"--main", out("damaged.mkv"), "--outro", at("bumper.mp4"), "-o", out("o.mkv")}, "damaged.mkv: ", out("o.mkv")},
      {{"--main", at("main.mkv"), "--outro", at("bumper.mp4"), "-o", out("o.mp4"), "--vcodec", "nonesuch"},
       "o.mp4: the video encoder nonesuch is not available; the mp4 encoders here are: ", out("o.mp4")},
      {{"--main", at("main.mkv"), "--outro", at("bumper.mp4"), "-o", out("o.mov"), "--crf", "20"},
       "o.mov: the encoder prores_ks has no --crf", out("o.mov")},
      {{"--main", at("main.mkv"), "--outro", at("bumper.mp4"), "-o", out("o.xyz")},
       "o.xyz: no container is written for the extension .xyz", out("o.xyz")},
      {{"--main", at("main.mkv"), "--outro", at("bumper.mp4"), "--outro-alpha", at("bumper.y4m"), "-o", out("o.y4m")},
       "bumper.y4m: a matte goes with a YUV4MPEG2 clip", out("o.y4m")},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.message);
    const run_result r = run(c.args);
    EXPECT_EQ(r.status, 1) << r.err;
    EXPECT_THAT(r.err, HasSubstr(c.message));
    EXPECT_FALSE(std::filesystem::exists(c.output)) << "a failed job leaves no output";
  }
  const run_result r = run({"--main", out("damaged.mkv"), "--outro", at("bumper.mp4"), "-o", out("o.mkv")});
  EXPECT_THAT(r.err, ::testing::ContainsRegex("(decode|read) error (at|after) frame [0-9]+"));
}

}  // namespace
