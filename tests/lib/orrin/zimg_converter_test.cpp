#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <tuple>
#include <utility>
#include <vector>

#include "orrin/component_inventory.h"
#include "orrin/picture_format.h"

namespace Quorvane::Orrin {
namespace {

// Prepare's result goes to `prepared` when given; otherwise a failure throws, failing the test.
RObject<CVideoConverter> make_converter(uint32_t fourcc, long width, long height, long out_width, long out_height,
                                        long filter = -1, Result* prepared = nullptr, long threads = 0) {
  AddKestrelleComponentDependencies();
  RObject<CVideoConverter> converter(
      CComponentInventory<CComponentFactory<CVideoConverter>>::CreateInstance(kVideoConverterType));
  RObject<CVideoProperties> in(new CVideoProperties(nullptr));
  in->SetFormat(fourcc, kVideoStreamContext);
  in->SetWidth(width, kVideoStreamContext);
  in->SetHeight(height, kVideoStreamContext);
  in->SetProperty(kPropertyTargetHeight, out_height);  // read from the input properties
  converter->SetProperty(kPropertyTargetWidth, out_width);
  if (filter >= 0) converter->SetProperty(kPropertyFilter, filter);
  if (threads > 0) converter->SetProperty(kPropertyThreads, threads);
  converter->SetInputProperties(in.Get());
  const Result result = converter->Prepare();
  if (prepared != nullptr) *prepared = result;
  else if (result.Failed()) throw std::runtime_error("Prepare failed");
  return converter;
}

// Calls at(plane, x, y, sample address) for every sample of a picture laid out as
// picture_format.h says, luma rows `stride` bytes apart.
template <class Fn>
void for_each_sample(uint32_t fourcc, long width, long height, long stride, uint8_t* base, Fn at) {
  const PictureLayout layout = *DescribePictureFormat(fourcc);
  for (int p = 0; p < 3; ++p) {
    const long w = p == 0 ? width : width >> layout.chroma_shift_x;
    const long h = p == 0 ? height : height >> layout.chroma_shift_y;
    const long s = p == 0 ? stride : stride >> layout.chroma_shift_x;
    for (long y = 0; y < h; ++y)
      for (long x = 0; x < w; ++x) at(p, x, y, base + y * s + x * layout.bytes_per_sample);
    base += s * h;
  }
}

// A picture whose sample (plane, x, y) is value(plane, x, y).
template <class Fn>
RObject<CVideoSample> make_picture(uint32_t fourcc, long width, long height, long stride, Fn value) {
  RObject<CByteArray> block(new CByteArray(static_cast<std::size_t>(stride) * height * 3));
  std::memset(block->GetData(), 0, block->GetLength());
  for_each_sample(fourcc, width, height, stride, block->GetData(), [&](int p, long x, long y, uint8_t* at) {
    const uint16_t v = static_cast<uint16_t>(value(p, x, y));
    std::memcpy(at, &v, DescribePictureFormat(fourcc)->bytes_per_sample);
  });
  RObject<CVideoSample> sample(new CVideoSample(40, 1000, 40));
  sample->SetDataReference(new CPixelBufferDataReference(block.Get(), width, height, stride));
  return sample;
}

RObject<CVideoSample> convert_one(CVideoConverter& converter, CVideoSample* in) {
  EXPECT_EQ(converter.PutSample(in).GetResultCode(), kResultOk);
  RObject<CVideoSample> out;
  EXPECT_EQ(converter.GetSample(out).GetResultCode(), kResultOk);
  RObject<CVideoSample> none;
  EXPECT_EQ(converter.GetSample(none).GetResultCode(), kResultNoSample);
  EXPECT_FALSE(none);
  return out;
}

TEST(OrrinZimgConverter, EveryFormatKeepsEachPlaneConstantAtItsPlace) {
  for (uint32_t fourcc : {kFourccI420, kFourccI422, kFourccI444, kFourccI2AL}) {
    const PictureLayout layout = *DescribePictureFormat(fourcc);
    const unsigned unit = layout.bytes_per_sample == 1 ? 1 : 300;
    const unsigned level[3] = {50 * unit, 100 * unit, 200 * unit};
    for (auto [out_w, out_h] : {std::pair{1280L, 720L}, {352L, 240L}}) {
      SCOPED_TRACE(testing::Message() << std::hex << fourcc << std::dec << " to " << out_w << "x" << out_h);
      auto converter = make_converter(fourcc, 720, 480, out_w, out_h);
      const auto props = converter->GetOutputProperties();
      ASSERT_TRUE(props);
      EXPECT_EQ(std::tuple(props->GetFormat(), props->GetWidth(), props->GetHeight()), std::tuple(fourcc, out_w, out_h));

      const long in_stride = 720 * layout.bytes_per_sample;
      auto in = make_picture(fourcc, 720, 480, in_stride, [&](int p, long, long) { return level[p]; });
      auto result = convert_one(*converter, in.Get());
      ASSERT_TRUE(result);
      EXPECT_EQ(std::tuple(result->GetTime(), result->GetTimeScale()), std::tuple(int64_t{40}, int64_t{1000}));
      const auto* picture = static_cast<CPixelBufferDataReference*>(result->GetDataReference());
      EXPECT_EQ(std::tuple(picture->GetWidth(), picture->GetHeight()), std::tuple(out_w, out_h));
      const std::size_t stride = static_cast<std::size_t>(picture->GetStride());
      EXPECT_GE(stride, out_w * layout.bytes_per_sample);
      EXPECT_EQ(stride % (64u << layout.chroma_shift_x), 0u);

      const auto lock = picture->GetLockedDataReference(kLockReadWrite);
      std::size_t mismatches = 0;
      uint8_t* last = nullptr;
      for_each_sample(fourcc, out_w, out_h, static_cast<long>(stride), lock.GetData(),
                      [&](int p, long, long, uint8_t* at) {
                        uint16_t v = 0;
                        std::memcpy(&v, at, layout.bytes_per_sample);
                        mismatches += v != level[p];
                        last = at;
                      });
      EXPECT_EQ(mismatches, 0u);
      EXPECT_LE(last + layout.bytes_per_sample, lock.GetData() + lock.GetLength());
    }
  }
}

TEST(OrrinZimgConverter, RefusesBadSetupsAndPicturesTooShortToRead) {
  const auto prepare = [](uint32_t fourcc, long w, long h, long out_w, long out_h, long filter) {
    Result prepared;
    make_converter(fourcc, w, h, out_w, out_h, filter, &prepared);
    return prepared.GetResultCode();
  };
  EXPECT_EQ(prepare(0x59555932, 64, 64, 32, 32, -1), kResultUnsupportedFormat);
  EXPECT_EQ(prepare(kFourccI420, 63, 64, 32, 32, -1), kResultInvalidArgument);
  EXPECT_EQ(prepare(kFourccI420, 64, 64, 32, 31, -1), kResultInvalidArgument);
  EXPECT_EQ(prepare(kFourccI444, 64, 64, 32, 32, 99), kResultInvalidArgument);

  auto converter = make_converter(kFourccI420, 64, 64, 32, 32);
  // One byte short of the V plane's last row: refused without reading past it.
  std::vector<uint8_t> bytes(64 * 64 * 3 / 2 - 1, 0);
  RObject<CVideoSample> short_picture(new CVideoSample(0, 1000, 0));
  short_picture->SetDataReference(new CPixelBufferDataReference(new CByteArray(bytes.data(), bytes.size()), 64, 64, 64));
  EXPECT_EQ(converter->PutSample(short_picture.Get()).GetResultCode(), kResultInvalidArgument);
  RObject<CVideoSample> out;
  EXPECT_EQ(converter->GetSample(out).GetResultCode(), kResultNoSample);

  // New input properties need a new Prepare.
  RObject<CVideoProperties> in(new CVideoProperties(nullptr));
  converter->SetInputProperties(in.Get());
  EXPECT_FALSE(converter->GetOutputProperties());
  auto sample = make_picture(kFourccI420, 64, 64, 64, [](int, long, long) { return 1u; });
  EXPECT_EQ(converter->PutSample(sample.Get()).GetResultCode(), kResultNotPrepared);
}

TEST(OrrinZimgConverter, OutputHeldByTheCallerIsNeverOverwritten) {
  auto converter = make_converter(kFourccI420, 64, 64, 128, 128);
  const auto flat = [](unsigned level) { return [level](int, long, long) { return level; }; };
  auto first = convert_one(*converter, make_picture(kFourccI420, 64, 64, 64, flat(10)).Get());
  const uint8_t* first_data = first->GetDataReference()->GetLockedDataReference(kLockRead).GetData();
  auto second = convert_one(*converter, make_picture(kFourccI420, 64, 64, 64, flat(20)).Get());
  const uint8_t* second_data = second->GetDataReference()->GetLockedDataReference(kLockRead).GetData();
  EXPECT_NE(first_data, second_data);
  EXPECT_EQ(first_data[0], 10);
  EXPECT_EQ(second_data[0], 20);

  // Once released, a block is used again rather than allocated anew.
  first.Reset();
  second.Reset();
  auto third = convert_one(*converter, make_picture(kFourccI420, 64, 64, 64, flat(30)).Get());
  const uint8_t* third_data = third->GetDataReference()->GetLockedDataReference(kLockRead).GetData();
  EXPECT_EQ(third_data, second_data);
  EXPECT_EQ(third_data[0], 30);
}

TEST(OrrinZimgConverter, FilterPropertySelectsPointSampling) {
  const auto ramp = [](int, long x, long) { return static_cast<unsigned>(x * 4); };
  for (long filter : {long{kVrcFilterPoint}, long{kVrcFilterBicubic}}) {
    auto converter = make_converter(kFourccI444, 64, 8, 192, 8, filter);
    auto out = convert_one(*converter, make_picture(kFourccI444, 64, 8, 64, ramp).Get());
    const uint8_t* row = out->GetDataReference()->GetLockedDataReference(kLockRead).GetData();
    const bool all_from_input = std::all_of(row, row + 192, [](unsigned v) { return v % 4 == 0; });
    EXPECT_EQ(all_from_input, filter == kVrcFilterPoint) << "filter " << filter;
  }
}

// The picture's samples, row padding left out (nothing writes it).
std::vector<uint8_t> bytes_of(const CVideoSample& sample, uint32_t fourcc, long width, long height) {
  const CDataReference& reference = *sample.GetDataReference();
  const auto lock = reference.GetLockedDataReference(kLockRead);
  const uint32_t bytes = DescribePictureFormat(fourcc)->bytes_per_sample;
  std::vector<uint8_t> samples;
  for_each_sample(fourcc, width, height, reference.GetStride(), lock.GetData(),
                  [&](int, long, long, uint8_t* at) { samples.insert(samples.end(), at, at + bytes); });
  return samples;
}

TEST(OrrinZimgConverter, PackedInputZimgCannotReadInPlaceGivesTheSameResult) {
  // 720-byte luma rows put the chroma planes off zimg's 64-byte alignment.
  const auto ramp = [](int p, long x, long y) { return static_cast<unsigned>((x * 3 + y * 5 + p * 40) % 256); };
  auto packed = make_converter(kFourccI420, 720, 576, 1024, 576);
  auto aligned = make_converter(kFourccI420, 720, 576, 1024, 576);
  EXPECT_EQ(bytes_of(*convert_one(*packed, make_picture(kFourccI420, 720, 576, 720, ramp).Get()), kFourccI420, 1024, 576),
            bytes_of(*convert_one(*aligned, make_picture(kFourccI420, 720, 576, 768, ramp).Get()), kFourccI420, 1024, 576));
}

// Noise the scaler cannot smooth into equality by accident.
unsigned noise(int p, long x, long y) {
  uint32_t h = static_cast<uint32_t>(p * 7919 + x * 104729 + y * 1299709);
  h ^= h >> 13;
  h *= 0x5bd1e995u;
  return (h ^ (h >> 15)) & 0xFFFF;
}

TEST(OrrinZimgConverter, PlanesScaledOnTwoThreadsEqualTheWholePicture) {
  struct shape {
    uint32_t fourcc;
    long w, h, out_w, out_h;
  };
  const shape shapes[] = {
      {kFourccI420, 1280, 720, 1920, 1080}, {kFourccI420, 1920, 1080, 1280, 720},
      {kFourccI420, 720, 576, 1024, 576},   {kFourccI420, 64, 2, 66, 130},
      {kFourccI422, 1280, 720, 1920, 1080}, {kFourccI422, 720, 487, 352, 241},
      {kFourccI444, 352, 289, 704, 577},    {kFourccI444, 640, 480, 160, 121},
      {kFourccI2AL, 1280, 720, 1920, 1080}, {kFourccI2AL, 720, 485, 640, 363},
  };
  for (const shape& s : shapes) {
    for (long filter : {long{kVrcFilterBicubic}, long{kVrcFilterLanczos3}, long{kVrcFilterBilinear}}) {
      SCOPED_TRACE(testing::Message() << std::hex << s.fourcc << std::dec << " " << s.w << "x" << s.h << " -> "
                                      << s.out_w << "x" << s.out_h << " filter " << filter);
      const long stride = s.w * DescribePictureFormat(s.fourcc)->bytes_per_sample;
      const auto picture = make_picture(s.fourcc, s.w, s.h, stride, noise);
      auto one = make_converter(s.fourcc, s.w, s.h, s.out_w, s.out_h, filter, nullptr, 1);
      auto two = make_converter(s.fourcc, s.w, s.h, s.out_w, s.out_h, filter, nullptr, 2);
      const auto a = bytes_of(*convert_one(*one, picture.Get()), s.fourcc, s.out_w, s.out_h);
      const auto b = bytes_of(*convert_one(*two, picture.Get()), s.fourcc, s.out_w, s.out_h);
      ASSERT_EQ(a.size(), b.size());
      const auto diff = std::mismatch(a.begin(), a.end(), b.begin());
      EXPECT_TRUE(diff.first == a.end()) << "first difference at byte " << (diff.first - a.begin()) << " of "
                                         << a.size();
    }
  }
}

std::vector<uint8_t> picture_of(const CVideoSample& sample) { return bytes_of(sample, kFourccI420, 192, 108); }

TEST(OrrinZimgConverter, ARepeatedPictureIsNotScaledAgainYetReadsTheSame) {
  for (long threads : {1L, 2L}) {
    SCOPED_TRACE(testing::Message() << threads << " threads");
    auto converter = make_converter(kFourccI420, 128, 72, 192, 108, -1, nullptr, threads);
    auto fresh = make_converter(kFourccI420, 128, 72, 192, 108, -1, nullptr, threads);
    const auto a = make_picture(kFourccI420, 128, 72, 128, noise);
    // The same samples at another stride, and a copy that differs in the V plane's
    // last sample only.
    const auto a_wide = make_picture(kFourccI420, 128, 72, 192, noise);
    const auto b = make_picture(kFourccI420, 128, 72, 128, [](int p, long x, long y) {
      return p == 2 && x == 63 && y == 35 ? noise(p, x, y) + 1 : noise(p, x, y);
    });
    const auto first = convert_one(*converter, a.Get());
    const auto repeat = convert_one(*converter, a_wide.Get());
    EXPECT_EQ(repeat->GetDataReference()->GetLockedDataReference(kLockRead).GetData(),
              first->GetDataReference()->GetLockedDataReference(kLockRead).GetData())
        << "a repeat shares the first showing's block";
    const auto changed = convert_one(*converter, b.Get());
    EXPECT_EQ(picture_of(*changed), picture_of(*convert_one(*fresh, b.Get())));
    EXPECT_NE(picture_of(*changed), picture_of(*first));
    // Back to `a` after `b`: scaled again, the same bytes as its first showing.
    EXPECT_EQ(picture_of(*convert_one(*converter, a.Get())), picture_of(*first));
    EXPECT_EQ(picture_of(*first), picture_of(*convert_one(*fresh, a.Get())));
  }
}

}  // namespace
}  // namespace Quorvane::Orrin
