// A filter plug-in loaded with dlopen by plugin_test, built as plug-ins are (hidden
// visibility, one exported factory): passes input 0 on, re-numbered in place with an
// "alpha" buffer that takes over a malloc block, and throws KX::CException from
// configure when the formats differ.

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
    outWriters[0]->setDescription(inReaders[0]->getDescription());
    return 0;
  }

  bool process() override {
    KX::RPtr<RFrame> frame = inReaders[0]->nextFrame();
    if (!frame) return false;
    auto* alpha = static_cast<unsigned char*>(std::malloc(1));
    *alpha = static_cast<unsigned char>(next);
    frame->addParameter("alpha", new KX::RBuffer(1, alpha, KX::kTakeOver));
    frame->setSequence(next++);
    outWriters[0]->put(frame);
    return true;
  }

  void flush() override {}

private:
  uint32_t next = 1000;
};

}  // namespace

extern "C" __attribute__((visibility("default"))) KX::ZM::RComponent* getComponentInstance() {
  return new ModuleFilter;
}
