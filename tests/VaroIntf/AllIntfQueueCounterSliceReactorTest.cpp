#include "VaroIntf/AllIntfQueueCounterSliceReactor.h"

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
using SliceReactor = VaroIntf::AllIntfQueueCounterSliceReactor;
using Zon::Ptr;

std::vector<std::string> leavesOf(SliceReactor& reactor) {
  std::vector<std::string> ids;
  for (auto it = reactor.intfQueueCounterSmIterator(); it; it.advance())
    ids.push_back(it->intfId().stringValue().stdString());
  return ids;
}

class SliceReactorTest : public testing::Test {
 protected:
  Events events;
  Ptr<PtrDir> out = Zon::newPtr<PtrDir>("out");
  Ptr<Slice> slice = newSlice("a", {"Ethernet1", "Ethernet2"}, {"tx"});

  Ptr<SliceReactor> made(Ptr<Zon::ActivityConfig> const& activity = nullptr) {
    return SliceReactor::AllIntfQueueCounterSliceReactorIs(activity, "a", out, slice);
  }
};

TEST_F(SliceReactorTest, ASliceOfTwoInterfacesMakesTwoReactorsAndTwoOutputEntries) {
  auto const watcher = Zon::newPtr<PtrDirWatcher>("w", events, out);
  auto const order = walkOf(*slice);
  auto const reactor = made();
  EXPECT_EQ(events.take(), "w:key(" + order[0] + ") w:key(" + order[1] + ")");
  EXPECT_EQ(contents(*out), contents(*slice));
  EXPECT_EQ(leavesOf(*reactor), order);
  EXPECT_EQ(slice->counterShmemMan()->counterBlocks(), 2U);
  EXPECT_EQ(slice->statisticsShmemMan()->counterBlocks(), 36U);
  EXPECT_TRUE(reactor->hasNotificationActive());
  auto const leaf = reactor->intfQueueCounterSm("Ethernet1");
  EXPECT_TRUE(leaf->hasNotificationActive());
  EXPECT_EQ(leaf->zonFwkActivity(), nullptr);
  EXPECT_EQ(leaf->intfQueueCounterDir(), slice->intfQueueCounterDir("Ethernet1"));
  EXPECT_EQ(leaf->allIntfQueueCounterDir(), slice);
  EXPECT_EQ(reactor->sliceName(), "a");
  EXPECT_EQ(reactor->fwkKey(), "a");
  EXPECT_EQ(reactor->counterIn(), slice);
  EXPECT_EQ(reactor->counterOut(), out);
  EXPECT_EQ(reactor->zonReferences(), 1U);
}

TEST_F(SliceReactorTest, LeavesRunOnTheNullActivityWhateverTheReactorsIs) {
  auto const activity = deferring();
  auto const reactor = made(activity);
  EXPECT_EQ(reactor->zonFwkActivity(), activity);
  EXPECT_EQ(reactor->intfQueueCounterSm("Ethernet1")->zonFwkActivity(), nullptr);
  slice->intfQueueCounterDir("Ethernet1")->intfQueueCounterIs(Zon::newPtr<Interface::IntfQueueCounter>("rx"));
  EXPECT_EQ(activity->zonPending(), 0U);
  EXPECT_NE(slice->counterShmemMan()->counterBlock("Ethernet1-rx"), nullptr);
}

TEST_F(SliceReactorTest, AnInterfaceThatComesIsPublishedAndOneThatGoesWithdrawn) {
  auto const reactor = made();
  slice->intfQueueCounterDirIs(newCounters("Ethernet3", {"tx"}));
  EXPECT_EQ(contents(*out), contents(*slice));
  EXPECT_EQ(slice->statisticsShmemMan()->counterBlocks(), 54U);
  auto const leaf = reactor->intfQueueCounterSm("Ethernet1");
  auto const gone = slice->intfQueueCounterDirDel("Ethernet1");
  EXPECT_EQ(idsOf(*out), "Ethernet2 Ethernet3");
  EXPECT_EQ(reactor->intfQueueCounterSm("Ethernet1"), nullptr);
  EXPECT_TRUE(leaf->zonMarkedForDeletion());  // whoever holds it holds a zombie
  gone->intfQueueCounterIs(Zon::newPtr<Interface::IntfQueueCounter>("rx"));
  EXPECT_EQ(slice->counterShmemMan()->counterBlock("Ethernet1-rx"), nullptr);
  slice->intfQueueCounterDirNotify("Ethernet1");
  reactor->handleQueueCounterDir("never there");
  EXPECT_EQ(idsOf(*out), "Ethernet2 Ethernet3");
}

TEST_F(SliceReactorTest, AnEntryIsWithdrawnBeforeItsLeafIsRemoved) {
  auto const reactor = made();
  auto const leaf = reactor->intfQueueCounterSm("Ethernet1");
  auto const watcher = Zon::newPtr<PtrDirWatcher>("w", events, out);
  watcher->act = [&](std::string const&) {
    EXPECT_EQ(out->intfQueueCounterDir("Ethernet1"), nullptr);
    EXPECT_EQ(reactor->intfQueueCounterSm("Ethernet1"), leaf);
    EXPECT_FALSE(leaf->zonMarkedForDeletion());
  };
  slice->intfQueueCounterDirDel("Ethernet1");
  EXPECT_EQ(events.take(), "w:key(Ethernet1)");
  EXPECT_EQ(reactor->intfQueueCounterSm("Ethernet1"), nullptr);
}

TEST_F(SliceReactorTest, ANotificationWithoutChangePublishesAgain) {
  auto const reactor = made();
  out->intfQueueCounterDirDelAll();
  slice->intfQueueCounterDirNotify("Ethernet1");
  EXPECT_EQ(idsOf(*out), "Ethernet1");
}

TEST_F(SliceReactorTest, OfTwoSlicesWithOneInterfaceTheLastToReactWins) {
  auto const other = newSlice("b", {"Ethernet2", "Ethernet3"});
  auto const one = made();
  auto const two = SliceReactor::AllIntfQueueCounterSliceReactorIs(nullptr, "b", out, other);
  EXPECT_EQ(out->intfQueueCounterDir("Ethernet2"), other->intfQueueCounterDir("Ethernet2"));
  slice->intfQueueCounterDirNotify("Ethernet2");
  EXPECT_EQ(out->intfQueueCounterDir("Ethernet2"), slice->intfQueueCounterDir("Ethernet2"));
  // Removed from either slice the entry goes, though the other still lists it, until that one reacts.
  other->intfQueueCounterDirDel("Ethernet2");
  EXPECT_EQ(idsOf(*out), "Ethernet1 Ethernet3");
  one->handleQueueCounterDir();
  EXPECT_EQ(idsOf(*out), "Ethernet1 Ethernet2 Ethernet3");
}

TEST_F(SliceReactorTest, PreparingToDieWithdrawsExactlyItsOwnThreeEntriesAndNothingElse) {
  slice->intfQueueCounterDirIs(newCounters("Ethernet3"));
  auto const other = newSlice("b", {"Ethernet4", "Ethernet5"});
  auto const one = made();
  auto const two = SliceReactor::AllIntfQueueCounterSliceReactorIs(nullptr, "b", out, other);
  one->doPrepareToDie();
  EXPECT_EQ(idsOf(*out), "Ethernet4 Ethernet5");
  EXPECT_EQ(leavesOf(*one).size(), 3U);
  EXPECT_TRUE(one->hasNotificationActive());
  EXPECT_TRUE(one->intfQueueCounterSm("Ethernet1")->hasNotificationActive());
  // It still serves.
  slice->intfQueueCounterDirIs(newCounters("Ethernet6"));
  EXPECT_EQ(idsOf(*out), "Ethernet4 Ethernet5 Ethernet6");
  // What it no longer lists stays.
  one->hasNotificationActiveIs(false);
  slice->intfQueueCounterDirDel("Ethernet6");
  one->doPrepareToDie();
  EXPECT_EQ(idsOf(*out), "Ethernet4 Ethernet5 Ethernet6");
}

TEST_F(SliceReactorTest, TheSweepOnlyAddsAndRefreshes) {
  auto const reactor = made();
  reactor->hasNotificationActiveIs(false);
  slice->intfQueueCounterDirDel("Ethernet1");
  slice->intfQueueCounterDirIs(newCounters("Ethernet3"));
  out->intfQueueCounterDirDel("Ethernet2");
  reactor->handleQueueCounterDir();
  EXPECT_EQ(idsOf(*out), "Ethernet1 Ethernet2 Ethernet3");
  EXPECT_EQ(leavesOf(*reactor).size(), 3U);
  reactor->handleQueueCounterDir("Ethernet1");
  EXPECT_EQ(idsOf(*out), "Ethernet2 Ethernet3");
  EXPECT_EQ(leavesOf(*reactor).size(), 2U);
}

TEST_F(SliceReactorTest, BulkNotificationsChangeNothing) {
  auto const reactor = made();
  out->intfQueueCounterDirDelAll();
  slice->intfQueueCounterDirNotify();
  EXPECT_EQ(idsOf(*out), "");
  auto const activity = deferring();
  reactor->zonFwkActivityIs(activity);
  slice->intfQueueCounterDirIs(newCounters("Ethernet3"));
  slice->intfQueueCounterDirIs(newCounters("Ethernet4"));
  EXPECT_EQ(activity->zonDispatch(), 1U);
  EXPECT_EQ(idsOf(*out), "");
  slice->intfQueueCounterDirIs(newCounters("Ethernet5"));
  EXPECT_EQ(activity->zonDispatch(), 1U);
  EXPECT_EQ(idsOf(*out), "Ethernet5");
}

TEST_F(SliceReactorTest, AReplacedCounterDirectoryIsPublishedThenRefusedWithBothValues) {
  auto const reactor = made();
  auto const old = slice->intfQueueCounterDir("Ethernet1");
  auto const leaf = reactor->intfQueueCounterSm("Ethernet1");
  auto const fresh = newCounters("Ethernet1", {"fresh"});
  auto const later = Zon::newPtr<QueueCounterDirWatcher<Slice::NotifieeConst>>("later", events, slice);
  slice->intfQueueCounterDirIs(fresh);  // contained
  EXPECT_EQ(events.take(), "later:key(Ethernet1)");
  EXPECT_EQ(out->intfQueueCounterDir("Ethernet1"), fresh);
  EXPECT_EQ(reactor->intfQueueCounterSm("Ethernet1"), leaf);
  EXPECT_EQ(leaf->intfQueueCounterDir(), old);
  EXPECT_EQ(slice->counterShmemMan()->counterBlock("Ethernet1-fresh"), nullptr);
  EXPECT_EQ(refusal([&] { reactor->handleQueueCounterDir("Ethernet1"); }),
            reinstantiating<Counters const>("intfQueueCounterDir", fresh, old));
  // Removed and added it is served.
  slice->intfQueueCounterDirDel("Ethernet1");
  slice->intfQueueCounterDirIs(fresh);
  EXPECT_NE(slice->counterShmemMan()->counterBlock("Ethernet1-fresh"), nullptr);
}

TEST_F(SliceReactorTest, ASweepThatMeetsAReplacedDirectoryEndsThere) {
  auto const reactor = made();
  auto const first = walkOf(*slice).front();
  reactor->hasNotificationActiveIs(false);
  slice->intfQueueCounterDirIs(newCounters(first));
  out->intfQueueCounterDirDelAll();
  EXPECT_THROW(reactor->handleQueueCounterDir(), Zon::NameInUseException);
  EXPECT_EQ(idsOf(*out), first);
}

TEST_F(SliceReactorTest, FindOrCreateComparesInOrderAndHandsTheActivityOverFirst) {
  auto const reactor = made();
  auto const leaf = reactor->intfQueueCounterSm("Ethernet1");
  auto const counters = slice->intfQueueCounterDir("Ethernet1");
  auto const activity = deferring();
  EXPECT_EQ(reactor->intfQueueCounterSmIs(activity, "Ethernet1", counters, slice), leaf);
  EXPECT_EQ(leaf->zonFwkActivity(), activity);
  auto const other = newCounters("Ethernet1");
  auto const otherSlice = newSlice("b", {});
  EXPECT_EQ(refusal([&] { reactor->intfQueueCounterSmIs(nullptr, "Ethernet1", other, otherSlice); }),
            reinstantiating<Counters const>("intfQueueCounterDir", other, counters));
  EXPECT_EQ(leaf->zonFwkActivity(), nullptr);
  EXPECT_EQ(refusal([&] { reactor->intfQueueCounterSmIs(nullptr, "Ethernet1", counters, otherSlice); }),
            reinstantiating("allIntfQueueCounterDir", otherSlice, slice));
  EXPECT_EQ(refusal([&] { reactor->intfQueueCounterSmIs(nullptr, "Ethernet1", nullptr, slice); }),
            reinstantiating<Counters const>("intfQueueCounterDir", nullptr, counters));
  EXPECT_EQ(reactor->intfQueueCounterSm("Ethernet1"), leaf);
  auto const made = reactor->intfQueueCounterSmIs(activity, "Ethernet9", nullptr, nullptr);
  EXPECT_TRUE(made->hasNotificationActive());
  EXPECT_EQ(made->zonFwkActivity(), activity);
  EXPECT_EQ(std::as_const(*reactor).intfQueueCounterSm("Ethernet9"), made);
}

TEST_F(SliceReactorTest, RemovalsReturnWorkingLeavesOrNull) {
  auto const reactor = made();
  auto const leaf = reactor->intfQueueCounterSmDel("Ethernet1");
  EXPECT_FALSE(leaf->zonMarkedForDeletion());
  EXPECT_EQ(reactor->intfQueueCounterSmDel("Ethernet1"), nullptr);
  slice->intfQueueCounterDir("Ethernet1")->intfQueueCounterIs(Zon::newPtr<Interface::IntfQueueCounter>("rx"));
  EXPECT_NE(slice->counterShmemMan()->counterBlock("Ethernet1-rx"), nullptr);
  auto it = reactor->intfQueueCounterSmIterator();
  EXPECT_EQ(reactor->intfQueueCounterSmDel(it)->intfId(), "Ethernet2");
  EXPECT_EQ(reactor->intfQueueCounterSmDel(it), nullptr);
  reactor->newIntfQueueCounterSm(nullptr, "Ethernet7", nullptr, nullptr);
  reactor->intfQueueCounterSmNotify("Ethernet7");
  EXPECT_EQ(leavesOf(*reactor), std::vector<std::string>{"Ethernet7"});
  reactor->intfQueueCounterSmDelAll();
  EXPECT_FALSE(reactor->intfQueueCounterSmIteratorConst());
}

TEST_F(SliceReactorTest, WithoutOutputReactorsAndBlocksAreMadeAsUsual) {
  auto const reactor = SliceReactor::AllIntfQueueCounterSliceReactorIs(nullptr, "a", nullptr, slice);
  EXPECT_EQ(leavesOf(*reactor).size(), 2U);
  EXPECT_EQ(slice->statisticsShmemMan()->counterBlocks(), 36U);
  slice->intfQueueCounterDirDel("Ethernet1");
  EXPECT_EQ(leavesOf(*reactor).size(), 1U);
  reactor->doPrepareToDie();
}

TEST_F(SliceReactorTest, WithoutInputTheSliceIsEmpty) {
  out->intfQueueCounterDirIs(newCounters("Ethernet1"));
  auto const reactor = SliceReactor::AllIntfQueueCounterSliceReactorIs(nullptr, "a", out, nullptr);
  reactor->doPrepareToDie();
  EXPECT_EQ(idsOf(*out), "Ethernet1");
  reactor->handleQueueCounterDir("Ethernet1");
  EXPECT_EQ(idsOf(*out), "");
  EXPECT_EQ(reactor->counterInDel(), nullptr);
}

TEST_F(SliceReactorTest, AnotherInputIsHeardWithoutASweep) {
  auto const reactor = made();
  auto const other = newSlice("b", {"Ethernet5"});
  reactor->counterInIs(other);
  EXPECT_EQ(reactor->counterIn(), other);
  EXPECT_EQ(idsOf(*out), "Ethernet1 Ethernet2");
  slice->intfQueueCounterDirDelAll();
  EXPECT_EQ(idsOf(*out), "Ethernet1 Ethernet2");
  other->intfQueueCounterDirIs(newCounters("Ethernet6"));
  EXPECT_EQ(idsOf(*out), "Ethernet1 Ethernet2 Ethernet6");
  EXPECT_EQ(reactor->counterInDel(), other);
  other->intfQueueCounterDirIs(newCounters("Ethernet7"));
  reactor->counterInIs(other);
  EXPECT_EQ(idsOf(*out), "Ethernet1 Ethernet2 Ethernet6");
  reactor->counterInIs(nullptr);
  EXPECT_EQ(other->zonReferences(), 2U);  // ours and the leaf's
}

TEST_F(SliceReactorTest, TheSwitchReachesInputAndLeavesZombiesOnlyTheInput) {
  auto const reactor = made();
  auto const leaf = reactor->intfQueueCounterSm("Ethernet1");
  reactor->hasNotificationActiveIs(false);
  EXPECT_FALSE(leaf->hasNotificationActive());
  slice->intfQueueCounterDirIs(newCounters("Ethernet3"));
  EXPECT_EQ(idsOf(*out), "Ethernet1 Ethernet2");
  reactor->hasNotificationActiveIs(true);
  EXPECT_TRUE(leaf->hasNotificationActive());
  reactor->zonDoZombieReactors(true);
  EXPECT_FALSE(leaf->zonMarkedForDeletion());
  slice->intfQueueCounterDirIs(newCounters("Ethernet4"));
  EXPECT_EQ(idsOf(*out), "Ethernet1 Ethernet2");
  // Its handlers work all the same.
  reactor->handleQueueCounterDir("Ethernet4");
  EXPECT_NE(reactor->intfQueueCounterSm("Ethernet4"), nullptr);
  reactor->handleQueueCounterDir();
  EXPECT_EQ(leavesOf(*reactor).size(), 4U);
  EXPECT_EQ(contents(*out), contents(*slice));
  reactor->zonDoZombieReactors(false);
  slice->intfQueueCounterDirIs(newCounters("Ethernet5"));
  EXPECT_EQ(contents(*out), contents(*slice));
}

TEST_F(SliceReactorTest, MemoryExhaustedWhileALeafIsMadeLeavesTheEntryPublishedAndNoLeaf) {
  auto const reactor = made();
  auto const small = Zon::newPtr<Pelto::ShmemMan>("", room(5));
  slice->statisticsShmemManIs(small);
  auto const counters = newCounters("E", {"c"});
  slice->intfQueueCounterDirIs(counters);
  EXPECT_EQ(out->intfQueueCounterDir("E"), counters);
  EXPECT_EQ(reactor->intfQueueCounterSm("E"), nullptr);
  EXPECT_EQ(small->counterBlocks(), 5U);
  auto const larger = Zon::newPtr<Pelto::ShmemMan>();
  slice->statisticsShmemManIs(larger);
  slice->intfQueueCounterDirNotify("E");
  EXPECT_NE(reactor->intfQueueCounterSm("E"), nullptr);
  EXPECT_EQ(blocksOf(*larger), queueBlocks("E", "c"));
  // In creation the creator throws, and nothing is left behind.
  slice->statisticsShmemManIs(Zon::newPtr<Pelto::ShmemMan>("", room(5)));
  EXPECT_THROW(made(), Zon::RangeException);
}

TEST_F(SliceReactorTest, DestructionReleasesLeavesThenInputOutputAndActivity) {
  auto reactor = SliceReactor::AllIntfQueueCounterSliceReactorIs(
      Zon::newPtr<Mourned<Zon::ActivityConfig>>(events, "activity"), "a",
      Zon::newPtr<Mourned<PtrDir>>(events, "out", "o"), Zon::newPtr<Mourned<Slice>>(events, "slice", "s"));
  reactor->intfQueueCounterSmIs(nullptr, "E", Zon::newPtr<Mourned<Counters>>(events, "counters", "E"), nullptr);
  reactor = nullptr;
  EXPECT_EQ(events.take(), "~counters ~slice ~out ~activity");
}

TEST_F(SliceReactorTest, OutputEntriesStayWhenTheReactorIsJustDropped) {
  made();
  EXPECT_EQ(idsOf(*out), "Ethernet1 Ethernet2");
  slice->intfQueueCounterDirDelAll();
  EXPECT_EQ(idsOf(*out), "Ethernet1 Ethernet2");
}

// ---------------------------------------------------------------------------------------------------------------
// Re-entrancy: a watcher of the output acts at every step of a sweep, of single changes and of the withdrawal.

struct World {
  Events events;
  Ptr<PtrDir> out = Zon::newPtr<PtrDir>("out");
  Ptr<PtrDir> const firstOut = out;
  Ptr<Slice> slice = newSlice("a", {"E1", "E2", "E3", "E4"}, {"c"});
  Ptr<Slice> const firstSlice = slice;
  Ptr<SliceReactor> reactor;
  /// Whether every interface of the slice must be published and served at the end.
  bool complete = true;
  bool published = true;
  bool cutShort = false;

  void dropAll() {
    reactor = nullptr;
    out = nullptr;
    slice = nullptr;
  }
};

auto const sabotages = counterSabotages<World>({
    {"RemoveSelf", [](World& world, std::string const& id) { world.firstSlice->intfQueueCounterDirDel(id); }},
    {"RemoveAll", [](World& world, std::string const&) { world.firstSlice->intfQueueCounterDirDelAll(); }},
    {"RemoveOthers",
     [](World& world, std::string const& id) {
       for (auto const& other : walkOf(*world.firstSlice))
         if (other != id) world.firstSlice->intfQueueCounterDirDel(other);
     }},
    {"AddMany",
     [](World& world, std::string const&) {
       for (int i = 10; i != 60; ++i)
         world.firstSlice->intfQueueCounterDirIs(newCounters("E" + std::to_string(i), {"c"}));
       world.complete = static_cast<bool>(world.reactor);  // in creation nothing is heard yet
     }},
    {"ReplaceSelf",
     [](World& world, std::string const& id) {
       // No reactor was made of the old one yet.
       world.firstSlice->intfQueueCounterDirIs(newCounters(id));
     }},
    {"RemoveAndAddAgain",
     [](World& world, std::string const& id) {
       world.firstSlice->intfQueueCounterDirDel(id);
       world.firstSlice->intfQueueCounterDirIs(newCounters(id));
     }},
    {"ReplaceTheInput",
     [](World& world, std::string const&) {
       if (world.reactor) {
         world.reactor->counterInIs(Zon::newPtr<Slice>("other"));
         world.complete = false;
         world.cutShort = true;
       }
     }},
    {"DeleteTheLeaves",
     [](World& world, std::string const&) {
       if (world.reactor) {
         world.reactor->intfQueueCounterSmDelAll();
         world.complete = false;
       }
     }},
});

Beginning<World> const beginnings[] = {
    {"Creation",
     [](World& world) {
       world.reactor = SliceReactor::AllIntfQueueCounterSliceReactorIs(nullptr, "a", world.out, world.slice);
     }},
    {"Sweep",
     [](World& world) {
       world.reactor = SliceReactor::AllIntfQueueCounterSliceReactorIs(nullptr, "a", world.out, nullptr);
       world.reactor->counterInIs(world.slice);
       SliceReactor& raw = *world.reactor;
       raw.handleQueueCounterDir();
     }},
    {"SingleChanges",
     [](World& world) {
       world.reactor = SliceReactor::AllIntfQueueCounterSliceReactorIs(nullptr, "a", world.out, nullptr);
       world.reactor->counterInIs(world.slice);
       for (char const* id : {"E5", "E6", "E7", "E1", "E2", "E3", "E4"}) {
         if (world.firstSlice->intfQueueCounterDir(id)) {
           world.firstSlice->intfQueueCounterDirNotify(id);
         } else {
           world.firstSlice->intfQueueCounterDirIs(newCounters(id, {"c"}));
         }
       }
       world.firstSlice->intfQueueCounterDirDel("E6");
     }},
    {"Withdrawal",
     [](World& world) {
       world.reactor = SliceReactor::AllIntfQueueCounterSliceReactorIs(nullptr, "a", world.out, world.slice);
       if (world.reactor) {
         SliceReactor& raw = *world.reactor;
         raw.doPrepareToDie();
       }
       world.complete = false;
     }},
};

using Case = SabotageCase<World>;
class SliceSabotage : public testing::TestWithParam<Case> {};

int run(World& world, Beginning<World> const& beginning, Sabotage<World> const& sabotage, int position) {
  Saboteur<PtrDirWatcher> const saboteur(world, sabotage, position);
  beginning.begin(world);
  return saboteur.heard();
}

TEST_P(SliceSabotage, AtEveryStepTheWorldStaysSound) {
  auto const& [beginning, sabotage] = GetParam();
  World quiet;
  int const callbacks = run(quiet, beginning, sabotages[0], -1);
  ASSERT_GE(callbacks, 4);
  auto const order = keysHeard(quiet.events.take());
  for (int position = 0; position != callbacks; ++position) {
    SCOPED_TRACE(testing::Message() << "position " << position);
    World world;
    EXPECT_GT(run(world, beginning, sabotage, position), position);
    if (world.complete && world.reactor && beginning.name != std::string("Creation")) {
      if (world.published) {
        EXPECT_EQ(contents(*world.firstOut), contents(*world.firstSlice));
      }
      EXPECT_EQ(leavesOf(*world.reactor), walkOf(*world.firstSlice));
    }
    if (world.cutShort && world.reactor && beginning.name == std::string("Sweep")) {
      EXPECT_EQ(leavesOf(*world.reactor), std::vector<std::string>(order.begin(), order.begin() + position));
    }
    world.dropAll();
    EXPECT_EQ(world.firstOut->zonReferences(), 1U);
    EXPECT_EQ(world.firstSlice->zonReferences(), 1U);
  }
}

INSTANTIATE_TEST_SUITE_P(Of, SliceSabotage,
                         testing::Combine(testing::ValuesIn(beginnings), testing::ValuesIn(sabotages)), sabotageName);

TEST_F(SliceReactorTest, AnInterfaceRemovedByAWatcherOfItsPublicationGetsNoLeaf) {
  auto const reactor = made();
  auto const watcher = Zon::newPtr<PtrDirWatcher>("w", events, out);
  watcher->act = [&](std::string const&) {
    watcher->act = {};
    slice->intfQueueCounterDirDel("Ethernet3");
  };
  slice->intfQueueCounterDirIs(newCounters("Ethernet3"));
  EXPECT_EQ(events.take(), "w:key(Ethernet3) w:key(Ethernet3)");
  EXPECT_EQ(reactor->intfQueueCounterSm("Ethernet3"), nullptr);
  EXPECT_EQ(out->intfQueueCounterDir("Ethernet3"), nullptr);
}

TEST_F(SliceReactorTest, AnInterfaceRemovedAndAddedAnewByAWatcherOfItsPublicationIsServedOnce) {
  auto const reactor = made();
  auto const watcher = Zon::newPtr<PtrDirWatcher>("w", events, out);
  auto const anew = newCounters("Ethernet3", {"anew"});
  watcher->act = [&](std::string const&) {
    watcher->act = {};
    slice->intfQueueCounterDirDel("Ethernet3");
    slice->intfQueueCounterDirIs(anew);
  };
  slice->intfQueueCounterDirIs(newCounters("Ethernet3", {"old"}));
  ASSERT_NE(reactor->intfQueueCounterSm("Ethernet3"), nullptr);
  EXPECT_EQ(reactor->intfQueueCounterSm("Ethernet3")->intfQueueCounterDir(), anew);
  EXPECT_EQ(out->intfQueueCounterDir("Ethernet3"), anew);
  EXPECT_EQ(slice->counterShmemMan()->counterBlock("Ethernet3-old"), nullptr);
}

TEST_F(SliceReactorTest, AnInterfaceBroughtBackByAWatcherOfItsWithdrawalIsServed) {
  auto const reactor = made();
  auto const same = slice->intfQueueCounterDir("Ethernet1");
  for (auto const& back : {same, newCounters("Ethernet1", {"back"})}) {
    auto const watcher = Zon::newPtr<PtrDirWatcher>("w", events, out);
    watcher->act = [&](std::string const&) {
      watcher->act = {};
      slice->intfQueueCounterDirIs(back);
    };
    slice->intfQueueCounterDirDel("Ethernet1");
    auto const leaf = reactor->intfQueueCounterSm("Ethernet1");
    ASSERT_NE(leaf, nullptr);
    EXPECT_FALSE(leaf->zonMarkedForDeletion());
    EXPECT_EQ(leaf->intfQueueCounterDir(), back);
    EXPECT_EQ(contents(*out), contents(*slice));
    back->intfQueueCounterIs(Zon::newPtr<Interface::IntfQueueCounter>("later"));
    EXPECT_NE(slice->counterShmemMan()->counterBlock("Ethernet1-later"), nullptr);
  }
  EXPECT_NE(slice->counterShmemMan()->counterBlock("Ethernet1-back"), nullptr);
}

TEST_F(SliceReactorTest, AReactorThatBecomesAZombieDuringAWithdrawalLooksNoFurther) {
  auto const reactor = made();
  auto const back = newCounters("Ethernet1", {"back"});
  auto const watcher = Zon::newPtr<PtrDirWatcher>("w", events, out);
  watcher->act = [&](std::string const&) {
    watcher->act = {};
    reactor->zonDoZombieReactors(true);
    slice->intfQueueCounterDirIs(back);
  };
  slice->intfQueueCounterDirDel("Ethernet1");
  EXPECT_EQ(idsOf(*out), "Ethernet2");
  EXPECT_EQ(leavesOf(*reactor), std::vector<std::string>{"Ethernet2"});
}

TEST_F(SliceReactorTest, AReactorThatBecomesAZombieInTheMiddleOfASweepStopsThere) {
  auto const reactor = made();
  reactor->intfQueueCounterSmDelAll();
  out->intfQueueCounterDirDelAll();
  auto const watcher = Zon::newPtr<PtrDirWatcher>("w", events, out);
  watcher->act = [&](std::string const&) { reactor->zonDoZombieReactors(true); };
  reactor->handleQueueCounterDir();
  EXPECT_EQ(events.take(), "w:key(" + walkOf(*slice).front() + ")");
  EXPECT_EQ(leavesOf(*reactor).size(), 0U);
}

}  // namespace
