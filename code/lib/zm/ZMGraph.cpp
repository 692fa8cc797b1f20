#include "zm/ZMGraph.h"

#include <cstring>
#include <set>

namespace KX::ZM {

namespace {

KX::CException graphError(int line, const char* where, const KX::CString& message) {
  return KX::CException("KX::CException", line, __FILE__, where, message);
}

}  // namespace

ZMGraph::ZMGraph(uint32_t defaultQueueCapacity) : defaultCapacity(defaultQueueCapacity) {
  if (defaultQueueCapacity == 0) {
    KX::CException::raise(__LINE__, __FILE__, "KX::ZM::ZMGraph::ZMGraph", "queue capacity must be at least 1 frame");
  }
}

ZMGraph::~ZMGraph() {
  for (const Node& node : nodes) {
    if (node.started) {
      cancel("the graph was destroyed while running");
      joinStarted();
      break;
    }
  }
}

void ZMGraph::setQueueCapacity(const std::string& queue, uint32_t frames) {
  const char* where = "KX::ZM::ZMGraph::setQueueCapacity";
  if (started) KX::CException::raise(__LINE__, __FILE__, where, "queue '%s': the graph has started", queue.c_str());
  if (frames == 0) {
    KX::CException::raise(__LINE__, __FILE__, where, "queue '%s': capacity must be at least 1 frame", queue.c_str());
  }
  capacities[queue] = frames;
}

void ZMGraph::addComponent(const std::string& name, KX::RPtr<RComponent> component,
                           const std::vector<std::string>& inputs, const std::vector<std::string>& outputs,
                           KX::RPtr<const RComponentConfiguration> configuration) {
  const char* where = "KX::ZM::ZMGraph::addComponent";
  if (started) {
    KX::CException::raise(__LINE__, __FILE__, where, "component '%s': the graph has started", name.c_str());
  }
  if (name.empty()) KX::CException::raise(__LINE__, __FILE__, where, "a component needs a name");
  auto* queued = dynamic_cast<ZMMultipleQueueComponent*>(component.get());
  if (queued == nullptr) {
    KX::CException::raise(__LINE__, __FILE__, where, "component '%s' is %s", name.c_str(),
                          component ? "not a ZMMultipleQueueComponent" : "null");
  }
  for (const Node& node : nodes) {
    if (node.name == name) KX::CException::raise(__LINE__, __FILE__, where, "two components named '%s'", name.c_str());
    if (node.component.get() == queued) {
      KX::CException::raise(__LINE__, __FILE__, where, "component '%s' is already in the graph as '%s'", name.c_str(),
                            node.name.c_str());
    }
  }
  std::set<std::string> seen;
  for (const auto* list : {&inputs, &outputs}) {
    for (const std::string& queue : *list) {
      if (queue.empty()) {
        KX::CException::raise(__LINE__, __FILE__, where, "component '%s': a queue without a name", name.c_str());
      }
      if (!seen.insert(queue).second) {
        KX::CException::raise(__LINE__, __FILE__, where, "component '%s': queue '%s' connected twice", name.c_str(),
                              queue.c_str());
      }
    }
  }
  if (!configuration) configuration = new RComponentConfiguration();
  queued->setAttribute("name", name);
  nodes.push_back(Node{name, queued, inputs, outputs, std::move(configuration)});
}

// The graph's checks, and the order in which to configure: every component after the
// writers of its inputs.
std::vector<size_t> ZMGraph::checkedOrder() const {
  const char* where = "KX::ZM::ZMGraph::start";
  struct Ends {
    const Node* writer = nullptr;
    std::vector<size_t> readers;
  };
  std::map<std::string, Ends> ends;
  for (size_t i = 0; i < nodes.size(); ++i) {
    for (const std::string& queue : nodes[i].outputs) {
      Ends& e = ends[queue];
      if (e.writer != nullptr) {
        KX::CException::raise(__LINE__, __FILE__, where, "queue '%s' is written by both '%s' and '%s'", queue.c_str(),
                              e.writer->name.c_str(), nodes[i].name.c_str());
      }
      e.writer = &nodes[i];
    }
    for (const std::string& queue : nodes[i].inputs) ends[queue].readers.push_back(i);
  }
  for (const auto& [queue, e] : ends) {
    if (e.writer == nullptr) {
      KX::CException::raise(__LINE__, __FILE__, where, "queue '%s' (read by '%s') has no writer", queue.c_str(),
                            nodes[e.readers.front()].name.c_str());
    }
    if (e.readers.empty()) {
      KX::CException::raise(__LINE__, __FILE__, where, "queue '%s' (written by '%s') has no reader", queue.c_str(),
                            e.writer->name.c_str());
    }
  }
  for (const auto& entry : capacities) {
    if (ends.count(entry.first) == 0) {
      KX::CException::raise(__LINE__, __FILE__, where, "capacity given for queue '%s', which no component uses",
                            entry.first.c_str());
    }
  }

  std::vector<size_t> unresolvedInputs(nodes.size());
  std::vector<size_t> order;
  for (size_t i = 0; i < nodes.size(); ++i) {
    unresolvedInputs[i] = nodes[i].inputs.size();
    if (unresolvedInputs[i] == 0) order.push_back(i);
  }
  for (size_t k = 0; k < order.size(); ++k) {
    for (const std::string& queue : nodes[order[k]].outputs) {
      for (size_t reader : ends[queue].readers) {
        if (--unresolvedInputs[reader] == 0) order.push_back(reader);
      }
    }
  }
  if (order.size() < nodes.size()) {
    std::string names;
    for (size_t i = 0; i < nodes.size(); ++i) {
      if (unresolvedInputs[i] > 0) names += (names.empty() ? "'" : ", '") + nodes[i].name + "'";
    }
    KX::CException::raise(__LINE__, __FILE__, where, "components %s wait on each other through a cycle of queues",
                          names.c_str());
  }
  return order;
}

void ZMGraph::createQueues() {
  std::map<std::string, KX::RPtr<RQueue>> created;
  for (const Node& node : nodes) {
    for (const std::string& queue : node.outputs) {
      const auto capacity = capacities.find(queue);
      created[queue] = RQueue::create(queue, capacity != capacities.end() ? capacity->second : defaultCapacity);
    }
  }
  std::lock_guard lock(mutex);
  queues = std::move(created);
}

void ZMGraph::start() {
  if (started) KX::CException::raise(__LINE__, __FILE__, "KX::ZM::ZMGraph::start", "the graph has already started");
  started = true;
  std::string configuring;
  try {
    {
      std::lock_guard lock(mutex);
      if (firstError) throw *firstError;  // cancelled before it started
    }
    const std::vector<size_t> order = checkedOrder();
    createQueues();
    // The map is complete and no longer changes: reading it needs no lock.
    for (Node& node : nodes) {
      for (const std::string& queue : node.inputs) node.component->connectInput(*queues.at(queue));
      for (const std::string& queue : node.outputs) node.component->connectOutput(*queues.at(queue));
    }
    for (size_t i : order) {
      const Node& node = nodes[i];
      configuring = node.name;
      const int result = node.component->configure(*node.configuration);
      if (result != 0) {
        KX::CException::raise(__LINE__, __FILE__, "KX::ZM::ZMGraph::start", "component '%s': configure returned %d",
                              node.name.c_str(), result);
      }
    }
  } catch (const KX::CException& e) {
    fail(e, configuring, "the graph could not start");
    throw;
  }
  startThreads();
}

void ZMGraph::startThreads() {
  for (Node& node : nodes) {
    node.component->setObserver(this);
    {
      std::lock_guard lock(mutex);
      ++running;
    }
    const int error = node.component->start(nullptr);
    if (error != 0) {
      {
        std::lock_guard lock(mutex);
        --running;
      }
      const KX::CException e = graphError(
          __LINE__, "KX::ZM::ZMGraph::start",
          KX::CString::createWithFormat("component '%s': cannot start a thread (%s)", node.name.c_str(),
                                        std::strerror(error)));
      fail(e, node.name, "the graph could not start");
      joinStarted();
      throw e;
    }
    node.started = true;
  }
}

void ZMGraph::joinStarted() {
  for (Node& node : nodes) {
    if (node.started) {
      node.component->join();
      node.started = false;
    }
  }
}

bool ZMGraph::waitFor(std::chrono::milliseconds timeout) {
  std::unique_lock lock(mutex);
  return allFinished.wait_for(lock, timeout, [this] { return running == 0; });
}

void ZMGraph::wait() {
  if (!started) KX::CException::raise(__LINE__, __FILE__, "KX::ZM::ZMGraph::wait", "the graph has not started");
  joinStarted();
  std::lock_guard lock(mutex);
  if (firstError) throw *firstError;
}

void ZMGraph::cancel(const std::string& reason) {
  fail(graphError(__LINE__, "KX::ZM::ZMGraph::cancel",
                  KX::CString::createWithFormat("cancelled: %s", reason.c_str())),
       "", "cancelled: " + reason);
}

void ZMGraph::fail(const KX::CException& e, const std::string& component, const std::string& reason) {
  std::lock_guard lock(mutex);
  if (!firstError) {
    firstError = e;
    failedComponent = component;
  }
  for (const auto& entry : queues) entry.second->cancel(reason);
}

void ZMGraph::componentFinished(RComponent& component, int result, const KX::CException* error) noexcept {
  const std::string name = component.getName();
  if (error != nullptr) {
    fail(*error, name, "component '" + name + "' failed: " + error->what());
  } else if (result != 0) {
    const KX::CException e = graphError(
        __LINE__, "KX::ZM::ZMGraph", KX::CString::createWithFormat("component '%s' ended with status %d", name.c_str(), result));
    fail(e, name, e.what());
  }
  // Under the lock: once a waiter sees the count reach 0 this thread no longer
  // touches the graph.
  std::lock_guard lock(mutex);
  --running;
  allFinished.notify_all();
}

KX::RPtr<RQueue> ZMGraph::getQueue(const std::string& name) const {
  std::lock_guard lock(mutex);
  const auto it = queues.find(name);
  return it != queues.end() ? it->second : nullptr;
}

std::string ZMGraph::getFailedComponent() const {
  std::lock_guard lock(mutex);
  return failedComponent;
}

}  // namespace KX::ZM
