#include "base/RBuffer.h"
#include "base/RString.h"
#include "io/y4m_sink.h"
#include "io/y4m_source.h"
#include "y4m_test_files.h"
#include "zm/ZMGraph.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace ns_y4m;
using namespace y4m_test;
using ::testing::HasSubstr;
using KX::RPtr;
using KX::ZM::RFrame;
using KX::ZM::RVideoFrame;

// Keeps every frame it reads.
class keeping_sink : public KX::ZM::RSink {
public:
  int configure(const KX::ZM::RComponentConfiguration&) override {
    description = dynamic_cast<const KX::ZM::RVideoDescription*>(inReaders[0]->getDescription().get());
    return 0;
  }
  bool process() override {
    RPtr<RFrame> f = inReaders[0]->nextFrame();
    if (f) frames.push_back(f);
    return static_cast<bool>(f);
  }
  RPtr<const KX::ZM::RVideoDescription> description;
  std::vector<RPtr<RFrame>> frames;
};

std::unique_ptr<y4m_reader> reader(const std::string& path) { return std::make_unique<y4m_reader>(path); }

// Frame n carries n, n / rate, 1 / rate, the time code of n, its picture, the
// matte's plane as "alpha" and the tag; the queue is described by the header.
TEST(Y4mSource, StampsFramesFromTheStreamClockWithMatteAndTag) {
  scratch_dir dir;
  const std::string clip = write_file(dir / "clip.y4m", stream("YUV4MPEG2 W6 H4 F30000:1001 C422", 40, 48));
  const std::string matte = write_file(dir / "matte.y4m", stream("YUV4MPEG2 W6 H4 F60000:2002 Cmono", 40, 24));
  RPtr<keeping_sink> sink(new keeping_sink);
  KX::ZM::ZMGraph graph(3);
  graph.addComponent("clip", new y4m_source(reader(clip), reader(matte), "intro"), {}, {"intro"});
  graph.addComponent("sink", sink, {"intro"}, {});
  graph.run();

  ASSERT_TRUE(sink->description);
  EXPECT_EQ(sink->description->getWidth(), 6u);
  EXPECT_EQ(sink->description->getHeight(), 4u);
  EXPECT_DOUBLE_EQ(sink->description->getFrameRate(), 30000.0 / 1001);
  ASSERT_EQ(sink->frames.size(), 40u);
  for (uint32_t n = 0; n < 40; ++n) {
    SCOPED_TRACE("frame " + std::to_string(n));
    const auto& f = static_cast<const RVideoFrame&>(*sink->frames[n]);
    EXPECT_EQ(f.getSequence(), n);
    EXPECT_EQ(f.getPlayTime().getSecondsAsDouble(), n * 1001.0 / 30000);
    EXPECT_EQ(f.getDecodeTime(), f.getPlayTime());
    EXPECT_EQ(f.getDuration().getSecondsAsDouble(), 1001.0 / 30000);
    EXPECT_EQ(f.getTimecode(), ulbase::timecode::from_frame_index(ulbase::timecode::mode_29_97_df, n));
    EXPECT_EQ(f.getDataFormat(), 0x59323250u);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(f.getData()), f.getDataLength()), picture(n, 48));
    const auto* alpha = dynamic_cast<const KX::RBuffer*>(f.getParameter("alpha").get());
    ASSERT_NE(alpha, nullptr);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(alpha->getBuffer()), alpha->getUsed()), picture(n, 24));
    const auto* tag = dynamic_cast<const KX::RString*>(f.getParameter(source_parameter).get());
    ASSERT_NE(tag, nullptr);
    EXPECT_STREQ(tag->desc(), "intro");
  }
  EXPECT_EQ(static_cast<const RVideoFrame&>(*sink->frames[39]).getTimecode().to_string(), "00:00:01;09");
}

// Each way a matte can fail to fit its clip is an error that names it, at configure
// time when the headers tell, else at the frame where the counts part.
TEST(Y4mSource, RefusesMattesThatDoNotFit) {
  scratch_dir dir;
  const std::string clip = write_file(dir / "clip.y4m", stream("YUV4MPEG2 W6 H4 F25:1", 5, 36));
  const std::vector<std::pair<std::string, std::string>> cases = {
      {stream("YUV4MPEG2 W6 H4 F25:1", 5, 36), "a matte must be a Cmono stream, found C420jpeg"},
      {stream("YUV4MPEG2 W6 H2 F25:1 Cmono", 5, 12), "the matte is 6x2 (its clip " + clip + " is 6x4)"},
      {stream("YUV4MPEG2 W6 H4 F24:1 Cmono", 5, 24), "the matte runs at 24/1 frames/s (its clip " + clip +
                                                          " is at 25/1)"},
      {stream("YUV4MPEG2 W6 H4 F25:1 Cmono", 4, 24), "the matte ends after 4 frames, before its clip " + clip},
      {stream("YUV4MPEG2 W6 H4 F25:1 Cmono", 6, 24), "the matte has more frames than its clip " + clip + " (5)"},
  };
  for (const auto& [content, message] : cases) {
    SCOPED_TRACE(message);
    const std::string matte = write_file(dir / "matte.y4m", content);
    KX::ZM::ZMGraph graph(2);
    graph.addComponent("clip", new y4m_source(reader(clip), reader(matte)), {}, {"intro"});
    graph.addComponent("sink", new keeping_sink, {"intro"}, {});
    EXPECT_EQ(error_of([&] { graph.run(); }), matte + ": " + message);
  }
  KX::ZM::ZMGraph graph(2);
  graph.addComponent("clip", new y4m_source(reader(write_file(dir / "m.y4m", stream("YUV4MPEG2 W6 H4 F25:1 Cmono", 1, 24)))),
                     {}, {"intro"});
  graph.addComponent("sink", new keeping_sink, {"intro"}, {});
  EXPECT_THAT(error_of([&] { graph.run(); }), HasSubstr("m.y4m: Cmono has no colour planes"));
}

// Source to sink through queues of one frame reproduces the file byte for byte, a
// mixed stream's per-frame flags included; other streams get bare FRAME lines.
TEST(Y4mSink, CopiesAStream) {
  scratch_dir dir;
  const auto copy = [&](const std::string& content, uint64_t frames) {
    auto source = std::make_unique<y4m_reader>(write_file(dir / "in.y4m", content));
    const stream_header h = source->header();
    RPtr<y4m_sink> sink(new y4m_sink(std::make_unique<y4m_writer>(dir / "out.y4m"), h));
    KX::ZM::ZMGraph graph(1);
    graph.addComponent("main", new y4m_source(std::move(source)), {}, {"main"});
    graph.addComponent("out", sink, {"main"}, {});
    graph.run();
    EXPECT_EQ(sink->frames_written(), frames);
    EXPECT_EQ(sink->bytes_written(), read_file(dir / "out.y4m").size());
    return read_file(dir / "out.y4m");
  };
  const std::string plain = stream("YUV4MPEG2 W20 H10 F25:1 Ip A1:1 C420mpeg2 XCOLORRANGE=FULL", 30, 300);
  EXPECT_EQ(copy(plain, 30), plain);

  const auto flagged = [](const char* header, const std::vector<std::string>& flags) {
    std::string s = std::string(header) + "\n";
    for (size_t n = 0; n < flags.size(); ++n) {
      s += (flags[n].empty() ? "FRAME" : "FRAME " + flags[n]) + "\n" + picture(n, 300);
    }
    return s;
  };
  const std::vector<std::string> flags = {"Itti", "Ibbi XKEY=1", "I1pp", ""};
  EXPECT_EQ(copy(flagged("YUV4MPEG2 W20 H10 F25:1 Im", flags), 4), flagged("YUV4MPEG2 W20 H10 F25:1 Im C420jpeg", flags));
  EXPECT_EQ(copy(flagged("YUV4MPEG2 W20 H10 F25:1 It", flags), 4),
            flagged("YUV4MPEG2 W20 H10 F25:1 It C420jpeg", {"", "", "", ""}));
}

// The sink writes only what its header describes.
TEST(Y4mSink, RefusesStreamsItsHeaderDoesNotDescribe) {
  scratch_dir dir;
  const std::string in = write_file(dir / "in.y4m", stream("YUV4MPEG2 W20 H10 F25:1", 3, 300));
  const std::string out = dir / "out.y4m";
  const auto run = [&](const char* header) {
    KX::ZM::ZMGraph graph(1);
    graph.addComponent("main", new y4m_source(reader(in)), {}, {"main"});
    graph.addComponent("out", new y4m_sink(std::make_unique<y4m_writer>(out), parse_stream_header(header)), {"main"},
                       {});
    return error_of([&] { graph.run(); });
  };
  EXPECT_EQ(run("YUV4MPEG2 W20 H10 F30:1"),
            out + ": the stream to write is 20x10 at 25 frames/s, but its header says 20x10 at 30 frames/s");
  EXPECT_EQ(run("YUV4MPEG2 W20 H10 F25:1 C422"), out + ": frame 0 is IYUV, the stream is Y22P");
}

}  // namespace
