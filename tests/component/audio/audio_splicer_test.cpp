// The splicer as a video sink drives it: every output sample traced back to its piece
// and source sample, at each join, with leads, fades, silence and failing sound.

#include "audio/audio_splicer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace {

using namespace ns_audio;

// Channel c of source sample n of piece `id` (1..3) is (id * 100000 + n) * (c + 1):
// exact in a float, never 0, and it names its piece and sample.
float code(int id, uint64_t n, size_t c) { return static_cast<float>((id * 100000.0 + n) * (c + 1)); }

class counting_source : public audio_source {
public:
  counting_source(int id, size_t channels, uint64_t length, int64_t lead = 0,
                  uint64_t fails_at = std::numeric_limits<uint64_t>::max())
      : id(id), channels(channels), length(length), lead_samples(lead), fails_at(fails_at),
        label("piece" + std::to_string(id) + ".mov: audio stream #1") {}

  size_t read(float* out, size_t max_frames) override {
    size_t n = 0;
    for (; n < max_frames && next < length; ++n, ++next) {
      if (next == fails_at) {
        if (n > 0) break;  // the samples before a failure come first
        throw audio_error(label + ": cannot decode pcm_s24le audio at 1.000 s: Invalid data");
      }
      for (size_t c = 0; c < channels; ++c) out[n * channels + c] = code(id, next, c);
    }
    return n;
  }
  int64_t lead() const override { return lead_samples; }
  const std::string& name() const override { return label; }

private:
  int id;
  size_t channels;
  uint64_t length, next = 0;
  int64_t lead_samples;
  uint64_t fails_at;
  std::string label;
};

struct clip {
  piece_role role;
  uint64_t frames;     // pictures in the output
  uint64_t length;     // source samples; 0: no sound
  int64_t lead = 0;
  uint64_t fails_at = std::numeric_limits<uint64_t>::max();
};

std::vector<piece> pieces_of(const std::vector<clip>& clips, size_t channels) {
  std::vector<piece> out;
  int id = 1;
  for (const clip& c : clips) {
    std::unique_ptr<audio_source> s;
    if (c.length > 0) s = std::make_unique<counting_source>(id, channels, c.length, c.lead, c.fails_at);
    out.push_back({c.role, std::move(s)});
    ++id;
  }
  return out;
}

// Runs the splice as a sink would: per picture, picture() and a pull of whatever is
// ready in `chunk`-sized parts, never ahead of the pictures; finish() at the end.
std::vector<float> run(const audio_format& f, frame_rate rate, const std::vector<clip>& clips, size_t chunk,
                       splice_options options = {}) {
  audio_splicer s(f, rate, pieces_of(clips, f.channels()), options);
  std::vector<float> out, part(chunk * f.channels());
  const auto drain = [&] {
    while (const size_t n = s.pull(std::numeric_limits<uint64_t>::max(), part.data(), chunk)) {
      out.insert(out.end(), part.begin(), part.begin() + n * f.channels());
    }
  };
  for (const clip& c : clips) {
    for (uint64_t i = 0; i < c.frames; ++i) {
      s.picture(c.role == piece_role::main);
      drain();
      EXPECT_LE(s.position(), sample_at_frame(s.frames(), rate, f.sample_rate));
    }
  }
  s.finish(s.frames());
  drain();
  EXPECT_TRUE(s.done());
  return out;
}

// What the output must be: each piece's samples (or silence) from `start` to `end`.
void expect_piece(const std::vector<float>& out, size_t channels, int id, uint64_t start, uint64_t end,
                  int64_t lead, uint64_t length) {
  for (uint64_t t = start; t < end; ++t) {
    const int64_t n = static_cast<int64_t>(t - start) - lead;
    for (size_t c = 0; c < channels; ++c) {
      const float want = n >= 0 && static_cast<uint64_t>(n) < length ? code(id, static_cast<uint64_t>(n), c) : 0.0f;
      ASSERT_EQ(out[t * channels + c], want) << "piece " << id << ", output sample " << t << ", channel " << c;
    }
  }
}

TEST(AudioSplicer, EachPieceEndsWhereItsPicturesEnd) {
  // An intro whose sound outlasts its 13 pictures (cut), a main whose sound stops
  // before its 50 pictures do (padded), an outro without sound (silence); pulled a
  // sample at a time, in odd parts and in large ones, and with the direct signals.
  const audio_format f{44100, 0x3};
  const frame_rate ntsc{30000, 1001};
  const std::vector<clip> clips = {{piece_role::intro, 13, 30000}, {piece_role::main, 50, 50000}, {piece_role::outro, 7, 0}};
  const uint64_t s1 = sample_at_frame(13, ntsc, 44100), s2 = sample_at_frame(63, ntsc, 44100),
                 s3 = sample_at_frame(70, ntsc, 44100);
  const std::vector<float> out = run(f, ntsc, clips, 1);
  ASSERT_EQ(out.size(), s3 * 2);
  expect_piece(out, 2, 1, 0, s1, 0, 30000);
  expect_piece(out, 2, 2, s1, s2, 0, 50000);
  expect_piece(out, 2, 3, s2, s3, 0, 0);
  EXPECT_EQ(run(f, ntsc, clips, 7), out);
  EXPECT_EQ(run(f, ntsc, clips, 4096), out);

  audio_splicer direct(f, ntsc, pieces_of(clips, 2));
  direct.end_piece(13);
  direct.end_piece(63);
  EXPECT_EQ(direct.ready(), s2);
  direct.finish(70);
  std::vector<float> whole(s3 * 2 + 2);
  EXPECT_EQ(direct.pull(s3 + 1, whole.data(), s3 + 1), s3);
  whole.resize(s3 * 2);
  EXPECT_EQ(whole, out);
}

TEST(AudioSplicer, LeadsMoveTheSoundWithinItsPiece) {
  const audio_format f{48000, 0x3F};  // 5.1
  const frame_rate pal{25, 1};
  for (const int64_t main_lead : {int64_t{100}, int64_t{-37}, int64_t{0}}) {
    SCOPED_TRACE(testing::Message() << "main lead " << main_lead);
    const std::vector<clip> clips = {{piece_role::intro, 4, 10000, 5}, {piece_role::main, 9, 100000, main_lead}};
    const std::vector<float> out = run(f, pal, clips, 1000);
    ASSERT_EQ(out.size(), 13 * 1920 * 6u);
    expect_piece(out, 6, 1, 0, 4 * 1920, 5, 10000);
    expect_piece(out, 6, 2, 4 * 1920, 13 * 1920, main_lead, 100000);
  }
}

TEST(AudioSplicer, FadesRampToSilenceAtTheJoinsOnly) {
  const audio_format f{48000, 0x4};  // mono
  const frame_rate pal{25, 1};
  splice_options fade;
  fade.join_fade_ms = 10;  // 480 samples
  const std::vector<clip> clips = {{piece_role::intro, 3, 100000}, {piece_role::main, 5, 100000}, {piece_role::outro, 2, 100000}};
  const std::vector<float> out = run(f, pal, clips, 333, fade);
  ASSERT_EQ(out.size(), 10 * 1920u);
  const uint64_t starts[] = {0, 3 * 1920, 8 * 1920, 10 * 1920};
  for (int p = 0; p < 3; ++p) {
    const uint64_t len = starts[p + 1] - starts[p];
    for (uint64_t t = 0; t < len; ++t) {
      double gain = 1;
      if (p > 0 && t < 480) gain *= t / 480.0;
      if (p < 2 && len - 1 - t < 480) gain *= (len - 1 - t) / 480.0;
      ASSERT_NEAR(out[starts[p] + t], gain * code(p + 1, t, 0), 1e-6 * code(p + 1, t, 0))
          << "piece " << p + 1 << ", sample " << t;
    }
  }
  // The fade-out of the open piece waits for its end: never more held back than that.
  audio_splicer s(f, pal, pieces_of(clips, 1), fade);
  for (int i = 0; i < 3; ++i) s.picture(false);
  EXPECT_EQ(s.ready(), 3 * 1920u - 480);
  s.picture(true);
  EXPECT_EQ(s.ready(), 3 * 1920u + 1920 - 480);

  // A piece shorter than two fades gets both ramps at once.
  const std::vector<clip> blink = {{piece_role::intro, 1, 100000}, {piece_role::main, 1, 100000}, {piece_role::outro, 1, 100000}};
  const std::vector<float> short_out = run(f, pal, blink, 4096, {100, false, {}});
  for (uint64_t t = 0; t < 1920; ++t) {
    const double gain = (t / 4800.0) * ((1919 - t) / 4800.0);
    ASSERT_NEAR(short_out[1920 + t], gain * code(2, t, 0), 1e-6 * code(2, t, 0)) << "sample " << t;
  }
}

TEST(AudioSplicer, BrokenSoundFailsTheJobOrGoesOnInSilence) {
  const audio_format f{48000, 0x3};
  const frame_rate pal{25, 1};
  const std::vector<clip> clips = {{piece_role::main, 5, 100000, 0, 1000}, {piece_role::outro, 2, 100000}};
  EXPECT_THAT([&] { run(f, pal, clips, 512); },
              testing::ThrowsMessage<audio_error>(
                  testing::StrEq("piece1.mov: audio stream #1: cannot decode pcm_s24le audio at 1.000 s: Invalid data")));
  std::vector<std::string> warnings;
  const std::vector<float> out =
      run(f, pal, clips, 512, {0, true, [&](const std::string& w) { warnings.push_back(w); }});
  ASSERT_EQ(warnings.size(), 1u);
  EXPECT_EQ(warnings[0],
            "piece1.mov: audio stream #1: cannot decode pcm_s24le audio at 1.000 s: Invalid data; that piece goes on "
            "without sound");
  ASSERT_EQ(out.size(), 7 * 1920 * 2u);
  expect_piece(out, 2, 1, 0, 5 * 1920, 0, 1000);
  expect_piece(out, 2, 2, 5 * 1920, 7 * 1920, 0, 100000);
}

TEST(AudioSplicer, RejectsPiecesAndSignalsOutOfOrder) {
  const audio_format f{48000, 0x3};
  const frame_rate pal{25, 1};
  using R = piece_role;
  EXPECT_THROW(audio_splicer(f, pal, pieces_of({{R::intro, 1, 0}, {R::outro, 1, 0}}, 2)), std::invalid_argument);
  EXPECT_THROW(audio_splicer(f, pal, pieces_of({{R::outro, 1, 0}, {R::main, 1, 0}}, 2)), std::invalid_argument);
  EXPECT_THROW(audio_splicer(f, pal, pieces_of({{R::main, 1, 0}, {R::main, 1, 0}}, 2)), std::invalid_argument);
  EXPECT_THROW(audio_splicer(f, {0, 1}, pieces_of({{R::main, 1, 0}}, 2)), std::invalid_argument);

  audio_splicer outro_then_main(f, pal, pieces_of({{R::main, 1, 0}, {R::outro, 1, 0}}, 2));
  outro_then_main.picture(true);
  outro_then_main.picture(false);
  EXPECT_THROW(outro_then_main.picture(true), std::logic_error);

  audio_splicer main_only(f, pal, pieces_of({{R::main, 1, 0}}, 2));
  EXPECT_THROW(main_only.picture(false), std::logic_error);
  main_only.picture(true);
  EXPECT_THROW(main_only.picture(false), std::logic_error);

  audio_splicer backwards(f, pal, pieces_of({{R::intro, 1, 0}, {R::main, 1, 0}}, 2));
  for (int i = 0; i < 10; ++i) backwards.picture(false);
  EXPECT_THROW(backwards.end_piece(5), std::logic_error);
  backwards.finish(10);
  EXPECT_THROW(backwards.end_piece(10), std::logic_error);
}

}  // namespace
