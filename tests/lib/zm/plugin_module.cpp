// A filter plug-in loaded with dlopen by plugin_test, built as plug-ins are (hidden
// visibility, one exported factory). It uses the framework as the intro/outro filter
// does: the end-of-data test on counters, re-numbering in place, an "alpha" buffer
// that takes over a malloc block, and errors thrown as KX::CException.

#include "base/RBuffer.h"
#include "zm/ZMComponent.h"

#include <cstdlib>

namespace {

using namespace KX::ZM;

class ModuleFilter final : public RFilter {
public:
  int configure(const RComponentConfiguration& config) override {
    if (config.getFourCC("system_informat", 0) != config.getFourCC("system_outformat", 0)) {
      throw KX::CException("KX::CException", 225, "tests\\lib\\zm\\plugin_module", "ModuleFilter::configure",
                           KX::CString::createWithFormat("*** ERROR ***: Can't change colorspace in this filter."));
    }
    failAt = config.getInteger("fail_at", -1);
    outWriters[0]->setDescription(inReaders[0]->getDescription());
    return 0;
  }

  bool process() override {
    KX::RPtr<RFrame> frame = inReaders[0]->nextFrame();
    if (!frame) return false;
    if (next == failAt) {
      throw KX::CException("KX::CException", 99, "tests\\lib\\zm\\plugin_module", "ModuleFilter::process",
                           KX::CString::createWithFormat("failed at frame %u", next));
    }
    auto* alpha = static_cast<unsigned char*>(std::malloc(2));
    alpha[0] = alpha[1] = static_cast<unsigned char>(next);
    frame->addParameter("alpha", new KX::RBuffer(2, alpha, KX::kTakeOver));
    frame->setSequence(next++);
    outWriters[0]->put(frame);
    return true;
  }

  void flush() override {}

  int runloop(ulbase::object_refcount*) override {
    RQFrameReader* reader = inReaders[0].get();
    while (!(reader->eoq() && static_cast<uint32_t>(reader->getQueue()->getTotalNodes()) ==
                                  static_cast<uint32_t>(reader->getTotalRead()))) {
      process();
    }
    flush();
    outWriters[0]->end();
    return 0;
  }

private:
  uint32_t next = 1000;
  int64_t failAt = -1;
};

}  // namespace

extern "C" __attribute__((visibility("default"))) KX::ZM::RComponent* getComponentInstance() {
  return new ModuleFilter;
}
