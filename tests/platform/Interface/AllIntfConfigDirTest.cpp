#include "platform/Interface/AllIntfConfigDir.h"

#include <gtest/gtest.h>

#include "platform/Interface/AllIntfQueueCounterPtrDir.h"
#include "platform/Interface/AllIntfStatusDir.h"

// What all collections share is tested once, in tests/Zon/CollectionTest.cpp.

namespace {

using Zon::newPtr;

template <class Call>
void expectNullRefused(Call const& call) {
  try {
    call();
    FAIL();
  } catch (Zon::RangeException const& exception) {
    EXPECT_EQ(exception.text(), "null ValidPtr");
  }
}

TEST(AllIntfConfigDir, FilesAConfigurationUnderItsInterface) {
  auto const dir = newPtr<Interface::AllIntfConfigDir>("configs");
  EXPECT_EQ(dir->name(), "configs");
  auto const config = newPtr<Interface::IntfConfig>("Ethernet1");
  dir->intfConfigIs(config);
  EXPECT_EQ(dir->intfConfig("Ethernet1"), config);
  EXPECT_EQ(dir->intfConfigDel("Ethernet1"), config);
  EXPECT_EQ(dir->intfConfigDel("Ethernet1"), nullptr);
  EXPECT_EQ(dir->attributeString(258), "intfConfig");
}

TEST(AllIntfConfigDir, RefusesNull) {
  auto const dir = newPtr<Interface::AllIntfConfigDir>("configs");
  expectNullRefused([&] { dir->intfConfigIs(nullptr); });
  EXPECT_FALSE(dir->intfConfigIterator());
}

TEST(AllIntfStatusDir, FilesAStatusUnderItsInterface) {
  auto const dir = newPtr<Interface::AllIntfStatusDir>("statuses");
  auto const status = newPtr<Interface::IntfStatus>("Ethernet1");
  dir->intfStatusIs(status);
  EXPECT_EQ(dir->intfStatus("Ethernet1"), status);
  Interface::AllIntfStatusDir const& constant = *dir;
  Zon::Ptr<Interface::IntfStatus const> const found = constant.intfStatus("Ethernet1");
  EXPECT_EQ(found, status);
  EXPECT_EQ(dir->intfStatusDel("Ethernet1"), status);
  EXPECT_EQ(dir->attributeString(258), "intfStatus");
}

TEST(AllIntfStatusDir, RefusesNull) {
  expectNullRefused([] { newPtr<Interface::AllIntfStatusDir>("statuses")->intfStatusIs(nullptr); });
}

TEST(AllIntfQueueCounterPtrDir, RefusesNull) {
  expectNullRefused([] { newPtr<Interface::AllIntfQueueCounterPtrDir>("output")->intfQueueCounterDirIs(nullptr); });
}

}  // namespace
