#include "orrin/component_inventory.h"

#include <map>
#include <mutex>

#include "orrin/zimg_video_converter.h"

namespace Quorvane::Orrin {

namespace {

template <class Factory>
struct registry {
  std::mutex lock;
  std::map<uint32_t, Factory> factories;
};

template <class Factory>
registry<Factory>& registry_of() {
  static registry<Factory> instance;
  return instance;
}

}  // namespace

template <class Factory>
Factory CComponentInventory<Factory>::Register(uint32_t type, Factory factory) {
  auto& r = registry_of<Factory>();
  const std::lock_guard guard(r.lock);
  Factory previous;
  const auto found = r.factories.find(type);
  if (found != r.factories.end()) {
    previous = std::move(found->second);
    r.factories.erase(found);
  }
  if (factory) r.factories.emplace(type, std::move(factory));
  return previous;
}

template <class Factory>
bool CComponentInventory<Factory>::RegisterIfAbsent(uint32_t type, Factory factory) {
  auto& r = registry_of<Factory>();
  const std::lock_guard guard(r.lock);
  if (!factory || r.factories.count(type) != 0) return false;
  r.factories.emplace(type, std::move(factory));
  return true;
}

template <class Factory>
typename Factory::Product* CComponentInventory<Factory>::CreateInstance(uint32_t type) {
  Factory factory;
  {
    auto& r = registry_of<Factory>();
    const std::lock_guard guard(r.lock);
    const auto found = r.factories.find(type);
    if (found == r.factories.end()) return nullptr;
    factory = found->second;
  }
  // Outside the lock: a factory may itself use the inventory.
  return factory.CreateInstance();
}

template class CComponentInventory<CComponentFactory<CVideoConverter>>;

Result AddKestrelleComponentDependencies() {
  CComponentInventory<CComponentFactory<CVideoConverter>>::RegisterIfAbsent(
      kVideoConverterType, CComponentFactory<CVideoConverter>(CreateZimgVideoConverter));
  return Result(kResultOk);
}

}  // namespace Quorvane::Orrin
