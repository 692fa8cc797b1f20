#pragma once
// A zero-filled, 64-byte-aligned array owned by the resizer: row kernels and the
// media library's converter read whole cache lines and vectors from it.

#include <cstddef>
#include <cstring>
#include <memory>
#include <new>

namespace ns_video_resize {

template <class T>
class aligned_buffer {
public:
  aligned_buffer() = default;
  explicit aligned_buffer(std::size_t count)
      : data_(static_cast<T*>(::operator new(count * sizeof(T), std::align_val_t{64}))),
        size_(count) {
    std::memset(static_cast<void*>(data_.get()), 0, count * sizeof(T));
  }

  T* data() const noexcept { return data_.get(); }
  std::size_t size() const noexcept { return size_; }

private:
  struct release {
    void operator()(T* block) const noexcept { ::operator delete(block, std::align_val_t{64}); }
  };
  std::unique_ptr<T, release> data_;
  std::size_t size_ = 0;
};

}  // namespace ns_video_resize
