#include "introoutro/media_module.h"

#include "introoutro/plugin_loader.h"

#include <dlfcn.h>

#include <filesystem>
#include <stdexcept>

namespace ns_introoutro {

std::string default_media_module_path() {
  return (std::filesystem::path(default_plugin_path()).parent_path() / media_module_file_name).string();
}

const media_functions& media_module() {
  // A function-local static: loaded once, safely, whichever thread asks first.
  static const media_functions& table = [] () -> const media_functions& {
    const std::string path = default_media_module_path();
    void* handle = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) throw std::runtime_error("cannot load the media module " + path + ": " + ::dlerror());
    void* symbol = ::dlsym(handle, media_module_entry);
    if (symbol == nullptr) {
      throw std::runtime_error("the media module " + path + " has no " + media_module_entry + ": " + ::dlerror());
    }
    return *reinterpret_cast<const media_functions* (*)()>(symbol)();
  }();
  return table;
}

}  // namespace ns_introoutro
