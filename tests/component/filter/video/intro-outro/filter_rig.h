#pragma once
// The plug-in on real queues without threads: the test connects, configures, fills
// and ends the inputs, then runs the filter's runloop on its own thread.

#include "splice_graph.h"
#include "zm/RQueue.h"

namespace introoutro_test {

class filter_rig {
public:
  // One input queue per name, described as given (null: never described); queues
  // hold 64 frames, enough that no step waits.
  filter_rig(const std::vector<std::string>& queues, const std::vector<RPtr<const KX::ZM::RDescription>>& descriptions,
             bool with_output = true);

  int configure(const config_keys& keys);
  void put(size_t input, RPtr<RFrame> frame) { writers.at(input)->put(std::move(frame)); }
  void end_inputs();
  // runloop on this thread, then every frame the output received.
  std::vector<RPtr<RFrame>> run();

  KX::ZM::ZMMultipleQueueComponent& component() { return *filter; }
  KX::ZM::RQueue& output() { return *out; }
  std::vector<RPtr<RFrame>> drain_output();

private:
  RPtr<KX::ZM::ZMMultipleQueueComponent> filter;
  std::vector<RPtr<KX::ZM::RQFrameWriter>> writers;
  RPtr<KX::ZM::RQueue> out;
  RPtr<KX::ZM::RQFrameReader> out_reader;
};

}  // namespace introoutro_test
