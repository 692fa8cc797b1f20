#include "audio/wav_writer.h"

#include <cerrno>
#include <cmath>
#include <cstring>
#include <iterator>

namespace ns_audio {

namespace {

// WAVE format tags, and the speaker bits a WAV channel mask defines (the same bits as
// FFmpeg's first eighteen).
constexpr uint16_t tag_pcm = 1, tag_float = 3, tag_extensible = 0xFFFE;
constexpr uint64_t wav_mask_bits = 0x3FFFF;
// A "JUNK" chunk of this size holds the place of the RF64 "ds64" chunk: RIFF and data
// sizes and the sample count (64 bits each), then an empty table's length.
constexpr uint32_t ds64_size = 28;

void le16(std::vector<uint8_t>& b, uint16_t v) {
  b.push_back(static_cast<uint8_t>(v));
  b.push_back(static_cast<uint8_t>(v >> 8));
}
void le32(std::vector<uint8_t>& b, uint32_t v) {
  le16(b, static_cast<uint16_t>(v));
  le16(b, static_cast<uint16_t>(v >> 16));
}
void le64(std::vector<uint8_t>& b, uint64_t v) {
  le32(b, static_cast<uint32_t>(v));
  le32(b, static_cast<uint32_t>(v >> 32));
}
// Byte by byte: GCC 12 under -fsanitize=thread misreads a 4-byte range insert into an
// empty vector as an overflow.
void tag(std::vector<uint8_t>& b, const char (&t)[5]) {
  for (int i = 0; i < 4; ++i) b.push_back(static_cast<uint8_t>(t[i]));
}

uint32_t bytes_per_sample(wav_sample s) { return s == wav_sample::pcm16 ? 2 : s == wav_sample::pcm24 ? 3 : 4; }

// Full scale clipped, NaN silent.
float clipped(float x) { return x >= 1.0f ? 1.0f : x <= -1.0f ? -1.0f : x == x ? x : 0.0f; }

int32_t quantised(float x, float scale) {
  const long v = std::lrint(clipped(x) * scale);
  const long largest = static_cast<long>(scale) - 1;  // +1.0 is one step past the largest code
  return static_cast<int32_t>(v > largest ? largest : v);
}

std::vector<uint8_t> header(const audio_format& f, wav_sample s) {
  const uint32_t width = bytes_per_sample(s);
  const bool extensible = f.channels() > 2 || s == wav_sample::pcm24;
  const uint16_t format_tag = s == wav_sample::float32 ? tag_float : tag_pcm;
  std::vector<uint8_t> b;
  tag(b, "RIFF");
  le32(b, 0);
  tag(b, "WAVE");
  tag(b, "JUNK");
  le32(b, ds64_size);
  b.resize(b.size() + ds64_size, 0);
  tag(b, "fmt ");
  le32(b, extensible ? 40 : s == wav_sample::float32 ? 18 : 16);
  le16(b, extensible ? tag_extensible : format_tag);
  le16(b, static_cast<uint16_t>(f.channels()));
  le32(b, f.sample_rate);
  le32(b, f.sample_rate * f.channels() * width);
  le16(b, static_cast<uint16_t>(f.channels() * width));
  le16(b, static_cast<uint16_t>(8 * width));
  if (extensible) {
    le16(b, 22);
    le16(b, static_cast<uint16_t>(8 * width));
    // A layout with speakers WAV has no bit for is written as "unknown".
    le32(b, (f.channel_mask & ~wav_mask_bits) == 0 ? static_cast<uint32_t>(f.channel_mask) : 0);
    le16(b, format_tag);
    const uint8_t guid_tail[] = {0x00, 0x00, 0x00, 0x00, 0x10, 0x00, 0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};
    b.insert(b.end(), std::begin(guid_tail), std::end(guid_tail));
  } else if (s == wav_sample::float32) {
    le16(b, 0);
  }
  tag(b, "data");
  le32(b, 0);
  return b;
}

}  // namespace

wav_writer::wav_writer(const std::string& path, const audio_format& format, wav_sample sample, uint64_t limit)
    : path(path), format(format), sample(sample), limit(limit), bytes_per_frame(format.channels() * bytes_per_sample(sample)) {
  if (format.sample_rate == 0 || format.channels() == 0 || format.channels() > 0xFFFF) {
    throw audio_error(path + ": cannot write sound of " + describe(format));
  }
  file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) fail("cannot be created");
  const std::vector<uint8_t> h = header(format, sample);
  put(h.data(), h.size());
  data_offset = h.size();
}

wav_writer::~wav_writer() {
  if (file != nullptr) std::fclose(file);
}

void wav_writer::fail(const char* what) const {
  throw audio_error(path + ": " + what + (errno != 0 ? std::string(": ") + std::strerror(errno) : std::string()));
}

void wav_writer::put(const void* bytes, size_t n) {
  errno = 0;
  if (std::fwrite(bytes, 1, n, file) != n) fail("cannot be written");
}

void wav_writer::write(const float* samples, size_t count) {
  if (file == nullptr) throw audio_error(path + ": written after it was closed");
  const size_t values = count * format.channels();
  if (sample == wav_sample::float32) {
    // Little-endian IEEE floats are the machine's own.
    put(samples, values * sizeof(float));
  } else {
    const bool wide = sample == wav_sample::pcm24;
    const float scale = wide ? 8388608.0f : 32768.0f;
    staging.resize(values * (wide ? 3 : 2));
    uint8_t* o = staging.data();
    for (size_t i = 0; i < values; ++i) {
      const auto v = static_cast<uint32_t>(quantised(samples[i], scale));
      *o++ = static_cast<uint8_t>(v);
      *o++ = static_cast<uint8_t>(v >> 8);
      if (wide) *o++ = static_cast<uint8_t>(v >> 16);
    }
    put(staging.data(), staging.size());
  }
  frames += count;
}

void wav_writer::close() {
  if (file == nullptr) return;
  const uint64_t data = frames * bytes_per_frame;
  if (data % 2 != 0) put("", 1);  // chunks are padded to an even size
  const uint64_t riff = data_offset - 8 + data + data % 2;
  std::vector<uint8_t> top, sizes;
  const bool rf64 = riff > limit;
  if (rf64) {
    tag(top, "RF64");
    le32(top, 0xFFFFFFFF);
    tag(sizes, "ds64");
    le32(sizes, ds64_size);
    le64(sizes, riff);
    le64(sizes, data);
    le64(sizes, frames);
    le32(sizes, 0);
  } else {
    tag(top, "RIFF");
    le32(top, static_cast<uint32_t>(riff));
  }
  std::vector<uint8_t> data_size;
  le32(data_size, rf64 ? 0xFFFFFFFF : static_cast<uint32_t>(data));
  errno = 0;
  const bool patched = std::fseek(file, 0, SEEK_SET) == 0 && std::fwrite(top.data(), 1, 8, file) == 8 &&
                       (!rf64 || (std::fseek(file, 12, SEEK_SET) == 0 &&
                                  std::fwrite(sizes.data(), 1, sizes.size(), file) == sizes.size())) &&
                       std::fseek(file, static_cast<long>(data_offset - 4), SEEK_SET) == 0 &&
                       std::fwrite(data_size.data(), 1, 4, file) == 4;
  std::FILE* f = file;
  file = nullptr;
  const bool closed = std::fclose(f) == 0;
  if (!patched) fail("cannot patch its header (is it a pipe?)");
  if (!closed) fail("cannot be closed");
}

}  // namespace ns_audio
