#pragma once
// A Y4M input as the splice takes it, shared by the host and its media module.

#include "introoutro/splice_job.h"
#include "io/y4m_reader.h"

#include <memory>
#include <string>

namespace ns_introoutro {

// The source of `reader` for role `r`, with its matte ("" for none) read beside.
job_input y4m_input(role r, std::unique_ptr<ns_y4m::y4m_reader> reader, const std::string& matte);

}  // namespace ns_introoutro
