#include "conversion.h"
#include "io/y4m_reader.h"
#include "png_reader.h"
#include "run_program.h"
#include "y4m_test_files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

using namespace introoutro_test;
using ::testing::HasSubstr;
using ::testing::Not;

class IntrooutroCli : public ::testing::Test {
protected:
  // Frame k of the clip shows picture first + k.
  std::string clip(const std::string& name, const std::string& header, uint64_t first, uint64_t count) {
    const uint64_t bytes = ns_y4m::picture_bytes(ns_y4m::parse_stream_header(header));
    return y4m_test::write_file(dir / name, y4m_test::stream(header, count, bytes, first));
  }

  run_result run(const std::vector<std::string>& args, run_setup s = {}) {
    s.stderr_file = dir / "stderr.txt";
    return run_program(INTROOUTRO_BIN, args, s);
  }

  // The picture ids of every frame of a stream written from clip() pictures; -1 for
  // a frame that is none of them.
  std::vector<int> pictures_of(const std::string& path, const std::vector<int>& candidates) {
    ns_y4m::y4m_reader r(path);
    std::vector<int> ids;
    std::string frame(r.picture_size(), '\0');
    while (r.read_frame(reinterpret_cast<uint8_t*>(frame.data()))) {
      int id = -1;
      for (const int c : candidates) {
        if (frame == y4m_test::picture(c, r.picture_size())) id = c;
      }
      ids.push_back(id);
    }
    return ids;
  }

  // A pipe by name: the program opens it as its standard input.
  std::string fifo(const std::string& name) {
    const std::string path = dir / name;
    EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
    return path;
  }

  y4m_test::scratch_dir dir;
};

uint64_t size_of(const std::string& path) {
  std::error_code e;
  const auto n = std::filesystem::file_size(path, e);
  return e ? 0 : n;
}

// Waits (at most 30 s) until `done` holds.
void wait_until(const std::function<bool()>& done) {
  for (int i = 0; i < 3000 && !done(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
}

const char* main_header = "YUV4MPEG2 W64 H48 F25:1 It A4:3 C420paldv XCOLORRANGE=LIMITED";

// The output holds intro, main and outro in that order, frame for frame, under the
// main source's header, from files or through pipes, and the summary says so.
TEST_F(IntrooutroCli, SplicesInRoleOrderFromFilesAndPipes) {
  const std::string intro = clip("intro.y4m", "YUV4MPEG2 W64 H48 F25:1 A4:3 C420mpeg2", 0, 3);
  const std::string main = clip("main.y4m", main_header, 100, 5);
  const std::string outro = clip("outro.y4m", "YUV4MPEG2 W64 H48 F25:1 A4:3", 200, 2);
  const std::string matte = clip("matte.y4m", "YUV4MPEG2 W64 H48 F25:1 Cmono", 300, 3);
  const std::string out = dir / "out.y4m";
  const std::vector<int> expected = {0, 1, 2, 100, 101, 102, 103, 104, 200, 201};

  run_result r = run({"--intro", intro, "--main", main, "--outro", outro, "--intro-alpha", matte, "-o", out});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_THAT(r.err, HasSubstr("introoutro: intro 3 + main 5 + outro 2 frames in, 10 frames out (64x48 at 25 frames/s"));
  EXPECT_THAT(r.err, HasSubstr("to " + out));
  EXPECT_EQ(ns_y4m::format_stream_header(ns_y4m::y4m_reader(out).header()), std::string(main_header) + "\n");
  EXPECT_EQ(pictures_of(out, expected), expected);

  // Standard input to standard output through queues of one frame: the same bytes.
  const run_setup piped = streams(main, dir / "piped.y4m");
  r = run({"--intro", intro, "--main", "-", "--outro", outro, "-o", "-", "--queue-frames", "1", "-q"}, piped);
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.err, "");
  EXPECT_EQ(y4m_test::read_file(dir / "piped.y4m"), y4m_test::read_file(out));

  r = run({"--intro", "-", "--main", main, "-o", out}, streams(intro));
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(pictures_of(out, expected), std::vector<int>(expected.begin(), expected.end() - 2));

  r = run({"--help"}, streams("/dev/null", dir / "help.txt"));
  EXPECT_EQ(r.status, 0);
  EXPECT_THAT(y4m_test::read_file(dir / "help.txt"), HasSubstr("Exit status"));
}

// Clips of another size and rate are conformed to the main source: about their
// duration at the main rate each, and every main frame exactly once, in order, between.
TEST_F(IntrooutroCli, ConformsClipsOfOtherSizesAndRates) {
  const std::string out = dir / "out.y4m";
  const run_result r = run({"--intro", clip("i.y4m", "YUV4MPEG2 W32 H24 F25:1", 0, 10), "--main",
                            clip("m.y4m", "YUV4MPEG2 W64 H48 F50:1", 100, 6), "--outro",
                            clip("o.y4m", "YUV4MPEG2 W32 H24 F25:1", 200, 4), "-o", out});
  ASSERT_EQ(r.status, 0) << r.err;
  const std::vector<int> mains = {100, 101, 102, 103, 104, 105};
  const std::vector<int> ids = pictures_of(out, mains);
  const auto first_main = std::find(ids.begin(), ids.end(), 100) - ids.begin();
  ASSERT_LE(first_main + 6, static_cast<ptrdiff_t>(ids.size()));
  EXPECT_EQ(std::vector<int>(ids.begin() + first_main, ids.begin() + first_main + 6), mains);
  EXPECT_EQ(std::count(ids.begin(), ids.end(), -1), static_cast<ptrdiff_t>(ids.size() - 6));
  expect_about(first_main, 10, 25, 50);
  expect_about(ids.size() - first_main - 6, 4, 25, 50);
}

// The contact sheet shows, left to right, the last intro, the first and last main and
// the first outro frame: flat pictures of distinct greys tell them apart.
TEST_F(IntrooutroCli, PreviewShowsTheFramesAtTheJoins) {
  const auto flat = [&](const std::string& name, std::vector<uint8_t> lumas) {
    const std::string header = "YUV4MPEG2 W64 H48 F25:1";
    std::string s = header + "\n";
    for (const uint8_t y : lumas) s += "FRAME\n" + std::string(64 * 48, static_cast<char>(y)) + std::string(2 * 32 * 24, '\x80');
    return y4m_test::write_file(dir / name, s);
  };
  const std::string png = dir / "joins.png";
  const run_result r = run({"--intro", flat("i.y4m", {40, 50, 60}), "--main", flat("m.y4m", {100, 110, 120, 130}),
                            "--outro", flat("o.y4m", {200, 210}), "-o", dir / "out.y4m", "--preview", png});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_THAT(r.err, HasSubstr("the joins are shown in " + png));
  const decoded_png sheet = read_png(png);
  ASSERT_TRUE(sheet.ok);
  EXPECT_GT(sheet.width, 4u * 64);
  EXPECT_GT(sheet.height, 48u);
  // Runs of thumbnail colour along a row through the thumbnails.
  std::vector<int> seen;
  const uint8_t* background = sheet.pixel(0, 0);
  for (uint32_t x = 0; x < sheet.width; ++x) {
    const uint8_t* p = sheet.pixel(x, 30);
    if (std::equal(p, p + 3, background)) continue;
    if (seen.empty() || seen.back() != p[0]) seen.push_back(p[0]);
  }
  EXPECT_EQ(seen, (std::vector<int>{51, 98, 133, 214}));  // greys 60, 100, 130 and 200 in RGB
}

// Every bad input ends the run with a message that names the file (or option) and the
// cause, a non-zero status and no hang; an output begun is removed. One input of each
// way of failing: what the readers, the header parser and the options refuse is
// checked with its exact message beside them.
TEST_F(IntrooutroCli, BadInputsFailWithAMessage) {
  const std::string good = clip("good.y4m", "YUV4MPEG2 W64 H48 F25:1", 0, 5);
  const std::string main = clip("main.y4m", "YUV4MPEG2 W64 H48 F25:1", 10, 5);
  const std::string cut = dir / "cut.y4m";
  const std::string whole = y4m_test::read_file(main);
  y4m_test::write_file(cut, whole.substr(0, whole.size() - 10));
  const std::string out = dir / "out.y4m";
  // A header the test's own parser refuses, with one 64x48 4:2:0 frame.
  const auto raw = [&](const std::string& name, const std::string& header) {
    return y4m_test::write_file(dir / name, y4m_test::stream(header, 1, 64 * 48 * 3 / 2));
  };
  struct bad_case {
    std::vector<std::string> args;
    std::string message;
    int status = 1;
  };
  const std::vector<bad_case> cases = {
      {{"--intro", dir / "absent.y4m", "--main", main, "-o", out},
       "error: " + dir / "absent.y4m" + ": cannot open: No such file or directory"},
      {{"--intro", clip("c422.y4m", "YUV4MPEG2 W64 H48 F25:1 C422", 0, 1), "--main", main, "-o", out},
       "c422.y4m: the intro is 4:2:2 (C422) but the main source " + main + " is 4:2:0"},
      {{"--intro", good, "--main", cut, "-o", out}, "cut.y4m: frame 4: the stream ends inside the picture"},
      {{"--intro", good, "--intro-alpha", clip("m.y4m", "YUV4MPEG2 W32 H48 F25:1 Cmono", 0, 5), "--main", main, "-o",
        out},
       "m.y4m: the matte is 32x48 (its clip " + good + " is 64x48)"},
      {{"--intro", good, "--main", main, "-o", dir / "no/such/dir/out.y4m"},
       "no/such/dir/out.y4m: cannot create: No such file or directory"},
      {{"--intro", good, "--main", main, "-o", "/dev/full"},
       "/dev/full: the stream header: write failed: No space left on device"},
      {{"--intro", good, "--main", main, "-o", main}, main + ": the output is also the input " + main},
      {{"--intro", good, "--main", main, "-o", out, "--plugin", dir / "none.so"},
       "cannot load the plug-in " + dir / "none.so" + ": " + dir / "none.so" + ": cannot open shared object file"},
      {{"--intro", good, "--main", main, "-o", out, "--plugin", KX_LIBRARY},
       std::string("the plug-in ") + KX_LIBRARY + " has no getComponentInstance"},
      {{"--intro", good, "--main", main, "-o", out, "--plugin", REFUSING_PLUGIN},
       "error: *** ERROR ***: this filter refuses every configuration"},
      {{"--intro", good, "--main", main, "-o", out, "--bogus"}, "unknown option '--bogus'\nTry 'introoutro --help'", 2},
      {{"--intro", good, "--main", main, "-o", out, "--preview", main}, main + ": the preview is also the input " + main},
      {{"--intro", good, "--main", main, "-o", out, "--preview", dir / "no/p.png"}, "no/p.png: cannot create"},
      {{"--intro", raw("fast.y4m", "YUV4MPEG2 W64 H48 F1000000:1"), "--main", main, "-o", out},
       "fast.y4m: frame rate F1000000:1: above 1000 frames/s"},
      {{"--outro", raw("slow.y4m", "YUV4MPEG2 W64 H48 F1:1000000"), "--main", main, "-o", out},
       "slow.y4m: frame rate F1:1000000: below one frame per day"},
      {{"--outro", raw("cr.y4m", "YUV4MPEG2 W64 H48 F25:1\r"), "--main", main, "-o", out},
       "cr.y4m: the stream header ends in a carriage return (a CR LF line end)"},
      {{"--outro", clip("full.y4m", "YUV4MPEG2 W64 H48 F25:1 XCOLORRANGE=FULL", 0, 2), "--main", main, "-o", out},
       "full.y4m: the outro is full range (XCOLORRANGE=FULL) but the main source " + main +
           " is limited range (no XCOLORRANGE)"},
      {{"--intro", good, "--main", clip("empty.y4m", "YUV4MPEG2 W64 H48 F25:1", 0, 0), "-o", out},
       "empty.y4m: the main source has no frames"},
  };
  for (const bad_case& c : cases) {
    SCOPED_TRACE(c.message);
    std::filesystem::remove(out);
    const run_result r = run(c.args);
    EXPECT_FALSE(r.hung);
    EXPECT_EQ(r.status, c.status);
    EXPECT_THAT(r.err, HasSubstr(c.message));
    EXPECT_THAT(r.err, Not(HasSubstr("frames out")));
    EXPECT_FALSE(std::filesystem::exists(out)) << "a failed run left its output behind";
    EXPECT_EQ(y4m_test::read_file(main), whole) << "an input was changed";
  }
  // A closed pipe on standard output is an error, not a silent death by SIGPIPE.
  run_setup closed;
  closed.stdout_closed_pipe = true;
  const run_result r = run({"--intro", good, "--main", main, "-o", "-"}, closed);
  EXPECT_EQ(r.status, 1);
  EXPECT_THAT(r.err, HasSubstr("standard output: the stream header: write failed: Broken pipe (the reading end of "
                               "the pipe was closed)"));
}

// What is worth telling but no reason to stop: a clip without frames (the splice goes
// on without it, even through a converter and a scaler), a clip of the other field
// order. A mixed main source keeps the I flag of each of its frames.
TEST_F(IntrooutroCli, WarnsOfEmptyClipsAndFieldOrdersAndKeepsFrameFlags) {
  const std::string flags[] = {"Itti", "Ibbi", "I1pp"};
  std::string mixed = "YUV4MPEG2 W64 H48 F25:1 Im\n";
  for (int n = 0; n < 3; ++n) mixed += "FRAME " + flags[n] + "\n" + y4m_test::picture(100 + n, 64 * 48 * 3 / 2);
  const std::string main = y4m_test::write_file(dir / "mixed.y4m", mixed);
  const std::string outro = clip("o.y4m", "YUV4MPEG2 W64 H48 F25:1", 200, 2);
  const std::string out = dir / "out.y4m";
  run_result r = run({"--intro", clip("empty.y4m", "YUV4MPEG2 W32 H24 F24:1", 0, 0), "--main", main, "--outro", outro,
                      "-o", out, "-q"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.err, "introoutro: warning: " + dir / "empty.y4m" + ": the intro has no frames: the splice goes on without it\n");
  EXPECT_EQ(pictures_of(out, {100, 101, 102, 200, 201}), (std::vector<int>{100, 101, 102, 200, 201}));
  const std::string written = y4m_test::read_file(out);
  std::vector<std::string> frame_lines;
  for (size_t at = written.find("FRAME"); at != std::string::npos; at = written.find("FRAME", at + 1)) {
    frame_lines.push_back(written.substr(at, written.find('\n', at) - at));
  }
  EXPECT_EQ(frame_lines, (std::vector<std::string>{"FRAME Itti", "FRAME Ibbi", "FRAME I1pp", "FRAME", "FRAME"}));

  r = run({"--intro", clip("ib.y4m", "YUV4MPEG2 W64 H48 F25:1 Ib", 0, 2), "--main",
           clip("it.y4m", "YUV4MPEG2 W64 H48 F25:1 It", 100, 2), "-o", out, "-q"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.err, "introoutro: warning: " + dir / "ib.y4m" + ": the intro is bottom field first (Ib) but the main source " +
                       dir / "it.y4m" + " is top field first (It): the intro's fields may play in the wrong order\n");

  // A main source through a pipe is known to be empty only at its end: the output
  // written so far is removed.
  const std::string pipe = fifo("main.pipe");
  run_setup s = streams(pipe);
  s.while_running = [&](pid_t) { y4m_test::write_file(pipe, "YUV4MPEG2 W64 H48 F25:1\n"); };
  r = run({"--intro", outro, "--main", "-", "-o", out}, s);
  EXPECT_EQ(r.status, 1);
  EXPECT_THAT(r.err, HasSubstr("standard input: the main source has no frames"));
  EXPECT_FALSE(std::filesystem::exists(out));
}

// SIGINT, SIGTERM and SIGHUP stop a job that waits on a slow pipe: status 128 + the
// signal, one line with the frames written, no output file and no preview left. Also
// before the graph runs, while the main source's header is still awaited.
TEST_F(IntrooutroCli, SignalsStopTheJobAndLeaveNoFile) {
  const std::string intro = clip("i.y4m", "YUV4MPEG2 W64 H48 F25:1", 0, 5);
  const uint64_t frame_bytes = 6 + 64 * 48 * 3 / 2;
  const std::string header = "YUV4MPEG2 W64 H48 F25:1\n";
  const std::string out = dir / "out.y4m";
  const std::string preview = dir / "joins.png";
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    for (const bool started : {true, false}) {
      SCOPED_TRACE(std::string(strsignal(signal)) + (started ? ", running" : ", before the main header"));
      const std::string pipe = fifo("main.pipe");
      int feed = -1;
      run_setup s = streams(pipe);
      s.limit = std::chrono::seconds(60);
      s.while_running = [&](pid_t child) {
        feed = open(pipe.c_str(), O_WRONLY);
        if (started) {
          const std::string main = y4m_test::stream(header.substr(0, header.size() - 1), 3, frame_bytes - 6, 100);
          ASSERT_EQ(write(feed, main.data(), main.size()), static_cast<ssize_t>(main.size()));
          // The intro and the main frames so far are written; the pipe stays open.
          wait_until([&] { return size_of(out) >= header.size() + 8 * frame_bytes; });
        } else {
          // The output is claimed before the inputs are opened.
          wait_until([&] { return std::filesystem::exists(out); });
        }
        kill(child, signal);
      };
      const run_result r = run({"--intro", intro, "--main", "-", "-o", out, "--preview", preview}, s);
      close(feed);
      std::filesystem::remove(pipe);
      EXPECT_FALSE(r.hung);
      EXPECT_EQ(r.status, 128 + signal) << r.err;
      EXPECT_THAT(r.err, HasSubstr(started ? "interrupted after 8 frames\n" : "interrupted after 0 frames\n"));
      EXPECT_FALSE(std::filesystem::exists(out));
      EXPECT_FALSE(std::filesystem::exists(preview));
    }
  }
}

// A terminal on standard output would show the stream as garbage: refused before the
// job starts.
TEST_F(IntrooutroCli, RefusesATerminalOnStandardOutput) {
  const int master = posix_openpt(O_RDWR | O_NOCTTY);
  ASSERT_GE(master, 0);
  ASSERT_EQ(grantpt(master), 0);
  ASSERT_EQ(unlockpt(master), 0);
  const run_result r = run({"--intro", clip("i.y4m", "YUV4MPEG2 W64 H48 F25:1", 0, 2), "--main",
                            clip("m.y4m", "YUV4MPEG2 W64 H48 F25:1", 10, 2), "-o", "-"},
                           streams("/dev/null", ptsname(master)));
  close(master);
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "introoutro: error: standard output is a terminal: write the output to a file, or pipe it into a "
                   "program\n");
}

}  // namespace
