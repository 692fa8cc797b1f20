#pragma once
// Helpers shared by the pixel-kernel tests: a fixture over the levels this processor
// runs, the seed, exact-size source buffers (so ASan sees over-reads) and
// sentinel-guarded destinations (so stray writes show).

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
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

// One instance per level, named after it; levels this processor cannot run are skipped.
class level_test : public testing::TestWithParam<int> {
 protected:
  void SetUp() override {
    if (!runs_here(index())) GTEST_SKIP() << "this processor cannot run " << level_name(index());
  }
  int index() const { return GetParam(); }
};

inline std::string level_param_name(const testing::TestParamInfo<int>& info) {
  return level_name(info.param);
}

// A block of exactly `count` elements, `offset` elements past a 64-byte boundary:
// nothing follows it, so a read past the end is an ASan error.
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
  std::vector<T> copy() const { return std::vector<T>(data_, data_ + count_); }
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
    skip_ = (64 - reinterpret_cast<uintptr_t>(storage_.data()) % 64) % 64;
  }

  unsigned char* data() { return storage_.data() + skip_ + guard + offset_; }
  template <class T>
  T* as() {
    return reinterpret_cast<T*>(data());
  }
  // Whether every byte outside [data(), data() + bytes) still holds the sentinel.
  bool guards_intact() const {
    const unsigned char* begin = storage_.data() + skip_;
    const unsigned char* payload_end = begin + guard + offset_ + bytes_;
    auto clean = [](const unsigned char* from, size_t n) {
      for (size_t i = 0; i < n; ++i)
        if (from[i] != sentinel) return false;
      return true;
    };
    return clean(begin, guard + offset_) && clean(payload_end, guard);
  }

 private:
  std::vector<unsigned char> storage_;
  size_t bytes_, offset_, skip_ = 0;
};

}  // namespace pk_test
