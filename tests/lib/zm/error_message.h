#pragma once
// The message of the KX::CException that f throws, or "(no exception)".

#include "base/CException.h"

#include <functional>
#include <string>

namespace zm_test {

inline std::string messageOf(const std::function<void()>& f) {
  try {
    f();
  } catch (const KX::CException& e) {
    return e.what();
  }
  return "(no exception)";
}

}  // namespace zm_test
