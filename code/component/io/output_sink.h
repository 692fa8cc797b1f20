#pragma once
// What the host asks of any sink that writes the spliced stream (Y4M or media):
// its output's name and, safe from any thread while it runs, how far it has got.

#include "io/y4m_header.h"
#include "zm/ZMComponent.h"

#include <cstdint>
#include <functional>
#include <string>

namespace ns_y4m {

class output_sink : public KX::ZM::RSink {
public:
  // Sees every frame right after it is written (on the sink's thread; keep it cheap).
  using frame_tap = std::function<void(const KX::RPtr<KX::ZM::RFrame>&)>;

  virtual const std::string& name() const = 0;
  virtual uint64_t frames_written() const = 0;
  virtual uint64_t bytes_written() const = 0;
};

// Why the stream on `queue` cannot be written under `header` (its description is
// missing or gives another size or rate); empty when it can.
std::string stream_mismatch(const KX::ZM::RQFrameReader& queue, const stream_header& header);
// Why frame n cannot be written under `header` (another FourCC or byte count); empty
// when it can.
std::string frame_mismatch(const KX::ZM::RFrame& frame, uint64_t n, const stream_header& header);

}  // namespace ns_y4m
