#include "filter_module.h"

#include <dlfcn.h>

#include <stdexcept>
#include <string>

namespace introoutro_test {

namespace {

using factory_fn = KX::ZM::RComponent* (*)();

factory_fn load_factory() {
  void* module = dlopen(INTROOUTRO_FILTER_MODULE, RTLD_NOW | RTLD_LOCAL);
  if (module == nullptr) throw std::runtime_error(std::string("dlopen: ") + dlerror());
  void* symbol = dlsym(module, "getComponentInstance");
  if (symbol == nullptr) throw std::runtime_error(std::string("dlsym: ") + dlerror());
  return reinterpret_cast<factory_fn>(symbol);
}

}  // namespace

KX::RPtr<KX::ZM::ZMMultipleQueueComponent> new_filter() {
  static const factory_fn factory = load_factory();
  KX::RPtr<KX::ZM::RComponent> component(factory());
  auto* filter = dynamic_cast<KX::ZM::ZMMultipleQueueComponent*>(component.get());
  if (filter == nullptr) throw std::runtime_error("getComponentInstance gave no queue component");
  return filter;
}

}  // namespace introoutro_test
