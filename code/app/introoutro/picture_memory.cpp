// Measured on the 4:2:0 splice (475 frames of 1080p): with glibc's defaults every
// picture block was a fresh 4 KB fault per page, some 26000 faults for the ~105 MB the
// queues, copies and converter outputs hold at once. The faults do not come back with
// length (blocks are reused once the heap has grown), so what remains is the first
// touch of the working set, and only bigger pages make that cheap.
//
// Per-thread arenas are mmap'd heaps of their own that no madvise below reaches; with
// one arena, every thread's blocks come from the main heap. Pictures are allocated and
// freed a few times per frame, so the shared lock is not contended.

#include "introoutro/picture_memory.h"

#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>

namespace ns_introoutro {

namespace {

constexpr std::uintptr_t huge_page = 2u << 20;

}  // namespace

void prepare_picture_memory(std::size_t reserve_bytes) {
  mallopt(M_ARENA_MAX, 1);
  // Above the mmap threshold every picture would be mapped fresh and unmapped again.
  mallopt(M_MMAP_THRESHOLD, 32 * 1024 * 1024);
  mallopt(M_TRIM_THRESHOLD, 1024 * 1024 * 1024);
  // Grow the heap once by the whole reserve (address space only: nothing is touched),
  // then ask for huge pages over it; later growth of the same heap keeps 4 KB pages.
  const auto before = reinterpret_cast<std::uintptr_t>(sbrk(0));
  mallopt(M_TOP_PAD, static_cast<int>(reserve_bytes));
  // volatile: the compiler would drop an allocation that is freed unused.
  void* volatile block = std::malloc(256 * 1024);
  std::free(block);
  mallopt(M_TOP_PAD, 128 * 1024);
  const auto after = reinterpret_cast<std::uintptr_t>(sbrk(0));
  // From the huge page that holds the old top, so that the first picture is covered
  // whole; where the heap starts inside that page, the kernel advises what is mapped
  // and reports the rest. Without THP this fails and pictures keep small pages.
  const std::uintptr_t first = before & ~(huge_page - 1);
  madvise(reinterpret_cast<void*>(first), after - first, MADV_HUGEPAGE);
}

}  // namespace ns_introoutro
