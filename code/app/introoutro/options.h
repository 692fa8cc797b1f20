#pragma once
// The command line, parsed into what to do. Pure: no I/O.

#include <cstdint>
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

inline constexpr const char* default_demo_output = "introoutro-demo.y4m";
inline constexpr uint32_t default_queue_frames = 8;
inline constexpr uint32_t max_queue_frames = 1024;

struct options {
  ns_introoutro::command command = command::splice;
  std::string intro, main, outro;  // "" when not given; "-" is standard input
  std::string intro_alpha, outro_alpha;
  std::string output;  // "-" is standard output
  std::string preview;
  std::string plugin;  // "" for the plug-in beside the program
  uint32_t queue_frames = default_queue_frames;
  bool quiet = false;
};

// argv without the program name. Throws usage_error for unknown options, missing or
// repeated values, and combinations that cannot run.
options parse_options(const std::vector<std::string>& args);

}  // namespace ns_introoutro
