#pragma once
// A malloc block owned until handed over (release()) to a frame or buffer that frees it.

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>

namespace ns_y4m {

struct free_deleter {
  void operator()(void* p) const noexcept { std::free(p); }
};
using malloc_ptr = std::unique_ptr<uint8_t, free_deleter>;

// n > 0 bytes, uninitialised; std::bad_alloc when there are none.
inline malloc_ptr malloc_bytes(size_t n) {
  void* p = std::malloc(n);
  if (p == nullptr) throw std::bad_alloc();
  return malloc_ptr(static_cast<uint8_t*>(p));
}

}  // namespace ns_y4m
