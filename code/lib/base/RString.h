#pragma once
// KX::RString: a reference-counted CString. The count starts at 0 in every
// constructor; instances live on the heap and are held through KX::RPtr.

#include "base/CString.h"
#include "base/KXExport.h"
#include "ulbase/object_refcount.h"

namespace KX {

class KX_EXPORT RString : public CString, public ulbase::object_refcount {
public:
  RString() noexcept = default;
  explicit RString(int capacity) : CString(capacity) {}
  RString(int length, const char* p, ConstructionFlags f) : CString(length, p, f) {}
  RString(const CString& s, ConstructionFlags f) : CString(s, f) {}
  RString(const RString& s) : CString(s), ulbase::object_refcount() {}
  ~RString() override;

  RString& operator=(const RString& s) {
    CString::operator=(s);
    return *this;
  }
  RString& operator=(const CString& s) {
    CString::operator=(s);
    return *this;
  }
  RString& operator=(const char* s) {
    CString::operator=(s);
    return *this;
  }

  static RString createWithCString(const char* s, ConstructionFlags f) {
    return RString(CString::createWithCString(s, f), kCopy);
  }
  static RString createFromPointer(char* s, ConstructionFlags f) {
    return RString(CString::createFromPointer(s, f), kCopy);
  }
  static RString createWithLength(int length, char* p, ConstructionFlags f) {
    return RString(CString::createWithLength(length, p, f), kCopy);
  }
  static RString createWithString(const CString& s, ConstructionFlags f) {
    return RString(CString::createWithString(s, f), kCopy);
  }
  static RString createWithCapacity(int n) { return RString(CString::createWithCapacity(n), kCopy); }
  static RString createWithFourCC(unsigned int code, char replacement) {
    return RString(CString::createWithFourCC(code, replacement), kCopy);
  }
  static RString createFromFourCharConstant(unsigned int code) {
    return RString(CString::createFromFourCharConstant(code), kCopy);
  }
};

}  // namespace KX
