#include "zm/ZMComponent.h"

#include <cxxabi.h>

template <>
void KX::CThread<KX::ZM::RComponent>::handleException(const KX::CException& e) {
  static_cast<KX::ZM::RComponent*>(this)->recordError(e);
}

namespace KX::ZM {

ZMComponentObserver::~ZMComponentObserver() = default;

RComponent::RComponent() = default;
RComponent::~RComponent() = default;

CComponentStatus RComponent::getStatus() const { return CComponentStatus(); }

bool RComponent::isVPLComponent() const { return false; }

std::optional<KX::CException> RComponent::getError() const {
  std::lock_guard lock(errorMutex);
  return error;
}

void RComponent::recordError(const KX::CException& e) {
  std::lock_guard lock(errorMutex);
  if (!error) error = e;
}

void RComponent::notifyFinished(int result) noexcept {
  if (observer == nullptr) return;
  const std::optional<KX::CException> e = getError();
  observer->componentFinished(*this, result, e ? &*e : nullptr);
}

ZMMultipleQueueComponent::ZMMultipleQueueComponent() = default;
ZMMultipleQueueComponent::~ZMMultipleQueueComponent() = default;

void ZMMultipleQueueComponent::componentWillReset() {}

int ZMMultipleQueueComponent::handleNotification(CNotification&) { return 0; }

// Line and file are those that plug-ins see in this error.
bool ZMMultipleQueueComponent::process(KX::RPtr<RFrame>) {
  throw KX::CException("KX::CException", 254, "code\\lib\\zm\\ZMComponent",
                       "KX::ZM::ZMMultipleQueueComponent::process", "process(ZMFrame) not implemented!");
}

bool ZMMultipleQueueComponent::process() {
  KX::CException::raise(__LINE__, __FILE__, "KX::ZM::ZMMultipleQueueComponent::process",
                        "process() not implemented!");
}

void ZMMultipleQueueComponent::flush() {
  throw KX::CException("KX::CException", 262, "code\\lib\\zm\\ZMComponent",
                       "KX::ZM::ZMMultipleQueueComponent::flush", "flush() not implemented!");
}

uint32_t ZMMultipleQueueComponent::numSimpleThreads() const { return 0; }

int ZMMultipleQueueComponent::runloop(ulbase::object_refcount*) {
  while (process()) {
  }
  flush();
  return 0;
}

int ZMMultipleQueueComponent::threadrunloop(ulbase::object_refcount* argument) {
  int result = -1;
  try {
    result = runloop(argument);
  } catch (abi::__forced_unwind&) {
    throw;  // thread cancellation must unwind to the end
  } catch (...) {
    handleException(KX::CException::fromCurrentException("KX::ZM::ZMMultipleQueueComponent::threadrunloop"));
  }
  // The observer first: a host that cancels everything on an error must learn of it
  // before this component's readers wake on its cancelled outputs and report
  // errors of their own.
  notifyFinished(result);
  const std::optional<KX::CException> failure = getError();
  finishQueues(result, failure ? &*failure : nullptr);
  return result;
}

void ZMMultipleQueueComponent::finishQueues(int result, const KX::CException* failure) noexcept {
  const std::string name = getName();
  for (const auto& reader : inReaders) reader->close();
  for (const auto& writer : outWriters) {
    if (failure != nullptr) {
      writer->getQueue()->cancel("component '" + name + "' failed: " + failure->what());
    } else if (result != 0) {
      writer->getQueue()->cancel("component '" + name + "' ended with status " + std::to_string(result));
    } else {
      writer->end();
    }
  }
}

void ZMMultipleQueueComponent::checkNotConnected(const RQueue& queue) const {
  for (const auto& reader : inReaders) {
    if (reader->getQueue() == &queue) {
      KX::CException::raise(__LINE__, __FILE__, "KX::ZM::ZMMultipleQueueComponent::connect",
                            "component '%s': queue '%s' is already an input", getName().c_str(),
                            queue.getName().desc());
    }
  }
  for (const auto& writer : outWriters) {
    if (writer->getQueue() == &queue) {
      KX::CException::raise(__LINE__, __FILE__, "KX::ZM::ZMMultipleQueueComponent::connect",
                            "component '%s': queue '%s' is already an output", getName().c_str(),
                            queue.getName().desc());
    }
  }
}

void ZMMultipleQueueComponent::connectInput(RQueue& queue) {
  checkNotConnected(queue);
  inReaders.push_back(queue.createReader());
  inReaderCount = static_cast<int32_t>(inReaders.size());
}

void ZMMultipleQueueComponent::connectOutput(RQueue& queue) {
  checkNotConnected(queue);
  outWriters.push_back(queue.createWriter());
}

RFilter::~RFilter() = default;
uint32_t RFilter::type() const { return makeFourCC("fltr"); }

RSource::~RSource() = default;
uint32_t RSource::type() const { return makeFourCC("srce"); }
void RSource::flush() {}

RSink::~RSink() = default;
uint32_t RSink::type() const { return makeFourCC("sink"); }
void RSink::flush() {}

}  // namespace KX::ZM
