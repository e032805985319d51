#include "VaroErrdisable/AllIntfSM.h"

#include <algorithm>
#include <csignal>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Zon/Exception.h"
#include "Zon/Strep.h"
#include "support/Errdisable.h"
#include "support/Reinstantiating.h"
#include "support/TraceLines.h"

namespace {

using namespace Support;
using VaroErrdisable::AllIntfSM;
using VaroErrdisable::IntfSM;
using Zon::Ptr;

constexpr auto enabled = IntfEnabledState::enabled;
constexpr auto disabled = IntfEnabledState::disabled;

/// Empty directories, wired on no activity.
class AllIntfSMTest : public testing::Test, protected ErrdisableInputs {
 protected:
  Ptr<AllIntfSM> machines = newMachines(nullptr);

  std::string members() const {
    std::string text;
    for (auto it = std::as_const(*machines).intfSMIteratorConst(); it; it.advance()) {
      text += (text.empty() ? "" : " ") + it.key().stringValue().stdString();
    }
    return text;
  }
  std::string sortedMembers() const {
    std::vector<std::string> names;
    for (auto it = std::as_const(*machines).intfSMIteratorConst(); it; it.advance()) {
      names.push_back(it.key().stringValue().stdString());
    }
    std::sort(names.begin(), names.end());
    std::string text;
    for (auto const& name : names)
      text += (text.empty() ? "" : " ") + name;
    return text;
  }
  std::size_t countMembers() const {
    std::size_t count = 0;
    for (auto it = std::as_const(*machines).intfSMIteratorConst(); it; it.advance())
      ++count;
    return count;
  }
  Ptr<AllIntfSM> rewired(Ptr<Zon::ActivityConfig> const& activity) {
    machines = nullptr;
    machines = newMachines(activity);
    events.take();
    return machines;
  }
};

// ---------------------------------------------------------------------------------------------------------------
// Creation

TEST_F(AllIntfSMTest, CreationLeavesItInitializedOnAndEmpty) {
  EXPECT_TRUE(machines->initialized());
  EXPECT_TRUE(machines->hasNotificationActive());
  EXPECT_FALSE(machines->zonMarkedForDeletion());
  EXPECT_EQ(members(), "");
  EXPECT_EQ(events.take(), "");
}

TEST_F(AllIntfSMTest, CreationKeepsItsParameters) {
  auto const activity = deferring();
  auto const other = newMachines(activity);
  EXPECT_EQ(other->zonFwkActivity(), activity);
  EXPECT_EQ(other->intfConfigDir(), configs);
  EXPECT_EQ(other->intfStatusDir(), statuses);
  EXPECT_EQ(other->errdisableStatus(), errdisable);
  EXPECT_EQ(other->zonReferences(), 1U);
}

TEST_F(AllIntfSMTest, CreationWithNullInputsLeavesThemAbsentAndScansNothing) {
  auto const bare = AllIntfSM::AllIntfSMIs(nullptr, nullptr, nullptr, nullptr);
  EXPECT_EQ(bare->intfConfigDir(), nullptr);
  EXPECT_EQ(bare->intfStatusDir(), nullptr);
  EXPECT_EQ(bare->errdisableStatus(), nullptr);
  EXPECT_TRUE(bare->initialized());
  EXPECT_EQ(bare->intfConfigDirDel(), nullptr);
  EXPECT_EQ(bare->intfStatusDirDel(), nullptr);
  EXPECT_EQ(bare->errdisableStatusDel(), nullptr);
}

TEST_F(AllIntfSMTest, CreationScansTheConfigurationsInTheirDirectorysOrder) {
  std::vector<std::string> const names{"Ethernet1", "Ethernet2", "Ethernet3", "Ethernet4", "Ethernet5"};
  machines = nullptr;
  for (auto const& name : names)
    addConfig(name);
  addStatus("Ethernet2", false);
  addStatus("Ethernet9", false);
  errdisable->errdisabledIntfIs("Ethernet3", "loop");
  errdisable->errdisabledIntfIs("Ethernet9", "loop");
  events.take();

  TraceLines lines("Errdisable", {7, 8});
  machines = newMachines(nullptr);

  std::string written;
  std::string traced =
      "8 VaroErrdisableIntf:58 handleInitialized <unknown>: void VaroErrdisable::AllIntfSM::handleInitialized()\n";
  std::string order;
  for (auto it = std::as_const(*configs).intfConfigIteratorConst(); it; it.advance()) {
    std::string const name = it.key().stringValue().stdString();
    bool const hasStatus = name == "Ethernet2";
    std::string const decision = hasStatus             ? "disabled " + name + ".reason='inactive'"
                                 : name == "Ethernet3" ? "disabled " + name + ".reason='loop'"
                                                       : "unset " + name + ".reason=''";
    written += (written.empty() ? "" : " ") + name + ".state=" + decision;
    order += (order.empty() ? "" : " ") + name;
    traced +=
        "7 VaroErrdisableIntf:69 handleIntf <unknown>: void VaroErrdisable::AllIntfSM::handleIntf(Orvet::IntfId)" +
        name + "\n8 VaroErrdisableIntf:11 handleInitialized <unknown>: void " +
        "VaroErrdisable::IntfSM::handleInitialized()" + name +
        "\n7 VaroErrdisableIntf:21 handleStateChange <unknown>: void " + "VaroErrdisable::IntfSM::handleStateChange()" +
        name + ": adminEnabled=unset enabledStateLocal=unset" + " intfStatus=" + (hasStatus ? "Valid" : "None") +
        " active=0\n";
  }
  EXPECT_EQ(events.take(), written);
  EXPECT_EQ(lines.take(), traced);
  EXPECT_EQ(members(), order);
}

TEST_F(AllIntfSMTest, DuringTheFirstScanItIsInitializedButHearsNothing) {
  machines = nullptr;
  auto const config = addConfig("Ethernet1");
  config->beforeState = [this, &config] {
    config->beforeState = nullptr;
    addConfig("Ethernet0");
    addStatus("Ethernet1", false);
    errdisable->errdisabledIntfIs("Ethernet1", "loop");
  };
  TraceLines lines("Errdisable", {7});
  machines = newMachines(nullptr);
  // Whether the walk meets the new one, after this one, is a matter of its hash.
  std::string const written = events.take();
  EXPECT_TRUE(written.starts_with("Ethernet1.state=unset Ethernet1.reason=''")) << written;
  EXPECT_EQ(written.find("Ethernet1", written.find("reason")), std::string::npos) << written;
  std::string const traced = lines.take();
  std::string const scanned = "::handleIntf(Orvet::IntfId)Ethernet1\n";
  EXPECT_NE(traced.find(scanned), std::string::npos) << traced;
  EXPECT_EQ(traced.find(scanned), traced.rfind(scanned)) << traced;
  EXPECT_EQ(traced.find("handleErrdisable"), std::string::npos) << traced;
}

// ---------------------------------------------------------------------------------------------------------------
// Configurations and statuses come and go

TEST_F(AllIntfSMTest, AnAddedConfigurationMakesAMemberThatEvaluatesAtOnce) {
  auto const config = addConfig("Ethernet1");
  EXPECT_EQ(events.take(), "Ethernet1.state=unset Ethernet1.reason=''");
  auto const member = machines->intfSM("Ethernet1");
  ASSERT_NE(member, nullptr);
  EXPECT_EQ(std::as_const(*machines).intfSM("Ethernet1"), member);
  EXPECT_EQ(member->intfConfig(), config);
  EXPECT_EQ(member->errdisableStatus(), errdisable);
  EXPECT_EQ(member->intfStatus(), nullptr);
  EXPECT_TRUE(member->hasNotificationActive());
  EXPECT_EQ(member->zonReferences(), 2U);  // ours and the collection's
}

TEST_F(AllIntfSMTest, ARemovedConfigurationDeletesItsMemberAndIsNotWritten) {
  auto const config = addConfig("Ethernet1");
  events.take();
  configs->intfConfigDel("Ethernet1");
  EXPECT_EQ(events.take(), "");
  EXPECT_EQ(machines->intfSM("Ethernet1"), nullptr);
  EXPECT_EQ(config->zonReferences(), 1U);
  EXPECT_EQ(errdisable->zonReferences(), 2U);  // ours and the input's
  config->adminEnabledStateLocalIs(disabled);
  EXPECT_EQ(events.take(), "");
}

TEST_F(AllIntfSMTest, ARemovedConfigurationsMemberThatSomebodyHoldsGoesOnWorking) {
  auto const config = addConfig("Ethernet1");
  auto const member = machines->intfSM("Ethernet1");
  configs->intfConfigDel("Ethernet1");
  EXPECT_FALSE(member->zonMarkedForDeletion());
  EXPECT_TRUE(member->hasNotificationActive());
  events.take();
  config->adminEnabledStateLocalIs(disabled);
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='admin'");
}

TEST_F(AllIntfSMTest, AStatusAloneMakesNoMember) {
  addStatus("Ethernet1", false);
  EXPECT_EQ(members(), "");
}

TEST_F(AllIntfSMTest, AStatusThatWasThereFirstIsGivenToTheMember) {
  auto const status = addStatus("Ethernet1", false);
  addConfig("Ethernet1");
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='inactive'");
  EXPECT_EQ(machines->intfSM("Ethernet1")->intfStatus(), status);
}

TEST_F(AllIntfSMTest, AnAddedStatusIsGivenToTheMemberAndEvaluatedOnce) {
  addConfig("Ethernet1");
  events.take();
  auto const status = addStatus("Ethernet1", false);
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='inactive'");
  status->activeIs(true);
  EXPECT_EQ(events.take(), "Ethernet1.state=enabled Ethernet1.reason=''");
}

TEST_F(AllIntfSMTest, AReplacedStatusIsEvaluatedByTheBindingAndByTheHandler) {
  addConfig("Ethernet1");
  addStatus("Ethernet1", true);
  events.take();
  addStatus("Ethernet1", false);
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='inactive' "
                           "Ethernet1.state=disabled Ethernet1.reason='inactive'");
}

TEST_F(AllIntfSMTest, ARemovedStatusClearsTheMembersInputAndIsEvaluatedOnce) {
  addConfig("Ethernet1");
  auto const status = addStatus("Ethernet1", false);
  events.take();
  statuses->intfStatusDel("Ethernet1");
  EXPECT_EQ(events.take(), "Ethernet1.state=enabled Ethernet1.reason=''");
  EXPECT_EQ(machines->intfSM("Ethernet1")->intfStatus(), nullptr);
  status->activeIs(true);
  EXPECT_EQ(events.take(), "");
}

TEST_F(AllIntfSMTest, ANotificationWithoutChangeEvaluatesTheSameMemberAgain) {
  addConfig("Ethernet1");
  auto const member = machines->intfSM("Ethernet1");
  events.take();
  configs->intfConfigNotify("Ethernet1");
  EXPECT_EQ(events.take(), "Ethernet1.state=unset Ethernet1.reason=''");
  statuses->intfStatusNotify("Ethernet1");
  EXPECT_EQ(events.take(), "Ethernet1.state=unset Ethernet1.reason=''");
  EXPECT_EQ(machines->intfSM("Ethernet1"), member);
  configs->intfConfigNotify("Ethernet9");
  EXPECT_EQ(events.take(), "");
}

TEST_F(AllIntfSMTest, RemovingTheWholeCollectionDeletesEveryMember) {
  for (int i = 0; i != 20; ++i)
    addConfig("Ethernet" + std::to_string(i));
  configs->intfConfigDelAll();
  EXPECT_EQ(members(), "");
}

TEST_F(AllIntfSMTest, WholeCollectionNotificationsAreNotRescanned) {
  addConfig("Ethernet1");
  errdisable->errdisabledIntfIs("Ethernet1", "loop");
  events.take();
  configs->intfConfigNotify();
  statuses->intfStatusNotify();
  errdisable->errdisabledIntfNotify();
  EXPECT_EQ(events.take(), "");
}

// ---------------------------------------------------------------------------------------------------------------
// Errdisable entries

TEST_F(AllIntfSMTest, AnErrdisableEntryThatComesChangesAndGoesEvaluatesTheMember) {
  addConfig("Ethernet1");
  events.take();
  errdisable->errdisabledIntfIs("Ethernet1", "loop");
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='loop'");
  errdisable->errdisabledIntfIs("Ethernet1", "storm");
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='storm'");
  errdisable->errdisabledIntfIs("Ethernet1", "storm");
  EXPECT_EQ(events.take(), "");
  errdisable->errdisabledIntfDel("Ethernet1");
  EXPECT_EQ(events.take(), "Ethernet1.state=enabled Ethernet1.reason=''");
}

TEST_F(AllIntfSMTest, AnErrdisableEntryWithoutConfigurationIsIgnored) {
  addStatus("Ethernet1", true);
  errdisable->errdisabledIntfIs("Ethernet1", "loop");
  errdisable->errdisabledIntfDel("Ethernet1");
  EXPECT_EQ(members(), "");
  EXPECT_EQ(events.take(), "");
}

TEST_F(AllIntfSMTest, AnErrdisableEntryThatWasThereFirstCountsWhenTheConfigurationComes) {
  errdisable->errdisabledIntfIs("Ethernet1", "loop");
  addConfig("Ethernet1");
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='loop'");
}

TEST_F(AllIntfSMTest, MembersFollowTheirOwnConfigurationAndStatus) {
  auto const config = addConfig("Ethernet1");
  addConfig("Ethernet2");
  auto const status = addStatus("Ethernet1", true);
  events.take();
  config->adminEnabledStateLocalIs(disabled);
  status->activeIs(false);
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='admin' "
                           "Ethernet1.state=disabled Ethernet1.reason='inactive'");
}

using AllIntfSMDeathTest = AllIntfSMTest;

TEST_F(AllIntfSMDeathTest, AnErrdisableEventOfAConfiguredInterfaceWithoutMemberStopsTheProcess) {
  addConfig("Ethernet1");
  machines->intfSMDel("Ethernet1");
  EXPECT_DEATH(errdisable->errdisabledIntfIs("Ethernet1", "loop"),
               testing::HasSubstr("assertion \"intfSm\" failed: VaroErrdisableIntf:99: "
                                  "void VaroErrdisable::AllIntfSM::handleErrdisable(Orvet::IntfId)"));
  EXPECT_EXIT(machines->handleErrdisable("Ethernet1"), testing::KilledBySignal(SIGABRT), "intfSm");
}

#ifndef NDEBUG
TEST_F(AllIntfSMDeathTest, HandlersWithoutTheirDirectoriesAreAnErrorOfTheCaller) {
  auto const bare = AllIntfSM::AllIntfSMIs(nullptr, nullptr, statuses, errdisable);
  EXPECT_DEATH(bare->handleIntf("Ethernet1"), "assertion \"intfConfigDir\" failed: VaroErrdisableIntf");
  EXPECT_DEATH(bare->handleErrdisable("Ethernet1"), "assertion \"intfConfigDir\" failed: VaroErrdisableIntf");
  auto const blind = AllIntfSM::AllIntfSMIs(nullptr, configs, nullptr, errdisable);
  EXPECT_DEATH(addConfig("Ethernet1"), "assertion \"intfStatusDir\" failed: VaroErrdisableIntf");
  blind->hasNotificationActiveIs(false);
}

TEST_F(AllIntfSMDeathTest, AMissingErrdisableStatusIsPassedOnAndMissedByTheEvaluation) {
  machines = nullptr;
  auto const bare = AllIntfSM::AllIntfSMIs(nullptr, configs, statuses, nullptr);
  addStatus("Ethernet1", false);
  addConfig("Ethernet1");
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='inactive'");
  EXPECT_EQ(bare->intfSM("Ethernet1")->errdisableStatus(), nullptr);
  EXPECT_DEATH(addConfig("Ethernet2"), "assertion \"errdisableStatus\" failed: VaroErrdisableIntf");
}
#endif

// ---------------------------------------------------------------------------------------------------------------
// Initialization

TEST_F(AllIntfSMTest, BeforeInitializationHandlersTraceAndDoNothingElse) {
  addConfig("Ethernet1");
  machines->intfSMDelAll();
  machines->initializedIs(false);
  EXPECT_FALSE(machines->initialized());
  events.take();
  TraceLines lines("Errdisable", {7, 8});
  machines->handleIntf("Ethernet1");
  machines->handleErrdisable("Ethernet1");
  EXPECT_EQ(lines.take(), "7 VaroErrdisableIntf:69 handleIntf <unknown>: "
                          "void VaroErrdisable::AllIntfSM::handleIntf(Orvet::IntfId)Ethernet1\n"
                          "7 VaroErrdisableIntf:88 handleErrdisable <unknown>: "
                          "void VaroErrdisable::AllIntfSM::handleErrdisable(Orvet::IntfId)Ethernet1\n");
  EXPECT_EQ(events.take(), "");
  EXPECT_EQ(members(), "");
}

TEST_F(AllIntfSMTest, BeforeInitializationMissingDirectoriesAreNotLookedAt) {
  auto const bare = AllIntfSM::AllIntfSMIs(nullptr, nullptr, nullptr, nullptr);
  bare->initializedIs(false);
  bare->handleIntf("Ethernet1");
  bare->handleErrdisable("Ethernet1");
  bare->handleInitialized();
  EXPECT_TRUE(bare->initialized());
}

TEST_F(AllIntfSMTest, InitializingAgainEvaluatesEveryInterfaceAndKeepsTheMembers) {
  addConfig("Ethernet1");
  auto const member = machines->intfSM("Ethernet1");
  events.take();
  machines->initializedIs(false);
  machines->handleInitialized();
  EXPECT_EQ(events.take(), "Ethernet1.state=unset Ethernet1.reason=''");
  EXPECT_EQ(machines->intfSM("Ethernet1"), member);
}

TEST_F(AllIntfSMTest, InitializingDoesNotRemoveMembersOfVanishedConfigurations) {
  addConfig("Ethernet1");
  machines->hasNotificationActiveIs(false);
  configs->intfConfigDel("Ethernet1");
  machines->hasNotificationActiveIs(true);
  machines->handleInitialized();
  EXPECT_EQ(members(), "Ethernet1");
  machines->handleIntf("Ethernet1");
  EXPECT_EQ(members(), "");
}

// ---------------------------------------------------------------------------------------------------------------
// The collection

TEST_F(AllIntfSMTest, MakingAMemberAgainReturnsTheSameOneAndGivesItTheActivity) {
  auto const config = newConfig("Ethernet1");
  auto const first = machines->intfSMIs(nullptr, "Ethernet1", errdisable, config);
  EXPECT_EQ(first->zonFwkActivity(), nullptr);
  auto const activity = deferring();
  EXPECT_EQ(machines->intfSMIs(activity, "Ethernet1", errdisable, config), first);
  EXPECT_EQ(first->zonFwkActivity(), activity);
  EXPECT_EQ(events.take(), "");
  EXPECT_EQ(members(), "Ethernet1");
}

TEST_F(AllIntfSMTest, MakingAMemberAgainDoesNotSwitchItOn) {
  auto const config = newConfig("Ethernet1");
  auto const member = machines->intfSMIs(nullptr, "Ethernet1", errdisable, config);
  member->hasNotificationActiveIs(false);
  machines->intfSMIs(nullptr, "Ethernet1", errdisable, config);
  EXPECT_FALSE(member->hasNotificationActive());
}

TEST_F(AllIntfSMTest, AHandledInterfacesMemberLosesAnActivityThatSomebodyGaveIt) {
  addConfig("Ethernet1");
  auto const member = machines->intfSM("Ethernet1");
  member->zonFwkActivityIs(deferring());
  machines->handleIntf("Ethernet1");
  EXPECT_EQ(member->zonFwkActivity(), nullptr);
}

TEST_F(AllIntfSMTest, MakingAMemberAgainWithOtherParametersIsRefusedErrdisableStatusFirst) {
  auto const config = newConfig("Ethernet1");
  auto const member = machines->intfSMIs(nullptr, "Ethernet1", errdisable, config);
  Ptr<Errdisable::Status> const otherStatus = Zon::newPtr<Errdisable::Status>("other");
  Ptr<Interface::IntfConfig> const otherConfig = newConfig("Ethernet1");
  auto const activity = deferring();
  auto const attempt = [&](Ptr<Errdisable::Status> const& status, Ptr<Interface::IntfConfig> const& intf) {
    try {
      machines->intfSMIs(activity, "Ethernet1", status, intf);
    } catch (Zon::NameInUseException const& e) {
      return e.text().stdString();
    }
    return std::string("accepted");
  };
  EXPECT_EQ(attempt(otherStatus, config), reinstantiating("errdisableStatus", Zon::valueToStrep(otherStatus),
                                                          Zon::valueToStrep(Ptr<Errdisable::Status>(errdisable))));
  EXPECT_EQ(attempt(errdisable, otherConfig), reinstantiating("intfConfig", Zon::valueToStrep(otherConfig),
                                                              Zon::valueToStrep(Ptr<Interface::IntfConfig>(config))));
  EXPECT_EQ(attempt(otherStatus, otherConfig), attempt(otherStatus, config));
  EXPECT_EQ(attempt(nullptr, config)
                .find("Reinstantiating the pointer interface where constructor parameter attribute "
                      "_errdisableStatus has a different value of "),
            0U);
  // The member stays as it was, but for the activity, which it got before it was compared.
  EXPECT_EQ(machines->intfSM("Ethernet1"), member);
  EXPECT_EQ(member->intfConfig(), config);
  EXPECT_EQ(member->errdisableStatus(), errdisable);
  EXPECT_EQ(member->zonFwkActivity(), activity);
}

TEST_F(AllIntfSMTest, AMemberWhoseConfigurationInputIsGoneComparesAsNull) {
  auto const config = newConfig("Ethernet1");
  auto const member = machines->intfSMIs(nullptr, "Ethernet1", errdisable, config);
  member->intfConfigDel();
  EXPECT_THROW(machines->intfSMIs(nullptr, "Ethernet1", errdisable, config), Zon::NameInUseException);
  EXPECT_EQ(machines->intfSMIs(nullptr, "Ethernet1", errdisable, nullptr), member);
}

TEST_F(AllIntfSMTest, ANewMemberIsOnInsertedAndNotEvaluated) {
  auto const member = machines->newIntfSM(nullptr, "Ethernet1", errdisable, newConfig("Ethernet1"));
  EXPECT_TRUE(member->hasNotificationActive());
  EXPECT_EQ(machines->intfSM("Ethernet1"), member);
  EXPECT_EQ(events.take(), "");
}

TEST_F(AllIntfSMTest, DeletingAMemberReturnsItWorkingAndAnUnknownOneIsNull) {
  auto const config = addConfig("Ethernet1");
  auto const held = machines->intfSM("Ethernet1");
  events.take();
  EXPECT_EQ(machines->intfSMDel("Ethernet9"), nullptr);
  EXPECT_EQ(members(), "Ethernet1");
  EXPECT_EQ(machines->intfSMDel("Ethernet1"), held);
  EXPECT_EQ(machines->intfSMDel("Ethernet1"), nullptr);
  EXPECT_TRUE(held->hasNotificationActive());
  EXPECT_FALSE(held->zonMarkedForDeletion());
  config->adminEnabledStateLocalIs(disabled);
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='admin'");
}

TEST_F(AllIntfSMTest, DeletingAtAnIteratorGoesOnWithTheNextMember) {
  for (int i = 0; i != 10; ++i)
    addConfig("Ethernet" + std::to_string(i));
  std::string kept;
  bool odd = false;
  for (auto it = machines->intfSMIterator(); it; it.advance(), odd = !odd) {
    if (odd) {
      EXPECT_EQ(machines->intfSMDel(it), it.ptr());
    } else {
      kept += (kept.empty() ? "" : " ") + it.key().stringValue().stdString();
    }
  }
  EXPECT_EQ(members(), kept);
  auto end = machines->intfSMIterator();
  while (end)
    end.advance();
  EXPECT_EQ(machines->intfSMDel(end), nullptr);
}

TEST_F(AllIntfSMTest, DeletingAllMembersEmptiesTheCollection) {
  for (int i = 0; i != 10; ++i)
    addConfig("Ethernet" + std::to_string(i));
  machines->intfSMDelAll();
  EXPECT_EQ(members(), "");
  EXPECT_EQ(errdisable->zonReferences(), 2U);
  machines->intfSMDelAll();
  machines->intfSMNotify("Ethernet1");
}

// ---------------------------------------------------------------------------------------------------------------
// Switch and zombies

TEST_F(AllIntfSMTest, SwitchedOffItsInputsAndEveryMemberAreSilentAndKeepTheirState) {
  auto const config = addConfig("Ethernet1");
  auto const status = addStatus("Ethernet1", true);
  machines->hasNotificationActiveIs(false);
  events.take();
  EXPECT_FALSE(machines->intfSM("Ethernet1")->hasNotificationActive());
  addConfig("Ethernet2");
  errdisable->errdisabledIntfIs("Ethernet1", "loop");
  status->activeIs(false);
  config->adminEnabledStateLocalIs(disabled);
  statuses->intfStatusDel("Ethernet1");
  EXPECT_EQ(events.take(), "");
  EXPECT_EQ(members(), "Ethernet1");
  machines->hasNotificationActiveIs(true);
  EXPECT_EQ(events.take(), "");
  EXPECT_TRUE(machines->intfSM("Ethernet1")->hasNotificationActive());
  status->activeIs(true);
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='loop'");
}

TEST_F(AllIntfSMTest, AnEqualSwitchReachesNobody) {
  addConfig("Ethernet1");
  machines->intfSM("Ethernet1")->hasNotificationActiveIs(false);
  machines->hasNotificationActiveIs(true);
  EXPECT_FALSE(machines->intfSM("Ethernet1")->hasNotificationActive());
  machines->hasNotificationActiveIs(false);
  machines->intfSM("Ethernet1")->hasNotificationActiveIs(true);
  machines->hasNotificationActiveIs(false);
  EXPECT_TRUE(machines->intfSM("Ethernet1")->hasNotificationActive());
}

TEST_F(AllIntfSMTest, HandlersCalledDirectlyWorkWhileItIsOffOrAZombie) {
  machines->hasNotificationActiveIs(false);
  addConfig("Ethernet1");
  machines->handleIntf("Ethernet1");
  EXPECT_EQ(events.take(), "Ethernet1.state=unset Ethernet1.reason=''");
  machines->zonDoZombieReactors(true);
  errdisable->errdisabledIntfIs("Ethernet1", "loop");
  EXPECT_EQ(events.take(), "");
  machines->handleErrdisable("Ethernet1");
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='loop'");
}

TEST_F(AllIntfSMTest, AMemberMadeWhileItIsOffIsOnNevertheless) {
  machines->hasNotificationActiveIs(false);
  auto const config = addConfig("Ethernet1");
  machines->handleIntf("Ethernet1");
  events.take();
  EXPECT_TRUE(machines->intfSM("Ethernet1")->hasNotificationActive());
  config->adminEnabledStateLocalIs(disabled);
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='admin'");
}

TEST_F(AllIntfSMTest, AsAZombieItsInputsAreSilentWhileItsMembersGoOn) {
  auto const config = addConfig("Ethernet1");
  machines->zonDoZombieReactors(true);
  events.take();
  EXPECT_TRUE(machines->zonMarkedForDeletion());
  EXPECT_FALSE(machines->intfSM("Ethernet1")->zonMarkedForDeletion());
  addConfig("Ethernet2");
  errdisable->errdisabledIntfIs("Ethernet1", "loop");
  addStatus("Ethernet1", false);
  EXPECT_EQ(events.take(), "");
  EXPECT_EQ(members(), "Ethernet1");
  config->adminEnabledStateLocalIs(enabled);
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='loop'");
  machines->zonDoZombieReactors(false);
  EXPECT_FALSE(machines->zonMarkedForDeletion());
  errdisable->errdisabledIntfDel("Ethernet1");
  EXPECT_EQ(events.take(), "Ethernet1.state=enabled Ethernet1.reason=''");
}

// ---------------------------------------------------------------------------------------------------------------
// Activities

TEST_F(AllIntfSMTest, OnAnImmediateActivityNothingIsDeferred) {
  auto const activity = immediate();
  rewired(activity);
  addConfig("Ethernet1");
  addConfig("Ethernet2");
  errdisable->errdisabledIntfIs("Ethernet1", "loop");
  errdisable->errdisabledIntfIs("Ethernet2", "loop");
  EXPECT_EQ(events.take(), "Ethernet1.state=unset Ethernet1.reason='' Ethernet2.state=unset Ethernet2.reason='' "
                           "Ethernet1.state=disabled Ethernet1.reason='loop' "
                           "Ethernet2.state=disabled Ethernet2.reason='loop'");
  EXPECT_EQ(activity->zonPending(), 0U);
}

TEST_F(AllIntfSMTest, OnADeferringActivityASingleKeyedChangeIsHandledAtTheDispatch) {
  auto const activity = deferring();
  rewired(activity);
  addConfig("Ethernet1");
  EXPECT_EQ(events.take(), "");
  EXPECT_EQ(activity->zonPending(), 1U);
  EXPECT_EQ(activity->zonDispatch(), 1U);
  EXPECT_EQ(events.take(), "Ethernet1.state=unset Ethernet1.reason=''");
  EXPECT_EQ(activity->zonDispatch(), 0U);
}

TEST_F(AllIntfSMTest, TwoKeyedChangesBetweenDispatchesCauseNoWork) {
  auto const activity = deferring();
  rewired(activity);
  addConfig("Ethernet1");
  addConfig("Ethernet2");
  EXPECT_EQ(activity->zonDispatch(), 1U);
  EXPECT_EQ(events.take(), "");
  EXPECT_EQ(members(), "");
  // Two of one key alike; the next single one is heard again.
  statuses->intfStatusIs(newStatus("Ethernet1", true));
  statuses->intfStatusDel("Ethernet1");
  EXPECT_EQ(activity->zonDispatch(), 1U);
  EXPECT_EQ(members(), "");
  configs->intfConfigNotify("Ethernet1");
  EXPECT_EQ(activity->zonDispatch(), 1U);
  EXPECT_EQ(members(), "Ethernet1");
}

TEST_F(AllIntfSMTest, MembersHearTheirOwnChangesAtOnceThoughTheMachineDefers) {
  auto const activity = deferring();
  rewired(activity);
  auto const config = addConfig("Ethernet1");
  activity->zonDispatch();
  EXPECT_EQ(machines->intfSM("Ethernet1")->zonFwkActivity(), nullptr);
  events.take();
  config->adminEnabledStateLocalIs(disabled);
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='admin'");
}

TEST_F(AllIntfSMTest, DeferredInputsAreServedInOrderOfTheirFirstChangeAndReadPresentState) {
  auto const activity = deferring();
  rewired(activity);
  // The status comes first and finds the configuration, which has its own turn after it.
  addStatus("Ethernet1", false);
  addConfig("Ethernet1");
  EXPECT_EQ(activity->zonDispatch(), 2U);
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='inactive' "
                           "Ethernet1.state=disabled Ethernet1.reason='inactive'");
  EXPECT_EQ(activity->zonPending(), 0U);
  // Interfaces of their own tell whose turn it is.
  addConfig("Ethernet2");
  statuses->intfStatusNotify("Ethernet1");
  EXPECT_EQ(activity->zonDispatch(), 2U);
  EXPECT_EQ(events.take(), "Ethernet2.state=unset Ethernet2.reason='' "
                           "Ethernet1.state=disabled Ethernet1.reason='inactive'");
  errdisable->errdisabledIntfIs("Ethernet2", "loop");
  statuses->intfStatusNotify("Ethernet1");
  addConfig("Ethernet3");
  EXPECT_EQ(activity->zonDispatch(), 3U);
  EXPECT_EQ(events.take(), "Ethernet2.state=disabled Ethernet2.reason='loop' "
                           "Ethernet1.state=disabled Ethernet1.reason='inactive' "
                           "Ethernet3.state=unset Ethernet3.reason=''");
}

TEST_F(AllIntfSMTest, AnotherActivityMovesTheInputsAndLeavesTheMembersAlone) {
  addConfig("Ethernet1");
  auto const activity = deferring();
  machines->zonFwkActivityIs(activity);
  EXPECT_EQ(machines->zonFwkActivity(), activity);
  EXPECT_EQ(machines->intfSM("Ethernet1")->zonFwkActivity(), nullptr);
  events.take();
  errdisable->errdisabledIntfIs("Ethernet1", "loop");
  EXPECT_EQ(events.take(), "");
  auto const second = deferring();
  machines->zonFwkActivityIs(second);
  EXPECT_EQ(activity->zonPending(), 0U);
  EXPECT_EQ(second->zonDispatch(), 1U);
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='loop'");
}

TEST_F(AllIntfSMTest, PendingWorkRunsInTheOrderOfTheInputsWhenTheActivityBecomesNull) {
  auto const activity = deferring();
  rewired(activity);
  addConfig("Ethernet1");
  activity->zonDispatch();
  events.take();
  errdisable->errdisabledIntfIs("Ethernet1", "loop");
  addStatus("Ethernet1", true);
  addConfig("Ethernet2");
  TraceLines lines("Errdisable", {7});
  machines->zonFwkActivityIs(nullptr);
  EXPECT_EQ(events.take(), "Ethernet2.state=unset Ethernet2.reason='' "
                           "Ethernet1.state=disabled Ethernet1.reason='loop' "
                           "Ethernet1.state=disabled Ethernet1.reason='loop'");
  std::string const text = lines.take();
  EXPECT_LT(text.find(":69 handleIntf <unknown>: void VaroErrdisable::AllIntfSM::handleIntf(Orvet::IntfId)Ethernet2"),
            text.find(":69 handleIntf <unknown>: void VaroErrdisable::AllIntfSM::handleIntf(Orvet::IntfId)Ethernet1"));
  EXPECT_LT(text.find(":69 handleIntf <unknown>: void VaroErrdisable::AllIntfSM::handleIntf(Orvet::IntfId)Ethernet1"),
            text.find(":88 handleErrdisable "));
}

// ---------------------------------------------------------------------------------------------------------------
// Inputs

TEST_F(AllIntfSMTest, AnotherDirectoryIsHeardWithoutARescan) {
  addConfig("Ethernet1");
  events.take();
  auto const other = Zon::newPtr<Interface::AllIntfConfigDir>("other");
  other->intfConfigIs(newConfig("Ethernet2"));
  machines->intfConfigDirIs(other);
  EXPECT_EQ(machines->intfConfigDir(), other);
  EXPECT_EQ(members(), "Ethernet1");
  EXPECT_EQ(events.take(), "");
  addConfig("Ethernet4");
  other->intfConfigIs(newConfig("Ethernet3"));
  EXPECT_EQ(events.take(), "Ethernet3.state=unset Ethernet3.reason=''");
  EXPECT_EQ(sortedMembers(), "Ethernet1 Ethernet3");
}

TEST_F(AllIntfSMTest, AnotherStatusDirectoryIsReadFromThenOn) {
  addConfig("Ethernet1");
  auto const other = Zon::newPtr<Interface::AllIntfStatusDir>("other");
  machines->intfStatusDirIs(other);
  events.take();
  addStatus("Ethernet1", false);
  EXPECT_EQ(events.take(), "");
  other->intfStatusIs(newStatus("Ethernet1", false));
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='inactive'");
}

TEST_F(AllIntfSMTest, ARemovedInputIsSilentAndItsDirectoryIsReturned) {
  EXPECT_EQ(machines->intfStatusDirDel(), statuses);
  EXPECT_EQ(machines->errdisableStatusDel(), errdisable);
  EXPECT_EQ(machines->intfConfigDirDel(), configs);
  EXPECT_EQ(configs->zonReferences(), 1U);
  EXPECT_EQ(statuses->zonReferences(), 1U);
  EXPECT_EQ(errdisable->zonReferences(), 1U);
  addConfig("Ethernet1");
  errdisable->errdisabledIntfIs("Ethernet1", "loop");
  EXPECT_EQ(events.take(), "");
}

TEST_F(AllIntfSMTest, ANullInputRemovesItAndOneMadeLaterTakesTheSwitchAndTheActivity) {
  auto const activity = deferring();
  machines->zonFwkActivityIs(activity);
  machines->intfConfigDirIs(nullptr);
  EXPECT_EQ(machines->intfConfigDir(), nullptr);
  machines->intfConfigDirIs(configs);
  addConfig("Ethernet1");
  EXPECT_EQ(activity->zonPending(), 1U);
  machines->intfConfigDirIs(nullptr);
  EXPECT_EQ(activity->zonPending(), 0U);
  machines->hasNotificationActiveIs(false);
  machines->intfConfigDirIs(configs);
  addConfig("Ethernet2");
  EXPECT_EQ(activity->zonPending(), 0U);
}

TEST_F(AllIntfSMTest, AnotherErrdisableStatusLocksEveryMember) {
  auto const config = addConfig("Ethernet1");
  auto const other = Zon::newPtr<Errdisable::Status>("other");
  machines->errdisableStatusIs(other);
  EXPECT_THROW(machines->handleIntf("Ethernet1"), Zon::NameInUseException);
  // Its own changes still reach it.
  events.take();
  config->adminEnabledStateLocalIs(disabled);
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled Ethernet1.reason='admin'");
}

TEST_F(AllIntfSMTest, ItsInputsKeepKeyCountAndIdOfWhatIsPending) {
  auto const activity = deferring();
  machines->zonFwkActivityIs(activity);
  auto const input = machines->newErrdisableStatus(errdisable);
  EXPECT_EQ(input->zonPendingKey(), Orvet::IntfId());
  EXPECT_EQ(input->zonPendingCount(), 0U);
  EXPECT_EQ(input->zonPendingId(), 0);
  errdisable->errdisabledIntfIs("Ethernet1", "loop");
  EXPECT_EQ(input->zonPendingKey(), Orvet::IntfId("Ethernet1"));
  EXPECT_EQ(input->zonPendingCount(), 1U);
  EXPECT_EQ(input->zonPendingId(), 258);
  errdisable->errdisabledIntfIs("Ethernet2", "loop");
  EXPECT_EQ(input->zonPendingKey(), Orvet::IntfId("Ethernet2"));
  EXPECT_EQ(input->zonPendingCount(), 2U);
  activity->zonDispatch();
  EXPECT_EQ(input->zonPendingKey(), Orvet::IntfId("Ethernet2"));
  EXPECT_EQ(input->zonPendingCount(), 0U);
  EXPECT_EQ(input->zonPendingId(), 0);
}

TEST_F(AllIntfSMTest, AnInputWhoseOwnerIsGoneIsInert) {
  auto const input = machines->newIntfConfigDir(configs);
  auto const statusInput = machines->newIntfStatusDir(statuses);
  auto const errdisableInput = machines->newErrdisableStatus(errdisable);
  input->allIntfSMIs(nullptr);
  statusInput->allIntfSMIs(nullptr);
  errdisableInput->allIntfSMIs(nullptr);
  EXPECT_EQ(statusInput->zonOwner(), nullptr);
  machines = nullptr;
  addConfig("Ethernet1");
  input->onIntfConfig("Ethernet1");
  statusInput->onIntfStatus("Ethernet1");
  errdisableInput->onErrdisabledIntf("Ethernet1");
  EXPECT_EQ(events.take(), "");
  EXPECT_EQ(input->zonPendingKey(), Orvet::IntfId("Ethernet1"));
}

// ---------------------------------------------------------------------------------------------------------------
// Callbacks

TEST_F(AllIntfSMTest, ThePathOfOneEventIsWatchedInItsOrder) {
  auto const config = newConfig("Ethernet1");
  auto const watcher = Zon::newPtr<ConfigWatcher>("w", events, config);
  config->adminEnabledStateLocalIs(disabled);
  events.take();
  configs->intfConfigIs(config);
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled w:state Ethernet1.reason='admin' w:reason");
}

TEST_F(AllIntfSMTest, AReplacedConfigurationIsContainedByTheDirectorysDelivery) {
  auto const old = addConfig("Ethernet1");
  auto const later = Zon::newPtr<ConfigDirWatcher>("w", events, configs);
  TraceLines lines("Zon", {1});
  auto const replacement = Zon::newPtr<RecordingConfig>("Ethernet1", events, "new");
  events.take();
  configs->intfConfigIs(replacement);
  EXPECT_EQ(events.take(), "w:key(Ethernet1)");
  EXPECT_EQ(machines->intfSM("Ethernet1")->intfConfig(), old);
  EXPECT_NE(lines.take().find("attribute 258: VaroErrdisable::AllIntfSM::ZonIntfConfigDir: Reinstantiating the pointer "
                              "interface where constructor parameter attribute _intfConfig has a different value of "),
            std::string::npos);
}

TEST_F(AllIntfSMTest, AWatcherMayRemoveTheConfigurationInTheMiddleOfItsHandling) {
  auto const config = newConfig("Ethernet1");
  auto const watcher = Zon::newPtr<ConfigWatcher>("w", events, config);
  addStatus("Ethernet1", false);
  watcher->act = [this](std::string const& heard) {
    if (heard == "state") configs->intfConfigDel("Ethernet1");
  };
  configs->intfConfigIs(config);
  EXPECT_EQ(events.take(), "Ethernet1.state=disabled w:state Ethernet1.reason='inactive' w:reason");
  EXPECT_EQ(members(), "");
  EXPECT_EQ(config->zonReferences(), 2U);  // ours and the watcher's
}

TEST_F(AllIntfSMTest, AWatcherMayAddInterfacesInTheMiddleOfAScanAndEachIsServed) {
  for (int i = 0; i != 8; ++i)
    addConfig("Ethernet" + std::to_string(i));
  auto const first = configs->intfConfigIterator().ptr();
  auto const watcher = Zon::newPtr<ConfigWatcher>("w", events, first);
  watcher->act = [this](std::string const& heard) {
    if (heard != "state") return;
    for (int i = 8; i != 40; ++i)
      addConfig("Ethernet" + std::to_string(i));
  };
  // Told by the evaluation of the scan, not by the member's own input.
  machines->hasNotificationActiveIs(false);
  first->adminEnabledStateLocalIs(disabled);
  machines->hasNotificationActiveIs(true);
  EXPECT_EQ(countMembers(), 8U);
  machines->handleInitialized();
  EXPECT_EQ(countMembers(), 40U);
}

TEST_F(AllIntfSMTest, AWatcherMayRemoveInterfacesInTheMiddleOfAScanAtEveryPosition) {
  for (int position = 0; position != 6; ++position) {
    machines = nullptr;
    configs->intfConfigDelAll();
    for (int i = 0; i != 6; ++i)
      addConfig("Ethernet" + std::to_string(i));
    machines = newMachines(nullptr);
    auto at = configs->intfConfigIterator();
    for (int i = 0; i != position; ++i)
      at.advance();
    Orvet::IntfId const saboteur = at.key();
    auto const config = Ptr<Interface::IntfConfig>(at.ptr());
    auto const watcher = Zon::newPtr<ConfigWatcher>("w", events, config);
    watcher->act = [this](std::string const& heard) {
      if (heard == "state") configs->intfConfigDelAll();
    };
    // Told by the evaluation of the scan, not by the member's own input.
    machines->hasNotificationActiveIs(false);
    config->adminEnabledStateLocalIs(disabled);
    machines->hasNotificationActiveIs(true);
    events.take();
    machines->handleInitialized();
    std::string const heard = events.take();
    EXPECT_EQ(members(), "") << saboteur.stringValue().stdString();
    EXPECT_EQ(static_cast<int>(std::count(heard.begin(), heard.end(), '=')), 2 * (position + 1));
  }
}

}  // namespace
