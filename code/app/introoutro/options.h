#pragma once
// The command line, parsed into what to do. Pure: no I/O.

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace ns_introoutro {

// A command line that cannot be run; the message names the option.
class usage_error : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

enum class command { splice, demo, help, version };

// How a clip whose display aspect differs from the main source's is made to fit.
enum class fit_mode { pad, crop, stretch };

inline constexpr const char* default_demo_output = "introoutro-demo.y4m";
inline constexpr uint32_t default_queue_frames = 8;
inline constexpr uint32_t max_queue_frames = 1024;
inline constexpr uint32_t max_join_fade_ms = 10000;

// What the encoders of a media output are asked for; empty or unset means the
// container's default.
struct encoder_options {
  std::string video_codec;              // --vcodec
  std::optional<int> crf;               // --crf, 0 to 63
  std::string preset;                   // --preset
  std::optional<int64_t> video_bitrate;  // --bitrate, bits per second
  std::string audio_codec;              // --acodec
  std::optional<int64_t> audio_bitrate;  // --abitrate, bits per second
};

struct audio_options {
  bool enabled = true;           // false: --no-audio
  std::string wav_output;        // --audio-out: the sound beside a Y4M output
  uint32_t join_fade_ms = 0;     // --join-fade
  bool ignore_errors = false;    // --ignore-audio-errors
};

struct options {
  ns_introoutro::command command = command::splice;
  std::string intro, main, outro;  // "" when not given; "-" is standard input
  std::string intro_alpha, outro_alpha;
  std::string output;  // "-" is standard output
  std::string preview;
  std::string matte;   // --matte: the output's alpha as a Cmono Y4M stream
  std::string plugin;  // "" for the plug-in beside the program
  fit_mode fit = fit_mode::pad;
  encoder_options encoder;
  audio_options audio;
  uint32_t queue_frames = default_queue_frames;
  bool quiet = false;
};

// argv without the program name. Throws usage_error for unknown options, missing or
// repeated values, and combinations that cannot run.
options parse_options(const std::vector<std::string>& args);

// "8M", "2500k", "192000": bits per second. Empty optional for anything else.
std::optional<int64_t> parse_bit_rate(const std::string& text);

}  // namespace ns_introoutro
