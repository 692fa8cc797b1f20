#include "base/CMutex.h"

namespace KX {

CMutex::CMutex() : mutex(std::make_shared<detail::PosixMutex>("KX::CMutex::CMutex")) {}

CMutex::~CMutex() = default;

}  // namespace KX
