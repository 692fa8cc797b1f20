#include "orrin/data_reference.h"

#include <new>

namespace Quorvane::Orrin {

namespace {
constexpr std::align_val_t kBlockAlignment{64};
}

CByteArray::CByteArray(void* data, std::size_t length) noexcept
    : data_(static_cast<uint8_t*>(data)), length_(data != nullptr ? length : 0), owned_(false) {}

CByteArray::CByteArray(std::size_t length)
    : data_(static_cast<uint8_t*>(::operator new(length, kBlockAlignment))),
      length_(length),
      owned_(true) {}

CByteArray::~CByteArray() {
  if (owned_) ::operator delete(data_, kBlockAlignment);
}

CLockedDataReference::CLockedDataReference(RObject<CByteArray> bytes) noexcept
    : bytes_(std::move(bytes)) {}

CDataReference::CDataReference(CByteArray* bytes) noexcept : bytes_(bytes) {}

CDataReference::~CDataReference() = default;

CLockedDataReference CDataReference::GetLockedDataReference(int mode) const noexcept {
  if ((mode & kLockReadWrite) == 0 || (mode & ~kLockReadWrite) != 0) return {};
  return CLockedDataReference(bytes_);
}

long CDataReference::GetStride() const noexcept { return 0; }

CPixelBufferDataReference::CPixelBufferDataReference(CByteArray* bytes, long width, long height,
                                                     long stride) noexcept
    : CDataReference(bytes), width_(width), height_(height), stride_(stride) {}

long CPixelBufferDataReference::GetStride() const noexcept { return stride_; }

}  // namespace Quorvane::Orrin
