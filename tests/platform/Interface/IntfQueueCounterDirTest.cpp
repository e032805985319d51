#include "platform/Interface/IntfQueueCounterDir.h"

#include <gtest/gtest.h>

#include "platform/Interface/AllIntfQueueCounterPtrDir.h"

namespace {

using Interface::IntfQueueCounter;
using Interface::IntfQueueCounterDir;
using Zon::newPtr;

TEST(IntfQueueCounterDir, IsKeyedByItsInterfaceAndNamedAfterIt) {
  auto const counters = newPtr<IntfQueueCounterDir>("Ethernet1");
  EXPECT_EQ(counters->intfId(), Orvet::IntfId("Ethernet1"));
  EXPECT_EQ(counters->fwkKey(), Orvet::IntfId("Ethernet1"));
  EXPECT_EQ(counters->name(), "Ethernet1");
  EXPECT_EQ(counters->attributeString(258), "intfId");
  EXPECT_EQ(counters->attributeString(259), "intfQueueCounter");
}

TEST(IntfQueueCounterDir, FilesACounterUnderItsName) {
  auto const counters = newPtr<IntfQueueCounterDir>("Ethernet1");
  auto const drops = newPtr<IntfQueueCounter>("drops");
  counters->intfQueueCounterIs(drops);
  EXPECT_EQ(drops->fwkKey(), "drops");
  EXPECT_EQ(counters->intfQueueCounter("drops"), drops);
  EXPECT_EQ(drops->fullName(), "Ethernet1/drops");
  EXPECT_EQ(counters->intfQueueCounterDel("drops"), drops);
  EXPECT_THROW(counters->intfQueueCounterIs(nullptr), Zon::RangeException);
}

TEST(IntfQueueCounterDir, StandsInASliceAndInTheOutputAtOnce) {
  auto const output = newPtr<Interface::AllIntfQueueCounterPtrDir>("output");
  auto const counters = newPtr<IntfQueueCounterDir>("Ethernet1");
  auto const owner = newPtr<Zon::Entity>("slice");
  counters->parentIs(owner);
  output->intfQueueCounterDirIs(counters);
  EXPECT_EQ(output->intfQueueCounterDir("Ethernet1"), counters);
  EXPECT_EQ(counters->parent(), owner);
  EXPECT_EQ(output->attributeString(258), "intfQueueCounterDir");
}

}  // namespace
