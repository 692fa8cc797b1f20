#include "filter_rig.h"

#include "filter_module.h"

namespace introoutro_test {

filter_rig::filter_rig(const std::vector<std::string>& queues,
                       const std::vector<RPtr<const KX::ZM::RDescription>>& descriptions, bool with_output)
    : filter(new_filter()) {
  for (size_t i = 0; i < queues.size(); ++i) {
    RPtr<KX::ZM::RQueue> queue = KX::ZM::RQueue::create(queues[i], 64);
    writers.push_back(queue->createWriter());
    if (descriptions.at(i)) writers.back()->setDescription(descriptions[i]);
    filter->connectInput(*queue);
  }
  if (with_output) {
    out = KX::ZM::RQueue::create("out", 64);
    out_reader = out->createReader();
    filter->connectOutput(*out);
  }
}

int filter_rig::configure(const config_keys& keys) {
  return filter->configure(KX::ZM::RComponentConfiguration(keys));
}

void filter_rig::end_inputs() {
  for (const auto& writer : writers) writer->end();
}

std::vector<RPtr<RFrame>> filter_rig::run() {
  filter->runloop(nullptr);
  return drain_output();
}

std::vector<RPtr<RFrame>> filter_rig::drain_output() {
  std::vector<RPtr<RFrame>> frames;
  while (out_reader->getCount() > 0) frames.push_back(out_reader->nextFrame());
  return frames;
}

}  // namespace introoutro_test
