#pragma once
// FourCC codes: four characters in a uint32, the first in the most significant byte
// ("IYUV" is 0x49595556).

#include <cstdint>

namespace KX::ZM {

constexpr uint32_t makeFourCC(const char (&text)[5]) {
  return uint32_t{static_cast<unsigned char>(text[0])} << 24 | uint32_t{static_cast<unsigned char>(text[1])} << 16 |
         uint32_t{static_cast<unsigned char>(text[2])} << 8 | uint32_t{static_cast<unsigned char>(text[3])};
}

}  // namespace KX::ZM
