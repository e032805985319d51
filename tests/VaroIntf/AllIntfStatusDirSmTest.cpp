#include "VaroIntf/AllIntfStatusDirSm.h"

#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/Errdisable.h"
#include "support/Intf.h"

namespace {

using namespace Support;
using VaroIntf::AllIntfStatusDirSm;
using VaroIntf::IntfStatusReactor;
using Zon::Ptr;

class AllIntfStatusDirSmTest : public testing::Test {
 protected:
  Events events;
  Ptr<StatusDir> dir = Zon::newPtr<StatusDir>("status");

  Ptr<RecordingStatus> add(char const* id) {
    auto const status = Zon::newPtr<RecordingStatus>(id, events);
    dir->intfStatusIs(status);
    return status;
  }
  Ptr<AllIntfStatusDirSm> made(Ptr<Zon::ActivityConfig> const& activity = nullptr) {
    return AllIntfStatusDirSm::AllIntfStatusDirSmIs(activity, dir);
  }
  static std::vector<std::string> children(AllIntfStatusDirSm& machine) {
    std::vector<std::string> ids;
    for (auto it = machine.intfStatusReactorIterator(); it; it.advance())
      ids.push_back(it->intfId().stringValue().stdString());
    return ids;
  }
};

TEST_F(AllIntfStatusDirSmTest, CreationOverThreeStatusesMakesThreeChildrenThatHaveWritten) {
  add("Ethernet1");
  add("Ethernet2");
  add("Ethernet3");
  auto const order = walkOf(*dir);
  auto const machine = made();
  EXPECT_EQ(events.take(), order[0] + "=5 " + order[1] + "=5 " + order[2] + "=5");
  EXPECT_EQ(children(*machine), order);
  EXPECT_TRUE(machine->hasNotificationActive());
  for (auto const& id : order)
    EXPECT_TRUE(machine->intfStatusReactor(id)->hasNotificationActive());
  EXPECT_EQ(machine->allIntfStatusDir(), dir);
  EXPECT_EQ(machine->zonReferences(), 1U);
}

TEST_F(AllIntfStatusDirSmTest, TheConstructorAloneEvaluatesNothing) {
  add("Ethernet1");
  auto const machine = Zon::newPtr<AllIntfStatusDirSm>(nullptr, dir);
  EXPECT_EQ(events.take(), "");
  EXPECT_FALSE(machine->hasNotificationActive());
  EXPECT_EQ(machine->intfStatusReactor("Ethernet1"), nullptr);
}

TEST_F(AllIntfStatusDirSmTest, ANullDirectoryHasNoEntries) {
  auto const machine = AllIntfStatusDirSm::AllIntfStatusDirSmIs(nullptr, nullptr);
  EXPECT_EQ(machine->allIntfStatusDir(), nullptr);
  machine->intfStatusReactorIs(Zon::newPtr<RecordingStatus>("Ethernet1", events));
  machine->handleIntfStatus();
  EXPECT_NE(machine->intfStatusReactor("Ethernet1"), nullptr);
  machine->handleIntfStatus("Ethernet1");
  EXPECT_EQ(machine->intfStatusReactor("Ethernet1"), nullptr);
  EXPECT_EQ(machine->allIntfStatusDirDel(), nullptr);
}

TEST_F(AllIntfStatusDirSmTest, AStatusThatComesIsServedAndOneThatGoesLosesItsChild) {
  for (auto const& activity : {Ptr<Zon::ActivityConfig>(), immediate()}) {
    auto const machine = made(activity);
    auto const status = add("Ethernet1");
    EXPECT_EQ(events.take(), "Ethernet1=5");
    status->forwardingModelInputsIs("a", 2);
    EXPECT_EQ(events.take(), "Ethernet1=2");
    EXPECT_EQ(status->zonReferences(), 3U);  // ours, the directory's, the child's
    dir->intfStatusDel("Ethernet1");
    EXPECT_EQ(machine->intfStatusReactor("Ethernet1"), nullptr);
    EXPECT_EQ(status->zonReferences(), 1U);
    status->forwardingModelInputsIs("a", 1);
    EXPECT_EQ(events.take(), "");
  }
}

TEST_F(AllIntfStatusDirSmTest, ASecondNotificationOfARemovedInterfaceIsHarmless) {
  auto const machine = made();
  add("Ethernet1");
  dir->intfStatusDel("Ethernet1");
  dir->intfStatusNotify("Ethernet1");
  machine->handleIntfStatus("Ethernet1");
  EXPECT_EQ(children(*machine), std::vector<std::string>());
}

TEST_F(AllIntfStatusDirSmTest, AReplacedStatusRebindsTheChildAndRecomputes) {
  auto const first = add("Ethernet1");
  auto const machine = made();
  auto const child = machine->intfStatusReactor("Ethernet1");
  auto const second = Zon::newPtr<RecordingStatus>("Ethernet1", events);
  second->forwardingModelInputsIs("a", 4);
  events.take();
  dir->intfStatusIs(second);
  EXPECT_EQ(events.take(), "Ethernet1=4");
  EXPECT_EQ(machine->intfStatusReactor("Ethernet1"), child);
  EXPECT_EQ(child->intfStatus(), second);
  EXPECT_EQ(children(*machine).size(), 1U);
  EXPECT_EQ(first->zonReferences(), 1U);
}

TEST_F(AllIntfStatusDirSmTest, AStatusRemovedWhileItsChildIsBeingReboundHasNoChild) {
  add("Ethernet1");
  auto const machine = made();
  events.take();
  auto const replacement = Zon::newPtr<RecordingStatus>("Ethernet1", events);
  replacement->before = [&] { dir->intfStatusDel("Ethernet1"); };
  dir->intfStatusIs(replacement);
  EXPECT_EQ(children(*machine), std::vector<std::string>());
  events.take();
  replacement->before = {};
  replacement->forwardingModelInputsIs("a", 2);
  EXPECT_EQ(events.take(), "");
}

TEST_F(AllIntfStatusDirSmTest, OnADeferringActivityOneChangeIsServedAtTheDispatch) {
  auto const activity = deferring();
  auto const machine = made(activity);
  add("Ethernet1");
  EXPECT_EQ(events.take(), "");
  EXPECT_EQ(activity->zonDispatch(), 1U);
  EXPECT_EQ(events.take(), "Ethernet1=5");
  // The child itself never waits.
  dir->intfStatus("Ethernet1")->forwardingModelInputsIs("a", 1);
  EXPECT_EQ(events.take(), "Ethernet1=1");
  EXPECT_EQ(activity->zonPending(), 0U);
}

TEST_F(AllIntfStatusDirSmTest, ABulkChangeCreatesNoChildren) {
  auto const activity = deferring();
  auto const machine = made(activity);
  add("Ethernet1");
  add("Ethernet2");
  EXPECT_EQ(activity->zonDispatch(), 1U);
  EXPECT_EQ(events.take(), "");
  EXPECT_EQ(children(*machine).size(), 0U);
  machine->handleIntfStatus();
  EXPECT_EQ(children(*machine).size(), 2U);
}

TEST_F(AllIntfStatusDirSmTest, TwoChangesOfOneKeyAreABulkChangeToo) {
  auto const activity = deferring();
  auto const machine = made(activity);
  add("Ethernet1");
  add("Ethernet1");
  activity->zonDispatch();
  EXPECT_EQ(children(*machine).size(), 0U);
}

TEST_F(AllIntfStatusDirSmTest, TheImmediateNotificationIsNotItsBusiness) {
  auto const machine = Zon::newPtr<AllIntfStatusDirSm>(nullptr, dir);
  machine->hasNotificationActiveIs(true);
  machine->hasNotificationActiveIs(false);
  add("Ethernet1");
  machine->hasNotificationActiveIs(true);
  dir->intfStatusNotify();
  EXPECT_EQ(children(*machine).size(), 0U);
}

TEST_F(AllIntfStatusDirSmTest, TheSweepOnlyCreatesAndRebinds) {
  add("Ethernet1");
  auto const machine = made();
  machine->hasNotificationActiveIs(false);
  dir->intfStatusDel("Ethernet1");
  auto const second = add("Ethernet2");
  events.take();
  machine->handleIntfStatus();
  EXPECT_EQ(events.take(), "Ethernet2=5");
  EXPECT_NE(machine->intfStatusReactor("Ethernet1"), nullptr);
  machine->handleIntfStatus("Ethernet1");
  EXPECT_EQ(machine->intfStatusReactor("Ethernet1"), nullptr);
}

TEST_F(AllIntfStatusDirSmTest, TheSwitchReachesTheInputAndEveryChild) {
  auto const status = add("Ethernet1");
  auto const machine = made();
  events.take();
  machine->hasNotificationActiveIs(false);
  EXPECT_FALSE(machine->intfStatusReactor("Ethernet1")->hasNotificationActive());
  status->forwardingModelInputsIs("a", 1);
  add("Ethernet2");
  EXPECT_EQ(events.take(), "");
  machine->hasNotificationActiveIs(true);
  EXPECT_TRUE(machine->intfStatusReactor("Ethernet1")->hasNotificationActive());
  EXPECT_EQ(events.take(), "");
  status->forwardingModelInputsIs("a", 2);
  add("Ethernet3");
  EXPECT_EQ(events.take(), "Ethernet1=2 Ethernet3=5");
}

TEST_F(AllIntfStatusDirSmTest, AnEqualSwitchReachesNobody) {
  add("Ethernet1");
  auto const machine = made();
  machine->intfStatusReactor("Ethernet1")->hasNotificationActiveIs(false);
  machine->hasNotificationActiveIs(true);
  EXPECT_FALSE(machine->intfStatusReactor("Ethernet1")->hasNotificationActive());
}

TEST_F(AllIntfStatusDirSmTest, AChildMadeWhileTheMachineIsOffIsOn) {
  auto const machine = made();
  machine->hasNotificationActiveIs(false);
  EXPECT_TRUE(machine->intfStatusReactorIs(newStatus("Ethernet1"))->hasNotificationActive());
}

TEST_F(AllIntfStatusDirSmTest, ZombiesReachTheInputNotTheChildren) {
  auto const status = add("Ethernet1");
  auto const machine = made();
  events.take();
  machine->zonDoZombieReactors(true);
  add("Ethernet2");
  EXPECT_EQ(events.take(), "");
  EXPECT_FALSE(machine->intfStatusReactor("Ethernet1")->zonMarkedForDeletion());
  status->forwardingModelInputsIs("a", 1);
  EXPECT_EQ(events.take(), "Ethernet1=1");
  machine->zonDoZombieReactors(false);
  add("Ethernet3");
  EXPECT_EQ(events.take(), "Ethernet3=5");
}

TEST_F(AllIntfStatusDirSmTest, AnotherDirectoryRunsNoSweepAndKeepsTheChildren) {
  add("Ethernet1");
  auto const machine = made();
  auto const other = Zon::newPtr<StatusDir>("other");
  other->intfStatusIs(Zon::newPtr<RecordingStatus>("Ethernet2", events));
  events.take();
  machine->allIntfStatusDirIs(other);
  EXPECT_EQ(machine->allIntfStatusDir(), other);
  EXPECT_EQ(events.take(), "");
  EXPECT_EQ(children(*machine), (std::vector<std::string>{"Ethernet1"}));
  other->intfStatusIs(Zon::newPtr<RecordingStatus>("Ethernet3", events));
  EXPECT_EQ(events.take(), "Ethernet3=5");
  add("Ethernet4");
  EXPECT_EQ(events.take(), "");
  // Its entry is looked up in the present directory.
  machine->handleIntfStatus("Ethernet1");
  EXPECT_EQ(machine->intfStatusReactor("Ethernet1"), nullptr);
  EXPECT_EQ(dir->zonReferences(), 1U);
}

TEST_F(AllIntfStatusDirSmTest, ADroppedDirectoryKeepsTheChildrenAndANewOneTakesTheOwnersSwitch) {
  auto const status = add("Ethernet1");
  auto const machine = made();
  events.take();
  EXPECT_EQ(machine->allIntfStatusDirDel(), dir);
  EXPECT_EQ(machine->allIntfStatusDirDel(), nullptr);
  EXPECT_EQ(dir->zonReferences(), 1U);
  status->forwardingModelInputsIs("a", 1);
  EXPECT_EQ(events.take(), "Ethernet1=1");
  machine->allIntfStatusDirIs(dir);
  add("Ethernet2");
  EXPECT_EQ(events.take(), "Ethernet2=5");
  machine->allIntfStatusDirIs(nullptr);
  machine->allIntfStatusDirIs(nullptr);
  machine->hasNotificationActiveIs(false);
  machine->allIntfStatusDirIs(dir);
  add("Ethernet3");
  EXPECT_EQ(events.take(), "");
}

TEST_F(AllIntfStatusDirSmTest, WhatWaitsWhenTheDirectoryIsDroppedIsForgotten) {
  auto const activity = deferring();
  auto const machine = made(activity);
  add("Ethernet1");
  machine->allIntfStatusDirDel();
  EXPECT_EQ(activity->zonPending(), 0U);
  activity->zonDispatch();
  EXPECT_EQ(events.take(), "");
}

TEST_F(AllIntfStatusDirSmTest, WhatWaitsMovesAlongToAnotherActivity) {
  auto const first = deferring();
  auto const second = deferring();
  auto const machine = made(first);
  add("Ethernet1");
  machine->zonFwkActivityIs(second);
  EXPECT_EQ(machine->zonFwkActivity(), second);
  EXPECT_EQ(first->zonPending(), 0U);
  EXPECT_EQ(second->zonDispatch(), 1U);
  EXPECT_EQ(events.take(), "Ethernet1=5");
  add("Ethernet2");
  machine->zonFwkActivityIs(nullptr);
  EXPECT_EQ(events.take(), "Ethernet2=5");
}

TEST_F(AllIntfStatusDirSmTest, NullStatusesAreRefused) {
  auto const machine = made();
  for (auto const& call : {std::function<void()>([&] { machine->intfStatusReactorIs(nullptr); }),
                           std::function<void()>([&] { machine->newIntfStatusReactor(nullptr); })}) {
    try {
      call();
      FAIL();
    } catch (Zon::RangeException const& e) {
      EXPECT_STREQ(e.what(), "null ValidPtr");
    }
  }
  EXPECT_EQ(children(*machine).size(), 0U);
}

TEST_F(AllIntfStatusDirSmTest, FindOrCreateReturnsTheChildOfTheInterface) {
  auto const machine = AllIntfStatusDirSm::AllIntfStatusDirSmIs(nullptr, nullptr);
  auto const first = Zon::newPtr<RecordingStatus>("Ethernet1", events);
  auto const child = machine->intfStatusReactorIs(first);
  EXPECT_EQ(events.take(), "Ethernet1=5");
  EXPECT_EQ(machine->intfStatusReactorIs(first), child);
  EXPECT_EQ(events.take(), "");
  auto const second = Zon::newPtr<RecordingStatus>("Ethernet1", events);
  EXPECT_EQ(machine->intfStatusReactorIs(second), child);
  EXPECT_EQ(child->intfStatus(), second);
  EXPECT_EQ(std::as_const(*machine).intfStatusReactor("Ethernet1"), child);
  EXPECT_EQ(machine->intfStatusReactor("Ethernet2"), nullptr);
}

TEST_F(AllIntfStatusDirSmTest, TheConstructingStepInsertsAChildThatIsOff) {
  auto const machine = AllIntfStatusDirSm::AllIntfStatusDirSmIs(nullptr, nullptr);
  auto const child = machine->newIntfStatusReactor(newStatus("Ethernet1"));
  EXPECT_EQ(machine->intfStatusReactor("Ethernet1"), child);
  EXPECT_FALSE(child->hasNotificationActive());
}

TEST_F(AllIntfStatusDirSmTest, RemovingReturnsAWorkingChildOrNull) {
  auto const status = add("Ethernet1");
  add("Ethernet2");
  add("Ethernet3");
  auto const machine = made();
  auto const child = machine->intfStatusReactorDel("Ethernet1");
  EXPECT_EQ(machine->intfStatusReactorDel("Ethernet1"), nullptr);
  EXPECT_FALSE(child->zonMarkedForDeletion());
  events.take();
  status->forwardingModelInputsIs("a", 1);
  EXPECT_EQ(events.take(), "Ethernet1=1");
  auto it = machine->intfStatusReactorIterator();
  auto const current = it.ptr();
  EXPECT_EQ(machine->intfStatusReactorDel(it), current);
  EXPECT_EQ(machine->intfStatusReactorDel(it), nullptr);
  EXPECT_EQ(children(*machine).size(), 1U);
  machine->intfStatusReactorNotify("Ethernet2");
  machine->intfStatusReactorDelAll();
  EXPECT_EQ(children(*machine).size(), 0U);
  int walked = 0;
  for (auto const_it = std::as_const(*machine).intfStatusReactorIteratorConst(); const_it; const_it.advance())
    ++walked;
  EXPECT_EQ(walked, 0);
}

TEST_F(AllIntfStatusDirSmTest, TheChildOfAVanishedKeyThatSomebodyHoldsIsAZombie) {
  auto const status = add("Ethernet1");
  auto const machine = made();
  auto const child = machine->intfStatusReactor("Ethernet1");
  dir->intfStatusDel("Ethernet1");
  EXPECT_TRUE(child->zonMarkedForDeletion());
  events.take();
  status->forwardingModelInputsIs("a", 1);
  EXPECT_EQ(events.take(), "");
}

TEST_F(AllIntfStatusDirSmTest, AnExceptionInCreationLeavesNothing) {
  add("Ethernet1")->before = [] { throw std::runtime_error("no"); };
  EXPECT_THROW(made(), std::runtime_error);
  EXPECT_EQ(dir->zonReferences(), 1U);
}

TEST_F(AllIntfStatusDirSmTest, AnExceptionFromAChildIsContainedAndLeavesNoChild) {
  auto const machine = made();
  auto const bad = Zon::newPtr<RecordingStatus>("Ethernet1", events);
  bad->before = [] { throw 7; };
  dir->intfStatusIs(bad);
  EXPECT_EQ(machine->intfStatusReactor("Ethernet1"), nullptr);
  bad->before = {};
  dir->intfStatusNotify("Ethernet1");
  EXPECT_NE(machine->intfStatusReactor("Ethernet1"), nullptr);
}

TEST_F(AllIntfStatusDirSmTest, DestructionReleasesChildrenThenTheDirectoryThenTheActivity) {
  auto mourned = Zon::newPtr<Mourned<StatusDir>>(events, "dir", "d");
  auto machine =
      AllIntfStatusDirSm::AllIntfStatusDirSmIs(Zon::newPtr<Mourned<Zon::ActivityConfig>>(events, "activity"), mourned);
  machine->intfStatusReactorIs(Zon::newPtr<Mourned<Interface::IntfStatus>>(events, "status", "Ethernet1"));
  mourned = nullptr;
  machine = nullptr;
  EXPECT_EQ(events.take(), "~status ~dir ~activity");
}

// ---------------------------------------------------------------------------------------------------------------
// Re-entrancy: a watcher of the write of the forwarding model acts at every step of a sweep.

struct Machines {
  Events events;
  Ptr<StatusDir> dir = Zon::newPtr<StatusDir>("status");
  Ptr<StatusDir> const first = dir;
  Ptr<AllIntfStatusDirSm> machine;
  std::function<void(std::string const& id)> act;
  std::vector<Ptr<RecordingStatus>> made;

  void add(std::string const& id) {
    auto const status = Zon::newPtr<RecordingStatus>(id, events);
    status->before = [this, id] {
      if (auto const run = act) run(id);
    };
    made.push_back(status);
    first->intfStatusIs(status);
  }
};

struct Sabotage {
  char const* name;
  /// Whether every status still has exactly its child afterwards.
  bool complete;
  void (*act)(Machines& world, std::string const& id);
};

std::string after(Machines& world, std::string const& id) {
  auto const walk = walkOf(*world.first);
  for (std::size_t i = 0; i + 1 < walk.size(); ++i)
    if (walk[i] == id) return walk[i + 1];
  return walk.empty() ? id : walk.front();
}

Sabotage const sabotages[] = {
    {"Nothing", true, [](Machines&, std::string const&) {}},
    // Removed while its child is being made, it still gets one.
    {"RemoveSelf", false, [](Machines& world, std::string const& id) { world.first->intfStatusDel(id); }},
    {"RemoveNext", false, [](Machines& world, std::string const& id) { world.first->intfStatusDel(after(world, id)); }},
    {"RemoveAll", false, [](Machines& world, std::string const&) { world.first->intfStatusDelAll(); }},
    {"ReplaceSelf", false, [](Machines& world, std::string const& id) { world.add(id); }},
    {"AddMany", true,
     [](Machines& world, std::string const&) {
       for (int i = 100; i != 150; ++i)
         world.add("Ethernet" + std::to_string(i));
     }},
    {"AskForTheSame", true,
     [](Machines& world, std::string const& id) {
       if (world.machine) world.machine->handleIntfStatus(id);
     }},
    {"SweepAgain", true,
     [](Machines& world, std::string const&) {
       if (world.machine) world.machine->handleIntfStatus();
     }},
    {"DeleteAllChildren", false,
     [](Machines& world, std::string const&) {
       if (world.machine) world.machine->intfStatusReactorDelAll();
     }},
    {"DropTheDirectory", false,
     [](Machines& world, std::string const&) {
       if (world.machine) world.machine->allIntfStatusDirDel();
     }},
    {"ReplaceTheDirectory", false,
     [](Machines& world, std::string const&) {
       if (world.machine) world.machine->allIntfStatusDirIs(Zon::newPtr<StatusDir>("other"));
     }},
    {"DropTheMachine", false, [](Machines& world, std::string const&) { world.machine = nullptr; }},
    {"MakeItAZombie", true,
     [](Machines& world, std::string const&) {
       if (world.machine) world.machine->zonDoZombieReactors(true);
     }},
    {"Throw", false, [](Machines&, std::string const&) { throw 7; }},
};

class StatusSabotage : public testing::TestWithParam<Sabotage> {};

TEST_P(StatusSabotage, AtEveryStepOfEverySweepTheWorldStaysSound) {
  auto const& sabotage = GetParam();
  for (bool const created : {false, true}) {
    for (int position = 0; position != 6; ++position) {
      SCOPED_TRACE(testing::Message() << (created ? "creation" : "sweep") << ", position " << position);
      Machines world;
      // A machine that knows nothing yet, because it was off.
      if (!created) {
        world.machine = AllIntfStatusDirSm::AllIntfStatusDirSmIs(nullptr, world.dir);
        world.machine->hasNotificationActiveIs(false);
      }
      for (int i = 0; i != 6; ++i)
        world.add("Ethernet" + std::to_string(i));
      if (!created) world.machine->hasNotificationActiveIs(true);
      int heard = 0;
      world.act = [&](std::string const& id) {
        if (heard++ == position) sabotage.act(world, id);
      };
      try {
        if (created) {
          world.machine = AllIntfStatusDirSm::AllIntfStatusDirSmIs(nullptr, world.dir);
        } else {
          world.machine->handleIntfStatus();
        }
      } catch (int) {
        EXPECT_STREQ(sabotage.name, "Throw");
      }
      EXPECT_GT(heard, position);
      // During creation nothing is heard yet: what is added behind the walk is missed.
      bool const missed = created && std::string(sabotage.name) == "AddMany";
      if (sabotage.complete && !missed && world.machine) {
        std::size_t children = 0;
        for (auto it = world.machine->intfStatusReactorIterator(); it; it.advance(), ++children)
          EXPECT_EQ(it->intfStatus(), world.first->intfStatus(it->intfId()));
        EXPECT_EQ(children, walkOf(*world.first).size());
      }
      world.act = {};
      world.machine = nullptr;
      world.dir = nullptr;
      EXPECT_EQ(world.first->zonReferences(), 1U);
      world.first->intfStatusDelAll();
      for (auto const& status : world.made)
        EXPECT_EQ(status->zonReferences(), 1U);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Of, StatusSabotage, testing::ValuesIn(sabotages),
                         [](auto const& sabotage) { return std::string(sabotage.param.name); });

TEST_F(AllIntfStatusDirSmTest, StatusesEditedWhileItIsBeingMadeAreNotHeard) {
  add("Ethernet1");
  add("Ethernet2");
  auto const order = walkOf(*dir);
  dir->intfStatusDel(order[0]);
  auto const last = Zon::newPtr<RecordingStatus>(order[1], events);
  dir->intfStatusIs(last);
  last->before = [&] { dir->intfStatusIs(newStatus(order[0].c_str())); };
  auto const missing = made();
  EXPECT_EQ(children(*missing), std::vector<std::string>{order[1]});
  missing->handleIntfStatus();
  EXPECT_EQ(children(*missing), order);
  last->before = [&] { dir->intfStatusDel(order[0]); };
  auto const leftOver = made();
  EXPECT_EQ(children(*leftOver), order);
  leftOver->handleIntfStatus(order[0]);
  EXPECT_EQ(children(*leftOver), std::vector<std::string>{order[1]});
}

TEST_F(AllIntfStatusDirSmTest, TheChildThatCallbacksMadeMeanwhileIsKept) {
  auto const machine = AllIntfStatusDirSm::AllIntfStatusDirSmIs(nullptr, nullptr);
  auto const outer = Zon::newPtr<RecordingStatus>("Ethernet1", events);
  auto const inner = newStatus("Ethernet1");
  Ptr<IntfStatusReactor> kept;
  outer->before = [&] {
    if (!kept) kept = machine->intfStatusReactorIs(inner);
  };
  EXPECT_EQ(machine->intfStatusReactorIs(outer), kept);
  EXPECT_EQ(kept->intfStatus(), inner);  // unchanged
  EXPECT_EQ(children(*machine).size(), 1U);
}

TEST_F(AllIntfStatusDirSmTest, TwoMachinesOnOneDirectoryAreIndependent) {
  auto const one = made();
  auto two = made();
  add("Ethernet1");
  EXPECT_EQ(events.take(), "Ethernet1=5 Ethernet1=5");
  two = nullptr;
  dir->intfStatus("Ethernet1")->forwardingModelInputsIs("a", 3);
  EXPECT_EQ(events.take(), "Ethernet1=3");
}

}  // namespace
