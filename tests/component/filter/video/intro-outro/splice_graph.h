#pragma once
// The plug-in as a host runs it: loaded with dlopen, in a ZMGraph with one source
// thread per input queue, the filter's thread and a sink thread that keeps every
// frame it reads.

#include "test_frames.h"

#include "base/CException.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace introoutro_test {

struct clip_input {
  std::string queue;
  RPtr<const KX::ZM::RDescription> description;  // null: the queue is never described
  std::vector<RPtr<RVideoFrame>> frames;
};

struct splice_output {
  std::vector<RPtr<RFrame>> frames;
  RPtr<const KX::ZM::RDescription> description;  // the output queue's, also after an error
  std::optional<KX::CException> error;           // what the graph reported
  uint32_t ends = 0;                             // RQFrameWriter::end calls on the output queue
};

using config_keys = std::map<std::string, std::string>;

// Inputs connected in the order given; queues hold `capacity` frames. Without
// `with_output` the filter is given no output queue.
splice_output run_splice(const std::vector<clip_input>& inputs, const config_keys& keys, uint32_t capacity = 3,
                         bool with_output = true);

}  // namespace introoutro_test
