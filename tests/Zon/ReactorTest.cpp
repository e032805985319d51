#include "Zon/Reactor.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/Reinstantiating.h"
#include "support/SampleReactor.h"

namespace {

using Support::Events;
using Support::Reader;
using Support::refusal;
using Support::reinstantiating;
using Zon::newPtr;
using Zon::Ptr;

class ReactorTest : public testing::Test {
 protected:
  Ptr<Reader> makeReader() { return newPtr<Reader>(activity, events, dir, config, statusDir); }
  /// Makes the inputs record their switches and their ends.
  void observe() {
    reader->zonConfigs()->label = "configs";
    reader->zonConfigs()->death = &events;
    reader->zonConfig()->label = "config";
    reader->zonConfig()->death = &events;
    reader->zonStatuses()->label = "statuses";
    reader->zonStatuses()->death = &events;
  }
  Ptr<Reader::Child> child(char const* key) { return reader->childIs(activity, key, dir, config); }

  Events events;
  Support::ActivityPtr activity;
  Support::ConfigDirPtr dir = newPtr<Interface::AllIntfConfigDir>("configs");
  Ptr<Interface::IntfConfig> config = newPtr<Interface::IntfConfig>("single");
  Support::StatusDirPtr statusDir = newPtr<Interface::AllIntfStatusDir>("statuses");
  Ptr<Reader> reader = makeReader();
};

// ---------------------------------------------------------------------------------------------------------------
// The switch

TEST_F(ReactorTest, TheSwitchReachesTheInputsInOrderOfDeclaration) {
  observe();
  reader->hasNotificationActiveIs(true);
  EXPECT_EQ(events.take(), "configs:on config:on statuses:on");
  EXPECT_TRUE(reader->hasNotificationActive());
  reader->hasNotificationActiveIs(false);
  EXPECT_EQ(events.take(), "configs:off config:off statuses:off");
  EXPECT_FALSE(reader->hasNotificationActive());
}

TEST_F(ReactorTest, TheReactorsOwnSwitchIsSetBeforeItsInputsAre) {
  reader->zonConfigs()->onSwitch = [&] { events.add(reader->hasNotificationActive() ? "on" : "off"); };
  reader->hasNotificationActiveIs(true);
  reader->hasNotificationActiveIs(false);
  EXPECT_EQ(events.take(), "on off");
}

TEST_F(ReactorTest, TheSameSwitchDoesNotTouchTheInputs) {
  observe();
  reader->hasNotificationActiveIs(false);
  EXPECT_EQ(events.take(), "");
  reader->hasNotificationActiveIs(true);
  events.take();
  reader->zonConfigs()->hasNotificationActiveIs(false);
  events.take();
  reader->hasNotificationActiveIs(true);
  EXPECT_EQ(events.take(), "");
  EXPECT_FALSE(reader->zonConfigs()->hasNotificationActive());
}

TEST_F(ReactorTest, TheSwitchSkipsInputsThatAreNotThere) {
  observe();
  reader->configDel();
  events.take();
  reader->hasNotificationActiveIs(true);
  EXPECT_EQ(events.take(), "configs:on statuses:on");
}

TEST_F(ReactorTest, TheSwitchReachesTheChildrenAfterTheInputsInIterationOrder) {
  observe();
  child("a");
  child("b");
  child("c");
  reader->hasNotificationActiveIs(true);
  events.take();
  reader->hasNotificationActiveIs(false);
  std::string expected = "configs:off config:off statuses:off";
  for (Reader::Children::Iterator it(reader->children); it; it.advance())
    expected += " " + it->fwkKey().stringValue().stdString() + ":off";
  EXPECT_EQ(events.take(), expected);
}

TEST_F(ReactorTest, WhatAnInputThrowsWhenItIsSwitchedKeepsNothingElseFromIt) {
  observe();
  child("a");
  events.take();
  auto const fail = [] { throw std::runtime_error("not to be switched"); };
  reader->zonConfigs()->onSwitch = fail;
  EXPECT_THROW(reader->hasNotificationActiveIs(true), std::runtime_error);
  EXPECT_EQ(events.take(), "configs:on config:on statuses:on a:on");
  EXPECT_TRUE(reader->hasNotificationActive());
  EXPECT_FALSE(reader->zonConfigs()->hasNotificationActive());
  EXPECT_TRUE(reader->zonStatuses()->hasNotificationActive());
  reader->zonConfigs()->onSwitch = nullptr;
  reader->zonConfigs()->hasNotificationActiveIs(true);
  events.take();

  reader->zonConfigs()->onSwitch = fail;
  EXPECT_THROW(reader->zonDoZombieReactors(true), std::runtime_error);
  EXPECT_EQ(events.take(), "configs:off config:off statuses:off");
  EXPECT_TRUE(reader->zonMarkedForDeletion());
  EXPECT_FALSE(reader->zonConfigs()->zonMarkedForDeletion());
  EXPECT_TRUE(reader->zonStatuses()->zonMarkedForDeletion());
  reader->zonConfigs()->onSwitch = nullptr;
}

TEST_F(ReactorTest, InputsMadeLaterTakeTheirOwnersSwitch) {
  for (bool const active : {false, true}) {
    auto const bare = newPtr<Reader>(activity, events);
    bare->hasNotificationActiveIs(active);
    bare->configsIs(dir);
    bare->configIs(config);
    bare->statusesIs(statusDir);
    EXPECT_EQ(bare->zonConfigs()->hasNotificationActive(), active);
    EXPECT_EQ(bare->zonConfig()->hasNotificationActive(), active);
    EXPECT_EQ(bare->zonStatuses()->hasNotificationActive(), active);
    EXPECT_EQ(bare->newConfigs(dir)->hasNotificationActive(), active);
  }
}

// ---------------------------------------------------------------------------------------------------------------
// The activity

TEST_F(ReactorTest, TheActivityIsAnsweredWithoutInputs) {
  auto const deferring = Support::deferring();
  auto const bare = newPtr<Reader>(deferring, events);
  EXPECT_EQ(bare->zonFwkActivity(), deferring);
  EXPECT_EQ(std::as_const(*bare).zonFwkActivity(), deferring);
  EXPECT_EQ(bare->zonzonFwkActivityConst(), deferring);
  bare->configsIs(dir);
  EXPECT_EQ(bare->zonConfigs()->zonFwkActivity(), deferring);
}

TEST_F(ReactorTest, ANewActivityReachesEveryInput) {
  auto const deferring = Support::deferring();
  reader->zonFwkActivityIs(deferring);
  EXPECT_EQ(reader->zonFwkActivity(), deferring);
  EXPECT_EQ(reader->zonConfigs()->zonFwkActivity(), deferring);
  EXPECT_EQ(reader->zonConfig()->zonFwkActivity(), deferring);
  EXPECT_EQ(reader->zonStatuses()->zonFwkActivity(), deferring);
  reader->zonFwkActivityIs(nullptr);
  EXPECT_EQ(reader->zonFwkActivity(), nullptr);
  EXPECT_EQ(reader->zonConfigs()->actsm(), nullptr);
}

// ---------------------------------------------------------------------------------------------------------------
// The zombie rule

TEST_F(ReactorTest, AZombiesInputsAreSilencedInOrderThenItsOwnBitIsSet) {
  observe();
  reader->hasNotificationActiveIs(true);
  events.take();
  reader->zonDoZombieReactors(true);
  EXPECT_EQ(events.take(), "configs:off config:off statuses:off");
  EXPECT_TRUE(reader->zonMarkedForDeletion());
  EXPECT_TRUE(reader->zonConfigs()->zonMarkedForDeletion());
  EXPECT_TRUE(reader->zonConfig()->zonMarkedForDeletion());
  EXPECT_TRUE(reader->zonStatuses()->zonMarkedForDeletion());
  // Its own switch is another matter.
  EXPECT_TRUE(reader->hasNotificationActive());
}

TEST_F(ReactorTest, ItsInputsAreSilencedBeforeAReactorIsAZombie) {
  reader->hasNotificationActiveIs(true);
  reader->zonConfigs()->onSwitch = [&] { events.add(reader->zonMarkedForDeletion() ? "zombie" : "live"); };
  reader->zonDoZombieReactors(true);
  reader->zonDoZombieReactors(false);
  EXPECT_EQ(events.take(), "live zombie");
}

TEST_F(ReactorTest, TheSameZombieStateDoesNothing) {
  observe();
  reader->zonDoZombieReactors(false);
  EXPECT_EQ(events.take(), "");
  reader->zonDoZombieReactors(true);
  events.take();
  reader->zonDoZombieReactors(true);
  EXPECT_EQ(events.take(), "");
}

TEST_F(ReactorTest, AZombieLeavesItsChildrenAlone) {
  auto const one = child("a");
  reader->zonDoZombieReactors(true);
  EXPECT_FALSE(one->zonMarkedForDeletion());
}

TEST_F(ReactorTest, TheInputsAreHeldDuringTheZombieStep) {
  observe();
  reader->hasNotificationActiveIs(true);
  events.take();
  auto const counted = reader->zonConfigs()->zonReferences();
  reader->zonDoZombieReactors(true);
  EXPECT_EQ(reader->zonConfigs()->zonReferences(), counted);
}

// ---------------------------------------------------------------------------------------------------------------
// Input setters and removers

TEST_F(ReactorTest, AnEqualNotifierDoesNothing) {
  observe();
  auto const input = reader->zonConfigs();
  reader->zonDoZombieReactors(true);
  events.take();
  reader->configsIs(dir);
  EXPECT_EQ(reader->zonConfigs(), input);
  EXPECT_EQ(events.take(), "");
}

TEST_F(ReactorTest, NullOnAnEmptyInputDoesNothing) {
  auto const bare = newPtr<Reader>(activity, events);
  bare->configsIs(nullptr);
  EXPECT_EQ(bare->zonConfigs(), nullptr);
  EXPECT_EQ(bare->configs(), nullptr);
}

TEST_F(ReactorTest, NullDropsTheInputAsAZombieWithoutOwner) {
  observe();
  reader->hasNotificationActiveIs(true);
  auto const input = reader->zonConfigs();
  events.take();
  reader->configsIs(nullptr);
  EXPECT_EQ(events.take(), "configs:off");
  EXPECT_EQ(reader->zonConfigs(), nullptr);
  EXPECT_EQ(reader->configs(), nullptr);
  EXPECT_TRUE(input->zonMarkedForDeletion());
  EXPECT_EQ(input->zonOwner(), nullptr);
}

TEST_F(ReactorTest, ADroppedInputHasLeftItsPlaceBeforeItIsSilenced) {
  reader->hasNotificationActiveIs(true);
  reader->zonConfigs()->onSwitch = [&] { events.add(reader->zonConfigs() ? "in its place" : "gone"); };
  reader->configsIs(nullptr);
  EXPECT_EQ(events.take(), "gone");
}

TEST_F(ReactorTest, NullReleasesTheInput) {
  observe();
  reader->configsIs(nullptr);
  EXPECT_EQ(events.take(), "configs:off ~configs");
  EXPECT_EQ(dir->zonReferences(), 1U);
}

TEST_F(ReactorTest, AnotherNotifierRebindsTheInputAndRescansNothing) {
  auto const next = newPtr<Interface::AllIntfConfigDir>("next");
  next->intfConfigIs(newPtr<Interface::IntfConfig>("e"));
  auto const input = reader->zonConfigs();
  reader->hasNotificationActiveIs(true);
  events.take();
  reader->configsIs(next);
  EXPECT_EQ(reader->zonConfigs(), input);
  EXPECT_EQ(reader->configs(), next);
  EXPECT_EQ(events.take(), "");
  dir->intfConfigIs(newPtr<Interface::IntfConfig>("old"));
  next->intfConfigIs(newPtr<Interface::IntfConfig>("new"));
  EXPECT_EQ(events.take(), "configs(new)");
}

TEST_F(ReactorTest, RebindingGoesThroughTheInputsOwnNotifierIs) {
  reader->hasNotificationActiveIs(true);
  EXPECT_EQ(events.take(), "");
  reader->configIs(newPtr<Interface::IntfConfig>("next"));
  EXPECT_EQ(events.take(), "rebound");
}

TEST_F(ReactorTest, ASetterOnAnEmptyInputMakesOneOnTheReactorsActivity) {
  auto const deferring = Support::deferring();
  auto const bare = newPtr<Reader>(deferring, events);
  bare->configIs(config);
  ASSERT_TRUE(bare->zonConfig());
  EXPECT_EQ(bare->config(), config);
  EXPECT_EQ(bare->zonConfig()->zonFwkActivity(), deferring);
  EXPECT_EQ(bare->zonConfig()->zonOwner(), bare.ptr());
  EXPECT_EQ(events.take(), "");
}

TEST_F(ReactorTest, ARebindingThatThrowsLeavesTheInputRegisteredWithItsNewNotifier) {
  reader->hasNotificationActiveIs(true);
  auto const next = newPtr<Interface::IntfConfig>("next");
  reader->act = [](std::string const&) { throw std::runtime_error("no"); };
  EXPECT_THROW(reader->configIs(next), std::runtime_error);
  events.take();
  reader->act = nullptr;
  EXPECT_EQ(reader->config(), next);
  next->adminEnabledStateLocalIs(Interface::IntfEnabledState::enabled);
  EXPECT_EQ(events.take(), "config");
}

TEST_F(ReactorTest, TheInputTakesTheReactorsZombieState) {
  reader->zonDoZombieReactors(true);
  reader->configsIs(newPtr<Interface::AllIntfConfigDir>("next"));
  EXPECT_TRUE(reader->zonConfigs()->zonMarkedForDeletion());
  auto const bare = newPtr<Reader>(activity, events);
  bare->zonDoZombieReactors(true);
  bare->configsIs(dir);
  EXPECT_TRUE(bare->zonConfigs()->zonMarkedForDeletion());
  EXPECT_FALSE(bare->zonConfigs()->hasNotificationActive());
  // Set on a live reactor it revives an input that was a zombie by itself.
  reader->zonDoZombieReactors(false);
  reader->zonConfigs()->zonDoZombieReactors(true);
  reader->configsIs(dir);
  EXPECT_FALSE(reader->zonConfigs()->zonMarkedForDeletion());
}

TEST_F(ReactorTest, ADroppedInputDoesNotKeepARebindingReactorAlive) {
  reader->act = [&](std::string const&) {
    reader->act = nullptr;
    reader = nullptr;
  };
  reader->hasNotificationActiveIs(true);
  reader->configIs(newPtr<Interface::IntfConfig>("next"));
  EXPECT_EQ(events.take(), "rebound ~reader");
}

TEST_F(ReactorTest, DelReturnsTheNotifierAndSilencesTheInput) {
  observe();
  reader->hasNotificationActiveIs(true);
  auto const input = reader->zonConfig();
  events.take();
  Support::ConfigPtr const removed = reader->configDel();
  EXPECT_EQ(removed, config);
  EXPECT_EQ(reader->zonConfig(), nullptr);
  EXPECT_TRUE(input->zonMarkedForDeletion());
  EXPECT_FALSE(input->hasNotificationActive());
  EXPECT_EQ(input->zonOwner(), nullptr);
  EXPECT_EQ(reader->configDel(), nullptr);
}

TEST_F(ReactorTest, DelAnswersNullForAnInputWithoutNotifier) {
  reader->zonConfigs()->notifierIs(nullptr);
  auto const input = reader->zonConfigs();
  input->hasNotificationActiveIs(true);
  EXPECT_EQ(reader->configsDel(), nullptr);
  EXPECT_EQ(reader->zonConfigs(), nullptr);
  EXPECT_FALSE(input->hasNotificationActive());
}

// ---------------------------------------------------------------------------------------------------------------
// Teardown

TEST_F(ReactorTest, TeardownSilencesTheInputsThenEmptiesTheChildrenThenReleasesInputsLastFirst) {
  observe();
  reader->hasNotificationActiveIs(true);
  child("a");
  events.take();
  reader = nullptr;
  EXPECT_EQ(events.take(), "~reader configs:off config:off statuses:off ~a ~statuses ~config ~configs");
}

TEST_F(ReactorTest, TeardownSilencesAnInputBeforeItCutsItLoose) {
  reader->hasNotificationActiveIs(true);
  auto const input = reader->zonConfigs();
  input->onSwitch = [&] { events.add(input->zonOwner() != nullptr ? "owned" : "loose"); };
  reader = nullptr;
  input->onSwitch = {};
  EXPECT_EQ(events.take(), "~reader owned");
}

TEST_F(ReactorTest, TeardownCutsEveryInputLoose) {
  auto const configs = reader->zonConfigs();
  auto const single = reader->zonConfig();
  auto const statuses = reader->zonStatuses();
  reader = nullptr;
  EXPECT_EQ(configs->zonOwner(), nullptr);
  EXPECT_EQ(single->zonOwner(), nullptr);
  EXPECT_EQ(statuses->zonOwner(), nullptr);
  EXPECT_TRUE(configs->zonMarkedForDeletion());
  EXPECT_TRUE(single->zonMarkedForDeletion());
  EXPECT_TRUE(statuses->zonMarkedForDeletion());
}

TEST_F(ReactorTest, AChildThatSomebodyHoldsOutlivesItsOwnerUntouched) {
  auto const held = child("a");
  events.take();
  reader = nullptr;
  EXPECT_EQ(events.take(), "~reader");
  EXPECT_FALSE(held->zonMarkedForDeletion());
  EXPECT_TRUE(held->hasNotificationActive());
  EXPECT_EQ(held->fwkHmNext(), nullptr);
}

// ---------------------------------------------------------------------------------------------------------------
// Find or create

TEST_F(ReactorTest, AChildIsMadeInsertedThenSwitchedOn) {
  auto const made = child("a");
  ASSERT_TRUE(made);
  EXPECT_EQ(events.take(), "a:on");
  EXPECT_EQ(reader->children.member("a"), made);
  EXPECT_TRUE(made->hasNotificationActive());
}

TEST_F(ReactorTest, EqualParametersReturnTheSameChildAndDoNotSwitchItOnAgain) {
  auto const made = child("a");
  made->hasNotificationActiveIs(false);
  events.take();
  EXPECT_EQ(child("a"), made);
  EXPECT_EQ(events.take(), "");
  EXPECT_FALSE(made->hasNotificationActive());
}

TEST_F(ReactorTest, AFoundChildGetsTheActivityEvenIfItIsRefused) {
  auto const made = child("a");
  auto const deferring = Support::deferring();
  reader->childIs(deferring, "a", dir, config);
  EXPECT_EQ(made->zonFwkActivity(), deferring);
  auto const other = Support::immediate();
  EXPECT_THROW(reader->childIs(other, "a", nullptr, config), Zon::NameInUseException);
  EXPECT_EQ(made->zonFwkActivity(), other);
}

TEST_F(ReactorTest, ADifferentParameterIsRefusedByNameWithBothValues) {
  auto const made = child("a");
  auto const next = newPtr<Interface::AllIntfConfigDir>("next");
  EXPECT_EQ(refusal([&] { reader->childIs(nullptr, "a", next, config); }),
            reinstantiating("dir", Zon::valueToStrep(next), Zon::valueToStrep(dir)));
  EXPECT_EQ(refusal([&] { reader->childIs(nullptr, "a", dir, nullptr); }),
            reinstantiating("single", "null", Zon::valueToStrep(Support::ConfigPtr(config))));
  EXPECT_EQ(reader->children.member("a"), made);
  EXPECT_EQ(made->dir(), dir);
}

TEST_F(ReactorTest, TheFirstDifferingParameterDecides) {
  child("a");
  EXPECT_EQ(refusal([&] { reader->childIs(nullptr, "a", nullptr, nullptr); }),
            reinstantiating("dir", "null", Zon::valueToStrep(dir)));
}

TEST_F(ReactorTest, TwoNullParametersAreEqual) {
  auto const made = reader->childIs(activity, "a", nullptr, nullptr);
  EXPECT_EQ(reader->childIs(activity, "a", nullptr, nullptr), made);
  EXPECT_EQ(refusal([&] { reader->childIs(nullptr, "a", dir, nullptr); }),
            reinstantiating("dir", Zon::valueToStrep(dir), "null"));
}

TEST_F(ReactorTest, AChildThatCameDuringConstructionIsKeptAndTheNewOneDropped) {
  Ptr<Reader::Child> inner;
  reader->actMaking = [&] { inner = child("a"); };
  auto const outer = child("a");
  EXPECT_EQ(outer, inner);
  EXPECT_EQ(reader->children.members(), 1U);
  EXPECT_EQ(events.take(), "a:on ~a");
}

TEST_F(ReactorTest, AChildThatCameDuringConstructionIsComparedToo) {
  reader->actMaking = [&] { reader->childIs(activity, "a", nullptr, config); };
  EXPECT_EQ(refusal([&] { child("a"); }), reinstantiating("dir", Zon::valueToStrep(dir), "null"));
  EXPECT_EQ(reader->children.members(), 1U);
}

TEST_F(ReactorTest, AnotherKeyMadeDuringConstructionDisturbsNothing) {
  reader->actMaking = [&] { child("b"); };
  EXPECT_EQ(child("a")->fwkKey(), Orvet::IntfId("a"));
  EXPECT_EQ(reader->children.members(), 2U);
}

TEST_F(ReactorTest, AConstructionThatThrowsInsertsNothing) {
  reader->actMaking = [] { throw std::runtime_error("no"); };
  EXPECT_THROW(child("a"), std::runtime_error);
  EXPECT_EQ(reader->children.members(), 0U);
  EXPECT_EQ(events.take(), "~a");
}

TEST_F(ReactorTest, WhatARefreshDoesToTheChildStands) {
  auto const old = child("a");
  std::vector<Reader::Child const*> checked;
  int made = 0;
  auto const findOrMake = [&](auto const& refresh) {
    return Zon::findOrMake(
        reader->children, Orvet::IntfId("a"),
        [&](Orvet::IntfId const& key) {
          ++made;
          return newPtr<Reader::Child>(activity, events, key, dir, config);
        },
        refresh, [&](Reader::Child const& found) { checked.push_back(&found); });
  };
  // One that was replaced meanwhile is kept as it is.
  Ptr<Reader::Child> replacement;
  auto const kept = findOrMake([&](Reader::Child&) {
    reader->children.memberDel("a");
    replacement = child("a");
  });
  EXPECT_EQ(kept, replacement);
  EXPECT_EQ(reader->children.member("a"), replacement);
  // One that was removed stays removed.
  EXPECT_EQ(findOrMake([&](Reader::Child&) { reader->children.memberDel("a"); }), replacement);
  EXPECT_EQ(reader->children.members(), 0U);
  EXPECT_EQ(checked, (std::vector<Reader::Child const*>{replacement.ptr(), replacement.ptr()}));
  EXPECT_EQ(made, 0);
}

TEST_F(ReactorTest, TheKeyAskedForMayEndWithTheChildOrDuringTheConstruction) {
  auto const find = [&](Orvet::IntfId const& key, auto const& make, auto const& refresh) {
    return Zon::findOrMake(reader->children, key, make, refresh, [](Reader::Child const&) {})->fwkKey();
  };
  auto* const only = child("only").ptr();
  EXPECT_EQ(find(
                only->fwkKey(), [](Orvet::IntfId const&) { return Ptr<Reader::Child>(); },
                [&](Reader::Child&) { reader->children.memberDel("only"); }),
            Orvet::IntfId("only"));
  auto key = std::make_unique<Orvet::IntfId>("short-lived");
  auto const make = [&](Orvet::IntfId const& wanted) {
    key.reset();
    return newPtr<Reader::Child>(activity, events, wanted, dir, config);
  };
  EXPECT_EQ(find(*key, make, [](Reader::Child&) {}), Orvet::IntfId("short-lived"));
  EXPECT_EQ(reader->children.members(), 1U);
}

TEST_F(ReactorTest, AMakerThatReturnsNullIsARangeException) {
  auto const make = [&] {
    Zon::findOrMake(
        reader->children, Orvet::IntfId("a"), [](Orvet::IntfId const&) { return Ptr<Reader::Child>(); },
        [](Reader::Child&) {}, [](Reader::Child const&) {});
  };
  try {
    make();
    FAIL();
  } catch (Zon::RangeException const& exception) {
    EXPECT_EQ(exception.text(), "null ValidPtr");
  }
}

}  // namespace
