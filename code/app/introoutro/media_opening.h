#pragma once
// Inside the media module: inputs of any kind and media container outputs, as
// media_inputs.h describes them.

#include "introoutro/media_inputs.h"

namespace ns_introoutro {

std::vector<job_input> open_media_inputs(const std::vector<input_request>& requests, bool quiet);

KX::RPtr<ns_y4m::output_sink> make_media_sink(const std::string& path, const ns_y4m::stream_header& header,
                                              const encoder_options& encoder, ns_y4m::output_sink::frame_tap tap);

}  // namespace ns_introoutro
