#include "introoutro/join_tap.h"

#include "base/RString.h"
#include "io/y4m_source.h"

#include <cstring>

namespace ns_introoutro {

bool is_main_frame(const KX::ZM::RFrame& f) {
  const auto* tag = dynamic_cast<const KX::RString*>(f.getParameter(ns_y4m::source_parameter).get());
  return tag != nullptr && std::strcmp(tag->desc(), "main") == 0;
}

void join_tap::see(const KX::RPtr<KX::ZM::RFrame>& frame) {
  if (is_main_frame(*frame)) {
    if (!first_main) first_main = frame;
    last_main = frame;
  } else if (!first_main) {
    last_intro = frame;
  } else if (!first_outro) {
    first_outro = frame;
  }
}

std::vector<join_tap::join_frame> join_tap::frames() const {
  std::vector<join_frame> out;
  for (const auto& [title, frame] : {std::pair{"last intro", last_intro}, std::pair{"first main", first_main},
                                     std::pair{"last main", last_main}, std::pair{"first outro", first_outro}}) {
    if (frame) out.push_back({title, frame});
  }
  return out;
}

}  // namespace ns_introoutro
