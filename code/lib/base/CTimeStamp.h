#pragma once
// KX::CTimeStamp: a time or duration in seconds, held as one double (points in time
// count from 1970-01-01 00:00:00 UTC). Integer read-outs round half away from zero.

#include "base/KXExport.h"
#include <sys/time.h>

#include <cmath>
#include <concepts>
#include <cstdint>
#include <ctime>
#include <utility>

namespace KX {

class KX_EXPORT CTimeStamp {
public:
  CTimeStamp() noexcept = default;
  CTimeStamp(const CTimeStamp&) noexcept = default;
  CTimeStamp& operator=(const CTimeStamp&) noexcept = default;

  static CTimeStamp createWithTimeStamp(const CTimeStamp& t) { return t; }
  static CTimeStamp createWithSeconds(double s) { return CTimeStamp(s); }
  // Whole seconds. A template so that int, unsigned and long long arguments all pick
  // this overload instead of being ambiguous with the double one.
  template <std::integral I>
  static CTimeStamp createWithSeconds(I n) {
    return CTimeStamp(static_cast<double>(static_cast<long long>(n)));
  }
  static CTimeStamp createWithMilliSeconds(long long n) { return CTimeStamp(n / 1000.0); }
  static CTimeStamp createWithMicroSeconds(long long n) { return CTimeStamp(n / 1e6); }
  static CTimeStamp createWithNanoSeconds(long long n) { return CTimeStamp(n / 1e9); }
  // The system clock (UTC) with microsecond resolution: whole seconds as a 32-bit
  // count plus the microseconds.
  static CTimeStamp createWithLocalTime() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    const uint32_t whole = static_cast<uint32_t>(now.tv_sec);
    return CTimeStamp(whole + static_cast<double>(now.tv_nsec / 1000) / 1e6);
  }

  CTimeStamp& setSeconds(long long n) { return assign(static_cast<double>(n)); }
  CTimeStamp& setMilliSeconds(long long n) { return assign(n / 1000.0); }
  CTimeStamp& setMicroSeconds(long long n) { return assign(n / 1e6); }
  CTimeStamp& setNanoSeconds(long long n) { return assign(n / 1e9); }

  long long getSeconds() const { return scaled(1.0); }
  long long getMilliSeconds() const { return scaled(1000.0); }
  long long getMicroSeconds() const { return scaled(1e6); }
  long long getNanoSeconds() const { return scaled(1e9); }
  // The exact double, for arithmetic that must not round.
  double getSecondsAsDouble() const { return seconds; }

  // Seconds truncated toward zero; the rest rounded half away from zero to
  // microseconds, without carry (2.9999999 gives 2 s and 1000000 us).
  operator struct timeval() const {
    const auto [whole, fraction] = split(1e6);
    timeval tv{};
    tv.tv_sec = static_cast<time_t>(whole);
    tv.tv_usec = static_cast<suseconds_t>(fraction);
    return tv;
  }
  // As timeval, in nanoseconds.
  operator struct timespec() const {
    const auto [whole, fraction] = split(1e9);
    timespec ts{};
    ts.tv_sec = static_cast<time_t>(whole);
    ts.tv_nsec = static_cast<long>(fraction);
    return ts;
  }

  CTimeStamp& operator+=(const CTimeStamp& t) { return assign(seconds + t.seconds); }
  CTimeStamp& operator-=(const CTimeStamp& t) { return assign(seconds - t.seconds); }
  friend CTimeStamp operator+(CTimeStamp a, const CTimeStamp& b) { return a += b; }
  friend CTimeStamp operator-(CTimeStamp a, const CTimeStamp& b) { return a -= b; }
  friend auto operator<=>(const CTimeStamp&, const CTimeStamp&) = default;
  friend bool operator==(const CTimeStamp&, const CTimeStamp&) = default;

private:
  explicit CTimeStamp(double s) noexcept : seconds(s) {}
  CTimeStamp& assign(double s) {
    seconds = s;
    return *this;
  }
  // Truncation toward zero to 64 bits, saturating outside the range (NaN gives 0)
  // where a plain conversion would be undefined.
  static long long truncate(double x) {
    if (std::isnan(x)) return 0;
    if (x >= 9223372036854775807.0) return INT64_MAX;
    if (x <= -9223372036854775808.0) return INT64_MIN;
    return static_cast<long long>(x);
  }
  // Sign taken from the time stamp, as the whole part and the fraction share it.
  long long roundAway(double value, double scale) const {
    const double x = value * scale;
    return truncate(seconds < 0 ? x - 0.5 : x + 0.5);
  }
  long long scaled(double scale) const { return roundAway(seconds, scale); }
  std::pair<long long, long long> split(double scale) const {
    const double whole = std::trunc(seconds);
    return {truncate(whole), roundAway(seconds - whole, scale)};
  }

  double seconds = 0.0;
};

}  // namespace KX
