#pragma once
// Writes sound as a RIFF/WAVE file: PCM 16- or 24-bit or 32-bit float, with the
// channel mask of the layout. The sizes are patched into the header at close. A file
// whose sizes do not fit the 32-bit RIFF fields (about 4 GiB, an hour of 5.1 float at
// 48 kHz) becomes RF64 at close: the header keeps room for the 64-bit sizes from the
// start, so nothing is rewritten but the header. One thread at a time.

#include "audio/audio_format.h"

#include <cstdint>
#include <cstdio>
#include <limits>
#include <string>
#include <vector>

namespace ns_audio {

enum class wav_sample { pcm16, pcm24, float32 };

class wav_writer {
public:
  // The largest RIFF size a plain WAV header can state.
  static constexpr uint64_t riff_limit = std::numeric_limits<uint32_t>::max();

  // Creates or truncates `path`. `limit` is the RIFF size above which the file
  // becomes RF64 (lowered only by tests). Throws audio_error naming the file.
  wav_writer(const std::string& path, const audio_format& format, wav_sample sample, uint64_t limit = riff_limit);
  // Closes without reporting errors when close() was not called.
  ~wav_writer();
  wav_writer(const wav_writer&) = delete;
  wav_writer& operator=(const wav_writer&) = delete;

  // `frames` interleaved sample frames; integer samples are rounded to the nearest
  // step and clipped at full scale (NaN is silence), floats are written as they are.
  void write(const float* samples, size_t frames);
  // Patches the header and closes; throws audio_error for an error only closing shows.
  void close();

  uint64_t frames_written() const { return frames; }
  const std::string& name() const { return path; }

private:
  void put(const void* bytes, size_t n);
  [[noreturn]] void fail(const char* what) const;

  const std::string path;
  const audio_format format;
  const wav_sample sample;
  const uint64_t limit;
  const uint32_t bytes_per_frame;
  std::FILE* file = nullptr;
  uint64_t frames = 0;
  uint64_t data_offset = 0;  // where the samples start
  std::vector<uint8_t> staging;
};

}  // namespace ns_audio
