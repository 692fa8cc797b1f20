// A filter plug-in whose configure always throws, built like the real one: what the
// host prints for a filter's configuration error.

#include "zm/ZMComponent.h"

namespace {

class refusing_filter : public KX::ZM::RFilter {
public:
  int configure(const KX::ZM::RComponentConfiguration&) override {
    KX::CException::raise(__LINE__, __FILE__, "refusing_filter::configure",
                          "*** ERROR ***: this filter refuses every configuration");
  }
  bool process() override { return false; }
  void flush() override {}
};

}  // namespace

extern "C" __attribute__((visibility("default"))) KX::ZM::RComponent* getComponentInstance() {
  return new refusing_filter;
}
