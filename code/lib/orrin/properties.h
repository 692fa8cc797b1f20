#pragma once
// IProperties: a named-value bag that components and stream descriptions carry
// ("vrc.width", ...). Values are typed; reading a name with another type fails.

#include <map>
#include <string>

#include "orrin/api.h"
#include "orrin/result.h"

namespace Quorvane::Orrin {

class ORRIN_API IProperties {
public:
  // Sets or replaces `name`; an empty or null name gives kResultInvalidArgument.
  template <class T>
  Result SetProperty(const char* name, T value);
  // kResultNotFound when `name` is unset or holds another type; *value is then unchanged.
  template <class T>
  Result GetProperty(const char* name, T* value) const;

protected:
  IProperties() = default;
  IProperties(const IProperties&) = default;
  IProperties& operator=(const IProperties&) = default;
  ~IProperties() = default;

private:
  std::map<std::string, long> longs_;
};

// Values of type long are supported.
template <>
ORRIN_API Result IProperties::SetProperty<long>(const char* name, long value);
template <>
ORRIN_API Result IProperties::GetProperty<long>(const char* name, long* value) const;

}  // namespace Quorvane::Orrin
