// WAV files as FFmpeg reads them back: sizes, format fields, channel masks, sample
// values at every width, the pad byte, and RF64 past the RIFF limit.

#include "audio/audio_decoder.h"
#include "audio/wav_writer.h"
#include "signal_checks.h"
#include "test_media.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>

namespace {

using namespace ns_audio;
using ns_audio_test::temp_path;

std::vector<uint8_t> bytes_of(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}
uint32_t u32(const std::vector<uint8_t>& b, size_t at) {
  return b[at] | b[at + 1] << 8 | b[at + 2] << 16 | static_cast<uint32_t>(b[at + 3]) << 24;
}
uint64_t u64(const std::vector<uint8_t>& b, size_t at) { return u32(b, at) | static_cast<uint64_t>(u32(b, at + 4)) << 32; }
std::string id(const std::vector<uint8_t>& b, size_t at) { return std::string(b.begin() + at, b.begin() + at + 4); }

// Offset of chunk `name` after the "WAVE" tag.
size_t chunk(const std::vector<uint8_t>& b, const std::string& name) {
  for (size_t at = 12; at + 8 <= b.size(); at += 8 + u32(b, at + 4) + (u32(b, at + 4) & 1)) {
    if (id(b, at) == name) return at;
  }
  return 0;
}

// Samples that every width must carry: full scale, past it, halves of a step, NaN.
std::vector<float> test_values(size_t count) {
  const float edges[] = {0.0f, 1.0f, -1.0f, 2.0f, -3.0f, 0.5f, -0.25f, 0.5f / 32768, 1.5f / 32768, -0.5f / 8388608,
                         std::nanf(""), 12345.0f / 8388608};
  std::vector<float> v(count);
  for (size_t i = 0; i < count; ++i) v[i] = i < std::size(edges) ? edges[i] : std::sin(0.01f * i) * 0.9f;
  return v;
}

float stored(float x, wav_sample s) {
  if (s == wav_sample::float32) return x;
  const float scale = s == wav_sample::pcm16 ? 32768.0f : 8388608.0f;
  if (std::isnan(x)) return 0;
  const float q = std::nearbyint(std::clamp(x, -1.0f, 1.0f) * scale);
  return std::min(q, scale - 1) / scale + 0.0f;  // integers have no -0
}

TEST(WavWriter, FFmpegReadsBackTheSamplesTheFormatAndTheLayout) {
  struct kind {
    audio_format format;
    wav_sample sample;
    uint16_t tag, bits, fmt_size;
    size_t frames;
  };
  const kind kinds[] = {
      {{44100, 0x3}, wav_sample::pcm16, 1, 16, 16, 1000},
      {{48000, 0x60F}, wav_sample::pcm24, 0xFFFE, 24, 40, 999},  // 5.1 with side speakers
      {{22050, 0x4}, wav_sample::float32, 3, 32, 18, 500},
      {{8000, 0x4}, wav_sample::pcm24, 0xFFFE, 24, 40, 3},  // 9 data bytes: padded
  };
  for (const kind& k : kinds) {
    SCOPED_TRACE(testing::Message() << describe(k.format) << ", " << k.bits << " bits");
    const std::string path = temp_path("out.wav");
    const std::vector<float> values = test_values(k.frames * k.format.channels());
    wav_writer w(path, k.format, k.sample);
    const size_t half = k.frames / 2;
    w.write(values.data(), half);
    w.write(values.data() + half * k.format.channels(), k.frames - half);
    w.close();
    EXPECT_EQ(w.frames_written(), k.frames);

    const std::vector<uint8_t> b = bytes_of(path);
    const uint32_t block = k.format.channels() * k.bits / 8;
    ASSERT_EQ(id(b, 0), "RIFF");
    EXPECT_EQ(u32(b, 4), b.size() - 8);
    EXPECT_EQ(b.size() % 2, 0u);
    const size_t fmt = chunk(b, "fmt "), data = chunk(b, "data");
    ASSERT_NE(fmt, 0u);
    ASSERT_NE(data, 0u);
    EXPECT_EQ(u32(b, fmt + 4), k.fmt_size);
    EXPECT_EQ(b[fmt + 8] | b[fmt + 9] << 8, k.tag);
    EXPECT_EQ(u32(b, fmt + 12), k.format.sample_rate);
    EXPECT_EQ(u32(b, fmt + 16), k.format.sample_rate * block);
    EXPECT_EQ(b[fmt + 20] | b[fmt + 21] << 8, block);
    EXPECT_EQ(u32(b, data + 4), k.frames * block);

    EXPECT_EQ(probe_audio(path), k.format);
    const auto back = open_audio(path, k.format);
    const std::vector<float> read = ns_audio_test::read_all(*back, k.format.channels());
    ASSERT_EQ(read.size(), values.size());
    for (size_t i = 0; i < values.size(); ++i) {
      const float want = stored(values[i], k.sample);
      ASSERT_EQ(std::memcmp(&read[i], &want, sizeof want), 0) << "value " << i << ": " << read[i] << ", not " << want;
    }
    std::remove(path.c_str());
  }
}

TEST(WavWriter, BecomesRF64PastTheRiffLimit) {
  // The limit lowered to 100 bytes stands in for 4 GiB.
  const std::string path = temp_path("big.wav");
  const audio_format stereo{48000, 0x3};
  const std::vector<float> values = test_values(2 * 301);
  wav_writer w(path, stereo, wav_sample::pcm24, 100);
  w.write(values.data(), 301);
  w.close();
  const std::vector<uint8_t> b = bytes_of(path);
  ASSERT_EQ(id(b, 0), "RF64");
  EXPECT_EQ(u32(b, 4), 0xFFFFFFFFu);
  ASSERT_EQ(id(b, 12), "ds64");
  EXPECT_EQ(u64(b, 20), b.size() - 8);
  EXPECT_EQ(u64(b, 28), 301u * 6);
  EXPECT_EQ(u64(b, 36), 301u);
  const size_t data = b.size() - 301 * 6 - 8;
  ASSERT_EQ(id(b, data), "data");
  EXPECT_EQ(u32(b, data + 4), 0xFFFFFFFFu);

  const auto back = open_audio(path, stereo);
  const std::vector<float> read = ns_audio_test::read_all(*back, 2);
  ASSERT_EQ(read.size(), values.size());
  for (size_t i = 0; i < values.size(); ++i) ASSERT_EQ(read[i], stored(values[i], wav_sample::pcm24)) << "value " << i;
  std::remove(path.c_str());
}

TEST(WavWriter, ErrorsNameTheFile) {
  const std::string path = temp_path("no/such/folder/out.wav");
  EXPECT_THAT([&] { wav_writer(path, {48000, 0x3}, wav_sample::pcm16); },
              testing::ThrowsMessage<audio_error>(testing::StrEq(path + ": cannot be created: No such file or directory")));
}

}  // namespace
