// variant_index, the dispatch tables and the forwarding entry points. Each table
// lists its seven implementations in index order; slot 3 (SSSE3 + MOVBE) reuses
// slot 2 everywhere, and slot 4 (SSE4.1) reuses slot 1 for add and multiply.

#include "pixel_kernels/dispatch/cpu_features.h"
#include "pixel_kernels/dispatch/tables.h"

namespace ns_pixel_kernels {

// Slot 0 is the generic code, so a call made before init_dispatch is already right.
constinit std::atomic<int32_t> variant_index{0};

namespace {

struct probed_processor {
  uint64_t features;
  cpu_snapshot regs;
};

const probed_processor& processor() {
  static const probed_processor p = [] {
    probed_processor r{0, read_cpu_snapshot()};
    r.features = decode_features(r.regs);
    return r;
  }();
  return p;
}

}  // namespace

pixel_status query_cpu_features(uint64_t* features, uint32_t id_registers[4]) {
  if (features == nullptr) return status_null_pointer;
  const probed_processor& p = processor();
  *features = p.features;
  if (id_registers != nullptr) {
    id_registers[0] = p.regs.leaf1.eax;
    id_registers[1] = p.regs.leaf1.ebx;
    id_registers[2] = p.regs.leaf1.ecx;
    id_registers[3] = p.regs.leaf1.edx;
  }
  return status_ok;
}

dispatch_choice choose_dispatch(uint64_t features, const cpuid_regs& leaf0) {
  return {choose_variant(features), is_genuine_intel(leaf0) ? status_ok : status_unexpected_vendor};
}

pixel_status init_dispatch() {
  uint64_t features = 0;
  query_cpu_features(&features, nullptr);
  const dispatch_choice choice = choose_dispatch(features, processor().regs.leaf0);
  // Every caller stores the same value; entry points never wait on it.
  variant_index.store(choice.index, std::memory_order_relaxed);
  return choice.status;
}

// clang-format off
const dispatch_table<convert_u8_to_f32_fn> convert_u8_to_f32_table = {
    generic::convert_u8_to_f32,
    sse3::convert_u8_to_f32,
    ssse3::convert_u8_to_f32,
    ssse3::convert_u8_to_f32,
    sse41::convert_u8_to_f32,
    avx::convert_u8_to_f32,
    avx2::convert_u8_to_f32,
};
const dispatch_table<convert_u16_to_f32_fn> convert_u16_to_f32_table = {
    generic::convert_u16_to_f32,
    sse3::convert_u16_to_f32,
    ssse3::convert_u16_to_f32,
    ssse3::convert_u16_to_f32,
    sse41::convert_u16_to_f32,
    avx::convert_u16_to_f32,
    avx2::convert_u16_to_f32,
};
const dispatch_table<convert_f32_to_u8_fn> convert_f32_to_u8_table = {
    generic::convert_f32_to_u8,
    sse3::convert_f32_to_u8,
    ssse3::convert_f32_to_u8,
    ssse3::convert_f32_to_u8,
    sse41::convert_f32_to_u8,
    avx::convert_f32_to_u8,
    avx2::convert_f32_to_u8,
};
const dispatch_table<multiply_by_constant_f32_fn> multiply_by_constant_f32_table = {
    generic::multiply_by_constant_f32,
    sse3::multiply_by_constant_f32,
    ssse3::multiply_by_constant_f32,
    ssse3::multiply_by_constant_f32,
    sse41::multiply_by_constant_f32,
    avx::multiply_by_constant_f32,
    avx2::multiply_by_constant_f32,
};
const dispatch_table<add_f32_fn> add_f32_table = {
    generic::add_f32,
    sse3::add_f32,
    ssse3::add_f32,
    ssse3::add_f32,
    sse3::add_f32,
    avx::add_f32,
    avx2::add_f32,
};
const dispatch_table<multiply_f32_fn> multiply_f32_table = {
    generic::multiply_f32,
    sse3::multiply_f32,
    ssse3::multiply_f32,
    ssse3::multiply_f32,
    sse3::multiply_f32,
    avx::multiply_f32,
    avx2::multiply_f32,
};
const dispatch_table<weighted_rows_f32_to_u8_fn> weighted_rows_f32_to_u8_table = {
    generic::weighted_rows_f32_to_u8,
    sse3::weighted_rows_f32_to_u8,
    ssse3::weighted_rows_f32_to_u8,
    ssse3::weighted_rows_f32_to_u8,
    sse41::weighted_rows_f32_to_u8,
    avx::weighted_rows_f32_to_u8,
    avx2::weighted_rows_f32_to_u8,
};
const dispatch_table<weighted_rows_f32_to_u16_fn> weighted_rows_f32_to_u16_table = {
    generic::weighted_rows_f32_to_u16,
    sse3::weighted_rows_f32_to_u16,
    ssse3::weighted_rows_f32_to_u16,
    ssse3::weighted_rows_f32_to_u16,
    sse41::weighted_rows_f32_to_u16,
    avx::weighted_rows_f32_to_u16,
    avx2::weighted_rows_f32_to_u16,
};
const dispatch_table<gauss_filter_u8_fn> gauss_filter_u8_table = {
    generic::gauss_filter_u8,
    sse3::gauss_filter_u8,
    ssse3::gauss_filter_u8,
    ssse3::gauss_filter_u8,
    sse41::gauss_filter_u8,
    avx::gauss_filter_u8,
    avx2::gauss_filter_u8,
};
const dispatch_table<gauss_filter_u16_fn> gauss_filter_u16_table = {
    generic::gauss_filter_u16,
    sse3::gauss_filter_u16,
    ssse3::gauss_filter_u16,
    ssse3::gauss_filter_u16,
    sse41::gauss_filter_u16,
    avx::gauss_filter_u16,
    avx2::gauss_filter_u16,
};
// clang-format on

// Forwarding entry points: load the index, index the table, call.
pixel_status convert_u8_to_f32(const uint8_t* src, float* dst, int32_t len) {
  return convert_u8_to_f32_table[variant_index.load(std::memory_order_relaxed)](src, dst, len);
}
pixel_status convert_u16_to_f32(const uint16_t* src, float* dst, int32_t len) {
  return convert_u16_to_f32_table[variant_index.load(std::memory_order_relaxed)](src, dst, len);
}
pixel_status convert_f32_to_u8(const float* src, uint8_t* dst, int32_t len, int32_t round_mode,
                               int32_t scale_factor) {
  return convert_f32_to_u8_table[variant_index.load(std::memory_order_relaxed)](
      src, dst, len, round_mode, scale_factor);
}
pixel_status multiply_by_constant_f32(const float* src, float value, float* dst, int32_t len) {
  return multiply_by_constant_f32_table[variant_index.load(std::memory_order_relaxed)](
      src, value, dst, len);
}
pixel_status add_f32(const float* src1, const float* src2, float* dst, int32_t len) {
  return add_f32_table[variant_index.load(std::memory_order_relaxed)](src1, src2, dst, len);
}
pixel_status multiply_f32(const float* src1, const float* src2, float* dst, int32_t len) {
  return multiply_f32_table[variant_index.load(std::memory_order_relaxed)](src1, src2, dst, len);
}
pixel_status weighted_rows_f32_to_u8(const float* const* rows, const float* weights, int32_t taps,
                                     uint8_t* dst, int32_t len) {
  return weighted_rows_f32_to_u8_table[variant_index.load(std::memory_order_relaxed)](
      rows, weights, taps, dst, len);
}
pixel_status weighted_rows_f32_to_u16(const float* const* rows, const float* weights, int32_t taps,
                                      uint16_t* dst, int32_t len) {
  return weighted_rows_f32_to_u16_table[variant_index.load(std::memory_order_relaxed)](
      rows, weights, taps, dst, len);
}
pixel_status gauss_filter_u8(const uint8_t* src, int32_t src_step, uint8_t* dst, int32_t dst_step,
                             pixel_size roi, int32_t mask) {
  return gauss_filter_u8_table[variant_index.load(std::memory_order_relaxed)](
      src, src_step, dst, dst_step, roi, mask);
}
pixel_status gauss_filter_u16(const uint16_t* src, int32_t src_step, uint16_t* dst,
                              int32_t dst_step, pixel_size roi, int32_t mask) {
  return gauss_filter_u16_table[variant_index.load(std::memory_order_relaxed)](
      src, src_step, dst, dst_step, roi, mask);
}

}  // namespace ns_pixel_kernels
