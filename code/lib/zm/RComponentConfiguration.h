#pragma once
// A component's configuration: a map from string keys to string values, filled by
// the host and read by the component's configure(). Getters return the default for
// an absent key and throw KX::CException for a value of the wrong form.

#include "base/KXExport.h"
#include "ulbase/object_refcount.h"

#include <cstdint>
#include <map>
#include <string>

namespace KX::ZM {

class KX_EXPORT RComponentConfiguration : public ulbase::object_refcount {
public:
  RComponentConfiguration() = default;
  explicit RComponentConfiguration(std::map<std::string, std::string> values) : values(std::move(values)) {}
  ~RComponentConfiguration() override;

  void set(const std::string& key, const std::string& value) { values[key] = value; }
  bool has(const std::string& key) const { return values.count(key) != 0; }
  const std::map<std::string, std::string>& getValues() const { return values; }

  // A FourCC written as its four characters ("IYUV"), first character in the top byte.
  uint32_t getFourCC(const std::string& key, uint32_t defaultValue) const;
  std::string getString(const std::string& key, const std::string& defaultValue) const;
  // A decimal integer, optionally signed; nothing else may follow it.
  int64_t getInteger(const std::string& key, int64_t defaultValue) const;

private:
  std::map<std::string, std::string> values;
};

}  // namespace KX::ZM
