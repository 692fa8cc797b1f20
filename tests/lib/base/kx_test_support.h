#pragma once
// Helpers shared by the host library tests: buffers to and from std::string (NULs
// included), the exception an operation throws, and the seed of randomised tests.

#include "base/CData.h"
#include "base/CException.h"
#include "base/CString.h"

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <optional>
#include <string>

namespace kx_test {

inline KX::CBuffer bytes(const std::string& s) {
  return KX::CBuffer(static_cast<int>(s.size()), reinterpret_cast<unsigned char*>(const_cast<char*>(s.data())),
                     KX::kCopy);
}

// The characters of s and a terminator.
inline KX::CString text(const std::string& s) { return KX::CString(static_cast<int>(s.size()), s.data(), KX::kCopy); }

inline std::string contents(const KX::CBuffer& b) {
  return b.getUsed() == 0 ? std::string() : std::string(reinterpret_cast<const char*>(b.getBuffer()), b.getUsed());
}

inline int cursorOf(const KX::CData& d) { return d.getUsed() - d.getRemaining(); }

inline std::optional<KX::CException> thrown(const std::function<void()>& f) {
  try {
    f();
  } catch (const KX::CException& e) {
    return e;
  }
  return std::nullopt;
}

// The message of the KX::CException that f throws, or "(no exception)".
inline std::string messageOf(const std::function<void()>& f) {
  const auto e = thrown(f);
  return e ? e->what() : "(no exception)";
}

// KX_TEST_SEED when set (to repeat a failure), else a fixed seed.
inline uint32_t testSeed() {
  const char* env = std::getenv("KX_TEST_SEED");
  return env != nullptr ? static_cast<uint32_t>(std::strtoul(env, nullptr, 10)) : 20240611u;
}

}  // namespace kx_test
