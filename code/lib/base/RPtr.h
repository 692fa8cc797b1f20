#pragma once
// KX::RPtr<T>: holds one reference to a ulbase::object_refcount object (T may be
// const), or null. Copies retain, destruction releases; moves transfer the reference.

#include "base/KXExport.h"
#include "ulbase/object_refcount.h"

#include <concepts>
#include <cstddef>
#include <utility>

namespace KX {

template <class T>
class KX_EXPORT RPtr {
public:
  RPtr() noexcept = default;
  RPtr(std::nullptr_t) noexcept {}
  RPtr(T* p) noexcept : ptr(p) {
    if (ptr != nullptr) base()->retain();
  }
  RPtr(const RPtr& o) noexcept : RPtr(o.ptr) {}
  RPtr(RPtr&& o) noexcept : ptr(std::exchange(o.ptr, nullptr)) {}
  template <class U>
    requires std::convertible_to<U*, T*>
  RPtr(const RPtr<U>& o) noexcept : RPtr(o.get()) {}
  template <class U>
    requires std::convertible_to<U*, T*>
  RPtr(RPtr<U>&& o) noexcept : ptr(std::exchange(o.ptr, nullptr)) {}
  ~RPtr() {
    if (ptr != nullptr) base()->release();
  }

  // By value: covers copy, move and self-assignment.
  RPtr& operator=(RPtr o) noexcept {
    std::swap(ptr, o.ptr);
    return *this;
  }

  T* get() const noexcept { return ptr; }
  T* addr() const noexcept { return ptr; }
  T* operator->() const noexcept { return ptr; }
  T& operator*() const noexcept { return *ptr; }
  explicit operator bool() const noexcept { return ptr != nullptr; }

  friend bool operator==(const RPtr& a, const RPtr& b) noexcept { return a.ptr == b.ptr; }
  friend bool operator==(const RPtr& a, std::nullptr_t) noexcept { return a.ptr == nullptr; }

private:
  template <class U>
  friend class RPtr;

  // Through the object_refcount part, so a T with members of its own named
  // retain/release is not confused with it.
  const ulbase::object_refcount* base() const noexcept { return ptr; }

  T* ptr = nullptr;
};

}  // namespace KX
