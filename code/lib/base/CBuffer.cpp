#include "base/CBuffer.h"

#include "base/CException.h"
#include "base/RBuffer.h"
#include "base/malloc_block.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>

namespace KX {

namespace {

void checkLength(int length, const char* where) {
  if (length < 0) CException::raise(__LINE__, __FILE__, where, "negative byte count %d", length);
}

void checkFlags(ConstructionFlags f, const char* where) {
  if (f != kCopy && f != kTakeOver) {
    CException::raise(__LINE__, __FILE__, where,
                      "ConstructionFlags %d not supported (1 copies, 3 takes over a malloc block)",
                      static_cast<int>(f));
  }
}

}  // namespace

CBuffer::CBuffer(int n) : CBuffer() {
  checkLength(n, "KX::CBuffer::CBuffer");
  if (n > 0) adopt(detail::mallocBlock(n), 0, n);
}

CBuffer::~CBuffer() { free(); }

void CBuffer::adopt(unsigned char* block, int length, int blockCapacity) noexcept {
  if (block != data) ::free(data);
  data = block;
  capacity = blockCapacity;
  used = length;
}

void CBuffer::init(int length, const unsigned char* p, ConstructionFlags f) {
  checkLength(length, "KX::CBuffer::init");
  checkFlags(f, "KX::CBuffer::init");
  if (f == kTakeOver) {
    if (p == nullptr && length > 0) {
      CException::raise(__LINE__, __FILE__, "KX::CBuffer::init",
                        "cannot take over a null block of %d bytes", length);
    }
    adopt(const_cast<unsigned char*>(p), length, length);
  } else {
    unsigned char* block = nullptr;
    if (length > 0) {
      block = detail::mallocBlock(length);
      if (p != nullptr) {
        std::memcpy(block, p, static_cast<size_t>(length));
      } else {
        std::memset(block, 0, static_cast<size_t>(length));
      }
    }
    adopt(block, length, length);
  }
  mode = f;
}

void CBuffer::set(int length, const unsigned char* p, ConstructionFlags f) {
  // A copy that fits reuses the storage: assignment in a loop does not reallocate.
  if (f == kCopy && data != nullptr && length >= 0 && length <= capacity) {
    if (p != nullptr) {
      std::memmove(data, p, static_cast<size_t>(length));
    } else {
      std::memset(data, 0, static_cast<size_t>(length));
    }
    used = length;
    return;
  }
  init(length, p, f);
}

void CBuffer::resize(int n) {
  checkLength(n, "KX::CBuffer::resize");
  if (n <= capacity) return;
  const int64_t grown = std::max<int64_t>(n, int64_t{capacity} + capacity / 2);
  const int newCapacity = static_cast<int>(std::min<int64_t>(grown, INT32_MAX));
  void* block = std::realloc(data, static_cast<size_t>(newCapacity));
  if (block == nullptr) throw std::bad_alloc();
  data = static_cast<unsigned char*>(block);
  capacity = newCapacity;
}

void CBuffer::append(int n, const unsigned char* p) {
  checkLength(n, "KX::CBuffer::append");
  if (n == 0) return;
  if (n > INT32_MAX - used) {
    CException::raise(__LINE__, __FILE__, "KX::CBuffer::append",
                      "appending %d bytes to %d would exceed the 2 GiB limit", n, used);
  }
  // Growing may move the storage that p points into.
  const bool inside = data != nullptr && p >= data && p < data + capacity;
  const ptrdiff_t offset = inside ? p - data : 0;
  ensure(n);
  if (inside) p = data + offset;
  std::memmove(data + used, p, static_cast<size_t>(n));
  used += n;
}

void CBuffer::free() {
  ::free(data);
  data = nullptr;
  capacity = 0;
  used = 0;
  mode = kCopy;
}

void CBuffer::zero() {
  if (data != nullptr) std::memset(data, 0, static_cast<size_t>(capacity));
}

int CBuffer::compare(const CBuffer& b) const {
  const int common = std::min(used, b.used);
  if (common > 0) {
    const int r = std::memcmp(data, b.data, static_cast<size_t>(common));
    if (r != 0) return r < 0 ? -1 : 1;
  }
  return used < b.used ? -1 : (used > b.used ? 1 : 0);
}

bool CBuffer::operator==(const CBuffer& b) const {
  return used == b.used && (used == 0 || std::memcmp(data, b.data, static_cast<size_t>(used)) == 0);
}

RBuffer::~RBuffer() = default;

}  // namespace KX
