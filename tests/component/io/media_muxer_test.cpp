// The muxer as the sound wiring will use it: a second stream added beside the video
// encoder's, its packets written from another thread (some before the header), both
// streams whole in the file, which is finished only when the last stream ends.

#include "io/media_muxer.h"
#include "io/video_encoder.h"
#include "y4m_test_files.h"

#include <gtest/gtest.h>

extern "C" {
#include <libavutil/channel_layout.h>
}

#include <thread>

namespace {

using namespace ns_media;

constexpr int sound_packets = 12;
constexpr int video_frames = 10;
constexpr int samples_per_packet = 1920;  // 40 ms at 48 kHz: one video frame at 25

codec_ptr open_pcm() {
  const AVCodec* pcm = avcodec_find_encoder(AV_CODEC_ID_PCM_S16LE);
  codec_ptr c(avcodec_alloc_context3(pcm));
  c->sample_fmt = AV_SAMPLE_FMT_S16;
  c->sample_rate = 48000;
  c->time_base = {1, 48000};
  av_channel_layout_default(&c->ch_layout, 1);
  EXPECT_EQ(avcodec_open2(c.get(), pcm, nullptr), 0);
  return c;
}

void write_sound(media_muxer& mux, AVCodecContext& pcm, int stream) {
  frame_ptr f = make_frame();
  packet_ptr p = make_packet();
  for (int n = 0; n < sound_packets; ++n) {
    f->format = pcm.sample_fmt;
    f->nb_samples = samples_per_packet;
    f->sample_rate = pcm.sample_rate;
    av_channel_layout_copy(&f->ch_layout, &pcm.ch_layout);
    ASSERT_EQ(av_frame_get_buffer(f.get(), 0), 0);
    std::fill(f->data[0], f->data[0] + samples_per_packet * 2, static_cast<uint8_t>(n));
    f->pts = int64_t{n} * samples_per_packet;
    ASSERT_EQ(avcodec_send_frame(&pcm, f.get()), 0);
    av_frame_unref(f.get());
    while (avcodec_receive_packet(&pcm, p.get()) == 0) mux.write(*p, stream);
  }
  mux.end_stream(stream);
}

TEST(MediaMuxer, ASecondStreamFromAnotherThreadIsInterleavedAndEndsTheFile) {
  y4m_test::scratch_dir dir;
  const std::string path = dir / "two.mkv";
  ns_y4m::stream_header h;
  h.width = 64;
  h.height = 48;
  h.rate = {25, 1};
  h.sampling = ns_y4m::chroma::c420mpeg2;
  {
    media_muxer mux(path);
    video_encoder video(h, {"ffv1", std::nullopt, "", std::nullopt}, mux);
    codec_ptr pcm = open_pcm();
    const int sound = mux.add_stream(*pcm);
    mux.create();
    std::thread audio([&] { write_sound(mux, *pcm, sound); });
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
      mux.write(*p, sound);
    });
    EXPECT_NE(late.find("after its end"), std::string::npos) << late;
  }
  AVFormatContext* in = nullptr;
  ASSERT_EQ(avformat_open_input(&in, path.c_str(), nullptr, nullptr), 0);
  ASSERT_EQ(avformat_find_stream_info(in, nullptr), 0);
  ASSERT_EQ(in->nb_streams, 2u);
  int counts[2] = {0, 0};
  int64_t last_audio = -1;
  AVPacket* p = av_packet_alloc();
  while (av_read_frame(in, p) == 0) {
    ++counts[p->stream_index];
    if (p->stream_index == 1) {
      EXPECT_GT(p->pts, last_audio);
      last_audio = p->pts;
    }
    av_packet_unref(p);
  }
  av_packet_free(&p);
  EXPECT_EQ(counts[0], video_frames);
  EXPECT_EQ(counts[1], sound_packets);
  const AVDictionaryEntry* tc = av_dict_get(in->metadata, "timecode", nullptr, 0);
  EXPECT_STREQ(tc ? tc->value : "none", "10:00:00:00");
  avformat_close_input(&in);
}

}  // namespace
