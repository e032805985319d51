// Everything dropped from inside every callback of the interface directory module.

#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/Intf.h"

namespace {

using namespace Support;
using VaroIntf::Agent;
using Zon::Ptr;

/// Records nothing but asks for its act at "config" and "status".
class DirWatch : public Recorder<VaroIntf::AllIntfDir::NotifieeConst> {
 public:
  using Recorder::Recorder;
  void onConfig() override { heard("config"); }
  void onStatus() override { heard("status"); }
};

/// A host with everything the module reads and writes, and a watcher on each.
struct Host {
  // First, because watchers record here to the end.
  Events events;
  Ptr<Agent> agent = VaroIntf::agentFactory("x");
  Ptr<Zon::ActivityConfig> activity;
  Ptr<ConfigDir> configs = Zon::newPtr<ConfigDir>("configs");
  Ptr<StatusDir> statuses = Zon::newPtr<StatusDir>("statuses");
  Ptr<PtrDir> out = Zon::newPtr<PtrDir>("out");
  Ptr<Zon::Dir> slices = Zon::newPtr<Zon::Dir>("slices");

  int left;
  int heard = 0;
  std::function<void()> drop;
  std::vector<Ptr<Zon::PtrInterface>> watchers;

  template <class W, class X>
  void watch(Ptr<X> const& notifier) {
    auto const watcher = Zon::newPtr<W>("w", events, notifier);
    watcher->act = [this](std::string const&) {
      ++heard;
      if (left-- == 0) drop();
    };
    watchers.push_back(watcher);
  }

  /// `drop` runs at callback number `position`.
  Host(Ptr<Zon::ActivityConfig> const& on, int position, std::function<void(Host&)> const& act)
    : activity(on), left(position), drop([this, act] { act(*this); }) {
    watch<DirWatch>(agent->allIntfDir());
    watch<ConfigDirWatcher>(configs);
    watch<StatusDirWatcher>(statuses);
    watch<PtrDirWatcher>(out);
  }

  Ptr<Interface::IntfStatus> status(char const* id) {
    auto const made = newStatus(id);
    watch<StatusWatcher>(made);
    return made;
  }
  void served() {
    while (activity && activity->zonPending() != 0)
      activity->zonDispatch();
  }
  void wire() {
    // Each setter may find the agent gone.
    if (agent) agent->allIntfReactorIs(activity, configs, statuses);
    if (agent) agent->allIntfStatusDirSmIs(activity, statuses);
    if (agent) agent->allIntfQueueCounterReactorIs(activity, out, slices);
  }
};

/// A life of the module that passes every kind of event. Returns how many callbacks there were.
int live(int position, Ptr<Zon::ActivityConfig> const& activity, std::function<void(Host&)> const& drop) {
  Host host(activity, position, drop);
  // Held beside the host's own, which the drop may replace.
  auto const dir = host.agent->allIntfDir();
  auto const configIn = dir->config();
  auto const statusIn = dir->status();
  auto const statuses = host.statuses;
  auto const slices = host.slices;
  std::vector<std::function<void()>> const steps = {
      [&] { configIn->intfConfigIs(newConfig("E1")); },
      [&] { statusIn->intfStatusIs(host.status("E1")); },
      [&] {
        slices->entityPtrIs(newSlice("a", {"E1", "E2"}, {"c"}));
      },
      [&] { host.out->intfQueueCounterDirIs(newCounters("stale")); },
      [&] { host.wire(); },
      [&] { host.wire(); },
      [&] { configIn->intfConfigIs(newConfig("E2")); },
      [&] { configIn->intfConfigIs(newConfig("E2")); },
      [&] { statusIn->intfStatusIs(host.status("E2")); },
      [&] { statusIn->intfStatusIs(host.status("E2")); },
      [&] {
        if (auto const status = statuses->intfStatus("E2")) status->forwardingModelInputsIs("s", 2);
      },
      [&] {
        if (auto const status = statuses->intfStatus("E2")) status->forwardingModelInputsDelAll();
      },
      [&] {
        slices->entityPtrIs(newSlice("b", {"E2", "E3"}, {"c"}));
      },
      [&] {
        if (auto const slice = Zon::ptrCast<Slice>(slices->entityPtr("b"))) {
          slice->intfQueueCounterDirIs(newCounters("E4", {"c", "d"}));
        }
      },
      [&] {
        if (auto const slice = Zon::ptrCast<Slice>(slices->entityPtr("b"))) slice->intfQueueCounterDirDel("E3");
      },
      [&] { slices->entityPtrDel("a"); },
      [&] { configIn->intfConfigNotify(); },
      [&] { statusIn->intfStatusNotify(); },
      [&] { dir->configIs("renamed"); },
      [&] { dir->statusIs("renamed"); },
      [&] {
        if (host.agent) host.agent->allIntfReactorDel();
      },
      [&] { host.wire(); },
      [&] { statusIn->intfStatusDelAll(); },
      [&] { configIn->intfConfigDelAll(); },
      [&] { slices->entityPtrDelAll(); },
      [&] {
        if (host.agent) host.agent->allIntfDirIs("y");
      },
  };
  for (auto const& step : steps) {
    step();
    host.served();
  }
  host.agent = nullptr;
  host.served();
  return host.heard;
}

struct Drop {
  char const* name;
  void (*act)(Host& host);
};

Drop const drops[] = {
    {"Nothing", [](Host&) {}},
    {"TheAgent", [](Host& host) { host.agent = nullptr; }},
    {"TheMirror",
     [](Host& host) {
       if (host.agent) host.agent->allIntfReactorDel();
     }},
    {"TheStatusMachine",
     [](Host& host) {
       if (host.agent) host.agent->allIntfStatusDirSmDel();
     }},
    {"TheQueueCounterReactor",
     [](Host& host) {
       if (host.agent) host.agent->allIntfQueueCounterReactorDel();
     }},
    {"TheDirectory",
     [](Host& host) {
       if (host.agent) host.agent->allIntfDirDel();
     }},
    {"TheDirectorysChildren",
     [](Host& host) {
       if (!host.agent || !host.agent->allIntfDir()) return;
       host.agent->allIntfDir()->configDel();
       host.agent->allIntfDir()->statusDel();
     }},
    {"EverythingForANewAgent",
     [](Host& host) {
       host.agent = VaroIntf::agentFactory("anew");
       host.wire();
     }},
    {"EverythingForNewDirectories",
     [](Host& host) {
       host.configs = Zon::newPtr<ConfigDir>("configs");
       host.statuses = Zon::newPtr<StatusDir>("statuses");
       host.out = Zon::newPtr<PtrDir>("out");
       host.slices = Zon::newPtr<Zon::Dir>("slices");
       host.wire();
     }},
    {"AllEntriesOfTheInputs",
     [](Host& host) {
       host.slices->entityPtrDelAll();
       if (!host.agent || !host.agent->allIntfDir()) return;
       if (auto const dir = host.agent->allIntfDir()->config()) dir->intfConfigDelAll();
       if (auto const dir = host.agent->allIntfDir()->status()) dir->intfStatusDelAll();
     }},
    {"AllEntriesOfTheOutputs",
     [](Host& host) {
       host.configs->intfConfigDelAll();
       host.statuses->intfStatusDelAll();
       host.out->intfQueueCounterDirDelAll();
     }},
    {"TheChildren",
     [](Host& host) {
       if (!host.agent) return;
       if (auto const machine = host.agent->allIntfStatusDirSm()) machine->intfStatusReactorDelAll();
       if (auto const counters = host.agent->allIntfQueueCounterReactor()) counters->sliceSmDelAll();
     }},
    {"TheInputsOfTheReactors",
     [](Host& host) {
       if (!host.agent) return;
       if (auto const mirror = host.agent->allIntfReactor()) {
         mirror->configInDel();
         mirror->statusInIs(nullptr);
       }
       if (auto const machine = host.agent->allIntfStatusDirSm()) machine->allIntfStatusDirDel();
       if (auto const counters = host.agent->allIntfQueueCounterReactor()) counters->counterInDel();
     }},
    {"TheSwitches",
     [](Host& host) {
       if (!host.agent) return;
       if (auto const mirror = host.agent->allIntfReactor()) mirror->hasNotificationActiveIs(false);
       if (auto const machine = host.agent->allIntfStatusDirSm()) machine->hasNotificationActiveIs(false);
       if (auto const counters = host.agent->allIntfQueueCounterReactor()) counters->hasNotificationActiveIs(false);
     }},
    {"Life",
     [](Host& host) {
       if (!host.agent) return;
       if (auto const mirror = host.agent->allIntfReactor()) mirror->zonDoZombieReactors(true);
       if (auto const machine = host.agent->allIntfStatusDirSm()) machine->zonDoZombieReactors(true);
       if (auto const counters = host.agent->allIntfQueueCounterReactor()) counters->zonDoZombieReactors(true);
     }},
    {"TheActivity",
     [](Host& host) {
       if (!host.agent) return;
       if (auto const mirror = host.agent->allIntfReactor()) mirror->zonFwkActivityIs(nullptr);
       if (auto const machine = host.agent->allIntfStatusDirSm()) machine->zonFwkActivityIs(nullptr);
       if (auto const counters = host.agent->allIntfQueueCounterReactor()) counters->zonFwkActivityIs(nullptr);
     }},
    {"TheWatchers", [](Host& host) { host.watchers.clear(); }},
    {"AnException", [](Host&) { throw 7; }},
};

class IntfDropTest : public testing::TestWithParam<Drop> {};

TEST_P(IntfDropTest, FromInsideEveryCallbackOnEveryActivityLeavesASoundWorld) {
  for (int way = 0; way != 3; ++way) {
    auto const activity = [way]() -> Ptr<Zon::ActivityConfig> {
      if (way == 0) return nullptr;
      return way == 1 ? immediate() : deferring();
    };
    int const callbacks = live(-1, activity(), [](Host&) {});
    EXPECT_GT(callbacks, 25);
    for (int position = 0; position != callbacks; ++position) {
      SCOPED_TRACE(testing::Message() << "way " << way << ", position " << position);
      auto const used = activity();
      EXPECT_GT(live(position, used, GetParam().act), position);
      if (used) {
        EXPECT_EQ(used->zonPending(), 0U);
        EXPECT_EQ(used->zonReferences(), 1U);
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Of, IntfDropTest, testing::ValuesIn(drops),
                         [](auto const& drop) { return std::string(drop.param.name); });

}  // namespace
