#include "base/CData.h"

#include "base/CException.h"
#include "base/RData.h"

#include <climits>
#include <cstring>

namespace KX {

CData::~CData() = default;
RData::~RData() = default;

void CData::grow(int n) {
  // A cursor inside the data also guarantees that the write after the growth fits.
  if (cursor < 0 || cursor > used) {
    CException::raise(__LINE__, __FILE__, "KX::CData::put", "the cursor (offset %d) lies outside the %d bytes",
                      cursor, used);
  }
  if (n < 0 || n > INT32_MAX - used) {
    CException::raise(__LINE__, __FILE__, "KX::CData::put",
                      "adding %d bytes to %d would leave the 0 to 2 GiB range", n, used);
  }
  expand(n);
}

void CData::put(const unsigned char* p, int n) {
  if (n < 0 || cursor < 0 || cursor > capacity || n > capacity - cursor) {
    CException::raise(__LINE__, __FILE__, "KX::CData::put",
                      "cannot write %d bytes at offset %d of %d bytes of storage", n, cursor, capacity);
  }
  // p may point into this object's own storage.
  if (n > 0) std::memmove(data + cursor, p, static_cast<size_t>(n));
  cursor += n;
}

void CData::requireReadable(int n) const {
  if (n < 0 || cursor < 0 || cursor > used || n > used - cursor) {
    CException::raise(__LINE__, __FILE__, "KX::CData::get",
                      "cannot read %d bytes at offset %d of %d bytes", n, cursor, used);
  }
}

void CData::get(unsigned char* p, int n) {
  requireReadable(n);
  if (n > 0) std::memmove(p, data + cursor, static_cast<size_t>(n));
  cursor += n;
}

void CData::put(const CBuffer* b) {
  const int n = b->getUsed();
  grow(n);
  // Read after growing: when b is this object, its storage may have moved.
  put(b->getBuffer(), n);
}

void CData::get(CBuffer* b, int n) {
  requireReadable(n);
  if (n > INT32_MAX - b->getUsed()) {
    CException::raise(__LINE__, __FILE__, "KX::CData::get",
                      "adding %d bytes to a buffer of %d would exceed the 2 GiB limit", n, b->getUsed());
  }
  b->expand(n);
  get(b->getBuffer(), n);
}

void CData::putUInt32(uint32_t v) {
  const unsigned char bytes[4] = {static_cast<unsigned char>(v >> 24), static_cast<unsigned char>(v >> 16),
                                  static_cast<unsigned char>(v >> 8), static_cast<unsigned char>(v)};
  grow(4);
  put(bytes, 4);
}

uint32_t CData::getUInt32() {
  unsigned char bytes[4];
  get(bytes, 4);
  return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | uint32_t{bytes[3]};
}

CData& operator<<(CData& d, const CBuffer& b) {
  if (&b == &d) {
    // The count written first would also change the bytes to follow.
    const CBuffer copy(b);
    return d << copy;
  }
  d.putUInt32(static_cast<uint32_t>(b.getUsed()));
  d.put(&b);
  return d;
}

CData& operator>>(CData& d, CBuffer& b) {
  b.clear();
  const int remaining = d.getRemaining();
  // Throws, the cursor unmoved, when the stream ends inside the length.
  const uint32_t length = d.getUInt32();
  if (length > static_cast<uint32_t>(remaining - 4)) {
    d.advance(-4);
    CException::raise(__LINE__, __FILE__, "KX::operator>>(CData&, CBuffer&)",
                      "a buffer of %u bytes does not fit in the %d bytes left in the stream", length,
                      remaining - 4);
  }
  d.get(&b, static_cast<int>(length));
  return d;
}

CData& operator>>(CData& d, CString& s) {
  d >> static_cast<CBuffer&>(s);
  s.null(s.getUsed());
  return d;
}

}  // namespace KX
