#include "introoutro/file_inputs.h"

#include "introoutro/media_inputs.h"

namespace ns_introoutro {

std::vector<job_input> open_file_inputs(const options& o) {
  std::vector<input_request> requests;
  for (const input_request& r : {input_request{role::intro, o.intro, o.intro_alpha},
                                 input_request{role::main, o.main, ""},
                                 input_request{role::outro, o.outro, o.outro_alpha}}) {
    if (!r.pictures.empty()) requests.push_back(r);
  }
  return open_inputs(requests, o.quiet);
}

}  // namespace ns_introoutro
