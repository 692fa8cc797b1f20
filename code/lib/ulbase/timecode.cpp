#include "ulbase/timecode.h"

#include <type_traits>

namespace ulbase {

static_assert(std::is_trivially_copyable_v<timecode> && sizeof(timecode) == 16,
              "frames carry the time code as a plain 16-byte value");

namespace {

// Counting rule of one mode. The real rate is rate_num / rate_den pictures per
// second; labels run 0 .. label_rate-1 per second; `dropped` labels are skipped at the
// start of each minute not divisible by ten.
struct counting {
  uint32_t label_rate;
  uint32_t dropped;
  uint32_t rate_num;
  uint32_t rate_den;
};

constexpr uint32_t seconds_per_day = 24 * 60 * 60;

std::optional<counting> counting_of(timecode::mode_type mode) noexcept {
  switch (mode) {
    case timecode::mode_24: return counting{24, 0, 24, 1};
    case timecode::mode_25: return counting{25, 0, 25, 1};
    case timecode::mode_30: return counting{30, 0, 30, 1};
    case timecode::mode_50: return counting{50, 0, 50, 1};
    case timecode::mode_60: return counting{60, 0, 60, 1};
    case timecode::mode_23_976: return counting{24, 0, 24000, 1001};
    case timecode::mode_29_97_df: return counting{30, 2, 30000, 1001};
    case timecode::mode_59_94_df: return counting{60, 4, 60000, 1001};
    default: return std::nullopt;
  }
}

// Labels skipped per ten minutes: `dropped` in nine of every ten minutes.
uint32_t frames_per_ten_minutes(const counting& c) noexcept { return c.label_rate * 600 - 9 * c.dropped; }

uint32_t day_frames(const counting& c) noexcept { return frames_per_ten_minutes(c) * 6 * 24; }

// Label number (hours, minutes, seconds and frames as one count at label_rate) of a
// frame index: re-insert the labels skipped before it.
uint64_t label_number(const counting& c, uint32_t index) noexcept {
  if (c.dropped == 0) return index;
  const uint32_t per_ten = frames_per_ten_minutes(c);
  const uint32_t per_minute = c.label_rate * 60 - c.dropped;  // a minute that drops
  const uint32_t tens = index / per_ten;
  const uint32_t rest = index % per_ten;
  uint64_t skipped = uint64_t{9} * c.dropped * tens;
  // The first minute of each ten keeps all its labels.
  if (rest >= c.dropped) skipped += uint64_t{c.dropped} * ((rest - c.dropped) / per_minute);
  return index + skipped;
}

}  // namespace

bool mode_counts(timecode::mode_type mode) noexcept { return counting_of(mode).has_value(); }

bool mode_is_drop_frame(timecode::mode_type mode) noexcept {
  const auto c = counting_of(mode);
  return c && c->dropped != 0;
}

uint32_t mode_label_rate(timecode::mode_type mode) noexcept {
  const auto c = counting_of(mode);
  return c ? c->label_rate : 0;
}

uint32_t frames_per_day(timecode::mode_type mode) noexcept {
  const auto c = counting_of(mode);
  return c ? day_frames(*c) : 0;
}

timecode timecode::from_frame_index(mode_type mode, uint64_t index, uint32_t step) noexcept {
  timecode t(mode, step);
  if (const auto c = counting_of(mode)) t.words[0] = static_cast<uint32_t>(index % day_frames(*c));
  return t;
}

void timecode::increment() noexcept {
  const auto c = counting_of(mode());
  if (!c) return;
  const uint32_t day = day_frames(*c);
  words[0] = static_cast<uint32_t>((uint64_t{words[0]} % day + words[3]) % day);
}

timecode::label timecode::fields() const noexcept {
  const auto c = counting_of(mode());
  if (!c) return {0, 0, 0, 0};
  const uint64_t n = label_number(*c, words[0] % day_frames(*c));
  const uint64_t seconds = n / c->label_rate;
  return {static_cast<uint32_t>(seconds / 3600), static_cast<uint32_t>(seconds / 60 % 60),
          static_cast<uint32_t>(seconds % 60), static_cast<uint32_t>(n % c->label_rate)};
}

std::string timecode::to_string() const {
  if (!mode_counts(mode())) return "--:--:--:--";
  const label l = fields();
  std::string s = "00:00:00:00";
  const uint32_t parts[4] = {l.hours, l.minutes, l.seconds, l.frames};
  for (int i = 0; i < 4; ++i) {
    s[3 * i] = static_cast<char>('0' + parts[i] / 10);
    s[3 * i + 1] = static_cast<char>('0' + parts[i] % 10);
  }
  if (mode_is_drop_frame(mode())) s[8] = ';';
  return s;
}

timecode timecode_with_timestamp(timecode::mode_type mode, const timestamp& t, uint32_t step) noexcept {
  const auto to = counting_of(mode);
  if (!to) return timecode(mode, step);
  uint64_t index = 0;
  if (t.mode <= UINT32_MAX) {
    if (const auto from = counting_of(static_cast<timecode::mode_type>(t.mode))) {
      // index = floor(frames * from_den / from_num * to_num / to_den), exact in 128 bits.
      const unsigned __int128 num = static_cast<unsigned __int128>(t.frames) * from->rate_den * to->rate_num;
      const unsigned __int128 den = static_cast<unsigned __int128>(from->rate_num) * to->rate_den;
      index = static_cast<uint64_t>((num / den) % day_frames(*to));
    }
  }
  return timecode::from_frame_index(mode, index, step);
}

std::optional<timecode> parse_timecode(std::string_view text, timecode::mode_type mode, const char** why) {
  auto fail = [why](const char* reason) -> std::optional<timecode> {
    if (why) *why = reason;
    return std::nullopt;
  };
  const auto c = counting_of(mode);
  if (!c) return fail("the mode generates no time code");
  if (text.size() != 11) return fail("expected HH:MM:SS:FF");
  uint32_t parts[4];
  for (int i = 0; i < 4; ++i) {
    const char hi = text[3 * i], lo = text[3 * i + 1];
    if (hi < '0' || hi > '9' || lo < '0' || lo > '9') return fail("expected HH:MM:SS:FF");
    parts[i] = static_cast<uint32_t>((hi - '0') * 10 + (lo - '0'));
    if (i < 3) {
      const char sep = text[3 * i + 2];
      if (sep != ':' && !(i == 2 && sep == ';')) return fail("expected HH:MM:SS:FF");
    }
  }
  const auto [hours, minutes, seconds, frames] = parts;
  if (hours >= 24 || minutes >= 60 || seconds >= 60) return fail("hours, minutes or seconds out of range");
  if (frames >= c->label_rate) return fail("frame number not below the mode's frame rate");
  if (c->dropped != 0 && seconds == 0 && minutes % 10 != 0 && frames < c->dropped)
    return fail("drop-frame counting skips this label");
  const uint32_t total_minutes = hours * 60 + minutes;
  const uint64_t n = (uint64_t{total_minutes} * 60 + seconds) * c->label_rate + frames;
  const uint64_t skipped = uint64_t{c->dropped} * (total_minutes - total_minutes / 10);
  return timecode::from_frame_index(mode, n - skipped);
}

}  // namespace ulbase
