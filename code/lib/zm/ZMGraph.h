#pragma once
// KX::ZM::ZMGraph: runs components connected by named queues.
//
//   ZMGraph graph(8);                                  // default queue capacity
//   graph.addComponent("src", source, {}, {"main"});
//   graph.addComponent("filter", filter, {"main", "intro"}, {"out"}, config);
//   graph.addComponent("sink", sink, {"out"}, {});
//   graph.setQueueCapacity("out", 32);
//   graph.run();                                       // or start(), waitFor()..., wait()
//
// start() checks the graph (every queue has one writer and at least one reader, no
// cycle), creates the queues, connects each component's inputs and outputs in the
// order given, configures the components on the calling thread (writers before their
// readers, so descriptions are set when a reader's configure looks at them) and
// starts one thread per component. wait() joins them and throws the first error: a
// configure failure, an exception that escaped a component's thread, or a non-zero
// runloop result. After the first error every queue is cancelled, so the other
// threads wake and leave; the process is never aborted.
//
// Threads: addComponent, setQueueCapacity, start, wait and run on the host's thread;
// waitFor, cancel and getQueue (with the queue's counters, for progress) from any.

#include "base/KXExport.h"
#include "zm/ZMComponent.h"

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace KX::ZM {

class KX_EXPORT ZMGraph : private ZMComponentObserver {
public:
  explicit ZMGraph(uint32_t defaultQueueCapacity = 8);
  // A graph still running is cancelled and joined.
  ~ZMGraph() override;
  ZMGraph(const ZMGraph&) = delete;
  ZMGraph& operator=(const ZMGraph&) = delete;

  // Frames the queue holds (at least 1); queues not named here get the default.
  void setQueueCapacity(const std::string& queue, uint32_t frames);
  // The component must be a ZMMultipleQueueComponent. Its thread is named after it;
  // a null configuration is an empty one.
  void addComponent(const std::string& name, KX::RPtr<RComponent> component, const std::vector<std::string>& inputs,
                    const std::vector<std::string>& outputs,
                    KX::RPtr<const RComponentConfiguration> configuration = nullptr);

  void start();
  // True once every component thread has finished (they still need wait()).
  bool waitFor(std::chrono::milliseconds timeout);
  void wait();
  void run() {
    start();
    wait();
  }
  // Stops a running graph: the error reported is this reason unless one came first.
  void cancel(const std::string& reason);

  // The queue of that name once started, else null.
  KX::RPtr<RQueue> getQueue(const std::string& name) const;
  // The component whose error wait() reports ("" when none or when cancelled).
  std::string getFailedComponent() const;

private:
  struct Node {
    std::string name;
    KX::RPtr<ZMMultipleQueueComponent> component;
    std::vector<std::string> inputs;
    std::vector<std::string> outputs;
    KX::RPtr<const RComponentConfiguration> configuration;
    bool started = false;
  };

  void componentFinished(RComponent& component, int result, const KX::CException* error) noexcept override;
  std::vector<size_t> checkedOrder() const;
  void createQueues();
  void startThreads();
  void joinStarted();
  // Records the error unless one is there already, then cancels every queue.
  void fail(const KX::CException& e, const std::string& component, const std::string& reason);

  const uint32_t defaultCapacity;
  std::map<std::string, uint32_t> capacities;
  std::vector<Node> nodes;
  bool started = false;

  mutable std::mutex mutex;  // guards what follows
  std::condition_variable allFinished;
  std::map<std::string, KX::RPtr<RQueue>> queues;
  size_t running = 0;
  std::optional<KX::CException> firstError;
  std::string failedComponent;
};

}  // namespace KX::ZM
