#include "orrin/properties.h"

namespace Quorvane::Orrin {

template <>
Result IProperties::SetProperty<long>(const char* name, long value) {
  if (name == nullptr || *name == '\0') return Result(kResultInvalidArgument);
  longs_[name] = value;
  return Result(kResultOk);
}

template <>
Result IProperties::GetProperty<long>(const char* name, long* value) const {
  if (name == nullptr || value == nullptr) return Result(kResultInvalidArgument);
  const auto found = longs_.find(name);
  if (found == longs_.end()) return Result(kResultNotFound);
  *value = found->second;
  return Result(kResultOk);
}

}  // namespace Quorvane::Orrin
