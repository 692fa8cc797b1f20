#pragma once
// The host's stage between a clip's source and the filter: fits the clip's pictures
// to the main source's display aspect (clip_fit.h) when they need it, and feeds a
// clip that the filter converts to another rate so that it comes out whole
// (clip_ending.h), by appending guard copies of its last picture. Every other frame
// passes through as it came, by reference. One input queue, one output queue; the
// output is described with the size the filter is to see the clip at.

#include "introoutro/clip_ending.h"
#include "introoutro/clip_fit.h"
#include "zm/ZMComponent.h"

#include <memory>

namespace ns_introoutro {

class clip_prestage : public KX::ZM::RFilter {
public:
  // Either may be null: no fitting, or a clip the filter does not convert.
  clip_prestage(std::unique_ptr<clip_fitter> fitter, std::unique_ptr<clip_ending> ending);
  ~clip_prestage() override;

  int configure(const KX::ZM::RComponentConfiguration& config) override;
  bool process() override;
  void flush() override {}

private:
  void append_guards();

  std::unique_ptr<clip_fitter> fitter;
  std::unique_ptr<clip_ending> ending;
  uint32_t width = 0, height = 0;  // of the pictures it writes
  KX::RPtr<KX::ZM::RFrame> last;   // the last frame written, while guards may follow
};

}  // namespace ns_introoutro
