#include "VaroErrdisable/IntfSM.h"

#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/Errdisable.h"
#include "support/TraceLines.h"

namespace {

using namespace Support;
using VaroErrdisable::IntfSM;
using Zon::Ptr;

constexpr auto unset = IntfEnabledState::unset;
constexpr auto enabled = IntfEnabledState::enabled;
constexpr auto disabled = IntfEnabledState::disabled;

/// One interface without status, its machine on no activity.
class IntfSMTest : public testing::Test, protected ErrdisableInputs {
 protected:
  Ptr<RecordingConfig> config = newConfig("Ethernet1");
  Ptr<IntfSM> machine = newMachine(nullptr, config);

  /// Evaluates and returns what was written.
  std::string evaluated() {
    machine->handleStateChange();
    return events.take();
  }
  /// Puts a state there that no evaluation wrote.
  void leftState(IntfEnabledState state) {
    config->Interface::IntfConfig::enabledStateLocalIs(state);
    events.take();
  }
  Ptr<Interface::IntfStatus> giveStatus(bool active) {
    auto const status = newStatus("Ethernet1", active);
    machine->intfStatusIs(status);
    events.take();
    return status;
  }
};

// ---------------------------------------------------------------------------------------------------------------
// Creation

TEST_F(IntfSMTest, CreationWritesNothing) { EXPECT_EQ(events.take(), ""); }

TEST_F(IntfSMTest, CreationLeavesItInitializedAndOnWithoutStatus) {
  EXPECT_TRUE(machine->initialized());
  EXPECT_TRUE(machine->hasNotificationActive());
  EXPECT_FALSE(machine->zonMarkedForDeletion());
  EXPECT_EQ(machine->intfStatus(), nullptr);
}

TEST_F(IntfSMTest, CreationKeepsItsParameters) {
  auto const activity = deferring();
  auto const other = newMachine(activity, config);
  EXPECT_EQ(other->zonFwkActivity(), activity);
  EXPECT_EQ(std::as_const(*other).zonFwkActivity(), activity);
  EXPECT_EQ(other->zonzonFwkActivityConst(), activity);
  EXPECT_EQ(other->intfId(), Orvet::IntfId("Ethernet1"));
  EXPECT_EQ(other->fwkKey(), Orvet::IntfId("Ethernet1"));
  EXPECT_EQ(other->errdisableStatus(), errdisable);
  EXPECT_EQ(other->intfConfig(), config);
  EXPECT_EQ(machine->zonFwkActivity(), nullptr);
}

TEST_F(IntfSMTest, CreationHoldsOneReferenceOnEachParameter) {
  EXPECT_EQ(config->zonReferences(), 2U);      // ours and the input's
  EXPECT_EQ(errdisable->zonReferences(), 2U);  // ours and the machine's
  EXPECT_EQ(machine->zonReferences(), 1U);     // ours: inputs do not count their owner
}

TEST_F(IntfSMTest, CreationWithoutConfigurationLeavesThatInputAbsent) {
  auto const bare = IntfSM::IntfSMIs(nullptr, "Ethernet9", errdisable, nullptr);
  EXPECT_EQ(bare->intfConfig(), nullptr);
  EXPECT_EQ(bare->intfConfigDel(), nullptr);
  EXPECT_TRUE(bare->initialized());
}

TEST_F(IntfSMTest, ItsIdIsItsOwnWhileEvaluationGoesByTheConfigurationsId) {
  auto const stranger = IntfSM::IntfSMIs(nullptr, "Ethernet9", errdisable, config);
  errdisable->errdisabledIntfIs("Ethernet1", "by configuration");
  errdisable->errdisabledIntfIs("Ethernet9", "by machine");
  stranger->handleStateChange();
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='by configuration'");
}

// ---------------------------------------------------------------------------------------------------------------
// The decision

TEST_F(IntfSMTest, AnInactiveStatusDisablesWhateverElseIsSaid) {
  errdisable->errdisabledIntfIs("Ethernet1", "bpduguard");
  config->adminEnabledStateLocalIs(enabled);
  giveStatus(false);
  EXPECT_EQ(evaluated(), "Ethernet1.state=disabled Ethernet1.reason='inactive'");
}

TEST_F(IntfSMTest, AMissingStatusIsNotInactive) {
  config->adminEnabledStateLocalIs(enabled);
  events.take();
  EXPECT_EQ(evaluated(), "Ethernet1.state=enabled Ethernet1.reason=''");
}

TEST_F(IntfSMTest, WithoutStatusAnErrdisableEntryDisablesWithItsReason) {
  config->adminEnabledStateLocalIs(enabled);
  errdisable->errdisabledIntfIs("Ethernet1", "link-flap");
  events.take();
  EXPECT_EQ(evaluated(), "Ethernet1.state=disabled Ethernet1.reason='link-flap'");
}

TEST_F(IntfSMTest, WithAnActiveStatusAnErrdisableEntryDisablesWithItsEmptyReason) {
  giveStatus(true);
  errdisable->errdisabledIntfIs("Ethernet1", "");
  EXPECT_EQ(evaluated(), "Ethernet1.state=disabled Ethernet1.reason=''");
}

TEST_F(IntfSMTest, AnErrdisableEntryWinsOverAnAdministrativeDisable) {
  config->adminEnabledStateLocalIs(disabled);
  errdisable->errdisabledIntfIs("Ethernet1", "loop");
  events.take();
  EXPECT_EQ(evaluated(), "Ethernet1.state=disabled Ethernet1.reason='loop'");
}

TEST_F(IntfSMTest, AnErrdisableEntryOfAnotherInterfaceIsNoneOfItsBusiness) {
  errdisable->errdisabledIntfIs("Ethernet2", "loop");
  EXPECT_EQ(evaluated(), "Ethernet1.state=unset Ethernet1.reason=''");
}

TEST_F(IntfSMTest, AdministrativelyEnabledIsEnabledWithoutReason) {
  config->adminEnabledStateLocalIs(enabled);
  events.take();
  EXPECT_EQ(evaluated(), "Ethernet1.state=enabled Ethernet1.reason=''");
}

TEST_F(IntfSMTest, AdministrativelyDisabledIsDisabledWithReasonAdmin) {
  config->adminEnabledStateLocalIs(disabled);
  events.take();
  EXPECT_EQ(evaluated(), "Ethernet1.state=disabled Ethernet1.reason='admin'");
}

TEST_F(IntfSMTest, TheDefaultConfigurationsAdministrativeStateCountsWhenTheOwnIsUnset) {
  auto const defaults = Zon::newPtr<Interface::IntfConfig>("default");
  defaults->adminEnabledStateLocalIs(disabled);
  config->defaultConfigIs(defaults);
  EXPECT_EQ(evaluated(), "Ethernet1.state=disabled Ethernet1.reason='admin'");
}

TEST_F(IntfSMTest, TheOwnAdministrativeStateWinsOverTheDefaults) {
  auto const defaults = Zon::newPtr<Interface::IntfConfig>("default");
  defaults->adminEnabledStateLocalIs(disabled);
  config->defaultConfigIs(defaults);
  config->adminEnabledStateLocalIs(enabled);
  events.take();
  EXPECT_EQ(evaluated(), "Ethernet1.state=enabled Ethernet1.reason=''");
}

TEST_F(IntfSMTest, AStateLeftFromAnEarlierErrdisableFollowsTheAdministrativeSwitch) {
  leftState(disabled);
  EXPECT_EQ(evaluated(), "Ethernet1.state=enabled Ethernet1.reason=''");
}

TEST_F(IntfSMTest, AStateLeftOverIsDisabledWhenTheAdministrativeSwitchIsOff) {
  leftState(enabled);
  config->answer = [] { return false; };
  EXPECT_EQ(evaluated(), "Ethernet1.state=disabled Ethernet1.reason='admin'");
}

TEST_F(IntfSMTest, NoAdministrativeStateAndNoLeftOverWritesUnsetAgain) {
  EXPECT_EQ(evaluated(), "Ethernet1.state=unset Ethernet1.reason=''");
}

TEST_F(IntfSMTest, NoAdministrativeStateAndNoLeftOverStaysUnsetAlsoWithTheSwitchOff) {
  config->answer = [] { return false; };
  EXPECT_EQ(evaluated(), "Ethernet1.state=unset Ethernet1.reason='admin'");
}

TEST_F(IntfSMTest, TheStateIsTheAdministrativeOneWhileTheReasonAsksTheSwitch) {
  config->adminEnabledStateLocalIs(enabled);
  config->answer = [] { return false; };
  events.take();
  EXPECT_EQ(evaluated(), "Ethernet1.state=enabled Ethernet1.reason='admin'");
  config->adminEnabledStateLocalIs(disabled);
  config->answer = [] { return true; };
  events.take();
  EXPECT_EQ(evaluated(), "Ethernet1.state=disabled Ethernet1.reason=''");
}

TEST_F(IntfSMTest, AnAdministrativeStateOfAnUnknownValueIsPassedOn) {
  config->adminEnabledStateLocalIs(static_cast<IntfEnabledState>(7));
  events.take();
  EXPECT_EQ(evaluated(), "Ethernet1.state=7 Ethernet1.reason=''");
}

TEST_F(IntfSMTest, TheSwitchIsAskedAfterTheStateWasWritten) {
  config->recordsQuestions = true;
  EXPECT_EQ(evaluated(), "Ethernet1.state=unset Ethernet1.adminEnabled? Ethernet1.reason=''");
}

TEST_F(IntfSMTest, ForALeftOverStateTheSwitchIsAskedBeforeAndAgainAfter) {
  leftState(disabled);
  config->recordsQuestions = true;
  int asked = 0;
  config->answer = [&asked] { return ++asked == 1; };
  EXPECT_EQ(evaluated(),
            "Ethernet1.adminEnabled? Ethernet1.state=enabled Ethernet1.adminEnabled? Ethernet1.reason='admin'");
}

TEST_F(IntfSMTest, TheSwitchIsNotAskedWhenStatusOrErrdisableDecides) {
  config->recordsQuestions = true;
  giveStatus(false);
  EXPECT_EQ(evaluated(), "Ethernet1.state=disabled Ethernet1.reason='inactive'");
  machine->intfStatusDel();
  errdisable->errdisabledIntfIs("Ethernet1", "loop");
  EXPECT_EQ(evaluated(), "Ethernet1.state=disabled Ethernet1.reason='loop'");
}

TEST_F(IntfSMTest, EveryCombinationDecidesAsTheRulesSay) {
  // 0 none, 1 inactive, 2 active; 0 none, 1 empty reason, 2 a reason; 0 no default, 1 to 3 default state + 1.
  for (int status = 0; status != 3; ++status) {
    for (int entry = 0; entry != 3; ++entry) {
      for (std::int32_t own = 0; own != 3; ++own) {
        for (std::int32_t fallback = 0; fallback != 4; ++fallback) {
          for (std::int32_t left = 0; left != 3; ++left) {
            SCOPED_TRACE(testing::Message() << "status " << status << ", entry " << entry << ", own " << own
                                            << ", default " << fallback << ", left " << left);
            auto const intf = newConfig("Ethernet1");
            auto const list = Zon::newPtr<Errdisable::Status>("list");
            intf->adminEnabledStateLocalIs(static_cast<IntfEnabledState>(own));
            if (fallback != 0) {
              auto const defaults = Zon::newPtr<Interface::IntfConfig>("default");
              defaults->adminEnabledStateLocalIs(static_cast<IntfEnabledState>(fallback - 1));
              intf->defaultConfigIs(defaults);
            }
            intf->Interface::IntfConfig::enabledStateLocalIs(static_cast<IntfEnabledState>(left));
            if (entry != 0) list->errdisabledIntfIs("Ethernet1", entry == 1 ? "" : "loop");
            auto const sm = IntfSM::IntfSMIs(nullptr, "Ethernet1", list, intf);
            if (status != 0) sm->intfStatusIs(newStatus("Ethernet1", status == 2));
            sm->handleStateChange();

            int state = own != 0 ? own : fallback != 0 ? fallback - 1 : 0;
            std::string reason = state == 2 ? "admin" : "";
            if (state == 0 && left != 0) state = 1;
            if (entry != 0) {
              state = 2;
              reason = entry == 1 ? "" : "loop";
            }
            if (status == 1) {
              state = 2;
              reason = "inactive";
            }
            EXPECT_EQ(events.take(), "Ethernet1.state=" + text(static_cast<IntfEnabledState>(state)) +
                                         " Ethernet1.reason='" + reason + "'");
          }
        }
      }
    }
  }
}

TEST_F(IntfSMTest, EveryEvaluationWritesBothAndWatchersHearOfRealChangesOnly) {
  auto const watcher = Zon::newPtr<ConfigWatcher>("w", events, config);
  giveStatus(false);
  EXPECT_EQ(evaluated(), "Ethernet1.state=disabled w:state Ethernet1.reason='inactive' w:reason");
  EXPECT_EQ(evaluated(), "Ethernet1.state=disabled Ethernet1.reason='inactive'");
  errdisable->errdisabledIntfIs("Ethernet1", "loop");
  machine->intfStatusDel();
  EXPECT_EQ(evaluated(), "Ethernet1.state=disabled Ethernet1.reason='loop' w:reason");
}

TEST_F(IntfSMTest, NamesOfEveryKindAreServed) {
  for (std::string const& name : {std::string(""), std::string("Port Channel 1"), std::string("Ethernet1/2/3"),
                                  std::string("\xc3\xa4\xe2\x82\xac"), std::string(255, 'x'), std::string("a\0b", 3)}) {
    Orvet::IntfId const id{Zon::String8(std::string_view(name))};
    auto const intf = newConfig(id);
    auto const sm = newMachine(nullptr, intf);
    errdisable->errdisabledIntfIs(id, "loop");
    sm->handleStateChange();
    EXPECT_EQ(events.take(), name + ".state=disabled " + name + ".reason='loop'");
    EXPECT_EQ(sm->fwkKey(), id);
  }
}

TEST_F(IntfSMTest, ReasonsOfEveryKindArePassedOnWhole) {
  for (std::string const& reason : {std::string("two words"), std::string("\xe2\x82\xac"), std::string("a\0b", 3),
                                    std::string("line\nfeed"), std::string(1 << 20, 'r')}) {
    errdisable->errdisabledIntfIs("Ethernet1", Zon::String8(std::string_view(reason)));
    machine->handleStateChange();
    EXPECT_EQ(config->enabledStateReason().stdString(), reason);
  }
}

// ---------------------------------------------------------------------------------------------------------------
// What evaluates, and what does not

TEST_F(IntfSMTest, AChangedAdministrativeStateEvaluates) {
  config->adminEnabledStateLocalIs(disabled);
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='admin'");
  config->adminEnabledStateLocalIs(disabled);
  EXPECT_EQ(events.take(), "");
}

TEST_F(IntfSMTest, AStatusThatBecomesActiveOrInactiveEvaluates) {
  auto const status = giveStatus(true);
  status->activeIs(false);
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='inactive'");
  status->activeIs(true);
  EXPECT_EQ(events.take(), "Ethernet1.state=enabled Ethernet1.reason=''");
  status->activeIs(true);
  EXPECT_EQ(events.take(), "");
}

TEST_F(IntfSMTest, TheFirstStatusDoesNotEvaluate) {
  machine->intfStatusIs(newStatus("Ethernet1", false));
  EXPECT_EQ(events.take(), "");
}

TEST_F(IntfSMTest, AnotherStatusEvaluates) {
  giveStatus(true);
  machine->intfStatusIs(newStatus("Ethernet1", false));
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='inactive'");
}

TEST_F(IntfSMTest, TheSameStatusAgainDoesNotEvaluate) {
  machine->intfStatusIs(giveStatus(false));
  EXPECT_EQ(events.take(), "");
}

TEST_F(IntfSMTest, ANullStatusRemovesTheInputWithoutEvaluating) {
  auto const status = giveStatus(false);
  machine->intfStatusIs(nullptr);
  EXPECT_EQ(machine->intfStatus(), nullptr);
  EXPECT_EQ(status->zonReferences(), 1U);
  status->activeIs(true);
  EXPECT_EQ(events.take(), "");
  machine->intfStatusIs(nullptr);
  EXPECT_EQ(events.take(), "");
}

TEST_F(IntfSMTest, AStatusAfterANullOneIsAFirstOneAgain) {
  auto const status = giveStatus(false);
  machine->intfStatusIs(nullptr);
  machine->intfStatusIs(status);
  EXPECT_EQ(events.take(), "");
  status->activeIs(true);
  EXPECT_EQ(events.take(), "Ethernet1.state=unset Ethernet1.reason=''");
}

TEST_F(IntfSMTest, TheOldStatusIsNoLongerListenedTo) {
  auto const old = giveStatus(true);
  machine->intfStatusIs(newStatus("Ethernet1", true));
  events.take();
  old->activeIs(false);
  EXPECT_EQ(events.take(), "");
}

TEST_F(IntfSMTest, AnotherConfigurationEvaluatesIntoThatOne) {
  auto const other = Zon::newPtr<RecordingConfig>("Ethernet1", events, "other");
  machine->intfConfigIs(other);
  EXPECT_EQ(events.take(), "other.state=unset other.reason=''");
  EXPECT_EQ(machine->intfConfig(), other);
  config->adminEnabledStateLocalIs(disabled);
  EXPECT_EQ(events.take(), "");
  other->adminEnabledStateLocalIs(disabled);
  EXPECT_EQ(events.take(), "other.state=disabled other.reason='admin'");
}

TEST_F(IntfSMTest, TheSameConfigurationAgainDoesNotEvaluate) {
  machine->intfConfigIs(config);
  EXPECT_EQ(events.take(), "");
}

TEST_F(IntfSMTest, ANullConfigurationRemovesTheInputAndANewOneIsAFirstOne) {
  machine->intfConfigIs(nullptr);
  EXPECT_EQ(machine->intfConfig(), nullptr);
  EXPECT_EQ(config->zonReferences(), 1U);
  config->adminEnabledStateLocalIs(disabled);
  EXPECT_EQ(events.take(), "");
  machine->intfConfigIs(config);
  EXPECT_EQ(events.take(), "");
  config->adminEnabledStateLocalIs(enabled);
  EXPECT_EQ(events.take(), "Ethernet1.state=enabled Ethernet1.reason=''");
}

TEST_F(IntfSMTest, DeletingAnInputReturnsWhatItWatchedAndSilencesIt) {
  auto const status = giveStatus(true);
  EXPECT_EQ(machine->intfStatusDel(), status);
  EXPECT_EQ(machine->intfStatusDel(), nullptr);
  EXPECT_EQ(machine->intfConfigDel(), config);
  EXPECT_EQ(machine->intfConfigDel(), nullptr);
  status->activeIs(false);
  config->adminEnabledStateLocalIs(disabled);
  EXPECT_EQ(events.take(), "");
}

TEST_F(IntfSMTest, ItsOwnWritesAndOtherAttributesDoNotEvaluate) {
  auto const status = giveStatus(true);
  config->Interface::IntfConfig::enabledStateLocalIs(enabled);
  config->Interface::IntfConfig::enabledStateReasonIs("somebody's");
  config->defaultConfigIs(Zon::newPtr<Interface::IntfConfig>("default"));
  config->parentIs(configs);
  config->isNondestructingIs(true);
  config->isNondestructingIs(false);
  status->forwardingModelIs(3);
  status->forwardingModelInputsIs("bridging", 3);
  status->forwardingModelInputsDel("bridging");
  status->forwardingModelInputsNotify("bridging");
  status->forwardingModelInputsNotify();
  EXPECT_EQ(events.take(), "");
}

TEST_F(IntfSMTest, AChangedDefaultConfigurationDoesNotEvaluate) {
  auto const defaults = Zon::newPtr<Interface::IntfConfig>("default");
  config->defaultConfigIs(defaults);
  defaults->adminEnabledStateLocalIs(disabled);
  EXPECT_EQ(events.take(), "");
  EXPECT_EQ(evaluated(), "Ethernet1.state=disabled Ethernet1.reason='admin'");
}

TEST_F(IntfSMTest, AnErrdisableEntryAloneDoesNotEvaluate) {
  errdisable->errdisabledIntfIs("Ethernet1", "loop");
  errdisable->errdisabledIntfNotify();
  errdisable->errdisabledIntfDel("Ethernet1");
  EXPECT_EQ(events.take(), "");
}

// ---------------------------------------------------------------------------------------------------------------
// Initialization, switch, zombies

TEST_F(IntfSMTest, BeforeInitializationNothingIsWrittenAndNothingTraced) {
  machine->initializedIs(false);
  TraceLines lines("Errdisable", {7, 8});
  machine->handleStateChange();
  config->adminEnabledStateLocalIs(disabled);
  EXPECT_FALSE(machine->initialized());
  EXPECT_EQ(events.take(), "");
  EXPECT_EQ(lines.take(), "");
}

TEST_F(IntfSMTest, BeforeInitializationAMissingConfigurationIsNotLookedAt) {
  machine->initializedIs(false);
  machine->intfConfigDel();
  machine->handleStateChange();
  EXPECT_EQ(events.take(), "");
}

TEST_F(IntfSMTest, InitializationOpensItAndEvaluatesNothing) {
  machine->initializedIs(false);
  machine->handleInitialized();
  EXPECT_TRUE(machine->initialized());
  EXPECT_EQ(events.take(), "");
  EXPECT_EQ(evaluated(), "Ethernet1.state=unset Ethernet1.reason=''");
}

TEST_F(IntfSMTest, OffItHearsNothingAndNothingIsReplayed) {
  auto const status = giveStatus(true);
  machine->hasNotificationActiveIs(false);
  EXPECT_FALSE(machine->hasNotificationActive());
  config->adminEnabledStateLocalIs(disabled);
  status->activeIs(false);
  machine->hasNotificationActiveIs(true);
  EXPECT_EQ(events.take(), "");
  status->activeIs(true);
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='admin'");
}

TEST_F(IntfSMTest, OffItStillEvaluatesOnRequestAndForAnotherEntity) {
  giveStatus(true);
  machine->hasNotificationActiveIs(false);
  EXPECT_EQ(evaluated(), "Ethernet1.state=unset Ethernet1.reason=''");
  machine->intfStatusIs(newStatus("Ethernet1", false));
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='inactive'");
}

TEST_F(IntfSMTest, AnInputMadeLaterTakesTheMachinesSwitch) {
  machine->hasNotificationActiveIs(false);
  auto const status = giveStatus(true);
  status->activeIs(false);
  EXPECT_EQ(events.take(), "");
  machine->hasNotificationActiveIs(true);
  status->activeIs(true);
  EXPECT_EQ(events.take(), "Ethernet1.state=unset Ethernet1.reason=''");
}

TEST_F(IntfSMTest, AnEqualSwitchDoesNotTouchTheInputs) {
  auto const status = giveStatus(true);
  // On already: the word says so although the inputs are told otherwise behind its back.
  machine->hasNotificationActiveIs(false);
  machine->zonWordIs(machine->zonWord() | Zon::PtrInterface::zonActiveBit);
  machine->hasNotificationActiveIs(true);
  status->activeIs(false);
  EXPECT_EQ(events.take(), "");
}

TEST_F(IntfSMTest, AZombieHearsNothingAndRevivesWithItsInputs) {
  auto const status = giveStatus(true);
  machine->zonDoZombieReactors(true);
  EXPECT_TRUE(machine->zonMarkedForDeletion());
  EXPECT_TRUE(machine->hasNotificationActive());
  config->adminEnabledStateLocalIs(disabled);
  status->activeIs(false);
  EXPECT_EQ(events.take(), "");
  machine->zonDoZombieReactors(false);
  EXPECT_FALSE(machine->zonMarkedForDeletion());
  EXPECT_EQ(events.take(), "");
  status->activeIs(true);
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='admin'");
}

TEST_F(IntfSMTest, AZombieEvaluatesOnRequestButNotForAnotherEntity) {
  giveStatus(true);
  machine->zonDoZombieReactors(true);
  machine->intfStatusIs(newStatus("Ethernet1", false));
  machine->intfConfigIs(Zon::newPtr<RecordingConfig>("Ethernet1", events, "other"));
  EXPECT_EQ(events.take(), "");
  EXPECT_EQ(evaluated(), "other.state=disabled other.reason='inactive'");
}

TEST_F(IntfSMTest, AnInputMadeByAZombieIsAZombie) {
  machine->zonDoZombieReactors(true);
  auto const status = giveStatus(true);
  status->activeIs(false);
  EXPECT_EQ(events.take(), "");
  machine->zonDoZombieReactors(false);
  status->activeIs(true);
  EXPECT_EQ(events.take(), "Ethernet1.state=unset Ethernet1.reason=''");
}

// ---------------------------------------------------------------------------------------------------------------
// Activities

TEST_F(IntfSMTest, OnAnImmediateActivityItEvaluatesInsideTheSetter) {
  auto const activity = immediate();
  machine->zonFwkActivityIs(activity);
  auto const status = giveStatus(true);
  config->adminEnabledStateLocalIs(disabled);
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='admin'");
  status->activeIs(false);
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='inactive'");
  EXPECT_EQ(activity->zonPending(), 0U);
  EXPECT_EQ(machine->zonFwkActivity(), activity);
}

TEST_F(IntfSMTest, OnADeferringActivityItEvaluatesOncePerDispatchHoweverManyChanges) {
  auto const activity = deferring();
  machine->zonFwkActivityIs(activity);
  config->adminEnabledStateLocalIs(disabled);
  config->adminEnabledStateLocalIs(enabled);
  config->adminEnabledStateLocalIs(disabled);
  EXPECT_EQ(events.take(), "");
  EXPECT_EQ(activity->zonPending(), 1U);
  EXPECT_EQ(activity->zonDispatch(), 1U);
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='admin'");
  EXPECT_EQ(activity->zonDispatch(), 0U);
  EXPECT_EQ(events.take(), "");
}

TEST_F(IntfSMTest, OnADeferringActivityBothInputsTakeTheirTurnInOrderOfTheirFirstChange) {
  auto const activity = deferring();
  machine->zonFwkActivityIs(activity);
  std::string const once = "Ethernet1.state=disabled Ethernet1.reason='admin'";
  // The first of both turns drops the status input, and with it the turn of that input if it is still to come.
  auto const dropStatus = [this] {
    config->beforeState = nullptr;
    machine->intfStatusDel();
  };
  auto status = giveStatus(true);
  status->activeIs(false);
  config->adminEnabledStateLocalIs(disabled);
  status->activeIs(true);
  config->beforeState = dropStatus;
  EXPECT_EQ(activity->zonDispatch(), 2U) << "the status, then the configuration";
  EXPECT_EQ(events.take(), once + " " + once);

  status = giveStatus(true);
  config->adminEnabledStateLocalIs(enabled);
  status->activeIs(false);
  config->adminEnabledStateLocalIs(disabled);
  status->activeIs(true);
  config->beforeState = dropStatus;
  EXPECT_EQ(activity->zonDispatch(), 1U) << "the configuration; the status never";
  EXPECT_EQ(events.take(), once);
}

TEST_F(IntfSMTest, OnADeferringActivityAnotherEntityEvaluatesAtOnce) {
  auto const activity = deferring();
  machine->zonFwkActivityIs(activity);
  giveStatus(true);
  machine->intfStatusIs(newStatus("Ethernet1", false));
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='inactive'");
  EXPECT_EQ(activity->zonPending(), 0U);
}

TEST_F(IntfSMTest, OffOrZombieAtItsTurnItIsPassedOverAndNothingStaysPending) {
  auto const activity = deferring();
  machine->zonFwkActivityIs(activity);
  config->adminEnabledStateLocalIs(disabled);
  machine->hasNotificationActiveIs(false);
  EXPECT_EQ(activity->zonDispatch(), 0U);
  machine->hasNotificationActiveIs(true);
  EXPECT_EQ(activity->zonDispatch(), 0U);
  config->adminEnabledStateLocalIs(enabled);
  machine->zonDoZombieReactors(true);
  EXPECT_EQ(activity->zonDispatch(), 0U);
  EXPECT_EQ(events.take(), "");
}

TEST_F(IntfSMTest, OffAndOnAgainBeforeItsTurnItIsStillServed) {
  auto const activity = deferring();
  machine->zonFwkActivityIs(activity);
  config->adminEnabledStateLocalIs(disabled);
  machine->hasNotificationActiveIs(false);
  machine->hasNotificationActiveIs(true);
  EXPECT_EQ(activity->zonDispatch(), 1U);
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='admin'");
}

TEST_F(IntfSMTest, ADeadMachineLeavesItsActivitysQueue) {
  auto const activity = deferring();
  machine->zonFwkActivityIs(activity);
  config->adminEnabledStateLocalIs(disabled);
  machine = nullptr;
  EXPECT_EQ(activity->zonPending(), 0U);
  EXPECT_EQ(activity->zonDispatch(), 0U);
  EXPECT_EQ(events.take(), "");
}

TEST_F(IntfSMTest, AnEqualActivityMovesNothing) {
  auto const activity = deferring();
  machine->zonFwkActivityIs(activity);
  config->adminEnabledStateLocalIs(disabled);
  machine->zonFwkActivityIs(activity);
  EXPECT_EQ(activity->zonPending(), 1U);
}

TEST_F(IntfSMTest, PendingWorkMovesToAnotherDeferringActivity) {
  auto const first = deferring();
  auto const second = deferring();
  machine->zonFwkActivityIs(first);
  config->adminEnabledStateLocalIs(disabled);
  machine->zonFwkActivityIs(second);
  EXPECT_EQ(first->zonPending(), 0U);
  EXPECT_EQ(events.take(), "");
  EXPECT_EQ(second->zonDispatch(), 1U);
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='admin'");
}

TEST_F(IntfSMTest, PendingWorkRunsAtOnceWhenTheActivityBecomesNullOrImmediate) {
  auto const first = deferring();
  machine->zonFwkActivityIs(first);
  config->adminEnabledStateLocalIs(disabled);
  machine->zonFwkActivityIs(nullptr);
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='admin'");
  EXPECT_EQ(machine->zonFwkActivity(), nullptr);
  machine->zonFwkActivityIs(first);
  config->adminEnabledStateLocalIs(enabled);
  machine->zonFwkActivityIs(immediate());
  EXPECT_EQ(events.take(), "Ethernet1.state=enabled Ethernet1.reason=''");
  EXPECT_EQ(first->zonPending(), 0U);
}

TEST_F(IntfSMTest, ActivityIsRefreshedConfigurationFirstThenStatus) {
  auto const activity = deferring();
  machine->zonFwkActivityIs(activity);
  auto const status = giveStatus(true);
  config->adminEnabledStateLocalIs(disabled);
  // The configuration's pending work runs inside the refresh, and then the status is still on the old activity: what is
  // heard of it waits for its own refresh.
  config->beforeState = [this, &status] {
    config->beforeState = nullptr;
    status->activeIs(false);
  };
  machine->zonFwkActivityIs(nullptr);
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='admin' "
                           "Ethernet1.state=disabled Ethernet1.reason='inactive'");
}

TEST_F(IntfSMTest, WorkThatMovesToAnotherDeferringActivityIsServedInTheOrderOfTheRefresh) {
  auto const first = deferring();
  machine->zonFwkActivityIs(first);
  auto const status = giveStatus(true);
  // Queued in the other order.
  status->activeIs(false);
  config->adminEnabledStateLocalIs(disabled);
  auto const second = deferring();
  machine->zonFwkActivityIs(second);
  EXPECT_EQ(second->zonPending(), 2U);
  // The configuration's turn: it drops that of the status.
  config->beforeState = [this] { machine->intfStatusDel(); };
  EXPECT_EQ(second->zonDispatch(), 1U);
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='inactive'");
}

// ---------------------------------------------------------------------------------------------------------------
// Callbacks of its own writes

TEST_F(IntfSMTest, BothWritesGoToTheConfigurationItBeganWithThoughAWatcherDropsTheInput) {
  auto const watcher = Zon::newPtr<ConfigWatcher>("w", events, config);
  watcher->act = [this](std::string const& heard) {
    if (heard == "state") machine->intfConfigDel();
  };
  giveStatus(false);
  EXPECT_EQ(evaluated(), "Ethernet1.state=disabled w:state Ethernet1.reason='inactive' w:reason");
  EXPECT_EQ(machine->intfConfig(), nullptr);
}

TEST_F(IntfSMTest, BothWritesGoToTheConfigurationItBeganWithThoughAWatcherReplacesIt) {
  auto const watcher = Zon::newPtr<ConfigWatcher>("w", events, config);
  auto const other = Zon::newPtr<RecordingConfig>("Ethernet1", events, "other");
  watcher->act = [this, &other](std::string const& heard) {
    if (heard == "state") machine->intfConfigIs(other);
  };
  giveStatus(false);
  EXPECT_EQ(evaluated(), "Ethernet1.state=disabled w:state other.state=disabled other.reason='inactive' "
                         "Ethernet1.reason='inactive' w:reason");
}

TEST_F(IntfSMTest, AWatcherMayDropTheLastReferenceOnTheMachineInTheMiddle) {
  auto const watcher = Zon::newPtr<ConfigWatcher>("w", events, config);
  watcher->act = [this](std::string const& heard) {
    if (heard == "state") machine = nullptr;
  };
  machine->intfStatusIs(newStatus("Ethernet1", false));
  machine->handleStateChange();
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled w:state Ethernet1.reason='inactive' w:reason");
  EXPECT_EQ(config->zonReferences(), 2U);      // ours and the watcher's
  EXPECT_EQ(errdisable->zonReferences(), 1U);  // the machine is gone
}

TEST_F(IntfSMTest, AWatcherMayDropTheMachineInsideTheNotificationThatStartedIt) {
  auto const status = giveStatus(true);
  auto const watcher = Zon::newPtr<ConfigWatcher>("w", events, config);
  watcher->act = [this](std::string const& heard) {
    if (heard == "state") machine = nullptr;
  };
  status->activeIs(false);
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled w:state Ethernet1.reason='inactive' w:reason");
  EXPECT_EQ(status->zonReferences(), 1U);
  EXPECT_EQ(errdisable->zonReferences(), 1U);
}

TEST_F(IntfSMTest, AWatcherMayDropTheMachineInsideADispatchedEvaluation) {
  auto const activity = deferring();
  machine->zonFwkActivityIs(activity);
  auto const watcher = Zon::newPtr<ConfigWatcher>("w", events, config);
  watcher->act = [this](std::string const& heard) {
    if (heard == "state") machine = nullptr;
  };
  config->adminEnabledStateLocalIs(disabled);
  EXPECT_EQ(activity->zonDispatch(), 1U);
  EXPECT_EQ(events.take(), "w:admin Ethernet1.state=disabled w:state Ethernet1.reason='admin' w:reason");
  EXPECT_EQ(errdisable->zonReferences(), 1U);
  EXPECT_EQ(activity->zonPending(), 0U);
}

TEST_F(IntfSMTest, TheReasonIsTheOneFoundAtTheLookUp) {
  errdisable->errdisabledIntfIs("Ethernet1", "first");
  auto const watcher = Zon::newPtr<ConfigWatcher>("w", events, config);
  watcher->act = [this](std::string const& heard) {
    if (heard == "state") errdisable->errdisabledIntfDel("Ethernet1");
  };
  EXPECT_EQ(evaluated(), "Ethernet1.state=disabled w:state Ethernet1.reason='first' w:reason");
}

TEST_F(IntfSMTest, TheReasonAsksTheSwitchAsAWatcherOfTheStateLeftIt) {
  leftState(disabled);
  auto const watcher = Zon::newPtr<ConfigWatcher>("w", events, config);
  auto const defaults = Zon::newPtr<Interface::IntfConfig>("default");
  defaults->adminEnabledStateLocalIs(disabled);
  watcher->act = [&](std::string const& heard) {
    if (heard == "state") config->defaultConfigIs(defaults);
  };
  EXPECT_EQ(evaluated(), "Ethernet1.state=enabled w:state w:default Ethernet1.reason='admin' w:reason");
}

TEST_F(IntfSMTest, AWatcherThatEndsTheConditionLeavesTheOuterReasonBehind) {
  auto const status = giveStatus(true);
  auto const watcher = Zon::newPtr<ConfigWatcher>("w", events, config);
  watcher->act = [&](std::string const& heard) {
    if (heard == "state" && config->enabledStateLocal() == disabled) status->activeIs(true);
  };
  status->activeIs(false);
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled w:state Ethernet1.state=enabled w:state Ethernet1.reason='' "
                           "Ethernet1.reason='inactive' w:reason");
}

TEST_F(IntfSMTest, AThrowingWatcherAtEveryPositionStopsNeitherTheWritesNorTheOthers) {
  for (int thrower = 0; thrower != 3; ++thrower) {
    for (bool const standard : {true, false}) {
      auto const intf = newConfig("Ethernet1");
      auto const sm = newMachine(nullptr, intf);
      std::vector<Ptr<ConfigWatcher>> watchers;
      std::string state;
      std::string reason;
      for (int i = 0; i != 3; ++i) {
        watchers.push_back(Zon::newPtr<ConfigWatcher>(label(static_cast<std::size_t>(i)), events, intf));
        std::string const name = " " + label(static_cast<std::size_t>(i));
        state += name + ":state" + (i == thrower ? name + ":exception(264)" : "");
        reason += name + ":reason" + (i == thrower ? name + ":exception(265)" : "");
      }
      watchers[static_cast<std::size_t>(thrower)]->act = [standard](std::string const&) {
        if (standard) throw std::runtime_error("saboteur");
        throw 7;
      };
      sm->intfStatusIs(newStatus("Ethernet1", false));
      sm->handleStateChange();
      EXPECT_EQ(events.take(), "Ethernet1.state=disabled" + state + " Ethernet1.reason='inactive'" + reason);
    }
  }
}

TEST_F(IntfSMTest, WatchersThatRemoveAndDestroyEachOtherDuringAWriteDoNotDisturbIt) {
  for (std::size_t saboteur = 0; saboteur != 3; ++saboteur) {
    auto const intf = newConfig("Ethernet1");
    auto const sm = newMachine(nullptr, intf);
    std::vector<Ptr<ConfigWatcher>> watchers;
    for (std::size_t i = 0; i != 3; ++i)
      watchers.push_back(Zon::newPtr<ConfigWatcher>(label(i), events, intf));
    watchers[saboteur]->act = [&watchers](std::string const&) { watchers.assign(3, nullptr); };
    sm->intfStatusIs(newStatus("Ethernet1", false));
    sm->handleStateChange();
    // The first is called without the test for dropped ones; whoever comes behind the saboteur is gone.
    std::string heard;
    for (std::size_t i = 0; i <= saboteur; ++i)
      heard += " " + label(i) + ":state";
    EXPECT_EQ(events.take(), "Ethernet1.state=disabled" + heard + " Ethernet1.reason='inactive'");
  }
}

TEST_F(IntfSMTest, AnExceptionOfAWriteIsHandedBackToTheInputAndTheNextChangeEvaluates) {
  config->beforeReason = [] { throw std::runtime_error("saboteur"); };
  config->adminEnabledStateLocalIs(disabled);
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='admin'");
  EXPECT_EQ(config->holds(), "disabled ''");
  config->beforeReason = nullptr;
  config->adminEnabledStateLocalIs(enabled);
  EXPECT_EQ(events.take(), "Ethernet1.state=enabled Ethernet1.reason=''");
}

TEST_F(IntfSMTest, AnExceptionOfAWriteLeavesACallMadeByTheHost) {
  config->beforeReason = [] { throw std::runtime_error("saboteur"); };
  EXPECT_THROW(machine->handleStateChange(), std::runtime_error);
  auto const other = Zon::newPtr<RecordingConfig>("Ethernet1", events, "other");
  other->beforeState = [] { throw std::runtime_error("saboteur"); };
  EXPECT_THROW(machine->intfConfigIs(other), std::runtime_error);
  // The binding stands and is registered.
  other->beforeState = nullptr;
  events.take();
  other->adminEnabledStateLocalIs(disabled);
  EXPECT_EQ(events.take(), "other.state=disabled other.reason='admin'");
}

// ---------------------------------------------------------------------------------------------------------------
// The nested inputs

TEST_F(IntfSMTest, AnInputIsBornBoundRegisteredAndSwitchedLikeItsMachine) {
  auto const activity = deferring();
  machine->zonFwkActivityIs(activity);
  auto const input = machine->newIntfConfig(config);
  EXPECT_EQ(input->notifier(), config);
  EXPECT_TRUE(input->isRegisteredNotifiee());
  EXPECT_TRUE(input->hasNotificationActive());
  EXPECT_EQ(input->zonFwkActivity(), activity);
  EXPECT_EQ(input->activityPtr(), activity);
  EXPECT_EQ(input->actsm(), Zon::zonActivitySmFor(activity));
  EXPECT_EQ(input->zonPendingId(), 0);
  machine->hasNotificationActiveIs(false);
  EXPECT_FALSE(machine->newIntfStatus(newStatus("Ethernet1", true))->hasNotificationActive());
}

TEST_F(IntfSMTest, AnInputAnswersItsOwnAttributeOnceAndHandsOthersOn) {
  auto const check = [this](auto const& input, Zon::AttributeId own, bool statusInactive) {
    std::string const once = statusInactive ? "Ethernet1.state=disabled Ethernet1.reason='inactive'"
                                            : "Ethernet1.state=unset Ethernet1.reason=''";
    for (Zon::AttributeId const id : {own, Zon::AttributeId(-1), Zon::AttributeId(-2)}) {
      input->zonPendingIdIs(id);
      input->handleNotification(nullptr);
      EXPECT_EQ(events.take(), once) << id;
      EXPECT_EQ(input->zonPendingId(), 0);
    }
    for (Zon::AttributeId const id : {0, -3, -100, 258, 264, 265, 260, 1000}) {
      input->zonPendingIdIs(id);
      input->handleNotification(nullptr);
      EXPECT_EQ(events.take(), "") << id;
      EXPECT_EQ(input->zonPendingId(), 0);
    }
  };
  check(machine->newIntfConfig(config), 263, false);
  giveStatus(false);
  check(machine->newIntfStatus(newStatus("Ethernet1", true)), 272, true);
}

TEST_F(IntfSMTest, AnInputWithSeveralOrAllAttributesPendingLetsTheActivityRunOn) {
  auto const activity = deferring();
  machine->zonFwkActivityIs(activity);
  auto const input = machine->newIntfConfig(config);
  auto const neighbour = newConfig("Ethernet2");
  auto const other = newMachine(activity, neighbour);
  for (Zon::AttributeId const id : {-1, -2}) {
    neighbour->adminEnabledStateLocalIs(neighbour->adminEnabledStateLocal() == disabled ? enabled : disabled);
    input->zonPendingIdIs(id);
    input->handleNotification(activity.ptr());
    EXPECT_EQ(activity->zonPending(), 0U);
    std::string const heard = events.take();
    EXPECT_EQ(heard.substr(0, heard.find(" Ethernet2")), "Ethernet1.state=unset Ethernet1.reason=''");
    EXPECT_NE(heard.find("Ethernet2.reason="), std::string::npos);
  }
  neighbour->adminEnabledStateLocalIs(unset);
  input->zonPendingIdIs(263);
  input->handleNotification(activity.ptr());
  EXPECT_EQ(activity->zonPending(), 1U);
}

TEST_F(IntfSMTest, AnInputReboundToSomethingElseCountsItAsNull) {
  auto const input = machine->newIntfStatus(newStatus("Ethernet1", true));
  input->notifierIs(config);
  EXPECT_EQ(input->notifier(), nullptr);
  EXPECT_EQ(events.take(), "");
  EXPECT_TRUE(input->isRegisteredNotifiee());
  input->notifierIs(newStatus("Ethernet1", true));
  EXPECT_EQ(events.take(), "Ethernet1.state=unset Ethernet1.reason=''");
  input->notifierIs(nullptr);
  EXPECT_EQ(input->notifier(), nullptr);
  EXPECT_EQ(events.take(), "");
}

TEST_F(IntfSMTest, AnInputReboundIsRegisteredAtTheEndEvenIfItWasNot) {
  auto const input = machine->newIntfStatus(newStatus("Ethernet1", true));
  input->isRegisteredNotifieeIs(false);
  auto const status = newStatus("Ethernet1", true);
  input->notifierIs(status);
  events.take();
  EXPECT_TRUE(input->isRegisteredNotifiee());
  status->activeIs(false);
  EXPECT_EQ(events.take(), "Ethernet1.state=unset Ethernet1.reason=''");
}

TEST_F(IntfSMTest, AnInputKeptPastItsMachineIsInert) {
  auto const input = machine->newIntfConfig(config);
  machine->intfConfigDel();
  input->intfSMIs(nullptr);
  config->adminEnabledStateLocalIs(disabled);
  input->onAdminEnabledStateLocal();
  input->notifierIs(newConfig("Ethernet2"));
  EXPECT_EQ(events.take(), "");
  input->intfSMIs(machine.ptr());
  machine->intfConfigIs(config);
  input->onAdminEnabledStateLocal();
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='admin'");
}

TEST_F(IntfSMTest, AuditsFindNothing) {
  EXPECT_EQ(machine->auditErrors(0), 0U);
  EXPECT_EQ(machine->zonAuditErrors(0), 0U);
}

#ifndef NDEBUG
// What the caller must supply is checked in debug builds.
using IntfSMDeathTest = IntfSMTest;

TEST_F(IntfSMDeathTest, EvaluatingWithoutConfigurationIsAnErrorOfTheCaller) {
  machine->intfConfigDel();
  EXPECT_DEATH(machine->handleStateChange(), "assertion \"intfConfig\" failed: VaroErrdisableIntf");
}

TEST_F(IntfSMDeathTest, EvaluatingWithoutErrdisableStatusIsAnErrorOfTheCallerUnlessTheStatusIsInactive) {
  auto const bare = IntfSM::IntfSMIs(nullptr, "Ethernet1", nullptr, config);
  EXPECT_DEATH(bare->handleStateChange(), "assertion \"errdisableStatus\" failed: VaroErrdisableIntf");
  bare->intfStatusIs(newStatus("Ethernet1", false));
  bare->handleStateChange();
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='inactive'");
}

TEST_F(IntfSMDeathTest, TracingTheInitializationWithoutConfigurationIsAnErrorOfTheCaller) {
  TraceLines lines("Errdisable", {8});
  EXPECT_DEATH(IntfSM::IntfSMIs(nullptr, "Ethernet9", errdisable, nullptr), "assertion \"intfConfig\" failed");
}
#endif

}  // namespace
