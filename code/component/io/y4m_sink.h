#pragma once
// Sink component: writes the frames of its one input queue as a Y4M stream with the
// given stream header, each frame checked against the header first. Under a mixed
// (Im) header a frame keeps the FRAME parameters its source read (its own I flags);
// otherwise, and for frames that carry none, the FRAME lines are bare. An optional tap
// sees every frame right after it is written (on the sink's thread; keep it cheap).

#include "io/output_sink.h"
#include "io/y4m_header.h"
#include "io/y4m_writer.h"

#include <atomic>
#include <memory>

namespace ns_y4m {

class y4m_sink : public output_sink {
public:
  y4m_sink(std::unique_ptr<y4m_writer> out, const stream_header& header, frame_tap tap = {});
  ~y4m_sink() override;

  // Throws KX::CException unless the input queue is described with the header's
  // size and rate.
  int configure(const KX::ZM::RComponentConfiguration& config) override;
  // Writes one frame (the stream header before the first); false, with the file
  // closed, at the end of the input.
  bool process() override;

  const std::string& name() const override { return out->name(); }
  uint64_t frames_written() const override { return frames.load(std::memory_order_relaxed); }
  uint64_t bytes_written() const override { return bytes.load(std::memory_order_relaxed); }

private:
  [[noreturn]] void fail(const std::string& message) const;

  std::unique_ptr<y4m_writer> out;
  const stream_header header;
  frame_tap tap;
  bool header_written = false;
  std::atomic<uint64_t> frames{0};
  std::atomic<uint64_t> bytes{0};
};

}  // namespace ns_y4m
