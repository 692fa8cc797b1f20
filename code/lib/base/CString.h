#pragma once
// KX::CString: a byte string on CBuffer. A non-empty string's `used` counts its
// characters plus one terminating NUL at data[used - 1]; an empty string has `used`
// 0 (and a NUL at data[0] when it has storage). Every member keeps this.

#include "base/CBuffer.h"
#include "base/KXExport.h"

#include <cstdarg>
#include <cstring>

namespace KX {

class KX_EXPORT CString : public CBuffer {
public:
  CString() noexcept = default;
  explicit CString(int capacity) : CBuffer(capacity) {
    if (capacity != 0) data[0] = 0;
  }
  CString(int length, const char* p, ConstructionFlags f) {
    init(length, reinterpret_cast<const unsigned char*>(p), f);
    null(used);
  }
  CString(const CString& s, ConstructionFlags f) { init(s.used, s.data, f); }
  CString(const CString&) = default;
  CString& operator=(const CString&) = default;
  ~CString() override;

  CString& operator=(const char* s) {
    set(static_cast<int>(std::strlen(s)) + 1, s, kCopy);
    return *this;
  }

  int correction() const override { return -1; }
  int encodeHex(const CBuffer& source, int options) override {
    CBuffer::encodeHex(source, options);
    null(used);
    return used;
  }
  int decodeHex(const CBuffer& source, int options) override {
    CBuffer::decodeHex(source, options);
    null(used);
    return used;
  }
  int encodeBase64(const CBuffer& source, int options) override {
    CBuffer::encodeBase64(source, options);
    null(used);
    return used;
  }
  int decodeBase64(const CBuffer& source, int options) override {
    CBuffer::decodeBase64(source, options);
    null(used);
    return used;
  }
  // The buffer's clear() would leave the old text readable through c_str().
  void clear() override {
    used = 0;
    if (data != nullptr) data[0] = 0;
  }

  // The terminate step: adds a NUL after the first n bytes unless byte n - 1 is one.
  void null(int n) {
    if (n > 0 && data[n - 1] != 0) {
      if (capacity - used < 1) resize(used + 1);
      data[n] = 0;
      used += 1;
    }
  }

  CString& set(int n, const char* p, ConstructionFlags f) {
    CBuffer::set(n, reinterpret_cast<const unsigned char*>(p), f);
    null(n);
    return *this;
  }
  CString& set(const CString& s, ConstructionFlags f) {
    return set(s.used, reinterpret_cast<const char*>(s.data), f);
  }

  int size() const { return used; }
  const char* c_str() const { return reinterpret_cast<const char*>(data); }
  char* getString() { return reinterpret_cast<char*>(data); }
  const char* desc() const { return data != nullptr ? reinterpret_cast<const char*>(data) : ""; }
  const char* getDescription() const { return desc(); }

  CString& append(const char* s) {
    if (used > 0) used -= 1;
    CBuffer::append(static_cast<int>(std::strlen(s)) + 1, reinterpret_cast<const unsigned char*>(s));
    null(used);
    return *this;
  }
  CString& operator+=(const char* s) { return append(s); }
  CString& append(int n, const char* p) {
    if (used > 0) used -= 1;
    CBuffer::append(n, reinterpret_cast<const unsigned char*>(p));
    null(used);
    return *this;
  }
  CString& append(const CString& s) {
    if (used > 0) used -= 1;
    CBuffer::append(s.used, s.data);
    null(used);
    return *this;
  }
  CString& operator+=(const CString& s) { return append(s); }
  CString operator+(const CString& s) const {
    CString r(*this);
    r.null(r.used);
    r.append(s);
    return r;
  }
  CString operator+(const char* s) const {
    CString r(*this);
    r.null(r.used);
    r.append(s);
    return r;
  }

  // Index of the last c at or before `start` (a negative start: the last character),
  // or -1.
  int reverseFind(char c, int start) const;
  int findFromEnd(char c) const { return reverseFind(c, -1); }
  // Characters [start, start + length); length -1 runs to the end. A range outside
  // the text throws KX::CException.
  CString getSubString(int start, int length) const;
  // ASCII case mapping; other bytes are kept.
  CString getUpperCaseString() const;
  CString getLowerCaseString() const;
  CString locase() const { return CString(getLowerCaseString()); }
  CString upcase() const { return CString(getUpperCaseString()); }
  CString substr(int start, int length) const { return CString(getSubString(start, length)); }

  // Replaces the storage by the printf-style text. The arguments must not point into
  // this string: its storage is released first.
  CString& setf(const char* format, ...) __attribute__((format(printf, 2, 3))) {
    va_list args;
    va_start(args, format);
    free();
    init(format, args);
    va_end(args);
    return *this;
  }
  void init(const char* format, va_list args) __attribute__((format(printf, 2, 0)));
  using CBuffer::init;
  static CString createWithFormat(const char* format, ...) __attribute__((format(printf, 1, 2)));

  void shrink(int n) {
    if (used > 0) {
      used -= n;
      data[used - 1] = 0;
    }
  }
  void truncate(int n) {
    if (used > 0) {
      used = n + 1;
      data[n] = 0;
    }
  }

  static CString createWithCString(const char* s, ConstructionFlags f) {
    CString t(static_cast<int>(std::strlen(s)) + 1, s, f);
    return CString(t);
  }
  static CString createFromPointer(char* s, ConstructionFlags f) { return createWithCString(s, f); }
  static CString createWithLength(int length, char* p, ConstructionFlags f) {
    CString t(length, p, f);
    return CString(t);
  }
  static CString createWithString(const CString& s, ConstructionFlags f) {
    CString t(s, f);
    return CString(t);
  }
  static CString createWithCapacity(int n) {
    CString t(n);
    return CString(t);
  }
  // Four characters from the code's bytes, most significant first; a byte outside
  // 32..126 becomes `replacement`.
  static CString createWithFourCC(unsigned int code, char replacement) {
    char text[5];
    for (int i = 0; i < 4; ++i) {
      const unsigned char c = static_cast<unsigned char>(code >> (24 - 8 * i));
      text[i] = (c < 32 || c > 126) ? replacement : static_cast<char>(c);
    }
    text[4] = 0;
    CString r;
    r.set(5, text, kCopy);
    return r;
  }
  static CString createFromFourCharConstant(unsigned int code) { return createWithFourCC(code, '?'); }
};

}  // namespace KX
