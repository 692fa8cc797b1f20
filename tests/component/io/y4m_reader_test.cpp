#include "io/y4m_reader.h"
#include "y4m_test_files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>
#include <unistd.h>

namespace {

using namespace ns_y4m;
using namespace y4m_test;
using ::testing::HasSubstr;

// Reads every frame and checks each byte against the picture it was written from.
void expect_frames(y4m_reader& r, uint64_t frames) {
  std::string got(r.picture_size(), '\0');
  for (uint64_t n = 0; n < frames; ++n) {
    ASSERT_TRUE(r.read_frame(reinterpret_cast<uint8_t*>(got.data()))) << "frame " << n;
    ASSERT_EQ(got, picture(n, r.picture_size())) << "frame " << n;
  }
  EXPECT_FALSE(r.read_frame(reinterpret_cast<uint8_t*>(got.data())));
  EXPECT_EQ(r.frames_read(), frames);
}

// Pictures smaller than the look-ahead and larger than it, with frame parameters
// that lengthen the headers: every byte lands in its own frame.
TEST(Y4mReader, ReadsFramesOfEverySizeFromFiles) {
  scratch_dir dir;
  for (const char* header : {"YUV4MPEG2 W3 H3 F25:1 C420jpeg", "YUV4MPEG2 W211 H97 F25:1 C422",
                             "YUV4MPEG2 W96 H64 F25:1 Cmono"}) {
    SCOPED_TRACE(header);
    const std::string path = write_file(dir / "a.y4m", stream(header, 9, picture_bytes(parse_stream_header(header))));
    y4m_reader r(path);
    EXPECT_EQ(r.name(), path);
    ASSERT_TRUE(r.frames_in_file());
    EXPECT_EQ(r.frames_in_file()->frames, 9u);
    EXPECT_TRUE(r.frames_in_file()->exact);
    expect_frames(r, 9);
  }
  const std::string header = "YUV4MPEG2 W211 H97 F25:1 C422";
  const uint64_t bytes = picture_bytes(parse_stream_header(header));
  std::string s = header + "\n";
  for (int n = 0; n < 3; ++n) s += "FRAME Ip XN=" + std::to_string(n) + "\n" + picture(n, bytes);
  y4m_reader r(write_file(dir / "b.y4m", s));
  EXPECT_FALSE(r.frames_in_file()->exact);
  std::string got(bytes, '\0');
  ASSERT_TRUE(r.read_frame(reinterpret_cast<uint8_t*>(got.data())));
  ASSERT_TRUE(r.read_frame(reinterpret_cast<uint8_t*>(got.data())));
  EXPECT_EQ(got, picture(1, bytes));
  EXPECT_EQ(r.last_frame_header().parameters, (std::vector<std::string>{"Ip", "XN=1"}));
}

// A pipe hands over the bytes in pieces of any size; the stream must come out the same.
TEST(Y4mReader, ReadsAPipeFedInOddPieces) {
  const std::string header = "YUV4MPEG2 W211 H97 F30000:1001 C420mpeg2";
  const std::string data = stream(header, 12, picture_bytes(parse_stream_header(header)));
  int fds[2];
  ASSERT_EQ(pipe(fds), 0);
  std::thread feeder([&] {
    size_t piece = 1;
    for (size_t at = 0; at < data.size(); at += piece, piece = piece * 3 % 40009 + 1) {
      const size_t n = std::min(piece, data.size() - at);
      if (write(fds[1], data.data() + at, n) != static_cast<ssize_t>(n)) break;
    }
    close(fds[1]);
  });
  {
    y4m_reader r(fds[0], "pipe", true);
    EXPECT_FALSE(r.frames_in_file());
    expect_frames(r, 12);
  }
  feeder.join();
}

TEST(Y4mReader, BadStreamsNameTheFileAndFrame) {
  scratch_dir dir;
  const std::string header = "YUV4MPEG2 W64 H48 F25:1";
  const uint64_t bytes = 64 * 48 * 3 / 2;
  const std::string whole = stream(header, 4, bytes);
  std::string got(bytes, '\0');
  const auto read_all = [&](const std::string& content) {
    const std::string path = write_file(dir / "bad.y4m", content);
    return error_of([&] {
      y4m_reader r(path);
      while (r.read_frame(reinterpret_cast<uint8_t*>(got.data()))) {
      }
    });
  };
  const std::string path = dir / "bad.y4m";
  EXPECT_EQ(read_all(whole.substr(0, whole.size() - 1)),
            path + ": frame 3: the stream ends inside the picture (" + std::to_string(bytes - 1) + " of " +
                std::to_string(bytes) + " bytes): the last frame is cut short");
  EXPECT_EQ(read_all(whole + "FRA"), path + ": frame 4: the stream ends inside the FRAME header");
  EXPECT_THAT(read_all(whole.substr(0, whole.size() - bytes - 6) + "XRAME\n" + picture(3, bytes)),
              HasSubstr("bad.y4m: frame 3: a FRAME header was expected, found 'XRAME'"));
  EXPECT_EQ(read_all(""), path + ": the stream is empty: a YUV4MPEG2 stream was expected");
  EXPECT_THAT(read_all("\x89PNG\r\n\x1a\n" + std::string(100000, 'x')), HasSubstr("bad.y4m: not a YUV4MPEG2 stream"));
  EXPECT_EQ(read_all("YUV4MPEG2 W64 H48 F25:1 C444\n"),
            path + ": chroma format C444 is not supported: 8-bit 4:2:0 (C420jpeg, C420mpeg2, C420paldv, C420) or "
                   "4:2:2 (C422) expected");
  EXPECT_EQ(read_all("YUV4MPEG2 W64 H48 F25:1"), path + ": the stream ends inside its header");
  EXPECT_EQ(read_all("YUV4MPEG2 W64" + std::string(20000, ' ')), path + ": the stream header is longer than 16384 bytes");

  EXPECT_THAT(error_of([&] { y4m_reader r(dir / "missing.y4m"); }),
              HasSubstr("missing.y4m: cannot open: No such file or directory"));
  EXPECT_THAT(error_of([&] { y4m_reader r(dir / "."); }), HasSubstr(": is a directory"));
}

}  // namespace
