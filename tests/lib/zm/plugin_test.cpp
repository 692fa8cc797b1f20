#include "kx_test_support.h"
#include "test_components.h"
#include "zm/ZMGraph.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <string>

namespace {

using namespace zm_test;
using KX::RPtr;

TEST(PlugIn, ADlopenedFilterRunsAndItsExceptionIsCaughtByType) {
  void* module = dlopen(ZM_TEST_PLUGIN, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(module, nullptr) << dlerror();
  auto* factory = reinterpret_cast<RComponent* (*)()>(dlsym(module, "getComponentInstance"));
  ASSERT_NE(factory, nullptr);
  // The module uses the exception type information of libkx, not a copy of its own.
  Dl_info info{};
  ASSERT_NE(dladdr(dlsym(module, "_ZTIN2KX10CExceptionE"), &info), 0);
  EXPECT_NE(std::string(info.dli_fname).find("libkx.so"), std::string::npos) << info.dli_fname;

  const auto run = [factory](const char* outFormat, RPtr<CollectingSink> sink) {
    ZMGraph graph(2);
    graph.addComponent("src", new CountingSource(20), {}, {"main"});
    graph.addComponent("filter", factory(), {"main"}, {"out"},
                       new RComponentConfiguration({{"system_informat", "IYUV"}, {"system_outformat", outFormat}}));
    graph.addComponent("sink", sink, {"out"}, {});
    return kx_test::thrown([&] { graph.run(); });
  };
  {
    RPtr<CollectingSink> sink(new CollectingSink);
    EXPECT_FALSE(run("IYUV", sink));
    ASSERT_EQ(sink->sequences.size(), 20u);
    for (uint32_t i = 0; i < 20; ++i) {
      EXPECT_EQ(sink->sequences[i], 1000 + i);
      EXPECT_EQ(sink->alphas[i], static_cast<int>((1000 + i) & 0xFF)) << "a buffer the module allocated";
    }
    const auto refused = run("Y22P", new CollectingSink);
    ASSERT_TRUE(refused);
    EXPECT_STREQ(refused->what(), "*** ERROR ***: Can't change colorspace in this filter.");
    EXPECT_EQ(refused->getLine(), 225);
  }
  dlclose(module);  // the graphs and their components are gone
}

}  // namespace
