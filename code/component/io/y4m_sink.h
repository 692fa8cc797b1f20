#pragma once
// Sink component: writes the frames of its one input queue as a Y4M stream with the
// given stream header, each frame checked against the header first. Under a mixed
// (Im) header a frame keeps the FRAME parameters its source read (its own I flags);
// otherwise, and for frames that carry none, the FRAME lines are bare. An optional tap
// sees every frame right after it is written (on the sink's thread; keep it cheap).

#include "io/y4m_header.h"
#include "io/y4m_writer.h"
#include "zm/ZMComponent.h"

#include <atomic>
#include <functional>
#include <memory>

namespace ns_y4m {

class y4m_sink : public KX::ZM::RSink {
public:
  using frame_tap = std::function<void(const KX::RPtr<KX::ZM::RFrame>&)>;

  y4m_sink(std::unique_ptr<y4m_writer> out, const stream_header& header, frame_tap tap = {});
  ~y4m_sink() override;

  // Throws KX::CException unless the input queue is described with the header's
  // size and rate.
  int configure(const KX::ZM::RComponentConfiguration& config) override;
  // Writes one frame (the stream header before the first); false, with the file
  // closed, at the end of the input.
  bool process() override;

  // Safe from any thread while the sink runs (progress).
  uint64_t frames_written() const { return frames.load(std::memory_order_relaxed); }
  uint64_t bytes_written() const { return bytes.load(std::memory_order_relaxed); }

private:
  [[noreturn]] void fail(const std::string& message) const;

  std::unique_ptr<y4m_writer> out;
  const stream_header header;
  const uint64_t picture;
  const uint32_t fourcc;
  frame_tap tap;
  bool header_written = false;
  std::atomic<uint64_t> frames{0};
  std::atomic<uint64_t> bytes{0};
};

}  // namespace ns_y4m
