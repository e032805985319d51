#include "VaroIntf/AllIntfQueueCounterSliceIntfCounterReactor.h"

#include <algorithm>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/Errdisable.h"
#include "support/Intf.h"

namespace {

using namespace Support;
using Leaf = VaroIntf::AllIntfQueueCounterSliceIntfCounterReactor;
using Zon::Ptr;

class LeafTest : public testing::Test {
 protected:
  Events events;
  Ptr<Slice> slice = Zon::newPtr<Slice>("slice");
  Ptr<Counters> counters = newCounters("Ethernet2");
  Pelto::ShmemMan& perInterface() { return *slice->counterShmemMan(); }
  Pelto::ShmemMan& perQueue() { return *slice->statisticsShmemMan(); }

  Ptr<Leaf> made(Ptr<Zon::ActivityConfig> const& activity = nullptr) {
    return Leaf::AllIntfQueueCounterSliceIntfCounterReactorIs(activity, "Ethernet2", counters, slice);
  }
  void add(Zon::Name const& name) { counters->intfQueueCounterIs(Zon::newPtr<Interface::IntfQueueCounter>(name)); }
  std::uint32_t blocks() { return perInterface().counterBlocks() + perQueue().counterBlocks(); }
};

TEST_F(LeafTest, ANewCounterYieldsItsNineteenBlocks) {
  auto const leaf = made();
  EXPECT_EQ(blocks(), 0U);
  add("tx");
  EXPECT_EQ(blocksOf(perInterface()), std::vector<std::string>{"Ethernet2-tx"});
  EXPECT_EQ(blocksOf(perQueue()), queueBlocks("Ethernet2", "tx"));
  EXPECT_EQ(blocks(), 19U);
}

TEST_F(LeafTest, EveryStepLooksUpBeforeItMakes) {
  auto const first = Zon::newPtr<RecordingShmemMan>("1", events);
  auto const second = Zon::newPtr<RecordingShmemMan>("2", events);
  first->recordsQuestions = second->recordsQuestions = true;
  slice->counterShmemManIs(first);
  slice->statisticsShmemManIs(second);
  auto const leaf = made();
  add("tx");
  std::string expected = "1?Ethernet2-tx 1*Ethernet2-tx";
  for (auto const& name : queueBlocks("Ethernet2", "tx"))
    expected += " 2?" + name + " 2*" + name;
  EXPECT_EQ(events.take(), expected);
  leaf->handleQueueCounter("tx");
  expected = "1?Ethernet2-tx";
  for (auto const& name : queueBlocks("Ethernet2", "tx"))
    expected += " 2?" + name;
  EXPECT_EQ(events.take(), expected);
}

TEST_F(LeafTest, ASecondNotificationMakesNoBlock) {
  auto const leaf = made();
  add("tx");
  counters->intfQueueCounterNotify("tx");
  add("tx");
  leaf->handleQueueCounter();
  EXPECT_EQ(blocks(), 19U);
}

TEST_F(LeafTest, RemovingACounterLeavesItsBlocksAndTheirBytes) {
  auto const leaf = made();
  add("tx");
  auto const block = perQueue().counterBlock("Ethernet2-17-tx");
  block->data()[63] = std::byte{42};
  counters->intfQueueCounterDel("tx");
  EXPECT_EQ(blocks(), 19U);
  add("tx");
  EXPECT_EQ(perQueue().counterBlock("Ethernet2-17-tx"), block);
  EXPECT_EQ(block->data()[63], std::byte{42});
}

TEST_F(LeafTest, CreationOverTwoCountersMakesThirtyEightBlocksBeforeTheFirstNotification) {
  add("rx");
  add("tx");
  auto const leaf = made();
  EXPECT_EQ(blocks(), 38U);
  EXPECT_TRUE(leaf->hasNotificationActive());
  EXPECT_EQ(leaf->intfId(), "Ethernet2");
  EXPECT_EQ(leaf->fwkKey(), "Ethernet2");
  EXPECT_EQ(leaf->intfQueueCounterDir(), counters);
  EXPECT_EQ(leaf->allIntfQueueCounterDir(), slice);
  EXPECT_EQ(leaf->zonReferences(), 1U);
}

TEST_F(LeafTest, TheConstructorAloneMakesNothing) {
  add("tx");
  auto const leaf = Zon::newPtr<Leaf>(nullptr, "Ethernet2", counters, slice);
  EXPECT_EQ(blocks(), 0U);
  EXPECT_FALSE(leaf->hasNotificationActive());
}

TEST_F(LeafTest, TwoInterfacesWithACounterOfOneNameHaveDisjointBlocks) {
  auto const leaf = made();
  auto const others = newCounters("Ethernet1", {"tx"});
  auto const other = Leaf::AllIntfQueueCounterSliceIntfCounterReactorIs(nullptr, "Ethernet1", others, slice);
  add("tx");
  EXPECT_EQ(blocks(), 38U);
}

TEST_F(LeafTest, InterfaceAndCounterWhoseNamesJoinEquallyShareABlock) {
  auto const one = Leaf::AllIntfQueueCounterSliceIntfCounterReactorIs(nullptr, "A-b", newCounters("A-b", {"c"}), slice);
  EXPECT_EQ(blocks(), 19U);
  auto const two = Leaf::AllIntfQueueCounterSliceIntfCounterReactorIs(nullptr, "A", newCounters("A", {"b-c"}), slice);
  EXPECT_EQ(blocksOf(perInterface()), std::vector<std::string>{"A-b-c"});
  EXPECT_EQ(perQueue().counterBlocks(), 36U);
  // The interface's block of counter "0-c" has the name of queue 0's of "c", but another manager.
  auto const three = Leaf::AllIntfQueueCounterSliceIntfCounterReactorIs(nullptr, "B", newCounters("B", {"c"}), slice);
  auto const four = Leaf::AllIntfQueueCounterSliceIntfCounterReactorIs(nullptr, "B", newCounters("B", {"0-c"}), slice);
  EXPECT_NE(perInterface().counterBlock("B-0-c"), nullptr);
  EXPECT_NE(perQueue().counterBlock("B-0-c"), nullptr);
  EXPECT_NE(perInterface().counterBlock("B-0-c"), perQueue().counterBlock("B-0-c"));
}

TEST_F(LeafTest, OneManagerForBothKindsSharesBlocksOfEqualNames) {
  slice->statisticsShmemManIs(slice->counterShmemMan());
  auto const leaf = made();
  add("0-c");
  EXPECT_EQ(perQueue().counterBlocks(), 19U);
  add("c");  // its queue 0 block is "Ethernet2-0-c", which is there
  EXPECT_EQ(perQueue().counterBlocks(), 37U);
}

TEST_F(LeafTest, NamesMayContainAnything) {
  std::string const long4k(4096, 'n');
  for (std::string const& name :
       {std::string("a b"), std::string("a/b"), std::string("a\0b", 3), std::string(1, '\0'), std::string("%s%hhu%n"),
        std::string("\xff\x80"), std::string(), std::string("-"), long4k}) {
    auto const own = Zon::newPtr<Slice>("own");
    auto const intf = Orvet::IntfId("E " + name);
    auto const leaf = Leaf::AllIntfQueueCounterSliceIntfCounterReactorIs(nullptr, intf, newCounters(intf, {name}), own);
    EXPECT_EQ(blocksOf(*own->counterShmemMan()), std::vector<std::string>{"E " + name + "-" + name});
    EXPECT_EQ(blocksOf(*own->statisticsShmemMan()), queueBlocks("E " + name, name));
  }
}

TEST_F(LeafTest, TheEmptyInterface) {
  auto const leaf = Leaf::AllIntfQueueCounterSliceIntfCounterReactorIs(nullptr, "", newCounters("", {"c"}), slice);
  EXPECT_EQ(blocksOf(perInterface()), std::vector<std::string>{"-c"});
  EXPECT_EQ(blocksOf(perQueue()), queueBlocks("", "c"));
}

TEST_F(LeafTest, BlocksAreNamedForTheReactorsInterfaceNotTheDirectorys) {
  auto const leaf = Leaf::AllIntfQueueCounterSliceIntfCounterReactorIs(nullptr, "Ethernet9", counters, slice);
  add("c");
  EXPECT_EQ(blocksOf(perInterface()), std::vector<std::string>{"Ethernet9-c"});
}

TEST_F(LeafTest, WithoutSliceItMakesNoBlocks) {
  auto const leaf = Leaf::AllIntfQueueCounterSliceIntfCounterReactorIs(nullptr, "Ethernet2", counters, nullptr);
  add("tx");
  leaf->handleQueueCounter();
  EXPECT_EQ(leaf->allIntfQueueCounterDir(), nullptr);
}

TEST_F(LeafTest, WithoutDirectoryThereAreNoCounters) {
  auto const leaf = Leaf::AllIntfQueueCounterSliceIntfCounterReactorIs(nullptr, "Ethernet2", nullptr, slice);
  leaf->handleQueueCounter();
  leaf->handleQueueCounter("tx");
  EXPECT_EQ(blocks(), 0U);
  EXPECT_EQ(leaf->intfQueueCounterDir(), nullptr);
  EXPECT_EQ(leaf->intfQueueCounterDirDel(), nullptr);
}

TEST_F(LeafTest, TheSetterDropsRebindsAndMakesTheInputWithoutASweep) {
  auto const leaf = made();
  auto const other = newCounters("Ethernet2", {"rx"});
  leaf->intfQueueCounterDirIs(counters);
  leaf->intfQueueCounterDirIs(other);
  EXPECT_EQ(blocks(), 0U);
  add("tx");
  EXPECT_EQ(blocks(), 0U);
  other->intfQueueCounterNotify("rx");
  EXPECT_EQ(blocks(), 19U);
  leaf->intfQueueCounterDirIs(nullptr);
  EXPECT_EQ(leaf->intfQueueCounterDir(), nullptr);
  EXPECT_EQ(other->zonReferences(), 1U);
  leaf->intfQueueCounterDirIs(counters);
  counters->intfQueueCounterNotify("tx");
  EXPECT_EQ(blocks(), 38U);
  EXPECT_EQ(leaf->intfQueueCounterDirDel(), counters);
  add("xx");
  EXPECT_EQ(blocks(), 38U);
}

TEST_F(LeafTest, ManagersAreReadAtEachReaction) {
  auto const leaf = made();
  add("tx");
  auto const larger = Zon::newPtr<Pelto::ShmemMan>();
  slice->counterShmemManIs(larger);
  EXPECT_EQ(larger->counterBlocks(), 0U);  // setting one triggers nothing
  leaf->handleQueueCounter();
  EXPECT_EQ(blocksOf(*larger), std::vector<std::string>{"Ethernet2-tx"});
  EXPECT_EQ(perQueue().counterBlocks(), 18U);
}

TEST_F(LeafTest, OnADeferringActivityOneCounterWaitsAndABurstIsLost) {
  auto const activity = deferring();
  auto const leaf = made(activity);
  add("tx");
  EXPECT_EQ(blocks(), 0U);
  EXPECT_EQ(activity->zonDispatch(), 1U);
  EXPECT_EQ(blocks(), 19U);
  add("a");
  add("b");
  EXPECT_EQ(activity->zonDispatch(), 1U);
  EXPECT_EQ(blocks(), 19U);
  leaf->handleQueueCounter();
  EXPECT_EQ(blocks(), 57U);
}

TEST_F(LeafTest, ABulkNotificationChangesNothing) {
  auto const leaf = Zon::newPtr<Leaf>(nullptr, "Ethernet2", counters, slice);
  add("tx");
  leaf->hasNotificationActiveIs(true);
  counters->intfQueueCounterNotify();
  EXPECT_EQ(blocks(), 0U);
}

TEST_F(LeafTest, OffAndZombieItHearsNothingButItsHandlersWork) {
  auto const leaf = made();
  leaf->hasNotificationActiveIs(false);
  add("a");
  EXPECT_EQ(blocks(), 0U);
  leaf->hasNotificationActiveIs(true);
  leaf->zonDoZombieReactors(true);
  add("b");
  EXPECT_EQ(blocks(), 0U);
  leaf->handleQueueCounter("a");
  EXPECT_EQ(blocks(), 19U);
  leaf->handleQueueCounter();
  EXPECT_EQ(blocks(), 38U);
  leaf->zonDoZombieReactors(false);
  add("c");
  EXPECT_EQ(blocks(), 57U);
}

TEST_F(LeafTest, DestructionReleasesTheInputThenTheSliceThenTheActivity) {
  auto leaf = Leaf::AllIntfQueueCounterSliceIntfCounterReactorIs(
      Zon::newPtr<Mourned<Zon::ActivityConfig>>(events, "activity"), "Ethernet1",
      Zon::newPtr<Mourned<Counters>>(events, "counters", "Ethernet1"),
      Zon::newPtr<Mourned<Slice>>(events, "slice", "s"));
  leaf = nullptr;
  EXPECT_EQ(events.take(), "~counters ~slice ~activity");
}

// ---------------------------------------------------------------------------------------------------------------
// Exhaustion

TEST_F(LeafTest, ExhaustedAtEveryBlockWhatWasMadeStaysAndALargerManagerIsFilled) {
  for (unsigned fits = 0; fits != 18; ++fits) {
    SCOPED_TRACE(fits);
    auto const own = Zon::newPtr<Slice>("own");
    auto const small = Zon::newPtr<Pelto::ShmemMan>("", room(fits));
    own->statisticsShmemManIs(small);
    auto const these = newCounters("E");
    auto const leaf = Leaf::AllIntfQueueCounterSliceIntfCounterReactorIs(nullptr, "E", these, own);
    auto const watcher = Zon::newPtr<CounterDirWatcher>("later", events, these);
    // By notification the exception is contained, and later watchers still hear.
    these->intfQueueCounterIs(Zon::newPtr<Interface::IntfQueueCounter>("c"));
    EXPECT_EQ(events.take(), "later:key(c)");
    auto made = queueBlocks("E", "c");
    made.resize(fits);
    EXPECT_EQ(blocksOf(*small), made);
    EXPECT_EQ(own->counterShmemMan()->counterBlocks(), 1U);
    // Called directly it leaves, naming the first block that did not fit.
    try {
      leaf->handleQueueCounter("c");
      FAIL();
    } catch (Zon::RangeException const& e) {
      EXPECT_NE(std::string(e.what()).find("E-" + std::to_string(fits) + "-c"), std::string::npos) << e.what();
    }
    EXPECT_THROW(leaf->handleQueueCounter(), Zon::RangeException);
    EXPECT_EQ(blocksOf(*small), made);
    EXPECT_THROW(Leaf::AllIntfQueueCounterSliceIntfCounterReactorIs(nullptr, "E", these, own), Zon::RangeException);
    auto const larger = Zon::newPtr<Pelto::ShmemMan>();
    own->statisticsShmemManIs(larger);
    these->intfQueueCounterNotify("c");
    EXPECT_EQ(blocksOf(*larger), queueBlocks("E", "c"));
    events.take();
  }
}

TEST_F(LeafTest, ExhaustedAtTheFirstBlockNoQueueBlockIsMade) {
  slice->counterShmemManIs(Zon::newPtr<Pelto::ShmemMan>("", room(0)));
  auto const leaf = made();
  add("tx");
  EXPECT_EQ(blocks(), 0U);
}

TEST_F(LeafTest, MemoryRefusedForAWhileAndThenFreedIsUsedByTheNextReaction) {
  auto const manager = Zon::newPtr<RecordingShmemMan>("m", events);
  slice->statisticsShmemManIs(manager);
  int left = 7;
  manager->before = [&] {
    if (left-- == 0) Zon::throwRangeException("no memory");
  };
  auto const leaf = made();
  add("tx");
  EXPECT_EQ(manager->counterBlocks(), 7U);
  events.take();
  manager->before = {};
  counters->intfQueueCounterNotify("tx");
  // Only the missing eleven are made.
  auto const all = queueBlocks("Ethernet2", "tx");
  EXPECT_EQ(events.take(), prefixed("m*", std::vector<std::string>(all.begin() + 7, all.end())));
  EXPECT_EQ(blocksOf(*manager), all);
}

TEST_F(LeafTest, ASweepThatMeetsAnExceptionEndsThere) {
  add("a");
  add("b");
  add("c");
  auto const leaf = Zon::newPtr<Leaf>(nullptr, "Ethernet2", counters, slice);
  auto const manager = Zon::newPtr<RecordingShmemMan>("m", events);
  slice->counterShmemManIs(manager);
  int left = 1;
  manager->before = [&] {
    if (left-- == 0) throw 7;
  };
  EXPECT_THROW(leaf->handleQueueCounter(), int);
  EXPECT_EQ(manager->counterBlocks(), 1U);
  EXPECT_EQ(perQueue().counterBlocks(), 18U);
  leaf->handleQueueCounter();
  EXPECT_EQ(blocks(), 57U);
}

// ---------------------------------------------------------------------------------------------------------------
// Re-entrancy: the manager acts while a block is made.

TEST_F(LeafTest, WhateverAManagerDoesAtEveryBlockTheReactionStaysSound) {
  enum Act { dropLeaf, dropEverything, removeCounter, addCounter, swapManager, zombie, reenter, acts };
  for (int act = 0; act != acts; ++act) {
    for (int position = 0; position != 36; ++position) {
      SCOPED_TRACE(testing::Message() << "act " << act << ", position " << position);
      auto own = Zon::newPtr<Slice>("own");
      auto these = newCounters("E", {"a", "b"});
      auto leaf = Zon::newPtr<Leaf>(nullptr, "E", these, own);
      leaf->hasNotificationActiveIs(true);
      auto manager = Zon::newPtr<RecordingShmemMan>("m", events);
      own->statisticsShmemManIs(manager);
      int heard = 0;
      manager->before = [&] {
        if (heard++ != position) return;
        switch (act) {
        case dropLeaf:
          leaf = nullptr;
          break;
        case dropEverything:
          leaf = nullptr;
          own = nullptr;
          these = nullptr;
          break;
        case removeCounter:
          these->intfQueueCounterDelAll();
          break;
        case addCounter:
          these->intfQueueCounterIs(Zon::newPtr<Interface::IntfQueueCounter>("z"));
          break;
        case swapManager:
          own->statisticsShmemManIs(Zon::newPtr<Pelto::ShmemMan>());
          break;
        case zombie:
          leaf->zonDoZombieReactors(true);
          break;
        default:
          leaf->handleQueueCounter();
          break;
        }
      };
      // Not held by the caller while it runs.
      Leaf& raw = *leaf;
      raw.handleQueueCounter();
      EXPECT_GT(heard, position >= 18 && (act == removeCounter || act == swapManager || act == zombie) ? 17 : 0);
      if (act == dropLeaf || act == addCounter || act == reenter) {
        std::set<std::string> names;
        for (auto const& name : blocksOf(*manager))
          names.insert(name);
        EXPECT_EQ(names.size(), act == addCounter ? 54U : 36U);
      }
      if (act == zombie || act == removeCounter || act == swapManager) {
        // The counter under way is completed; the next is not begun, is gone, or has its blocks elsewhere.
        EXPECT_EQ(manager->counterBlocks(), position < 18 ? 18U : 36U);
      }
      events.take();
    }
  }
}

}  // namespace
