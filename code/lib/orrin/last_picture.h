#pragma once
// Internal: the converter's own copy of the last input picture, each plane in rows
// that zimg reads in place (64-byte aligned addresses and strides). A picture the
// same as the last one, byte for byte, is known without scaling it again.

#include <cstddef>
#include <cstdint>
#include <memory>

#include "orrin/picture_format.h"

namespace Quorvane::Orrin {

// Where the three planes of a caller's picture are.
struct plane_offsets {
  std::size_t plane[3];
  std::size_t stride[3];
  std::size_t end;  // one past the last byte of the V plane's last row
};

class last_picture {
public:
  // Room for pictures of width x height in `layout`; forgets any picture held.
  void reset(const PictureLayout& layout, std::size_t width, std::size_t height);
  // Whether a picture is held and `in` has the same samples.
  bool same_as(const uint8_t* in, const plane_offsets& in_planes) const noexcept;
  // Holds a copy of `in` from now on: plane p by copy_plane(p) for each of the three
  // (from any threads, one plane each), then held().
  void copy_plane(int p, const uint8_t* in, const plane_offsets& in_planes) noexcept;
  void held() noexcept { held_ = true; }
  void forget() noexcept { held_ = false; }

  const uint8_t* plane(int p) const noexcept { return block_.get() + offset_[p]; }
  std::size_t stride(int p) const noexcept { return stride_[p]; }

private:
  struct aligned_free {
    void operator()(uint8_t* block) const noexcept;
  };
  std::unique_ptr<uint8_t[], aligned_free> block_;
  std::size_t offset_[3] = {};
  std::size_t stride_[3] = {};
  std::size_t rows_[3] = {};
  std::size_t row_bytes_[3] = {};
  bool held_ = false;
};

}  // namespace Quorvane::Orrin
