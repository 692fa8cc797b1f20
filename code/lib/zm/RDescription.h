#pragma once
// Stream descriptions: what a queue's writer tells its readers about the frames.
// Shared read-only (RPtr<const RDescription>) once given to a queue.

#include "base/KXExport.h"
#include "ulbase/object_refcount.h"

#include <cstdint>

namespace KX::ZM {

class KX_EXPORT RDescription : public ulbase::object_refcount {
public:
  ~RDescription() override;
  // The FourCC of the kind of stream ("vide" for video).
  virtual uint32_t type() const = 0;

protected:
  RDescription() = default;
};

class KX_EXPORT RVideoDescription : public RDescription {
public:
  RVideoDescription(uint32_t width, uint32_t height, double frameRate)
      : width(width), height(height), frameRate(frameRate) {}
  ~RVideoDescription() override;
  uint32_t type() const override;

  uint32_t getWidth() const { return width; }
  void setWidth(uint32_t w) { width = w; }
  uint32_t getHeight() const { return height; }
  void setHeight(uint32_t h) { height = h; }
  // Frames per second.
  double getFrameRate() const { return frameRate; }
  void setFrameRate(double fps) { frameRate = fps; }

private:
  uint32_t width;
  uint32_t height;
  double frameRate;
};

}  // namespace KX::ZM
