// The allocator set-up changes the whole process, so it has a test program of its own.

#include "introoutro/picture_memory.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>

namespace {

bool thp_offered() {
  std::ifstream f("/sys/kernel/mm/transparent_hugepage/enabled");
  std::string modes;
  std::getline(f, modes);
  return modes.find("[always]") != std::string::npos || modes.find("[madvise]") != std::string::npos;
}

// The "THPeligible" line of the mapping in /proc/self/smaps that holds address a.
int thp_eligible(const void* a) {
  const auto at = reinterpret_cast<std::uintptr_t>(a);
  std::ifstream smaps("/proc/self/smaps");
  std::string line;
  bool inside = false;
  while (std::getline(smaps, line)) {
    std::uintptr_t from = 0, to = 0;
    char dash = 0;
    std::istringstream range(line);
    if (range >> std::hex >> from >> dash >> to && dash == '-') {
      inside = at >= from && at < to;
    } else if (inside && line.rfind("THPeligible:", 0) == 0) {
      return std::stoi(line.substr(12));
    }
  }
  return -1;
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool own_malloc = false;
#else
constexpr bool own_malloc = true;
#endif

TEST(PictureMemory, PictureBlocksOfEveryThreadComeFromHugePageMemory) {
  if (!own_malloc) GTEST_SKIP() << "the sanitizer replaces the allocator";
  if (!thp_offered()) GTEST_SKIP() << "transparent huge pages are off on this machine";
  ns_introoutro::prepare_picture_memory(64u << 20);
  constexpr std::size_t picture = 1920 * 1080 * 3 / 2;
  void* here = std::malloc(picture);
  void* there = nullptr;
  std::thread([&there] { there = std::malloc(picture); }).join();
  ASSERT_NE(here, nullptr);
  ASSERT_NE(there, nullptr);
  EXPECT_EQ(thp_eligible(here), 1);
  EXPECT_EQ(thp_eligible(there), 1) << "a reader thread's picture must not come from an arena of its own";
  // Freed and asked for again, a picture reuses heap memory: the heap neither grows
  // nor shrinks.
  const void* top = sbrk(0);
  std::free(there);
  EXPECT_EQ(sbrk(0), top);
  void* again = std::malloc(picture);
  EXPECT_EQ(sbrk(0), top);
  EXPECT_EQ(thp_eligible(again), 1);
  std::free(again);
  std::free(here);
}

}  // namespace
