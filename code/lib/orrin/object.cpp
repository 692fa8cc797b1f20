#include "orrin/object.h"

#include <new>

namespace Quorvane::Orrin {

CObject::~CObject() = default;

void* CObject::operator new(std::size_t bytes) { return ::operator new(bytes); }

void CObject::operator delete(void* block) noexcept { ::operator delete(block); }

void CObject::Release() const noexcept {
  // acq_rel: every holder's writes happen-before the destruction by the last one.
  if (count_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
    delete this;
  }
}

}  // namespace Quorvane::Orrin
