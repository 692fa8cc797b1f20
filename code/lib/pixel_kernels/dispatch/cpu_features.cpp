#include "pixel_kernels/dispatch/cpu_features.h"
#include "pixel_kernels/dispatch/tables.h"

#include <cpuid.h>

#include <cstdint>

namespace ns_pixel_kernels {
namespace {

cpuid_regs cpuid(uint32_t leaf, uint32_t subleaf = 0) {
  cpuid_regs r;
  __cpuid_count(leaf, subleaf, r.eax, r.ebx, r.ecx, r.edx);
  return r;
}

// XGETBV through its encoding: the intrinsic would need -mxsave on this file.
uint64_t xgetbv(uint32_t index) {
  uint32_t lo, hi;
  __asm__ volatile(".byte 0x0f, 0x01, 0xd0" : "=a"(lo), "=d"(hi) : "c"(index));
  return (uint64_t{hi} << 32) | lo;
}

bool bit(uint32_t reg, int n) { return (reg >> n) & 1u; }

bool has_osxsave_and_avx(const cpuid_regs& leaf1) {
  return bit(leaf1.ecx, 27) && bit(leaf1.ecx, 28);
}
bool is_family_b(const cpuid_regs& leaf1) { return ((leaf1.eax >> 8) & 0xF) == 0xB; }

constexpr uint32_t highest_ext_needed = 0x80000001u;

}  // namespace

cpu_snapshot read_cpu_snapshot() {
  cpu_snapshot s;
  s.leaf0 = cpuid(0);
  s.ext0 = cpuid(0x80000000u);
  if (s.leaf0.eax >= 1) s.leaf1 = cpuid(1);
  if (has_osxsave_and_avx(s.leaf1)) s.xcr0 = xgetbv(0);
  if (is_family_b(s.leaf1)) s.leaf_20000001 = cpuid(0x20000001u);
  if (s.leaf0.eax >= 7) s.leaf7 = cpuid(7, 0);
  if (s.ext0.eax >= highest_ext_needed) s.ext1 = cpuid(highest_ext_needed);
  return s;
}

cache_snapshot read_cache_snapshot() {
  cache_snapshot s;
  s.leaf0 = cpuid(0);
  if (s.leaf0.eax >= 4) {
    for (int i = 0; i < cache_snapshot::max_leaf4; ++i) {
      s.leaf4[i] = cpuid(4, static_cast<uint32_t>(i));
      if ((s.leaf4[i].eax & 0x1F) == 0) break;
    }
  } else if (s.leaf0.eax >= 2) {
    s.leaf2 = cpuid(2);
  }
  return s;
}

uint64_t decode_features(const cpu_snapshot& regs) {
  const cpuid_regs& l1 = regs.leaf1;
  uint64_t f = 0;
  auto set = [&f](uint64_t feature, bool on) { f |= on ? feature : 0; };
  set(feature_mmx, bit(l1.edx, 23));
  set(feature_sse, bit(l1.edx, 25));
  set(feature_sse2, bit(l1.edx, 26));
  set(feature_sse3, bit(l1.ecx, 0));
  set(feature_ssse3, bit(l1.ecx, 9));
  set(feature_movbe, bit(l1.ecx, 22));
  set(feature_sse41, bit(l1.ecx, 19));
  set(feature_sse42, bit(l1.ecx, 20));
  set(feature_avx, bit(l1.ecx, 28));
  // The OS must save both XMM (XCR0 bit 1) and YMM (bit 2) state, or AVX code
  // would corrupt registers across context switches.
  set(feature_avx_os, has_osxsave_and_avx(l1) && (regs.xcr0 & 0x6) == 0x6);
  set(feature_aes, bit(l1.ecx, 25));
  set(feature_pclmulqdq, bit(l1.ecx, 1));
  set(feature_fam_b_ext, is_family_b(l1) && bit(regs.leaf_20000001.edx, 1));
  set(feature_rdrand, bit(l1.ecx, 30));
  set(feature_f16c, bit(l1.ecx, 29));
  set(feature_fam_b, ((l1.eax >> 4) & 0xFF) == 0xB1);
  if (regs.leaf0.eax >= 7) {
    const uint32_t b7 = regs.leaf7.ebx;
    // FMA, AVX2, BMI1, BMI2 only count together.
    set(feature_avx2_group, bit(l1.ecx, 12) && bit(b7, 5) && bit(b7, 3) && bit(b7, 8));
    set(feature_adx, bit(b7, 19));
    set(feature_rdseed, bit(b7, 18));
  }
  if (regs.ext0.eax >= highest_ext_needed) set(feature_prefetchw, bit(regs.ext1.ecx, 8));
  return f;
}

int32_t choose_variant(uint64_t f) {
  auto has = [f](uint64_t mask) { return (f & mask) == mask; };
  if (has(feature_avx | feature_avx_os)) return has(feature_avx2_group) ? 6 : 5;
  if (has(feature_sse41)) return 4;
  if (has(feature_movbe | feature_ssse3)) return 3;
  if (has(feature_ssse3)) return 2;
  if (has(feature_sse3)) return 1;
  return 0;
}

bool variant_supported(uint64_t f, int32_t index) {
  constexpr uint64_t needs[kVariantCount] = {
      0,
      feature_sse3,
      feature_ssse3,
      feature_ssse3 | feature_movbe,
      feature_sse41,
      feature_avx | feature_avx_os,
      feature_avx | feature_avx_os | feature_avx2_group,
  };
  return index >= 0 && index < kVariantCount && (f & needs[index]) == needs[index];
}

bool is_genuine_intel(const cpuid_regs& leaf0) {
  // "Genu" "ineI" "ntel" in EBX, EDX, ECX, little-endian.
  return leaf0.ebx == 0x756E6547u && leaf0.edx == 0x49656E69u && leaf0.ecx == 0x6C65746Eu;
}

pixel_status decode_largest_cache(const cache_snapshot& regs, int32_t* bytes) {
  *bytes = 0;
  if (!is_genuine_intel(regs.leaf0) || regs.leaf0.eax < 2) return status_cache_query_unsupported;
  uint64_t largest = 0;
  if (regs.leaf0.eax >= 4) {
    for (const cpuid_regs& c : regs.leaf4) {
      const uint32_t type = c.eax & 0x1F;
      if (type == 0) break;
      if (type == 2) continue;  // instruction cache
      const uint64_t ways = (c.ebx >> 22) + 1;
      const uint64_t partitions = ((c.ebx >> 12) & 0x3FF) + 1;
      const uint64_t line = (c.ebx & 0xFFF) + 1;
      const uint64_t sets = uint64_t{c.ecx} + 1;
      const uint64_t per_set = ways * partitions * line;  // <= 2^32
      // Sizes past the result type saturate (only made-up registers get there).
      const uint64_t size = sets > INT32_MAX / per_set ? uint64_t{INT32_MAX} : per_set * sets;
      if (size > largest) largest = size;
    }
  } else {
    largest = leaf2_cache_size(regs.leaf2);
  }
  if (largest == 0) return status_cache_size_unknown;
  *bytes = static_cast<int32_t>(largest);
  return status_ok;
}

}  // namespace ns_pixel_kernels
