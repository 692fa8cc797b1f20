#pragma once
// CObject: the library's reference-counted base (count starts at 0; the Release that
// brings it back to 0 deletes). RObject<T>: a pointer that holds one reference.

#include <atomic>
#include <cstddef>
#include <utility>

#include "orrin/api.h"

namespace Quorvane::Orrin {

class ORRIN_API CObject {
public:
  CObject() noexcept = default;
  CObject(const CObject&) = delete;
  CObject& operator=(const CObject&) = delete;
  virtual ~CObject();

  // Objects are allocated and freed inside the library, whatever allocator the
  // calling module uses.
  static void* operator new(std::size_t bytes);
  static void operator delete(void* block) noexcept;

  void AddRef() const noexcept { count_.fetch_add(1, std::memory_order_relaxed); }
  void Release() const noexcept;
  // Only meaningful while the caller holds a reference.
  int GetReferenceCount() const noexcept { return count_.load(std::memory_order_acquire); }

private:
  mutable std::atomic<int> count_{0};
};

template <class T>
class RObject {
public:
  RObject() noexcept = default;
  RObject(std::nullptr_t) noexcept {}
  explicit RObject(T* object) noexcept : object_(object) { retain(); }
  RObject(const RObject& other) noexcept : object_(other.object_) { retain(); }
  RObject(RObject&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  template <class U>
  RObject(const RObject<U>& other) noexcept : object_(other.Get()) {
    retain();
  }
  ~RObject() { release(); }

  RObject& operator=(RObject other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }

  T* Get() const noexcept { return object_; }
  T* operator->() const noexcept { return object_; }
  T& operator*() const noexcept { return *object_; }
  explicit operator bool() const noexcept { return object_ != nullptr; }

  void Reset(T* object = nullptr) noexcept { *this = RObject(object); }

private:
  void retain() const noexcept {
    if (object_ != nullptr) object_->AddRef();
  }
  void release() noexcept {
    if (object_ != nullptr) object_->Release();
  }

  T* object_ = nullptr;
};

}  // namespace Quorvane::Orrin
