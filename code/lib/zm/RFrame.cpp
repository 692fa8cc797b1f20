#include "zm/RFrame.h"

#include "base/CException.h"
#include "zm/ZMFourCC.h"

#include <climits>
#include <iterator>

namespace KX::ZM {

namespace {

// Payloads live in a CBuffer, whose lengths are int.
int payloadLength(uint32_t length, const char* where) {
  if (length > INT32_MAX) {
    KX::CException::raise(__LINE__, __FILE__, where, "frame data of %u bytes exceeds the 2 GiB limit", length);
  }
  return static_cast<int>(length);
}

}  // namespace

RFrame::RFrame(uint32_t format, uint32_t length, const uint8_t* data, KX::ConstructionFlags flags)
    : dataFormat(format) {
  payload.init(payloadLength(length, "KX::ZM::RFrame::RFrame"), data, flags);
}

RFrame::~RFrame() = default;

void RFrame::setData(uint32_t length, const uint8_t* data, KX::ConstructionFlags flags) {
  payload.set(payloadLength(length, "KX::ZM::RFrame::setData"), data, flags);
}

uint32_t RFrame::getParameterCount(const std::string& name) const {
  return static_cast<uint32_t>(parameters.count(name));
}

KX::RPtr<const ulbase::object_refcount> RFrame::getParameter(const std::string& name, uint32_t index) const {
  const auto [first, last] = parameters.equal_range(name);
  if (static_cast<uint64_t>(std::distance(first, last)) <= index) return nullptr;
  return std::next(first, index)->second;
}

void RFrame::addParameter(const std::string& name, KX::RPtr<const ulbase::object_refcount> value) {
  if (!value) {
    KX::CException::raise(__LINE__, __FILE__, "KX::ZM::RFrame::addParameter",
                          "parameter '%s' of frame %u: null value", name.c_str(), sequence);
  }
  parameters.emplace(name, std::move(value));  // after any of the same name
}

KX::RPtr<RVideoFrame> RVideoFrame::createWithData(uint32_t format, uint32_t length, const uint8_t* data,
                                                  uint32_t frameType, KX::ConstructionFlags flags) {
  return KX::RPtr<RVideoFrame>(new RVideoFrame(format, length, data, frameType, flags));
}

RVideoFrame::~RVideoFrame() = default;

uint32_t RVideoFrame::type() const { return makeFourCC("vide"); }

}  // namespace KX::ZM
