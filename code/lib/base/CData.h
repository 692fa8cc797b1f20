#pragma once
// KX::CData: a CBuffer with a cursor, the read/write position of a serial stream.
// put/get copy at the cursor and move it; `<<` and `>>` write and read one buffer in
// a self-delimiting form (a big-endian 32-bit byte count, then the bytes). One thread
// at a time.

#include "base/CBuffer.h"
#include "base/CString.h"
#include "base/KXExport.h"

#include <cstdint>

namespace KX {

class KX_EXPORT CData : public CBuffer {
public:
  // Every constructor puts the cursor at the start of the data.
  CData() noexcept = default;
  explicit CData(int capacity) : CBuffer(capacity) {}
  CData(const CBuffer& b, ConstructionFlags f) : CBuffer(b, f) {}
  CData(int length, unsigned char* p, ConstructionFlags f) : CBuffer(length, p, f) {}
  // A copy of the bytes with its cursor at the start.
  CData(const CData& d) : CBuffer(d) {}
  CData& operator=(const CData& d) {
    CBuffer::operator=(d);
    reset();
    return *this;
  }
  ~CData() override;

  void clear() override {
    reset();
    used = 0;
  }
  void zero() override {
    reset();
    CBuffer::zero();
  }
  virtual void reset() { cursor = 0; }

  // The cursor before the move. Neither advance nor the accessors check bounds; put
  // and get do.
  unsigned char* advance(int n) {
    unsigned char* p = getPointer();
    cursor += n;
    return p;
  }
  unsigned char* getPointer() { return data + cursor; }
  const unsigned char* getPointer() const { return data + cursor; }
  int getRemaining() const { return used - cursor; }
  bool isAtEnd() const { return cursor >= used; }

  // As the buffer's; a cursor left beyond the end moves back to it.
  void shrink(int n) {
    CBuffer::shrink(n);
    if (cursor > used) cursor = used;
  }
  void truncate(int n) {
    CBuffer::truncate(n);
    if (cursor > n) cursor = n;
  }

  // Writes n bytes at the cursor and advances it; `used` is unchanged. Throws
  // KX::CException, writing nothing, when they would pass the storage.
  void put(const unsigned char* p, int n);
  // Reads n bytes at the cursor and advances it. Throws KX::CException, reading
  // nothing, when fewer than n bytes remain before `used`.
  void get(unsigned char* p, int n);
  // Counts b's used bytes as used (growing as needed) and writes them at the cursor,
  // which must lie inside the data (else KX::CException). b may be this object.
  void put(const CBuffer* b);
  // Adds n bytes to b's used ones and fills b's first n bytes from the cursor (pass an
  // empty b). When fewer than n bytes remain, throws and leaves b as it was.
  void get(CBuffer* b, int n);

  // Four bytes, most significant first, as put(const CBuffer*) writes a buffer.
  void putUInt32(uint32_t v);
  // Four bytes at the cursor as a big-endian value; a KX::CException, the cursor
  // unmoved, when fewer remain.
  uint32_t getUInt32();

  // As the buffer's factories: a copy of the temporary's used bytes, cursor at start.
  static CData createWithCapacity(int n) {
    CData t(n);
    return CData(t);
  }
  static CData createWithLength(int length, unsigned char* p, ConstructionFlags f) {
    CData t(length, p, f);
    return CData(t);
  }
  static CData createWithData(const CBuffer& b, ConstructionFlags f) {
    CData t(b, f);
    return CData(t);
  }

protected:
  // An offset from `data` rather than a pointer, so that storage that moves or is
  // replaced (resize, set, free) never leaves it dangling.
  int32_t cursor = 0;

private:
  // The expand() of put: `used` grows by n, within the 2 GiB limit, for a write at a
  // cursor inside the data.
  void grow(int n);
  // Throws unless n bytes lie between the cursor and `used`.
  void requireReadable(int n) const;
};

// Writes b's used bytes in the self-delimiting form; returns d.
KX_EXPORT CData& operator<<(CData& d, const CBuffer& b);
// Reads one buffer written by `<<` into b, replacing its bytes. A stream that ends
// before the buffer does, or whose byte count is impossible, throws KX::CException:
// b is then empty and d's cursor unmoved. A CData target has its cursor at the start.
KX_EXPORT CData& operator>>(CData& d, CBuffer& b);
// As for a buffer, then terminated, so that bytes not written from a string still
// make one.
KX_EXPORT CData& operator>>(CData& d, CString& s);

}  // namespace KX
