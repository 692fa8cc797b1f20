// Reference Gaussian filters. The 8-bit ones keep horizontally summed rows and add
// one new source row per output row; the 16-bit ones sum each neighbourhood
// directly and allocate nothing.

#include "pixel_kernels/common/arg_checks.h"
#include "pixel_kernels/common/gauss_rules.h"
#include "pixel_kernels/dispatch/tables.h"

namespace ns_pixel_kernels::generic {
namespace {

// Word rows of `width` entries from aligned_alloc_64, released on scope exit.
class row_words {
 public:
  row_words(int32_t rows, int32_t width) {
    constexpr int64_t limit = INT32_MAX - 128;
    const int64_t bytes = int64_t{rows} * width * int64_t{sizeof(uint32_t)};
    if (bytes <= limit) words_ = static_cast<uint32_t*>(aligned_alloc_64(static_cast<int32_t>(bytes)));
    width_ = width;
  }
  ~row_words() { aligned_free_64(words_); }
  row_words(const row_words&) = delete;
  row_words& operator=(const row_words&) = delete;

  bool ok() const { return words_ != nullptr; }
  uint32_t* row(int32_t r) const { return words_ + ptrdiff_t{r} * width_; }

 private:
  uint32_t* words_ = nullptr;
  int32_t width_ = 0;
};

// (1, 2, 1) sums of source row y over the region's columns.
void sum_121(const uint8_t* src, int32_t step, int32_t y, int32_t width, uint32_t* out) {
  const uint8_t* s = sample_addr(src, step, y, 0);
  for (int32_t x = 0; x < width; ++x) out[x] = s[x - 1] + 2u * s[x] + s[x + 1];
}

void gauss3_u8(const uint8_t* src, int32_t src_step, uint8_t* dst, int32_t dst_step,
               pixel_size roi, uint32_t* const h[3]) {
  sum_121(src, src_step, -1, roi.width, h[0]);
  sum_121(src, src_step, 0, roi.width, h[1]);
  for (int32_t y = 0; y < roi.height; ++y) {
    uint32_t* above = h[y % 3];
    uint32_t* mid = h[(y + 1) % 3];
    uint32_t* below = h[(y + 2) % 3];
    sum_121(src, src_step, y + 1, roi.width, below);
    uint8_t* d = sample_addr(dst, dst_step, y, 0);
    for (int32_t x = 0; x < roi.width; ++x)
      d[x] = static_cast<uint8_t>(round_gauss3(above[x] + 2 * mid[x] + below[x]));
  }
}

// The three 5x5 profiles of source row y, into a[], b[], c[].
void profiles5(const uint8_t* src, int32_t step, int32_t y, int32_t width, uint32_t* a,
               uint32_t* b, uint32_t* c) {
  const unsigned char* s = sample_addr(src, step, y, 0);
  for (int32_t x = 0; x < width; ++x) {
    a[x] = gauss5_profile<uint8_t>(s + x, gauss5_weights[0]);
    b[x] = gauss5_profile<uint8_t>(s + x, gauss5_weights[1]);
    c[x] = gauss5_profile<uint8_t>(s + x, gauss5_weights[2]);
  }
}

// Slot k % 4 of a, b, c holds the profiles of source row k - 2. Output row y adds
// rows y-2..y+1 from the slots to row y+2 computed on the spot, whose profiles then
// replace row y-2's (the same slot) for the rows that follow.
void gauss5_u8(const uint8_t* src, int32_t src_step, uint8_t* dst, int32_t dst_step,
               pixel_size roi, uint32_t* const a[4], uint32_t* const b[4], uint32_t* const c[4]) {
  for (int32_t k = 0; k < 4; ++k) profiles5(src, src_step, k - 2, roi.width, a[k], b[k], c[k]);
  for (int32_t y = 0; y < roi.height; ++y) {
    const int32_t s0 = y % 4, s1 = (y + 1) % 4, s2 = (y + 2) % 4, s3 = (y + 3) % 4;
    const unsigned char* fresh = sample_addr(src, src_step, ptrdiff_t{y} + 2, 0);
    uint8_t* d = sample_addr(dst, dst_step, y, 0);
    for (int32_t x = 0; x < roi.width; ++x) {
      const uint32_t na = gauss5_profile<uint8_t>(fresh + x, gauss5_weights[0]);
      const uint32_t s = a[s0][x] + b[s1][x] + c[s2][x] + b[s3][x] + na;
      d[x] = static_cast<uint8_t>(round_gauss5_u8(s));
      a[s0][x] = na;
      b[s0][x] = gauss5_profile<uint8_t>(fresh + x, gauss5_weights[1]);
      c[s0][x] = gauss5_profile<uint8_t>(fresh + x, gauss5_weights[2]);
    }
  }
}

}  // namespace

pixel_status gauss_filter_u8(const uint8_t* src, int32_t src_step, uint8_t* dst, int32_t dst_step,
                             pixel_size roi, int32_t mask) {
  if (pixel_status s = check_gauss_args(src, src_step, dst, dst_step, roi, mask)) return s;
  if (mask == mask_3x3) {
    row_words rows(3, roi.width);
    if (!rows.ok()) return status_no_memory;
    uint32_t* const h[3] = {rows.row(0), rows.row(1), rows.row(2)};
    gauss3_u8(src, src_step, dst, dst_step, roi, h);
  } else {
    row_words rows(12, roi.width);
    if (!rows.ok()) return status_no_memory;
    uint32_t* const a[4] = {rows.row(0), rows.row(1), rows.row(2), rows.row(3)};
    uint32_t* const b[4] = {rows.row(4), rows.row(5), rows.row(6), rows.row(7)};
    uint32_t* const c[4] = {rows.row(8), rows.row(9), rows.row(10), rows.row(11)};
    gauss5_u8(src, src_step, dst, dst_step, roi, a, b, c);
  }
  return status_ok;
}

pixel_status gauss_filter_u16(const uint16_t* src, int32_t src_step, uint16_t* dst,
                              int32_t dst_step, pixel_size roi, int32_t mask) {
  if (pixel_status s = check_gauss_args(src, src_step, dst, dst_step, roi, mask)) return s;
  for (int32_t y = 0; y < roi.height; ++y) {
    const unsigned char* s = sample_addr(src, src_step, y, 0);
    unsigned char* d = sample_addr(dst, dst_step, y, 0);
    for (ptrdiff_t x = 0; x < roi.width; ++x) {
      const uint16_t v = mask == mask_3x3 ? gauss3_at<uint16_t>(s + 2 * x, src_step)
                                          : gauss5_at<uint16_t>(s + 2 * x, src_step);
      __builtin_memcpy(d + 2 * x, &v, sizeof v);
    }
  }
  return status_ok;
}

}  // namespace ns_pixel_kernels::generic
