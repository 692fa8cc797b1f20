#include "io/frame_clock.h"
#include "io/y4m_header.h"
#include "y4m_test_files.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

using namespace ns_y4m;

std::string error_of(std::string_view line) {
  return y4m_test::error_of<format_error>([&] { parse_stream_header(line); });
}

TEST(Y4mHeader, ParsesEveryFieldAndWritesItBack) {
  const stream_header h =
      parse_stream_header("YUV4MPEG2 W1920 H1080 F30000:1001 It A1:1 C420mpeg2 XYSCSS=420MPEG2 XCOLORRANGE=LIMITED");
  EXPECT_EQ(h.width, 1920u);
  EXPECT_EQ(h.height, 1080u);
  EXPECT_EQ(h.rate, (ratio{30000, 1001}));
  EXPECT_EQ(h.interlacing, 't');
  EXPECT_EQ(h.aspect, (ratio{1, 1}));
  EXPECT_EQ(h.sampling, chroma::c420mpeg2);
  EXPECT_EQ(h.extensions, (std::vector<std::string>{"YSCSS=420MPEG2", "COLORRANGE=LIMITED"}));
  EXPECT_EQ(format_stream_header(h),
            "YUV4MPEG2 W1920 H1080 F30000:1001 It A1:1 C420mpeg2 XYSCSS=420MPEG2 XCOLORRANGE=LIMITED\n");

  // Absent optional fields stay absent; the chroma is then 4:2:0 and is written out.
  const stream_header bare = parse_stream_header("YUV4MPEG2  W8 H6 F25:1 ");
  EXPECT_FALSE(bare.interlacing);
  EXPECT_FALSE(bare.aspect);
  EXPECT_EQ(bare.sampling, chroma::c420jpeg);
  EXPECT_EQ(format_stream_header(bare), "YUV4MPEG2 W8 H6 F25:1 C420jpeg\n");
  EXPECT_EQ(parse_stream_header("YUV4MPEG2 W8 H6 F25:1 A0:0 I?").aspect, (ratio{0, 0}));
}

TEST(Y4mHeader, EachBadFieldIsNamed) {
  const std::vector<std::pair<const char*, const char*>> cases = {
      {"RIFF....WAVEfmt ", "not a YUV4MPEG2 stream (it starts with 'RIFF....WAVEfmt ')"},
      {"YUV4MPEG2X W8 H6 F25:1", "not a YUV4MPEG2 stream"},
      {"YUV4MPEG2 H6 F25:1", "no width (W)"},
      {"YUV4MPEG2 W8 F25:1", "no height (H)"},
      {"YUV4MPEG2 W8 H6", "no frame rate (F)"},
      {"YUV4MPEG2 W0 H6 F25:1", "W0: a picture needs a size of at least 1"},
      {"YUV4MPEG2 W16385 H6 F25:1", "W16385: above the largest supported size of 16384"},
      {"YUV4MPEG2 W8 H99999999999 F25:1", "H: 99999999999 is out of range"},
      {"YUV4MPEG2 W8 H-6 F25:1", "H: '-6' is not a whole number"},
      {"YUV4MPEG2 W8x H6 F25:1", "W: '8x' is not a whole number"},
      {"YUV4MPEG2 W8 H6 F0:1", "frame rate F0:1: numerator and denominator must both be above 0"},
      {"YUV4MPEG2 W8 H6 F25:0", "frame rate F25:0"},
      {"YUV4MPEG2 W8 H6 F25", "F: '25' is not of the form N:D"},
      {"YUV4MPEG2 W8 H6 F25:1 C444", "chroma format C444 is not supported"},
      {"YUV4MPEG2 W8 H6 F25:1 Ix", "interlacing Ix"},
      {"YUV4MPEG2 W8 H6 F25:1 A1:0", "pixel aspect A1:0"},
      {"YUV4MPEG2 W8 H6 W8 F25:1", "field W is given twice"},
      {"YUV4MPEG2 W8 H6 F25:1 Q9", "unknown field 'Q9'"},
      {"YUV4MPEG2 W8 H6 F1001:1", "frame rate F1001:1: above 1000 frames/s"},
      {"YUV4MPEG2 W8 H6 F4294967295:4294967", "frame rate F4294967295:4294967: above 1000 frames/s"},
      {"YUV4MPEG2 W8 H6 F1:86401", "frame rate F1:86401: below one frame per day"},
      {"YUV4MPEG2 W8 H6 F25:1\r", "the stream header ends in a carriage return (a CR LF line end)"},
  };
  for (const auto& [line, expected] : cases) {
    EXPECT_NE(error_of(line).find(expected), std::string::npos) << line << " -> " << error_of(line);
  }
  // The rates at the limits are accepted.
  EXPECT_EQ(parse_stream_header("YUV4MPEG2 W8 H6 F1000:1").rate, (ratio{1000, 1}));
  EXPECT_EQ(parse_stream_header("YUV4MPEG2 W8 H6 F1:86400").rate, (ratio{1, 86400}));
  // The largest size is accepted, and its frame size is computed without overflow.
  const stream_header largest = parse_stream_header("YUV4MPEG2 W16384 H16384 F1:1 C422");
  EXPECT_EQ(picture_bytes(largest), uint64_t{16384} * 16384 * 2);
}

// Odd sizes round the chroma planes up, as every Y4M writer does.
TEST(Y4mHeader, PictureBytesRoundChromaUp) {
  const auto bytes = [](const char* line) { return picture_bytes(parse_stream_header(line)); };
  EXPECT_EQ(bytes("YUV4MPEG2 W1920 H1080 F25:1"), 1920u * 1080 * 3 / 2);
  EXPECT_EQ(bytes("YUV4MPEG2 W5 H3 F25:1 C420paldv"), 15u + 2 * 3 * 2);
  EXPECT_EQ(bytes("YUV4MPEG2 W5 H3 F25:1 C422"), 15u + 2 * 3 * 3);
  EXPECT_EQ(bytes("YUV4MPEG2 W5 H3 F25:1 Cmono"), 15u);
}

TEST(Y4mHeader, FrameHeadersKeepTheirParameters) {
  EXPECT_TRUE(parse_frame_header("FRAME").parameters.empty());
  EXPECT_EQ(parse_frame_header("FRAME Itpi XKEY=1").parameters, (std::vector<std::string>{"Itpi", "XKEY=1"}));
  EXPECT_NE(y4m_test::error_of<format_error>([] { parse_frame_header("FRAME Itpi\r"); })
                .find("the FRAME header ends in a carriage return"),
            std::string::npos);
  for (const char* bad : {"FRAMES", "FRAM", "", "\x01\xff garbage"}) {
    EXPECT_NE(y4m_test::error_of<format_error>([&] { parse_frame_header(bad); }).find("a FRAME header was expected"),
              std::string::npos)
        << bad;
  }
  EXPECT_EQ(printable_excerpt("\x01\xff" "ab"), "\\x01\\xffab");
}

// Times are computed per frame, never accumulated; the time-code mode follows the
// rate as a fraction.
TEST(Y4mFrameClock, TimesAndTimeCodesFollowTheRate) {
  const frame_clock ntsc({30000, 1001});
  EXPECT_EQ(ntsc.timecode_mode(), ulbase::timecode::mode_29_97_df);
  EXPECT_EQ(ntsc.time_of(1800000), 1800000.0 * 1001 / 30000);
  EXPECT_EQ(ntsc.timecode_of(1800).to_string(), "00:01:00;02");  // labels 00 and 01 are skipped
  EXPECT_EQ(frame_clock({60000, 2002}).timecode_mode(), ulbase::timecode::mode_29_97_df);
  EXPECT_EQ(frame_clock({50, 2}).timecode_of(25).to_string(), "00:00:01:00");
  EXPECT_EQ(frame_clock({24000, 1001}).timecode_mode(), ulbase::timecode::mode_23_976);
  EXPECT_EQ(frame_clock({15, 1}).timecode_mode(), ulbase::timecode::mode_none);
}

}  // namespace
