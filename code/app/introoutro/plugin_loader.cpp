#include "introoutro/plugin_loader.h"

#include <dlfcn.h>

#include <filesystem>
#include <stdexcept>

namespace ns_introoutro {

std::string default_plugin_path() {
  std::error_code error;
  const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error) return std::string("../lib/") + plugin_file_name;
  return (self.parent_path().parent_path() / "lib" / plugin_file_name).string();
}

plugin_loader::plugin_loader(const std::string& path) : library(path) {
  // A bare name would make dlopen search the library path instead of the file given.
  const std::string file = path.find('/') == std::string::npos ? "./" + path : path;
  handle = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) throw std::runtime_error("cannot load the plug-in " + path + ": " + ::dlerror());
  void* symbol = ::dlsym(handle, "getComponentInstance");
  if (symbol == nullptr) {
    const std::string why = ::dlerror();
    ::dlclose(handle);
    throw std::runtime_error("the plug-in " + path + " has no getComponentInstance: " + why);
  }
  factory = reinterpret_cast<KX::ZM::RComponent* (*)()>(symbol);
}

plugin_loader::~plugin_loader() { ::dlclose(handle); }

KX::RPtr<KX::ZM::RFilter> plugin_loader::create_filter() const {
  KX::RPtr<KX::ZM::RComponent> component(factory());
  auto* filter = dynamic_cast<KX::ZM::RFilter*>(component.get());
  if (filter == nullptr) {
    throw std::runtime_error("the plug-in " + library + ": getComponentInstance gave " +
                             (component ? "a component that is not a filter" : "no component"));
  }
  return filter;
}

}  // namespace ns_introoutro
