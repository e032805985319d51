#include "VaroIntf/AllIntfReactor.h"

#include <algorithm>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/Errdisable.h"
#include "support/Intf.h"
#include "support/Sabotage.h"

namespace {

using namespace Support;
using VaroIntf::AllIntfReactor;
using Zon::Ptr;

class AllIntfReactorTest : public testing::Test {
 protected:
  Events events;
  Ptr<ConfigDir> configIn = Zon::newPtr<ConfigDir>("in");
  Ptr<StatusDir> statusIn = Zon::newPtr<StatusDir>("in");
  Ptr<RecordingConfigDir> configOut = Zon::newPtr<RecordingConfigDir>("c", events);
  Ptr<RecordingStatusDir> statusOut = Zon::newPtr<RecordingStatusDir>("s", events);

  Ptr<AllIntfReactor> made(Ptr<Zon::ActivityConfig> const& activity = nullptr) {
    auto const reactor = Zon::newPtr<AllIntfReactor>(activity, configOut, statusOut, configIn, statusIn);
    reactor->hasNotificationActiveIs(true);
    return reactor;
  }
  Ptr<Interface::IntfConfig> addConfig(char const* id) {
    auto const config = newConfig(id);
    configIn->intfConfigIs(config);
    return config;
  }
  Ptr<Interface::IntfStatus> addStatus(char const* id) {
    auto const status = newStatus(id);
    statusIn->intfStatusIs(status);
    return status;
  }
};

TEST_F(AllIntfReactorTest, ConstructionMakesTheOutputsEqualToTheInputs) {
  auto const one = addConfig("Ethernet1");
  auto const two = addConfig("Ethernet2");
  configOut->ConfigDir::intfConfigIs(newConfig("Ethernet2"));
  configOut->ConfigDir::intfConfigIs(newConfig("Ethernet3"));
  auto const status = addStatus("Ethernet4");
  statusOut->StatusDir::intfStatusIs(newStatus("Ethernet5"));
  auto const order = walkOf(*configIn);
  auto const reactor = made();
  // First everything that is there, then what is not: config before status.
  EXPECT_EQ(events.take(), prefixed("c+", order) + " c-Ethernet3 s+Ethernet4 s-Ethernet5");
  EXPECT_EQ(contents(*configOut), contents(*configIn));
  EXPECT_EQ(configOut->intfConfig("Ethernet1"), one);
  EXPECT_EQ(configOut->intfConfig("Ethernet2"), two);
  EXPECT_EQ(contents(*statusOut), contents(*statusIn));
  EXPECT_EQ(statusOut->intfStatus("Ethernet4"), status);
}

TEST_F(AllIntfReactorTest, EntriesThatAreThereAlreadyAreSetAgainAndNeverRemoved) {
  auto const one = addConfig("Ethernet1");
  configOut->ConfigDir::intfConfigIs(one);
  auto const watcher = Zon::newPtr<ConfigDirWatcher>("w", events, configOut);
  auto const reactor = made();
  EXPECT_EQ(events.take(), "c+Ethernet1");
}

TEST_F(AllIntfReactorTest, AddedReplacedAndRemovedEntriesAreMirroredAtOnceOnAnyActivity) {
  for (auto const& activity : {Ptr<Zon::ActivityConfig>(), immediate(), deferring()}) {
    auto const reactor = made(activity);
    events.take();
    auto const one = addConfig("Ethernet1");
    EXPECT_EQ(events.take(), "c+Ethernet1");
    EXPECT_EQ(configOut->intfConfig("Ethernet1"), one);
    auto const another = addConfig("Ethernet1");
    EXPECT_EQ(events.take(), "c+Ethernet1");
    EXPECT_EQ(configOut->intfConfig("Ethernet1"), another);
    configIn->intfConfigDel("Ethernet1");
    EXPECT_EQ(events.take(), "c-Ethernet1");
    EXPECT_EQ(idsOf(*configOut), "");
    addStatus("Ethernet1");
    addStatus("Ethernet1");
    statusIn->intfStatusDel("Ethernet1");
    EXPECT_EQ(events.take(), "s+Ethernet1 s+Ethernet1 s-Ethernet1");
    EXPECT_EQ(idsOf(*statusOut), "");
    if (activity) {
      EXPECT_EQ(activity->zonPending(), 0U);
    }
  }
}

TEST_F(AllIntfReactorTest, ABurstBetweenDispatchesLosesNothing) {
  auto const activity = deferring();
  auto const reactor = made(activity);
  for (char const* id : {"Ethernet1", "Ethernet2", "Ethernet3"})
    addConfig(id);
  configIn->intfConfigDel("Ethernet2");
  EXPECT_EQ(activity->zonPending(), 0U);
  EXPECT_EQ(contents(*configOut), contents(*configIn));
}

TEST_F(AllIntfReactorTest, TheWholeInputRemovedEmptiesTheOutput) {
  addConfig("Ethernet1");
  addConfig("Ethernet2");
  addStatus("Ethernet1");
  auto const reactor = made();
  configIn->intfConfigDelAll();
  EXPECT_EQ(idsOf(*configOut), "");
  EXPECT_EQ(idsOf(*statusOut), "Ethernet1");
}

TEST_F(AllIntfReactorTest, ANotificationWithoutChangeSetsTheEntryAgain) {
  addConfig("Ethernet1");
  auto const reactor = made();
  events.take();
  configIn->intfConfigNotify("Ethernet1");
  configIn->intfConfigNotify("Ethernet9");
  statusIn->intfStatusNotify("Ethernet9");
  EXPECT_EQ(events.take(), "c+Ethernet1 c-Ethernet9 s-Ethernet9");
}

TEST_F(AllIntfReactorTest, TheImmediateNotificationMirrorsTheWholeHalfOnce) {
  for (auto const& activity : {Ptr<Zon::ActivityConfig>(), immediate(), deferring()}) {
    addConfig("Ethernet1");
    addStatus("Ethernet1");
    auto const reactor = made(activity);
    configOut->ConfigDir::intfConfigDelAll();
    configOut->ConfigDir::intfConfigIs(newConfig("Ethernet7"));
    events.take();
    configIn->intfConfigNotify();
    EXPECT_EQ(events.take(), "c+Ethernet1 c-Ethernet7");
    statusIn->intfStatusNotify();
    EXPECT_EQ(events.take(), "s+Ethernet1");
    if (activity) {
      EXPECT_EQ(activity->zonDispatch(), 0U);
    }
    EXPECT_EQ(events.take(), "");
  }
}

TEST_F(AllIntfReactorTest, WithoutOneOutputTheOtherHalfStillWorks) {
  addConfig("Ethernet1");
  addStatus("Ethernet1");
  {
    auto const reactor = Zon::newPtr<AllIntfReactor>(nullptr, nullptr, statusOut, configIn, statusIn);
    addConfig("Ethernet2");
    configIn->intfConfigNotify();
    addStatus("Ethernet2");
    EXPECT_EQ(idsOf(*configOut), "");
    EXPECT_EQ(contents(*statusOut), contents(*statusIn));
    EXPECT_EQ(reactor->configOut(), nullptr);
    EXPECT_EQ(reactor->configIn(), configIn);
    reactor->configInIs(Zon::newPtr<ConfigDir>("other"));
    EXPECT_EQ(reactor->configIn()->name(), "other");
  }
  events.take();
  auto const reactor = Zon::newPtr<AllIntfReactor>(nullptr, configOut, nullptr, configIn, statusIn);
  addStatus("Ethernet3");
  EXPECT_EQ(events.take(), prefixed("c+", walkOf(*configIn)));
}

TEST_F(AllIntfReactorTest, WithoutInputsItTouchesNothing) {
  configOut->ConfigDir::intfConfigIs(newConfig("Ethernet1"));
  auto const reactor = Zon::newPtr<AllIntfReactor>(nullptr, configOut, statusOut, nullptr, nullptr);
  reactor->hasNotificationActiveIs(true);
  reactor->zonFwkActivityIs(immediate());
  reactor->zonDoZombieReactors(true);
  EXPECT_EQ(events.take(), "");
  EXPECT_EQ(idsOf(*configOut), "Ethernet1");
  EXPECT_EQ(reactor->configIn(), nullptr);
  EXPECT_EQ(reactor->statusIn(), nullptr);
  EXPECT_EQ(reactor->configInDel(), nullptr);
  EXPECT_EQ(reactor->statusInDel(), nullptr);
}

TEST_F(AllIntfReactorTest, WithNothingAtAll) {
  auto const reactor = Zon::newPtr<AllIntfReactor>(nullptr, nullptr, nullptr, nullptr, nullptr);
  EXPECT_EQ(reactor->zonFwkActivity(), nullptr);
  EXPECT_EQ(reactor->zonReferences(), 1U);
}

TEST_F(AllIntfReactorTest, AnotherInputIsMirroredAndWhatOnlyTheOldOneHadVanishes) {
  addConfig("Ethernet1");
  addConfig("Ethernet2");
  auto const reactor = made();
  auto const other = Zon::newPtr<ConfigDir>("other");
  auto const two = newConfig("Ethernet2");
  other->intfConfigIs(two);
  events.take();
  reactor->configInIs(other);
  EXPECT_EQ(events.take(), "c+Ethernet2 c-Ethernet1");
  EXPECT_EQ(configOut->intfConfig("Ethernet2"), two);
  EXPECT_EQ(reactor->configIn(), other);
  // The old input is no longer heard, the new one is.
  addConfig("Ethernet3");
  EXPECT_EQ(events.take(), "");
  other->intfConfigIs(newConfig("Ethernet4"));
  EXPECT_EQ(events.take(), "c+Ethernet4");
  EXPECT_EQ(configIn->zonReferences(), 1U);
}

TEST_F(AllIntfReactorTest, AnotherStatusInputLikewise) {
  addStatus("Ethernet1");
  auto const reactor = made();
  auto const other = Zon::newPtr<StatusDir>("other");
  other->intfStatusIs(newStatus("Ethernet2"));
  events.take();
  reactor->statusInIs(other);
  EXPECT_EQ(events.take(), "s+Ethernet2 s-Ethernet1");
  statusIn->intfStatusIs(newStatus("Ethernet3"));
  other->intfStatusDel("Ethernet2");
  EXPECT_EQ(events.take(), "s-Ethernet2");
}

TEST_F(AllIntfReactorTest, TheSameInputAgainDoesNothing) {
  addConfig("Ethernet1");
  auto const reactor = made();
  configOut->ConfigDir::intfConfigDelAll();
  events.take();
  reactor->configInIs(configIn);
  reactor->statusInIs(statusIn);
  EXPECT_EQ(events.take(), "");
}

TEST_F(AllIntfReactorTest, DroppedInputsLeaveTheOutputsAsTheyWere) {
  addConfig("Ethernet1");
  addStatus("Ethernet1");
  auto const reactor = made();
  events.take();
  reactor->configInIs(nullptr);
  EXPECT_EQ(reactor->statusInDel(), statusIn);
  EXPECT_EQ(reactor->configIn(), nullptr);
  EXPECT_EQ(reactor->statusIn(), nullptr);
  EXPECT_EQ(reactor->configInDel(), nullptr);
  addConfig("Ethernet2");
  addStatus("Ethernet2");
  configIn->intfConfigNotify();
  EXPECT_EQ(events.take(), "");
  EXPECT_EQ(idsOf(*configOut), "Ethernet1");
  EXPECT_EQ(idsOf(*statusOut), "Ethernet1");
  EXPECT_EQ(configIn->zonReferences(), 1U);
  EXPECT_EQ(statusIn->zonReferences(), 1U);
}

TEST_F(AllIntfReactorTest, AnInputSetOnAnEmptySlotMirrorsNothingUntilItChanges) {
  addConfig("Ethernet1");
  auto const reactor = made();
  reactor->configInDel();
  configOut->ConfigDir::intfConfigDelAll();
  events.take();
  reactor->configInIs(configIn);
  EXPECT_EQ(events.take(), "");
  EXPECT_EQ(reactor->configIn(), configIn);
  addConfig("Ethernet2");
  EXPECT_EQ(events.take(), "c+Ethernet2");
  configIn->intfConfigNotify();
  EXPECT_EQ(contents(*configOut), contents(*configIn));
}

TEST_F(AllIntfReactorTest, AMirrorListensFromTheStartWhateverItsReactorsSwitch) {
  auto const reactor = Zon::newPtr<AllIntfReactor>(nullptr, configOut, statusOut, configIn, statusIn);
  EXPECT_FALSE(reactor->hasNotificationActive());
  addConfig("Ethernet1");
  EXPECT_EQ(events.take(), "c+Ethernet1");
}

TEST_F(AllIntfReactorTest, InputsSetOnAReactorThatIsOffListenAllTheSame) {
  auto const reactor = Zon::newPtr<AllIntfReactor>(nullptr, configOut, statusOut, nullptr, nullptr);
  reactor->configInIs(configIn);
  reactor->statusInIs(statusIn);
  EXPECT_FALSE(reactor->hasNotificationActive());
  addConfig("Ethernet1");
  addStatus("Ethernet2");
  EXPECT_EQ(events.take(), "c+Ethernet1 s+Ethernet2");
  EXPECT_TRUE(reactor->newConfigIn(configIn)->hasNotificationActive());
  EXPECT_TRUE(reactor->newStatusIn(statusIn)->hasNotificationActive());
}

TEST_F(AllIntfReactorTest, TheSwitchReachesBothWatchersAndNothingIsReplayed) {
  auto const reactor = made();
  reactor->hasNotificationActiveIs(true);
  reactor->hasNotificationActiveIs(false);
  addConfig("Ethernet1");
  addStatus("Ethernet1");
  configIn->intfConfigNotify();
  statusIn->intfStatusNotify();
  EXPECT_EQ(events.take(), "");
  reactor->hasNotificationActiveIs(true);
  EXPECT_EQ(events.take(), "");
  addConfig("Ethernet2");
  addStatus("Ethernet2");
  EXPECT_EQ(events.take(), "c+Ethernet2 s+Ethernet2");
  configIn->intfConfigNotify();
  statusIn->intfStatusNotify();
  EXPECT_EQ(contents(*configOut), contents(*configIn));
  EXPECT_EQ(contents(*statusOut), contents(*statusIn));
}

TEST_F(AllIntfReactorTest, AZombieHearsNothingAndARevivedOneHearsAgain) {
  auto const reactor = made();
  reactor->zonDoZombieReactors(true);
  EXPECT_TRUE(reactor->zonMarkedForDeletion());
  addConfig("Ethernet1");
  addStatus("Ethernet1");
  EXPECT_EQ(events.take(), "");
  reactor->zonDoZombieReactors(true);
  reactor->zonDoZombieReactors(false);
  addConfig("Ethernet2");
  addStatus("Ethernet2");
  EXPECT_EQ(events.take(), "c+Ethernet2 s+Ethernet2");
}

TEST_F(AllIntfReactorTest, AnInputGivenToAZombieIsAZombieToo) {
  auto const reactor = made();
  reactor->zonDoZombieReactors(true);
  auto const other = Zon::newPtr<ConfigDir>("other");
  reactor->configInIs(other);
  other->intfConfigIs(newConfig("Ethernet1"));
  EXPECT_EQ(events.take(), "");
  reactor->statusInDel();
  reactor->statusInIs(statusIn);
  addStatus("Ethernet1");
  EXPECT_EQ(events.take(), "");
}

TEST_F(AllIntfReactorTest, TheActivityIsRefreshedOnBothWatchers) {
  auto const first = deferring();
  auto const second = immediate();
  auto const reactor = made(first);
  EXPECT_EQ(reactor->zonFwkActivity(), first);
  EXPECT_GT(first->zonReferences(), 1U);
  reactor->zonFwkActivityIs(second);
  EXPECT_EQ(reactor->zonFwkActivity(), second);
  EXPECT_EQ(first->zonReferences(), 1U);
  reactor->zonFwkActivityIs(nullptr);
  EXPECT_EQ(second->zonReferences(), 1U);
  addConfig("Ethernet1");
  EXPECT_EQ(events.take(), "c+Ethernet1");
}

TEST_F(AllIntfReactorTest, TwoReactorsOnOneInputAndAChainOfThem) {
  auto const reactor = made();
  auto const far = Zon::newPtr<RecordingConfigDir>("far", events);
  auto const next = Zon::newPtr<AllIntfReactor>(nullptr, far, nullptr, configOut, nullptr);
  auto const one = addConfig("Ethernet1");
  EXPECT_EQ(events.take(), "c+Ethernet1 far+Ethernet1");
  configIn->intfConfigDel("Ethernet1");
  EXPECT_EQ(events.take(), "c-Ethernet1 far-Ethernet1");
}

TEST_F(AllIntfReactorTest, AMirrorOntoItsOwnInputEnds) {
  addConfig("Ethernet1");
  addConfig("Ethernet2");
  auto const reactor = Zon::newPtr<AllIntfReactor>(nullptr, configIn, statusIn, configIn, statusIn);
  addConfig("Ethernet3");
  configIn->intfConfigDel("Ethernet1");
  configIn->intfConfigNotify();
  addStatus("Ethernet1");
  EXPECT_EQ(idsOf(*configIn), "Ethernet2 Ethernet3");
  EXPECT_EQ(idsOf(*statusIn), "Ethernet1");
}

TEST_F(AllIntfReactorTest, TwoMirrorsOppositeToEachOtherSettle) {
  auto const there = Zon::newPtr<AllIntfReactor>(nullptr, configOut, nullptr, configIn, nullptr);
  auto const back = Zon::newPtr<AllIntfReactor>(nullptr, configIn, nullptr, configOut, nullptr);
  addConfig("Ethernet1");
  configOut->ConfigDir::intfConfigIs(newConfig("Ethernet2"));
  EXPECT_EQ(idsOf(*configIn), "Ethernet1 Ethernet2");
  EXPECT_EQ(contents(*configOut), contents(*configIn));
  configOut->ConfigDir::intfConfigDel("Ethernet1");
  EXPECT_EQ(idsOf(*configIn), "Ethernet2");
}

TEST_F(AllIntfReactorTest, EntriesStayInTheOutputsWhenTheReactorDies) {
  addConfig("Ethernet1");
  addStatus("Ethernet1");
  made();
  EXPECT_EQ(idsOf(*configOut), "Ethernet1");
  EXPECT_EQ(idsOf(*statusOut), "Ethernet1");
  events.take();
  addConfig("Ethernet2");
  EXPECT_EQ(events.take(), "");
  EXPECT_EQ(configIn->zonReferences(), 1U);
  EXPECT_EQ(statusOut->zonReferences(), 1U);
}

TEST_F(AllIntfReactorTest, DestructionReleasesStatusInputConfigInputStatusOutputConfigOutputActivity) {
  auto reactor = Zon::newPtr<AllIntfReactor>(Zon::newPtr<Mourned<Zon::ActivityConfig>>(events, "activity"),
                                             Zon::newPtr<Mourned<ConfigDir>>(events, "configOut", "o"),
                                             Zon::newPtr<Mourned<StatusDir>>(events, "statusOut", "o"),
                                             Zon::newPtr<Mourned<ConfigDir>>(events, "configIn", "i"),
                                             Zon::newPtr<Mourned<StatusDir>>(events, "statusIn", "i"));
  reactor = nullptr;
  EXPECT_EQ(events.take(), "~statusIn ~configIn ~statusOut ~configOut ~activity");
}

TEST_F(AllIntfReactorTest, AMirrorBuiltDirectlyIsInertOnceItIsCutLoose) {
  auto reactor = made();
  auto const extra = reactor->newConfigIn(configIn);
  addConfig("Ethernet1");
  EXPECT_EQ(events.take(), "c+Ethernet1 c+Ethernet1");
  extra->allIntfReactorIs(nullptr);
  reactor = nullptr;
  addConfig("Ethernet2");
  configIn->intfConfigNotify();
  EXPECT_EQ(events.take(), "");
  extra->notifierIs(Zon::newPtr<ConfigDir>("other"));
  EXPECT_EQ(events.take(), "");
  EXPECT_TRUE(extra->isRegisteredNotifiee());
}

TEST_F(AllIntfReactorTest, AMirrorBoundToAnotherTypeHasNoInput) {
  auto const reactor = made();
  auto const extra = reactor->newConfigIn(configIn);
  extra->notifierIs(statusIn);
  EXPECT_EQ(extra->notifier(), nullptr);
  EXPECT_TRUE(extra->isRegisteredNotifiee());
  extra->onIntfConfig("Ethernet1");
  extra->onIntfConfigzonImmediate();
  EXPECT_EQ(events.take(), "");
}

TEST_F(AllIntfReactorTest, CallbacksCalledDirectlyWorkWhileSwitchedOff) {
  auto const reactor = made();
  auto const extra = reactor->newConfigIn(configIn);
  reactor->hasNotificationActiveIs(false);
  extra->hasNotificationActiveIs(false);
  addConfig("Ethernet1");
  EXPECT_EQ(events.take(), "");
  extra->onIntfConfig("Ethernet1");
  extra->onIntfConfigzonImmediate();
  EXPECT_EQ(events.take(), "c+Ethernet1 c+Ethernet1");
}

TEST_F(AllIntfReactorTest, TheUnkeyedCallbackDoesNothing) {
  auto const reactor = made();
  configIn->intfConfigIs(newConfig("Ethernet1"));
  events.take();
  auto const extra = reactor->newConfigIn(configIn);
  extra->onIntfConfig();
  extra->handleNotification(nullptr);
  EXPECT_EQ(events.take(), "");
}

TEST_F(AllIntfReactorTest, WhatAnOutputThrowsIsContainedByTheInputsDeliveryAndLeavesConstruction) {
  auto const reactor = made();
  auto const later = Zon::newPtr<ConfigDirWatcher>("later", events, configIn);
  configOut->before = [](std::string const&) { throw std::runtime_error("full"); };
  addConfig("Ethernet1");
  EXPECT_EQ(events.take(), "c+Ethernet1 later:key(Ethernet1)");
  EXPECT_EQ(idsOf(*configOut), "");
  EXPECT_THROW(made(), std::runtime_error);
  configOut->ConfigDir::intfConfigIs(newConfig("Ethernet2"));
  EXPECT_THROW(reactor->configInIs(Zon::newPtr<ConfigDir>("empty")), std::runtime_error);
}

TEST_F(AllIntfReactorTest, AnExceptionWhileMirroringAnotherInputLeavesNothingDeaf) {
  auto const reactor = made();
  auto const other = Zon::newPtr<ConfigDir>("other");
  other->intfConfigIs(newConfig("Ethernet1"));
  configOut->before = [](std::string const&) { throw std::runtime_error("full"); };
  EXPECT_THROW(reactor->configInIs(other), std::runtime_error);
  configOut->before = {};
  EXPECT_EQ(reactor->configIn(), other);
  events.take();
  other->intfConfigIs(newConfig("Ethernet2"));
  EXPECT_EQ(events.take(), "c+Ethernet2");
  addConfig("Ethernet3");
  EXPECT_EQ(events.take(), "");
}

// ---------------------------------------------------------------------------------------------------------------
// Re-entrancy: a watcher of the output acts at every step of a mirroring.

/// What a saboteur finds and may drop.
struct Mirror {
  Events events;
  Ptr<ConfigDir> in = Zon::newPtr<ConfigDir>("in");
  Ptr<ConfigDir> other = Zon::newPtr<ConfigDir>("other");
  Ptr<ConfigDir> out = Zon::newPtr<ConfigDir>("out");
  Ptr<AllIntfReactor> reactor;
  /// Where the entries now come from; null when nothing is promised about the output any more.
  Ptr<ConfigDir> truth;

  static std::vector<std::string> ids() { return {"Ethernet1", "Ethernet2", "Ethernet3", "Ethernet4", "Ethernet5"}; }

  Mirror() {
    for (auto const& id : ids())
      in->intfConfigIs(newConfig(id.c_str()));
    for (char const* id : {"Ethernet2", "Ethernet6"})
      other->intfConfigIs(newConfig(id));
    for (char const* id : {"Ethernet1", "Ethernet7", "Ethernet8", "Ethernet9"})
      out->intfConfigIs(newConfig(id));
    truth = in;
  }
};

std::string after(Mirror& world, std::string const& key) {
  auto const walk = walkOf(*world.in);
  auto const at = std::find(walk.begin(), walk.end(), key);
  return at == walk.end() || at + 1 == walk.end() ? key : *(at + 1);
}

Sabotage<Mirror> const sabotages[] = {
    {"Nothing", [](Mirror&, std::string const&) {}},
    {"RemoveSelf", [](Mirror& world, std::string const& key) { world.in->intfConfigDel(key); }},
    {"RemoveNext", [](Mirror& world, std::string const& key) { world.in->intfConfigDel(after(world, key)); }},
    {"RemoveAll", [](Mirror& world, std::string const&) { world.in->intfConfigDelAll(); }},
    {"ReplaceSelf", [](Mirror& world, std::string const& key) { world.in->intfConfigIs(newConfig(key.c_str())); }},
    {"RemoveAndAddAgain",
     [](Mirror& world, std::string const& key) {
       auto const config = world.in->intfConfigDel(key);
       world.in->intfConfigIs(config ? config : newConfig(key.c_str()));
     }},
    {"AddMany",
     [](Mirror& world, std::string const&) {
       for (int i = 100; i != 200; ++i)
         world.in->intfConfigIs(newConfig(("Ethernet" + std::to_string(i)).c_str()));
     }},
    {"RemoveFromTheOutput",
     [](Mirror& world, std::string const& key) {
       world.out->intfConfigDel(key);
       world.truth = nullptr;
     }},
    {"ClearTheOutput",
     [](Mirror& world, std::string const&) {
       world.out->intfConfigDelAll();
       world.truth = nullptr;
     }},
    {"ReplaceTheInput",
     [](Mirror& world, std::string const&) {
       if (world.reactor) world.truth = world.other;
       if (world.reactor) world.reactor->configInIs(world.other);
     }},
    {"ReplaceTheInputAndComeBack",
     [](Mirror& world, std::string const&) {
       if (world.reactor) world.truth = world.in;
       if (world.reactor) world.reactor->configInIs(world.other);
       if (world.reactor) world.reactor->configInIs(world.in);
     }},
    {"DropTheInput",
     [](Mirror& world, std::string const&) {
       if (world.reactor) world.reactor->configInDel();
       if (world.reactor) world.truth = nullptr;
     }},
    {"DropTheInputByItsSetter",
     [](Mirror& world, std::string const&) {
       if (world.reactor) world.reactor->configInIs(nullptr);
       if (world.reactor) world.truth = nullptr;
     }},
    {"DropTheReactor",
     [](Mirror& world, std::string const&) {
       if (world.reactor) world.truth = nullptr;
       world.reactor = nullptr;
     }},
    {"DropTheReactorAndTheDirectories",
     [](Mirror& world, std::string const&) {
       world.truth = nullptr;
       world.reactor = nullptr;
       world.in = Zon::newPtr<ConfigDir>("fresh");
       world.out = Zon::newPtr<ConfigDir>("fresh");
     }},
    {"Throw", [](Mirror&, std::string const&) { throw 7; }},
};

void construct(Mirror& world) {
  world.reactor = Zon::newPtr<AllIntfReactor>(nullptr, world.out, nullptr, world.in, nullptr);
}

Beginning<Mirror> const beginnings[] = {
    {"Construction", construct},
    {"AnotherInput",
     [](Mirror& world) {
       auto const first = Zon::newPtr<ConfigDir>("first");
       for (char const* id : {"Ethernet2", "Ethernet7", "Ethernet8"})
         first->intfConfigIs(newConfig(id));
       world.reactor = Zon::newPtr<AllIntfReactor>(nullptr, world.out, nullptr, first, nullptr);
       world.reactor->configInIs(world.in);
     }},
    {"ImmediateNotification",
     [](Mirror& world) {
       auto const filled = world.in;
       world.reactor = Zon::newPtr<AllIntfReactor>(nullptr, world.out, nullptr, nullptr, nullptr);
       world.reactor->configInIs(filled);
       filled->intfConfigNotify();
     }},
    {"KeyedNotifications",
     [](Mirror& world) {
       world.reactor = Zon::newPtr<AllIntfReactor>(nullptr, world.out, nullptr, world.other, nullptr);
       auto const other = world.other;
       if (world.truth) world.truth = other;
       for (auto const& id : Mirror::ids())
         other->intfConfigIs(newConfig(id.c_str()));
       other->intfConfigDelAll();
       other->intfConfigIs(newConfig("Ethernet1"));
     }},
};

using Case = SabotageCase<Mirror>;
class MirrorSabotage : public testing::TestWithParam<Case> {};

/// Runs one mirroring with the sabotage at callback number `position`; returns how many callbacks there were.
int run(Mirror& world, Beginning<Mirror> const& beginning, Sabotage<Mirror> const& sabotage, int position) {
  Saboteur<ConfigDirWatcher> const saboteur(world, sabotage, position);
  try {
    beginning.begin(world);
  } catch (int) {
    ADD_FAILURE() << "a watcher's exception left";
  }
  return saboteur.heard();
}

TEST_P(MirrorSabotage, AtEveryStepTheOutputEndsEqualToTheInput) {
  auto const& [beginning, sabotage] = GetParam();
  Mirror quiet;
  int const callbacks = run(quiet, beginning, sabotages[0], -1);
  ASSERT_GT(callbacks, 5);
  EXPECT_EQ(contents(*quiet.out), contents(*quiet.truth));
  for (int position = 0; position != callbacks; ++position) {
    SCOPED_TRACE(testing::Message() << "position " << position);
    Mirror world;
    int const heard = run(world, beginning, sabotage, position);
    EXPECT_GT(heard, position);
    if (world.truth) {
      EXPECT_EQ(contents(*world.out), contents(*world.truth));
    }
    if (world.reactor && world.reactor->configIn()) {
      // Whatever happened, the mirror still hears.
      auto const config = newConfig("EthernetLast");
      world.reactor->configIn()->intfConfigIs(config);
      EXPECT_EQ(world.reactor->configOut()->intfConfig("EthernetLast"), config);
    }
    world.reactor = nullptr;
    EXPECT_EQ(world.in->zonReferences(), world.truth == world.in ? 2U : 1U);
    EXPECT_EQ(world.out->zonReferences(), 1U);
  }
}

INSTANTIATE_TEST_SUITE_P(Of, MirrorSabotage,
                         testing::Combine(testing::ValuesIn(beginnings), testing::ValuesIn(sabotages)), sabotageName);

TEST_F(AllIntfReactorTest, AnOldMirroringStopsBeforeItsNextEntryWhenTheInputWasReplaced) {
  addConfig("Ethernet1");
  addConfig("Ethernet2");
  addConfig("Ethernet3");
  auto const other = Zon::newPtr<ConfigDir>("other");
  auto const newer = newConfig("Ethernet2");
  other->intfConfigIs(newer);
  auto const reactor =
      Zon::newPtr<AllIntfReactor>(nullptr, configOut, nullptr, Zon::newPtr<ConfigDir>("empty"), nullptr);
  auto const first = walkOf(*configIn).front();
  bool done = false;
  configOut->before = [&](std::string const&) {
    if (!std::exchange(done, true)) reactor->configInIs(other);
  };
  reactor->configInIs(configIn);
  // The write under way is finished; nothing of the old input follows it.
  EXPECT_EQ(events.take(), "c+" + first + " c+Ethernet2");
  EXPECT_EQ(configOut->intfConfig("Ethernet2"), first == "Ethernet2" ? configIn->intfConfig("Ethernet2") : newer);
  EXPECT_EQ(reactor->configIn(), other);
}

}  // namespace
