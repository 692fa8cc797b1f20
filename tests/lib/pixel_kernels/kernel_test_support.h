#pragma once
// Helpers shared by the pixel-kernel tests: level names, whether this processor runs
// a level, the seed, exact-size source buffers (so ASan sees over-reads) and
// sentinel-guarded destinations (so stray writes show).

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <random>
#include <string>
#include <vector>

#include "pixel_kernels/dispatch/cpu_features.h"
#include "pixel_kernels/dispatch/tables.h"

namespace pk_test {

inline const char* level_name(int index) {
  static const char* const names[ns_pixel_kernels::kVariantCount] = {
      "generic", "sse3", "ssse3", "ssse3_movbe", "sse41", "avx", "avx2"};
  return names[index];
}

inline bool runs_here(int index) {
  static const uint64_t features =
      ns_pixel_kernels::decode_features(ns_pixel_kernels::read_cpu_snapshot());
  return ns_pixel_kernels::variant_supported(features, index);
}

// PK_TEST_SEED overrides the fixed default, to replay or widen a run.
inline uint64_t test_seed() {
  if (const char* s = std::getenv("PK_TEST_SEED")) return std::strtoull(s, nullptr, 0);
  return 0x5EED2024;
}

// A 64-byte-aligned block of exactly `bytes` bytes, at `offset` past the boundary
// only when asked: nothing follows it, so a read past the end is an ASan error.
template <class T>
class exact_buffer {
 public:
  exact_buffer(size_t count, size_t offset = 0) : count_(count) {
    void* p = nullptr;
    if (posix_memalign(&p, 64, (offset + count) * sizeof(T) + (count == 0)) != 0)
      throw std::bad_alloc();
    base_ = static_cast<T*>(p);
    data_ = base_ + offset;
  }
  ~exact_buffer() { std::free(base_); }
  exact_buffer(const exact_buffer&) = delete;
  exact_buffer& operator=(const exact_buffer&) = delete;

  T* data() const { return data_; }
  size_t size() const { return count_; }
  T& operator[](size_t i) const { return data_[i]; }
  bool same_as(const std::vector<T>& v) const {
    return v.size() == count_ && std::memcmp(v.data(), data_, count_ * sizeof(T)) == 0;
  }

 private:
  T* base_ = nullptr;
  T* data_ = nullptr;
  size_t count_;
};

// Destination bytes with 64 sentinel bytes before and after, the payload starting
// `offset` bytes past a 64-byte boundary; the offset bytes are sentinels too.
class guarded_bytes {
 public:
  static constexpr unsigned char sentinel = 0xA5;
  static constexpr size_t guard = 64;

  guarded_bytes(size_t bytes, size_t offset)
      : storage_(guard + offset + bytes + guard + 64, sentinel), bytes_(bytes), offset_(offset) {
    const uintptr_t raw = reinterpret_cast<uintptr_t>(storage_.data());
    skip_ = (64 - raw % 64) % 64;
  }

  unsigned char* data() { return storage_.data() + skip_ + guard + offset_; }
  template <class T>
  T* as() {
    return reinterpret_cast<T*>(data());
  }
  // The whole span the kernel may see or must leave alone, sentinels included.
  const unsigned char* span() const { return storage_.data() + skip_; }
  size_t span_bytes() const { return guard + offset_ + bytes_ + guard; }
  // Whether every byte outside [data(), data() + bytes) still holds the sentinel.
  bool guards_intact() const { return untouched(0, guard + offset_) && untouched(guard + offset_ + bytes_, guard); }
  bool untouched(size_t from, size_t n) const {
    for (size_t i = 0; i < n; ++i)
      if (span()[from + i] != sentinel) return false;
    return true;
  }

 private:
  std::vector<unsigned char> storage_;
  size_t bytes_, offset_, skip_ = 0;
};

// Printable parameter names: "avx2", "sse41", ...
struct level_param_name {
  std::string operator()(const testing::TestParamInfo<int>& info) const {
    return level_name(info.param);
  }
};

}  // namespace pk_test
