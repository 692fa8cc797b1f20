#pragma once
// KX::ZM::CMetaData: string keys to string values, ordered by the buffer's operator<.
// Serial form in a KX::CData stream: the entry count as a big-endian uint32, then for
// each entry in key order the key and the value as the buffer insertion writes them.
// A plain value, one thread at a time.

#include "base/CData.h"
#include "base/CString.h"
#include "base/KXExport.h"

#include <map>

namespace KX::ZM {

class KX_EXPORT CMetaData {
public:
  using Map = std::map<KX::CString, KX::CString>;

  CMetaData() = default;
  CMetaData(const CMetaData&) = default;
  CMetaData& operator=(const CMetaData& m) {
    setMeta(m);
    return *this;
  }
  virtual ~CMetaData();

  void setMeta(const CMetaData& m) {
    if (&m != this) meta = m.meta;
  }
  // Replaces the value of an existing key, else adds the entry.
  void addMeta(KX::CString key, KX::CString value) { meta.insert_or_assign(key, value); }
  // Every entry of m, replacing the values of keys already present.
  void addMeta(const CMetaData& m) {
    for (const auto& [key, value] : m.meta) addMeta(key, value);
  }
  // The value, or an empty string when the key is absent.
  KX::CString getMeta(const KX::CString& key) const {
    const auto it = meta.find(key);
    return it != meta.end() ? it->second : KX::CString();
  }
  const CMetaData& getMeta() const { return *this; }
  Map& getMetaMap() { return meta; }
  const Map& getMetaMap() const { return meta; }
  // Writes nothing: the system keeps no log of its own.
  void printMeta() const {}

private:
  Map meta;
};

// Writes m's serial form at d's cursor; returns d.
KX_EXPORT KX::CData& operator<<(KX::CData& d, const CMetaData& m);
// Replaces m's entries by those read from d; a key that comes twice keeps its first
// value. A stream that ends early or holds an impossible count or length throws
// KX::CException: m is then empty and d's cursor where it was.
KX_EXPORT KX::CData& operator>>(KX::CData& d, CMetaData& m);

}  // namespace KX::ZM
