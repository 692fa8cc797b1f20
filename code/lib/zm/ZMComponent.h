#pragma once
// The host component model (namespace KX::ZM). A component runs on a thread of its
// own, reads frames from input queues and writes frames to output queues; blocking
// happens only inside the queues' nextFrame() and put().
//
// Life of a component, driven by the host (ZMGraph does all of it):
//   1. connectInput()/connectOutput() for each queue, in input order; this fills
//      inReaders/inReaderCount and outWriters.
//   2. configure(config) on the host's thread; 0 means ready. Filters, sources
//      and sinks are all configured through this one operation.
//   3. start(argument): threadrunloop() runs runloop() on the component's thread.
//      When runloop returns 0 every output is ended; when it throws or returns
//      anything else every output queue is cancelled, so that no reader waits for
//      frames that will not come. Either way the inputs are closed, so no writer
//      waits for a reader that has stopped. The error is kept (getError()) and the
//      observer, if any, is told; nothing aborts the process.
//   4. join(), then release.
//
// The order of the virtual operations below is part of the plug-in interface
// (modules built against it call them by position): never reorder or insert.

#include "base/CException.h"
#include "base/CThread.h"
#include "base/KXExport.h"
#include "base/RPtr.h"
#include "ulbase/object_refcount.h"
#include "zm/RComponentConfiguration.h"
#include "zm/RDescription.h"
#include "zm/RFrame.h"
#include "zm/RQueue.h"
#include "zm/ZMComponentValues.h"
#include "zm/ZMFourCC.h"

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace KX::ZM {
class RComponent;
}

// A component keeps the exception that escaped its thread instead of aborting.
// This is a specialisation rather than an override in RComponent: an override of a
// function of the second base would add an entry to RComponent's primary virtual
// table, between runloop and configure.
template <>
void KX::CThread<KX::ZM::RComponent>::handleException(const KX::CException& e);

namespace KX::ZM {

// Told once, on the component's thread, when runloop has returned or thrown, before
// the component's outputs are ended or cancelled.
class KX_EXPORT ZMComponentObserver {
public:
  virtual ~ZMComponentObserver();
  // error: what ended the thread, or null; result: runloop's (-1 after an error).
  virtual void componentFinished(RComponent& component, int result, const KX::CException* error) noexcept = 0;
};

class KX_EXPORT RComponent : public ulbase::object_refcount, public KX::CThread<RComponent> {
public:
  ~RComponent() override;                                         // slot 0
  virtual uint32_t type() const = 0;                              // 1: FourCC of the kind
  virtual CComponentStatus getStatus() const;                     // 2: default-constructed
  virtual void componentWillReset() = 0;                          // 3
  virtual int handleNotification(CNotification& notification) = 0;  // 4
  virtual bool isVPLComponent() const;                            // 5: false
  virtual bool process(KX::RPtr<RFrame> frame) = 0;               // 6
  virtual bool process() = 0;                                     // 7
  virtual void flush() = 0;                                       // 8
  virtual uint32_t numSimpleThreads() const = 0;                  // 9
  virtual int runloop(ulbase::object_refcount* argument) = 0;     // 10

  // The exception that ended the component's thread; safe from any thread.
  std::optional<KX::CException> getError() const;
  // Set before start().
  void setObserver(ZMComponentObserver* o) { observer = o; }
  // The "name" attribute, for messages ("" when unnamed).
  std::string getName() const { return getAttribute("name"); }

protected:
  RComponent();
  void notifyFinished(int result) noexcept;

private:
  friend class KX::CThread<RComponent>;
  void recordError(const KX::CException& e);

  mutable std::mutex errorMutex;
  std::optional<KX::CException> error;
  ZMComponentObserver* observer = nullptr;
};

// The base of every component with queues.
class KX_EXPORT ZMMultipleQueueComponent : public RComponent {
public:
  ~ZMMultipleQueueComponent() override;
  void componentWillReset() override;                              // does nothing
  int handleNotification(CNotification& notification) override;   // 0: not handled
  bool process(KX::RPtr<RFrame> frame) override;                   // throws: not implemented
  bool process() override;                                         // throws: not implemented
  void flush() override;                                           // throws: not implemented
  uint32_t numSimpleThreads() const override;                      // 0
  // Calls process() until it returns false, then flush(); returns 0.
  int runloop(ulbase::object_refcount* argument) override;
  // Slot 11. Reads the configuration once the queues are connected; 0 when ready.
  virtual int configure(const RComponentConfiguration& config) = 0;
  int threadrunloop(ulbase::object_refcount* argument) override;

  // Adds a reader of the queue as the next input / a writer as the next output. A
  // queue connected twice to one component is refused.
  void connectInput(RQueue& queue);
  void connectOutput(RQueue& queue);

protected:
  ZMMultipleQueueComponent();

  int32_t inReaderCount = 0;
  std::vector<KX::RPtr<RQFrameReader>> inReaders;   // one per input queue, input order
  std::vector<KX::RPtr<RQFrameWriter>> outWriters;  // writer 0 is the main output

private:
  void checkNotConnected(const RQueue& queue) const;
  void finishQueues(int result, const KX::CException* failure) noexcept;
};

// A component with inputs and outputs; type "fltr".
class KX_EXPORT RFilter : public ZMMultipleQueueComponent {
public:
  ~RFilter() override;
  uint32_t type() const override;
  int configure(const RComponentConfiguration& config) override = 0;

protected:
  RFilter() = default;
};

// A component with outputs only; type "srce". flush() does nothing.
class KX_EXPORT RSource : public ZMMultipleQueueComponent {
public:
  ~RSource() override;
  uint32_t type() const override;
  void flush() override;

protected:
  RSource() = default;
};

// A component with inputs only; type "sink". flush() does nothing.
class KX_EXPORT RSink : public ZMMultipleQueueComponent {
public:
  ~RSink() override;
  uint32_t type() const override;
  void flush() override;

protected:
  RSink() = default;
};

}  // namespace KX::ZM
