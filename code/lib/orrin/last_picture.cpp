#include "orrin/last_picture.h"

#include <cstring>
#include <new>

namespace Quorvane::Orrin {

namespace {

constexpr std::size_t kAlignment = 64;

std::size_t round_up(std::size_t value) { return (value + kAlignment - 1) / kAlignment * kAlignment; }

}  // namespace

void last_picture::aligned_free::operator()(uint8_t* block) const noexcept {
  ::operator delete(block, std::align_val_t{kAlignment});
}

void last_picture::reset(const PictureLayout& layout, std::size_t width, std::size_t height) {
  held_ = false;
  std::size_t total = 0;
  for (int p = 0; p < 3; ++p) {
    const unsigned sx = p == 0 ? 0 : layout.chroma_shift_x;
    const unsigned sy = p == 0 ? 0 : layout.chroma_shift_y;
    row_bytes_[p] = (width >> sx) * layout.bytes_per_sample;
    rows_[p] = height >> sy;
    stride_[p] = round_up(row_bytes_[p]);
    offset_[p] = total;
    total += stride_[p] * rows_[p];
  }
  block_.reset(static_cast<uint8_t*>(::operator new(total, std::align_val_t{kAlignment})));
}

bool last_picture::same_as(const uint8_t* in, const plane_offsets& in_planes) const noexcept {
  if (!held_) return false;
  for (int p = 0; p < 3; ++p) {
    const uint8_t* from = in + in_planes.plane[p];
    const uint8_t* kept = block_.get() + offset_[p];
    for (std::size_t y = 0; y < rows_[p]; ++y, from += in_planes.stride[p], kept += stride_[p]) {
      if (std::memcmp(from, kept, row_bytes_[p]) != 0) return false;
    }
  }
  return true;
}

void last_picture::copy_plane(int p, const uint8_t* in, const plane_offsets& in_planes) noexcept {
  const uint8_t* from = in + in_planes.plane[p];
  uint8_t* kept = block_.get() + offset_[p];
  for (std::size_t y = 0; y < rows_[p]; ++y, from += in_planes.stride[p], kept += stride_[p]) {
    std::memcpy(kept, from, row_bytes_[p]);
  }
}

}  // namespace Quorvane::Orrin
