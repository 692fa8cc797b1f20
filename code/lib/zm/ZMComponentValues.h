#pragma once
// Small values of the component model: a component's status report and a
// notification code. Plain values, one thread at a time.

#include "base/KXExport.h"
#include "base/RString.h"

#include <cstdint>

namespace KX::ZM {

class KX_EXPORT CComponentStatus {
public:
  // All counts 0, empty message, no user data.
  CComponentStatus();

  uint32_t getStatusCode() const { return statusCode; }
  void setStatusCode(uint32_t code) { statusCode = code; }
  uint32_t getNumberOfFrames() const { return numberOfFrames; }
  void setNumberOfFrames(uint32_t n) { numberOfFrames = n; }
  uint32_t getNumberOfBytes() const { return numberOfBytes; }
  void setNumberOfBytes(uint32_t n) { numberOfBytes = n; }
  void* getUserData() const { return userData; }
  void setUserData(void* p) { userData = p; }
  // A copy: changing it leaves the status unchanged.
  KX::RString getMessage() const { return KX::RString(message); }
  void setMessage(KX::RString m) { message.set(m, KX::kCopy); }

private:
  uint32_t statusCode;
  uint32_t numberOfFrames;
  uint32_t numberOfBytes;
  KX::RString message;
  void* userData;
};

class KX_EXPORT CNotification {
public:
  CNotification() : code(0) {}
  explicit CNotification(unsigned int code) : code(code) {}
  CNotification(const CNotification&) = default;
  CNotification& operator=(const CNotification&) = default;
  virtual ~CNotification();

  unsigned int getCode() const { return code; }

private:
  uint32_t code;
};

}  // namespace KX::ZM
