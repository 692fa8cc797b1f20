#include "pixel_kernels/dispatch/cpu_features.h"

namespace ns_pixel_kernels {
namespace {

struct descriptor {
  uint8_t code;
  int32_t bytes;
};

// Level-2 and level-3 cache descriptors of CPUID leaf 2, largest first, so the
// first row present is the largest cache listed.
constexpr descriptor descriptors[] = {
    {0xEC, 25165824}, {0xEB, 18874368}, {0x4D, 16777216}, {0x4C, 12582912},
    {0xEA, 12582912}, {0x47, 8388608}, {0x4B, 8388608}, {0xE4, 8388608},
    {0x4A, 6291456}, {0x4E, 6291456}, {0xDE, 6291456}, {0x29, 4194304},
    {0x46, 4194304}, {0x49, 4194304}, {0xD8, 4194304}, {0xE3, 4194304},
    {0x48, 3145728}, {0xDD, 3145728}, {0x25, 2097152}, {0x45, 2097152},
    {0x7D, 2097152}, {0x85, 2097152}, {0xD2, 2097152}, {0xD7, 2097152},
    {0xE2, 2097152}, {0xDC, 1572864}, {0x23, 1048576}, {0x44, 1048576},
    {0x78, 1048576}, {0x7C, 1048576}, {0x84, 1048576}, {0x87, 1048576},
    {0xD1, 1048576}, {0xD6, 1048576}, {0x22, 524288}, {0x3E, 524288},
    {0x43, 524288}, {0x7B, 524288}, {0x7F, 524288}, {0x80, 524288},
    {0x83, 524288}, {0x86, 524288}, {0xD0, 524288}, {0x3D, 393216},
    {0x21, 262144}, {0x3C, 262144}, {0x3F, 262144}, {0x42, 262144},
    {0x7A, 262144}, {0x82, 262144}, {0x3A, 196608}, {0x79, 131072},
    {0x39, 131072}, {0x3B, 131072}, {0x41, 131072},
};
static_assert(sizeof(descriptors) / sizeof(descriptors[0]) == 55);

}  // namespace

int32_t leaf2_cache_size(const cpuid_regs& leaf2) {
  // The low byte of EAX is the number of times leaf 2 must be read; only the
  // one-read form (every processor that has leaf 2 at all) is decoded.
  if ((leaf2.eax & 0xFF) != 1) return 0;
  bool present[256] = {};
  const uint32_t regs[4] = {leaf2.eax & 0xFFFFFF00u, leaf2.ebx, leaf2.ecx, leaf2.edx};
  for (uint32_t r : regs) {
    if (r >> 31) continue;  // bit 31 set: the register holds no descriptors
    for (int b = 0; b < 4; ++b) present[(r >> (8 * b)) & 0xFF] = true;
  }
  present[0] = false;  // null descriptor
  for (const descriptor& d : descriptors)
    if (present[d.code]) return d.bytes;
  return 0;
}

}  // namespace ns_pixel_kernels
