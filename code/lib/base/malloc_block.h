#pragma once
// Internal to libkx: the malloc allocation behind every buffer's storage.

#include <cstdint>
#include <cstdlib>
#include <new>

namespace KX::detail {

// A malloc block of n bytes (n > 0); std::bad_alloc when there is none.
inline unsigned char* mallocBlock(int64_t n) {
  void* p = std::malloc(static_cast<size_t>(n));
  if (p == nullptr) throw std::bad_alloc();
  return static_cast<unsigned char*>(p);
}

}  // namespace KX::detail
