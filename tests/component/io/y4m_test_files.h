#pragma once
// Y4M streams and scratch files for the io tests.

#include "base/CException.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

namespace y4m_test {

// A fresh directory, removed with its files at the end of the test.
class scratch_dir {
public:
  scratch_dir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "y4m_test.XXXXXX").string();
    path = mkdtemp(pattern.data());
  }
  ~scratch_dir() { std::filesystem::remove_all(path); }
  std::string operator/(const std::string& name) const { return (path / name).string(); }

private:
  std::filesystem::path path;
};

// Byte i of picture n: distinct per frame and position, so a shifted or swapped
// frame shows.
inline uint8_t sample(uint64_t n, uint64_t i) { return static_cast<uint8_t>(n * 31 + i * 7 + (i >> 8)); }

inline std::string picture(uint64_t n, uint64_t bytes) {
  std::string p(bytes, '\0');
  for (uint64_t i = 0; i < bytes; ++i) p[i] = static_cast<char>(sample(n, i));
  return p;
}

// The header line, then `frames` frames of `bytes` bytes with bare FRAME headers,
// pictures first, first + 1, ...
inline std::string stream(const std::string& header, uint64_t frames, uint64_t bytes, uint64_t first = 0) {
  std::string s = header + "\n";
  for (uint64_t n = first; n < first + frames; ++n) s += "FRAME\n" + picture(n, bytes);
  return s;
}

inline std::string write_file(const std::string& path, const std::string& content) {
  std::ofstream(path, std::ios::binary) << content;
  return path;
}

inline std::string read_file(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

// The message of the exception of type E that f throws, or "(no exception)".
template <class E = KX::CException>
std::string error_of(const std::function<void()>& f) {
  try {
    f();
  } catch (const E& e) {
    return e.what();
  }
  return "(no exception)";
}

}  // namespace y4m_test
