#include "introoutro/media_inputs.h"

#include "introoutro/media_module.h"
#include "introoutro/y4m_inputs.h"
#include "io/output_kind.h"
#include "io/stream_peek.h"
#include "io/y4m_sink.h"

#include <algorithm>

namespace ns_introoutro {

std::vector<job_input> open_inputs(const std::vector<input_request>& requests, bool quiet) {
  const bool all_y4m = std::all_of(requests.begin(), requests.end(),
                                   [](const input_request& r) { return ns_media::looks_like_y4m(r.pictures); });
  if (!all_y4m) return media_module().open_inputs(requests, quiet);
  // Every stream is opened before any matte, as the media module does.
  std::vector<std::unique_ptr<ns_y4m::y4m_reader>> readers;
  for (const input_request& r : requests) readers.push_back(std::make_unique<ns_y4m::y4m_reader>(r.pictures));
  std::vector<job_input> inputs;
  for (size_t i = 0; i < requests.size(); ++i) {
    inputs.push_back(y4m_input(requests[i].r, std::move(readers[i]), requests[i].matte));
  }
  return inputs;
}

KX::RPtr<ns_y4m::output_sink> make_output_sink(const std::string& path, const ns_y4m::stream_header& header,
                                               const encoder_options& encoder, ns_y4m::output_sink::frame_tap tap) {
  if (ns_media::writes_y4m(path)) {
    return new ns_y4m::y4m_sink(std::make_unique<ns_y4m::y4m_writer>(path), header, std::move(tap));
  }
  return media_module().make_media_sink(path, header, encoder, std::move(tap));
}

}  // namespace ns_introoutro
