#include "zm/ZMComponentValues.h"

namespace KX::ZM {

CComponentStatus::CComponentStatus() : statusCode(0), numberOfFrames(0), numberOfBytes(0), userData(nullptr) {}

CNotification::~CNotification() = default;

}  // namespace KX::ZM
