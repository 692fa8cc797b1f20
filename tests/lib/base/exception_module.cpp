// Loaded with dlopen by exception_test: throws across the module boundary.

#include "base/CException.h"

#include <stdexcept>

extern "C" __attribute__((visibility("default"))) void kx_test_throw(int line) {
  throw KX::CException("KX::CException", line, "tests/lib/base/exception_module", "kx_test_throw",
                       KX::CString::createWithFormat("thrown in a module at line %d", line));
}

extern "C" __attribute__((visibility("default"))) void kx_test_throw_std() {
  throw std::runtime_error("a standard error");
}
