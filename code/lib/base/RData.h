#pragma once
// KX::RData: a reference-counted CData. The count starts at 0 in every constructor;
// instances live on the heap and are held through KX::RPtr.

#include "base/CData.h"
#include "base/KXExport.h"
#include "ulbase/object_refcount.h"

namespace KX {

class KX_EXPORT RData : public CData, public ulbase::object_refcount {
public:
  RData() noexcept = default;
  explicit RData(int capacity) : CData(capacity) {}
  RData(const CBuffer& b, ConstructionFlags f) : CData(b, f) {}
  RData(int length, unsigned char* p, ConstructionFlags f) : CData(length, p, f) {}
  RData(const RData& d) : CData(d), ulbase::object_refcount() {}
  ~RData() override;

  RData& operator=(const RData& d) {
    CData::operator=(d);
    return *this;
  }
  RData& operator=(const CData& d) {
    CData::operator=(d);
    return *this;
  }

  static RData createWithCapacity(int n) { return RData(CData::createWithCapacity(n), kCopy); }
  static RData createWithLength(int length, unsigned char* p, ConstructionFlags f) {
    return RData(CData::createWithLength(length, p, f), kCopy);
  }
  static RData createWithData(const CBuffer& b, ConstructionFlags f) {
    return RData(CData::createWithData(b, f), kCopy);
  }
};

}  // namespace KX
