#include "introoutro/file_inputs.h"

#include "io/y4m_source.h"

#include <sys/stat.h>

#include <stdexcept>

namespace ns_introoutro {

namespace {

// Opening the output truncates it: it must not be a file that is also read.
void check_not_an_input(const std::string& output, const std::vector<std::string>& inputs) {
  struct stat out {};
  if (output == "-" || ::stat(output.c_str(), &out) != 0 || !S_ISREG(out.st_mode)) return;
  for (const std::string& in : inputs) {
    struct stat st {};
    if (in != "-" && ::stat(in.c_str(), &st) == 0 && st.st_dev == out.st_dev && st.st_ino == out.st_ino) {
      throw std::runtime_error(output + ": the output is also the input " + in);
    }
  }
}

}  // namespace

std::vector<job_input> open_file_inputs(const options& o) {
  check_not_an_input(o.output, {o.intro, o.main, o.outro, o.intro_alpha, o.outro_alpha});
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
