#pragma once
// Measuring the sound the tests produce: all of a source, channel sums, and a tone
// fitted to a window and extended sample by sample, to tell which piece a sample is
// from.

#include "audio/audio_source.h"

#include <cmath>
#include <cstddef>
#include <numbers>
#include <vector>

namespace ns_audio_test {

inline std::vector<float> read_all(ns_audio::audio_source& s, size_t channels, size_t chunk = 1000) {
  std::vector<float> all;
  std::vector<float> part(chunk * channels);
  while (const size_t n = s.read(part.data(), chunk)) all.insert(all.end(), part.begin(), part.begin() + n * channels);
  return all;
}

// Sum of the channels of each sample frame: a tone on several channels stays one tone.
inline std::vector<double> channel_sum(const std::vector<float>& interleaved, size_t channels) {
  std::vector<double> sum(interleaved.size() / channels);
  for (size_t i = 0; i < sum.size(); ++i) {
    for (size_t c = 0; c < channels; ++c) sum[i] += interleaved[i * channels + c];
  }
  return sum;
}

// a sin(wt) + b cos(wt), fitted by least squares to x[first, last).
class tone_fit {
public:
  tone_fit(const std::vector<double>& x, size_t first, size_t last, double hz, double rate)
      : w(2 * std::numbers::pi * hz / rate) {
    double ss = 0, sc = 0, cc = 0, xs = 0, xc = 0;
    for (size_t t = first; t < last; ++t) {
      const double s = std::sin(w * t), c = std::cos(w * t);
      ss += s * s;
      sc += s * c;
      cc += c * c;
      xs += x[t] * s;
      xc += x[t] * c;
    }
    const double det = ss * cc - sc * sc;
    a = (xs * cc - xc * sc) / det;
    b = (xc * ss - xs * sc) / det;
  }
  double at(size_t t) const { return a * std::sin(w * t) + b * std::cos(w * t); }
  double amplitude() const { return std::hypot(a, b); }
  // How many samples after t0 the tone passes phase 0 (sin rising) nearest to t0: 0
  // when a tone that starts at phase 0 starts at t0, d when it is d samples late.
  double samples_late(size_t t0) const {
    // a sin(wt) + b cos(wt) = A sin(wt + p) with p = atan2(b, a).
    const double phase = std::remainder(w * static_cast<double>(t0) + std::atan2(b, a), 2 * std::numbers::pi);
    return -phase / w;
  }
  // Whether x[t] is this tone, within `tolerance` of its amplitude.
  bool fits(const std::vector<double>& x, size_t t, double tolerance) const {
    return std::fabs(x[t] - at(t)) <= tolerance * amplitude();
  }

private:
  double w;
  double a = 0, b = 0;
};

// Frequency from the upward zero crossings of x[first, last).
inline double crossing_hz(const std::vector<double>& x, size_t first, size_t last, double rate) {
  size_t up = 0, first_up = 0, last_up = 0;
  for (size_t t = first + 1; t < last; ++t) {
    if (x[t - 1] < 0 && x[t] >= 0) {
      if (up++ == 0) first_up = t;
      last_up = t;
    }
  }
  return up < 2 ? 0 : (up - 1) * rate / static_cast<double>(last_up - first_up);
}

}  // namespace ns_audio_test
