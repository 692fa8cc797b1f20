// introoutro's sound on files made by the ffmpeg program (skipped without it): a
// bumper (AAC 44.1 kHz mono, 440 Hz), a show (PCM 48 kHz 5.1, 1000 Hz, its sound
// starting 0.12 s after its first picture) and a trailer (FLAC 44.1 kHz stereo,
// 2500 Hz), their pictures at 25, 29.97 and 24 frames/s, spliced to mp4, mov, mkv
// and Y4M + WAV. The sound read back changes tone where the pictures change piece,
// to the sample for PCM and FLAC and within a few milliseconds for AAC, lasts as
// long as the pictures, keeps the show's lead, and the error paths name the file.

#include "audio/audio_decoder.h"
#include "ffmpeg_files.h"
#include "signal_checks.h"
#include "test_media.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
}

#include <cmath>
#include <cstdlib>
#include <filesystem>

namespace {

using namespace introoutro_test;
using namespace ns_audio_test;
using ::testing::HasSubstr;
using ::testing::Not;

// The pictures: 2 s at 25 -> 60 frames at 29.97, the show's 120, 1.5 s at 24 -> 45.
constexpr uint32_t rate = 48000;
constexpr uint64_t intro_frames = 60, main_frames = 120, outro_frames = 45;
// Where the pieces' pictures end, in samples at 48 kHz: frames x 1001/30000 s.
constexpr uint64_t join1 = 96096, join2 = 288288, video_end = 360360;
constexpr uint64_t main_lead = 5760;  // 0.12 s
constexpr double intro_hz = 440, main_hz = 1000, outro_hz = 2500;

struct stream_facts {
  int video_packets = 0;
  int audio_streams = 0;
  int sample_rate = 0;
  int channels = 0;
  int64_t audio_duration = 0;  // in samples, as the container says
  int64_t bit_rate = 0;
};

stream_facts facts_of(const std::string& path) {
  stream_facts f;
  AVFormatContext* ctx = nullptr;
  if (avformat_open_input(&ctx, path.c_str(), nullptr, nullptr) < 0) return f;
  avformat_find_stream_info(ctx, nullptr);
  for (unsigned i = 0; i < ctx->nb_streams; ++i) {
    const AVStream* s = ctx->streams[i];
    if (s->codecpar->codec_type != AVMEDIA_TYPE_AUDIO) continue;
    if (f.audio_streams++ == 0) {
      f.sample_rate = s->codecpar->sample_rate;
      f.channels = s->codecpar->ch_layout.nb_channels;
      f.audio_duration = av_rescale_q(s->duration, s->time_base, {1, f.sample_rate});
      f.bit_rate = s->codecpar->bit_rate;
    }
  }
  AVPacket* p = av_packet_alloc();
  while (av_read_frame(ctx, p) >= 0) {
    f.video_packets += ctx->streams[p->stream_index]->codecpar->codec_type == AVMEDIA_TYPE_VIDEO;
    av_packet_unref(p);
  }
  av_packet_free(&p);
  avformat_close_input(&ctx);
  return f;
}

// The output's sound, its channels summed, at its own rate and layout.
std::vector<double> sound_of(const std::string& path, const stream_facts& f) {
  AVChannelLayout layout{};
  av_channel_layout_default(&layout, f.channels);
  const ns_audio::audio_format format{static_cast<uint32_t>(f.sample_rate), layout.u.mask};
  const auto s = ns_audio::open_audio(path, format);
  if (!s) return {};
  return channel_sum(read_all(*s, format.channels()), format.channels());
}

double rms(const std::vector<double>& x, uint64_t first, uint64_t last) {
  double sum = 0;
  for (uint64_t t = first; t < last; ++t) sum += x[t] * x[t];
  return std::sqrt(sum / static_cast<double>(last - first));
}

// Each piece's tone where its pictures are. `edge`: samples next to a join allowed to
// be off (a codec's smearing); `phase`: how far a tone's start may be from where its
// piece's sound starts. Lossless outputs are checked to the sample.
void expect_in_step(const std::vector<double>& x, uint64_t edge, double phase) {
  ASSERT_GE(x.size(), video_end);
  const auto tone = [&](uint64_t first, uint64_t last, double hz) { return tone_fit(x, first, last, hz, rate); };
  // Lossless: every sample within 2% of the tone's amplitude; lossy: the residual
  // within 30% in all (AAC spreads a cut's noise over the frame before it).
  const bool lossless = edge <= 1;
  const auto fits_all = [&](const tone_fit& f, uint64_t first, uint64_t last) {
    double residual = 0;
    for (uint64_t t = first; t < last; ++t) {
      if (lossless && !f.fits(x, t, 0.02)) return ::testing::AssertionFailure() << "sample " << t << " is " << x[t];
      residual += (x[t] - f.at(t)) * (x[t] - f.at(t));
    }
    residual = std::sqrt(residual / static_cast<double>(last - first)) / f.amplitude();
    if (residual > 0.3) return ::testing::AssertionFailure() << "residual " << residual << " from " << first;
    return ::testing::AssertionSuccess();
  };

  // The bumper: its tone from the first sample to the first join, then the show's lead.
  const tone_fit intro = tone(2000, join1 - 2000, intro_hz);
  EXPECT_NEAR(intro.samples_late(0), 0, phase);
  EXPECT_TRUE(fits_all(intro, join1 - 1000, join1 - edge));
  EXPECT_GT(intro.amplitude(), 0.05);
  EXPECT_LT(rms(x, join1 + edge, join1 + main_lead - edge), 0.01 * intro.amplitude());

  // The show, starting after its lead, to the second join, the trailer after it.
  const uint64_t main_start = join1 + main_lead;
  const tone_fit show = tone(main_start + 2000, join2 - 2000, main_hz);
  EXPECT_NEAR(show.samples_late(main_start), 0, phase);
  EXPECT_TRUE(fits_all(show, main_start + edge, main_start + 1000));
  EXPECT_TRUE(fits_all(show, join2 - 1000, join2 - edge));
  const tone_fit trailer = tone(join2 + 2000, video_end - 2000, outro_hz);
  EXPECT_NEAR(trailer.samples_late(join2), 0, phase);
  // The resampler's own start takes a few samples to settle into the trailer's tone.
  EXPECT_TRUE(fits_all(trailer, join2 + std::max<uint64_t>(edge, 24), join2 + 1000));
  EXPECT_TRUE(fits_all(trailer, video_end - 1000, video_end - edge));
  EXPECT_FALSE(fits_all(show, join2 + edge, join2 + 1000));
  if (lossless) {
    // To the sample: the bumper's last sample is the one before the join, silence from
    // it on; the show's last sample is its tone, the next is not.
    // The show's tone starts at phase 0: its first sample is 0, the next is not.
    EXPECT_TRUE(intro.fits(x, join1 - 1, 0.02));
    EXPECT_EQ(rms(x, join1, main_start + 1), 0.0);
    EXPECT_NE(x[main_start + 1], 0.0);
    EXPECT_TRUE(show.fits(x, join2 - 1, 0.02));
    EXPECT_FALSE(show.fits(x, join2 + 1, 0.02) && show.fits(x, join2 + 2, 0.02));
  }
}

class SoundFiles : public ffmpeg_files<SoundFiles> {
protected:
  static void SetUpTestSuite() {
    if (!start()) return;
    const std::string ffmpeg = "ffmpeg -v error -y -f lavfi -i ";
    // Each sound runs past its pictures, so that the join cuts it.
    made = make(ffmpeg + "testsrc2=s=64x48:r=25:d=2 -f lavfi -i sine=f=440:r=44100:d=2.5 -ac 1 -c:v libx264 "
                         "-pix_fmt yuv420p -c:a aac " + at("bumper.mp4")) &&
           make(ffmpeg + "testsrc=s=64x48:r=30000/1001:d=4.004 -itsoffset 0.12 -f lavfi -i sine=f=1000:r=48000:d=4.2 "
                         "-filter_complex \"[1]pan=5.1|c0=c0|c1=c0|c2=c0|c3=c0|c4=c0|c5=c0[a]\" -map 0:v -map [a] "
                         "-t 4.004 -c:v prores_ks -c:a pcm_s24le " + at("show.mov")) &&
           make(ffmpeg + "smptebars=s=64x48:r=24:d=1.5 -f lavfi -i sine=f=2500:r=44100:d=2 -ac 2 -c:v ffv1 "
                         "-pix_fmt yuv420p -c:a flac " + at("trailer.mkv"));
    if (!made) return;
    // An intro whose sound is packets that are not what their codec says.
    write_raw_audio(at("garbage.nut"), AV_CODEC_ID_MP3,
                    std::vector<std::vector<uint8_t>>(40, std::vector<uint8_t>(400, 0x00)));
    made = make(ffmpeg + "testsrc2=s=64x48:r=25:d=2 -i " + at("garbage.nut") +
                " -map 0:v -map 1:a -c:v ffv1 -c:a copy " + at("broken.nut"));
  }
  static std::vector<std::string> three() {
    return {"--intro", at("bumper.mp4"), "--main", at("show.mov"), "--outro", at("trailer.mkv")};
  }
};

TEST_F(SoundFiles, EachContainersSoundChangesPieceWithThePictures) {
  struct expected {
    const char* container;
    uint64_t edge;
    double phase;
  };
  // AAC smears a cut over a few milliseconds; PCM and FLAC keep every sample.
  for (const expected e : {expected{"mov", 1, 0.5}, expected{"mkv", 1, 0.5}, expected{"mp4", 144, 2}}) {
    SCOPED_TRACE(e.container);
    auto args = three();
    const std::string path = out(std::string("out.") + e.container);
    args.insert(args.end(), {"-o", path, "-q"});
    const run_result r = run(args);
    ASSERT_EQ(r.status, 0) << r.err;
    const stream_facts f = facts_of(path);
    EXPECT_EQ(f.video_packets, static_cast<int>(intro_frames + main_frames + outro_frames));
    ASSERT_EQ(f.audio_streams, 1);
    EXPECT_EQ(f.sample_rate, 48000);  // the show's rate and layout
    EXPECT_EQ(f.channels, 6);
    const std::vector<double> x = sound_of(path, f);
    if (e.edge <= 1) {
      EXPECT_EQ(x.size(), video_end);
    } else {
      // The encoder's last frame is padded; the container's edit list says where the
      // sound ends.
      EXPECT_EQ(f.audio_duration, static_cast<int64_t>(video_end));
    }
    expect_in_step(x, e.edge, e.phase);
  }
}

TEST_F(SoundFiles, Y4mOutputsWriteTheSoundBesideOrSayTheyDoNot) {
  auto args = three();
  args.insert(args.end(), {"-o", out("out.y4m"), "--audio-out", out("out.wav"), "-q"});
  run_result r = run(args);
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.err, "");
  const stream_facts f = facts_of(out("out.wav"));
  ASSERT_EQ(f.channels, 6);
  const std::vector<double> x = sound_of(out("out.wav"), f);
  EXPECT_EQ(x.size(), video_end);
  expect_in_step(x, 1, 0.5);

  args = three();
  args.insert(args.end(), {"-o", out("plain.y4m"), "-q"});
  r = run(args);
  ASSERT_EQ(r.status, 0) << r.err;
  const std::string said = "warning: the sound of the inputs is not written";
  EXPECT_THAT(r.err, HasSubstr(said));
  EXPECT_EQ(r.err.find(said), r.err.rfind(said));
  EXPECT_THAT(r.err, HasSubstr("--audio-out FILE.wav"));

  args = three();
  args.insert(args.end(), {"-o", out("silent.y4m"), "-q", "--no-audio"});
  r = run(args);
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.err, "");
}

TEST_F(SoundFiles, OptionsAndPipedMainSourcesChooseTheSound) {
  auto args = three();
  args.insert(args.end(), {"-o", out("none.mkv"), "-q", "--no-audio"});
  run_result r = run(args);
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(facts_of(out("none.mkv")).audio_streams, 0);

  args = three();
  args.insert(args.end(), {"-o", out("pcm.mkv"), "-q", "--acodec", "pcm_s16le"});
  r = run(args);
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(sound_of(out("pcm.mkv"), facts_of(out("pcm.mkv"))).size(), video_end);

  args = three();
  args.insert(args.end(), {"-o", out("low.mp4"), "-q", "--abitrate", "96k"});
  r = run(args);
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NEAR(facts_of(out("low.mp4")).bit_rate, 96000, 16000);

  // AC-3 takes whole frames only: the last is padded and its packet cut back.
  args = three();
  args.insert(args.end(), {"-o", out("ac3.mp4"), "-q", "--acodec", "ac3"});
  r = run(args);
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(facts_of(out("ac3.mp4")).audio_duration, static_cast<int64_t>(video_end));

  args = three();
  args.insert(args.end(), {"-o", out("bad.mp4"), "-q", "--acodec", "ffv1"});
  r = run(args);
  EXPECT_EQ(r.status, 1);
  EXPECT_THAT(r.err, HasSubstr("bad.mp4: the audio encoder ffv1 is not available; the mp4 audio encoders here are: "));

  // A main source on standard input is read once, for its pictures: the clips' sound
  // comes in the default format around the show's silence.
  r = run({"--intro", at("bumper.mp4"), "--main", "-", "--outro", at("trailer.mkv"), "-o", out("piped.mkv")},
          streams(at("show.mov")));
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_THAT(r.err, HasSubstr("standard input is read once, for its pictures: its sound is not used"));
  const stream_facts f = facts_of(out("piped.mkv"));
  EXPECT_EQ(f.sample_rate, 48000);
  EXPECT_EQ(f.channels, 2);
  const std::vector<double> x = sound_of(out("piped.mkv"), f);
  ASSERT_EQ(x.size(), video_end);
  EXPECT_GT(rms(x, join1 - 2000, join1), 0.05);
  EXPECT_EQ(rms(x, join1, join2), 0.0);
  EXPECT_GT(rms(x, join2 + 100, join2 + 2000), 0.05);
}

TEST_F(SoundFiles, UndecodableSoundFailsTheJobUnlessIgnored) {
  const std::vector<std::string> args = {"--intro", at("broken.nut"), "--main", at("show.mov"), "-o", out("b.mkv")};
  run_result r = run(args);
  EXPECT_EQ(r.status, 1);
  EXPECT_THAT(r.err, HasSubstr("error: " + at("broken.nut") + ": audio stream #1: cannot decode mp3 audio at 0.000 s"));
  EXPECT_FALSE(std::filesystem::exists(out("b.mkv")));

  auto ignoring = args;
  ignoring.push_back("--ignore-audio-errors");
  r = run(ignoring);
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_THAT(r.err, HasSubstr("warning: " + at("broken.nut") + ": audio stream #1: cannot decode mp3 audio"));
  EXPECT_EQ(r.err.find("goes on without sound"), r.err.rfind("goes on without sound"));
  const stream_facts f = facts_of(out("b.mkv"));
  const std::vector<double> x = sound_of(out("b.mkv"), f);
  ASSERT_EQ(x.size(), static_cast<uint64_t>(std::llround(f.video_packets * 1001.0 / 30000 * rate)));
  // The intro's 60 frames are silent, then the show's lead, then its tone.
  EXPECT_EQ(rms(x, 0, join1 + main_lead), 0.0);
  EXPECT_GT(rms(x, join1 + main_lead, join1 + main_lead + 2000), 0.1);
}

}  // namespace
