#pragma once
// The process-wide registry of component factories by type code. The library's own
// components are added by AddKestrelleComponentDependencies without replacing what a
// program registered first, so a program (or a test) can put its own converter
// under 'vrc '. All members are safe to call from any thread.

#include <cstdint>
#include <functional>
#include <utility>

#include "orrin/api.h"
#include "orrin/result.h"
#include "orrin/video_converter.h"

namespace Quorvane::Orrin {

template <class T>
class CComponentFactory {
public:
  using Product = T;

  CComponentFactory() = default;
  explicit CComponentFactory(std::function<T*()> create) : create_(std::move(create)) {}

  // A new component (reference count 0), or null when the factory is empty.
  T* CreateInstance() const { return create_ ? create_() : nullptr; }
  explicit operator bool() const noexcept { return static_cast<bool>(create_); }

private:
  std::function<T*()> create_;
};

template <class Factory>
class ORRIN_API CComponentInventory {
public:
  // Registers `factory` under `type` (an empty factory removes the entry) and returns
  // the factory that was registered before, empty when there was none.
  static Factory Register(uint32_t type, Factory factory);
  // Registers `factory` only when `type` has none; true when it did.
  static bool RegisterIfAbsent(uint32_t type, Factory factory);
  // A new component of `type`, or null when nothing is registered under it.
  static typename Factory::Product* CreateInstance(uint32_t type);
};

extern template class ORRIN_API CComponentInventory<CComponentFactory<CVideoConverter>>;

// Registers the library's components (the zimg video converter as 'vrc ') where the
// program has not registered its own. Idempotent; always kResultOk.
ORRIN_API Result AddKestrelleComponentDependencies();

}  // namespace Quorvane::Orrin
