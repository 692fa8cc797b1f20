#pragma once
// Runs a block kernel along a row. A block kernel offers `n`, a whole-block call
// block(D* dst, const S*... src) and a one-element call block.one(...) made of the
// same instructions on one lane, so every element gets the same result whichever
// path takes it. Whole blocks start where dst is Align-byte aligned. When dst
// overlaps no source, the unaligned head is covered by one unaligned block and the
// tail by a last block overlapping the one before (recomputing gives the same
// bytes); in place, head and tail go element by element.

#include <cstddef>
#include <cstdint>

namespace ns_pixel_kernels {
namespace {

// Elements before dst reaches an Align-byte boundary, at most len; 0 when dst is
// not aligned to its own element size and can never get there.
template <int Align, class D>
inline int32_t aligned_head(const D* dst, int32_t len) {
  const uintptr_t addr = reinterpret_cast<uintptr_t>(dst);
  if (addr % sizeof(D) != 0) return 0;
  const int32_t head = static_cast<int32_t>((Align - addr % Align) % Align / sizeof(D));
  return head < len ? head : len;
}

template <class A, class B>
inline bool apart(const A* a, const B* b, int32_t len) {
  const uintptr_t a0 = reinterpret_cast<uintptr_t>(a), b0 = reinterpret_cast<uintptr_t>(b);
  return a0 + static_cast<uintptr_t>(len) * sizeof(A) <= b0 ||
         b0 + static_cast<uintptr_t>(len) * sizeof(B) <= a0;
}

template <int Align, class Block, class D, class... S>
inline void run_row(const Block& block, D* dst, int32_t len, const S*... src) {
  constexpr int32_t n = Block::n;
  static_assert(Align <= n * static_cast<int>(sizeof(D)), "the head must fit one block");
  if (len < n) {
    for (int32_t i = 0; i < len; ++i) block.one(dst + i, (src + i)...);
    return;
  }
  const bool disjoint = (apart(dst, src, len) && ...);
  int32_t i = aligned_head<Align>(dst, len);
  if (disjoint) {
    if (i > 0) block(dst, src...);
  } else {
    for (int32_t k = 0; k < i; ++k) block.one(dst + k, (src + k)...);
  }
  for (; len - i >= 4 * n; i += 4 * n) {
    block(dst + i, (src + i)...);
    block(dst + i + n, (src + i + n)...);
    block(dst + i + 2 * n, (src + i + 2 * n)...);
    block(dst + i + 3 * n, (src + i + 3 * n)...);
  }
  for (; len - i >= n; i += n) block(dst + i, (src + i)...);
  if (i == len) return;
  if (disjoint) {
    block(dst + len - n, (src + len - n)...);
  } else {
    for (; i < len; ++i) block.one(dst + i, (src + i)...);
  }
}

}  // namespace
}  // namespace ns_pixel_kernels
