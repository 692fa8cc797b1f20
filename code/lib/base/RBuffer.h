#pragma once
// KX::RBuffer: a reference-counted CBuffer. The count starts at 0 in every
// constructor; instances live on the heap and are held through KX::RPtr.

#include "base/CBuffer.h"
#include "base/KXExport.h"
#include "ulbase/object_refcount.h"

namespace KX {

class KX_EXPORT RBuffer : public CBuffer, public ulbase::object_refcount {
public:
  RBuffer() noexcept = default;
  explicit RBuffer(int capacity) : CBuffer(capacity) {}
  RBuffer(const CBuffer& b, ConstructionFlags f) : CBuffer(b, f) {}
  RBuffer(int length, unsigned char* p, ConstructionFlags f) : CBuffer(length, p, f) {}
  RBuffer(const RBuffer& b) : CBuffer(b), ulbase::object_refcount() {}
  ~RBuffer() override;

  RBuffer& operator=(const RBuffer& b) {
    CBuffer::operator=(b);
    return *this;
  }
  RBuffer& operator=(const CBuffer& b) {
    CBuffer::operator=(b);
    return *this;
  }

  static RBuffer createWithCapacity(int n) { return RBuffer(CBuffer::createWithCapacity(n), kCopy); }
  static RBuffer createWithLength(int length, unsigned char* p, ConstructionFlags f) {
    return RBuffer(CBuffer::createWithLength(length, p, f), kCopy);
  }
  static RBuffer createWithBuffer(const CBuffer& b, ConstructionFlags f) {
    return RBuffer(CBuffer::createWithBuffer(b, f), kCopy);
  }
};

}  // namespace KX
