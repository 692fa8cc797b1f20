#include "zm/RDescription.h"

#include "zm/ZMFourCC.h"

namespace KX::ZM {

RDescription::~RDescription() = default;
RVideoDescription::~RVideoDescription() = default;

uint32_t RVideoDescription::type() const { return makeFourCC("vide"); }

}  // namespace KX::ZM
