#include "VaroErrdisable/Root.h"

#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "support/Errdisable.h"

namespace {

using namespace Support;
using VaroErrdisable::AllIntfSM;
using VaroErrdisable::Root;
using Zon::Ptr;

class RootTest : public testing::Test, protected ErrdisableInputs {
 protected:
  Ptr<Zon::ActivityConfig> activity = immediate();
  Ptr<Root> root = VaroErrdisable::rootFactory("errdisable-root");

  Ptr<AllIntfSM> wired() { return root->allIntfSMIs(activity, configs, statuses, errdisable); }
};

TEST_F(RootTest, TheFactoryMakesAnEmptyNamedRootHeldOnce) {
  EXPECT_EQ(root->name(), "errdisable-root");
  EXPECT_EQ(root->allIntfSM(), nullptr);
  EXPECT_EQ(root->zonReferences(), 1U);
  EXPECT_FALSE(root->hasNotificationActive());
  EXPECT_EQ(root->parent(), nullptr);
  EXPECT_EQ(root->fullName(), "errdisable-root");
}

TEST_F(RootTest, RootsOfOneNameCoexist) { EXPECT_NE(VaroErrdisable::rootFactory("errdisable-root"), root); }

TEST_F(RootTest, WiringMakesStoresAndSwitchesOnAMachineThatHasScanned) {
  addConfig("Ethernet1");
  auto const machines = wired();
  EXPECT_EQ(events.take(), "Ethernet1.state=unset Ethernet1.reason=''");
  EXPECT_EQ(root->allIntfSM(), machines);
  EXPECT_TRUE(machines->hasNotificationActive());
  EXPECT_TRUE(machines->initialized());
  EXPECT_EQ(machines->zonFwkActivity(), activity);
  EXPECT_EQ(machines->zonReferences(), 2U);  // ours and the root's
}

TEST_F(RootTest, TheSameInputsAgainReturnTheSameMachineAndDoNotSwitchIt) {
  auto const machines = wired();
  machines->hasNotificationActiveIs(false);
  addConfig("Ethernet1");
  EXPECT_EQ(wired(), machines);
  EXPECT_FALSE(machines->hasNotificationActive());
  EXPECT_EQ(events.take(), "");
}

TEST_F(RootTest, TheSameInputsWithAnotherActivityKeepTheMachineAndRebindIt) {
  auto const machines = wired();
  auto const other = deferring();
  EXPECT_EQ(root->allIntfSMIs(other, configs, statuses, errdisable), machines);
  EXPECT_EQ(machines->zonFwkActivity(), other);
  addConfig("Ethernet1");
  EXPECT_EQ(other->zonPending(), 1U);
}

TEST_F(RootTest, EachOtherInputReplacesTheMachineAndTheOldOneIsToldNothing) {
  for (int which = 0; which != 3; ++which) {
    auto const old = wired();
    auto const otherConfigs = Zon::newPtr<Interface::AllIntfConfigDir>("other");
    auto const otherStatuses = Zon::newPtr<Interface::AllIntfStatusDir>("other");
    auto const otherErrdisable = Zon::newPtr<Errdisable::Status>("other");
    auto const other = deferring();
    auto const machines =
        root->allIntfSMIs(other, which == 0 ? otherConfigs : configs, which == 1 ? otherStatuses : statuses,
                          which == 2 ? otherErrdisable : errdisable);
    EXPECT_NE(machines, old);
    EXPECT_EQ(root->allIntfSM(), machines);
    EXPECT_TRUE(machines->hasNotificationActive());
    EXPECT_TRUE(old->hasNotificationActive());
    EXPECT_FALSE(old->zonMarkedForDeletion());
    EXPECT_EQ(old->zonFwkActivity(), other);  // rebound first, whatever follows
    EXPECT_EQ(old->zonReferences(), 1U);
  }
}

TEST_F(RootTest, AnAbsentInputCountsAsNull) {
  auto const machines = root->allIntfSMIs(activity, configs, nullptr, nullptr);
  EXPECT_EQ(root->allIntfSMIs(activity, configs, nullptr, nullptr), machines);
  machines->intfConfigDirDel();
  EXPECT_EQ(root->allIntfSMIs(activity, nullptr, nullptr, nullptr), machines);
  EXPECT_NE(root->allIntfSMIs(activity, nullptr, statuses, nullptr), machines);
}

TEST_F(RootTest, AReplacedMachineThatNobodyHoldsIsDestroyedAfterTheNewOneScanned) {
  addConfig("Ethernet1");
  wired();
  events.take();
  auto const other = Zon::newPtr<Errdisable::Status>("other");
  root->allIntfSMIs(activity, configs, statuses, other);
  EXPECT_EQ(events.take(), "Ethernet1.state=unset Ethernet1.reason=''");
  EXPECT_EQ(errdisable->zonReferences(), 1U);
  errdisable->errdisabledIntfIs("Ethernet1", "old list");
  EXPECT_EQ(events.take(), "");
  other->errdisabledIntfIs("Ethernet1", "new list");
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='new list'");
}

TEST_F(RootTest, ANewMachineIsNotStored) {
  auto const machines = root->newAllIntfSM(activity, configs, statuses, errdisable);
  EXPECT_TRUE(machines->hasNotificationActive());
  EXPECT_EQ(root->allIntfSM(), nullptr);
  EXPECT_EQ(machines->zonReferences(), 1U);
}

TEST_F(RootTest, DeletingReturnsTheMachineSilencedAndOnAnEmptyRootNull) {
  addConfig("Ethernet1");
  auto const machines = wired();
  events.take();
  EXPECT_EQ(root->allIntfSMDel(), machines);
  EXPECT_EQ(root->allIntfSM(), nullptr);
  EXPECT_FALSE(machines->hasNotificationActive());
  EXPECT_FALSE(machines->zonMarkedForDeletion());
  errdisable->errdisabledIntfIs("Ethernet1", "loop");
  addConfig("Ethernet2");
  EXPECT_EQ(events.take(), "");
  EXPECT_EQ(root->allIntfSMDel(), nullptr);
  EXPECT_EQ(root->allIntfSM(), nullptr);
}

TEST_F(RootTest, AfterDeletingANewMachineCanBeMade) {
  auto const machines = wired();
  root->allIntfSMDel();
  EXPECT_NE(wired(), machines);
}

TEST_F(RootTest, ItsDeathSilencesAMachineThatSomebodyHolds) {
  addConfig("Ethernet1");
  auto const machines = wired();
  events.take();
  root = nullptr;
  EXPECT_FALSE(machines->hasNotificationActive());
  EXPECT_FALSE(machines->zonMarkedForDeletion());
  EXPECT_EQ(machines->zonReferences(), 1U);
  errdisable->errdisabledIntfIs("Ethernet1", "loop");
  EXPECT_EQ(events.take(), "");
}

TEST_F(RootTest, AMachineThatCannotBeMadeLeavesTheOldOneInPlace) {
  auto const config = addConfig("Ethernet1");
  auto const machines = wired();
  config->beforeState = [] { throw std::runtime_error("saboteur"); };
  auto const other = Zon::newPtr<Errdisable::Status>("other");
  EXPECT_THROW(root->allIntfSMIs(activity, configs, statuses, other), std::runtime_error);
  EXPECT_EQ(root->allIntfSM(), machines);
  EXPECT_EQ(other->zonReferences(), 1U);  // the half-made one is gone
  config->beforeState = nullptr;
  events.take();
  errdisable->errdisabledIntfIs("Ethernet1", "loop");
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='loop'");
}

TEST_F(RootTest, AMachineThatCannotBeMadeLeavesAnEmptyRootEmpty) {
  auto const config = addConfig("Ethernet1");
  config->beforeReason = [] { throw 7; };
  EXPECT_THROW(wired(), int);
  EXPECT_EQ(root->allIntfSM(), nullptr);
  EXPECT_EQ(configs->zonReferences(), 1U);
  EXPECT_EQ(config->zonReferences(), 2U);  // ours and the directory's
}

TEST_F(RootTest, RebindingMayRunPendingWorkThatDropsTheRoot) {
  auto const deferred = deferring();
  root->allIntfSMIs(deferred, configs, statuses, errdisable);
  auto const config = newConfig("Ethernet1");
  config->beforeState = [this] { root = nullptr; };
  configs->intfConfigIs(config);
  Ptr<AllIntfSM> const machines = root->allIntfSMIs(nullptr, configs, statuses, errdisable);
  EXPECT_EQ(events.take(), "Ethernet1.state=unset Ethernet1.reason=''");
  EXPECT_EQ(root, nullptr);
  EXPECT_FALSE(machines->hasNotificationActive());
}

TEST_F(RootTest, AttributeNamesAreItsOwnThenTheEntitys) {
  EXPECT_EQ(root->attributeString(258), "allIntfSM");
  for (Zon::AttributeId const id : {-2, -1, 0, 5, 6, 130, 131, 257, 259, 1000}) {
    EXPECT_EQ(root->attributeString(id), root->Zon::Entity::attributeString(id)) << id;
  }
}

TEST_F(RootTest, NondestructingItSurvivesItsLastReference) {
  Root* const raw = root.ptr();
  root->isNondestructingIs(true);
  EXPECT_TRUE(root->isNondestructing());
  root = nullptr;
  EXPECT_EQ(raw->name(), "errdisable-root");
  raw->allIntfSMIs(activity, configs, statuses, errdisable);
  EXPECT_EQ(configs->zonReferences(), 2U);
  raw->isNondestructingIs(false);
  EXPECT_EQ(configs->zonReferences(), 1U);
}

TEST_F(RootTest, TheInterfaceFactoryMakesAMachineOutsideEveryCollection) {
  auto const machines = wired();
  auto const config = newConfig("Ethernet1");
  auto const machine = VaroErrdisable::intfSMFactory(activity, "Ethernet1", errdisable, config);
  EXPECT_EQ(machines->intfSM("Ethernet1"), nullptr);
  EXPECT_FALSE(machine->zonInMap());
  EXPECT_EQ(machine->zonReferences(), 1U);
  EXPECT_TRUE(machine->initialized());
  EXPECT_TRUE(machine->hasNotificationActive());
  EXPECT_EQ(machine->zonFwkActivity(), activity);
  EXPECT_EQ(events.take(), "");
  config->adminEnabledStateLocalIs(IntfEnabledState::disabled);
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='admin'");
}

}  // namespace
