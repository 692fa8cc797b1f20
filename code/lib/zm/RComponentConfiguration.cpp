#include "zm/RComponentConfiguration.h"

#include "base/CException.h"

#include <charconv>

namespace KX::ZM {

RComponentConfiguration::~RComponentConfiguration() = default;

uint32_t RComponentConfiguration::getFourCC(const std::string& key, uint32_t defaultValue) const {
  const auto it = values.find(key);
  if (it == values.end()) return defaultValue;
  const std::string& v = it->second;
  if (v.size() != 4) {
    KX::CException::raise(__LINE__, __FILE__, "KX::ZM::RComponentConfiguration::getFourCC",
                          "configuration key '%s': '%s' is not a FourCC (four characters expected)", key.c_str(),
                          v.c_str());
  }
  uint32_t code = 0;
  for (const char c : v) code = code << 8 | static_cast<unsigned char>(c);
  return code;
}

std::string RComponentConfiguration::getString(const std::string& key, const std::string& defaultValue) const {
  const auto it = values.find(key);
  return it == values.end() ? defaultValue : it->second;
}

int64_t RComponentConfiguration::getInteger(const std::string& key, int64_t defaultValue) const {
  const auto it = values.find(key);
  if (it == values.end()) return defaultValue;
  const std::string& v = it->second;
  // from_chars takes a '-' but no '+'.
  const bool plus = !v.empty() && v[0] == '+';
  const char* first = v.data() + (plus ? 1 : 0);
  const char* last = v.data() + v.size();
  int64_t value = 0;
  const auto [end, error] = std::from_chars(first, last, value);
  if (error == std::errc::result_out_of_range) {
    KX::CException::raise(__LINE__, __FILE__, "KX::ZM::RComponentConfiguration::getInteger",
                          "configuration key '%s': %s is out of the 64-bit range", key.c_str(), v.c_str());
  }
  if (error != std::errc() || end != last || (plus && *first == '-')) {
    KX::CException::raise(__LINE__, __FILE__, "KX::ZM::RComponentConfiguration::getInteger",
                          "configuration key '%s': '%s' is not an integer", key.c_str(), v.c_str());
  }
  return value;
}

}  // namespace KX::ZM
