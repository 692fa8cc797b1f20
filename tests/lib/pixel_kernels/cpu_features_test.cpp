// The processor decoding on made-up registers (this machine is one processor; the
// ladder has seven rungs), then the real probe on this machine.

#include <cpuid.h>
#include <gtest/gtest.h>

#include "pixel_kernels/dispatch/cpu_features.h"
#include "pixel_kernels/dispatch/tables.h"

namespace {

using namespace ns_pixel_kernels;

constexpr uint32_t b(int n) { return 1u << n; }

// "GenuineIntel" with highest basic leaf 7, and an extended range that has 0x80000001.
cpu_snapshot intel() {
  cpu_snapshot s;
  s.leaf0 = {7, 0x756E6547u, 0x6C65746Eu, 0x49656E69u};
  s.ext0.eax = 0x80000008u;
  return s;
}

cpu_snapshot with_leaf1(uint32_t ecx, uint32_t edx = 0) {
  cpu_snapshot s = intel();
  s.leaf1.ecx = ecx;
  s.leaf1.edx = edx;
  return s;
}

// AVX and OSXSAVE reported, XCR0 saving XMM and YMM state.
cpu_snapshot avx_enabled(uint32_t more_ecx = 0) {
  cpu_snapshot s = with_leaf1(b(28) | b(27) | b(19) | b(9) | b(0) | more_ecx);
  s.xcr0 = 0x7;
  return s;
}

TEST(CpuFeatures, EachRegisterBitLandsOnItsMaskBit) {
  struct row {
    uint32_t cpuid_regs::*reg;
    uint32_t leaf;  // 1, 7 or 0x80000001
    int bit;
    uint64_t feature;
  };
  const row rows[] = {
      {&cpuid_regs::edx, 1, 23, feature_mmx},     {&cpuid_regs::edx, 1, 25, feature_sse},
      {&cpuid_regs::edx, 1, 26, feature_sse2},    {&cpuid_regs::ecx, 1, 0, feature_sse3},
      {&cpuid_regs::ecx, 1, 9, feature_ssse3},    {&cpuid_regs::ecx, 1, 22, feature_movbe},
      {&cpuid_regs::ecx, 1, 19, feature_sse41},   {&cpuid_regs::ecx, 1, 20, feature_sse42},
      {&cpuid_regs::ecx, 1, 28, feature_avx},     {&cpuid_regs::ecx, 1, 25, feature_aes},
      {&cpuid_regs::ecx, 1, 1, feature_pclmulqdq}, {&cpuid_regs::ecx, 1, 30, feature_rdrand},
      {&cpuid_regs::ecx, 1, 29, feature_f16c},    {&cpuid_regs::ebx, 7, 19, feature_adx},
      {&cpuid_regs::ebx, 7, 18, feature_rdseed},  {&cpuid_regs::ecx, 0x80000001, 8, feature_prefetchw},
  };
  for (const row& r : rows) {
    cpu_snapshot s = intel();
    cpuid_regs& leaf = r.leaf == 1 ? s.leaf1 : r.leaf == 7 ? s.leaf7 : s.ext1;
    leaf.*r.reg = b(r.bit);
    EXPECT_EQ(decode_features(s), r.feature) << "leaf " << std::hex << r.leaf << " bit " << std::dec << r.bit;
  }
  // Bits that the table does not list stay 0.
  cpu_snapshot all = intel();
  all.leaf1 = {0, ~0u, ~0u, ~0u};
  all.leaf7 = {~0u, ~0u, ~0u, ~0u};
  all.ext1 = {~0u, ~0u, ~0u, ~0u};
  all.xcr0 = ~0ull;
  EXPECT_EQ(decode_features(all), 0x7EFFFull);  // 0-11 and 13-18: not the family-0xB bits
}

TEST(CpuFeatures, AvxCountsOnlyWithOperatingSystemState) {
  cpu_snapshot s = avx_enabled();
  EXPECT_TRUE(decode_features(s) & feature_avx_os);
  EXPECT_EQ(choose_variant(decode_features(s)), 5);
  for (uint64_t xcr0 : {0x0ull, 0x3ull, 0x5ull}) {  // YMM or XMM state not saved
    s.xcr0 = xcr0;
    EXPECT_FALSE(decode_features(s) & feature_avx_os) << xcr0;
    EXPECT_EQ(choose_variant(decode_features(s)), 4) << "AVX unusable, SSE4.1 is next";
  }
  s = avx_enabled();
  s.leaf1.ecx &= ~b(27);  // no OSXSAVE: XCR0 cannot be trusted
  EXPECT_FALSE(decode_features(s) & feature_avx_os);
  EXPECT_EQ(choose_variant(decode_features(s)), 4);
}

TEST(CpuFeatures, Avx2GroupNeedsFmaAvx2Bmi1Bmi2AndLeaf7) {
  const uint32_t group7 = b(5) | b(3) | b(8);
  cpu_snapshot s = avx_enabled(b(12));
  s.leaf7.ebx = group7;
  EXPECT_EQ(choose_variant(decode_features(s)), 6);
  for (uint32_t missing : {b(5), b(3), b(8)}) {
    s.leaf7.ebx = group7 & ~missing;
    EXPECT_EQ(choose_variant(decode_features(s)), 5) << std::hex << missing;
  }
  s.leaf7.ebx = group7;
  s.leaf1.ecx &= ~b(12);  // no FMA
  EXPECT_EQ(choose_variant(decode_features(s)), 5);
  // Leaf 7 holds the group, ADX and RDSEED, but a highest basic leaf of 6 means it
  // was never valid to read.
  s = avx_enabled(b(12));
  s.leaf7.ebx = group7 | b(18) | b(19);
  s.leaf0.eax = 6;
  EXPECT_EQ(decode_features(s) & (feature_avx2_group | feature_adx | feature_rdseed), 0u);
  EXPECT_EQ(choose_variant(decode_features(s)), 5);
  // Likewise leaf 0x80000001 beyond the highest extended leaf.
  s.ext1.ecx = b(8);
  s.ext0.eax = 0x80000000u;
  EXPECT_FALSE(decode_features(s) & feature_prefetchw);
}

TEST(CpuFeatures, LadderBelowAvx) {
  EXPECT_EQ(choose_variant(decode_features(with_leaf1(b(9) | b(22) | b(0)))), 3) << "SSSE3 + MOVBE";
  EXPECT_EQ(choose_variant(decode_features(with_leaf1(b(9) | b(0)))), 2) << "SSSE3";
  EXPECT_EQ(choose_variant(decode_features(with_leaf1(b(22) | b(0)))), 1) << "MOVBE + SSE3, no SSSE3";
  EXPECT_EQ(choose_variant(decode_features(with_leaf1(b(22)))), 0) << "MOVBE alone";
  EXPECT_EQ(choose_variant(decode_features(with_leaf1(0, b(26) | b(25) | b(23)))), 0) << "baseline";
  EXPECT_EQ(choose_variant(decode_features(with_leaf1(b(19) | b(22) | b(9)))), 4) << "SSE4.1 beats MOVBE";
  // An implementation may only run where its index's features are present.
  const uint64_t movbe_sse3 = feature_movbe | feature_sse3;
  EXPECT_TRUE(variant_supported(movbe_sse3, 1));
  EXPECT_FALSE(variant_supported(movbe_sse3, 3));
  EXPECT_FALSE(variant_supported(feature_ssse3, 3));
  EXPECT_FALSE(variant_supported(feature_avx, 5)) << "no OS state";
  EXPECT_FALSE(variant_supported(~0ull, 7));
}

TEST(CpuFeatures, FamilyBBitsOnlyForFamilyB) {
  cpu_snapshot s = intel();
  s.leaf_20000001.edx = b(1);
  s.leaf1.eax = 0x00000B10;  // family 0xB, model 1
  EXPECT_EQ(decode_features(s), feature_fam_b_ext | feature_fam_b);
  s.leaf1.eax = 0x00000B20;  // family 0xB, model 2
  EXPECT_EQ(decode_features(s), feature_fam_b_ext);
  s.leaf1.eax = 0x00000610;  // family 6: leaf 0x20000001 means nothing
  EXPECT_EQ(decode_features(s), 0u);
}

TEST(CpuFeatures, VendorOnlyChangesTheStatus) {
  const uint64_t f = decode_features(avx_enabled());
  const dispatch_choice on_intel = choose_dispatch(f, intel().leaf0);
  EXPECT_EQ(on_intel.status, status_ok);
  const cpuid_regs amd = {0x10, 0x68747541u, 0x444D4163u, 0x69746E65u};  // "AuthenticAMD"
  const dispatch_choice on_amd = choose_dispatch(f, amd);
  EXPECT_EQ(on_amd.status, status_unexpected_vendor);
  EXPECT_EQ(on_amd.index, on_intel.index);
  EXPECT_EQ(on_amd.index, 5);
}

// Leaf 4 sub-leaf: type (1 data, 2 instruction, 3 unified), level, geometry.
cpuid_regs leaf4(uint32_t type, uint32_t ways, uint32_t partitions, uint32_t line, uint32_t sets) {
  return {type | (1u << 5), ((ways - 1) << 22) | ((partitions - 1) << 12) | (line - 1), sets - 1, 0};
}

cache_snapshot intel_cache(uint32_t max_leaf) {
  cache_snapshot s;
  s.leaf0 = {max_leaf, 0x756E6547u, 0x6C65746Eu, 0x49656E69u};
  return s;
}

TEST(CacheSize, Leaf4WalkKeepsTheLargestDataOrUnifiedCache) {
  cache_snapshot s = intel_cache(0xB);
  s.leaf4[0] = leaf4(1, 8, 1, 64, 64);        // 32 KiB L1d
  s.leaf4[1] = leaf4(2, 64, 2, 64, 4096);     // 32 MiB "instruction": skipped
  s.leaf4[2] = leaf4(3, 16, 1, 64, 1024);     // 1 MiB L2
  s.leaf4[3] = leaf4(3, 12, 2, 64, 6144);     // 9 MiB L3, two partitions
  s.leaf4[5] = leaf4(3, 16, 1, 64, 65536);    // after the type-0 end: never read
  int32_t bytes = -1;
  EXPECT_EQ(decode_largest_cache(s, &bytes), status_ok);
  EXPECT_EQ(bytes, 12 * 2 * 64 * 6144);

  cache_snapshot only_code = intel_cache(4);
  only_code.leaf4[0] = leaf4(2, 8, 1, 64, 64);
  EXPECT_EQ(decode_largest_cache(only_code, &bytes), status_cache_size_unknown);
  EXPECT_EQ(bytes, 0);

  cache_snapshot huge = intel_cache(4);
  huge.leaf4[0] = {3, ~0u, ~0u, 0};
  EXPECT_EQ(decode_largest_cache(huge, &bytes), status_ok);
  EXPECT_EQ(bytes, INT32_MAX) << "saturates instead of wrapping";
}

TEST(CacheSize, Leaf2DescriptorsPickTheLargestListedSize) {
  cache_snapshot s = intel_cache(2);
  s.leaf4[0] = leaf4(3, 16, 1, 64, 65536);  // below leaf 4: ignored
  // Count byte 1; 0x41 (128 KiB) in EAX, 0x2C (an L1 code: not listed) and 0x7D
  // (2 MiB) in EBX, 0xEC (24 MiB) in a register whose bit 31 marks it invalid.
  s.leaf2 = {0x00004101u, 0x00007D2Cu, 0x800000ECu, 0x00000049u};  // 0x49: 4 MiB
  int32_t bytes = 0;
  EXPECT_EQ(decode_largest_cache(s, &bytes), status_ok);
  EXPECT_EQ(bytes, 4194304);
  s.leaf2.ecx = 0x000000ECu;
  EXPECT_EQ(decode_largest_cache(s, &bytes), status_ok);
  EXPECT_EQ(bytes, 25165824);
  EXPECT_EQ(leaf2_cache_size({0x00790001u, 0x39, 0x3B, 0x41}), 131072);  // the 128 KiB rows

  s.leaf2 = {0x00004102u, 0x7D, 0, 0};  // leaf 2 must be read twice: not decoded
  EXPECT_EQ(decode_largest_cache(s, &bytes), status_cache_size_unknown);
  s.leaf2 = {0x00000001u, 0x2C30, 0, 0};  // only L1 descriptors
  EXPECT_EQ(decode_largest_cache(s, &bytes), status_cache_size_unknown);
  EXPECT_EQ(bytes, 0);
}

TEST(CacheSize, UnsupportedForOtherVendorsAndOldProcessors) {
  cache_snapshot s = intel_cache(1);
  int32_t bytes = -1;
  EXPECT_EQ(decode_largest_cache(s, &bytes), status_cache_query_unsupported);
  EXPECT_EQ(bytes, 0);
  s = intel_cache(0x10);
  s.leaf0.ebx = 0x68747541u;  // "Auth..."
  s.leaf4[0] = leaf4(3, 16, 1, 64, 1024);
  EXPECT_EQ(decode_largest_cache(s, &bytes), status_cache_query_unsupported);
}

// The real probe: cached, consistent with the pure decoding, and with the index and
// status that init_dispatch reports.
TEST(ProcessorProbe, ThisMachine) {
  EXPECT_EQ(query_cpu_features(nullptr, nullptr), status_null_pointer);
  uint64_t f = 0;
  uint32_t id[4] = {};
  ASSERT_EQ(query_cpu_features(&f, id), status_ok);
  const cpu_snapshot regs = read_cpu_snapshot();
  EXPECT_EQ(f, decode_features(regs));
  uint32_t a, bx, c, d;
  __cpuid(1, a, bx, c, d);
  EXPECT_EQ(id[0], a);
  EXPECT_EQ(id[2], c);
  EXPECT_EQ(id[3], d);
  EXPECT_TRUE(f & feature_sse2) << "x86-64 baseline";

  const pixel_status status = init_dispatch();
  EXPECT_EQ(status, is_genuine_intel(regs.leaf0) ? status_ok : status_unexpected_vendor);
  EXPECT_EQ(variant_index.load(), choose_variant(f));
  EXPECT_EQ(init_dispatch(), status) << "a second call changes nothing";

  EXPECT_EQ(largest_cache_size(nullptr), status_null_pointer);
  int32_t first = -1, second = -1;
  const pixel_status cache_status = largest_cache_size(&first);
  EXPECT_EQ(largest_cache_size(&second), cache_status);
  EXPECT_EQ(first, second);
  int32_t expected = -1;
  EXPECT_EQ(cache_status, decode_largest_cache(read_cache_snapshot(), &expected));
  EXPECT_EQ(first, expected);
  if (!is_genuine_intel(regs.leaf0)) {
    EXPECT_EQ(cache_status, status_cache_query_unsupported);
    EXPECT_EQ(first, 0);
  }
}

}  // namespace
