#pragma once
// The host's choice between Y4M and media files. An input whose first bytes are
// "YUV4MPEG2 " is read by the Y4M source (no decoding, no copy); any other goes
// through the media source, in the main source's format: 8-bit 4:2:2 when the main
// source is 4:2:2, else 8-bit 4:2:0 at the main source's chroma siting. The output's
// name chooses the sink: "-", .y4m and names without an extension raw Y4M, any other
// extension a media container.

#include "introoutro/options.h"
#include "introoutro/splice_job.h"
#include "io/output_sink.h"

#include <string>
#include <vector>

namespace ns_introoutro {

struct input_request {
  role r;
  std::string pictures;  // path, "-" for standard input
  std::string matte;     // "" for none; a Y4M Cmono stream
};

// Throws KX::CException for an input that cannot be read or decoded; a notice about
// a converted stream goes to standard error unless `quiet`.
std::vector<job_input> open_inputs(const std::vector<input_request>& requests, bool quiet);

// Throws KX::CException naming the output for an extension without a container or
// an encoder that cannot be used.
KX::RPtr<ns_y4m::output_sink> make_output_sink(const std::string& path, const ns_y4m::stream_header& header,
                                               const encoder_options& encoder, ns_y4m::output_sink::frame_tap tap);

}  // namespace ns_introoutro
