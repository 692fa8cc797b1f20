#include "filter/video/framerate/ivtc/comb_measure.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace ns_video_framerate {

namespace {

template <class T>
constexpr uint32_t sample_shift = sizeof(T) == 1 ? 0 : 8;

// |a - b| in the sample type itself, so that the loops vectorise at full width.
template <class T>
T absdiff(T a, T b) {
  return static_cast<T>(a > b ? a - b : b - a);
}

// Samples summed in 32 bits before widening: 4096 x 65535 stays below 2^32.
constexpr uint32_t chunk = 4096;

// One interior row's difference flags spread horizontally: 255 at x when one of x-1,
// x, x+1 (interior columns only) differs by more than the threshold. Branch-free so
// that it vectorises; `raw` is a scratch row.
template <class T>
void spread_row(uint8_t* out, uint8_t* raw, const T* a, const T* b, uint32_t width, uint32_t threshold) {
  raw[0] = raw[width - 1] = 0;
  for (uint32_t x = 1; x + 1 < width; ++x) raw[x] = absdiff(a[x], b[x]) > threshold ? 255 : 0;
  out[0] = raw[1];
  out[width - 1] = raw[width - 2];
  for (uint32_t x = 1; x + 1 < width; ++x) out[x] = raw[x - 1] | raw[x] | raw[x + 1];
}

}  // namespace

template <class T>
void build_motion_mask(uint8_t* mask, const T* a, const T* b, uint32_t width, uint32_t height, uint32_t threshold,
                       uint8_t* rows) {
  if (width < 3 || height < 3) {
    std::memset(mask, 0, size_t{width} * height);
    return;
  }
  const uint32_t t = threshold << sample_shift<T>;
  // Mask row y is the OR of the spread flags of interior rows y-1, y and y+1; the
  // flags of three rows are kept in a ring, so every mask row is written once.
  auto flags = [&](uint32_t r) { return rows + (r % 3) * size_t{width}; };
  uint8_t* none = rows + 4 * size_t{width};
  std::memset(none, 0, width);
  spread_row(flags(1), rows + 3 * size_t{width}, a + width, b + width, width, t);
  for (uint32_t y = 0; y < height; ++y) {
    const uint32_t below = y + 1;
    if (below + 1 < height && below > 1) {
      const size_t at = size_t{below} * width;
      spread_row(flags(below), rows + 3 * size_t{width}, a + at, b + at, width, t);
    }
    const uint8_t* up = y >= 2 ? flags(y - 1) : none;  // interior rows start at 1
    const uint8_t* mid = y >= 1 && y + 1 < height ? flags(y) : none;
    const uint8_t* down = below + 1 < height ? flags(below) : none;
    uint8_t* m = mask + size_t{y} * width;
    for (uint32_t x = 0; x < width; ++x) m[x] = up[x] | mid[x] | down[x];
  }
}

template <class T>
field_differences field_difference(const T* a, const T* b, uint32_t width, uint32_t height) {
  uint64_t sums[2] = {0, 0};
  for (uint32_t y = 0; y < height; ++y) {
    const size_t at = size_t{y} * width;
    for (uint32_t x0 = 0; x0 < width; x0 += chunk) {
      uint32_t s = 0;
      for (uint32_t x = x0, end = std::min(width, x0 + chunk); x < end; ++x) s += absdiff(a[at + x], b[at + x]);
      sums[y & 1] += s;
    }
  }
  const double area = double(width) * height;
  if (area == 0) return {0.0f, 0.0f};
  return {static_cast<float>(double(sums[0] >> sample_shift<T>) / area),
          static_cast<float>(double(sums[1] >> sample_shift<T>) / area)};
}

template <class T>
float comb_level(const T* p, const uint8_t* mask, uint32_t width, uint32_t height) {
  uint64_t vertical = 0, horizontal = 1;
  for (uint32_t y = 0; y + 1 < height; y += 2) {
    const T* line = p + size_t{y} * width;
    const T* below = line + width;
    const uint8_t* m = mask + size_t{y} * width;
    for (uint32_t x0 = 0; x0 + 1 < width; x0 += chunk) {
      uint32_t v = 0, h = 0;
      for (uint32_t x = x0, end = std::min(width - 1, x0 + chunk); x < end; ++x) {
        const T on = m[x] ? static_cast<T>(~T{0}) : T{0};
        v += static_cast<T>(absdiff(line[x], below[x]) & on);
        h += static_cast<T>(absdiff(line[x], line[x + 1]) & on);
      }
      vertical += v;
      horizontal += h;
    }
  }
  // The 16-bit form may scale H down to 0; the division then gives inf or NaN, both of
  // which compare false, so such a picture never counts as combed.
  return static_cast<float>(vertical >> sample_shift<T>) / static_cast<float>(horizontal >> sample_shift<T>);
}

float median(const std::deque<float>& values) {
  std::array<float, max_history> sorted{};
  const size_t n = std::min(values.size(), sorted.size());
  if (n == 0) return 0.0f;
  std::copy_n(values.begin(), n, sorted.begin());
  std::nth_element(sorted.begin(), sorted.begin() + n / 2, sorted.begin() + n);
  return sorted[n / 2];
}

template void build_motion_mask<uint8_t>(uint8_t*, const uint8_t*, const uint8_t*, uint32_t, uint32_t, uint32_t,
                                         uint8_t*);
template void build_motion_mask<uint16_t>(uint8_t*, const uint16_t*, const uint16_t*, uint32_t, uint32_t, uint32_t,
                                          uint8_t*);
template field_differences field_difference<uint8_t>(const uint8_t*, const uint8_t*, uint32_t, uint32_t);
template field_differences field_difference<uint16_t>(const uint16_t*, const uint16_t*, uint32_t, uint32_t);
template float comb_level<uint8_t>(const uint8_t*, const uint8_t*, uint32_t, uint32_t);
template float comb_level<uint16_t>(const uint16_t*, const uint8_t*, uint32_t, uint32_t);

}  // namespace ns_video_framerate
