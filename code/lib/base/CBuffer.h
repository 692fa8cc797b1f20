#pragma once
// KX::CBuffer: a growable byte buffer. `used` of `capacity` bytes are in use; storage
// comes from malloc whether copied or taken over. One thread at a time.

#include "base/KXExport.h"
#include <cstdint>

namespace KX {

// How a buffer holds the bytes it is given. Other values are refused by init/set.
enum ConstructionFlags : int32_t {
  kCopy = 1,      // allocate storage of its own and copy the bytes into it
  kTakeOver = 3,  // take over a block from malloc and release it with free
};

// Options of the codecs (the int argument).
enum CodecOptions : int {
  kHexUpperCase = 1,    // encodeHex writes A-F instead of a-f
  kBase64UrlSafe = 1,   // Base64 with '-' and '_' instead of '+' and '/'
};

class KX_EXPORT CBuffer {
public:
  CBuffer() noexcept : data(nullptr), capacity(0), used(0), mode(kCopy) {}
  // An empty buffer with `capacity` bytes of storage.
  explicit CBuffer(int capacity);
  CBuffer(const CBuffer& b, ConstructionFlags f) : CBuffer() { init(b.used, b.data, f); }
  CBuffer(int length, unsigned char* p, ConstructionFlags f) : CBuffer() { init(length, p, f); }
  CBuffer(const CBuffer& b) : CBuffer() { set(b.used, b.data, kCopy); }
  CBuffer& operator=(const CBuffer& b) {
    set(b.used, b.data, kCopy);
    return *this;
  }

  // The step from `used` to the count of meaningful bytes.
  virtual int correction() const { return 0; }
  // The codecs replace this buffer's bytes by the encoding (decoding) of the source's
  // used bytes; the source may be this buffer. They return the new `used`. Decoding
  // throws KX::CException on a character or length that is not valid.
  virtual int encodeHex(const CBuffer& source, int options);
  virtual int decodeHex(const CBuffer& source, int options);
  virtual int encodeBase64(const CBuffer& source, int options);
  virtual int decodeBase64(const CBuffer& source, int options);
  virtual ~CBuffer();
  virtual void clear() { used = 0; }
  // Sets every byte of the storage to 0; `used` is unchanged.
  virtual void zero();
  // Makes `capacity` at least n (growing by half at least, so repeated appends are
  // amortised), keeping the used bytes.
  virtual void resize(int n);

  int getLength() const { return capacity; }
  int getUsed() const { return used; }
  int getUnused() const { return capacity - used; }
  bool empty() const { return used == 0; }
  unsigned char* getBuffer() { return data; }
  const unsigned char* getBuffer() const { return data; }
  unsigned char& operator[](int i) { return data[i]; }
  const unsigned char& operator[](int i) const { return data[i]; }

  void ensure(int n) {
    if (capacity - used < n) resize(used + n);
  }
  void expand(int n) {
    ensure(n);
    used += n;
  }
  void shrink(int n) {
    if (used > 0) used -= n;
  }
  void truncate(int n) {
    if (used > 0) used = n;
  }

  // Holds `length` bytes from p as f says (kCopy with a null p: zero-filled bytes).
  // For use on a buffer without storage; set() replaces existing storage.
  void init(int length, const unsigned char* p, ConstructionFlags f);
  // Replaces the bytes; p may point into this buffer.
  void set(int length, const unsigned char* p, ConstructionFlags f);
  void set(const CBuffer& b, ConstructionFlags f) { set(b.used, b.data, f); }
  // Adds n bytes after the used ones; p may point into this buffer.
  void append(int n, const unsigned char* p);
  CBuffer& append(const CBuffer& b) {
    append(b.used, b.data);
    return *this;
  }
  CBuffer& operator+=(const CBuffer& b) { return append(b); }
  CBuffer operator+(const CBuffer& b) const {
    CBuffer r(*this);
    r.append(b);
    return r;
  }
  // Releases the storage; the buffer is then empty, without storage, mode kCopy.
  void free();

  // Byte-wise comparison of the used bytes; a proper prefix orders first.
  int compare(const CBuffer& b) const;
  bool operator==(const CBuffer& b) const;
  bool operator!=(const CBuffer& b) const { return !(*this == b); }
  bool operator<(const CBuffer& b) const { return compare(b) < 0; }
  bool operator>(const CBuffer& b) const { return compare(b) > 0; }
  bool operator<=(const CBuffer& b) const { return compare(b) <= 0; }
  bool operator>=(const CBuffer& b) const { return compare(b) >= 0; }

  // Each factory builds a temporary from its arguments and returns a kCopy copy of
  // its used bytes (the temporary's spare capacity is not carried over).
  static CBuffer createWithCapacity(int n) {
    CBuffer t(n);
    return CBuffer(t);
  }
  static CBuffer createWithLength(int length, unsigned char* p, ConstructionFlags f) {
    CBuffer t(length, p, f);
    return CBuffer(t);
  }
  static CBuffer createWithBuffer(const CBuffer& b, ConstructionFlags f) {
    CBuffer t(b, f);
    return CBuffer(t);
  }

protected:
  // Replaces the storage by a malloc block of which `length` bytes are used.
  void adopt(unsigned char* block, int length, int blockCapacity) noexcept;

  unsigned char* data;
  int32_t capacity;
  int32_t used;
  ConstructionFlags mode;
};

}  // namespace KX
