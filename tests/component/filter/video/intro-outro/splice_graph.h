#pragma once
// Runs the plug-in in a ZMGraph: one source thread per input queue, the filter's
// thread, and a sink thread that keeps every frame it reads.

#include "test_frames.h"
#include "zm/ZMComponent.h"

#include <map>
#include <string>
#include <vector>

namespace introoutro_test {

struct clip_input {
  std::string queue;
  RPtr<const RVideoDescription> description;
  std::vector<RPtr<RVideoFrame>> frames;
};

struct splice_output {
  std::vector<RPtr<RFrame>> frames;
  RPtr<const KX::ZM::RDescription> description;
};

using config_keys = std::map<std::string, std::string>;

// Inputs connected in the order given; queues hold `capacity` frames. Throws what
// the graph reports.
splice_output run_splice(const std::vector<clip_input>& inputs, const config_keys& keys, uint32_t capacity = 3);

}  // namespace introoutro_test
