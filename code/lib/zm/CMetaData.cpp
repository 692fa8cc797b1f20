#include "zm/CMetaData.h"

#include "base/CException.h"

#include <cstdint>

namespace KX::ZM {

namespace {

// The least an entry takes in the stream: the length counts of an empty key and value.
constexpr uint32_t kMinimumEntryBytes = 8;

}  // namespace

CMetaData::~CMetaData() = default;

KX::CData& operator<<(KX::CData& d, const CMetaData& m) {
  d.putUInt32(static_cast<uint32_t>(m.getMetaMap().size()));
  for (const auto& [key, value] : m.getMetaMap()) d << key << value;
  return d;
}

KX::CData& operator>>(KX::CData& d, CMetaData& m) {
  const int start = d.getUsed() - d.getRemaining();  // the cursor's offset
  CMetaData::Map& entries = m.getMetaMap();
  entries.clear();
  try {
    const uint32_t count = d.getUInt32();
    // Refused before reading on: no entry can be shorter.
    if (count > static_cast<uint32_t>(d.getRemaining()) / kMinimumEntryBytes) {
      KX::CException::raise(__LINE__, __FILE__, "KX::ZM::operator>>(CData&, CMetaData&)",
                            "%u entries cannot fit in the %d bytes left in the stream", count,
                            d.getRemaining());
    }
    for (uint32_t i = 0; i < count; ++i) {
      KX::CString key;
      KX::CString value;
      d >> key >> value;
      entries.emplace(key, value);
    }
  } catch (...) {
    entries.clear();
    d.reset();
    d.advance(start);
    throw;
  }
  return d;
}

}  // namespace KX::ZM
