#include <gtest/gtest.h>

#include "orrin/component_inventory.h"

namespace Quorvane::Orrin {
namespace {

using inventory = CComponentInventory<CComponentFactory<CVideoConverter>>;

struct idle_converter : CVideoConverter {
  Result Prepare() override { return Result(kResultOk); }
  Result PutSample(CVideoSample*) override { return Result(kResultOk); }
  Result GetSample(RObject<CVideoSample>& sample) override {
    sample.Reset();
    return Result(kResultNoSample);
  }
};

TEST(OrrinInventory, ProgramRegistrationWinsOverLibraryDefaultsAndRestores) {
  constexpr uint32_t kOther = 0x78787878;
  EXPECT_EQ(inventory::CreateInstance(kOther), nullptr);

  // The library's converter, whichever way it got there first.
  AddKestrelleComponentDependencies();
  RObject<CVideoConverter> library(inventory::CreateInstance(kVideoConverterType));
  ASSERT_TRUE(library);
  EXPECT_EQ(dynamic_cast<idle_converter*>(library.Get()), nullptr);

  auto previous = inventory::Register(
      kVideoConverterType, CComponentFactory<CVideoConverter>([] { return new idle_converter; }));
  EXPECT_TRUE(previous);
  AddKestrelleComponentDependencies();  // must not put the library's converter back
  RObject<CVideoConverter> mine(inventory::CreateInstance(kVideoConverterType));
  EXPECT_NE(dynamic_cast<idle_converter*>(mine.Get()), nullptr);

  EXPECT_FALSE(inventory::RegisterIfAbsent(kVideoConverterType, previous));
  inventory::Register(kVideoConverterType, previous);
  RObject<CVideoConverter> again(inventory::CreateInstance(kVideoConverterType));
  EXPECT_EQ(dynamic_cast<idle_converter*>(again.Get()), nullptr);

  // An empty factory removes the entry, and the defaults can be added again.
  EXPECT_TRUE(inventory::Register(kVideoConverterType, {}));
  EXPECT_EQ(inventory::CreateInstance(kVideoConverterType), nullptr);
  AddKestrelleComponentDependencies();
  EXPECT_NE(RObject<CVideoConverter>(inventory::CreateInstance(kVideoConverterType)).Get(), nullptr);
}

}  // namespace
}  // namespace Quorvane::Orrin
