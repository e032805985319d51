// What a host can do wrong with this module: what happens then, and how it is avoided.

#include <csignal>
#include <string>

#include <gtest/gtest.h>

#include "VaroErrdisable/Root.h"
#include "support/Errdisable.h"

namespace {

using namespace Support;
using VaroErrdisable::AllIntfSM;
using VaroErrdisable::Root;
using Zon::Ptr;

constexpr auto disabled = IntfEnabledState::disabled;

class HostRoads : public testing::Test, protected ErrdisableInputs {
 protected:
  Ptr<Root> root = VaroErrdisable::rootFactory("root");

  Ptr<AllIntfSM> wire(Ptr<Zon::ActivityConfig> const& activity) {
    return root->allIntfSMIs(activity, configs, statuses, errdisable);
  }
  static auto aborts() { return testing::KilledBySignal(SIGABRT); }
};
using HostRoadsDeathTest = HostRoads;

// Deferring activity, two changes of one collection between dispatches.

TEST_F(HostRoads, TwoChangesBetweenDispatchesAreLost) {
  auto const activity = deferring();
  auto const machines = wire(activity);
  addConfig("Ethernet1");
  addConfig("Ethernet2");
  activity->zonDispatch();
  EXPECT_EQ(machines->intfSM("Ethernet1"), nullptr);
  EXPECT_EQ(machines->intfSM("Ethernet2"), nullptr);
  EXPECT_EQ(events.take(), "");
}

TEST_F(HostRoads, TwoChangesOfOneKeyBetweenDispatchesAreLostToo) {
  auto const activity = deferring();
  auto const machines = wire(activity);
  auto const config = addConfig("Ethernet1");
  activity->zonDispatch();
  errdisable->errdisabledIntfIs("Ethernet1", "loop");
  errdisable->errdisabledIntfIs("Ethernet1", "storm");
  activity->zonDispatch();
  EXPECT_EQ(config->holds(), "unset ''");
}

TEST_F(HostRoads, AnImmediateOrNullActivityLosesNothing) {
  for (auto const& activity : {immediate(), Ptr<Zon::ActivityConfig>()}) {
    auto const machines = wire(activity);
    auto const one = addConfig("Ethernet1");
    auto const two = addConfig("Ethernet2");
    errdisable->errdisabledIntfIs("Ethernet1", "loop");
    errdisable->errdisabledIntfIs("Ethernet2", "storm");
    EXPECT_EQ(one->holds(), "disabled 'loop'");
    EXPECT_EQ(two->holds(), "disabled 'storm'");
    root->allIntfSMDel();
    configs->intfConfigDelAll();
    errdisable->errdisabledIntfDelAll();
  }
}

TEST_F(HostRoads, DispatchingAfterEachSingleChangeLosesNothing) {
  auto const activity = deferring();
  auto const machines = wire(activity);
  auto const served = [&activity] {
    while (activity->zonPending() != 0)
      activity->zonDispatch();
  };
  auto const one = addConfig("Ethernet1");
  served();
  addConfig("Ethernet2");
  served();
  errdisable->errdisabledIntfIs("Ethernet1", "loop");
  served();
  EXPECT_EQ(one->holds(), "disabled 'loop'");
  EXPECT_NE(machines->intfSM("Ethernet2"), nullptr);
}

// The loss has happened.

TEST_F(HostRoads, AfterALossANewMachineBeforeTheNextDispatchServesEverything) {
  auto const activity = deferring();
  wire(activity);
  auto const one = addConfig("Ethernet1");
  addConfig("Ethernet2");
  errdisable->errdisabledIntfIs("Ethernet1", "loop");
  root->allIntfSMDel();
  auto const machines = wire(activity);
  activity->zonDispatch();
  EXPECT_EQ(one->holds(), "disabled 'loop'");
  EXPECT_NE(machines->intfSM("Ethernet2"), nullptr);
}

TEST_F(HostRoads, AfterALossTheSweepAndTheHandlerOfEachRemovedKeyRepairTheMachine) {
  auto const activity = deferring();
  auto const machines = wire(activity);
  addConfig("Ethernet1");
  activity->zonDispatch();
  auto const two = addConfig("Ethernet2");
  configs->intfConfigDel("Ethernet1");
  activity->zonDispatch();
  EXPECT_NE(machines->intfSM("Ethernet1"), nullptr);
  EXPECT_EQ(machines->intfSM("Ethernet2"), nullptr);
  machines->handleInitialized();
  machines->handleIntf("Ethernet1");
  EXPECT_EQ(machines->intfSM("Ethernet1"), nullptr);
  EXPECT_EQ(machines->intfSM("Ethernet2")->intfConfig(), two);
}

// An errdisable event of a configured interface without member.

TEST_F(HostRoadsDeathTest, ConfigurationsLostInABurstAbortAtTheNextErrdisableDispatch) {
  auto const activity = deferring();
  wire(activity);
  addConfig("Ethernet1");
  addConfig("Ethernet2");
  errdisable->errdisabledIntfIs("Ethernet1", "loop");
  EXPECT_EXIT(activity->zonDispatch(), aborts(), "assertion \"intfSm\" failed: VaroErrdisableIntf:99");
}

TEST_F(HostRoadsDeathTest, AnErrdisableEntryQueuedBeforeItsConfigurationAbortsAtTheDispatch) {
  auto const activity = deferring();
  wire(activity);
  errdisable->errdisabledIntfIs("Ethernet1", "loop");
  addConfig("Ethernet1");
  EXPECT_EXIT(activity->zonDispatch(), aborts(), "assertion \"intfSm\" failed");
}

TEST_F(HostRoads, OnAnImmediateActivityAnEntryBeforeItsConfigurationIsServed) {
  wire(immediate());
  errdisable->errdisabledIntfIs("Ethernet1", "loop");
  EXPECT_EQ(addConfig("Ethernet1")->holds(), "disabled 'loop'");
}

TEST_F(HostRoads, AConfigurationQueuedBeforeItsEntryIsServedInThatOrder) {
  auto const activity = deferring();
  wire(activity);
  auto const config = addConfig("Ethernet1");
  errdisable->errdisabledIntfIs("Ethernet1", "loop");
  EXPECT_EQ(activity->zonDispatch(), 2U);
  EXPECT_EQ(config->holds(), "disabled 'loop'");
}

TEST_F(HostRoadsDeathTest, AnEarlierWatcherThatAddsTheEntryInItsCallbackAborts) {
  auto const watcher = Zon::newPtr<ConfigDirWatcher>("w", events, configs);
  watcher->act = [this](std::string const&) { errdisable->errdisabledIntfIs("Ethernet1", "loop"); };
  wire(immediate());
  EXPECT_EXIT(addConfig("Ethernet1"), aborts(), "assertion \"intfSm\" failed");
}

TEST_F(HostRoads, AWatcherRegisteredAfterTheWiringMayAddTheEntry) {
  wire(immediate());
  auto const watcher = Zon::newPtr<ConfigDirWatcher>("w", events, configs);
  watcher->act = [this](std::string const&) { errdisable->errdisabledIntfIs("Ethernet1", "loop"); };
  EXPECT_EQ(addConfig("Ethernet1")->holds(), "disabled 'loop'");
}

TEST_F(HostRoadsDeathTest, AConfigurationAddedWhileOffAbortsUnlessTheMachineSweepsAgain) {
  auto const machines = wire(immediate());
  machines->hasNotificationActiveIs(false);
  auto const config = addConfig("Ethernet1");
  machines->hasNotificationActiveIs(true);
  EXPECT_EXIT(errdisable->errdisabledIntfIs("Ethernet1", "loop"), aborts(), "assertion \"intfSm\" failed");
  machines->handleInitialized();
  errdisable->errdisabledIntfIs("Ethernet1", "loop");
  EXPECT_EQ(config->holds(), "disabled 'loop'");
}

TEST_F(HostRoadsDeathTest, AConfigurationAddedBeforeInitializationAbortsUnlessTheMachineSweepsAgain) {
  auto const machines = wire(immediate());
  machines->initializedIs(false);
  auto const config = addConfig("Ethernet1");
  machines->initializedIs(true);
  EXPECT_EXIT(errdisable->errdisabledIntfIs("Ethernet1", "loop"), aborts(), "assertion \"intfSm\" failed");
  machines->handleInitialized();
  errdisable->errdisabledIntfIs("Ethernet1", "loop");
  EXPECT_EQ(config->holds(), "disabled 'loop'");
}

TEST_F(HostRoadsDeathTest, ConfigurationsAddedDuringTheFirstScanMayAbortUnlessTheMachineSweepsAgain) {
  auto const config = addConfig("Ethernet0");
  bool once = true;
  config->beforeState = [this, &once] {
    if (!std::exchange(once, false)) return;
    for (int i = 1; i != 64; ++i)
      addConfig("Ethernet" + std::to_string(i));
  };
  auto const machines = wire(immediate());
  // Those that fell behind the walk were heard by nobody.
  std::string missed;
  for (auto it = configs->intfConfigIterator(); it; it.advance()) {
    if (!machines->intfSM(it.key())) missed = it.key().stringValue().stdString();
  }
  ASSERT_NE(missed, "");
  EXPECT_EXIT(errdisable->errdisabledIntfIs(missed, "loop"), aborts(), "assertion \"intfSm\" failed");
  machines->handleInitialized();
  errdisable->errdisabledIntfIs(missed, "loop");
  EXPECT_EQ(configs->intfConfig(missed)->enabledStateReason(), "loop");
}

TEST_F(HostRoadsDeathTest, ConfigurationsThatComeWithAnotherDirectoryAbortUnlessTheMachineSweepsAgain) {
  auto const machines = wire(immediate());
  auto const other = Zon::newPtr<Interface::AllIntfConfigDir>("other");
  auto const config = newConfig("Ethernet1");
  other->intfConfigIs(config);
  machines->intfConfigDirIs(other);
  EXPECT_EXIT(errdisable->errdisabledIntfIs("Ethernet1", "loop"), aborts(), "assertion \"intfSm\" failed");
  machines->handleInitialized();
  errdisable->errdisabledIntfIs("Ethernet1", "loop");
  EXPECT_EQ(config->holds(), "disabled 'loop'");
}

TEST_F(HostRoadsDeathTest, AMemberRemovedByTheHostAbortsUnlessTheMachineSweepsAgain) {
  auto const machines = wire(immediate());
  auto const config = addConfig("Ethernet1");
  machines->intfSMDel("Ethernet1");
  EXPECT_EXIT(errdisable->errdisabledIntfIs("Ethernet1", "loop"), aborts(), "assertion \"intfSm\" failed");
  machines->handleInitialized();
  errdisable->errdisabledIntfIs("Ethernet1", "loop");
  EXPECT_EQ(config->holds(), "disabled 'loop'");
}

// A configuration replaced in place.

TEST_F(HostRoads, AConfigurationReplacedInPlaceIsNeverWrittenAndTheMemberStaysWithTheOldOne) {
  auto const machines = wire(immediate());
  auto const old = addConfig("Ethernet1");
  auto const replacement = addConfig("Ethernet1");
  errdisable->errdisabledIntfIs("Ethernet1", "loop");
  EXPECT_EQ(old->holds(), "disabled 'loop'");
  EXPECT_EQ(replacement->holds(), "unset ''");
  EXPECT_EQ(machines->intfSM("Ethernet1")->intfConfig(), old);
}

TEST_F(HostRoads, AConfigurationRemovedAndSetIsServed) {
  wire(immediate());
  addConfig("Ethernet1");
  configs->intfConfigDel("Ethernet1");
  auto const replacement = addConfig("Ethernet1");
  errdisable->errdisabledIntfIs("Ethernet1", "loop");
  EXPECT_EQ(replacement->holds(), "disabled 'loop'");
}

TEST_F(HostRoads, OnADeferringActivityTheRemovalIsDispatchedBeforeTheNewOneIsSet) {
  auto const activity = deferring();
  wire(activity);
  addConfig("Ethernet1");
  activity->zonDispatch();
  configs->intfConfigDel("Ethernet1");
  activity->zonDispatch();
  auto const replacement = addConfig("Ethernet1");
  activity->zonDispatch();
  errdisable->errdisabledIntfIs("Ethernet1", "loop");
  activity->zonDispatch();
  EXPECT_EQ(replacement->holds(), "disabled 'loop'");
}

TEST_F(HostRoads, ANewMachineServesAReplacedConfiguration) {
  wire(immediate());
  addConfig("Ethernet1");
  auto const replacement = addConfig("Ethernet1");
  errdisable->errdisabledIntfIs("Ethernet1", "loop");
  root->allIntfSMDel();
  wire(immediate());
  EXPECT_EQ(replacement->holds(), "disabled 'loop'");
}

// A fresh status.

TEST_F(HostRoads, AFreshStatusIsInactiveUnlessItWasSetActiveBeforeItWasAdded) {
  wire(immediate());
  auto const one = addConfig("Ethernet1");
  statuses->intfStatusIs(Zon::newPtr<Interface::IntfStatus>("Ethernet1"));
  EXPECT_EQ(one->holds(), "disabled 'inactive'");
  auto const two = addConfig("Ethernet2");
  addStatus("Ethernet2", true);
  EXPECT_EQ(two->holds(), "unset ''");
}

// Wired before the statuses are there.

TEST_F(HostRoads, WiredBeforeTheStatusesInterfacesPassThroughStatesWithoutStatus) {
  auto const filled = newStatus("Ethernet1", false);
  auto const config = addConfig("Ethernet1");
  wire(immediate());
  statuses->intfStatusIs(filled);
  EXPECT_EQ(events.take(), "Ethernet1.state=unset Ethernet1.reason='' "
                           "Ethernet1.state=disabled Ethernet1.reason='inactive'");
  root->allIntfSMDel();
  wire(immediate());
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='inactive'");
}

// A default configuration changed.

TEST_F(HostRoads, AChangedDefaultConfigurationLeavesStatesStaleUntilTheMachineSweeps) {
  auto const machines = wire(immediate());
  auto const config = addConfig("Ethernet1");
  auto const defaults = Zon::newPtr<Interface::IntfConfig>("default");
  config->defaultConfigIs(defaults);
  defaults->adminEnabledStateLocalIs(disabled);
  EXPECT_EQ(config->holds(), "unset ''");
  machines->handleInitialized();
  EXPECT_EQ(config->holds(), "disabled 'admin'");
}

// An own watcher of a platform type.

TEST_F(HostRoads, AnOwnWatcherHearsOnlyWhenItIsSwitchedOn) {
  wire(immediate());
  auto const config = newConfig("Ethernet1");
  auto const watcher = Zon::newPtr<ConfigWatcher>("w", events, config);
  watcher->hasNotificationActiveIs(false);
  configs->intfConfigIs(config);
  config->adminEnabledStateLocalIs(disabled);
  EXPECT_EQ(events.take().find("w:"), std::string::npos);
  watcher->hasNotificationActiveIs(true);
  config->adminEnabledStateLocalIs(IntfEnabledState::enabled);
  // Registered before the member's input.
  EXPECT_EQ(events.take(), "w:admin Ethernet1.state=enabled w:state Ethernet1.reason='' w:reason");
}

// An activity retired.

TEST_F(HostRoads, WhatIsPendingStaysOnARetiredActivityUnlessTheMachineIsRefreshed) {
  auto retired = deferring();
  wire(retired);
  auto const config = addConfig("Ethernet1");
  EXPECT_EQ(retired->zonPending(), 1U);
  auto const next = deferring();
  EXPECT_EQ(next->zonDispatch(), 0U);
  EXPECT_EQ(events.take(), "");
  wire(next);
  EXPECT_EQ(retired->zonPending(), 0U);
  EXPECT_EQ(next->zonDispatch(), 1U);
  EXPECT_EQ(events.take(), "Ethernet1.state=unset Ethernet1.reason=''");
}

TEST_F(HostRoads, RefreshedWithANullOrImmediateActivityWhatIsPendingRunsInsideTheRefresh) {
  auto const retired = deferring();
  wire(retired);
  addConfig("Ethernet1");
  wire(nullptr);
  EXPECT_EQ(events.take(), "Ethernet1.state=unset Ethernet1.reason=''");
  wire(retired);
  errdisable->errdisabledIntfIs("Ethernet1", "loop");
  wire(immediate());
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='loop'");
  EXPECT_EQ(retired->zonPending(), 0U);
}

// A pointer kept to a replaced machine.

TEST_F(HostRoads, AReplacedMachineThatIsKeptGoesOnWritingAndTheLastWriterWins) {
  auto const config = addConfig("Ethernet1");
  auto old = wire(immediate());
  auto const other = Zon::newPtr<Errdisable::Status>("other");
  root->allIntfSMIs(immediate(), configs, statuses, other);
  errdisable->errdisabledIntfIs("Ethernet1", "by the old one");
  EXPECT_EQ(config->holds(), "disabled 'by the old one'");
  other->errdisabledIntfIs("Ethernet1", "by the new one");
  EXPECT_EQ(config->holds(), "disabled 'by the new one'");
  events.take();
  config->adminEnabledStateLocalIs(disabled);
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='by the old one' "
                           "Ethernet1.state=disabled Ethernet1.reason='by the new one'");
  old = nullptr;
  config->adminEnabledStateLocalIs(IntfEnabledState::enabled);
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='by the new one'");
}

TEST_F(HostRoads, DroppedBeforeTheSetterTheOldMachineWritesNoMore) {
  auto const config = addConfig("Ethernet1");
  auto old = wire(immediate());
  old = nullptr;
  auto const other = Zon::newPtr<Errdisable::Status>("other");
  root->allIntfSMIs(immediate(), configs, statuses, other);
  errdisable->errdisabledIntfIs("Ethernet1", "by the old one");
  EXPECT_EQ(config->holds(), "unset ''");
}

}  // namespace
