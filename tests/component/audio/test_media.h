#pragma once
// Small media files for the sound tests, made with FFmpeg's libraries: a tone of one
// frequency on every channel beside a few tiny pictures, each stream starting when
// asked; and files whose sound cannot be decoded.

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ns_audio_test {

struct tone_stream {
  const char* encoder;  // "flac", "alac", "pcm_s24le", "aac", ...
  uint32_t sample_rate;
  uint64_t channel_mask;
  double hz;
  double seconds;
  double start = 0;  // seconds
  double amplitude = 0.5;
};

struct picture_stream {
  AVRational rate;
  int frames;
  double start = 0;  // seconds; a whole number of frames
};

// Writes `path` (the container from its extension). Throws std::runtime_error.
void write_media(const std::string& path, std::optional<picture_stream> pictures, std::optional<tone_stream> tone);

// Writes a NUT file with one audio stream of `codec` carrying `packets` as they are.
void write_raw_audio(const std::string& path, AVCodecID codec, const std::vector<std::vector<uint8_t>>& packets);

// A fresh path in the test's temporary folder.
std::string temp_path(const std::string& name);

}  // namespace ns_audio_test
