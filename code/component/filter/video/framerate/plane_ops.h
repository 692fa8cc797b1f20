#pragma once
// Line-level building blocks shared by the picture builders, for 8- and 16-bit
// samples. Planes are width x height samples, lines back to back.

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace ns_video_framerate {

// out's even lines from `even`, odd lines from `odd`; a last, unpaired line of an
// odd height is even and so comes from `even`.
template <class T>
void weave_plane(T* out, const T* even, const T* odd, uint32_t width, uint32_t height) {
  const size_t line = size_t{width} * sizeof(T);
  for (uint32_t y = 0; y < height; ++y) {
    const size_t at = size_t{y} * width;
    std::memcpy(out + at, ((y & 1) ? odd : even) + at, line);
  }
}

// out[i] = (a[i] + b[i] + 1) / 2, computed as (a | b) - ((a ^ b) >> 1) so that it
// never leaves the sample width and vectorises at full lane count.
template <class T>
void average_samples(T* out, const T* a, const T* b, size_t count) {
  for (size_t i = 0; i < count; ++i) out[i] = static_cast<T>((a[i] | b[i]) - ((a[i] ^ b[i]) >> 1));
}

}  // namespace ns_video_framerate
