// Decoding each input's first audio stream to the output format: rate and layout
// conformed with the tone intact, the lead from the container's start times, and
// errors that name the file, the stream and the codec.

#include "audio/audio_decoder.h"
#include "audio/wav_writer.h"
#include "signal_checks.h"
#include "test_media.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
}

#include <fstream>

namespace {

using namespace ns_audio;
using namespace ns_audio_test;

using testing::HasSubstr;
using testing::StartsWith;
using testing::StrEq;
using testing::ThrowsMessage;

TEST(AudioDecoder, ConformsEveryRateAndLayoutAndKeepsTheTone) {
  struct input {
    const char* file;
    tone_stream tone;
    size_t slack;      // samples the codec may add or drop at the ends
    double tolerance;  // of the tone's amplitude: what the codec may change
  };
  const input inputs[] = {
      {"mono44.mkv", {"flac", 44100, AV_CH_LAYOUT_MONO, 1000, 1.0}, 2, 1e-3},
      {"surround48.mov", {"pcm_s24le", 48000, AV_CH_LAYOUT_5POINT1, 3000, 0.5}, 0, 1e-3},
      {"stereo44.mp4", {"alac", 44100, AV_CH_LAYOUT_STEREO, 700, 0.7}, 2, 1e-3},
      {"stereo48.mp4", {"aac", 48000, AV_CH_LAYOUT_STEREO, 440, 0.6}, 2048, 0.05},
  };
  const audio_format target{48000, AV_CH_LAYOUT_STEREO};
  for (const input& in : inputs) {
    SCOPED_TRACE(in.file);
    const std::string path = temp_path(in.file);
    write_media(path, picture_stream{{25, 1}, 5}, in.tone);
    EXPECT_EQ(probe_audio(path), (audio_format{in.tone.sample_rate, in.tone.channel_mask}));

    const auto sound = open_audio(path, target);
    ASSERT_TRUE(sound);
    EXPECT_EQ(sound->lead(), 0);
    EXPECT_EQ(sound->name(), path + ": audio stream #1");
    const std::vector<float> all = read_all(*sound, 2, 777);
    const size_t frames = all.size() / 2;
    const auto expected = static_cast<size_t>(std::llround(in.tone.seconds * 48000));
    EXPECT_GE(frames + in.slack, expected);
    EXPECT_LE(frames, expected + in.slack);
    const std::vector<double> x = channel_sum(all, 2);
    EXPECT_NEAR(crossing_hz(x, 2000, frames - 2000, 48000), in.tone.hz, in.tone.hz * 0.002);
    // Away from the ends the sound is the tone and nothing else, the same on both sides.
    for (size_t i = 2000; i < frames - 2000; ++i) ASSERT_NEAR(all[2 * i], all[2 * i + 1], in.tolerance) << "sample " << i;
    const tone_fit fit(x, 2000, 6000, in.tone.hz, 48000);
    EXPECT_GT(fit.amplitude(), 0.3);
    for (size_t t = 6000; t < 8000; ++t) ASSERT_TRUE(fit.fits(x, t, in.tolerance)) << "sample " << t;
    std::remove(path.c_str());
  }
}

TEST(AudioDecoder, LeadComesFromTheStreamStartTimes) {
  struct input {
    double picture_start, sound_start;
    uint32_t rate;
    int64_t lead;
  };
  for (const input& in : {input{0, 0.1, 48000, 4800}, input{0, 0.1, 44100, 4410}, input{0.2, 0.15, 48000, -2400},
                          input{0.04, 0.04, 48000, 0}}) {
    SCOPED_TRACE(testing::Message() << "pictures at " << in.picture_start << " s, sound at " << in.sound_start);
    const std::string path = temp_path("lead.mkv");
    write_media(path, picture_stream{{25, 1}, 10, in.picture_start},
                tone_stream{"flac", 44100, AV_CH_LAYOUT_STEREO, 500, 0.5, in.sound_start});
    EXPECT_EQ(open_audio(path, {in.rate, AV_CH_LAYOUT_STEREO})->lead(), in.lead);
    std::remove(path.c_str());
  }
  // Without pictures the sound has nothing to lead.
  const std::string path = temp_path("sound_only.mkv");
  write_media(path, std::nullopt, tone_stream{"flac", 44100, AV_CH_LAYOUT_STEREO, 500, 0.5, 0.1});
  EXPECT_EQ(open_audio(path, {48000, AV_CH_LAYOUT_STEREO})->lead(), 0);
  std::remove(path.c_str());
}

TEST(AudioDecoder, ChoosesTheOutputFormatFromTheInputs) {
  const std::string silent = temp_path("silent.mkv");
  write_media(silent, picture_stream{{25, 1}, 3}, std::nullopt);
  EXPECT_EQ(probe_audio(silent), std::nullopt);
  EXPECT_EQ(open_audio(silent, default_format()), nullptr);
  std::remove(silent.c_str());

  const audio_format surround{44100, AV_CH_LAYOUT_5POINT1};
  const std::optional<audio_format> clips[] = {std::nullopt, audio_format{22050, AV_CH_LAYOUT_MONO}};
  EXPECT_EQ(choose_output_format(surround, clips), surround);
  EXPECT_EQ(choose_output_format(std::nullopt, clips), (audio_format{48000, AV_CH_LAYOUT_STEREO}));
  EXPECT_EQ(choose_output_format(std::nullopt, std::span(clips, 1)), std::nullopt);
}

TEST(AudioDecoder, ErrorsNameTheFileTheStreamAndTheCodec) {
  const audio_format target = default_format();
  const std::string text = temp_path("notes.mkv");
  std::ofstream(text) << "these are notes, not a film\n";
  EXPECT_THAT([&] { open_audio(text, target); },
              ThrowsMessage<audio_error>(StartsWith(text + ": cannot be opened as a media file: ")));
  std::remove(text.c_str());
  const std::string missing = temp_path("missing.mov");
  EXPECT_THAT([&] { probe_audio(missing); }, ThrowsMessage<audio_error>(HasSubstr(missing + ": cannot be opened")));

  // Packets that are not what their codec says.
  const std::string garbage = temp_path("garbage.nut");
  write_raw_audio(garbage, AV_CODEC_ID_MP3, std::vector<std::vector<uint8_t>>(8, std::vector<uint8_t>(400, 0x00)));
  EXPECT_THAT(
      [&] {
        const auto sound = open_audio(garbage, target);
        read_all(*sound, 2);
      },
      ThrowsMessage<audio_error>(StartsWith(garbage + ": audio stream #0: cannot decode mp3 audio at 0.000 s: ")));
  std::remove(garbage.c_str());

  // A bad packet after two good ones: the samples before it come first, then the
  // error with its time.
  const std::string broken = temp_path("broken.nut");
  std::vector<uint8_t> good(4096);
  for (size_t i = 0; i < good.size(); i += 2) good[i] = 16;  // s16 value 16 on both channels
  write_raw_audio(broken, AV_CODEC_ID_PCM_S16LE, {good, good, {1, 2, 3}, good});
  const auto sound = open_audio(broken, {44100, AV_CH_LAYOUT_STEREO});
  std::vector<float> samples(2 * 10000, -1.0f);
  ASSERT_EQ(sound->read(samples.data(), 10000), 2048u);
  for (size_t i = 0; i < 2 * 2048; ++i) ASSERT_EQ(samples[i], 16.0f / 32768) << "value " << i;
  EXPECT_THAT([&] { sound->read(samples.data(), 10000); },
              ThrowsMessage<audio_error>(StartsWith(broken + ": audio stream #0: cannot decode pcm_s16le audio at 0.052 s: ")));
  std::remove(broken.c_str());

  // Twenty channels with no speaker positions.
  const std::string wide = temp_path("twenty.wav");
  {
    wav_writer w(wide, {48000, (uint64_t{1} << 20) - 1}, wav_sample::pcm16);
    const std::vector<float> silence(20 * 10);
    w.write(silence.data(), 10);
    w.close();
  }
  EXPECT_THAT([&] { probe_audio(wide); },
              ThrowsMessage<audio_error>(StartsWith(wide + ": audio stream #0: unsupported channel layout")));
  std::remove(wide.c_str());

  // A codec the container carries and this FFmpeg build has no usable decoder for
  // (none, or only an experimental one); the file names it as its demuxer reads it.
  const AVOutputFormat* nut = av_guess_format("nut", nullptr, nullptr);
  std::optional<AVCodecID> undecodable;
  for (const AVCodecDescriptor* d = nullptr; (d = avcodec_descriptor_next(d)) != nullptr && !undecodable;) {
    const AVCodec* decoder = avcodec_find_decoder(d->id);
    if (d->type == AVMEDIA_TYPE_AUDIO && avformat_query_codec(nut, d->id, 0) == 1 &&
        (decoder == nullptr || (decoder->capabilities & AV_CODEC_CAP_EXPERIMENTAL) != 0)) {
      undecodable = d->id;
    }
  }
  if (!undecodable) GTEST_SKIP() << "every audio codec the NUT muxer takes has a decoder here";
  const std::string path = temp_path("undecodable.nut");
  write_raw_audio(path, *undecodable, {std::vector<uint8_t>(64, 0x55)});
  AVFormatContext* reread = nullptr;
  ASSERT_EQ(avformat_open_input(&reread, path.c_str(), nullptr, nullptr), 0);
  const std::string carried = avcodec_get_name(reread->streams[0]->codecpar->codec_id);
  avformat_close_input(&reread);
  EXPECT_THAT([&] { open_audio(path, target); },
              ThrowsMessage<audio_error>(
                  StrEq(path + ": audio stream #0: its codec, " + carried + ", cannot be decoded by this FFmpeg build")));
  std::remove(path.c_str());
}

}  // namespace
