// Everything dropped from inside every callback of the interface directory module.

#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Zon/Trace.h"
#include "support/Intf.h"

namespace {

using namespace Support;
using VaroIntf::Agent;
using Zon::Ptr;

/// Hands every trace line of the module to `act`, as long as it lives.
class TraceWatch {
 public:
  explicit TraceWatch(std::function<void()> const& act) {
    switchTo(true);
    Zon::traceSinkIs([act](Zon::TraceRecord const&) { act(); });
  }
  TraceWatch(TraceWatch const&) = delete;
  TraceWatch& operator=(TraceWatch const&) = delete;
  ~TraceWatch() {
    Zon::traceSinkIs({});
    switchTo(false);
  }

 private:
  void switchTo(bool on) {
    facility_.enabledIs(on);
    facility_.levelIs(8, on);
  }

  Zon::TraceHandle facility_{"VaroIntf", false};
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
  TraceWatch const trace{[this] { here(); }};

  /// One of the positions.
  void here() {
    ++heard;
    if (left-- == 0) drop();
  }
  template <class W, class X>
  Ptr<W> watch(Ptr<X> const& notifier) {
    auto const watcher = Zon::newPtr<W>("w", events, notifier);
    watcher->act = [this](std::string const&) { here(); };
    watchers.push_back(watcher);
    return watcher;
  }

  /// `drop` runs at callback number `position`.
  Host(Ptr<Zon::ActivityConfig> const& on, int position, std::function<void(Host&)> const& act)
    : activity(on), left(position), drop([this, act] { act(*this); }) {
    // Watching must not keep it: it is to die inside a drop.
    watch<AllIntfDirWatcher>(agent->allIntfDir())->zon_bitSetIs(Zon::zonUncountedNotifier);
    watch<ConfigDirWatcher>(agent->allIntfDir()->config());
    watch<StatusDirWatcher>(agent->allIntfDir()->status());
    watch<ConfigDirWatcher>(configs);
    watch<StatusDirWatcher>(statuses);
    watch<PtrDirWatcher>(out);
    watch<DirWatcher>(slices);
  }

  Ptr<Interface::IntfStatus> status(char const* id) {
    auto const made = Zon::newPtr<RecordingStatus>(id, events);
    made->before = [this] { here(); };
    watch<StatusWatcher>(made);
    return made;
  }
  Ptr<Counters> counters(Orvet::IntfId const& id, std::vector<Zon::Name> const& names) {
    auto const made = newCounters(id, names);
    watch<CounterDirWatcher>(made);
    return made;
  }
  Ptr<Slice> slice(char const* name, std::vector<Orvet::IntfId> const& ids) {
    auto const made = Zon::newPtr<Slice>(name);
    // One manager for both. Of each counter's nineteen blocks the interface's and one in the middle will do.
    auto const manager = Zon::newPtr<RecordingShmemMan>("m", events);
    manager->before = [this, blocks = 0]() mutable {
      int const block = blocks++ % 19;
      if (block == 0 || block == 9) here();
    };
    made->counterShmemManIs(manager);
    made->statisticsShmemManIs(manager);
    for (auto const& id : ids)
      made->intfQueueCounterDirIs(counters(id, {"c"}));
    watch<QueueCounterDirWatcher<Slice::NotifieeConst>>(made);
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
  // Held beside the host's own, which the drop may replace; but not the directory that is to die.
  auto const configIn = host.agent->allIntfDir()->config();
  auto const statusIn = host.agent->allIntfDir()->status();
  auto const dir = [&host] { return host.agent ? host.agent->allIntfDir() : nullptr; };
  auto const statuses = host.statuses;
  auto const slices = host.slices;
  std::vector<std::function<void()>> const steps = {
      [&] { configIn->intfConfigIs(newConfig("E1")); },
      [&] { statusIn->intfStatusIs(host.status("E1")); },
      [&] {
        slices->entityPtrIs(host.slice("a", {"E1", "E2"}));
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
        slices->entityPtrIs(host.slice("b", {"E2", "E3"}));
      },
      [&] {
        if (auto const slice = Zon::ptrCast<Slice>(slices->entityPtr("b"))) {
          slice->intfQueueCounterDirIs(host.counters("E4", {"c", "d"}));
        }
      },
      [&] {
        if (auto const slice = Zon::ptrCast<Slice>(slices->entityPtr("b"))) slice->intfQueueCounterDirDel("E3");
      },
      [&] { slices->entityPtrDel("a"); },
      [&] { configIn->intfConfigNotify(); },
      [&] { statusIn->intfStatusNotify(); },
      [&] {
        if (auto const held = dir()) held->configIs("renamed");
      },
      [&] {
        if (auto const held = dir()) held->statusIs("renamed");
      },
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
    try {
      step();
    } catch (int) {
      // Setters pass on what a write throws while they create.
    }
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
    EXPECT_GT(callbacks, 100);
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
