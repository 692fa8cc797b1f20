#pragma once
// Processor probe, split in two: read_* issue CPUID/XGETBV and record the raw
// registers; every other function is a pure decoding of such a record, so tests can
// feed made-up registers for processors this machine is not.

#include <cstdint>

#include "pixel_kernels/pixel_kernels.h"

namespace ns_pixel_kernels {

// Feature mask bits returned by query_cpu_features.
enum : uint64_t {
  feature_mmx = 1ull << 0,         // leaf 1 EDX 23
  feature_sse = 1ull << 1,         // leaf 1 EDX 25
  feature_sse2 = 1ull << 2,        // leaf 1 EDX 26
  feature_sse3 = 1ull << 3,        // leaf 1 ECX 0
  feature_ssse3 = 1ull << 4,       // leaf 1 ECX 9
  feature_movbe = 1ull << 5,       // leaf 1 ECX 22
  feature_sse41 = 1ull << 6,       // leaf 1 ECX 19
  feature_sse42 = 1ull << 7,       // leaf 1 ECX 20
  feature_avx = 1ull << 8,         // leaf 1 ECX 28
  feature_avx_os = 1ull << 9,      // OSXSAVE + AVX, and XCR0 saves XMM and YMM state
  feature_aes = 1ull << 10,        // leaf 1 ECX 25
  feature_pclmulqdq = 1ull << 11,  // leaf 1 ECX 1
  feature_fam_b_ext = 1ull << 12,  // family 0xB only: leaf 0x20000001 EDX 1
  feature_rdrand = 1ull << 13,     // leaf 1 ECX 30
  feature_f16c = 1ull << 14,       // leaf 1 ECX 29
  feature_avx2_group = 1ull << 15, // FMA (leaf 1 ECX 12) + leaf 7 EBX AVX2 5, BMI1 3, BMI2 8
  feature_adx = 1ull << 16,        // leaf 7 EBX 19
  feature_rdseed = 1ull << 17,     // leaf 7 EBX 18
  feature_prefetchw = 1ull << 18,  // leaf 0x80000001 ECX 8
  feature_fam_b = 1ull << 31,      // leaf 1 EAX bits 4-11 == 0xB1
};

struct cpuid_regs {
  uint32_t eax = 0, ebx = 0, ecx = 0, edx = 0;
};

// The registers the feature decoding looks at. Leaves that the processor does not
// report are left zero by the reader, and ignored by the decoder whatever they hold.
struct cpu_snapshot {
  cpuid_regs leaf0;          // EAX highest basic leaf; EBX, EDX, ECX vendor
  cpuid_regs leaf1;          // signature and feature flags
  cpuid_regs leaf7;          // sub-leaf 0
  cpuid_regs ext0;           // 0x80000000: EAX highest extended leaf
  cpuid_regs ext1;           // 0x80000001
  cpuid_regs leaf_20000001;  // family 0xB coprocessor
  uint64_t xcr0 = 0;         // XGETBV(0)
};

// The registers the cache-size decoding looks at.
struct cache_snapshot {
  static constexpr int max_leaf4 = 32;
  cpuid_regs leaf0;
  cpuid_regs leaf2;
  cpuid_regs leaf4[max_leaf4];  // sub-leaves 0..31; the walk stops at cache type 0
};

cpu_snapshot read_cpu_snapshot();
cache_snapshot read_cache_snapshot();

uint64_t decode_features(const cpu_snapshot& regs);
// The variant index for a feature mask (first match of the ladder wins).
int32_t choose_variant(uint64_t features);
// Whether a processor with these features may run implementation `index`.
bool variant_supported(uint64_t features, int32_t index);
// Leaf-0 vendor identification is "GenuineIntel".
bool is_genuine_intel(const cpuid_regs& leaf0);

// What init_dispatch stores and returns: the index from the features alone, and
// status_unexpected_vendor (a warning) for any vendor but "GenuineIntel".
struct dispatch_choice {
  int32_t index;
  pixel_status status;
};
dispatch_choice choose_dispatch(uint64_t features, const cpuid_regs& leaf0);
// status_ok with *bytes set, or status 36/37 with *bytes = 0.
pixel_status decode_largest_cache(const cache_snapshot& regs, int32_t* bytes);
// The size of the largest cache named by the leaf-2 descriptor bytes, 0 for none.
int32_t leaf2_cache_size(const cpuid_regs& leaf2);

}  // namespace ns_pixel_kernels
