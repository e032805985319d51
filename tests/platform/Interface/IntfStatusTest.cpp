#include "platform/Interface/IntfStatus.h"

#include <limits>

#include <gtest/gtest.h>

#include "support/Collections.h"

namespace {

using Interface::IntfStatus;
using Zon::newPtr;
using Zon::Ptr;

class IntfStatusTest : public testing::Test {
 protected:
  Support::Events events;
  Ptr<IntfStatus> status = newPtr<IntfStatus>("Ethernet1");
  Ptr<Support::StatusWatcher> watcher = newPtr<Support::StatusWatcher>("w", events, status);
};

TEST_F(IntfStatusTest, StartsInactiveWithoutForwardingModel) {
  EXPECT_EQ(status->intfId(), Orvet::IntfId("Ethernet1"));
  EXPECT_EQ(status->name(), "Ethernet1");
  EXPECT_FALSE(status->active());
  EXPECT_EQ(status->forwardingModel(), 0);
  EXPECT_FALSE(status->forwardingModelInputsIterator());
}

TEST_F(IntfStatusTest, SettersTellOnlyOfRealChanges) {
  status->activeIs(false);
  status->forwardingModelIs(0);
  EXPECT_EQ(events.take(), "");
  status->activeIs(true);
  status->forwardingModelIs(std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(events.take(), "w:active w:forwardingModel");
  EXPECT_TRUE(status->active());
  EXPECT_EQ(status->forwardingModel(), std::numeric_limits<std::int32_t>::min());
  status->activeIs(true);
  EXPECT_EQ(events.take(), "");
}

TEST_F(IntfStatusTest, ExceptionsCarryTheAttributesIds) {
  watcher->act = [](std::string const&) { throw 1; };
  status->forwardingModelIs(1);
  status->forwardingModelInputsIs("source", 1);
  status->activeIs(true);
  EXPECT_EQ(events.take(),
            "w:forwardingModel w:exception(265) w:key(source) w:exception(266) w:active w:exception(272)");
}

TEST_F(IntfStatusTest, AnInputShowsKeyAndValue) {
  status->forwardingModelInputsIs("bridging", 3);
  auto const entry = status->forwardingModelInputs("bridging");
  ASSERT_TRUE(entry);
  EXPECT_EQ(entry->fwkKey(), "bridging");
  EXPECT_EQ(entry->value(), 3);
  auto it = status->forwardingModelInputsIterator();
  EXPECT_EQ(it.key(), "bridging");
  EXPECT_EQ(it.value(), 3);
  IntfStatus const& constant = *status;
  Ptr<IntfStatus::ZonForwardingModelInputs const> const found = constant.forwardingModelInputs("bridging");
  EXPECT_EQ(found, entry);
  EXPECT_EQ(constant.forwardingModelInputsIteratorConst().value(), 3);
}

TEST_F(IntfStatusTest, AReplacementChangesTheEntryInPlace) {
  status->forwardingModelInputsIs("bridging", 3);
  auto const entry = status->forwardingModelInputs("bridging");
  status->forwardingModelInputsIs("bridging", 4);
  EXPECT_EQ(status->forwardingModelInputs("bridging"), entry);
  EXPECT_EQ(entry->value(), 4);
}

TEST_F(IntfStatusTest, RemovalReturnsTheEntryWithItsLastValue) {
  status->forwardingModelInputsIs("bridging", 3);
  auto const removed = status->forwardingModelInputsDel("bridging");
  ASSERT_TRUE(removed);
  EXPECT_EQ(removed->value(), 3);
}

TEST_F(IntfStatusTest, NamesItsAttributes) {
  EXPECT_EQ(status->attributeString(258), "intfId");
  EXPECT_EQ(status->attributeString(265), "forwardingModel");
  EXPECT_EQ(status->attributeString(266), "forwardingModelInputs");
  EXPECT_EQ(status->attributeString(272), "active");
  EXPECT_EQ(status->attributeString(5), "zeroReferences");
}

}  // namespace
