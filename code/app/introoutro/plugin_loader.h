#pragma once
// Loads the filter plug-in with dlopen and makes filters from its exported
// getComponentInstance. Errors are std::runtime_error naming the path and dlerror().
// The library stays loaded while the loader lives: release every filter first.

#include "base/RPtr.h"
#include "zm/ZMComponent.h"

#include <string>

namespace ns_introoutro {

inline constexpr const char* plugin_file_name = "kx_filter_video_introoutro.so";

// <directory of this program>/../lib/kx_filter_video_introoutro.so, the place the
// build and the installation put it.
std::string default_plugin_path();

class plugin_loader {
public:
  explicit plugin_loader(const std::string& path);
  ~plugin_loader();
  plugin_loader(const plugin_loader&) = delete;
  plugin_loader& operator=(const plugin_loader&) = delete;

  const std::string& path() const { return library; }
  // A new filter component.
  KX::RPtr<KX::ZM::RFilter> create_filter() const;

private:
  std::string library;
  void* handle = nullptr;
  KX::ZM::RComponent* (*factory)() = nullptr;
};

}  // namespace ns_introoutro
