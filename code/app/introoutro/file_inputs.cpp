#include "introoutro/file_inputs.h"

#include "io/y4m_source.h"

namespace ns_introoutro {

std::vector<job_input> open_file_inputs(const options& o) {
  struct named {
    role r;
    const std::string& pictures;
    const std::string& matte;
  };
  const std::string none;
  std::vector<job_input> inputs;
  for (const named& n : {named{role::intro, o.intro, o.intro_alpha}, named{role::main, o.main, none},
                         named{role::outro, o.outro, o.outro_alpha}}) {
    if (n.pictures.empty()) continue;
    auto pictures = std::make_unique<ns_y4m::y4m_reader>(n.pictures);
    auto matte = n.matte.empty() ? nullptr : std::make_unique<ns_y4m::y4m_reader>(n.matte);
    input_info info{n.r, pictures->name(), pictures->header(), std::nullopt, true};
    if (const auto count = pictures->frames_in_file()) {
      info.frames = count->frames;
      info.frames_exact = count->exact;
    }
    inputs.push_back({std::move(info), new ns_y4m::y4m_source(std::move(pictures), std::move(matte), role_name(n.r))});
  }
  return inputs;
}

}  // namespace ns_introoutro
