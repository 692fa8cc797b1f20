#pragma once
// The sample rate and channel layout sound is conformed to, the errors of the sound
// path, and the choice of the output format from the inputs'.

#include <bit>
#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>

namespace ns_audio {

// Raised with a message that names the file and, where there is one, the stream.
class audio_error : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

// Samples travel as interleaved 32-bit float in [-1, 1] nominal: a remix or a fade
// can go past full scale without clipping until a writer quantises once, and every
// 24-bit integer sample is exactly a float, so 24-bit sound passes through unchanged.
struct audio_format {
  uint32_t sample_rate = 0;
  // FFmpeg's native-order channel mask (AV_CH_*); the channels are interleaved in
  // the order of their bits, as WAV and FFmpeg both order them.
  uint64_t channel_mask = 0;

  uint32_t channels() const { return static_cast<uint32_t>(std::popcount(channel_mask)); }
  friend bool operator==(const audio_format&, const audio_format&) = default;
};

// "48000 Hz stereo", "44100 Hz 5.1(side)".
std::string describe(const audio_format& f);

// 48 kHz stereo, for an output whose main source has no sound but a clip has.
audio_format default_format();

// The main's format when it has sound, else the default when a clip has sound, else
// none (the output has no sound).
std::optional<audio_format> choose_output_format(const std::optional<audio_format>& main,
                                                 std::span<const std::optional<audio_format>> clips);

}  // namespace ns_audio
