#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "pixel_kernels/pixel_kernels.h"

namespace ns_pixel_kernels {
namespace {

memory_hooks hooks = {std::malloc, std::calloc, std::realloc, std::free};

// 64 bytes of slack for the alignment plus 8 for the raw address kept in front.
constexpr int64_t slack = 72;

}  // namespace

memory_hooks set_memory_hooks(const memory_hooks& replacement) {
  const memory_hooks previous = hooks;
  hooks = replacement;
  return previous;
}

void* aligned_alloc_64(int32_t bytes) {
  if (bytes < 1) return nullptr;
  void* raw = hooks.allocate(static_cast<size_t>(int64_t{bytes} + slack));
  if (raw == nullptr) return nullptr;
  // The first multiple of 64 at least 8 bytes past the raw block.
  const uintptr_t aligned = (reinterpret_cast<uintptr_t>(raw) + 71) & ~uintptr_t{63};
  std::memcpy(reinterpret_cast<void*>(aligned - sizeof raw), &raw, sizeof raw);
  return reinterpret_cast<void*>(aligned);
}

void aligned_free_64(void* block) {
  if (block == nullptr) return;
  void* raw;
  std::memcpy(&raw, static_cast<unsigned char*>(block) - sizeof raw, sizeof raw);
  hooks.release(raw);
}

}  // namespace ns_pixel_kernels
