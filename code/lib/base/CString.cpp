#include "base/CString.h"

#include "base/CException.h"
#include "base/RString.h"
#include "base/malloc_block.h"

#include <cstdio>

namespace KX {

namespace {

int characterCount(const CString& s) { return s.size() > 0 ? s.size() - 1 : 0; }

CString mapCase(const CString& s, char from, char to, int shift) {
  CString r(s);
  for (int i = 0; i < characterCount(r); ++i) {
    const char c = static_cast<char>(r[i]);
    if (c >= from && c <= to) r[i] = static_cast<unsigned char>(c + shift);
  }
  return r;
}

}  // namespace

CString::~CString() = default;
RString::~RString() = default;

void CString::init(const char* format, va_list args) {
  va_list measure;
  va_copy(measure, args);
  const int length = std::vsnprintf(nullptr, 0, format, measure);
  va_end(measure);
  if (length < 0) {
    CException::raise(__LINE__, __FILE__, "KX::CString::init", "cannot format \"%s\"", format);
  }
  if (length == INT32_MAX) {
    CException::raise(__LINE__, __FILE__, "KX::CString::init", "formatted text exceeds the 2 GiB limit");
  }
  unsigned char* block = detail::mallocBlock(int64_t{length} + 1);
  std::vsnprintf(reinterpret_cast<char*>(block), static_cast<size_t>(length) + 1, format, args);
  // Empty text is the empty string (used 0), with its NUL in storage.
  adopt(block, length > 0 ? length + 1 : 0, length + 1);
  mode = kCopy;
}

CString CString::createWithFormat(const char* format, ...) {
  CString r;
  va_list args;
  va_start(args, format);
  try {
    r.init(format, args);
  } catch (...) {
    va_end(args);
    throw;
  }
  va_end(args);
  return r;
}

int CString::reverseFind(char c, int start) const {
  const int count = characterCount(*this);
  for (int i = (start < 0 || start >= count) ? count - 1 : start; i >= 0; --i) {
    if (static_cast<char>(data[i]) == c) return i;
  }
  return -1;
}

CString CString::getSubString(int start, int length) const {
  const int count = characterCount(*this);
  if (start < 0 || start > count || length < -1 || (length >= 0 && length > count - start)) {
    CException::raise(__LINE__, __FILE__, "KX::CString::getSubString",
                      "characters [%d, %d%+d) lie outside \"%s\" (%d characters)", start, start, length,
                      desc(), count);
  }
  if (length == -1) length = count - start;
  return CString(length, reinterpret_cast<const char*>(data) + start, kCopy);
}

CString CString::getUpperCaseString() const { return mapCase(*this, 'a', 'z', 'A' - 'a'); }
CString CString::getLowerCaseString() const { return mapCase(*this, 'A', 'Z', 'a' - 'A'); }

}  // namespace KX
