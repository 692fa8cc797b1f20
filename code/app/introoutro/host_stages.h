#pragma once
// The host's own stages around the filter in a splice graph:
//
//   clip source --"intro"--> clip pre-stage --"intro.conformed"--> filter --"out"--> sink
//                                                                           |
//                                                  Y4M sink <--"matte"-- matte frames
//
// A clip gets a pre-stage (clip_prestage.h) only when it needs fitting or is
// converted to another rate; otherwise its source writes the filter's queue itself.

#include "introoutro/options.h"
#include "introoutro/splice_job.h"
#include "zm/ZMGraph.h"

#include <string>
#include <vector>

namespace ns_introoutro {

// The header the filter sees a clip with: the main source's size when the clip is
// fitted, else its own.
ns_y4m::stream_header filter_view(const ns_y4m::stream_header& clip, const ns_y4m::stream_header& main, fit_mode fit);

// Adds the input's source, writing the queue named after its role, and its pre-stage
// when it needs one; returns the queue the filter is to read.
std::string add_input_stages(KX::ZM::ZMGraph& graph, const job_input& input, const ns_y4m::stream_header& main,
                             fit_mode fit);

// Adds the matte stages that write the alpha of the frames on `output` to `path` as
// Cmono Y4M; none for an empty path.
void add_matte_output(KX::ZM::ZMGraph& graph, const std::string& path, const std::string& output,
                    const std::vector<job_input>& inputs, const ns_y4m::stream_header& main, fit_mode fit);

}  // namespace ns_introoutro
