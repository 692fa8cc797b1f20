#pragma once
// The built plug-in, loaded once with dlopen as a host loads it.

#include "base/RPtr.h"
#include "zm/ZMComponent.h"

namespace introoutro_test {

// A new filter from the module's getComponentInstance. The module stays loaded for
// the whole process, so filters may outlive any one test.
KX::RPtr<KX::ZM::ZMMultipleQueueComponent> new_filter();

}  // namespace introoutro_test
