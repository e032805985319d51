#include "VaroIntf/Agent.h"

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/Errdisable.h"
#include "support/Intf.h"

namespace {

using namespace Support;
using VaroIntf::Agent;
using VaroIntf::AllIntfDir;
using Zon::Ptr;

class AgentTest : public testing::Test {
 protected:
  Events events;
  Ptr<Agent> agent = VaroIntf::agentFactory("x");
  Ptr<Zon::ActivityConfig> activity = immediate();
  Ptr<ConfigDir> configs = Zon::newPtr<ConfigDir>("configs");
  Ptr<StatusDir> statuses = Zon::newPtr<StatusDir>("statuses");
  Ptr<PtrDir> out = Zon::newPtr<PtrDir>("out");
  Ptr<Zon::Dir> slices = Zon::newPtr<Zon::Dir>("slices");
};

TEST_F(AgentTest, TheFactoryYieldsAnAgentWithItsDirectory) {
  EXPECT_EQ(agent->name(), "x");
  auto const dir = agent->allIntfDir();
  ASSERT_NE(dir, nullptr);
  EXPECT_EQ(dir->name(), "x");
  EXPECT_EQ(dir->parent(), agent);
  EXPECT_EQ(dir->parentAttrId(), 258);
  EXPECT_EQ(dir->config()->fullName(), "x/x/x");
  EXPECT_EQ(dir->status()->fullName(), "x/x/x");
  EXPECT_EQ(agent->allIntfReactor(), nullptr);
  EXPECT_EQ(agent->allIntfStatusDirSm(), nullptr);
  EXPECT_EQ(agent->allIntfQueueCounterReactor(), nullptr);
  EXPECT_EQ(agent->parent(), nullptr);
  EXPECT_EQ(agent->zonReferences(), 1U);
  EXPECT_FALSE(agent->hasNotificationActive());
  EXPECT_EQ(agent->fwkType(), Agent::_fwkType());
}

TEST_F(AgentTest, TheConstructorAloneHasNoDirectory) {
  auto const bare = Zon::newPtr<Agent>("bare");
  EXPECT_EQ(bare->allIntfDir(), nullptr);
  EXPECT_EQ(Agent::AgentIs("full")->allIntfDir()->name(), "full");
}

TEST_F(AgentTest, AttributeNames) {
  EXPECT_EQ(agent->attributeString(258), "allIntfDir");
  EXPECT_EQ(agent->attributeString(259), "allIntfReactor");
  EXPECT_EQ(agent->attributeString(260), "allIntfStatusDirSm");
  EXPECT_EQ(agent->attributeString(261), "allIntfQueueCounterReactor");
  for (Zon::AttributeId const id : {262, 257, 0, -1, -2, 5, 6, 130, 131}) {
    EXPECT_EQ(agent->attributeString(id), agent->Zon::Entity::attributeString(id)) << id;
  }
  EXPECT_EQ(agent->attributeString(262), "unknown");
}

TEST_F(AgentTest, TheDirectoryOfTheCurrentNameIsKept) {
  auto const dir = agent->allIntfDir();
  EXPECT_EQ(agent->allIntfDirIs("x"), dir);
  EXPECT_EQ(dir->parent(), agent);
}

TEST_F(AgentTest, AnotherNameUnparentsTheOldDirectoryAndMakesANewOne) {
  auto const old = agent->allIntfDir();
  auto const made = agent->allIntfDirIs("y");
  EXPECT_NE(made, old);
  EXPECT_EQ(agent->allIntfDir(), made);
  EXPECT_EQ(made->name(), "y");
  EXPECT_EQ(made->parent(), agent);
  EXPECT_EQ(made->parentAttrId(), 258);
  EXPECT_EQ(old->parent(), nullptr);
  EXPECT_EQ(old->zonReferences(), 1U);
  EXPECT_NE(old->config(), nullptr);
}

TEST_F(AgentTest, TheRemovedDirectoryIsReturnedUnparented) {
  auto const dir = agent->allIntfDir();
  EXPECT_EQ(agent->allIntfDirDel(), dir);
  EXPECT_EQ(dir->parent(), nullptr);
  EXPECT_EQ(agent->allIntfDir(), nullptr);
  EXPECT_EQ(agent->allIntfDirDel(), nullptr);
  EXPECT_EQ(agent->allIntfDirIs("x")->parent(), agent);
}

TEST_F(AgentTest, RemovingFromEmptyAttributesReturnsNull) {
  EXPECT_EQ(agent->allIntfReactorDel(), nullptr);
  EXPECT_EQ(agent->allIntfStatusDirSmDel(), nullptr);
  EXPECT_EQ(agent->allIntfQueueCounterReactorDel(), nullptr);
}

TEST_F(AgentTest, TheConstructingStepsStoreNothing) {
  EXPECT_EQ(agent->newAllIntfDir("n")->parent(), agent);
  EXPECT_EQ(agent->allIntfDir()->name(), "x");
  EXPECT_TRUE(agent->newAllIntfReactor(activity, configs, statuses)->hasNotificationActive());
  EXPECT_TRUE(agent->newAllIntfStatusDirSm(activity, statuses)->hasNotificationActive());
  EXPECT_TRUE(agent->newAllIntfQueueCounterReactor(activity, out, slices)->hasNotificationActive());
  EXPECT_EQ(agent->allIntfReactor(), nullptr);
  EXPECT_EQ(agent->allIntfStatusDirSm(), nullptr);
  EXPECT_EQ(agent->allIntfQueueCounterReactor(), nullptr);
}

// The all-interfaces reactor

TEST_F(AgentTest, TheMirrorIsWiredFromTheDirectoryAsItIs) {
  auto const reactor = agent->allIntfReactorIs(activity, configs, statuses);
  EXPECT_EQ(agent->allIntfReactor(), reactor);
  EXPECT_EQ(reactor->configIn(), agent->allIntfDir()->config());
  EXPECT_EQ(reactor->statusIn(), agent->allIntfDir()->status());
  EXPECT_EQ(reactor->configOut(), configs);
  EXPECT_EQ(reactor->statusOut(), statuses);
  EXPECT_EQ(reactor->zonFwkActivity(), activity);
  EXPECT_TRUE(reactor->hasNotificationActive());
  auto const one = newConfig("Ethernet1");
  agent->allIntfDir()->config()->intfConfigIs(one);
  EXPECT_EQ(configs->intfConfig("Ethernet1"), one);
}

TEST_F(AgentTest, TheSameOutputsKeepTheMirrorAndRefreshItsActivity) {
  auto const reactor = agent->allIntfReactorIs(activity, configs, statuses);
  reactor->hasNotificationActiveIs(false);
  auto const other = deferring();
  EXPECT_EQ(agent->allIntfReactorIs(other, configs, statuses), reactor);
  EXPECT_EQ(reactor->zonFwkActivity(), other);
  EXPECT_FALSE(reactor->hasNotificationActive());  // refreshed, not activated
  EXPECT_EQ(agent->allIntfReactorIs(nullptr, configs, statuses), reactor);
  EXPECT_EQ(reactor->zonFwkActivity(), nullptr);
}

TEST_F(AgentTest, AnotherOutputReplacesTheMirrorWhichIsNotSilencedButGetsTheActivity) {
  auto const old = agent->allIntfReactorIs(activity, configs, statuses);
  auto const configs2 = Zon::newPtr<ConfigDir>("configs2");
  auto const other = deferring();
  auto const reactor = agent->allIntfReactorIs(other, configs2, statuses);
  EXPECT_NE(reactor, old);
  EXPECT_EQ(agent->allIntfReactor(), reactor);
  EXPECT_TRUE(old->hasNotificationActive());
  EXPECT_EQ(old->zonFwkActivity(), other);
  EXPECT_EQ(old->zonReferences(), 1U);
  // Kept by somebody, it goes on working.
  agent->allIntfDir()->config()->intfConfigIs(newConfig("Ethernet1"));
  EXPECT_EQ(idsOf(*configs), "Ethernet1");
  EXPECT_EQ(idsOf(*configs2), "Ethernet1");
  EXPECT_NE(agent->allIntfReactorIs(other, configs2, Zon::newPtr<StatusDir>("statuses2")), reactor);
}

TEST_F(AgentTest, WithoutDirectoryTheMirrorHasNoInputs) {
  agent->allIntfDirDel();
  configs->intfConfigIs(newConfig("Ethernet1"));
  auto const reactor = agent->allIntfReactorIs(activity, configs, statuses);
  EXPECT_EQ(reactor->configIn(), nullptr);
  EXPECT_EQ(reactor->statusIn(), nullptr);
  EXPECT_EQ(idsOf(*configs), "Ethernet1");
  // With the same outputs it stays without inputs until it is removed.
  agent->allIntfDirIs("x");
  EXPECT_EQ(agent->allIntfReactorIs(activity, configs, statuses), reactor);
  EXPECT_EQ(reactor->configIn(), nullptr);
  agent->allIntfReactorDel();
  EXPECT_EQ(agent->allIntfReactorIs(activity, configs, statuses)->configIn(), agent->allIntfDir()->config());
  EXPECT_EQ(idsOf(*configs), "");
}

TEST_F(AgentTest, WithADirectoryThatLostOneChildTheOtherHalfIsWired) {
  agent->allIntfDir()->configDel();
  auto const reactor = agent->allIntfReactorIs(activity, configs, statuses);
  EXPECT_EQ(reactor->configIn(), nullptr);
  EXPECT_EQ(reactor->statusIn(), agent->allIntfDir()->status());
}

TEST_F(AgentTest, ARenamedDirectoryLeavesTheMirrorOnTheOldInputs) {
  auto const reactor = agent->allIntfReactorIs(activity, configs, statuses);
  auto const old = agent->allIntfDir()->config();
  agent->allIntfDir()->configIs("renamed");
  agent->allIntfDirIs("y");
  EXPECT_EQ(agent->allIntfReactorIs(activity, configs, statuses), reactor);
  EXPECT_EQ(reactor->configIn(), old);
  old->intfConfigIs(newConfig("Ethernet1"));
  EXPECT_EQ(idsOf(*configs), "Ethernet1");
}

TEST_F(AgentTest, NullArgumentsAreLegalEverywhereAndEqualToEachOther) {
  auto const reactor = agent->allIntfReactorIs(nullptr, nullptr, nullptr);
  EXPECT_EQ(agent->allIntfReactorIs(nullptr, nullptr, nullptr), reactor);
  EXPECT_NE(agent->allIntfReactorIs(nullptr, configs, nullptr), reactor);
  auto const machine = agent->allIntfStatusDirSmIs(nullptr, nullptr);
  EXPECT_EQ(agent->allIntfStatusDirSmIs(activity, nullptr), machine);
  EXPECT_NE(agent->allIntfStatusDirSmIs(nullptr, statuses), machine);
  auto const counters = agent->allIntfQueueCounterReactorIs(nullptr, nullptr, nullptr);
  EXPECT_EQ(agent->allIntfQueueCounterReactorIs(nullptr, nullptr, nullptr), counters);
  EXPECT_NE(agent->allIntfQueueCounterReactorIs(nullptr, nullptr, slices), counters);
}

// The other two

TEST_F(AgentTest, TheStatusMachineIsKeptForItsDirectoryAndReplacedForAnother) {
  auto const machine = agent->allIntfStatusDirSmIs(activity, statuses);
  EXPECT_EQ(agent->allIntfStatusDirSm(), machine);
  EXPECT_EQ(machine->allIntfStatusDir(), statuses);
  EXPECT_TRUE(machine->hasNotificationActive());
  machine->hasNotificationActiveIs(false);
  auto const other = deferring();
  EXPECT_EQ(agent->allIntfStatusDirSmIs(other, statuses), machine);
  EXPECT_EQ(machine->zonFwkActivity(), other);
  EXPECT_FALSE(machine->hasNotificationActive());
  auto const replacement = agent->allIntfStatusDirSmIs(activity, Zon::newPtr<StatusDir>("other"));
  EXPECT_NE(replacement, machine);
  EXPECT_EQ(machine->zonFwkActivity(), activity);
  EXPECT_EQ(machine->zonReferences(), 1U);
  // What counts is the present notifier.
  replacement->allIntfStatusDirIs(statuses);
  EXPECT_EQ(agent->allIntfStatusDirSmIs(activity, statuses), replacement);
}

TEST_F(AgentTest, TheQueueCounterReactorIsKeptForBothItsDirectoriesAndReplacedForOthers) {
  auto const reactor = agent->allIntfQueueCounterReactorIs(activity, out, slices);
  EXPECT_EQ(agent->allIntfQueueCounterReactor(), reactor);
  EXPECT_EQ(reactor->counterOut(), out);
  EXPECT_EQ(reactor->counterIn(), slices);
  auto const other = deferring();
  reactor->hasNotificationActiveIs(false);
  EXPECT_EQ(agent->allIntfQueueCounterReactorIs(other, out, slices), reactor);
  EXPECT_EQ(reactor->zonFwkActivity(), other);
  EXPECT_FALSE(reactor->hasNotificationActive());
  auto const out2 = Zon::newPtr<PtrDir>("out2");
  auto const second = agent->allIntfQueueCounterReactorIs(activity, out2, slices);
  EXPECT_NE(second, reactor);
  EXPECT_EQ(reactor->zonFwkActivity(), activity);
  EXPECT_NE(agent->allIntfQueueCounterReactorIs(activity, out2, Zon::newPtr<Zon::Dir>("slices2")), second);
}

TEST_F(AgentTest, RemovedReactorsAreReturnedSilenced) {
  agent->allIntfReactorIs(activity, configs, statuses);
  agent->allIntfStatusDirSmIs(activity, statuses);
  agent->allIntfQueueCounterReactorIs(activity, out, slices);
  auto const mirror = agent->allIntfReactorDel();
  auto const machine = agent->allIntfStatusDirSmDel();
  auto const counters = agent->allIntfQueueCounterReactorDel();
  EXPECT_FALSE(mirror->hasNotificationActive());
  EXPECT_FALSE(machine->hasNotificationActive());
  EXPECT_FALSE(counters->hasNotificationActive());
  EXPECT_EQ(mirror->zonReferences(), 1U);
  EXPECT_EQ(agent->allIntfReactor(), nullptr);
  EXPECT_EQ(agent->allIntfStatusDirSm(), nullptr);
  EXPECT_EQ(agent->allIntfQueueCounterReactor(), nullptr);
  agent->allIntfDir()->config()->intfConfigIs(newConfig("Ethernet1"));
  slices->entityPtrIs(newSlice("a", {"E1"}));
  EXPECT_EQ(idsOf(*configs), "");
  EXPECT_EQ(idsOf(*out), "");
  // What the caller does with them is the caller's affair.
  mirror->hasNotificationActiveIs(true);
  agent->allIntfDir()->config()->intfConfigNotify();
  EXPECT_EQ(idsOf(*configs), "Ethernet1");
}

// Failures

TEST_F(AgentTest, ACreationThatThrowsLeavesTheAttributeAndTheOldChildKeepsTheNewActivity) {
  auto const other = deferring();
  auto const held = agent->allIntfQueueCounterReactorIs(activity, out, slices);
  auto const bad = Zon::newPtr<Zon::Dir>("bad");
  auto const slice = newSlice("a", {"E1"}, {"c"});
  slice->statisticsShmemManIs(Zon::newPtr<Pelto::ShmemMan>("", room(0)));
  bad->entityPtrIs(slice);
  EXPECT_THROW(agent->allIntfQueueCounterReactorIs(other, out, bad), Zon::RangeException);
  EXPECT_EQ(agent->allIntfQueueCounterReactor(), held);
  EXPECT_EQ(held->zonFwkActivity(), other);
  EXPECT_TRUE(held->hasNotificationActive());
  EXPECT_EQ(bad->zonReferences(), 1U);

  auto const machine = agent->allIntfStatusDirSmIs(activity, statuses);
  auto const badStatuses = Zon::newPtr<StatusDir>("bad");
  auto const status = Zon::newPtr<RecordingStatus>("Ethernet1", events);
  status->before = [] { throw 7; };
  badStatuses->intfStatusIs(status);
  EXPECT_THROW(agent->allIntfStatusDirSmIs(other, badStatuses), int);
  EXPECT_EQ(agent->allIntfStatusDirSm(), machine);
  EXPECT_EQ(machine->zonFwkActivity(), other);

  auto const mirror = agent->allIntfReactorIs(activity, configs, statuses);
  agent->allIntfDir()->config()->intfConfigIs(newConfig("Ethernet1"));
  auto const badConfigs = Zon::newPtr<RecordingConfigDir>("bad", events);
  badConfigs->before = [](std::string const&) { throw 7; };
  EXPECT_THROW(agent->allIntfReactorIs(other, badConfigs, statuses), int);
  EXPECT_EQ(agent->allIntfReactor(), mirror);
  EXPECT_EQ(mirror->zonFwkActivity(), other);
  EXPECT_EQ(badConfigs->zonReferences(), 1U);
}

TEST_F(AgentTest, ReEnteredSettersStoreTheirOwnResultsTheOuterOneLast) {
  agent->allIntfDir()->config()->intfConfigIs(newConfig("Ethernet1"));
  auto const outer = Zon::newPtr<RecordingConfigDir>("outer", events);
  Ptr<VaroIntf::AllIntfReactor> inner;
  outer->before = [&](std::string const&) {
    if (inner) return;
    inner = agent->allIntfReactorIs(activity, configs, statuses);
    EXPECT_EQ(agent->allIntfReactor(), inner);
  };
  auto const made = agent->allIntfReactorIs(activity, outer, statuses);
  EXPECT_EQ(agent->allIntfReactor(), made);
  EXPECT_EQ(made->configOut(), outer);
  EXPECT_EQ(inner->configOut(), configs);
  EXPECT_EQ(inner->zonReferences(), 1U);
}

TEST_F(AgentTest, WhatTheWorkInsideARefreshRemovesStaysRemoved) {
  auto const waiting = deferring();
  auto const old = agent->allIntfStatusDirSmIs(waiting, statuses);
  auto const status = Zon::newPtr<RecordingStatus>("Ethernet1", events);
  status->before = [&] {
    status->before = {};
    EXPECT_EQ(agent->allIntfStatusDirSmDel(), old);
  };
  statuses->intfStatusIs(status);
  ASSERT_TRUE(status->before);
  auto const machine = agent->allIntfStatusDirSmIs(activity, statuses);  // what waited runs here
  EXPECT_FALSE(status->before);
  EXPECT_EQ(machine, old);
  EXPECT_EQ(agent->allIntfStatusDirSm(), nullptr);
  EXPECT_FALSE(machine->hasNotificationActive());
}

// Nondestructing, two agents, destruction

TEST_F(AgentTest, TheNondestructingStateIsTheFrameworks) {
  agent->isNondestructingIs(true);
  EXPECT_TRUE(agent->isNondestructing());
  Agent* const raw = agent.ptr();
  agent = nullptr;
  EXPECT_EQ(raw->name(), "x");
  raw->isNondestructingIs(false);  // nobody holds it: it goes
}

TEST_F(AgentTest, TwoAgentsOfOneNameAreIndependent) {
  auto const second = VaroIntf::agentFactory("x");
  auto const configs2 = Zon::newPtr<ConfigDir>("configs2");
  agent->allIntfReactorIs(activity, configs, statuses);
  second->allIntfReactorIs(activity, configs2, statuses);
  agent->allIntfDir()->config()->intfConfigIs(newConfig("Ethernet1"));
  EXPECT_EQ(idsOf(*configs), "Ethernet1");
  EXPECT_EQ(idsOf(*configs2), "");
  agent = nullptr;
  second->allIntfDir()->config()->intfConfigIs(newConfig("Ethernet2"));
  EXPECT_EQ(idsOf(*configs), "Ethernet1");
  EXPECT_EQ(idsOf(*configs2), "Ethernet2");
}

TEST_F(AgentTest, TwoAgentsOnTheSameOutputsOverwriteEachOther) {
  auto const second = VaroIntf::agentFactory("y");
  agent->allIntfDir()->config()->intfConfigIs(newConfig("Ethernet1"));
  second->allIntfDir()->config()->intfConfigIs(newConfig("Ethernet2"));
  agent->allIntfReactorIs(activity, configs, statuses);
  second->allIntfReactorIs(activity, configs, statuses);
  EXPECT_EQ(idsOf(*configs), "Ethernet2");  // the last to mirror everything
  agent->allIntfDir()->config()->intfConfigNotify("Ethernet1");
  EXPECT_EQ(idsOf(*configs), "Ethernet1 Ethernet2");
}

TEST_F(AgentTest, TwoAgentsOverTheSameSlicesShareOutputAndBlocks) {
  auto const second = VaroIntf::agentFactory("y");
  auto const slice = newSlice("a", {"E1"}, {"c"});
  slices->entityPtrIs(slice);
  auto const expectBlocks = [&](unsigned counters) {
    EXPECT_EQ(slice->counterShmemMan()->counterBlocks(), counters);
    EXPECT_EQ(slice->statisticsShmemMan()->counterBlocks(), 18 * counters);
  };
  agent->allIntfQueueCounterReactorIs(activity, out, slices);
  auto const block = slice->counterShmemMan()->counterBlock("E1-c");
  second->allIntfQueueCounterReactorIs(activity, out, slices);
  expectBlocks(1);
  EXPECT_EQ(slice->counterShmemMan()->counterBlock("E1-c"), block);
  slice->intfQueueCounterDirIs(newCounters("E2", {"c"}));
  EXPECT_EQ(contents(*out), contents(*slice));
  expectBlocks(2);
  slice->intfQueueCounterDirDel("E2");
  EXPECT_EQ(idsOf(*out), "E1");
  agent = nullptr;
  EXPECT_EQ(idsOf(*out), "E1");
  slices->entityPtrDel("a");
  EXPECT_EQ(idsOf(*out), "");
  slices->entityPtrIs(slice);
  EXPECT_EQ(contents(*out), contents(*slice));
  expectBlocks(2);
}

TEST_F(AgentTest, WhatABurstLostComesBackWithANewReactor) {
  auto const waiting = deferring();
  auto machine = agent->allIntfStatusDirSmIs(waiting, statuses);
  auto counters = agent->allIntfQueueCounterReactorIs(waiting, out, slices);
  for (char const* id : {"E1", "E2"}) {
    statuses->intfStatusIs(newStatus(id));
    slices->entityPtrIs(newSlice(id, {id}));
  }
  while (waiting->zonPending() != 0)
    waiting->zonDispatch();
  EXPECT_FALSE(machine->intfStatusReactorIterator());
  EXPECT_FALSE(counters->sliceSmIterator());
  agent->allIntfStatusDirSmDel();
  agent->allIntfQueueCounterReactorDel();
  machine = agent->allIntfStatusDirSmIs(waiting, statuses);
  counters = agent->allIntfQueueCounterReactorIs(waiting, out, slices);
  for (char const* id : {"E1", "E2"}) {
    EXPECT_NE(machine->intfStatusReactor(id), nullptr);
    EXPECT_EQ(statuses->intfStatus(id)->forwardingModel(), 5);
    EXPECT_NE(counters->sliceSm(id), nullptr);
  }
  EXPECT_EQ(idsOf(*out), "E1 E2");
}

TEST_F(AgentTest, ASliceReplacedInABurstIsServedByANewReactor) {
  auto const waiting = deferring();
  slices->entityPtrIs(newSlice("a", {"E1"}));
  agent->allIntfQueueCounterReactorIs(waiting, out, slices);
  auto const anew = newSlice("a", {"E2"});
  slices->entityPtrDel("a");
  slices->entityPtrIs(anew);
  waiting->zonDispatch();
  auto const counters = agent->allIntfQueueCounterReactor();
  EXPECT_THROW(counters->handleQueueCounterDir(), Zon::NameInUseException);
  EXPECT_THROW(counters->handleQueueCounterDir("a"), Zon::NameInUseException);
  agent->allIntfQueueCounterReactorDel();
  EXPECT_EQ(agent->allIntfQueueCounterReactorIs(waiting, out, slices)->sliceSm("a")->counterIn(), anew);
  EXPECT_EQ(contents(*out), contents(*anew));
}

TEST_F(AgentTest, WhatWaitsOnARetiredActivityTheSettersTakeToTheNextOne) {
  auto const retired = deferring();
  auto const next = deferring();
  auto const wire = [&](Ptr<Zon::ActivityConfig> const& used) {
    agent->allIntfStatusDirSmIs(used, statuses);
    agent->allIntfQueueCounterReactorIs(used, out, slices);
  };
  auto const served = [&](char const* id) {
    return agent->allIntfStatusDirSm()->intfStatusReactor(id) && agent->allIntfQueueCounterReactor()->sliceSm(id);
  };
  auto const add = [&](char const* id) {
    statuses->intfStatusIs(newStatus(id));
    slices->entityPtrIs(newSlice(id, {id}));
  };
  wire(retired);
  add("E1");
  EXPECT_EQ(next->zonDispatch(), 0U);
  EXPECT_EQ(retired->zonPending(), 2U);
  wire(next);
  EXPECT_EQ(retired->zonPending(), 0U);
  EXPECT_FALSE(served("E1"));
  EXPECT_EQ(next->zonDispatch(), 2U);
  EXPECT_TRUE(served("E1"));
  add("E2");
  wire(nullptr);  // nothing waits on no activity
  EXPECT_TRUE(served("E2"));
}

TEST_F(AgentTest, TwoAgentsInARowMakeAChain) {
  auto const second = VaroIntf::agentFactory("y");
  agent->allIntfReactorIs(activity, second->allIntfDir()->config(), second->allIntfDir()->status());
  second->allIntfReactorIs(activity, configs, statuses);
  auto const one = newConfig("Ethernet1");
  agent->allIntfDir()->config()->intfConfigIs(one);
  EXPECT_EQ(configs->intfConfig("Ethernet1"), one);
  agent->allIntfDir()->config()->intfConfigDelAll();
  EXPECT_EQ(idsOf(*configs), "");
}

TEST_F(AgentTest, DestructionDropsDirectoryMirrorStatusMachineAndQueueCounterReactorInThisOrder) {
  agent->allIntfReactorIs(nullptr, Zon::newPtr<Mourned<ConfigDir>>(events, "mirror", "m"), nullptr);
  agent->allIntfStatusDirSmIs(nullptr, Zon::newPtr<Mourned<StatusDir>>(events, "machine", "m"));
  agent->allIntfQueueCounterReactorIs(nullptr, Zon::newPtr<Mourned<PtrDir>>(events, "counters", "c"), nullptr);
  // The directory's config is also held by the mirror, so the directory itself must be watched.
  auto const watcher = Zon::newPtr<AllIntfDirWatcher>("dir", events, agent->allIntfDir());
  watcher->zon_bitSetIs(Zon::zonUncountedNotifier);
  agent = nullptr;
  EXPECT_EQ(events.take(), "dir:zeroReferences dir:config dir:status ~mirror ~machine ~counters");
}

TEST_F(AgentTest, ReactorsThatSomebodyHoldsAreSilencedWhenTheAgentDies) {
  auto const dir = agent->allIntfDir();
  auto const mirror = agent->allIntfReactorIs(activity, configs, statuses);
  auto const machine = agent->allIntfStatusDirSmIs(activity, statuses);
  auto const counters = agent->allIntfQueueCounterReactorIs(activity, out, slices);
  agent = nullptr;
  EXPECT_EQ(dir->parent(), nullptr);
  EXPECT_FALSE(mirror->hasNotificationActive());
  EXPECT_FALSE(machine->hasNotificationActive());
  EXPECT_FALSE(counters->hasNotificationActive());
  dir->config()->intfConfigIs(newConfig("Ethernet1"));
  statuses->intfStatusIs(newStatus("Ethernet1"));
  slices->entityPtrIs(newSlice("a", {"Ethernet1"}));
  EXPECT_EQ(idsOf(*configs), "");
  EXPECT_FALSE(machine->intfStatusReactorIterator());
  EXPECT_EQ(idsOf(*out), "");
}

TEST_F(AgentTest, WhenTheDirectoryLeavesItsParentTheMirrorIsStillOn) {
  auto const mirror = agent->allIntfReactorIs(activity, configs, statuses);
  auto const input = agent->allIntfDir()->config();
  bool wasOn = false;
  auto const watcher = watchParent(input, [&] {
    wasOn = mirror->hasNotificationActive();
    input->intfConfigIs(newConfig("Ethernet1"));
  });
  agent = nullptr;
  EXPECT_TRUE(wasOn);
  EXPECT_EQ(idsOf(*configs), "Ethernet1");
  EXPECT_FALSE(mirror->hasNotificationActive());
}

TEST_F(AgentTest, WhatIsCreatedWhileTheAgentDiesIsUnparentedAndDropped) {
  Agent* const raw = agent.ptr();
  Ptr<AllIntfDir> late;
  auto const watcher = watchParent(agent->allIntfDir()->config(), [&] {
    if (!late) late = raw->allIntfDirIs("late");
    raw->allIntfReactorIs(nullptr, configs, statuses);
  });
  agent = nullptr;
  ASSERT_NE(late, nullptr);
  EXPECT_EQ(late->parent(), nullptr);
  EXPECT_EQ(late->zonReferences(), 1U);
  EXPECT_EQ(configs->zonReferences(), 1U);
}

TEST_F(AgentTest, TenThousandInterfacesWithEightCountersAreServedAndASliceThatReturnsFindsItsBlocks) {
  constexpr unsigned interfaces = 5000;
  std::vector<Zon::Name> names;
  for (int c = 0; c != 8; ++c)
    names.emplace_back("counter" + std::to_string(c));
  std::vector<Ptr<Slice>> cards;
  for (unsigned card = 0; card != 2; ++card) {
    std::vector<Orvet::IntfId> ids;
    for (unsigned i = 0; i != interfaces; ++i)
      ids.emplace_back("Ethernet" + std::to_string(card) + "/" + std::to_string(i));
    cards.push_back(newSlice("linecard" + std::to_string(card), ids, names));
    slices->entityPtrIs(cards.back());
  }
  auto const published = [&] { return walkOf(*out).size(); };
  auto const expectBlocks = [&] {
    for (auto const& slice : cards) {
      EXPECT_EQ(slice->counterShmemMan()->counterBlocks(), 8 * interfaces);
      EXPECT_EQ(slice->statisticsShmemMan()->counterBlocks(), 8 * 18 * interfaces);
    }
  };
  auto const reactor = agent->allIntfQueueCounterReactorIs(nullptr, out, slices);
  EXPECT_EQ(published(), 2 * interfaces);
  expectBlocks();
  std::string const last = "Ethernet0/" + std::to_string(interfaces - 1);
  auto const block = cards[0]->statisticsShmemMan()->counterBlock(last + "-17-counter7");
  ASSERT_NE(block, nullptr);
  slices->entityPtrDel("linecard0");
  EXPECT_EQ(published(), interfaces);
  slices->entityPtrIs(cards[0]);
  EXPECT_EQ(published(), 2 * interfaces);
  EXPECT_NE(reactor->sliceSm("linecard0")->intfQueueCounterSm(last), nullptr);
  expectBlocks();
  EXPECT_EQ(cards[0]->statisticsShmemMan()->counterBlock(last + "-17-counter7"), block);
}

TEST_F(AgentTest, ItMayBePlacedUnderAnotherEntity) {
  auto const root = Zon::newPtr<Zon::Dir>("sys");
  agent->parentIs(root);
  EXPECT_EQ(agent->allIntfDir()->config()->uriPath(), "/sys/x/x/x");
  agent->parentIs(nullptr);
}

}  // namespace
