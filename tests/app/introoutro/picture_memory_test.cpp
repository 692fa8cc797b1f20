// The allocator set-up changes the whole process, so it has a test program of its own.

#include "introoutro/picture_memory.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

namespace {

// Where the process's brk heap begins, from its "[heap]" line in /proc/self/maps.
std::uintptr_t heap_start() {
  std::ifstream maps("/proc/self/maps");
  std::string line;
  while (std::getline(maps, line)) {
    if (line.find("[heap]") != std::string::npos) return std::stoull(line.substr(0, line.find('-')), nullptr, 16);
  }
  return 0;
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool own_malloc = false;
#else
constexpr bool own_malloc = true;
#endif

// Huge pages themselves depend on the kernel's mood (THP settings, fragmentation), so
// what is pinned here is what the set-up guarantees: every thread's pictures come from
// the one heap that the huge-page advice covers, and freeing them keeps the heap as it is.
TEST(PictureMemory, PictureBlocksOfEveryThreadComeFromOneNeverTrimmedHeap) {
  if (!own_malloc) GTEST_SKIP() << "the sanitizer replaces the allocator";
  ns_introoutro::prepare_picture_memory(64u << 20);
  constexpr std::size_t picture = 1920 * 1080 * 3 / 2;
  void* here = std::malloc(picture);
  void* there = nullptr;
  std::thread([&there] { there = std::malloc(picture); }).join();
  ASSERT_NE(here, nullptr);
  ASSERT_NE(there, nullptr);
  const auto in_heap = [](const void* p) {
    const auto a = reinterpret_cast<std::uintptr_t>(p);
    return a >= heap_start() && a < reinterpret_cast<std::uintptr_t>(sbrk(0));
  };
  EXPECT_TRUE(in_heap(here));
  EXPECT_TRUE(in_heap(there)) << "a reader thread's picture must not come from an arena of its own";
  const void* top = sbrk(0);
  std::free(there);
  EXPECT_EQ(sbrk(0), top);
  void* again = std::malloc(picture);
  EXPECT_EQ(sbrk(0), top);
  EXPECT_TRUE(in_heap(again));
  std::free(again);
  std::free(here);
}

}  // namespace
