#include "io/y4m_header.h"

#include "zm/ZMFourCC.h"

#include <charconv>

namespace ns_y4m {

namespace {

constexpr std::string_view stream_magic = "YUV4MPEG2";
constexpr std::string_view frame_magic = "FRAME";

struct chroma_tag {
  std::string_view text;
  chroma value;
};

constexpr chroma_tag chroma_tags[] = {
    {"420jpeg", chroma::c420jpeg}, {"420mpeg2", chroma::c420mpeg2}, {"420paldv", chroma::c420paldv},
    {"420", chroma::c420},         {"422", chroma::c422},           {"mono", chroma::mono},
};

[[noreturn]] void fail(const std::string& message) { throw format_error(message); }

// Lines end in LF alone; a CR left before it would end up inside the last field.
void refuse_carriage_return(std::string_view line, const char* what) {
  if (!line.empty() && line.back() == '\r') {
    fail(std::string(what) + " ends in a carriage return (a CR LF line end): YUV4MPEG2 lines end in LF alone");
  }
}

// Beyond these a stream is a mistake, and a costly one: a rate of a million frames/s
// turns a few seconds of clip into gigabytes, one frame in a million seconds holds
// memory for ever.
constexpr uint64_t max_frames_per_second = 1000;
constexpr uint64_t seconds_per_day = 86400;

void check_rate(ratio r, std::string_view value) {
  const std::string field = "frame rate F" + std::string(value);
  if (r.num == 0 || r.den == 0) fail(field + ": numerator and denominator must both be above 0");
  if (uint64_t{r.num} > max_frames_per_second * r.den) {
    fail(field + ": above " + std::to_string(max_frames_per_second) + " frames/s");
  }
  if (uint64_t{r.num} * seconds_per_day < r.den) fail(field + ": below one frame per day");
}

// Splits on spaces; runs of spaces count as one, so a stray double space is no error.
std::vector<std::string_view> tokens_of(std::string_view text) {
  std::vector<std::string_view> tokens;
  size_t start = 0;
  while (start < text.size()) {
    const size_t end = std::min(text.find(' ', start), text.size());
    if (end > start) tokens.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return tokens;
}

uint32_t parse_number(std::string_view text, const std::string& field) {
  uint32_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error == std::errc::result_out_of_range) fail(field + ": " + std::string(text) + " is out of range");
  if (text.empty() || error != std::errc() || end != text.data() + text.size()) {
    fail(field + ": '" + printable_excerpt(text) + "' is not a whole number");
  }
  return value;
}

ratio parse_ratio(std::string_view text, const std::string& field) {
  const size_t colon = text.find(':');
  if (colon == std::string_view::npos) fail(field + ": '" + printable_excerpt(text) + "' is not of the form N:D");
  return {parse_number(text.substr(0, colon), field), parse_number(text.substr(colon + 1), field)};
}

uint32_t parse_dimension(std::string_view value, const char* field) {
  const std::string name = std::string(field) + std::string(value);
  const uint32_t n = parse_number(value, std::string(field));
  if (n == 0) fail(name + ": a picture needs a size of at least 1");
  if (n > max_dimension) fail(name + ": above the largest supported size of " + std::to_string(max_dimension));
  return n;
}

chroma parse_chroma(std::string_view value) {
  for (const chroma_tag& t : chroma_tags) {
    if (t.text == value) return t.value;
  }
  fail("chroma format C" + printable_excerpt(value) +
       " is not supported: 8-bit 4:2:0 (C420jpeg, C420mpeg2, C420paldv, C420) or 4:2:2 (C422) expected");
}

}  // namespace

stream_header parse_stream_header(std::string_view line) {
  if (line.substr(0, stream_magic.size()) == stream_magic) refuse_carriage_return(line, "the stream header");
  if (line.substr(0, stream_magic.size()) != stream_magic ||
      (line.size() > stream_magic.size() && line[stream_magic.size()] != ' ')) {
    fail("not a YUV4MPEG2 stream (it starts with '" + printable_excerpt(line) + "')");
  }
  stream_header h;
  std::string seen;
  for (const std::string_view token : tokens_of(line.substr(stream_magic.size()))) {
    const char tag = token[0];
    const std::string_view value = token.substr(1);
    if (tag != 'X') {
      if (seen.find(tag) != std::string::npos) fail(std::string("field ") + tag + " is given twice");
      seen += tag;
    }
    switch (tag) {
      case 'W': h.width = parse_dimension(value, "W"); break;
      case 'H': h.height = parse_dimension(value, "H"); break;
      case 'F': {
        h.rate = parse_ratio(value, "F");
        check_rate(h.rate, value);
        break;
      }
      case 'I': {
        if (value.size() != 1 || std::string_view("ptbm?").find(value[0]) == std::string_view::npos) {
          fail("interlacing I" + printable_excerpt(value) + ": one of Ip, It, Ib, Im, I? expected");
        }
        h.interlacing = value[0];
        break;
      }
      case 'A': {
        const ratio a = parse_ratio(value, "A");
        if ((a.num == 0) != (a.den == 0)) fail("pixel aspect A" + std::string(value) + ": N:D above 0, or 0:0 expected");
        h.aspect = a;
        break;
      }
      case 'C': h.sampling = parse_chroma(value); break;
      case 'X': h.extensions.emplace_back(value); break;
      default: fail("unknown field '" + printable_excerpt(token) + "'");
    }
  }
  if (h.width == 0) fail("the header gives no width (W)");
  if (h.height == 0) fail("the header gives no height (H)");
  if (h.rate.num == 0) fail("the header gives no frame rate (F)");
  return h;
}

std::string format_stream_header(const stream_header& h) {
  std::string s(stream_magic);
  s += " W" + std::to_string(h.width) + " H" + std::to_string(h.height);
  s += " F" + std::to_string(h.rate.num) + ":" + std::to_string(h.rate.den);
  if (h.interlacing) s += std::string(" I") + *h.interlacing;
  if (h.aspect) s += " A" + std::to_string(h.aspect->num) + ":" + std::to_string(h.aspect->den);
  s += std::string(" C") + chroma_name(h.sampling);
  for (const std::string& x : h.extensions) s += " X" + x;
  s += '\n';
  return s;
}

frame_header parse_frame_header(std::string_view line) {
  if (line.substr(0, frame_magic.size()) == frame_magic) refuse_carriage_return(line, "the FRAME header");
  if (line.substr(0, frame_magic.size()) != frame_magic ||
      (line.size() > frame_magic.size() && line[frame_magic.size()] != ' ')) {
    fail("a FRAME header was expected, found '" + printable_excerpt(line) + "'");
  }
  frame_header f;
  for (const std::string_view token : tokens_of(line.substr(frame_magic.size()))) f.parameters.emplace_back(token);
  return f;
}

uint64_t picture_bytes(const stream_header& h) {
  const uint64_t luma = uint64_t{h.width} * h.height;
  const uint64_t chroma_width = (uint64_t{h.width} + 1) / 2;
  switch (h.sampling) {
    case chroma::mono: return luma;
    case chroma::c422: return luma + 2 * chroma_width * h.height;
    default: return luma + 2 * chroma_width * ((uint64_t{h.height} + 1) / 2);
  }
}

const char* chroma_name(chroma c) {
  for (const chroma_tag& t : chroma_tags) {
    if (t.value == c) return t.text.data();
  }
  return "?";
}

uint32_t picture_fourcc(chroma c) {
  switch (c) {
    case chroma::mono: return 0;
    case chroma::c422: return KX::ZM::makeFourCC("Y22P");
    default: return KX::ZM::makeFourCC("IYUV");
  }
}

const char* chroma_family(chroma c) {
  switch (c) {
    case chroma::mono: return "mono";
    case chroma::c422: return "4:2:2";
    default: return "4:2:0";
  }
}

std::string printable_excerpt(std::string_view bytes, size_t limit) {
  std::string out;
  for (size_t i = 0; i < bytes.size() && i < limit; ++i) {
    const auto c = static_cast<unsigned char>(bytes[i]);
    if (c >= 32 && c < 127) {
      out += static_cast<char>(c);
    } else {
      static const char hex[] = "0123456789abcdef";
      out += "\\x";
      out += hex[c >> 4];
      out += hex[c & 15];
    }
  }
  if (bytes.size() > limit) out += "...";
  return out;
}

}  // namespace ns_y4m
