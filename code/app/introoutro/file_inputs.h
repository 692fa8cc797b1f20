#pragma once
// Opens the inputs named on the command line as sources (Y4M or media files), each
// with what the splice needs to know about it before it runs.

#include "introoutro/options.h"
#include "introoutro/splice_job.h"

#include <vector>

namespace ns_introoutro {

// Throws KX::CException for an input that cannot be read.
std::vector<job_input> open_file_inputs(const options& o);

}  // namespace ns_introoutro
