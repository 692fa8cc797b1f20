#pragma once
// YUV4MPEG2 stream and frame headers, text to values and back. Pure: no I/O. Every
// field that cannot be accepted raises format_error naming the field and the value.

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace ns_y4m {

class format_error : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

// Chroma layouts accepted: the 8-bit 4:2:0 sitings, 8-bit 4:2:2, and 8-bit luma only
// (mattes).
enum class chroma { c420jpeg, c420mpeg2, c420paldv, c420, c422, mono };

struct ratio {
  uint32_t num = 0;
  uint32_t den = 0;
  friend bool operator==(const ratio&, const ratio&) = default;
};

// Largest accepted width and height.
inline constexpr uint32_t max_dimension = 16384;

struct stream_header {
  uint32_t width = 0;
  uint32_t height = 0;
  ratio rate;                          // frames per second, num and den > 0
  std::optional<char> interlacing;     // I: 'p', 't', 'b', 'm' or '?', when given
  std::optional<ratio> aspect;         // A: pixel aspect, 0:0 = unknown, when given
  chroma sampling = chroma::c420jpeg;  // C: 4:2:0 JPEG siting when absent
  std::vector<std::string> extensions;  // X fields, without the 'X', in order
};

// Parameters of one "FRAME" header, each as written (tag letter first).
struct frame_header {
  std::vector<std::string> parameters;
};

// Name of the frame parameter (an RString: the FRAME parameters joined by spaces) in
// which a Y4M source hands a frame's own header on to a Y4M sink.
inline constexpr const char* frame_header_parameter = "y4m_frame";

// The stream header line without its newline: "YUV4MPEG2 W.. H.. F.. ...".
// W, H and F are required.
stream_header parse_stream_header(std::string_view line);
// The header line with its newline; W, H, F and C always, I and A when set.
std::string format_stream_header(const stream_header& h);

// A frame header line without its newline: "FRAME" and optional parameters.
frame_header parse_frame_header(std::string_view line);

// Bytes of one picture: luma, then two chroma planes of ceil(W/2) x ceil(H/2)
// (4:2:0) or ceil(W/2) x H (4:2:2); luma only for mono.
uint64_t picture_bytes(const stream_header& h);

// "420jpeg", "422", "mono", ... as written after 'C'.
const char* chroma_name(chroma c);
// The picture FourCC: "IYUV" for the 4:2:0 sitings, "Y22P" for 4:2:2, 0 for mono.
uint32_t picture_fourcc(chroma c);
// "4:2:0", "4:2:2" or "mono": what must agree between inputs.
const char* chroma_family(chroma c);

// Up to `limit` characters of raw bytes for a message, non-printable ones as \xNN.
std::string printable_excerpt(std::string_view bytes, size_t limit = 24);

}  // namespace ns_y4m
