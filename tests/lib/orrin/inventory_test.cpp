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

bool is_idle(CVideoConverter* created) {
  RObject<CVideoConverter> held(created);
  return dynamic_cast<idle_converter*>(created) != nullptr;
}

TEST(OrrinInventory, ProgramRegistrationWinsOverLibraryDefaultsAndCanBeUndone) {
  EXPECT_EQ(inventory::CreateInstance(0x78787878), nullptr);
  AddKestrelleComponentDependencies();
  auto library = inventory::Register(
      kVideoConverterType, CComponentFactory<CVideoConverter>([] { return new idle_converter; }));
  ASSERT_TRUE(library);
  AddKestrelleComponentDependencies();  // must not put the library's converter back
  EXPECT_TRUE(is_idle(inventory::CreateInstance(kVideoConverterType)));

  // Removing the entry lets the defaults come back.
  EXPECT_TRUE(inventory::Register(kVideoConverterType, {}));
  EXPECT_EQ(inventory::CreateInstance(kVideoConverterType), nullptr);
  AddKestrelleComponentDependencies();
  EXPECT_FALSE(is_idle(inventory::CreateInstance(kVideoConverterType)));
  EXPECT_FALSE(inventory::RegisterIfAbsent(kVideoConverterType, library));
}

}  // namespace
}  // namespace Quorvane::Orrin
