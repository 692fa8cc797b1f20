#pragma once
// KX::ZM::sys_conf: a system configuration value: named settings, the separator that
// joins the items of a list setting, and two flags that the host reading the
// configuration keeps with it. A plain value, one thread at a time.

#include "base/KXExport.h"

#include <map>
#include <string>

namespace KX::ZM {

struct KX_EXPORT sys_conf {
  static constexpr char k_default_separator = ';';

  // Assignment replaces every setting, the separator and both flags.
  sys_conf& operator=(const sys_conf&) = default;

  std::map<std::string, std::string> settings;
  std::string separator = std::string(1, k_default_separator);
  bool loaded = false;
  bool modified = false;
};

}  // namespace KX::ZM
