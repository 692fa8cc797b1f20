#pragma once
// Runs a fixed-size block kernel along a row. Whole blocks start where the
// destination is Align-byte aligned; the head before that and the short tail go
// through zero-padded copies of the same block kernel, so every element takes the
// same instructions (a scalar tail could saturate NaN differently).

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

template <int N, class S>
struct padded_copy {
  padded_copy(const S* src, int32_t n) { __builtin_memcpy(v, src, n * sizeof(S)); }
  alignas(64) S v[N] = {};
};

// The copies of every source are made before the block writes, so dst may be one
// of the sources.
template <int N, class Block, class D, class... S>
inline void partial_block(const Block& block, D* dst, int32_t n, const S*... src) {
  alignas(64) D d[N];
  block(d, padded_copy<N, S>(src, n).v...);
  __builtin_memcpy(dst, d, n * sizeof(D));
}

// block(D* dst, const S*... src) handles Block::n elements.
template <int Align, class Block, class D, class... S>
inline void run_row(const Block& block, D* dst, int32_t len, const S*... src) {
  constexpr int N = Block::n;
  static_assert(Align <= N * static_cast<int>(sizeof(D)), "the head must fit one block");
  int32_t i = aligned_head<Align>(dst, len);
  if (i > 0) partial_block<N>(block, dst, i, src...);
  for (; len - i >= N; i += N) block(dst + i, (src + i)...);
  if (i < len) partial_block<N>(block, dst + i, len - i, (src + i)...);
}

}  // namespace
}  // namespace ns_pixel_kernels
