// Every trace line of the module, to the character.

#include "support/TraceLines.h"

#include <functional>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "VaroErrdisable/Root.h"
#include "Zon/Trace.h"
#include "support/Errdisable.h"

namespace {

using namespace Support;
using VaroErrdisable::IntfSM;
using Zon::Ptr;

constexpr auto enabled = IntfEnabledState::enabled;
constexpr auto disabled = IntfEnabledState::disabled;

class TraceLinesTest : public testing::Test, protected ErrdisableInputs {
 protected:
  Ptr<RecordingConfig> config = newConfig("Ethernet1");
  Ptr<IntfSM> machine = newMachine(nullptr, config);

  std::string evaluationLine() {
    TraceLines lines("Errdisable", {7});
    machine->handleStateChange();
    return lines.take();
  }
};

// First in this file: no other test of this process has used the facility yet when each test has a process of its own.
TEST(TraceFacility, SwitchedOnBeforeItsFirstUseTakesEffect) {
  TraceLines lines("Errdisable", {8});
  EXPECT_TRUE(Zon::TraceHandle::exists("Errdisable"));
  ErrdisableInputs inputs;
  auto const machines = inputs.newMachines(nullptr);
  EXPECT_EQ(lines.take(), "8 VaroErrdisableIntf:58 handleInitialized <unknown>: "
                          "void VaroErrdisable::AllIntfSM::handleInitialized()\n");
}

TEST_F(TraceLinesTest, InitializationOfAnInterface) {
  TraceLines lines("Errdisable", {8});
  machine->handleInitialized();
  EXPECT_EQ(lines.take(), "8 VaroErrdisableIntf:11 handleInitialized <unknown>: "
                          "void VaroErrdisable::IntfSM::handleInitialized()Ethernet1\n");
}

TEST_F(TraceLinesTest, InitializationNamesTheConfigurationsIdNotTheMachines) {
  TraceLines lines("Errdisable", {8});
  auto const stranger = IntfSM::IntfSMIs(nullptr, "Ethernet9", errdisable, config);
  EXPECT_EQ(lines.take(), "8 VaroErrdisableIntf:11 handleInitialized <unknown>: "
                          "void VaroErrdisable::IntfSM::handleInitialized()Ethernet1\n");
}

TEST_F(TraceLinesTest, WithLevelEightOffInitializationReadsNoConfiguration) {
  TraceLines lines("Errdisable", {7});
  auto const bare = IntfSM::IntfSMIs(nullptr, "Ethernet9", errdisable, nullptr);
  EXPECT_EQ(lines.take(), "");
  EXPECT_TRUE(bare->initialized());
}

TEST_F(TraceLinesTest, EvaluationWithoutStatus) {
  EXPECT_EQ(evaluationLine(),
            "7 VaroErrdisableIntf:21 handleStateChange <unknown>: void VaroErrdisable::IntfSM::handleStateChange()"
            "Ethernet1: adminEnabled=unset enabledStateLocal=unset intfStatus=None active=0\n");
}

TEST_F(TraceLinesTest, EvaluationWithAnInactiveStatus) {
  machine->intfStatusIs(newStatus("Ethernet1", false));
  EXPECT_EQ(evaluationLine(),
            "7 VaroErrdisableIntf:21 handleStateChange <unknown>: void VaroErrdisable::IntfSM::handleStateChange()"
            "Ethernet1: adminEnabled=unset enabledStateLocal=unset intfStatus=Valid active=0\n");
}

TEST_F(TraceLinesTest, EvaluationShowsTheValuesBeforeItsWritesAndAnActiveStatus) {
  config->adminEnabledStateLocalIs(disabled);
  machine->intfStatusIs(newStatus("Ethernet1", true));
  config->Interface::IntfConfig::enabledStateLocalIs(enabled);
  EXPECT_EQ(evaluationLine(),
            "7 VaroErrdisableIntf:21 handleStateChange <unknown>: void VaroErrdisable::IntfSM::handleStateChange()"
            "Ethernet1: adminEnabled=disabled enabledStateLocal=enabled intfStatus=Valid active=1\n");
  EXPECT_EQ(config->holds(), "disabled 'admin'");
}

TEST_F(TraceLinesTest, EvaluationShowsTheOwnAdministrativeStateNotTheDefaultsAndNotTheSwitch) {
  auto const defaults = Zon::newPtr<Interface::IntfConfig>("default");
  defaults->adminEnabledStateLocalIs(disabled);
  config->defaultConfigIs(defaults);
  config->answer = [] { return false; };
  EXPECT_EQ(evaluationLine(),
            "7 VaroErrdisableIntf:21 handleStateChange <unknown>: void VaroErrdisable::IntfSM::handleStateChange()"
            "Ethernet1: adminEnabled=unset enabledStateLocal=unset intfStatus=None active=0\n");
}

TEST_F(TraceLinesTest, EvaluationWritesUnknownStatesAsNumbers) {
  config->adminEnabledStateLocalIs(static_cast<IntfEnabledState>(-5));
  EXPECT_EQ(evaluationLine(),
            "7 VaroErrdisableIntf:21 handleStateChange <unknown>: void VaroErrdisable::IntfSM::handleStateChange()"
            "Ethernet1: adminEnabled=-5 enabledStateLocal=-5 intfStatus=None active=0\n");
}

TEST_F(TraceLinesTest, EvaluationLineComesBeforeTheWrites) {
  std::string order;
  TraceLines lines("Errdisable", {7});
  config->beforeState = [&] { order += "line(" + std::to_string(lines.take().size() != 0) + ") write"; };
  machine->handleStateChange();
  EXPECT_EQ(order, "line(1) write");
}

TEST_F(TraceLinesTest, AnInterfaceThatComesAndGoes) {
  auto const machines = newMachines(nullptr);
  TraceLines lines("Errdisable", {7, 8});
  addConfig("Ethernet2");
  EXPECT_EQ(lines.take(),
            "7 VaroErrdisableIntf:69 handleIntf <unknown>: "
            "void VaroErrdisable::AllIntfSM::handleIntf(Orvet::IntfId)Ethernet2\n"
            "8 VaroErrdisableIntf:11 handleInitialized <unknown>: "
            "void VaroErrdisable::IntfSM::handleInitialized()Ethernet2\n"
            "7 VaroErrdisableIntf:21 handleStateChange <unknown>: void VaroErrdisable::IntfSM::handleStateChange()"
            "Ethernet2: adminEnabled=unset enabledStateLocal=unset intfStatus=None active=0\n");
  configs->intfConfigDel("Ethernet2");
  EXPECT_EQ(lines.take(), "7 VaroErrdisableIntf:69 handleIntf <unknown>: "
                          "void VaroErrdisable::AllIntfSM::handleIntf(Orvet::IntfId)Ethernet2\n");
}

TEST_F(TraceLinesTest, AnErrdisableEntryWithAndWithoutConfiguration) {
  auto const machines = newMachines(nullptr);
  addConfig("Ethernet2");
  TraceLines lines("Errdisable", {7, 8});
  errdisable->errdisabledIntfIs("Ethernet9", "loop");
  EXPECT_EQ(lines.take(), "7 VaroErrdisableIntf:88 handleErrdisable <unknown>: "
                          "void VaroErrdisable::AllIntfSM::handleErrdisable(Orvet::IntfId)Ethernet9\n");
  errdisable->errdisabledIntfIs("Ethernet2", "loop");
  EXPECT_EQ(lines.take(),
            "7 VaroErrdisableIntf:88 handleErrdisable <unknown>: "
            "void VaroErrdisable::AllIntfSM::handleErrdisable(Orvet::IntfId)Ethernet2\n"
            "7 VaroErrdisableIntf:21 handleStateChange <unknown>: void VaroErrdisable::IntfSM::handleStateChange()"
            "Ethernet2: adminEnabled=unset enabledStateLocal=unset intfStatus=None active=0\n");
}

TEST_F(TraceLinesTest, LevelsAreSeparate) {
  TraceLines lines("Errdisable", {8});
  machine->handleStateChange();
  EXPECT_EQ(lines.take(), "");
}

TEST_F(TraceLinesTest, AFacilityThatIsOffTracesNothing) {
  TraceLines lines("Errdisable", {7, 8});
  Zon::TraceHandle("Errdisable", false).enabledIs(false);
  machine->handleInitialized();
  machine->handleStateChange();
  EXPECT_EQ(lines.take(), "");
}

TEST_F(TraceLinesTest, ACoverageStreamGetsEveryLineThoughTheFacilityIsOff) {
  std::ostringstream coverage;
  Zon::coverageStreamIs(&coverage);
  machine->handleInitialized();
  machine->handleStateChange();
  Zon::coverageStreamIs(nullptr);
  EXPECT_EQ(coverage.str(),
            "Errdisable/8 VaroErrdisableIntf:11 handleInitialized: "
            "void VaroErrdisable::IntfSM::handleInitialized()Ethernet1\n"
            "Errdisable/7 VaroErrdisableIntf:21 handleStateChange: void VaroErrdisable::IntfSM::handleStateChange()"
            "Ethernet1: adminEnabled=unset enabledStateLocal=unset intfStatus=None active=0\n");
}

TEST_F(TraceLinesTest, ASinkThatThrowsChangesNoDecision) {
  TraceLines lines("Errdisable", {7});
  Zon::traceSinkIs([](Zon::TraceRecord const&) { throw 7; });
  config->adminEnabledStateLocalIs(disabled);
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='admin'");
}

TEST_F(TraceLinesTest, WhatASinkChangesBeforeTheNewMachineIsOnDoesNotWaitForIt) {
  auto const activity = deferring();
  TraceLines lines("Errdisable", {8});
  Zon::traceSinkIs([&](Zon::TraceRecord const&) { config->adminEnabledStateLocalIs(disabled); });
  auto const other = newMachine(activity, config);
  EXPECT_EQ(activity->zonPending(), 0U);
  config->adminEnabledStateLocalIs(enabled);
  EXPECT_EQ(activity->zonPending(), 1U);
}

TEST_F(TraceLinesTest, ASinkMayDropTheMachineThatSpeaks) {
  for (auto const speak : {&IntfSM::handleStateChange, &IntfSM::handleInitialized}) {
    auto dropped = newMachine(nullptr, config);
    TraceLines lines("Errdisable", {7, 8});
    Zon::traceSinkIs([&](Zon::TraceRecord const&) { dropped = nullptr; });
    IntfSM& speaker = *dropped;
    (speaker.*speak)();
    EXPECT_EQ(dropped, nullptr);
  }
}

TEST_F(TraceLinesTest, ASinkMayDropTheMachinesThatSpeak) {
  std::function<void(VaroErrdisable::AllIntfSM&)> const speeches[] = {
      [](auto& machines) { machines.handleInitialized(); }, [](auto& machines) { machines.handleIntf("Ethernet1"); },
      [](auto& machines) { machines.handleErrdisable("Ethernet1"); }};
  for (auto const& speak : speeches) {
    configs->intfConfigIs(config);
    auto dropped = newMachines(nullptr);
    TraceLines lines("Errdisable", {7, 8});
    Zon::traceSinkIs([&](Zon::TraceRecord const&) { dropped = nullptr; });
    VaroErrdisable::AllIntfSM& speaker = *dropped;
    speak(speaker);
    EXPECT_EQ(dropped, nullptr);
  }
}

}  // namespace
