#pragma once
// Intrusive, thread-safe reference count. A new object's count is 0; retain() adds
// one and the release() that brings it back to 0 destroys the object through its
// virtual destructor. Any number of threads may retain and release one object.

#include <atomic>
#include <cstdint>

namespace ulbase {

class object_refcount {
public:
  object_refcount() noexcept = default;
  // A copy is a new object: it starts with no references of its own.
  object_refcount(const object_refcount&) noexcept {}
  object_refcount& operator=(const object_refcount&) noexcept { return *this; }
  virtual ~object_refcount();

  // const so that holders of const objects (RPtr<const T>) can share them.
  void retain() const noexcept { count_.fetch_add(1, std::memory_order_relaxed); }
  void release() const noexcept;

  // The current count; only meaningful while the caller holds a reference.
  int32_t reference_count() const noexcept { return count_.load(std::memory_order_relaxed); }

private:
  mutable std::atomic<int32_t> count_{0};
};

}  // namespace ulbase
