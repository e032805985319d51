#include "platform/Interface/AllIntfQueueCounterDir.h"

#include <string>

#include <gtest/gtest.h>

#include "support/Collections.h"

namespace {

using Interface::AllIntfQueueCounterDir;
using Interface::IntfQueueCounterDir;
using Zon::newPtr;
using Zon::Ptr;

/// A watcher of a slice, which is a directory too.
class SliceWatcher : public Support::QueueCounterDirWatcher<AllIntfQueueCounterDir::NotifieeConst> {
 public:
  using QueueCounterDirWatcher::QueueCounterDirWatcher;
  void onEntityPtr(Zon::Name name) override { heard("entity(" + text(name) + ")"); }
  void onEntityPtrzonImmediate() override { heard("entityImmediate"); }
  void onEntityPtr() override { heard("entityAll"); }
  void onCounterShmemMan() override { heard("counterShmemMan"); }
  void onStatisticsShmemMan() override { heard("statisticsShmemMan"); }
};

class SliceTest : public testing::Test {
 protected:
  Support::Events events;
  Ptr<AllIntfQueueCounterDir> slice = newPtr<AllIntfQueueCounterDir>("linecard3");
  Ptr<SliceWatcher> watcher = newPtr<SliceWatcher>("w", events, slice);
};

TEST_F(SliceTest, IsADirectory) {
  auto const dir = newPtr<Zon::Dir>("slices");
  dir->entityPtrIs(slice);
  EXPECT_EQ(Zon::ptrCast<AllIntfQueueCounterDir>(dir->entityPtr("linecard3")), slice);
  EXPECT_EQ(dir->subdirIterator().ptr(), slice);
  EXPECT_EQ(slice->fullName(), "slices/linecard3");
}

TEST_F(SliceTest, ListsAMemberAsAnEntryOrAsCountersButNotAsBoth) {
  auto const counters = newPtr<IntfQueueCounterDir>("e1");
  slice->entityPtrIs(counters);
  EXPECT_THROW(slice->intfQueueCounterDirIs(counters), Zon::RangeException);
  EXPECT_EQ(slice->intfQueueCounterDir("e1"), nullptr);
  slice->entityPtrDel("e1");
  slice->intfQueueCounterDirIs(counters);
  EXPECT_THROW(slice->entityPtrIs(counters), Zon::RangeException);
  EXPECT_EQ(slice->entityPtr("e1"), nullptr);
  EXPECT_EQ(slice->intfQueueCounterDir("e1"), counters);
  EXPECT_EQ(counters->parentAttrId(), 386);
}

TEST_F(SliceTest, HasTwoDifferentPrivateManagersFromTheStart) {
  ASSERT_TRUE(slice->counterShmemMan());
  ASSERT_TRUE(slice->statisticsShmemMan());
  EXPECT_NE(slice->counterShmemMan(), slice->statisticsShmemMan());
  EXPECT_EQ(slice->counterShmemMan()->name(), "");
  EXPECT_EQ(slice->statisticsShmemMan()->name(), "");
}

TEST_F(SliceTest, AnotherManagerIsToldOnce) {
  auto const manager = newPtr<Pelto::ShmemMan>();
  slice->counterShmemManIs(manager);
  EXPECT_EQ(events.take(), "w:counterShmemMan");
  EXPECT_EQ(slice->counterShmemMan(), manager);
  slice->counterShmemManIs(manager);
  EXPECT_EQ(events.take(), "");
  slice->statisticsShmemManIs(manager);
  EXPECT_EQ(events.take(), "w:statisticsShmemMan");
  EXPECT_EQ(slice->statisticsShmemMan(), manager);
}

TEST_F(SliceTest, ANullManagerIsRefusedAndNothingChanges) {
  auto const before = slice->counterShmemMan();
  EXPECT_THROW(slice->counterShmemManIs(nullptr), Zon::RangeException);
  EXPECT_THROW(slice->statisticsShmemManIs(nullptr), Zon::RangeException);
  EXPECT_EQ(slice->counterShmemMan(), before);
  EXPECT_EQ(events.take(), "");
}

TEST_F(SliceTest, ItsWatchersHearTheDirectorysChangesToo) {
  slice->entityPtrIs(newPtr<Zon::Entity>("e"));
  slice->intfQueueCounterDirIs(newPtr<IntfQueueCounterDir>("Ethernet1"));
  slice->entityPtrNotify();
  slice->intfQueueCounterDirNotify();
  EXPECT_EQ(events.take(), "w:entity(e) w:key(Ethernet1) w:entityImmediate w:entityAll w:immediate w:all");
}

TEST_F(SliceTest, AWatcherOfPlainDirectoriesHearsNothingOfTheSlices) {
  auto const plain = newPtr<Support::DirWatcher>("plain", events, slice);
  slice->intfQueueCounterDirIs(newPtr<IntfQueueCounterDir>("Ethernet1"));
  slice->intfQueueCounterDirNotify();
  slice->counterShmemManIs(newPtr<Pelto::ShmemMan>());
  EXPECT_EQ(events.take(), "w:key(Ethernet1) w:immediate w:all w:counterShmemMan");
  slice->entityPtrIs(newPtr<Zon::Entity>("e"));
  EXPECT_EQ(events.take(), "w:entity(e) plain:key(e)");
}

TEST_F(SliceTest, AWatcherOfSlicesDoesNotBindToAPlainDirectory) {
  watcher->notifierIs(newPtr<Zon::Dir>("dir"));
  EXPECT_EQ(watcher->notifier(), nullptr);
  EXPECT_EQ(watcher->name(), "");
  slice->intfQueueCounterDirIs(newPtr<IntfQueueCounterDir>("Ethernet1"));
  EXPECT_EQ(events.take(), "");
  watcher->notifierIs(slice);
  EXPECT_EQ(watcher->notifier(), slice);
  slice->intfQueueCounterDirDel("Ethernet1");
  EXPECT_EQ(events.take(), "w:key(Ethernet1)");
}

TEST_F(SliceTest, WhatIsPendingOfTheSliceAndOfTheDirectoryAreApart) {
  Zon::Dir::NotifieeConst& asDir = *watcher;
  asDir.CollectionNotifiee<Zon::Dir, Zon::Name>::zonPendingKeyIs("entry");
  asDir.CollectionNotifiee<Zon::Dir, Zon::Name>::zonPendingCountIs(1);
  watcher->zonPendingKeyIs(Orvet::IntfId("Ethernet1"));
  watcher->zonPendingCountIs(2);
  watcher->handleDefault(nullptr, 266, false);
  EXPECT_EQ(events.take(), "w:entity(entry)");
  EXPECT_EQ(watcher->zonPendingCount(), 2U);
  watcher->handleDefault(nullptr, 386, false);
  EXPECT_EQ(events.take(), "w:all");
  EXPECT_EQ(watcher->zonPendingCount(), 0U);
}

TEST_F(SliceTest, ExceptionsCarryTheSlicesIds) {
  watcher->act = [](std::string const&) { throw 1; };
  slice->counterShmemManIs(newPtr<Pelto::ShmemMan>());
  slice->statisticsShmemManIs(newPtr<Pelto::ShmemMan>());
  EXPECT_EQ(events.take(), "w:counterShmemMan w:exception(387) w:statisticsShmemMan w:exception(388)");
}

TEST_F(SliceTest, NullCountersAreRefused) {
  EXPECT_THROW(slice->intfQueueCounterDirIs(nullptr), Zon::RangeException);
  EXPECT_EQ(events.take(), "");
}

TEST_F(SliceTest, NamesItsAttributesAndTheDirectorys) {
  EXPECT_EQ(slice->attributeString(386), "intfQueueCounterDir");
  EXPECT_EQ(slice->attributeString(387), "counterShmemMan");
  EXPECT_EQ(slice->attributeString(388), "statisticsShmemMan");
  EXPECT_EQ(slice->attributeString(266), "entityPtr");
  EXPECT_EQ(slice->attributeString(1000), "unknown");
}

}  // namespace
