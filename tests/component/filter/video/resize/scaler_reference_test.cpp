// The scaler against a plain re-computation of every sample with the row kernels it
// used to chain (widen, multiply by the weight, add into the sum, narrow), so that
// its single-pass weighted rows may not change one bit of any picture.

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

#include "filter/video/resize/coefficients.h"
#include "filter/video/resize/resize_format.h"
#include "filter/video/resize/scaler.h"
#include "pixel_kernels/pixel_kernels.h"

namespace ns_video_resize {
namespace {

namespace pk = ns_pixel_kernels;

float widened(uint8_t s) {
  float f = 0;
  pk::convert_u8_to_f32(&s, &f, 1);
  return f;
}
float widened(uint16_t s) {
  float f = 0;
  pk::convert_u16_to_f32(&s, &f, 1);
  return f;
}
void narrowed(float sum, uint8_t* out) {
  pk::convert_f32_to_u8(&sum, out, 1, pk::round_nearest, 0);
}
void narrowed(float sum, uint16_t* out) {
  *out = !(sum > 0.0f) ? 0 : sum >= 65535.0f ? 65535 : static_cast<uint16_t>(static_cast<int32_t>(sum));
}

// One direction over a packed plane: `lines` rows (along_rows) or columns of src_len
// samples become lines of dst_len samples.
template <class S>
std::vector<S> reference_pass(const std::vector<S>& src, uint32_t src_len, uint32_t dst_len, uint32_t lines,
                              bool along_rows, const axis_table& table, const std::vector<uint32_t>& index,
                              uint32_t filter) {
  const uint32_t taps = filter_taps(filter);
  const uint32_t src_width = along_rows ? src_len : lines;
  const uint32_t dst_width = along_rows ? dst_len : lines;
  std::vector<S> dst(std::size_t{dst_len} * lines);
  for (uint32_t line = 0; line < lines; ++line) {
    for (uint32_t x = 0; x < dst_len; ++x) {
      auto at = [&](uint32_t i) {
        return along_rows ? src[std::size_t{line} * src_width + i] : src[std::size_t{i} * src_width + line];
      };
      S& out = along_rows ? dst[std::size_t{line} * dst_width + x] : dst[std::size_t{x} * dst_width + line];
      if (filter == filter_nearest) {
        out = at(index[x]);
        continue;
      }
      float sum = 0, product = 0;
      const float first = widened(at(index[x]));
      pk::multiply_by_constant_f32(&first, table.weights[0][x], &sum, 1);
      for (uint32_t t = 1; t < taps; ++t) {
        const float sample = widened(at(index[x] + t));
        pk::multiply_by_constant_f32(&sample, table.weights[t][x], &product, 1);
        pk::add_f32(&product, &sum, &sum, 1);
      }
      narrowed(sum, &out);
    }
  }
  return dst;
}

template <class S>
void expect_reference_result(uint32_t format, uint32_t filter, float cubic_a, uint32_t src_w, uint32_t src_h,
                             uint32_t dst_w, uint32_t dst_h, std::mt19937& rng) {
  const format_layout layout = *describe_format(format);
  const scaler_settings settings{layout, src_w, src_h, dst_w, dst_h, filter, cubic_a, false, 0};
  ASSERT_TRUE(scaler_supports(settings));
  // Noise with runs of black and of the brightest value, where cubic weights overshoot.
  const S max = static_cast<S>(layout.sample_bytes == 1 ? 255 : 65535);
  std::vector<S> in(frame_samples(layout, src_w, src_h));
  for (S& s : in) {
    const uint32_t r = rng();
    s = r % 8 == 0 ? 0 : r % 8 == 1 ? max : static_cast<S>(r >> 8);
  }
  std::vector<S> out(frame_samples(layout, dst_w, dst_h) + 1, 0x5A);
  separable_scaler<S> scaler(settings);
  std::vector<S> placed = in;
  scaler.scale_frame(placed.data(), reinterpret_cast<uint8_t*>(out.data()));
  ASSERT_EQ(out.back(), 0x5A) << "wrote past the frame";

  const uint32_t taps = filter_taps(filter);
  const axis_table h_table = build_axis_table(filter, cubic_a, src_w, dst_w);
  const axis_table v_table = build_axis_table(filter, cubic_a, src_h, dst_h);
  const bool horizontal_first = dst_w >= src_w && dst_h >= src_h;
  std::size_t in_at = 0, out_at = 0;
  for (uint32_t p = 0; p < plane_count(layout); ++p) {
    const plane_size s = plane_dimensions(layout, p, src_w, src_h);
    const plane_size d = plane_dimensions(layout, p, dst_w, dst_h);
    const bool small = is_chroma(layout, p) && layout.chroma_shift_x != 0;
    const std::vector<uint32_t> h_index = plane_index(h_table, d.width, small, s.width, taps);
    const std::vector<uint32_t> v_index = plane_index(v_table, d.height, small, s.height, taps);
    const std::vector<S> plane(in.begin() + in_at, in.begin() + in_at + std::size_t{s.width} * s.height);
    const std::vector<S> want =
        horizontal_first
            ? reference_pass(reference_pass(plane, s.width, d.width, s.height, true, h_table, h_index, filter),
                             s.height, d.height, d.width, false, v_table, v_index, filter)
            : reference_pass(reference_pass(plane, s.height, d.height, s.width, false, v_table, v_index, filter),
                             s.width, d.width, d.height, true, h_table, h_index, filter);
    for (uint32_t y = 0; y < d.height; ++y)
      for (uint32_t x = 0; x < d.width; ++x)
        ASSERT_EQ(out[out_at + std::size_t{y} * d.width + x], want[std::size_t{y} * d.width + x])
            << "plane " << p << " at " << x << "," << y;
    in_at += std::size_t{s.width} * s.height;
    out_at += std::size_t{d.width} * d.height;
  }
}

TEST(ScalerReference, EverySampleMatchesTheKernelChainItReplaced) {
  struct job {
    uint32_t src_w, src_h, dst_w, dst_h;
  };
  // Up, down, and narrower-but-taller (vertical pass first); odd sizes for ragged rows.
  const job jobs[] = {{20, 14, 37, 29}, {41, 33, 17, 12}, {30, 10, 18, 24}, {9, 8, 70, 9}};
  std::mt19937 rng(20261123);
  for (uint32_t format : {1u, 4u, 7u, 10u}) {
    for (uint32_t filter : {filter_bilinear, filter_cubic, filter_bspline, filter_nearest}) {
      for (float cubic_a : {-0.5f, -1.0f}) {
        if (cubic_a != -0.5f && filter != filter_cubic) continue;
        for (const job& j : jobs) {
          SCOPED_TRACE(testing::Message() << "format " << format << " filter " << filter << " a " << cubic_a
                                          << " " << j.src_w << "x" << j.src_h << "->" << j.dst_w << "x" << j.dst_h);
          if (describe_format(format)->sample_bytes == 1)
            expect_reference_result<uint8_t>(format, filter, cubic_a, j.src_w, j.src_h, j.dst_w, j.dst_h, rng);
          else
            expect_reference_result<uint16_t>(format, filter, cubic_a, j.src_w, j.src_h, j.dst_w, j.dst_h, rng);
        }
      }
    }
  }
}

}  // namespace
}  // namespace ns_video_resize
