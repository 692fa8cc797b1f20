#pragma once
// Keeps the frames at the joins of the output stream as the sink writes them: the
// last frame before the main source, its first and last frames, and the first frame
// after it. Main frames are known by their "source" tag, which they keep through the
// filter. see() runs on the sink's thread and only moves references; frames() is
// for after the run.

#include "base/RPtr.h"
#include "zm/RFrame.h"

#include <string>
#include <vector>

namespace ns_introoutro {

// A frame of the main source: it carries the "source" tag "main" through the filter.
bool is_main_frame(const KX::ZM::RFrame& f);

class join_tap {
public:
  void see(const KX::RPtr<KX::ZM::RFrame>& frame);

  struct join_frame {
    std::string title;  // "last intro", "first main", "last main", "first outro"
    KX::RPtr<KX::ZM::RFrame> frame;
  };
  // In output order; joins the stream does not have are left out.
  std::vector<join_frame> frames() const;

private:
  KX::RPtr<KX::ZM::RFrame> last_intro, first_main, last_main, first_outro;
};

}  // namespace ns_introoutro
