#pragma once
// Counts RQFrameWriter::end() calls per queue. This test program defines that member
// itself, interposing libzm's, and forwards every call to the real one; the
// executable's definition also serves the dlopen'ed plug-in.

#include "zm/RQueue.h"

#include <cstdint>

namespace introoutro_test {

uint32_t end_calls(const KX::ZM::RQueue& queue);

}  // namespace introoutro_test
