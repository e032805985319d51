#include "VaroIntf/AllIntfQueueCounterReactor.h"

#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/Errdisable.h"
#include "support/Intf.h"
#include "support/Reinstantiating.h"
#include "support/Sabotage.h"

namespace {

using namespace Support;
using Discovery = VaroIntf::AllIntfQueueCounterReactor;
using SliceReactor = VaroIntf::AllIntfQueueCounterSliceReactor;
using Zon::Ptr;

/// The names of the slice reactors, sorted.
std::string slicesOf(Discovery& reactor) {
  std::map<std::string, int> names;
  for (auto it = reactor.sliceSmIterator(); it; it.advance())
    ++names[it->sliceName().stdString()];
  Events all;
  for (auto const& [name, count] : names) {
    EXPECT_EQ(count, 1);
    all.add(name);
  }
  return all.take();
}

/// The names of the slices, in the order of a sweep.
std::vector<std::string> namesOf(Zon::Dir& slices) {
  std::vector<std::string> names;
  for (auto it = slices.subdirIterator(); it; it.advance())
    names.push_back(it->name().stdString());
  return names;
}

class DiscoveryTest : public SlicesTest {
 protected:
  Ptr<Slice> add(char const* name, std::vector<Orvet::IntfId> const& ids) {
    auto const slice = newSlice(name, ids, {"c"});
    slices->entityPtrIs(slice);
    return slice;
  }
  Ptr<Discovery> made(Ptr<Zon::ActivityConfig> const& activity = nullptr) {
    return Discovery::AllIntfQueueCounterReactorIs(activity, out, slices);
  }
};

TEST_F(DiscoveryTest, CreationOverTwoSlicesServesEveryInterfaceOfBoth) {
  auto const a = add("a", {"E1", "E2"});
  auto const b = add("b", {"E3"});
  auto const activity = deferring();
  auto const reactor = made(activity);
  EXPECT_EQ(slicesOf(*reactor), "a b");
  EXPECT_EQ(idsOf(*out), "E1 E2 E3");
  EXPECT_EQ(out->intfQueueCounterDir("E1"), a->intfQueueCounterDir("E1"));
  auto const slice = reactor->sliceSm("a");
  EXPECT_EQ(slice->zonFwkActivity(), nullptr);
  EXPECT_EQ(slice->counterIn(), a);
  EXPECT_EQ(slice->counterOut(), out);
  EXPECT_TRUE(slice->hasNotificationActive());
  EXPECT_TRUE(reactor->hasNotificationActive());
  EXPECT_EQ(reactor->zonFwkActivity(), activity);
  EXPECT_EQ(reactor->counterIn(), slices);
  EXPECT_EQ(reactor->counterOut(), out);
  EXPECT_EQ(reactor->zonReferences(), 1U);
  EXPECT_EQ(b->statisticsShmemMan()->counterBlocks(), 18U);
}

TEST_F(DiscoveryTest, StaleEntriesAreDeletedBeforeTheSlicesAreServed) {
  add("a", {"E1"});
  for (char const* id : {"E7", "E8", "E9"})
    out->intfQueueCounterDirIs(newCounters(id));
  auto const stale = walkOf(*out);
  auto const watcher = Zon::newPtr<PtrDirWatcher>("w", events, out);
  auto const reactor = made();
  EXPECT_EQ(events.take(), "w:key(" + stale[0] + ") w:key(" + stale[1] + ") w:key(" + stale[2] + ") w:key(E1)");
  EXPECT_EQ(idsOf(*out), "E1");
}

TEST_F(DiscoveryTest, AnEntryBackedByAnySliceStaysAndIsRefreshed) {
  auto const a = add("a", {"E1"});
  add("b", {"E2"});
  out->intfQueueCounterDirIs(newCounters("E1"));
  auto const watcher = Zon::newPtr<PtrDirWatcher>("w", events, out);
  auto const reactor = made();
  EXPECT_EQ(out->intfQueueCounterDir("E1"), a->intfQueueCounterDir("E1"));
  EXPECT_EQ(idsOf(*out), "E1 E2");
}

TEST_F(DiscoveryTest, AnInterfaceListedByTwoSlicesKeepsItsEntryInASweepWhileEitherListsIt) {
  auto const a = add("a", {"E1"});
  auto const b = add("b", {"E1"});
  auto const reactor = made();
  reactor->hasNotificationActiveIs(false);
  a->intfQueueCounterDirDel("E1");
  reactor->handleQueueCounterDir();
  EXPECT_EQ(idsOf(*out), "E1");
  b->intfQueueCounterDirDel("E1");
  reactor->handleQueueCounterDir();
  EXPECT_EQ(idsOf(*out), "");
}

TEST_F(DiscoveryTest, ASliceThatComesIsServedOneThatGoesLosesEntriesAndReactor) {
  for (auto const& activity : {Ptr<Zon::ActivityConfig>(), immediate()}) {
    auto const reactor = made(activity);
    auto const a = add("a", {"E1", "E2"});
    EXPECT_EQ(slicesOf(*reactor), "a");
    EXPECT_EQ(idsOf(*out), "E1 E2");
    auto const held = reactor->sliceSm("a");
    slices->entityPtrDel("a");
    EXPECT_EQ(slicesOf(*reactor), "");
    EXPECT_EQ(idsOf(*out), "");
    EXPECT_TRUE(held->zonMarkedForDeletion());
    a->intfQueueCounterDirIs(newCounters("E3"));
    EXPECT_EQ(idsOf(*out), "");
    slices->entityPtrNotify("a");
    slices->entityPtrNotify("never");
    EXPECT_EQ(slicesOf(*reactor), "");
    // It may come back, the very same.
    slices->entityPtrIs(a);
    EXPECT_EQ(idsOf(*out), "E1 E2 E3");
    EXPECT_EQ(a->counterShmemMan()->counterBlocks(), 2U);
    slices->entityPtrDelAll();
    EXPECT_EQ(idsOf(*out), "");
  }
}

TEST_F(DiscoveryTest, EntriesThatAreNoSlicesDoNotExist) {
  auto const reactor = made();
  slices->entityPtrIs(Zon::newPtr<Zon::Dir>("plain"));
  slices->entityPtrIs(newConfig("config"));
  EXPECT_EQ(slicesOf(*reactor), "");
  add("a", {"E1"});
  // No slice lists it: all of them are asked.
  out->intfQueueCounterDirIs(newCounters("stale"));
  reactor->handleQueueCounterDir();
  EXPECT_EQ(slicesOf(*reactor), "a");
  EXPECT_EQ(idsOf(*out), "E1");
  // A slice replaced by something else is gone.
  slices->entityPtrDel("a");
  slices->entityPtrIs(Zon::newPtr<Zon::Dir>("a"));
  EXPECT_EQ(slicesOf(*reactor), "");
  EXPECT_EQ(idsOf(*out), "");
}

TEST_F(DiscoveryTest, ASliceReplacedByAPlainDirectoryIsGone) {
  auto const reactor = made();
  add("a", {"E1"});
  slices->entityPtrIs(Zon::newPtr<Zon::Dir>("a"));
  EXPECT_EQ(slicesOf(*reactor), "");
  EXPECT_EQ(idsOf(*out), "");
}

TEST_F(DiscoveryTest, AReplacedSliceIsRefusedWithBothValuesAndServedOnceItWasRemoved) {
  auto const a = add("a", {"E1"});
  auto const reactor = made();
  auto const old = reactor->sliceSm("a");
  auto const later = Zon::newPtr<DirWatcher>("later", events, slices);
  auto const anew = add("a", {"E2"});  // contained
  EXPECT_EQ(events.take(), "later:key(a)");
  EXPECT_EQ(reactor->sliceSm("a"), old);
  EXPECT_EQ(old->counterIn(), a);
  EXPECT_EQ(idsOf(*out), "E1");
  EXPECT_EQ(refusal([&] { reactor->handleQueueCounterDir("a"); }), reinstantiating("counterIn", anew, a));
  EXPECT_EQ(refusal([&] { reactor->handleQueueCounterDir(); }), reinstantiating("counterIn", anew, a));
  slices->entityPtrDel("a");
  slices->entityPtrIs(anew);
  EXPECT_EQ(reactor->sliceSm("a")->counterIn(), anew);
  EXPECT_EQ(idsOf(*out), "E2");
}

TEST_F(DiscoveryTest, OnADeferringActivityAReplacedSliceIsServedWhenTheRemovalWasDispatched) {
  auto const activity = deferring();
  auto const a = add("a", {"E1"});
  auto const anew = newSlice("a", {"E2"});
  auto const reactor = made(activity);
  slices->entityPtrDel("a");
  slices->entityPtrIs(anew);
  EXPECT_EQ(activity->zonDispatch(), 1U);
  EXPECT_EQ(reactor->sliceSm("a")->counterIn(), a);
  EXPECT_EQ(idsOf(*out), "E1");
  // What nobody dispatched in between, neither handler mends.
  EXPECT_EQ(refusal([&] { reactor->handleQueueCounterDir(); }), reinstantiating("counterIn", anew, a));
  EXPECT_EQ(refusal([&] { reactor->handleQueueCounterDir("a"); }), reinstantiating("counterIn", anew, a));
  EXPECT_EQ(reactor->sliceSm("a")->counterIn(), a);

  slices->entityPtrDel("a");
  EXPECT_EQ(activity->zonDispatch(), 1U);
  EXPECT_EQ(slicesOf(*reactor), "");
  slices->entityPtrIs(anew);
  EXPECT_EQ(activity->zonDispatch(), 1U);
  ASSERT_NE(reactor->sliceSm("a"), nullptr);
  EXPECT_EQ(reactor->sliceSm("a")->counterIn(), anew);
  EXPECT_EQ(contents(*out), contents(*anew));
}

TEST_F(DiscoveryTest, ASweepThatMeetsAReplacedSliceEndsThere) {
  add("a", {"E1"});
  add("b", {"E2"});
  add("c", {"E3"});
  auto const reactor = made();
  auto const order = namesOf(*slices);
  reactor->hasNotificationActiveIs(false);
  slices->entityPtrIs(newSlice(order[1], {"E9"}));
  reactor->sliceSmDel(order[0]);
  reactor->sliceSmDel(order[2]);
  EXPECT_THROW(reactor->handleQueueCounterDir(), Zon::NameInUseException);
  EXPECT_NE(reactor->sliceSm(order[0]), nullptr);
  EXPECT_EQ(reactor->sliceSm(order[2]), nullptr);
}

TEST_F(DiscoveryTest, AVanishedSliceTakesASharedEntryAlongUntilTheOtherOneSweeps) {
  auto const a = add("a", {"E1"});
  add("b", {"E1"});
  auto const reactor = made();
  EXPECT_EQ(idsOf(*out), "E1");
  slices->entityPtrDel("b");
  EXPECT_EQ(idsOf(*out), "");
  reactor->handleQueueCounterDir();
  EXPECT_EQ(idsOf(*out), "");
  reactor->sliceSm("a")->handleQueueCounterDir();
  EXPECT_EQ(contents(*out), contents(*a));
}

TEST_F(DiscoveryTest, FindOrCreateComparesOutputBeforeInputAndHandsTheActivityOverFirst) {
  auto const a = add("a", {});
  auto const reactor = made();
  auto const slice = reactor->sliceSm("a");
  auto const activity = deferring();
  EXPECT_EQ(reactor->sliceSmIs(activity, "a", out, a), slice);
  EXPECT_EQ(slice->zonFwkActivity(), activity);
  auto const otherOut = Zon::newPtr<PtrDir>("other");
  auto const otherIn = newSlice("other", {});
  EXPECT_EQ(refusal([&] { reactor->sliceSmIs(nullptr, "a", otherOut, otherIn); }),
            reinstantiating("counterOut", otherOut, out));
  EXPECT_EQ(slice->zonFwkActivity(), nullptr);
  EXPECT_EQ(refusal([&] { reactor->sliceSmIs(nullptr, "a", out, otherIn); }), reinstantiating("counterIn", otherIn, a));
  EXPECT_EQ(refusal([&] { reactor->sliceSmIs(nullptr, "a", nullptr, a); }),
            reinstantiating("counterOut", Ptr<PtrDir>(), out));
  EXPECT_EQ(refusal([&] { reactor->sliceSmIs(nullptr, "a", out, nullptr); }),
            reinstantiating("counterIn", Ptr<Slice>(), a));
  auto const fresh = reactor->sliceSmIs(activity, "fresh", nullptr, nullptr);
  EXPECT_TRUE(fresh->hasNotificationActive());
  EXPECT_EQ(fresh->zonFwkActivity(), activity);
  EXPECT_EQ(std::as_const(*reactor).sliceSm("fresh"), fresh);
}

TEST_F(DiscoveryTest, RemovalsReturnWorkingReactorsOrNull) {
  auto const a = add("a", {"E1"});
  add("b", {"E2"});
  auto const reactor = made();
  auto const slice = reactor->sliceSmDel("a");
  EXPECT_EQ(reactor->sliceSmDel("a"), nullptr);
  EXPECT_FALSE(slice->zonMarkedForDeletion());
  a->intfQueueCounterDirIs(newCounters("E3"));
  EXPECT_EQ(idsOf(*out), "E1 E2 E3");
  auto it = reactor->sliceSmIterator();
  EXPECT_EQ(reactor->sliceSmDel(it)->sliceName(), "b");
  EXPECT_EQ(reactor->sliceSmDel(it), nullptr);
  reactor->newSliceSm(nullptr, "n", nullptr, nullptr);
  reactor->sliceSmNotify("n");
  EXPECT_EQ(slicesOf(*reactor), "n");
  reactor->sliceSmDelAll();
  EXPECT_FALSE(std::as_const(*reactor).sliceSmIteratorConst());
}

TEST_F(DiscoveryTest, ABulkNotificationChangesNothing) {
  auto const activity = deferring();
  auto const reactor = made(activity);
  add("a", {"E1"});
  add("b", {"E2"});
  EXPECT_EQ(activity->zonDispatch(), 1U);
  EXPECT_EQ(slicesOf(*reactor), "");
  slices->entityPtrNotify();
  EXPECT_EQ(activity->zonDispatch(), 1U);
  EXPECT_EQ(slicesOf(*reactor), "");
  add("c", {"E3"});
  EXPECT_EQ(slicesOf(*reactor), "");
  EXPECT_EQ(activity->zonDispatch(), 1U);
  EXPECT_EQ(slicesOf(*reactor), "c");
  reactor->handleQueueCounterDir();
  EXPECT_EQ(slicesOf(*reactor), "a b c");
}

TEST_F(DiscoveryTest, ASliceVanishedInABurstBlocksItsNameUntilItsHandlerRuns) {
  auto const activity = deferring();
  auto const a = add("a", {"E1"});
  auto const reactor = made(activity);
  slices->entityPtrDel("a");
  add("b", {"E2"});
  activity->zonDispatch();
  EXPECT_EQ(slicesOf(*reactor), "a");
  reactor->handleQueueCounterDir();
  EXPECT_EQ(slicesOf(*reactor), "a b");  // the sweep never deletes reactors
  EXPECT_EQ(idsOf(*out), "E2");
  reactor->handleQueueCounterDir("a");
  EXPECT_EQ(slicesOf(*reactor), "b");
}

TEST_F(DiscoveryTest, WithoutInputTheSweepChangesNothingAndKeysAreAbsent) {
  out->intfQueueCounterDirIs(newCounters("E1"));
  auto const reactor = Discovery::AllIntfQueueCounterReactorIs(nullptr, out, nullptr);
  EXPECT_EQ(idsOf(*out), "E1");
  auto const a = newSlice("a", {"E1"});
  reactor->sliceSmIs(nullptr, "a", out, a);
  reactor->handleQueueCounterDir("a");
  EXPECT_EQ(slicesOf(*reactor), "");
  EXPECT_EQ(idsOf(*out), "");
}

TEST_F(DiscoveryTest, AnEmptyInputThatIsThereEmptiesTheOutput) {
  out->intfQueueCounterDirIs(newCounters("E1"));
  auto const reactor = made();
  EXPECT_EQ(idsOf(*out), "");
}

TEST_F(DiscoveryTest, WithoutOutputReactorsAndBlocksAreMadeAsUsual) {
  auto const a = add("a", {"E1"});
  auto const reactor = Discovery::AllIntfQueueCounterReactorIs(nullptr, nullptr, slices);
  EXPECT_EQ(slicesOf(*reactor), "a");
  EXPECT_EQ(a->statisticsShmemMan()->counterBlocks(), 18U);
  slices->entityPtrDel("a");
  EXPECT_EQ(slicesOf(*reactor), "");
}

TEST_F(DiscoveryTest, AnotherInputIsHeardWithoutASweep) {
  add("a", {"E1"});
  auto const reactor = made();
  auto const other = Zon::newPtr<Zon::Dir>("other");
  other->entityPtrIs(newSlice("b", {"E2"}));
  reactor->counterInIs(other);
  EXPECT_EQ(reactor->counterIn(), other);
  EXPECT_EQ(slicesOf(*reactor), "a");
  other->entityPtrIs(newSlice("c", {"E3"}));
  EXPECT_EQ(slicesOf(*reactor), "a c");
  slices->entityPtrDelAll();
  EXPECT_EQ(slicesOf(*reactor), "a c");
  EXPECT_EQ(reactor->counterInDel(), other);
  EXPECT_EQ(reactor->counterInDel(), nullptr);
  EXPECT_EQ(other->zonReferences(), 1U);
  reactor->counterInIs(slices);
  add("d", {});
  EXPECT_EQ(slicesOf(*reactor), "a c d");
}

TEST_F(DiscoveryTest, TheSwitchReachesInputAndSlicesAndThroughThemTheLeaves) {
  auto const a = add("a", {"E1"});
  auto const reactor = made();
  auto const leaf = reactor->sliceSm("a")->intfQueueCounterSm("E1");
  reactor->hasNotificationActiveIs(false);
  EXPECT_FALSE(reactor->sliceSm("a")->hasNotificationActive());
  EXPECT_FALSE(leaf->hasNotificationActive());
  add("b", {"E2"});
  a->intfQueueCounterDirIs(newCounters("E3"));
  EXPECT_EQ(idsOf(*out), "E1");
  reactor->hasNotificationActiveIs(true);
  EXPECT_TRUE(leaf->hasNotificationActive());
  reactor->zonDoZombieReactors(true);
  EXPECT_FALSE(reactor->sliceSm("a")->zonMarkedForDeletion());
  add("c", {"E4"});
  EXPECT_EQ(slicesOf(*reactor), "a");
  // Its handlers work all the same.
  reactor->handleQueueCounterDir();
  EXPECT_EQ(slicesOf(*reactor), "a b c");
  reactor->handleQueueCounterDir("never");
}

TEST_F(DiscoveryTest, AnExceptionInCreationLeavesNothing) {
  auto const a = add("a", {"E1"});
  a->statisticsShmemManIs(Zon::newPtr<Pelto::ShmemMan>("", room(3)));
  EXPECT_THROW(made(), Zon::RangeException);
  EXPECT_EQ(slices->zonReferences(), 1U);
  EXPECT_EQ(a->zonReferences(), 3U);  // ours, the directory's two
  EXPECT_EQ(idsOf(*out), "E1");
}

TEST_F(DiscoveryTest, ASliceWhoseReactorCouldNotBeMadeIsServedAtItsNextNotification) {
  auto const reactor = made();
  auto const a = newSlice("a", {"E1"}, {"c"});
  a->statisticsShmemManIs(Zon::newPtr<Pelto::ShmemMan>("", room(3)));
  slices->entityPtrIs(a);  // contained
  EXPECT_EQ(contents(*out), contents(*a));
  EXPECT_EQ(reactor->sliceSm("a"), nullptr);
  // Nobody hears its interfaces,
  a->intfQueueCounterDirNotify("E1");
  EXPECT_EQ(a->statisticsShmemMan()->counterBlocks(), 3U);
  // and nobody withdraws them when it leaves: that takes a sweep.
  slices->entityPtrDel("a");
  EXPECT_EQ(idsOf(*out), "E1");
  slices->entityPtrNotify("a");
  EXPECT_EQ(idsOf(*out), "E1");
  reactor->handleQueueCounterDir();
  EXPECT_EQ(idsOf(*out), "");

  slices->entityPtrIs(a);
  EXPECT_EQ(slicesOf(*reactor), "");
  a->statisticsShmemManIs(Zon::newPtr<Pelto::ShmemMan>());
  slices->entityPtrNotify("a");
  ASSERT_NE(reactor->sliceSm("a"), nullptr);
  EXPECT_EQ(reactor->sliceSm("a")->counterIn(), a);
  EXPECT_EQ(blocksOf(*a->statisticsShmemMan()), queueBlocks("E1", "c"));
  slices->entityPtrDel("a");
  EXPECT_EQ(idsOf(*out), "");
  // A sweep makes it too.
  a->statisticsShmemManIs(Zon::newPtr<Pelto::ShmemMan>("", room(3)));
  slices->entityPtrIs(a);
  EXPECT_EQ(slicesOf(*reactor), "");
  EXPECT_THROW(reactor->handleQueueCounterDir(), Zon::RangeException);
  EXPECT_EQ(slicesOf(*reactor), "");
  a->statisticsShmemManIs(Zon::newPtr<Pelto::ShmemMan>());
  reactor->handleQueueCounterDir();
  EXPECT_EQ(slicesOf(*reactor), "a");
}

TEST_F(DiscoveryTest, DestructionReleasesSlicesThenInputOutputActivity) {
  auto reactor = Discovery::AllIntfQueueCounterReactorIs(Zon::newPtr<Mourned<Zon::ActivityConfig>>(events, "act"),
                                                         Zon::newPtr<Mourned<PtrDir>>(events, "out", "o"),
                                                         Zon::newPtr<Mourned<Zon::Dir>>(events, "in", "i"));
  reactor->sliceSmIs(nullptr, "a", nullptr, Zon::newPtr<Mourned<Slice>>(events, "slice", "a"));
  reactor = nullptr;
  EXPECT_EQ(events.take(), "~slice ~in ~out ~act");
}

TEST_F(DiscoveryTest, ALineCardThatLeavesAndReturnsFindsItsBlocks) {
  auto const reactor = made();
  auto const a = add("a", {"E1", "E2"});
  auto const block = a->statisticsShmemMan()->counterBlock("E1-0-c");
  block->data()[0] = std::byte{7};
  slices->entityPtrDel("a");
  slices->entityPtrIs(a);
  EXPECT_EQ(a->statisticsShmemMan()->counterBlocks(), 36U);
  EXPECT_EQ(a->statisticsShmemMan()->counterBlock("E1-0-c"), block);
  EXPECT_EQ(block->data()[0], std::byte{7});
}

// ---------------------------------------------------------------------------------------------------------------
// Re-entrancy

TEST_F(DiscoveryTest, AReactorMadeAnewByAWatcherOfTheWithdrawalIsKept) {
  auto const a = add("a", {"E1"});
  auto const reactor = made();
  auto const first = reactor->sliceSm("a");
  auto const anew = newSlice("a", {"E2"});
  auto const watcher = Zon::newPtr<PtrDirWatcher>("w", events, out);
  watcher->act = [&](std::string const&) {
    watcher->act = {};
    reactor->handleQueueCounterDir("a");  // removes the first reactor itself
    slices->entityPtrIs(anew);
  };
  slices->entityPtrDel("a");
  ASSERT_NE(reactor->sliceSm("a"), nullptr);
  EXPECT_NE(reactor->sliceSm("a"), first);
  EXPECT_EQ(reactor->sliceSm("a")->counterIn(), anew);
  EXPECT_FALSE(reactor->sliceSm("a")->zonMarkedForDeletion());
  EXPECT_TRUE(first->zonMarkedForDeletion());
  EXPECT_EQ(idsOf(*out), "E2");
}

TEST_F(DiscoveryTest, ASliceBroughtBackByAWatcherOfItsWithdrawalIsServed) {
  auto const reactor = made();
  auto const same = add("a", {"E1", "E2"});
  for (auto const& back : {same, newSlice("a", {"E1", "E3"}, {"back"})}) {
    auto const first = reactor->sliceSm("a");
    auto const watcher = Zon::newPtr<PtrDirWatcher>("w", events, out);
    watcher->act = [&](std::string const&) {
      watcher->act = {};
      slices->entityPtrIs(back);
    };
    slices->entityPtrDel("a");
    auto const slice = reactor->sliceSm("a");
    ASSERT_NE(slice, nullptr);
    EXPECT_NE(slice, first);
    EXPECT_TRUE(first->zonMarkedForDeletion());
    EXPECT_EQ(slice->counterIn(), back);
    EXPECT_EQ(contents(*out), contents(*back));
    back->intfQueueCounterDirIs(newCounters("E4", {"c"}));
    EXPECT_EQ(contents(*out), contents(*back));
    EXPECT_EQ(back->statisticsShmemMan()->counterBlocks(), 54U);
  }
}

TEST_F(DiscoveryTest, AReactorThatBecomesAZombieDuringAWithdrawalLooksNoFurther) {
  auto const reactor = made();
  auto const a = add("a", {"E1"});
  auto const watcher = Zon::newPtr<PtrDirWatcher>("w", events, out);
  watcher->act = [&](std::string const&) {
    watcher->act = {};
    reactor->zonDoZombieReactors(true);
    slices->entityPtrIs(a);
  };
  slices->entityPtrDel("a");
  EXPECT_EQ(slicesOf(*reactor), "");
  EXPECT_EQ(idsOf(*out), "");
}

TEST_F(DiscoveryTest, ASliceRemovedWhileItsReactorIsBeingBuiltStillGetsOne) {
  auto const reactor = made();
  auto const watcher = Zon::newPtr<PtrDirWatcher>("w", events, out);
  watcher->act = [&](std::string const&) {
    watcher->act = {};
    slices->entityPtrDel("a");
  };
  auto const a = add("a", {"E1"});
  EXPECT_EQ(slices->entityPtr("a"), nullptr);
  ASSERT_NE(reactor->sliceSm("a"), nullptr);
  EXPECT_EQ(reactor->sliceSm("a")->counterIn(), a);
  EXPECT_EQ(idsOf(*out), "E1");
  reactor->handleQueueCounterDir("a");
  EXPECT_EQ(slicesOf(*reactor), "");
  EXPECT_EQ(idsOf(*out), "");
}

TEST_F(DiscoveryTest, ASliceRemovedByAnEarlierWatcherOfItsOwnLeavesTheInterfacePublishedThatLeftIt) {
  auto const a = add("a", {"E1", "E2"});
  auto const earlier = Zon::newPtr<QueueCounterDirWatcher<Slice::NotifieeConst>>("earlier", events, a);
  auto const reactor = made();
  auto const slice = reactor->sliceSm("a");
  earlier->act = [&](std::string const& event) {
    if (event == "key(E1)") slices->entityPtrDel("a");
  };
  a->intfQueueCounterDirDel("E1");
  EXPECT_EQ(events.take(), "earlier:key(E1) earlier:parent");
  EXPECT_TRUE(slice->zonMarkedForDeletion());
  EXPECT_EQ(slicesOf(*reactor), "");
  EXPECT_EQ(idsOf(*out), "E1");
  reactor->handleQueueCounterDir("a");
  EXPECT_EQ(idsOf(*out), "E1");
  reactor->handleQueueCounterDir();
  EXPECT_EQ(idsOf(*out), "");
}

TEST_F(DiscoveryTest, ASliceRemovedByAWatcherOfTheLeavingCountersParentLeavesTheInterfacePublished) {
  auto const a = add("a", {"E1", "E2"});
  auto const reactor = made();
  auto const leaving = watchParent(a->intfQueueCounterDir("E1"), [&] { slices->entityPtrDel("a"); });
  a->intfQueueCounterDirDel("E1");
  EXPECT_EQ(slicesOf(*reactor), "");
  EXPECT_EQ(idsOf(*out), "E1");
  reactor->handleQueueCounterDir();
  EXPECT_EQ(idsOf(*out), "");
}

TEST_F(DiscoveryTest, AnInterfaceRemovedWhileItsSliceReactorIsBeingBuiltStaysPublishedUntilItsHandlerRuns) {
  auto const reactor = made();
  auto const a = newSlice("a", {"E1", "E2"}, {"c"});
  auto const order = walkOf(*a);
  auto const watcher = Zon::newPtr<PtrDirWatcher>("w", events, out);
  watcher->act = [&](std::string const& event) {
    if (event == "key(" + order[1] + ")") a->intfQueueCounterDirDel(order[0]);
  };
  slices->entityPtrIs(a);
  watcher->act = {};
  auto const slice = reactor->sliceSm("a");
  ASSERT_NE(slice, nullptr);
  EXPECT_EQ(idsOf(*out), "E1 E2");
  slice->handleQueueCounterDir();
  EXPECT_EQ(idsOf(*out), "E1 E2");
  // The sweep over all slices withdraws it, but its leaf is still there.
  reactor->handleQueueCounterDir();
  EXPECT_EQ(idsOf(*out), order[1]);
  EXPECT_NE(slice->intfQueueCounterSm(order[0]), nullptr);
  out->intfQueueCounterDirIs(newCounters(order[0]));
  slice->handleQueueCounterDir(order[0]);
  EXPECT_EQ(idsOf(*out), order[1]);
  EXPECT_EQ(slice->intfQueueCounterSm(order[0]), nullptr);
}

TEST_F(DiscoveryTest, AnInterfaceAddedBehindTheWalkWhileItsSliceReactorIsBeingBuiltTakesItsSweep) {
  auto const reactor = made();
  auto const order = walkOf(*newSlice("order", {"E1", "E2"}));
  auto const a = newSlice("a", {order[1]}, {"c"});
  auto const watcher = Zon::newPtr<PtrDirWatcher>("w", events, out);
  watcher->act = [&](std::string const&) {
    watcher->act = {};
    a->intfQueueCounterDirIs(newCounters(order[0], {"c"}));
  };
  slices->entityPtrIs(a);
  EXPECT_EQ(idsOf(*out), order[1]);
  reactor->handleQueueCounterDir();
  EXPECT_EQ(idsOf(*out), order[1]);
  reactor->sliceSm("a")->handleQueueCounterDir();
  EXPECT_EQ(contents(*out), contents(*a));
  EXPECT_EQ(a->statisticsShmemMan()->counterBlocks(), 36U);
}

TEST_F(DiscoveryTest, SlicesEditedWhileItIsBeingMadeAreNotHeard) {
  add("a", {"E1"});
  add("b", {"E2"});
  auto const order = namesOf(*slices);
  auto const watcher = Zon::newPtr<PtrDirWatcher>("w", events, out);
  auto const last = idsOf(*Zon::ptrCast<Slice>(slices->entityPtr(order[1])));
  watcher->act = [&](std::string const& event) {
    if (event == "key(" + last + ")") slices->entityPtrDel(order[0]);
  };
  auto const reactor = made();
  watcher->act = {};
  EXPECT_EQ(slicesOf(*reactor), "a b");
  EXPECT_EQ(idsOf(*out), "E1 E2");
  reactor->handleQueueCounterDir();
  EXPECT_EQ(slicesOf(*reactor), "a b");
  EXPECT_EQ(idsOf(*out), last);
  reactor->handleQueueCounterDir(order[0]);
  EXPECT_EQ(slicesOf(*reactor), order[1]);
}

TEST_F(DiscoveryTest, AReactorThatBecomesAZombieInTheMiddleOfASweepStopsThere) {
  add("a", {"E1"});
  add("b", {"E2"});
  auto const order = namesOf(*slices);
  for (char const* id : {"X1", "X2", "X3"})
    out->intfQueueCounterDirIs(newCounters(id));
  auto const stale = walkOf(*out);
  auto const reactor = Discovery::AllIntfQueueCounterReactorIs(nullptr, out, nullptr);
  reactor->counterInIs(slices);
  auto const watcher = Zon::newPtr<PtrDirWatcher>("w", events, out);
  watcher->act = [&](std::string const&) { reactor->zonDoZombieReactors(true); };
  // While it removes what is stale,
  reactor->handleQueueCounterDir();
  EXPECT_EQ(events.take(), "w:key(" + stale[0] + ")");
  EXPECT_EQ(walkOf(*out), (std::vector<std::string>{stale[1], stale[2]}));
  EXPECT_EQ(slicesOf(*reactor), "");
  // and while it serves the slices. The one under way is served.
  watcher->act = {};
  out->intfQueueCounterDirDelAll();
  reactor->zonDoZombieReactors(false);
  watcher->act = [&](std::string const&) { reactor->zonDoZombieReactors(true); };
  reactor->handleQueueCounterDir();
  EXPECT_EQ(slicesOf(*reactor), order[0]);
  EXPECT_EQ(idsOf(*out), order[0] == "a" ? "E1" : "E2");
}

struct World {
  Events events;
  Ptr<Zon::Dir> slices = Zon::newPtr<Zon::Dir>("slices");
  Ptr<PtrDir> out = Zon::newPtr<PtrDir>("out");
  Ptr<Zon::Dir> const firstSlices = slices;
  Ptr<PtrDir> const firstOut = out;
  std::vector<Ptr<Slice>> all;
  Ptr<Discovery> reactor;
  bool complete = true;
  bool published = true;
  bool cutShort = false;

  World() {
    for (char const* id : {"X1", "X2", "X3"})
      out->intfQueueCounterDirIs(newCounters(id));
    all.push_back(newSlice("a", {"E1", "E2"}, {"c"}));
    all.push_back(newSlice("b", {"E3", "E4"}, {"c"}));
    all.push_back(newSlice("c", {"E5"}, {"c"}));
    for (auto const& slice : all)
      slices->entityPtrIs(slice);
  }
  void dropAll() {
    reactor = nullptr;
    slices = nullptr;
    out = nullptr;
  }
};

/// Whether the interface is published by a slice reactor that is not complete: what happens to its slice is not heard.
bool isBeingBuilt(World& world, std::string const& id) {
  for (auto const& slice : world.all) {
    if (slice->intfQueueCounterDir(id) && !world.reactor->sliceSm(slice->name())) return true;
  }
  return false;
}

auto const sabotages = counterSabotages<World>({
    {"RemoveASlice",
     [](World& world, std::string const& id) {
       world.complete = world.reactor && !isBeingBuilt(world, id);
       world.firstSlices->entityPtrDel("b");
     }},
    {"RemoveAllSlices",
     [](World& world, std::string const& id) {
       world.complete = world.reactor && !isBeingBuilt(world, id);
       world.firstSlices->entityPtrDelAll();
     }},
    {"ReturnASlice",
     [](World& world, std::string const&) {
       world.firstSlices->entityPtrDel("b");
       world.firstSlices->entityPtrIs(world.all[1]);
     }},
    {"ReplaceASlice",
     [](World& world, std::string const&) {
       world.all.push_back(newSlice("b", {"E9"}));
       try {
         world.firstSlices->entityPtrIs(world.all.back());
       } catch (Zon::NameInUseException const&) {
         ADD_FAILURE();
       }
       world.complete = false;
     }},
    {"AddSlices",
     [](World& world, std::string const&) {
       for (int i = 0; i != 20; ++i) {
         world.all.push_back(newSlice("n" + std::to_string(i), {"N" + std::to_string(i)}));
         world.firstSlices->entityPtrIs(world.all.back());
       }
       world.complete = static_cast<bool>(world.reactor);
     }},
    {"EmptyASlice",
     [](World& world, std::string const&) {
       // While its reactor is being built the slice is not heard yet.
       world.complete = world.reactor && world.reactor->sliceSm("a");
       world.all[0]->intfQueueCounterDirDelAll();
     }},
    {"PutSomethingStale",
     [](World& world, std::string const&) {
       world.firstOut->intfQueueCounterDirIs(newCounters("Y"));
       world.published = false;
     }},
    {"DeleteTheSliceReactors",
     [](World& world, std::string const&) {
       if (!world.reactor) return;
       world.reactor->sliceSmDelAll();
       world.complete = false;
     }},
});

Beginning<World> const beginnings[] = {
    {"Creation",
     [](World& world) { world.reactor = Discovery::AllIntfQueueCounterReactorIs(nullptr, world.out, world.slices); }},
    {"Sweep",
     [](World& world) {
       world.reactor = Discovery::AllIntfQueueCounterReactorIs(nullptr, world.out, nullptr);
       world.reactor->counterInIs(world.slices);
       Discovery& raw = *world.reactor;
       raw.handleQueueCounterDir();
     }},
    {"SlicesThatGoAndComeBack",
     [](World& world) {
       auto const slices = world.firstSlices;
       world.reactor = Discovery::AllIntfQueueCounterReactorIs(nullptr, world.out, slices);
       for (char const* name : {"a", "b", "c"}) {
         auto const slice = slices->entityPtrDel(name);
         if (slice) slices->entityPtrIs(slice);
       }
       if (world.reactor) {
         try {
           world.reactor->handleQueueCounterDir();
         } catch (Zon::NameInUseException const&) {
           world.complete = false;  // a replaced slice
         }
       }
     }},
};

using Case = SabotageCase<World>;
class DiscoverySabotage : public testing::TestWithParam<Case> {};

int run(World& world, Beginning<World> const& beginning, Sabotage<World> const& sabotage, int position) {
  Saboteur<PtrDirWatcher> const saboteur(world, sabotage, position);
  try {
    beginning.begin(world);
  } catch (Zon::NameInUseException const&) {
    EXPECT_STREQ(sabotage.name, "ReplaceASlice");
  }
  return saboteur.heard();
}

TEST_P(DiscoverySabotage, AtEveryStepTheWorldStaysSound) {
  auto const& [beginning, sabotage] = GetParam();
  World quiet;
  int const callbacks = run(quiet, beginning, sabotages[0], -1);
  ASSERT_GE(callbacks, 8);
  EXPECT_EQ(idsOf(*quiet.out), "E1 E2 E3 E4 E5");
  auto const order = keysHeard(quiet.events.take());
  for (int position = 0; position != callbacks; ++position) {
    SCOPED_TRACE(testing::Message() << "position " << position);
    World world;
    EXPECT_GT(run(world, beginning, sabotage, position), position);
    if (world.complete && world.reactor && beginning.name != std::string("Creation")) {
      std::map<std::string, Ptr<Counters>> expected;
      for (auto it = world.firstSlices->subdirIterator(); it; it.advance()) {
        auto const slice = Zon::ptrCast<Slice>(it.ptr());
        for (auto const& [id, counters] : contents(*slice))
          expected[id] = counters;
        auto const reactor = world.reactor->sliceSm(slice->name());
        ASSERT_NE(reactor, nullptr);
        EXPECT_EQ(reactor->counterIn(), slice);
        for (auto const& [id, counters] : contents(*slice))
          EXPECT_NE(reactor->intfQueueCounterSm(id), nullptr) << id;
      }
      if (world.published) {
        EXPECT_EQ(contents(*world.firstOut), expected);
      }
    }
    if (world.cutShort && world.reactor && beginning.name == std::string("Sweep")) {
      // The slice under way is served.
      for (auto const& slice : world.all) {
        bool begun = false;
        for (int i = 0; i <= position; ++i)
          begun |= slice->intfQueueCounterDir(order[static_cast<std::size_t>(i)]) != nullptr;
        EXPECT_EQ(world.reactor->sliceSm(slice->name()) != nullptr, begun) << slice->name().stdString();
      }
    }
    world.dropAll();
    world.firstSlices->entityPtrDelAll();
    EXPECT_EQ(world.firstSlices->zonReferences(), 1U);
    EXPECT_EQ(world.firstOut->zonReferences(), 1U);
    for (auto const& slice : world.all)
      EXPECT_EQ(slice->zonReferences(), 1U);
  }
}

INSTANTIATE_TEST_SUITE_P(Of, DiscoverySabotage,
                         testing::Combine(testing::ValuesIn(beginnings), testing::ValuesIn(sabotages)), sabotageName);

TEST_F(DiscoveryTest, NamesOfSlicesMayContainAnything) {
  auto const reactor = made();
  for (std::string const& name : {std::string(), std::string("a b/c"), std::string("\0", 1), std::string(4096, 's')}) {
    auto const slice = newSlice(name, {"E1"});
    slices->entityPtrIs(slice);
    ASSERT_NE(reactor->sliceSm(name), nullptr);
    EXPECT_EQ(reactor->sliceSm(name)->counterIn(), slice);
    slices->entityPtrDel(name);
    EXPECT_EQ(reactor->sliceSm(name), nullptr);
  }
}

}  // namespace
