#include "base/CException.h"
#include "base/CThread.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <stdexcept>
#include <string>

namespace {

struct Module {
  Module() : handle(dlopen(KX_TEST_THROWER, RTLD_NOW | RTLD_LOCAL)) {}
  ~Module() {
    if (handle != nullptr) dlclose(handle);
  }
  template <class F>
  F* symbol(const char* name) const {
    return reinterpret_cast<F*>(dlsym(handle, name));
  }
  void* handle;
};

TEST(CException, ThrownInADlopenedModuleIsCaughtByType) {
  Module module;
  ASSERT_NE(module.handle, nullptr) << dlerror();
  auto* throwIt = module.symbol<void(int)>("kx_test_throw");
  ASSERT_NE(throwIt, nullptr);
  try {
    throwIt(123);
    FAIL() << "no exception";
  } catch (const KX::CException& e) {
    EXPECT_STREQ(e.getType().c_str(), "KX::CException");
    EXPECT_EQ(e.getLine(), 123);
    EXPECT_STREQ(e.getFile().c_str(), "tests/lib/base/exception_module");
    EXPECT_STREQ(e.getWhere().c_str(), "kx_test_throw");
    EXPECT_STREQ(e.what(), "thrown in a module at line 123");
    const KX::CException copy = e;  // copies share the record
    EXPECT_EQ(copy.what(), e.what());
  }
  // The module uses the type information of libkx rather than a copy of its own.
  Dl_info info{};
  ASSERT_NE(dladdr(module.symbol<void>("_ZTIN2KX10CExceptionE"), &info), 0);
  EXPECT_NE(std::string(info.dli_fname).find("libkx.so"), std::string::npos) << info.dli_fname;

  try {
    module.symbol<void(int)>("kx_test_throw")(1);
  } catch (const std::exception& e) {  // usable as a std::exception
    EXPECT_STREQ(e.what(), "thrown in a module at line 1");
  }
  try {
    module.symbol<void()>("kx_test_throw_std")();
  } catch (...) {
    const KX::CException converted = KX::CException::fromCurrentException("test");
    EXPECT_STREQ(converted.getType().c_str(), "std::runtime_error");
    EXPECT_STREQ(converted.what(), "a standard error");
    EXPECT_STREQ(converted.getWhere().c_str(), "test");
  }
}

TEST(CException, RaiseFormatsAndPrintWritesOneLine) {
  try {
    KX::CException::raise(77, "code/x.cpp", "KX::X::f", "queue '%s' holds %d frames", "main", 3);
  } catch (const KX::CException& e) {
    std::FILE* out = std::tmpfile();
    ASSERT_NE(out, nullptr);
    e.print(out);
    std::rewind(out);
    char line[256] = {};
    ASSERT_NE(std::fgets(line, sizeof line, out), nullptr);
    std::fclose(out);
    EXPECT_STREQ(line, "KX::CException: queue 'main' holds 3 frames [KX::X::f, code/x.cpp:77]\n");
  }
}

struct Failing : KX::CThread<Failing> {
  int threadrunloop(ulbase::object_refcount*) override { throw std::logic_error("escaped"); }
};

// Without an override, an exception escaping a thread's loop ends the program.
TEST(CExceptionDeathTest, DefaultHandlerPrintsAndAborts) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        Failing thread;
        thread.start(nullptr);
        thread.join();
      },
      "std::logic_error: escaped");
}

}  // namespace
