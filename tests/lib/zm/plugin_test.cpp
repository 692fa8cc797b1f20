#include "base/RBuffer.h"
#include "test_components.h"
#include "zm/ZMGraph.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <map>
#include <string>

namespace {

using namespace zm_test;
using KX::RPtr;

// Records each frame's sequence and its "alpha" byte.
class AlphaSink : public RSink {
public:
  int configure(const RComponentConfiguration&) override { return 0; }
  bool process() override {
    RPtr<RFrame> frame = inReaders[0]->nextFrame();
    if (!frame) return false;
    auto* alpha = dynamic_cast<const KX::RBuffer*>(frame->getParameter("alpha").get());
    seen[frame->getSequence()] = alpha != nullptr ? (*alpha)[0] : -1;
    return true;
  }
  std::map<uint32_t, int> seen;
};

TEST(PlugIn, ADlopenedFilterRunsAndItsExceptionIsCaughtByType) {
  void* module = dlopen(ZM_TEST_PLUGIN, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(module, nullptr) << dlerror();
  auto* factory = reinterpret_cast<RComponent* (*)()>(dlsym(module, "getComponentInstance"));
  ASSERT_NE(factory, nullptr);
  // The module uses the exception type information of libkx, not a copy of its own.
  Dl_info info{};
  ASSERT_NE(dladdr(dlsym(module, "_ZTIN2KX10CExceptionE"), &info), 0);
  EXPECT_NE(std::string(info.dli_fname).find("libkx.so"), std::string::npos) << info.dli_fname;

  for (const char* outFormat : {"IYUV", "Y22P"}) {
    RPtr<AlphaSink> sink(new AlphaSink);
    ZMGraph graph(2);
    graph.addComponent("src", new CountingSource(20), {}, {"main"});
    graph.addComponent("filter", factory(), {"main"}, {"out"},
                       new RComponentConfiguration({{"system_informat", "IYUV"}, {"system_outformat", outFormat}}));
    graph.addComponent("sink", sink, {"out"}, {});
    const bool refused = std::string(outFormat) != "IYUV";
    try {
      graph.run();
      EXPECT_FALSE(refused);
      ASSERT_EQ(sink->seen.size(), 20u);
      for (uint32_t i = 1000; i < 1020; ++i) EXPECT_EQ(sink->seen[i], static_cast<int>(i & 0xFF));
    } catch (const KX::CException& e) {
      EXPECT_TRUE(refused);
      EXPECT_STREQ(e.what(), "*** ERROR ***: Can't change colorspace in this filter.");
      EXPECT_EQ(e.getLine(), 225);
    }
  }
  dlclose(module);  // the graphs and their components are gone
}

}  // namespace
