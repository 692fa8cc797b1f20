#pragma once
// Weights and rounding of the 3x3 and 5x5 Gaussian filters, and a per-sample
// evaluation that every implementation uses where a vector does not fit.

#include <cstddef>
#include <cstdint>

namespace ns_pixel_kernels {
namespace {

// 5x5 horizontal profiles: row offset +-2, +-1 and 0. Each is (w0, w1, w2) for
// column offsets +-2, +-1, 0. The 3x3 kernel is (1, 2, 1) on both axes.
constexpr uint32_t gauss5_weights[3][3] = {{2, 7, 12}, {7, 31, 52}, {12, 52, 127}};

// S / 16 rounded to nearest, ties to even.
inline uint32_t round_gauss3(uint32_t s) { return (s + 7 + ((s >> 4) & 1)) >> 4; }
// S / 571 rounded to nearest (571 is odd: no ties); exact for S <= 571 * 255.
inline uint32_t round_gauss5_u8(uint32_t s) { return ((s + 286) * 29382u) >> 24; }
// Exact for S <= 571 * 65535.
inline uint32_t round_gauss5_u16(uint32_t s) {
  return static_cast<uint32_t>((uint64_t{s + 286} * 7521834u) >> 32);
}

// Samples are addressed by byte so that 16-bit planes with odd byte steps stay legal.
template <class T>
inline uint32_t sample_at(const unsigned char* p) {
  T v;
  __builtin_memcpy(&v, p, sizeof v);
  return v;
}

// One output sample of the region: `at` is the source sample under it.
template <class T>
inline T gauss3_at(const unsigned char* at, ptrdiff_t step) {
  constexpr ptrdiff_t n = sizeof(T);
  auto h = [&](const unsigned char* c) {
    return sample_at<T>(c - n) + 2 * sample_at<T>(c) + sample_at<T>(c + n);
  };
  return static_cast<T>(round_gauss3(h(at - step) + 2 * h(at) + h(at + step)));
}

template <class T>
inline uint32_t gauss5_profile(const unsigned char* c, const uint32_t (&w)[3]) {
  constexpr ptrdiff_t n = sizeof(T);
  return w[0] * (sample_at<T>(c - 2 * n) + sample_at<T>(c + 2 * n)) +
         w[1] * (sample_at<T>(c - n) + sample_at<T>(c + n)) + w[2] * sample_at<T>(c);
}

template <class T>
inline T gauss5_at(const unsigned char* at, ptrdiff_t step) {
  const uint32_t s = gauss5_profile<T>(at - 2 * step, gauss5_weights[0]) +
                     gauss5_profile<T>(at - step, gauss5_weights[1]) +
                     gauss5_profile<T>(at, gauss5_weights[2]) +
                     gauss5_profile<T>(at + step, gauss5_weights[1]) +
                     gauss5_profile<T>(at + 2 * step, gauss5_weights[0]);
  return static_cast<T>(sizeof(T) == 1 ? round_gauss5_u8(s) : round_gauss5_u16(s));
}

// Byte address of sample x of row y.
template <class T>
inline const unsigned char* sample_addr(const T* base, int32_t step, ptrdiff_t y, ptrdiff_t x) {
  return reinterpret_cast<const unsigned char*>(base) + y * step + x * ptrdiff_t{sizeof(T)};
}
template <class T>
inline unsigned char* sample_addr(T* base, int32_t step, ptrdiff_t y, ptrdiff_t x) {
  return reinterpret_cast<unsigned char*>(base) + y * step + x * ptrdiff_t{sizeof(T)};
}

}  // namespace
}  // namespace ns_pixel_kernels
