#include "pixel_kernels/dispatch/cpu_features.h"

namespace ns_pixel_kernels {

pixel_status largest_cache_size(int32_t* bytes) {
  if (bytes == nullptr) return status_null_pointer;
  struct result {
    pixel_status status;
    int32_t bytes;
  };
  // Probed once; a thread-safe static only makes a concurrent first caller wait for
  // the same answer.
  static const result cached = [] {
    result r{};
    r.status = decode_largest_cache(read_cache_snapshot(), &r.bytes);
    return r;
  }();
  *bytes = cached.bytes;
  return cached.status;
}

}  // namespace ns_pixel_kernels
