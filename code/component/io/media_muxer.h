#pragma once
// One output container file: streams are added before the header is written, then
// packets of every stream are interleaved by time (av_interleaved_write_frame), and
// the file is finished when the last stream has ended. Errors are KX::CException
// naming the file. add_stream and start belong to the owner's thread; write,
// end_stream and bytes_written may be called from any thread, so that an audio
// encoder on another component can share the file with the video.

#include "io/av_ptr.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace ns_media {

class media_muxer {
public:
  // A container for `path`, chosen by its extension; throws for an extension no
  // container has. The file is not touched until create().
  explicit media_muxer(const std::string& path);
  ~media_muxer();
  media_muxer(const media_muxer&) = delete;
  media_muxer& operator=(const media_muxer&) = delete;

  const std::string& name() const { return label; }
  const AVOutputFormat& container() const { return *format->oformat; }
  // Whether the container is known to refuse `codec` (unknown counts as taking it).
  bool refuses(AVCodecID codec) const;

  // Creates or truncates the file.
  void create();
  // Before start(): a stream for the packets of `codec`, an opened encoder whose
  // time base the packets are stamped in. Returns the stream's index for write().
  int add_stream(const AVCodecContext& codec);
  // Writes the header; `timecode` ("HH:MM:SS:FF") is stored where the container keeps
  // a start time code. Packets written before are held until then.
  void start(const std::optional<std::string>& timecode);
  // Takes the packet's contents; its times are in the stream's encoder time base.
  void write(AVPacket& packet, int stream);
  // No more packets of `stream`. After the last stream the trailer is written and the
  // file closed, reporting a late write error.
  void end_stream(int stream);

  [[noreturn]] void fail(const std::string& what) const;
  uint64_t bytes_written() const { return bytes.load(std::memory_order_relaxed); }

private:
  void write_locked(AVPacket& packet);
  void finish_locked();

  std::string label;
  AVFormatContext* format = nullptr;
  std::vector<AVRational> time_bases;
  std::vector<bool> ended;
  std::mutex lock;
  bool started = false;
  std::vector<packet_ptr> held;
  std::atomic<uint64_t> bytes{0};
};

}  // namespace ns_media
