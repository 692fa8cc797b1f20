#pragma once
// Frames: one picture (or other payload) with its times, format and named
// parameters. Reference counted; a frame put on a queue is shared read-only by
// every reader, so a component changes a frame it read only when it is that
// queue's one reader (the filter re-stamps its main frames in place).

#include "base/CBuffer.h"
#include "base/CTimeStamp.h"
#include "base/KXExport.h"
#include "base/RPtr.h"
#include "ulbase/object_refcount.h"
#include "ulbase/timecode.h"

#include <cstdint>
#include <map>
#include <string>

namespace KX::ZM {

class KX_EXPORT RFrame : public ulbase::object_refcount {
public:
  ~RFrame() override;
  // The FourCC of the kind of frame ("vide" for video).
  virtual uint32_t type() const = 0;

  uint32_t getSequence() const { return sequence; }
  void setSequence(uint32_t n) { sequence = n; }
  const KX::CTimeStamp& getPlayTime() const { return playTime; }
  void setPlayTime(const KX::CTimeStamp& t) { playTime = t; }
  const KX::CTimeStamp& getDecodeTime() const { return decodeTime; }
  void setDecodeTime(const KX::CTimeStamp& t) { decodeTime = t; }
  const KX::CTimeStamp& getDuration() const { return duration; }
  void setDuration(const KX::CTimeStamp& t) { duration = t; }
  // The payload's FourCC ("IYUV", "Y22P", ...).
  uint32_t getDataFormat() const { return dataFormat; }
  void setDataFormat(uint32_t format) { dataFormat = format; }
  uint32_t getDataLength() const { return static_cast<uint32_t>(payload.getUsed()); }
  uint8_t* getData() { return payload.getBuffer(); }
  const uint8_t* getData() const { return payload.getBuffer(); }
  // Replaces the payload, releasing the old one: kCopy copies `length` bytes (data
  // may point into the old payload), kTakeOver takes over a malloc block. On an
  // error nothing is taken over.
  void setData(uint32_t length, const uint8_t* data, KX::ConstructionFlags flags);

  // Parameters are named values (an "alpha" plane is an RBuffer); several may share
  // a name and keep the order in which they were added.
  uint32_t getParameterCount(const std::string& name) const;
  // The index-th parameter of that name, or null when there are not that many.
  KX::RPtr<const ulbase::object_refcount> getParameter(const std::string& name, uint32_t index = 0) const;
  // Attaches value (not null) under name, taking a reference.
  void addParameter(const std::string& name, KX::RPtr<const ulbase::object_refcount> value);

protected:
  RFrame(uint32_t format, uint32_t length, const uint8_t* data, KX::ConstructionFlags flags);

private:
  uint32_t sequence = 0;
  KX::CTimeStamp playTime;
  KX::CTimeStamp decodeTime;
  KX::CTimeStamp duration;
  uint32_t dataFormat;
  KX::CBuffer payload;  // dataLength and data
  std::multimap<std::string, KX::RPtr<const ulbase::object_refcount>> parameters;
};

class KX_EXPORT RVideoFrame : public RFrame {
public:
  // A new frame holding `length` bytes as flags say (kCopy with null data: zero-filled,
  // for a producer to fill through getData()). frameType is carried, 0 if unknown.
  static KX::RPtr<RVideoFrame> createWithData(uint32_t format, uint32_t length, const uint8_t* data,
                                              uint32_t frameType, KX::ConstructionFlags flags);
  ~RVideoFrame() override;
  uint32_t type() const override;

  uint32_t getFrameType() const { return frameType; }
  void setFrameType(uint32_t t) { frameType = t; }
  const ulbase::timecode& getTimecode() const { return timecode; }
  void setTimecode(const ulbase::timecode& t) { timecode = t; }

private:
  RVideoFrame(uint32_t format, uint32_t length, const uint8_t* data, uint32_t frameType,
              KX::ConstructionFlags flags)
      : RFrame(format, length, data, flags), frameType(frameType) {}

  uint32_t frameType;
  ulbase::timecode timecode;
};

}  // namespace KX::ZM
