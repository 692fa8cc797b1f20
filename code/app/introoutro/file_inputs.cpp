#include "introoutro/file_inputs.h"

#include "introoutro/media_inputs.h"

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
  std::vector<input_request> requests;
  for (const input_request& r : {input_request{role::intro, o.intro, o.intro_alpha},
                                 input_request{role::main, o.main, ""},
                                 input_request{role::outro, o.outro, o.outro_alpha}}) {
    if (!r.pictures.empty()) requests.push_back(r);
  }
  return open_inputs(requests, o.quiet);
}

}  // namespace ns_introoutro
