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

// Outlives every component it made: their code is in the module.
struct PlugIn {
  PlugIn() : handle(dlopen(ZM_TEST_PLUGIN, RTLD_NOW | RTLD_LOCAL)) {}
  ~PlugIn() {
    if (handle != nullptr) dlclose(handle);
  }
  RPtr<RComponent> create() const {
    auto* factory = reinterpret_cast<RComponent* (*)()>(dlsym(handle, "getComponentInstance"));
    return factory != nullptr ? factory() : nullptr;
  }
  void* handle;
};

// Records each frame's sequence and the first byte of its "alpha" buffer.
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

RPtr<const RComponentConfiguration> formats(const char* in, const char* out, const char* failAt = "-1") {
  return new RComponentConfiguration({{"system_informat", in}, {"system_outformat", out}, {"fail_at", failAt}});
}

TEST(PlugIn, ADlopenedFilterRunsAndItsErrorsAreCaughtByType) {
  PlugIn plugin;
  ASSERT_NE(plugin.handle, nullptr) << dlerror();
  {
    RPtr<RComponent> filter = plugin.create();
    ASSERT_TRUE(filter);
    EXPECT_EQ(filter->type(), makeFourCC("fltr"));
    RPtr<AlphaSink> sink(new AlphaSink);
    ZMGraph graph(2);
    graph.addComponent("src", new CountingSource(20), {}, {"main"});
    graph.addComponent("filter", filter, {"main"}, {"out"}, formats("IYUV", "IYUV"));
    graph.addComponent("sink", sink, {"out"}, {});
    graph.run();
    ASSERT_EQ(sink->seen.size(), 20u);
    for (uint32_t i = 0; i < 20; ++i) EXPECT_EQ(sink->seen[1000 + i], static_cast<int>((1000 + i) & 0xFF));
    EXPECT_EQ(graph.getQueue("out")->getDescription()->type(), makeFourCC("vide"));
  }
  for (const bool atConfigure : {true, false}) {
    ZMGraph graph(2);
    graph.addComponent("src", new CountingSource(kEndless), {}, {"main"});
    graph.addComponent("filter", plugin.create(), {"main"}, {"out"},
                       atConfigure ? formats("IYUV", "Y22P") : formats("IYUV", "IYUV", "1005"));
    graph.addComponent("sink", new AlphaSink, {"out"}, {});
    try {
      graph.run();
      FAIL() << "no exception";
    } catch (const KX::CException& e) {
      EXPECT_STREQ(e.what(), atConfigure ? "*** ERROR ***: Can't change colorspace in this filter."
                                         : "failed at frame 1005");
      EXPECT_EQ(e.getLine(), atConfigure ? 225 : 99);
      EXPECT_STREQ(e.getFile().c_str(), "tests\\lib\\zm\\plugin_module");
      EXPECT_EQ(graph.getFailedComponent(), "filter");
    }
  }
}

}  // namespace
