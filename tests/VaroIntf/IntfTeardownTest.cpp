// What the reactors of the interface directory module hear while they die, and before they are complete: nothing.

#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "support/Errdisable.h"
#include "support/Intf.h"
#include "support/TraceEvents.h"

namespace {

using namespace Support;
using Discovery = VaroIntf::AllIntfQueueCounterReactor;
using SliceReactor = VaroIntf::AllIntfQueueCounterSliceReactor;
using Leaf = VaroIntf::AllIntfQueueCounterSliceIntfCounterReactor;
using StatusMachine = VaroIntf::AllIntfStatusDirSm;
using Zon::Ptr;

class IntfTeardown : public SlicesTest {};

// ---------------------------------------------------------------------------------------------------------------
// The children go, and with them what only they held: the reactor's own input must not hear any more what that does.

TEST_F(IntfTeardown, SliceDiscoveryIsSilentBeforeItsReactorsGo) {
  auto slice = Zon::newPtr<Mourned<Slice>>(events, "slice", "a");
  slice->lastWill = [this] { slices->entityPtrIs(newSlice("b", {"Ethernet2"})); };
  slices->entityPtrIs(slice);
  auto reactor = Discovery::AllIntfQueueCounterReactorIs(nullptr, out, slices);
  reactor->hasNotificationActiveIs(false);
  slices->entityPtrDel("a");
  reactor->hasNotificationActiveIs(true);
  slice = nullptr;
  EXPECT_EQ(events.take(), "");
  reactor = nullptr;
  EXPECT_EQ(events.take(), "~slice");
  EXPECT_EQ(idsOf(*out), "");
}

TEST_F(IntfTeardown, ASliceReactorIsSilentBeforeItsReactorsGo) {
  auto const slice = newSlice("a", {});
  auto counters = Zon::newPtr<Mourned<Counters>>(events, "counters", "Ethernet1");
  counters->lastWill = [&] { slice->intfQueueCounterDirIs(newCounters("Ethernet2")); };
  slice->intfQueueCounterDirIs(counters);
  auto reactor = SliceReactor::AllIntfQueueCounterSliceReactorIs(nullptr, "a", out, slice);
  reactor->hasNotificationActiveIs(false);
  slice->intfQueueCounterDirDel("Ethernet1");
  reactor->hasNotificationActiveIs(true);
  out->intfQueueCounterDirDel("Ethernet1");
  counters = nullptr;
  EXPECT_EQ(events.take(), "");
  reactor = nullptr;
  EXPECT_EQ(events.take(), "~counters");
  EXPECT_EQ(idsOf(*out), "");
}

TEST_F(IntfTeardown, TheStatusMachineIsSilentBeforeItsReactorsGo) {
  auto const statuses = Zon::newPtr<StatusDir>("statuses");
  auto status = Zon::newPtr<Mourned<Interface::IntfStatus>>(events, "status", "Ethernet1");
  status->lastWill = [&] { statuses->intfStatusIs(Zon::newPtr<RecordingStatus>("Ethernet2", events)); };
  statuses->intfStatusIs(status);
  auto machine = StatusMachine::AllIntfStatusDirSmIs(nullptr, statuses);
  machine->hasNotificationActiveIs(false);
  statuses->intfStatusDel("Ethernet1");
  machine->hasNotificationActiveIs(true);
  status = nullptr;
  EXPECT_EQ(events.take(), "");
  machine = nullptr;
  EXPECT_EQ(events.take(), "~status");
}

// ---------------------------------------------------------------------------------------------------------------
// The other end of life: before it has looked at everything, a reactor is not told of changes.

TEST_F(IntfTeardown, ACounterReactorThatIsStillBeingMadeDefersNothing) {
  auto const slice = Zon::newPtr<Slice>("a");
  auto const manager = Zon::newPtr<RecordingShmemMan>("m", events);
  slice->counterShmemManIs(manager);
  slice->statisticsShmemManIs(manager);
  auto const counters = newCounters("Ethernet1", {"drops"});
  auto const activity = deferring();
  manager->before = [&] { counters->intfQueueCounterNotify("drops"); };
  auto const leaf = Leaf::AllIntfQueueCounterSliceIntfCounterReactorIs(activity, "Ethernet1", counters, slice);
  EXPECT_EQ(activity->zonPending(), 0U);
  manager->before = {};
  counters->intfQueueCounterNotify("drops");
  EXPECT_EQ(activity->zonPending(), 1U);
}

TEST_F(IntfTeardown, ASliceReactorThatIsStillBeingMadeDefersNothing) {
  auto const slice = newSlice("a", {"Ethernet1"});
  auto const activity = deferring();
  auto const watcher = Zon::newPtr<PtrDirWatcher>("w", events, out);
  watcher->act = [&](std::string const&) { slice->intfQueueCounterDirNotify("Ethernet1"); };
  auto const reactor = SliceReactor::AllIntfQueueCounterSliceReactorIs(activity, "a", out, slice);
  EXPECT_EQ(events.take(), "w:key(Ethernet1)");
  EXPECT_EQ(activity->zonPending(), 0U);
}

TEST_F(IntfTeardown, SliceDiscoveryThatIsStillBeingMadeDefersNothing) {
  slices->entityPtrIs(newSlice("a", {"Ethernet1"}));
  auto const activity = deferring();
  auto const watcher = Zon::newPtr<PtrDirWatcher>("w", events, out);
  watcher->act = [&](std::string const&) { slices->entityPtrNotify("a"); };
  auto const reactor = Discovery::AllIntfQueueCounterReactorIs(activity, out, slices);
  EXPECT_EQ(events.take(), "w:key(Ethernet1)");
  EXPECT_EQ(activity->zonPending(), 0U);
}

// ---------------------------------------------------------------------------------------------------------------
// Dropped inside a delivery that runs inside another one: both still hold the input, and its owner is gone.

/// Makes `change`, and again inside the watcher's callback; inside that one's, drops.
template <class Watcher>
void dropInsideNestedDelivery(Watcher& watcher, std::function<void()> const& change,
                              std::function<void()> const& drop) {
  int depth = 0;
  watcher.act = [&](std::string const&) { ++depth == 1 ? change() : drop(); };
  change();
  watcher.act = {};
}

TEST_F(IntfTeardown, AMirrorDroppedInsideANestedDeliveryMirrorsNothing) {
  auto const in = Zon::newPtr<ConfigDir>("in");
  in->intfConfigIs(newConfig("Ethernet1"));
  auto const watcher = Zon::newPtr<ConfigDirWatcher>("w", events, in);
  auto reactor = Zon::newPtr<VaroIntf::AllIntfReactor>(nullptr, Zon::newPtr<RecordingConfigDir>("c", events), nullptr,
                                                       in, nullptr);
  reactor->hasNotificationActiveIs(true);
  events.take();
  dropInsideNestedDelivery(
      *watcher, [&] { in->intfConfigNotify("Ethernet1"); }, [&] { reactor = nullptr; });
  EXPECT_EQ(events.take(), "w:key(Ethernet1) w:key(Ethernet1)");
}

TEST_F(IntfTeardown, SliceDiscoveryDroppedInsideANestedDeliveryPublishesNothing) {
  auto const watcher = Zon::newPtr<DirWatcher>("w", events, slices);
  auto reactor = Discovery::AllIntfQueueCounterReactorIs(nullptr, out, slices);
  reactor->hasNotificationActiveIs(false);
  slices->entityPtrIs(newSlice("a", {"Ethernet1"}));
  reactor->hasNotificationActiveIs(true);
  dropInsideNestedDelivery(
      *watcher, [&] { slices->entityPtrNotify("a"); }, [&] { reactor = nullptr; });
  EXPECT_EQ(idsOf(*out), "");
}

TEST_F(IntfTeardown, ASliceReactorDroppedInsideANestedDeliveryPublishesNothing) {
  auto const slice = newSlice("a", {});
  auto const watcher = Zon::newPtr<QueueCounterDirWatcher<Slice::NotifieeConst>>("w", events, slice);
  auto reactor = SliceReactor::AllIntfQueueCounterSliceReactorIs(nullptr, "a", out, slice);
  reactor->hasNotificationActiveIs(false);
  slice->intfQueueCounterDirIs(newCounters("Ethernet1"));
  reactor->hasNotificationActiveIs(true);
  dropInsideNestedDelivery(
      *watcher, [&] { slice->intfQueueCounterDirNotify("Ethernet1"); }, [&] { reactor = nullptr; });
  EXPECT_EQ(idsOf(*out), "");
}

TEST_F(IntfTeardown, ACounterReactorDroppedInsideANestedDeliveryMakesNoBlocks) {
  auto const slice = Zon::newPtr<Slice>("a");
  auto const manager = Zon::newPtr<RecordingShmemMan>("m", events);
  slice->counterShmemManIs(manager);
  slice->statisticsShmemManIs(manager);
  auto const counters = newCounters("Ethernet1");
  auto const watcher = Zon::newPtr<CounterDirWatcher>("w", events, counters);
  auto leaf = Leaf::AllIntfQueueCounterSliceIntfCounterReactorIs(nullptr, "Ethernet1", counters, slice);
  leaf->hasNotificationActiveIs(false);
  counters->intfQueueCounterIs(Zon::newPtr<Interface::IntfQueueCounter>("drops"));
  leaf->hasNotificationActiveIs(true);
  events.take();
  TraceEvents const trace(events);
  dropInsideNestedDelivery(
      *watcher, [&] { counters->intfQueueCounterNotify("drops"); }, [&] { leaf = nullptr; });
  EXPECT_EQ(events.take(), "w:key(drops) w:key(drops)");
}

}  // namespace
