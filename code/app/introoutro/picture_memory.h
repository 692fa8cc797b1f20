#pragma once
// Sets the process's allocator up for picture-sized blocks: they come from one heap
// that is never trimmed, and that heap's first reserve_bytes are backed by huge pages
// where the kernel offers them, so a picture costs a page fault per 2 MB at most once
// in the run instead of one per 4 KB. Call first thing in main, before any thread.

#include <cstddef>

namespace ns_introoutro {

inline constexpr std::size_t picture_heap_reserve = 256u << 20;

void prepare_picture_memory(std::size_t reserve_bytes = picture_heap_reserve);

}  // namespace ns_introoutro
