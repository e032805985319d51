#include "platform/Errdisable/Status.h"

#include <gtest/gtest.h>

#include "support/Collections.h"

namespace {

using Errdisable::Status;
using Zon::newPtr;
using Zon::Ptr;

class StatusTest : public testing::Test {
 protected:
  Support::Events events;
  Ptr<Status> status = newPtr<Status>("errdisable");
  Ptr<Support::ErrdisableWatcher> watcher = newPtr<Support::ErrdisableWatcher>("w", events, status);
};

TEST_F(StatusTest, AnEntryShowsInterfaceAndReason) {
  status->errdisabledIntfIs("Ethernet1", "bpduguard");
  auto const entry = status->errdisabledIntf("Ethernet1");
  ASSERT_TRUE(entry);
  EXPECT_EQ(entry->fwkKey(), Orvet::IntfId("Ethernet1"));
  EXPECT_EQ(entry->value(), "bpduguard");
  auto it = status->errdisabledIntfIterator();
  EXPECT_EQ(it.key(), Orvet::IntfId("Ethernet1"));
  EXPECT_EQ(it.value(), "bpduguard");
  Status const& constant = *status;
  Ptr<Status::ZonErrdisabledIntf const> const found = constant.errdisabledIntf("Ethernet1");
  EXPECT_EQ(found, entry);
}

TEST_F(StatusTest, AnEmptyReasonIsAMember) {
  status->errdisabledIntfIs("Ethernet1", "");
  EXPECT_EQ(events.take(), "w:key(Ethernet1)");
  ASSERT_TRUE(status->errdisabledIntf("Ethernet1"));
  EXPECT_EQ(status->errdisabledIntf("Ethernet1")->value(), "");
  status->errdisabledIntfIs("Ethernet1", "");
  EXPECT_EQ(events.take(), "");
}

TEST_F(StatusTest, AnotherReasonIsOneChangeInPlace) {
  status->errdisabledIntfIs("Ethernet1", "bpduguard");
  auto const entry = status->errdisabledIntf("Ethernet1");
  events.take();
  status->errdisabledIntfIs("Ethernet1", "link-flap");
  EXPECT_EQ(events.take(), "w:key(Ethernet1)");
  EXPECT_EQ(status->errdisabledIntf("Ethernet1"), entry);
  EXPECT_EQ(entry->value(), "link-flap");
}

TEST_F(StatusTest, RemovalReturnsTheEntryWithItsReason) {
  status->errdisabledIntfIs("Ethernet1", "bpduguard");
  auto const removed = status->errdisabledIntfDel("Ethernet1");
  ASSERT_TRUE(removed);
  EXPECT_EQ(removed->value(), "bpduguard");
  EXPECT_EQ(status->errdisabledIntfDel("Ethernet1"), nullptr);
}

TEST_F(StatusTest, AnEntryHeldPastItsRemovalMayNotComeBackByItself) {
  status->errdisabledIntfIs("Ethernet1", "bpduguard");
  auto const removed = status->errdisabledIntfDel("Ethernet1");
  status->errdisabledIntfIs("Ethernet1", "bpduguard");
  EXPECT_NE(status->errdisabledIntf("Ethernet1"), removed);
}

TEST_F(StatusTest, NamesItsAttribute) {
  EXPECT_EQ(status->attributeString(258), "errdisabledIntf");
  EXPECT_EQ(status->attributeString(259), "unknown");
}

}  // namespace
