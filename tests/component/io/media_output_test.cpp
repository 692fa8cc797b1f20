// The media sink and its muxer as the sound wiring will use them: a second stream
// beside the video, written from another thread or following the sink's pictures,
// both streams whole in the file, which is finished only when the last stream ends.

#include "io/media_sink.h"
#include "io/y4m_source.h"
#include "zm/ZMGraph.h"
#include "y4m_test_files.h"

#include <gtest/gtest.h>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/imgutils.h>
}

#include <thread>

namespace {

using namespace ns_media;

constexpr int sound_packets = 12;
constexpr int video_frames = 10;
constexpr int samples_per_packet = 1920;  // 40 ms at 48 kHz: one video frame at 25

// Encodes packets of 1920 mono samples, every sample of packet n set to n & 0xFF.
class pcm_writer {
public:
  explicit pcm_writer(media_muxer& mux) : mux(mux) {
    const AVCodec* pcm = avcodec_find_encoder(AV_CODEC_ID_PCM_S16LE);
    codec.reset(avcodec_alloc_context3(pcm));
    codec->sample_fmt = AV_SAMPLE_FMT_S16;
    codec->sample_rate = 48000;
    codec->time_base = {1, 48000};
    av_channel_layout_default(&codec->ch_layout, 1);
    EXPECT_EQ(avcodec_open2(codec.get(), pcm, nullptr), 0);
    stream = mux.add_stream(*codec);
  }
  void write(int n) {
    frame->format = codec->sample_fmt;
    frame->nb_samples = samples_per_packet;
    frame->sample_rate = codec->sample_rate;
    av_channel_layout_copy(&frame->ch_layout, &codec->ch_layout);
    ASSERT_EQ(av_frame_get_buffer(frame.get(), 0), 0);
    std::fill(frame->data[0], frame->data[0] + samples_per_packet * 2, static_cast<uint8_t>(n));
    frame->pts = int64_t{n} * samples_per_packet;
    ASSERT_EQ(avcodec_send_frame(codec.get(), frame.get()), 0);
    av_frame_unref(frame.get());
    while (avcodec_receive_packet(codec.get(), packet.get()) == 0) mux.write(*packet, stream);
  }
  void end() { mux.end_stream(stream); }
  int index() const { return stream; }

private:
  media_muxer& mux;
  codec_ptr codec;
  frame_ptr frame = make_frame();
  packet_ptr packet = make_packet();
  int stream = -1;
};

struct file_contents {
  int packets[2] = {0, 0};
  std::vector<int> sound;         // first byte of each sound packet
  std::vector<std::string> video;  // each video packet decoded, planes back to back
  std::string timecode;
};

file_contents read_file(const std::string& path) {
  file_contents c;
  AVFormatContext* in = nullptr;
  EXPECT_EQ(avformat_open_input(&in, path.c_str(), nullptr, nullptr), 0);
  EXPECT_EQ(avformat_find_stream_info(in, nullptr), 0);
  EXPECT_EQ(in->nb_streams, 2u);
  const AVCodecParameters* par = in->streams[0]->codecpar;
  const AVCodec* decoder = avcodec_find_decoder(par->codec_id);
  codec_ptr dec(avcodec_alloc_context3(decoder));
  avcodec_parameters_to_context(dec.get(), par);
  EXPECT_EQ(avcodec_open2(dec.get(), decoder, nullptr), 0);
  packet_ptr p = make_packet();
  frame_ptr f = make_frame();
  while (av_read_frame(in, p.get()) == 0) {
    ++c.packets[p->stream_index];
    if (p->stream_index == 1) c.sound.push_back(p->data[0]);
    if (p->stream_index == 0 && avcodec_send_packet(dec.get(), p.get()) == 0 &&
        avcodec_receive_frame(dec.get(), f.get()) == 0) {
      const auto format = static_cast<AVPixelFormat>(f->format);
      std::string bytes(static_cast<size_t>(av_image_get_buffer_size(format, f->width, f->height, 1)), '\0');
      av_image_copy_to_buffer(reinterpret_cast<uint8_t*>(bytes.data()), static_cast<int>(bytes.size()), f->data,
                              f->linesize, format, f->width, f->height, 1);
      c.video.push_back(std::move(bytes));
    }
    av_packet_unref(p.get());
  }
  const AVDictionaryEntry* tc = av_dict_get(in->metadata, "timecode", nullptr, 0);
  c.timecode = tc ? tc->value : "none";
  avformat_close_input(&in);
  return c;
}

ns_y4m::stream_header small_header() {
  ns_y4m::stream_header h;
  h.width = 64;
  h.height = 48;
  h.rate = {25, 1};
  h.sampling = ns_y4m::chroma::c420mpeg2;
  return h;
}

TEST(MediaMuxer, ASecondStreamFromAnotherThreadIsInterleavedAndEndsTheFile) {
  y4m_test::scratch_dir dir;
  const std::string path = dir / "two.mkv";
  {
    media_muxer mux(path);
    video_encoder video(small_header(), {"ffv1", std::nullopt, "", std::nullopt}, mux);
    pcm_writer sound(mux);
    mux.create();
    // Some sound packets come before the header is written, some after.
    std::thread audio([&] {
      for (int n = 0; n < sound_packets; ++n) sound.write(n);
      sound.end();
    });
    mux.start(std::string("10:00:00:00"));
    for (int n = 0; n < video_frames; ++n) {
      frame_ptr f = make_frame();
      f->format = AV_PIX_FMT_YUV420P;
      f->width = 64;
      f->height = 48;
      ASSERT_EQ(av_frame_get_buffer(f.get(), 0), 0);
      for (int p = 0; p < 3; ++p) std::fill(f->data[p], f->data[p] + f->linesize[p] * (p ? 24 : 48), uint8_t(n * 9));
      f->pts = n;
      video.encode(f.get());
    }
    video.finish();
    audio.join();
    const std::string late = y4m_test::error_of([&] {
      packet_ptr p = make_packet();
      mux.write(*p, sound.index());
    });
    EXPECT_NE(late.find("after its end"), std::string::npos) << late;
  }
  const file_contents c = read_file(path);
  EXPECT_EQ(c.packets[0], video_frames);
  EXPECT_EQ(c.packets[1], sound_packets);
  for (int n = 0; n < sound_packets && n < static_cast<int>(c.sound.size()); ++n) EXPECT_EQ(c.sound[n], n);
  EXPECT_EQ(c.timecode, "10:00:00:00");
}

// Sound packet n written after picture n, one more at the end of the video.
class pcm_companion : public companion_stream {
public:
  explicit pcm_companion(media_muxer& mux) : sound(mux) {}
  void after_picture(const KX::RPtr<KX::ZM::RFrame>& frame) override {
    seen.push_back(static_cast<int>(frame->getSequence()));
    sound.write(static_cast<int>(seen.size()) - 1);
  }
  void at_end(uint64_t pictures) override {
    ended_after = pictures;
    sound.write(static_cast<int>(pictures));
    sound.end();
  }
  pcm_writer sound;
  std::vector<int> seen;
  uint64_t ended_after = 0;
};

// The sink in a graph: Y4M pictures reach FFV1 through the sink's zero-copy wrapping
// unchanged, the companion follows every picture, and the first picture's time code
// is the file's.
TEST(MediaSink, PicturesArriveUnchangedAndACompanionFollowsThem) {
  y4m_test::scratch_dir dir;
  const uint64_t frames = 9;
  const uint64_t bytes = 64 * 48 * 3 / 2;
  const std::string clip =
      y4m_test::write_file(dir / "clip.y4m", y4m_test::stream("YUV4MPEG2 W64 H48 F25:1 C420mpeg2", frames, bytes));
  KX::RPtr<media_sink> sink(new media_sink(dir / "out.mkv", small_header(), {}));
  EXPECT_STREQ(sink->codec_name(), "ffv1");
  auto companion = std::make_unique<pcm_companion>(sink->muxer());
  pcm_companion* watched = companion.get();
  sink->add_companion(std::move(companion));
  KX::ZM::ZMGraph graph(2);
  graph.addComponent("clip", new ns_y4m::y4m_source(std::make_unique<ns_y4m::y4m_reader>(clip)), {}, {"main"});
  graph.addComponent("sink", sink, {"main"}, {});
  graph.run();
  EXPECT_EQ(sink->frames_written(), frames);
  EXPECT_EQ(watched->seen, (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8}));
  EXPECT_EQ(watched->ended_after, frames);
  const file_contents c = read_file(dir / "out.mkv");
  EXPECT_EQ(c.packets[1], static_cast<int>(frames) + 1);
  ASSERT_EQ(c.video.size(), frames);
  for (uint64_t n = 0; n < frames; ++n) EXPECT_TRUE(c.video[n] == y4m_test::picture(n, bytes)) << n;
  EXPECT_EQ(c.timecode, "00:00:00:00");
}

}  // namespace
