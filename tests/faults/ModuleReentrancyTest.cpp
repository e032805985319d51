// At every call that the modules make of foreign code, something hostile is done to their world, once each.

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <map>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "faults/CallOuts.h"
#include "faults/ForeignCode.h"
#include "faults/Scenarios.h"

namespace Faults {
namespace {

using Interface::IntfEnabledState;

/// Done at one call-out, told the interface it is about.
struct Act {
  char const* name;
  void (*act)(Life& life, char const* intf);
  /// What steps may then throw: operations of what was dropped.
  bool drops = false;
};

/// The interface that a call-out names, the first one if none.
char const* interfaceIn(std::string const& what) {
  for (char const* const intf : interfaceNames)
    if (what.find(intf) != std::string::npos) return intf;
  return interfaceNames[0];
}

bool defers(World const& world) {
  return world.activity() && world.activity()->delivery() == Zon::ActivityConfig::Delivery::deferring;
}

/// Whether the module can take another errdisable entry for the interface, as docs/errdisable.md asks of hosts: one that
/// is configured must have its machine by the time the entry is served.
bool takesEntries(World const& world, char const* intf) {
  auto const machine = world.root() ? world.root()->allIntfSM() : nullptr;
  return !machine || (!defers(world) && !world.configs()->intfConfig(intf)) || machine->intfSM(intf);
}

void readdConfig(Life& life, char const* intf) {
  if (!life.world.agent()) return;
  auto const directory = life.world.produced();
  auto const config = directory->intfConfigDel(intf);
  if (config) directory->intfConfigIs(config);
}

void readdStatus(Life& life, char const* intf) {
  if (!life.world.agent()) return;
  auto const directory = life.world.producedStatuses();
  auto const status = directory->intfStatusDel(intf);
  if (status) directory->intfStatusIs(status);
}

void readdEntry(Life& life, char const* intf) {
  if (!takesEntries(life.world, intf)) return;
  auto const entry = life.world.errdisabled()->errdisabledIntfDel(intf);
  life.world.errdisabled()->errdisabledIntfIs(intf, entry ? entry->value() : "a reason");
}

void readdSlices(Life& life, char const*) {
  auto const directory = life.world.slices();
  for (char const* const name : sliceNames)
    if (auto const slice = directory->entityPtrDel(name)) directory->entityPtrIs(slice);
}

void readdCounters(Life& life, char const* intf) {
  for (char const* const name : sliceNames) {
    auto const slice = life.world.slice(name);
    auto const counters = slice ? slice->intfQueueCounterDirDel(intf) : nullptr;
    if (counters) slice->intfQueueCounterDirIs(counters);
  }
}

void changeAttributes(Life& life, char const* intf) {
  if (!life.world.agent()) return;
  if (auto const config = life.world.produced()->intfConfig(intf)) {
    bool const isEnabled = config->adminEnabledStateLocal() == IntfEnabledState::enabled;
    config->adminEnabledStateLocalIs(isEnabled ? IntfEnabledState::disabled : IntfEnabledState::enabled);
  }
  if (auto const status = life.world.producedStatuses()->intfStatus(intf)) {
    status->activeIs(!status->active());
    status->forwardingModelInputsIs("hostile", 2);
  }
}

void replaceStatus(Life& life, char const* intf) {
  if (!life.world.agent()) return;
  auto const directory = life.world.producedStatuses();
  if (directory->intfStatus(intf)) directory->intfStatusIs(life.foreign->status(intf));
}

void replaceInputs(Life& life, char const*) {
  World& world = life.world;
  if (auto const mirror = world.agent() ? world.agent()->allIntfReactor() : nullptr) {
    auto const configs = mirror->configIn();
    auto const statuses = mirror->statusIn();
    mirror->configInIs(Zon::newPtr<Interface::AllIntfConfigDir>("other"));
    mirror->statusInIs(Zon::newPtr<Interface::AllIntfStatusDir>("other"));
    mirror->configInIs(configs);
    mirror->statusInIs(statuses);
  }
  if (auto const machine = world.agent() ? world.agent()->allIntfStatusDirSm() : nullptr) {
    machine->allIntfStatusDirIs(Zon::newPtr<Interface::AllIntfStatusDir>("other"));
    machine->allIntfStatusDirIs(world.statuses());
  }
  if (auto const chain = world.agent() ? world.agent()->allIntfQueueCounterReactor() : nullptr) {
    chain->counterInIs(Zon::newPtr<Zon::Dir>("other"));
    chain->counterInIs(world.slices());
  }
  if (world.root() && world.root()->allIntfSM()) {
    world.root()->allIntfSMIs(world.activity(), world.configs(), world.statuses(),
                              Zon::newPtr<Errdisable::Status>("other"));
    if (world.root()) world.wireErrdisable();
  }
}

constexpr Act acts[] = {
    {"remove and add the configuration", readdConfig},
    {"remove and add the status", readdStatus},
    {"remove and add the entry", readdEntry},
    {"remove and add the slices", readdSlices},
    {"remove and add the counters", readdCounters},
    {"change the attributes", changeAttributes},
    {"replace the status", replaceStatus},
    {"replace the inputs", replaceInputs},
    {"remove the configuration",
     [](Life& life, char const* intf) {
       if (life.world.agent()) life.world.produced()->intfConfigDel(intf);
     },
     true},
    {"remove everything",
     [](Life& life, char const*) {
       life.world.slices()->entityPtrDelAll();
       for (char const* const intf : interfaceNames)
         if (takesEntries(life.world, intf)) life.world.errdisabled()->errdisabledIntfDel(intf);
       if (!life.world.agent()) return;
       life.world.produced()->intfConfigDelAll();
       life.world.producedStatuses()->intfStatusDelAll();
     },
     true},
    {"dispatch",
     [](Life& life, char const*) {
       if (life.world.activity()) life.world.activity()->zonDispatch();
     }},
    {"sweep",
     [](Life& life, char const*) {
       if (life.world.agent()) life.world.sweep();
     }},
    {"wire anew",
     [](Life& life, char const*) {
       if (life.world.root()) life.world.unwireErrdisable();
       if (life.world.agent()) {
         life.world.unwireMirror();
         life.world.unwireForwarding();
         life.world.unwireCounters();
         life.world.wireMirror();
         life.world.wireForwarding();
         life.world.wireCounters();
       }
       if (life.world.root()) life.world.wireErrdisable();
     }},
    {"drop the watchers", [](Life& life, char const*) { life.foreign->dropWatchers(); }},
    {"drop the agent", [](Life& life, char const*) { life.world.dropAgent(); }, true},
    {"drop the root", [](Life& life, char const*) { life.world.dropRoot(); }, true},
    {"drop both", [](Life& life, char const*) { life.world.dropModules(); }, true},
};

/// What the inputs ask for, without what is history: blocks of counters that were, slices that left, and the enabled
/// state of an interface of which nothing is set.
void forgetHistory(Facts& found, Facts const& expected) {
  for (auto at = found.begin(); at != found.end();) {
    std::string const& what = at->first;
    bool const isBlock = what.find("block ") != std::string::npos;
    bool const isOfGoneSlice = what.starts_with("slice ") && !found.contains(what.substr(0, what.find(' ', 6)));
    if ((isBlock && !expected.contains(what)) || isOfGoneSlice) {
      at = found.erase(at);
      continue;
    }
    if (what.starts_with("config ") && what.ends_with(" state") && at->second == "enabled") {
      auto const fresh = expected.find(what);
      if (fresh != expected.end() && fresh->second == "unset") at->second = "unset";
    }
    ++at;
  }
}

bool isInput(std::string const& what) {
  static constexpr std::string_view ends[] = {" state", " reason", " forwarding"};
  static constexpr std::string_view beginnings[] = {"config ", "status ", "errdisabled ", "slice "};
  return std::ranges::any_of(beginnings, [&](auto text) { return what.starts_with(text); }) &&
         std::ranges::none_of(ends, [&](auto text) { return what.ends_with(text); }) &&
         what.find("block ") == what.npos;
}

/// What worlds come to that are made of given inputs. Most lives end with the same few.
class Expectations {
 public:
  /// How the world differs from one made of the same inputs.
  std::string deviation(World const& world) {
    Facts found = world.facts();
    Facts inputs;
    for (auto const& [what, value] : found)
      if (isInput(what)) inputs.emplace(what, value);
    auto const [known, isNew] = known_.try_emplace(inputs);
    if (isNew) known->second = world.anew()->facts();
    Facts expected = known->second;
    if (world.activity()) expected["pending"] = "0";
    forgetHistory(found, expected);
    return difference(expected, found);
  }

 private:
  std::map<Facts, Facts> known_;
};

/// Where the documents ask the host to sweep: what a deferring activity coalesced; inputs that were changed by a
/// watcher inside an evaluation, or by an overridden setter before it set, or while a module was being wired; slices that
/// were edited by a watcher of the output, of their own, or of the counters that leave them.
bool asksForASweep(World const& world, std::string const& step, std::string const& struck) {
  if (step.starts_with("wire")) return true;
  if (defers(world)) return true;
  for (char const* const inside : {"before ", ":state", "enabledState", "adminEnabled", "published:",
                                   "intfQueueCounterDir", "forwardingModel", " slice ", "lock ", ":parent"})
    if (struck.find(inside) != std::string::npos) return true;
  return false;
}

class ModuleReentrancyTest : public testing::TestWithParam<Scenario> {};

TEST_P(ModuleReentrancyTest, AtAnyCallOutAnythingMayBeDone) {
  Scenario const& scenario = GetParam();
  CallOuts counted;
  {
    Life life(scenario, ForeignCode::Of::both, counted);
    for (auto const& step : scenario.steps)
      step.act(life.world);
  }
  // One act at each call-out, another one on each activity; all of them takes minutes.
  bool const doesAll = std::getenv("VARO_FAULTS_ALL") != nullptr;
  auto const isTurnOf = [&](Act const& act, int position) {
    auto const turn = static_cast<std::size_t>(position) + 6 * static_cast<std::size_t>(scenario.activity);
    return doesAll || &act == &acts[turn % std::size(acts)];
  };
  Expectations expectations;
  Figure done("hostile acts");
  for (Act const& act : acts) {
    for (int position = 0; position != counted.made(); ++position) {
      if (!isTurnOf(act, position)) continue;
      Life* acted = nullptr;
      Doing const doing(scenario.name + ", " + act.name + " at call-out " + std::to_string(position));
      CallOuts calls(position, [&](std::string const& what) { act.act(*acted, interfaceIn(what)); });
      Life life(scenario, ForeignCode::Of::both, calls);
      acted = &life;
      World& world = life.world;
      std::string step;
      std::string out;
      for (auto next = scenario.steps.begin(); calls.struck().empty() && next != scenario.steps.end(); ++next) {
        step = next->name;
        out = thrownBy([&] { next->act(world); });
      }
      SCOPED_TRACE(testing::Message() << scenario.name << ", " << step << ", " << act.name << " at call-out "
                                      << position << " (" << calls.struck() << ")");
      ASSERT_NE(calls.struck(), "");
      if (!act.drops || out != "it was dropped") {
        EXPECT_EQ(out, "");
      }
      life.foreign->callsAre(nullptr);
      world.settle();
      world.renewModules();
      if (asksForASweep(world, step, calls.struck())) world.sweep();
      EXPECT_EQ(expectations.deviation(world), "");
      world.addConfig("Ethernet7");
      world.addStatus("Ethernet7", true);
      world.errdisable("Ethernet7", "next");
      world.forwardingInput("Ethernet7", "next", 1);
      world.addSlice("linecard2", {}, {});
      world.addSliceIntf("linecard2", "Ethernet7", {"next"});
      EXPECT_EQ(expectations.deviation(world), "") << "then one more operation of each kind";
      ++done;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Scenarios, ModuleReentrancyTest, testing::ValuesIn(scenarios()),
                         [](auto const& scenario) { return scenario.param.name; });

}  // namespace
}  // namespace Faults
