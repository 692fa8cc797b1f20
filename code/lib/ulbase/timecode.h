#pragma once
// SMPTE ST 12 time codes as a trivially copyable 16-byte value.
//
// Word layout (uint32 each):
//   words[0]  frame index: pictures since 00:00:00:00, counted at the mode's real
//             rate (drop-frame labels already skipped), 0 <= index < frames_per_day
//   words[1]  mode (the counting rule, see below)
//   words[2]  user bits (the 32 binary-group bits of ST 12), carried unchanged
//   words[3]  step: time-code frames per picture, the amount increment() advances
// Words 0 and 1, each widened to 64 bits, form the timestamp of the value, so a code
// in one mode can be re-expressed in another (timecode_with_timestamp).
//
// Modes: 24, 25, 30, 50, 60 count non-drop at that rate; mode_23_976 counts
// 24000/1001 video with 24 non-drop labels; mode_29_97_df and mode_59_94_df count
// 30000/1001 and 60000/1001 video drop-frame (labels 00-01, resp. 00-03, skipped at
// the start of every minute except minutes 00, 10, 20, 30, 40, 50). mode_none and every
// other value generate no time code: such a value never moves and prints as
// "--:--:--:--".

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace ulbase {

// A stream time as a whole number of frames counted at the rate of a time-code mode.
struct timestamp {
  uint64_t frames = 0;
  uint64_t mode = 0;
};

class timecode {
public:
  using mode_type = uint32_t;
  static constexpr mode_type mode_none = 1;
  static constexpr mode_type mode_24 = 24;
  static constexpr mode_type mode_25 = 25;
  static constexpr mode_type mode_30 = 30;
  static constexpr mode_type mode_50 = 50;
  static constexpr mode_type mode_60 = 60;
  static constexpr mode_type mode_23_976 = 0x7018;
  static constexpr mode_type mode_29_97_df = 0x701E;
  static constexpr mode_type mode_59_94_df = 0x703C;

  // A label split into its fields.
  struct label {
    uint32_t hours, minutes, seconds, frames;
  };

  // 00:00:00:00 in mode_none, step 1.
  constexpr timecode() noexcept : words{0, mode_none, 0, 1} {}
  // 00:00:00:00 in `mode`, with the given step.
  explicit constexpr timecode(mode_type mode, uint32_t step = 1) noexcept : words{0, mode, 0, step} {}

  // The code of picture `index` (reduced modulo frames_per_day) in `mode`.
  static timecode from_frame_index(mode_type mode, uint64_t index, uint32_t step = 1) noexcept;

  uint32_t frame_index() const noexcept { return words[0]; }
  mode_type mode() const noexcept { return words[1]; }
  uint32_t user_bits() const noexcept { return words[2]; }
  uint32_t step() const noexcept { return words[3]; }
  timestamp stream_time() const noexcept { return {words[0], words[1]}; }

  // Advances by step() pictures, wrapping at 24 hours; a mode that generates no time
  // code does not move.
  void increment() noexcept;

  label fields() const noexcept;
  // "HH:MM:SS:FF", with ';' before the frames in drop-frame modes.
  std::string to_string() const;

  friend bool operator==(const timecode&, const timecode&) = default;

  uint32_t words[4];
};

// Whether `mode` generates time codes, and its counting parameters (0 when it does not).
bool mode_counts(timecode::mode_type mode) noexcept;
bool mode_is_drop_frame(timecode::mode_type mode) noexcept;
uint32_t mode_label_rate(timecode::mode_type mode) noexcept;   // frames per labelled second
uint32_t frames_per_day(timecode::mode_type mode) noexcept;

// The code in `mode` of the picture shown at stream time `t` (the picture whose
// interval contains it), with word 3 = step. A `t` counted in a mode that generates
// no time code stands for time 0; a `mode` that generates none gives timecode(mode).
timecode timecode_with_timestamp(timecode::mode_type mode, const timestamp& t, uint32_t step) noexcept;

// Parses "HH:MM:SS:FF" (':' or ';' before the frames) as a code of `mode`. Returns
// nothing, with `why` (when given) set to a reason, for malformed text, fields out of
// range, a label that a drop-frame mode skips, or a mode without time codes.
std::optional<timecode> parse_timecode(std::string_view text, timecode::mode_type mode,
                                       const char** why = nullptr);

}  // namespace ulbase
