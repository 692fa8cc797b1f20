#pragma once
// Interlaced frames: the top field is rows 0, 2, 4, ..., the bottom field rows
// 1, 3, 5, ...; each field is scaled as a picture of its own and woven back.
//
//   frame row 0  T0        field 0 (top):    T0 T1 T2 ...
//   frame row 1  B0        field 1 (bottom): B0 B1 B2 ...
//   frame row 2  T1
//   frame row 3  B1

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace ns_video_resize {

// Copies `field_rows` rows of `row_bytes`, field row i from frame row 2i + parity.
inline void split_field(const void* frame, std::size_t row_bytes, uint32_t field_rows,
                        uint32_t parity, void* field) {
  for (uint32_t i = 0; i < field_rows; ++i) {
    std::memcpy(static_cast<uint8_t*>(field) + i * row_bytes,
                static_cast<const uint8_t*>(frame) + (2 * std::size_t{i} + parity) * row_bytes,
                row_bytes);
  }
}

// The inverse: field row i to frame row 2i + parity.
inline void weave_field(const void* field, std::size_t row_bytes, uint32_t field_rows,
                        uint32_t parity, void* frame) {
  for (uint32_t i = 0; i < field_rows; ++i) {
    std::memcpy(static_cast<uint8_t*>(frame) + (2 * std::size_t{i} + parity) * row_bytes,
                static_cast<const uint8_t*>(field) + i * row_bytes, row_bytes);
  }
}

}  // namespace ns_video_resize
