// Order of destruction, and everything dropped from inside every callback.

#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "VaroErrdisable/Root.h"
#include "support/Errdisable.h"
#include "support/Sanitized.h"

namespace {

using namespace Support;
using VaroErrdisable::AllIntfSM;
using VaroErrdisable::IntfSM;
using VaroErrdisable::Root;
using Zon::Ptr;

using MournedConfigDir = Mourned<Interface::AllIntfConfigDir>;
using MournedStatusDir = Mourned<Interface::AllIntfStatusDir>;
using MournedList = Mourned<Errdisable::Status>;
using MournedConfig = Mourned<Interface::IntfConfig>;
using MournedStatus = Mourned<Interface::IntfStatus>;
using MournedActivity = Mourned<Zon::ActivityConfig>;

constexpr auto immediately = Zon::ActivityConfig::Delivery::immediate;

/// The machine of an interface that alone holds its activity, errdisable status, configuration and status.
Zon::Ptr<IntfSM> mournedMachine(Events& events) {
  auto const machine =
      VaroErrdisable::intfSMFactory(Zon::newPtr<MournedActivity>(events, "activity", immediately), "Ethernet1",
                                    Zon::newPtr<MournedList>(events, "errdisable", "errdisable"),
                                    Zon::newPtr<MournedConfig>(events, "config", "Ethernet1"));
  machine->intfStatusIs(Zon::newPtr<MournedStatus>(events, "status", "Ethernet1"));
  return machine;
}

// ---------------------------------------------------------------------------------------------------------------
// Order

TEST(Destruction, AnInterfacesMachineReleasesStatusConfigurationErrdisableStatusAndActivityInThisOrder) {
  Events events;
  auto machine = mournedMachine(events);
  EXPECT_EQ(events.take(), "");
  machine = nullptr;
  EXPECT_EQ(events.take(), "~status ~config ~errdisable ~activity");
}

TEST(Destruction, AnInterfacesMachineReleasesItsCollectionLinkBeforeItsMembers) {
  Events events;
  auto machine = mournedMachine(events);
  machine->fwkHmNextIs(Zon::newPtr<Mourned<IntfSM>>(events, "linked", nullptr, "Ethernet2", nullptr, nullptr));
  EXPECT_EQ(events.take(), "");
  machine = nullptr;
  EXPECT_EQ(events.take(), "~linked ~status ~config ~errdisable ~activity");
}

TEST(Destruction, WhenTheCollectionLinkGoesTheInputsOfAnInterfacesMachineAreSilent) {
  ErrdisableInputs inputs;
  auto const config = inputs.newConfig("Ethernet1");
  auto machine = inputs.newMachine(nullptr, config);
  auto linked = Zon::newPtr<Mourned<IntfSM>>(inputs.events, "linked", nullptr, "Ethernet2", nullptr, nullptr);
  linked->lastWill = [&] { config->adminEnabledStateLocalIs(IntfEnabledState::disabled); };
  machine->fwkHmNextIs(linked);
  linked = nullptr;
  machine = nullptr;
  EXPECT_EQ(inputs.events.take(), "~linked");
}

TEST(Destruction, TheMachineOfAllReleasesMembersThenInputsLastFirstThenTheActivity) {
  Events events;
  auto configs = Zon::newPtr<MournedConfigDir>(events, "configs", "config");
  auto config = Zon::newPtr<MournedConfig>(events, "config", "Ethernet1");
  configs->intfConfigIs(config);
  auto machines = AllIntfSM::AllIntfSMIs(Zon::newPtr<MournedActivity>(events, "activity", immediately), configs,
                                         Zon::newPtr<MournedStatusDir>(events, "statuses", "status"),
                                         Zon::newPtr<MournedList>(events, "errdisable", "errdisable"));
  // Only the member holds the configuration from here on.
  machines->hasNotificationActiveIs(false);
  configs->intfConfigDel("Ethernet1");
  config = nullptr;
  configs = nullptr;
  EXPECT_EQ(events.take(), "");
  machines = nullptr;
  EXPECT_EQ(events.take(), "~config ~errdisable ~statuses ~configs ~activity");
}

TEST(Destruction, ARootReleasesItsMachine) {
  Events events;
  auto root = VaroErrdisable::rootFactory("root");
  root->allIntfSMIs(Zon::newPtr<MournedActivity>(events, "activity", immediately),
                    Zon::newPtr<MournedConfigDir>(events, "configs", "config"),
                    Zon::newPtr<MournedStatusDir>(events, "statuses", "status"),
                    Zon::newPtr<MournedList>(events, "errdisable", "errdisable"));
  root = nullptr;
  EXPECT_EQ(events.take(), "~errdisable ~statuses ~configs ~activity");
}

TEST(Destruction, TheInputsOfTheMachineOfAllAreSilentBeforeItsMembersGo) {
  ErrdisableInputs inputs;
  auto machines = inputs.newMachines(nullptr);
  inputs.addConfig("Ethernet2");
  auto config = Zon::newPtr<MournedConfig>(inputs.events, "config", "Ethernet1");
  // While the members go, an errdisable event of a configured interface without member must not be heard.
  config->lastWill = [&inputs] {
    inputs.errdisable->errdisabledIntfIs("Ethernet2", "loop");
    inputs.addConfig("Ethernet3");
  };
  inputs.configs->intfConfigIs(config);
  machines->hasNotificationActiveIs(false);
  inputs.configs->intfConfigDel("Ethernet1");
  machines->hasNotificationActiveIs(true);
  config = nullptr;
  inputs.events.take();
  machines = nullptr;
  EXPECT_EQ(inputs.events.take(), "~config");
}

TEST(Destruction, TheInputsOfAnInterfacesMachineAreSilentBeforeTheyGo) {
  ErrdisableInputs inputs;
  auto const config = inputs.newConfig("Ethernet1");
  auto machine = inputs.newMachine(nullptr, config);
  auto status = Zon::newPtr<MournedStatus>(inputs.events, "status", "Ethernet1");
  // The input that held the status goes first; the configuration's must not hear any more what happens then.
  status->lastWill = [&] { config->adminEnabledStateLocalIs(IntfEnabledState::disabled); };
  machine->intfStatusIs(status);
  status = nullptr;
  machine = nullptr;
  EXPECT_EQ(inputs.events.take(), "~status");
}

TEST(Destruction, AWatcherThatDropsTheMachineInsideADeliverySparesItTheChange) {
  ErrdisableInputs inputs;
  auto const config = inputs.newConfig("Ethernet1");
  auto machine = inputs.newMachine(nullptr, config);
  // Stands before the machine's input, which then only the delivery under way still holds.
  auto const watcher = Zon::newPtr<ConfigWatcher>("w", inputs.events, config);
  watcher->act = [&](std::string const& heard) {
    if (heard == "admin") machine = nullptr;
  };
  watcher->isRegisteredNotifieeIs(false);
  machine->intfConfigDel();
  watcher->isRegisteredNotifieeIs(true);
  machine->intfConfigIs(config);  // now behind the watcher
  config->adminEnabledStateLocalIs(IntfEnabledState::disabled);
  EXPECT_EQ(inputs.events.take(), "w:admin");
  EXPECT_EQ(inputs.errdisable->zonReferences(), 1U);
  EXPECT_EQ(config->zonReferences(), 2U);
}

TEST(Destruction, MachinesOutliveTheRootsAndDirectoriesOfOthers) {
  ErrdisableInputs inputs;
  auto const config = inputs.addConfig("Ethernet1");
  auto machines = inputs.newMachines(nullptr);
  auto member = machines->intfSM("Ethernet1");
  machines = nullptr;
  inputs.configs = nullptr;
  inputs.statuses = nullptr;
  inputs.events.take();
  config->adminEnabledStateLocalIs(IntfEnabledState::disabled);
  EXPECT_EQ(inputs.events.take(), "Ethernet1.state=disabled Ethernet1.reason='admin'");
  EXPECT_EQ(member->zonReferences(), 1U);
}

TEST(Destruction, ADeadMachineLeavesNothingInItsActivitysQueue) {
  ErrdisableInputs inputs;
  auto const activity = deferring();
  auto machines = inputs.newMachines(activity);
  inputs.addConfig("Ethernet1");
  inputs.addStatus("Ethernet1", true);
  inputs.errdisable->errdisabledIntfIs("Ethernet1", "loop");
  EXPECT_EQ(activity->zonPending(), 3U);
  machines = nullptr;
  EXPECT_EQ(activity->zonPending(), 0U);
  EXPECT_EQ(activity->zonDispatch(), 0U);
  EXPECT_EQ(inputs.events.take(), "");
}

// ---------------------------------------------------------------------------------------------------------------
// Everything dropped from inside

/// Watches every configuration it is given, and lets go of everything at the n-th callback it hears.
class Saboteur {
 public:
  Saboteur(Events& events, int position, std::function<void()> act)
    : events_(events), left_(position), act_(std::move(act)) {}

  void watch(Ptr<Interface::IntfConfig> const& config) {
    auto const watcher = Zon::newPtr<ConfigWatcher>("w", events_, config);
    watcher->act = [this](std::string const&) {
      ++heard;
      if (left_-- == 0) act_();
    };
    watchers_.push_back(watcher);
  }
  int heard = 0;

 private:
  Events& events_;
  int left_;
  std::function<void()> act_;
  std::vector<Ptr<ConfigWatcher>> watchers_;
};

/// A life of the module that passes every kind of event; `drop` happens at callback number `position`.
/// Returns how many callbacks there were.
int live(int position, Ptr<Zon::ActivityConfig> const& activity,
         std::function<void(Ptr<Root>&, ErrdisableInputs&)> const& drop) {
  ErrdisableInputs inputs;
  auto root = VaroErrdisable::rootFactory("root");
  Saboteur saboteur(inputs.events, position, [&] { drop(root, inputs); });
  auto const served = [&activity] {
    while (activity && activity->zonPending() != 0)
      activity->zonDispatch();
  };
  // Held beside the inputs, which the drop may replace.
  auto const configs = inputs.configs;
  auto const statuses = inputs.statuses;
  auto const errdisable = inputs.errdisable;
  std::vector<Ptr<RecordingConfig>> all;
  auto const add = [&](char const* id) {
    all.push_back(inputs.newConfig(id));
    saboteur.watch(all.back());
    configs->intfConfigIs(all.back());
    served();
  };
  add("Ethernet1");
  auto const status = inputs.newStatus("Ethernet1", false);
  statuses->intfStatusIs(status);
  served();
  root->allIntfSMIs(activity, configs, statuses, errdisable);
  served();
  if (root) root->allIntfSMIs(activity, configs, statuses, errdisable);
  add("Ethernet2");
  // Only where the machine knows the interface, as a host must.
  auto const known = [&](char const* id) {
    return !root || !root->allIntfSM() || !configs->intfConfig(id) || root->allIntfSM()->intfSM(id);
  };
  if (known("Ethernet2")) errdisable->errdisabledIntfIs("Ethernet2", "loop");
  served();
  status->activeIs(true);
  served();
  if (known("Ethernet1")) errdisable->errdisabledIntfIs("Ethernet1", "storm");
  served();
  all[1]->adminEnabledStateLocalIs(IntfEnabledState::disabled);
  served();
  if (known("Ethernet2")) errdisable->errdisabledIntfDel("Ethernet2");
  served();
  statuses->intfStatusIs(inputs.newStatus("Ethernet1", false));
  served();
  statuses->intfStatusDel("Ethernet1");
  served();
  if (known("Ethernet1")) errdisable->errdisabledIntfDel("Ethernet1");
  served();
  configs->intfConfigDel("Ethernet1");
  served();
  if (root) root->allIntfSMDel();
  return saboteur.heard;
}

struct Drop {
  char const* name;
  void (*act)(Ptr<Root>& root, ErrdisableInputs& inputs);
};

Drop const drops[] = {
    {"nothing", [](Ptr<Root>&, ErrdisableInputs&) {}},
    {"the root", [](Ptr<Root>& root, ErrdisableInputs&) { root = nullptr; }},
    {"the machine", [](Ptr<Root>& root, ErrdisableInputs&) { root->allIntfSMDel(); }},
    {"all members",
     [](Ptr<Root>& root, ErrdisableInputs&) {
       if (auto const machines = root->allIntfSM()) machines->intfSMDelAll();
     }},
    {"all configurations", [](Ptr<Root>&, ErrdisableInputs& inputs) { inputs.configs->intfConfigDelAll(); }},
    {"all statuses", [](Ptr<Root>&, ErrdisableInputs& inputs) { inputs.statuses->intfStatusDelAll(); }},
    {"the inputs and the root",
     [](Ptr<Root>& root, ErrdisableInputs& inputs) {
       inputs.configs = nullptr;
       inputs.statuses = nullptr;
       inputs.errdisable = nullptr;
       root = nullptr;
     }},
    {"the machine, for a new one",
     [](Ptr<Root>& root, ErrdisableInputs& inputs) {
       root->allIntfSMDel();
       root->allIntfSMIs(immediate(), inputs.configs, inputs.statuses, inputs.errdisable);
     }},
    {"the switch",
     [](Ptr<Root>& root, ErrdisableInputs&) {
       if (auto const machines = root->allIntfSM()) machines->hasNotificationActiveIs(false);
     }},
    {"life",
     [](Ptr<Root>& root, ErrdisableInputs&) {
       if (auto const machines = root->allIntfSM()) machines->zonDoZombieReactors(true);
     }},
};

class DropTest : public testing::TestWithParam<Drop> {};

TEST_P(DropTest, FromInsideEveryCallbackOnEveryActivityLeavesASoundWorld) {
  for (int way = 0; way != 3; ++way) {
    auto const activity = [way] { return way == 0 ? nullptr : way == 1 ? immediate() : deferring(); };
    int const callbacks = live(-1, activity(), [](Ptr<Root>&, ErrdisableInputs&) {});
    EXPECT_GT(callbacks, 10);
    for (int position = 0; position != callbacks; ++position) {
      SCOPED_TRACE(testing::Message() << "way " << way << ", position " << position);
      auto const used = activity();
      EXPECT_GT(live(position, used, GetParam().act), position);
      if (used) {
        EXPECT_EQ(used->zonPending(), 0U);
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Of, DropTest, testing::ValuesIn(drops), [](auto const& drop) {
  std::string name;
  for (char const c : std::string(drop.param.name)) {
    if (c != ' ' && c != ',') name += c;
  }
  return name;
});

// ---------------------------------------------------------------------------------------------------------------
// Many

constexpr int many = isSanitized ? 20000 : 1000000;

TEST(Destruction, AMillionInterfacesAreMadeChangedAndDestroyedWithoutALeak) {
  auto const configs = Zon::newPtr<Interface::AllIntfConfigDir>("config");
  auto const statuses = Zon::newPtr<Interface::AllIntfStatusDir>("status");
  auto const errdisable = Zon::newPtr<Errdisable::Status>("errdisable");
  auto const activity = immediate();
  auto root = VaroErrdisable::rootFactory("root");
  root->allIntfSMIs(activity, configs, statuses, errdisable);
  std::vector<Orvet::IntfId> ids;
  ids.reserve(many);
  for (int i = 0; i != many; ++i)
    ids.emplace_back("Ethernet" + std::to_string(i));
  for (auto const& id : ids) {
    auto const status = Zon::newPtr<Interface::IntfStatus>(id);
    status->activeIs(true);
    statuses->intfStatusIs(status);
    configs->intfConfigIs(Zon::newPtr<Interface::IntfConfig>(id));
  }
  auto const countOf = [&](IntfEnabledState state, char const* reason) {
    int count = 0;
    for (auto it = std::as_const(*configs).intfConfigIteratorConst(); it; it.advance()) {
      count += it->enabledStateLocal() == state && it->enabledStateReason() == reason ? 1 : 0;
    }
    return count;
  };
  EXPECT_EQ(countOf(IntfEnabledState::unset, ""), many);
  for (auto const& id : ids)
    errdisable->errdisabledIntfIs(id, "loop");
  EXPECT_EQ(countOf(IntfEnabledState::disabled, "loop"), many);
  for (auto it = statuses->intfStatusIterator(); it; it.advance())
    it->activeIs(false);
  EXPECT_EQ(countOf(IntfEnabledState::disabled, "inactive"), many);
  errdisable->errdisabledIntfDelAll();
  for (auto it = statuses->intfStatusIterator(); it; it.advance())
    it->activeIs(true);
  EXPECT_EQ(countOf(IntfEnabledState::enabled, ""), many);
  // Half of them by their configurations, the rest with the root.
  for (int i = 0; i < many; i += 2)
    configs->intfConfigDel(ids[static_cast<std::size_t>(i)]);
  EXPECT_EQ(errdisable->zonReferences(), 2U + many / 2);
  root = nullptr;
  EXPECT_EQ(errdisable->zonReferences(), 1U);
  EXPECT_EQ(configs->zonReferences(), 1U);
  EXPECT_EQ(statuses->zonReferences(), 1U);
  EXPECT_EQ(activity->zonReferences(), 1U);
  for (auto it = std::as_const(*configs).intfConfigIteratorConst(); it; it.advance()) {
    // The entry's, and the one of the pointer in hand.
    ASSERT_EQ(it.ptr()->zonReferences(), 2U);
  }
}

}  // namespace
