// Three files, each with its own rate and layout, spliced as a video sink drives the
// sound and written to WAV: at each join the tone changes exactly where the pictures
// change piece, the main's sound keeps its start offset and the total length is the
// video's. (Fades are pinned sample by sample in the splicer's own test.)

#include "audio/audio_decoder.h"
#include "audio/audio_splicer.h"
#include "audio/wav_writer.h"
#include "signal_checks.h"
#include "test_media.h"

#include <gtest/gtest.h>

extern "C" {
#include <libavutil/channel_layout.h>
}

#include <cmath>

namespace {

using namespace ns_audio;
using namespace ns_audio_test;

struct input {
  const char* file;
  piece_role role;
  picture_stream pictures;
  tone_stream tone;
  uint64_t output_frames;  // pictures of the piece in the output
};

const frame_rate ntsc{30000, 1001};

// intro: 44.1 kHz mono, 1 kHz, longer than its pictures (cut); main: 48 kHz 5.1,
// 3 kHz, starting 0.1 s after its first picture; outro: 44.1 kHz stereo, 5 kHz,
// shorter than its pictures (padded).
const input inputs[] = {
    {"intro.mp4", piece_role::intro, {{25, 1}, 30}, {"alac", 44100, AV_CH_LAYOUT_MONO, 1000, 2.0}, 36},
    {"main.mkv", piece_role::main, {{30000, 1001}, 60}, {"flac", 48000, AV_CH_LAYOUT_5POINT1, 3000, 2.5, 0.1}, 60},
    {"outro.mov", piece_role::outro, {{24, 1}, 20}, {"pcm_s24le", 44100, AV_CH_LAYOUT_STEREO, 5000, 0.4}, 24},
};

class SpliceFiles : public testing::Test {
protected:
  static void SetUpTestSuite() {
    for (const input& in : inputs) write_media(temp_path(in.file), in.pictures, in.tone);
  }
  static void TearDownTestSuite() {
    for (const input& in : inputs) std::remove(temp_path(in.file).c_str());
  }

  // Splices the three files' sound as a sink would, per picture, into a float WAV
  // file, and returns it as FFmpeg reads it back.
  static std::vector<float> splice(const audio_format& format) {
    std::vector<piece> pieces;
    for (const input& in : inputs) pieces.push_back({in.role, open_audio(temp_path(in.file), format)});
    audio_splicer splicer(format, ntsc, std::move(pieces));
    const std::string wav = temp_path("spliced.wav");
    wav_writer out(wav, format, wav_sample::float32);
    std::vector<float> part(1024 * format.channels());
    const auto drain = [&] {
      while (const size_t n = splicer.pull(UINT64_MAX, part.data(), 1024)) out.write(part.data(), n);
    };
    for (const input& in : inputs) {
      for (uint64_t i = 0; i < in.output_frames; ++i) {
        splicer.picture(in.role == piece_role::main);
        drain();
      }
    }
    splicer.finish(splicer.frames());
    drain();
    out.close();
    std::vector<float> back = read_all(*open_audio(wav, format), format.channels());
    std::remove(wav.c_str());
    return back;
  }
};

TEST_F(SpliceFiles, ToneChangesExactlyWhereThePicturesChangePiece) {
  std::vector<std::optional<audio_format>> clips = {probe_audio(temp_path("intro.mp4")), probe_audio(temp_path("outro.mov"))};
  const std::optional<audio_format> format = choose_output_format(probe_audio(temp_path("main.mkv")), clips);
  ASSERT_EQ(format, (audio_format{48000, AV_CH_LAYOUT_5POINT1}));
  const std::vector<float> all = splice(*format);
  const std::vector<double> x = channel_sum(all, 6);

  // The joins after 36 and 96 pictures at 30000/1001: 57657.6 and 153753.6 samples;
  // 120 pictures are 192192 samples exactly.
  const uint64_t s1 = 57658, s2 = 153754, s3 = 192192;
  ASSERT_EQ(x.size(), s3) << "the sound is as long as the pictures";

  // Intro to main: the intro's tone runs to the last sample before the join, then the
  // main's 0.1 s of lead is silence, then its tone from the first sample.
  const tone_fit intro(x, s1 - 2000, s1 - 100, 1000, 48000);
  for (uint64_t t = s1 - 100; t < s1; ++t) ASSERT_TRUE(intro.fits(x, t, 1e-3)) << "intro sample " << t;
  const uint64_t main_start = s1 + 4800;
  for (uint64_t t = s1; t < main_start; ++t) ASSERT_EQ(x[t], 0.0) << "lead sample " << t;
  const tone_fit main(x, main_start + 100, main_start + 2000, 3000, 48000);
  for (uint64_t t = main_start; t < main_start + 100; ++t) ASSERT_TRUE(main.fits(x, t, 1e-3)) << "main sample " << t;
  EXPECT_GT(std::fabs(x[main_start + 1]), 0.3 * main.amplitude());

  // Main to outro, resampled from 44.1 kHz: the same at the second join.
  const tone_fit main_end(x, s2 - 2000, s2 - 100, 3000, 48000);
  for (uint64_t t = s2 - 100; t < s2; ++t) ASSERT_TRUE(main_end.fits(x, t, 1e-3)) << "main sample " << t;
  const tone_fit outro(x, s2 + 100, s2 + 2000, 5000, 48000);
  // Each tone starts at phase 0 in its file: its phase says where its first sample
  // landed, to a fraction of a sample, through resampling. (A tone switched on rings
  // for a few samples once band-limited, so the first samples are not a clean sine.)
  EXPECT_NEAR(outro.samples_late(s2), 0, 0.05);
  for (uint64_t t = s2 + 20; t < s2 + 100; ++t) ASSERT_TRUE(outro.fits(x, t, 1e-3)) << "outro sample " << t;
  EXPECT_NEAR(main.samples_late(main_start), 0, 0.05);
  EXPECT_NEAR(tone_fit(x, 1000, 3000, 1000, 48000).samples_late(0), 0, 0.05);

  // Each piece is its own tone throughout; the outro's 0.4 s are followed by silence.
  EXPECT_NEAR(crossing_hz(x, 1000, s1 - 1000, 48000), 1000, 1);
  EXPECT_NEAR(crossing_hz(x, main_start + 1000, s2 - 1000, 48000), 3000, 3);
  const uint64_t outro_end = s2 + 19200;
  EXPECT_NEAR(crossing_hz(x, s2 + 1000, outro_end - 1000, 48000), 5000, 5);
  for (uint64_t t = outro_end + 40; t < s3; ++t) ASSERT_EQ(x[t], 0.0) << "padding sample " << t;
}

}  // namespace
