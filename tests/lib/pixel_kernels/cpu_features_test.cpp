// The processor decoding on made-up registers (this machine is one processor; the
// ladder has seven rungs), then the real probe on this machine.

#include <cpuid.h>
#include <gtest/gtest.h>

#include <tuple>

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

// The ladder on made-up processors: first match wins, and a level counts only with
// every feature it needs, including the operating system's AVX state.
TEST(CpuFeatures, LadderPicksTheHighestUsableLevel) {
  const uint32_t group7 = b(5) | b(3) | b(8);  // AVX2, BMI1, BMI2
  auto avx2 = [&](auto change) {
    cpu_snapshot s = avx_enabled(b(12));  // FMA
    s.leaf7.ebx = group7 | b(18) | b(19);
    change(s);
    return s;
  };
  const struct {
    const char* why;
    cpu_snapshot regs;
    int32_t index;
  } rungs[] = {
      {"AVX2 group", avx2([](cpu_snapshot&) {}), 6},
      {"no FMA", avx2([&](cpu_snapshot& s) { s.leaf1.ecx &= ~b(12); }), 5},
      {"leaf 7 beyond the highest basic leaf", avx2([](cpu_snapshot& s) { s.leaf0.eax = 6; }), 5},
      {"no OSXSAVE: XCR0 untrusted", avx2([](cpu_snapshot& s) { s.leaf1.ecx &= ~b(27); }), 4},
      {"SSE4.1 beats MOVBE", with_leaf1(b(19) | b(22) | b(9)), 4},
      {"SSSE3 + MOVBE", with_leaf1(b(9) | b(22) | b(0)), 3},
      {"SSSE3", with_leaf1(b(9) | b(0)), 2},
      {"MOVBE + SSE3, no SSSE3", with_leaf1(b(22) | b(0)), 1},
      {"MOVBE alone", with_leaf1(b(22)), 0},
      {"baseline", with_leaf1(0, b(26) | b(25) | b(23)), 0},
  };
  for (const auto& r : rungs) EXPECT_EQ(choose_variant(decode_features(r.regs)), r.index) << r.why;
  for (int bit : {5, 3, 8})  // AVX2, BMI1, BMI2 each missing
    EXPECT_EQ(choose_variant(decode_features(avx2([&](cpu_snapshot& s) { s.leaf7.ebx &= ~b(bit); }))), 5) << bit;
  for (uint64_t xcr0 : {0, 3, 5})  // XMM or YMM state not saved
    EXPECT_EQ(choose_variant(decode_features(avx2([&](cpu_snapshot& s) { s.xcr0 = xcr0; }))), 4) << xcr0;
  // Leaf 7 and leaf 0x80000001 are ignored beyond the highest leaves reported.
  cpu_snapshot s = avx2([](cpu_snapshot& s) { s.leaf0.eax = 6, s.ext1.ecx = b(8), s.ext0.eax = 0x80000000u; });
  EXPECT_EQ(decode_features(s) & (feature_avx2_group | feature_adx | feature_rdseed | feature_prefetchw), 0u);
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
  EXPECT_EQ(std::tuple(on_intel.status, on_intel.index), std::tuple(status_ok, 5));
  const cpuid_regs amd = {0x10, 0x68747541u, 0x444D4163u, 0x69746E65u};  // "AuthenticAMD"
  const dispatch_choice on_amd = choose_dispatch(f, amd);
  EXPECT_EQ(std::tuple(on_amd.status, on_amd.index), std::tuple(status_unexpected_vendor, 5));
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

TEST(CacheSize, Leaf4WalkThenLeaf2DescriptorsOnIntelOnly) {
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

  // Below leaf 4, the leaf-2 descriptors: the largest listed size wins.
  s = intel_cache(2);
  s.leaf4[0] = leaf4(3, 16, 1, 64, 65536);  // below leaf 4: ignored
  // Count byte 1; 0x41 (128 KiB) in EAX, 0x2C (an L1 code: not listed) and 0x7D
  // (2 MiB) in EBX, 0xEC (24 MiB) in a register whose bit 31 marks it invalid.
  s.leaf2 = {0x00004101u, 0x00007D2Cu, 0x800000ECu, 0x00000049u};  // 0x49: 4 MiB
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

  // Neither leaf, or not Intel.
  s = intel_cache(1);
  bytes = -1;
  EXPECT_EQ(decode_largest_cache(s, &bytes), status_cache_query_unsupported);
  EXPECT_EQ(bytes, 0);
  s = intel_cache(0x10);
  s.leaf0.ebx = 0x68747541u;  // "Auth..."
  s.leaf4[0] = leaf4(3, 16, 1, 64, 1024);
  EXPECT_EQ(decode_largest_cache(s, &bytes), status_cache_query_unsupported);
}

// The real probe: cached and consistent with the pure decoding.
TEST(ProcessorProbe, ThisMachine) {
  EXPECT_EQ(query_cpu_features(nullptr, nullptr), status_null_pointer);
  uint64_t f = 0;
  uint32_t id[4] = {};
  ASSERT_EQ(query_cpu_features(&f, id), status_ok);
  const cpu_snapshot regs = read_cpu_snapshot();
  EXPECT_EQ(f, decode_features(regs));
  uint32_t a, bx, c, d;  // EBX holds the APIC id of whichever core runs this
  __cpuid(1, a, bx, c, d);
  EXPECT_EQ(std::tuple(id[0], id[2], id[3]), std::tuple(a, c, d));
  EXPECT_TRUE(f & feature_sse2) << "x86-64 baseline";

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
