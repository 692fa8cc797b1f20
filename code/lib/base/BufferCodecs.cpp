// Hex and Base64 (RFC 4648) codecs of CBuffer. Each reads the source's meaningful
// bytes (used + correction(): a string's terminator is not part of its text), builds
// the result in a new block and only then replaces this buffer's storage, so the
// source may be this buffer.

#include "base/CBuffer.h"

#include "base/CException.h"
#include "base/malloc_block.h"

#include <cctype>
#include <climits>

namespace KX {

namespace {

constexpr char kLowerHex[] = "0123456789abcdef";
constexpr char kUpperHex[] = "0123456789ABCDEF";
constexpr char kBase64Standard[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr char kBase64Url[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

int meaningfulBytes(const CBuffer& b) {
  const int n = b.getUsed() + b.correction();
  return n > 0 ? n : 0;
}

void checkOutputSize(int64_t n, const char* where) {
  if (n > INT32_MAX) {
    CException::raise(__LINE__, __FILE__, where, "result of %lld bytes exceeds the 2 GiB limit",
                      static_cast<long long>(n));
  }
}

// A byte of bad input, shown as a character when it is printable.
[[noreturn]] void badCharacter(const char* where, const char* what, unsigned char c, int offset) {
  if (std::isprint(c)) {
    CException::raise(__LINE__, __FILE__, where, "invalid %s '%c' at offset %d", what, c, offset);
  }
  CException::raise(__LINE__, __FILE__, where, "invalid %s (byte 0x%02x) at offset %d", what, c, offset);
}

int hexValue(unsigned char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

int base64Value(unsigned char c, const char* alphabet) {
  for (int i = 0; i < 64; ++i) {
    if (static_cast<unsigned char>(alphabet[i]) == c) return i;
  }
  return -1;
}

}  // namespace

int CBuffer::encodeHex(const CBuffer& source, int options) {
  const int n = meaningfulBytes(source);
  const int64_t outLength = int64_t{n} * 2;
  checkOutputSize(outLength, "KX::CBuffer::encodeHex");
  const char* digits = (options & kHexUpperCase) ? kUpperHex : kLowerHex;
  unsigned char* out = outLength > 0 ? detail::mallocBlock(outLength) : nullptr;
  for (int i = 0; i < n; ++i) {
    out[2 * i] = static_cast<unsigned char>(digits[source.data[i] >> 4]);
    out[2 * i + 1] = static_cast<unsigned char>(digits[source.data[i] & 15]);
  }
  adopt(out, static_cast<int>(outLength), static_cast<int>(outLength));
  mode = kCopy;
  return used;
}

int CBuffer::decodeHex(const CBuffer& source, int) {
  const int n = meaningfulBytes(source);
  if (n % 2 != 0) {
    CException::raise(__LINE__, __FILE__, "KX::CBuffer::decodeHex",
                      "hex text of odd length %d", n);
  }
  const int outLength = n / 2;
  unsigned char* out = outLength > 0 ? detail::mallocBlock(outLength) : nullptr;
  for (int i = 0; i < outLength; ++i) {
    const int hi = hexValue(source.data[2 * i]);
    const int lo = hexValue(source.data[2 * i + 1]);
    if (hi < 0 || lo < 0) {
      std::free(out);
      const int at = hi < 0 ? 2 * i : 2 * i + 1;
      badCharacter("KX::CBuffer::decodeHex", "hex digit", source.data[at], at);
    }
    out[i] = static_cast<unsigned char>(hi << 4 | lo);
  }
  adopt(out, outLength, outLength);
  mode = kCopy;
  return used;
}

int CBuffer::encodeBase64(const CBuffer& source, int options) {
  const int n = meaningfulBytes(source);
  const int64_t outLength = (int64_t{n} + 2) / 3 * 4;
  checkOutputSize(outLength, "KX::CBuffer::encodeBase64");
  const char* alphabet = (options & kBase64UrlSafe) ? kBase64Url : kBase64Standard;
  unsigned char* out = outLength > 0 ? detail::mallocBlock(outLength) : nullptr;
  const unsigned char* in = source.data;
  int o = 0;
  for (int i = 0; i < n; i += 3) {
    const int left = n - i;
    const uint32_t group = uint32_t{in[i]} << 16 | (left > 1 ? uint32_t{in[i + 1]} << 8 : 0) |
                           (left > 2 ? uint32_t{in[i + 2]} : 0);
    out[o++] = static_cast<unsigned char>(alphabet[group >> 18 & 63]);
    out[o++] = static_cast<unsigned char>(alphabet[group >> 12 & 63]);
    out[o++] = static_cast<unsigned char>(left > 1 ? alphabet[group >> 6 & 63] : '=');
    out[o++] = static_cast<unsigned char>(left > 2 ? alphabet[group & 63] : '=');
  }
  adopt(out, o, static_cast<int>(outLength));
  mode = kCopy;
  return used;
}

// Accepts text with or without '=' padding; refuses characters outside the alphabet,
// padding anywhere but at the end, a length that leaves a lone character, and set
// bits after the last whole byte (they would make two texts decode the same).
int CBuffer::decodeBase64(const CBuffer& source, int options) {
  const char* where = "KX::CBuffer::decodeBase64";
  int n = meaningfulBytes(source);
  const unsigned char* in = source.data;
  int padding = 0;
  while (n > 0 && padding < 2 && in[n - 1] == '=') {
    --n;
    ++padding;
  }
  if (n % 4 == 1 || (padding > 0 && (n + padding) % 4 != 0)) {
    CException::raise(__LINE__, __FILE__, where, "Base64 text of invalid length %d",
                      meaningfulBytes(source));
  }
  const char* alphabet = (options & kBase64UrlSafe) ? kBase64Url : kBase64Standard;
  const int outLength = n / 4 * 3 + (n % 4 == 0 ? 0 : n % 4 - 1);
  unsigned char* out = outLength > 0 ? detail::mallocBlock(outLength) : nullptr;
  int o = 0;
  for (int i = 0; i < n; i += 4) {
    const int chars = n - i < 4 ? n - i : 4;
    uint32_t group = 0;
    for (int k = 0; k < 4; ++k) {
      int v = 0;
      if (k < chars) {
        v = base64Value(in[i + k], alphabet);
        if (v < 0) {
          std::free(out);
          badCharacter(where, "Base64 character", in[i + k], i + k);
        }
      }
      group = group << 6 | static_cast<uint32_t>(v);
    }
    const int bytes = chars - 1;
    if (chars < 4 && (group & (0xFFFFFFu >> (8 * bytes))) != 0) {
      std::free(out);
      CException::raise(__LINE__, __FILE__, where, "Base64 text has stray bits in its last character (offset %d)",
                        i + chars - 1);
    }
    for (int k = 0; k < bytes; ++k) out[o++] = static_cast<unsigned char>(group >> (16 - 8 * k));
  }
  adopt(out, outLength, outLength);
  mode = kCopy;
  return used;
}

}  // namespace KX
