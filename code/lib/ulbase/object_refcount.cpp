#include "ulbase/object_refcount.h"

namespace ulbase {

object_refcount::~object_refcount() = default;

void object_refcount::release() const noexcept {
  // acq_rel: every write made by other holders before their release happens-before
  // the destruction by the last one.
  if (count_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
    delete this;
  }
}

}  // namespace ulbase
