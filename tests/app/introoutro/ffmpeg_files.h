#pragma once
// A test suite over input files that the ffmpeg program makes once for the suite,
// each test with its own scratch folder; skipped when the program is missing.
//   class MySuite : public ffmpeg_files<MySuite> {
//     static void SetUpTestSuite() { if (start()) made = make("ffmpeg ... " + at("x.mp4")); }
//   };

#include "run_program.h"
#include "y4m_test_files.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace introoutro_test {

template <typename Suite>
class ffmpeg_files : public ::testing::Test {
protected:
  // Creates the suite's folder; false without the ffmpeg program.
  static bool start() {
    if (std::system("ffmpeg -version >/dev/null 2>&1") != 0) return false;
    files = new y4m_test::scratch_dir;
    return true;
  }
  static bool make(const std::string& command) { return std::system(command.c_str()) == 0; }
  static void TearDownTestSuite() {
    delete files;
    files = nullptr;
  }
  void SetUp() override {
    if (files == nullptr) GTEST_SKIP() << "the ffmpeg program is not installed (scripts/install-deps.sh --reference)";
    ASSERT_TRUE(made) << "ffmpeg could not make the test files";
  }

  static std::string at(const std::string& name) { return *files / name; }
  std::string out(const std::string& name) const { return dir / name; }

  run_result run(const std::vector<std::string>& args, run_setup s = {}) {
    s.stderr_file = dir / "stderr.txt";
    return run_program(INTROOUTRO_BIN, args, s);
  }

  static inline y4m_test::scratch_dir* files = nullptr;
  static inline bool made = false;
  y4m_test::scratch_dir dir;
};

}  // namespace introoutro_test
