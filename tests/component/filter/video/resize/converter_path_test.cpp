#include <gtest/gtest.h>

#include <deque>
#include <tuple>

#include "filter/video/resize/video_resize_impl.h"
#include "orrin/component_inventory.h"
#include "orrin/picture_format.h"
#include "resize_test_support.h"

namespace ns_video_resize {
namespace {

using namespace testing_support;
namespace orrin = Quorvane::Orrin;
using inventory = orrin::CComponentInventory<orrin::CComponentFactory<orrin::CVideoConverter>>;

// How the stand-in converter behaves, and what it saw.
struct fake_behaviour {
  long stride_padding = 0;  // bytes added to every luma row of its output
  long missing_bytes = 0;   // output this many bytes shorter than its rows need
  int samples_per_picture = 1;
  long height_error = 0;  // added to the output height it reports
  bool refuse_prepare = false;
  int fail_put = -1;  // PutSample number (from 0) that fails

  int puts = 0;

  uint32_t seen_format = 0;
  long seen_width = 0, seen_height = 0, seen_stride = 0, target_width = 0, target_height = 0;
};

uint32_t fake_value(uint32_t first, uint32_t x, uint32_t y) { return first + (x + 3 * y) % 5; }

// Produces pictures of the target size whose sample (x, y) of plane p is the first
// sample of the input's plane p plus (x + 3y) % 5, rows padded as told.
class fake_converter : public orrin::CVideoConverter {
public:
  explicit fake_converter(fake_behaviour* b) : b_(b) {}

  orrin::Result Prepare() override {
    const orrin::CVideoProperties* in = GetInputProperties();
    b_->seen_format = in->GetFormat();
    b_->seen_width = in->GetWidth();
    b_->seen_height = in->GetHeight();
    GetTargetSize(&b_->target_width, &b_->target_height);
    if (b_->refuse_prepare) return orrin::Result(orrin::kResultUnsupportedFormat);
    orrin::RObject<orrin::CVideoProperties> out(new orrin::CVideoProperties(in));
    out->SetWidth(b_->target_width, orrin::kVideoStreamContext);
    out->SetHeight(b_->target_height + b_->height_error, orrin::kVideoStreamContext);
    SetOutputProperties(out);
    layout_ = *orrin::DescribePictureFormat(in->GetFormat());
    return orrin::Result(orrin::kResultOk);
  }

  orrin::Result PutSample(orrin::CVideoSample* sample) override {
    if (b_->puts++ == b_->fail_put) return orrin::Result(orrin::kResultProcessingFailed);
    const orrin::CDataReference* ref = sample->GetDataReference();
    b_->seen_stride = ref->GetStride();
    const std::size_t ss = layout_.bytes_per_sample;
    const uint8_t* in = ref->GetLockedDataReference(orrin::kLockRead).GetData();
    const std::size_t in_luma = static_cast<std::size_t>(b_->seen_width * b_->seen_height) * ss;
    const std::size_t in_chroma = in_luma >> (layout_.chroma_shift_x + layout_.chroma_shift_y);
    uint32_t first[3] = {};
    for (uint32_t p = 0; p < 3; ++p)
      std::memcpy(&first[p], in + (p == 0 ? 0 : in_luma + (p - 1) * in_chroma), ss);

    const auto w = static_cast<std::size_t>(b_->target_width);
    const auto h = static_cast<std::size_t>(b_->target_height);
    const std::size_t stride = w * ss + static_cast<std::size_t>(b_->stride_padding);
    const std::size_t rows[3] = {h, h >> layout_.chroma_shift_y, h >> layout_.chroma_shift_y};
    const std::size_t strides[3] = {stride, stride >> layout_.chroma_shift_x,
                                    stride >> layout_.chroma_shift_x};
    const std::size_t bytes = stride * h + 2 * strides[1] * rows[1] - b_->missing_bytes;
    orrin::RObject<orrin::CByteArray> block(new orrin::CByteArray(bytes));
    std::memset(block->GetData(), 0xEE, bytes);
    std::size_t start = 0;
    for (uint32_t p = 0; p < 3; ++p) {
      const std::size_t width = p == 0 ? w : w >> layout_.chroma_shift_x;
      for (std::size_t y = 0; y < rows[p]; ++y)
        for (std::size_t x = 0; x < width; ++x) {
          const uint32_t v = fake_value(first[p], static_cast<uint32_t>(x), static_cast<uint32_t>(y));
          const std::size_t at = start + y * strides[p] + x * ss;
          if (at + ss <= bytes) std::memcpy(block->GetData() + at, &v, ss);
        }
      start += strides[p] * rows[p];
    }
    for (int i = 0; i < b_->samples_per_picture; ++i) {
      orrin::RObject<orrin::CVideoSample> out(new orrin::CVideoSample(0, 1000, 0));
      out->SetDataReference(new orrin::CPixelBufferDataReference(
          block.Get(), b_->target_width, b_->target_height, static_cast<long>(stride)));
      queue_.push_back(out);
    }
    return orrin::Result(orrin::kResultOk);
  }

  orrin::Result GetSample(orrin::RObject<orrin::CVideoSample>& sample) override {
    if (queue_.empty()) {
      sample.Reset();
      return orrin::Result(orrin::kResultNoSample);
    }
    sample = queue_.front();
    queue_.pop_front();
    return orrin::Result(orrin::kResultOk);
  }

private:
  fake_behaviour* b_;
  orrin::PictureLayout layout_{};
  std::deque<orrin::RObject<orrin::CVideoSample>> queue_;
};

// Puts the stand-in under 'vrc ' for one test and restores what was there.
class ConverterPath : public testing::Test {
protected:
  void SetUp() override {
    previous_ = inventory::Register(orrin::kVideoConverterType,
                                    factory([this] { return new fake_converter(&behaviour_); }));
  }
  void TearDown() override { inventory::Register(orrin::kVideoConverterType, previous_); }

  using factory = orrin::CComponentFactory<orrin::CVideoConverter>;
  fake_behaviour behaviour_;
  factory previous_;
};

TEST_F(ConverterPath, PaddedAndPackedStridesGiveTheSamePackedFrame) {
  for (uint32_t format : {1u, 3u, 4u, 7u}) {
    for (long padding : {0L, 40L}) {
      SCOPED_TRACE(testing::Message() << "format " << format << " padding " << padding);
      behaviour_.stride_padding = padding;
      auto r = make_resizer(format);
      ASSERT_EQ(configure(*r, {24, 12, 16, 8, format}), 1);
      EXPECT_EQ(std::tuple(behaviour_.seen_format, behaviour_.seen_width, behaviour_.seen_height,
                           behaviour_.target_width, behaviour_.target_height),
                std::tuple(describe_format(format)->converter_fourcc, 16L, 8L, 24L, 12L));

      const frame in(format, 16, 8, [](uint32_t p, uint32_t, uint32_t) { return 40 + 50 * p; });
      int32_t result = 0;
      frame out = run(*r, format, 24, 12, in, &result);
      ASSERT_EQ(result, 1);
      EXPECT_EQ(behaviour_.seen_stride, 16 * static_cast<long>(describe_format(format)->sample_bytes));
      frame want(format, 24, 12, [](uint32_t p, uint32_t x, uint32_t y) { return fake_value(40 + 50 * p, x, y); });
      EXPECT_EQ(out.storage(), want.storage());
    }
  }
}

TEST_F(ConverterPath, TakesAtMostTwoSamplesAndNoneLeavesTheOutputAlone) {
  for (int samples : {0, 1, 2, 3}) {
    behaviour_.samples_per_picture = samples;
    auto r = make_resizer(1);
    ASSERT_EQ(configure(*r, {32, 16, 16, 8, 1}), 1);
    const frame in(1, 16, 8, [](uint32_t, uint32_t, uint32_t) { return 9; });
    std::vector<uint8_t> out(r->frame_bytes(), 0x5A);
    uint32_t out_bytes = 0;
    EXPECT_EQ(r->process(in.bytes(), in.data(), &out_bytes, out.data()), samples < 3 ? 1 : 0) << samples << " samples";
    EXPECT_EQ(out[0], samples == 0 ? 0x5A : 9) << samples << " samples";
  }
}

TEST_F(ConverterPath, RefusedSetUpsFailConfiguration) {
  behaviour_.refuse_prepare = true;
  auto refused = make_resizer(3);
  EXPECT_EQ(configure(*refused, {32, 16, 16, 8, 3}), -1);
  EXPECT_EQ(refused->frame_bytes(), 0u);

  behaviour_ = {};
  behaviour_.height_error = 1;
  auto taller = make_resizer(3);
  EXPECT_EQ(configure(*taller, {32, 16, 16, 8, 3}), -1);

  // Formats the converter has no FourCC for never reach it: filter 0 means bilinear.
  behaviour_ = {};
  auto own = make_resizer(5);
  EXPECT_EQ(configure(*own, {32, 16, 16, 8, 5}), 1);
  EXPECT_EQ(behaviour_.seen_format, 0u);
  EXPECT_EQ(dynamic_cast<video_resize_impl<uint8_t>&>(*own).filter(), filter_bilinear);
}

TEST_F(ConverterPath, PicturesShorterThanTheirRowsAreRefusedUnread) {
  for (long padding : {0L, 40L}) {
    behaviour_.stride_padding = padding;
    // One byte into the last chroma row (past its padding, when there is some).
    behaviour_.missing_bytes = padding / 2 + 1;
    auto r = make_resizer(1);
    ASSERT_EQ(configure(*r, {24, 12, 16, 8, 1}), 1);
    const frame in(1, 16, 8, [](uint32_t, uint32_t, uint32_t) { return 9; });
    int32_t result = 1;
    run(*r, 1, 24, 12, in, &result);
    EXPECT_EQ(result, 0) << "padding " << padding;
  }
}

TEST_F(ConverterPath, FieldsAreConvertedOneAtATimeAndWovenBack) {
  for (uint32_t format : {1u, 3u}) {
    SCOPED_TRACE(testing::Message() << "format " << format);
    behaviour_ = {};
    behaviour_.stride_padding = 24;
    auto r = make_resizer(format);
    ASSERT_EQ(configure(*r, resize_args{24, 16, 16, 8, format} | [](auto& a) { a.scan_mode = 2, a.prefilter = 2; }), 1);
    EXPECT_EQ(std::tuple(behaviour_.seen_height, behaviour_.target_height), std::tuple(4L, 8L));

    // Every plane's even rows hold one value and its odd rows another.
    const frame in(format, 16, 8, [](uint32_t p, uint32_t, uint32_t y) { return 20 + 40 * p + 100 * (y % 2); });
    int32_t result = 0;
    frame out = run(*r, format, 24, 16, in, &result);
    ASSERT_EQ(result, 1);
    frame want(format, 24, 16, [](uint32_t p, uint32_t x, uint32_t y) {
      return fake_value(20 + 40 * p + 100 * (y % 2), x, y / 2);
    });
    EXPECT_EQ(out.storage(), want.storage());

    behaviour_.samples_per_picture = 3;
    run(*r, format, 24, 16, in, &result);
    EXPECT_EQ(result, 0);
  }
}

// A failed field is still woven in, from whatever the field buffer holds, and only
// the bottom field's conversion decides the result.
TEST_F(ConverterPath, BothFieldsAreWovenAndTheBottomFieldDecides) {
  const auto fields = [](uint32_t base) {
    return frame(1, 16, 8, [base](uint32_t p, uint32_t, uint32_t y) { return base + 40 * p + 100 * (y % 2); });
  };
  const auto converted = [](uint32_t base) {
    return frame(1, 24, 16, [base](uint32_t p, uint32_t x, uint32_t y) {
      return fake_value(base + 40 * p + 100 * (y % 2), x, y / 2);
    });
  };
  frame earlier = converted(10), now = converted(20);
  for (int failing : {0, 1}) {
    SCOPED_TRACE(failing == 0 ? "top field fails" : "bottom field fails");
    behaviour_ = {};
    behaviour_.fail_put = 2 + failing;  // in the second frame
    auto r = make_resizer(1);
    ASSERT_EQ(configure(*r, resize_args{24, 16, 16, 8, 1} | [](auto& a) { a.scan_mode = 2; }), 1);
    int32_t result = -1;
    ASSERT_EQ(run(*r, 1, 24, 16, fields(10), &result).storage(), earlier.storage());
    const frame out = run(*r, 1, 24, 16, fields(20), &result);
    EXPECT_EQ(result, failing == 0 ? 1 : 0);
    for (uint32_t p = 0; p < out.planes(); ++p)
      for (uint32_t y = 0; y < out.size(p).height; ++y)
        for (uint32_t x = 0; x < out.size(p).width; ++x) {
          // The field buffer still holds the field converted before the failure: the
          // earlier frame's bottom field, or this frame's top field.
          const bool failed = static_cast<int>(y % 2) == failing;
          const uint32_t want = !failed ? now.at(p, x, y) : failing == 0 ? earlier.at(p, x, y + 1) : now.at(p, x, y - 1);
          ASSERT_EQ(out.at(p, x, y), want) << "plane " << p << " at " << x << "," << y;
        }
  }
}

}  // namespace
}  // namespace ns_video_resize
