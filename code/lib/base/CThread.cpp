#include "base/CThread.h"

namespace KX {

CExceptionHandlerP::~CExceptionHandlerP() = default;

}  // namespace KX
