#pragma once

/// \file
/// Foreign code around both modules: two watchers on everything a world makes, and entities, directories and managers
/// whose overridden operations call out before and after they do their work. Every call-out is named and counted.
///
/// The first watchers register as a thing is made, before any module; the second ones when `watchAgain()` is called.
///
/// Use
///
///     auto foreign = std::make_shared<Faults::ForeignCode>();
///     Faults::World world(activity, foreign);
///     foreign->callsAre(&calls);
///     world.addConfig("Ethernet1");     // calls("a host config:key(Ethernet1)"), ...

#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "faults/CallOuts.h"
#include "faults/Scenarios.h"
#include "faults/World.h"
#include "support/Collections.h"
#include "support/Errdisable.h"
#include "support/Events.h"
#include "support/Intf.h"

namespace Faults {

class ForeignCode final : public Makers {
 public:
  /// Which call-outs there are.
  enum class Of { watchers, overrides, both };

  explicit ForeignCode(Of of = Of::both) : of_(of) {}

  /// Null, as at first: nobody counts.
  void callsAre(CallOuts* calls) { calls_ = calls; }
  /// A second watcher on everything made so far.
  void watchAgain() {
    auto const again = std::move(again_);
    again_.clear();
    for (auto const& watch : again)
      watch("b");
  }
  void dropWatchers() {
    again_.clear();
    watchers_.clear();
  }
  /// What the watchers heard since the last call, and what was handed back to them.
  std::string heard() { return events_.take(); }

  Zon::Ptr<Interface::AllIntfConfigDir> configs() override {
    return watched<Support::ConfigDirWatcher>("host config", Zon::newPtr<ConfigDir>(*this));
  }
  Zon::Ptr<Interface::AllIntfStatusDir> statuses() override {
    return watched<Support::StatusDirWatcher>("host status", Zon::newPtr<StatusDir>(*this));
  }
  Zon::Ptr<Errdisable::Status> errdisabled() override {
    return watched<Support::ErrdisableWatcher>("errdisabled", Makers::errdisabled());
  }
  Zon::Ptr<Zon::Dir> slices() override { return watched<Support::DirWatcher>("slices", Makers::slices()); }
  Zon::Ptr<Interface::AllIntfQueueCounterPtrDir> counters() override {
    return watched<Support::PtrDirWatcher>("published", Zon::newPtr<PtrDir>(*this));
  }
  Zon::Ptr<Interface::IntfConfig> config(Orvet::IntfId const& intf) override {
    return watched<Support::ConfigWatcher>("config " + text(intf), Zon::newPtr<Config>(*this, intf));
  }
  Zon::Ptr<Interface::IntfStatus> status(Orvet::IntfId const& intf) override {
    return watched<Support::StatusWatcher>("status " + text(intf), Zon::newPtr<Status>(*this, intf));
  }
  Zon::Ptr<Interface::AllIntfQueueCounterDir> slice(Zon::Name const& name) override {
    auto const made = Makers::slice(name);
    made->counterShmemManIs(Zon::newPtr<Manager>(*this, "counter"));
    made->statisticsShmemManIs(Zon::newPtr<Manager>(*this, "queue"));
    return watched<SliceWatcher>("slice " + name.stdString(), made);
  }
  Zon::Ptr<Interface::IntfQueueCounterDir> countersOf(Orvet::IntfId const& intf) override {
    return watched<Support::CounterDirWatcher>("counters " + text(intf), Makers::countersOf(intf));
  }
  void produced(VaroIntf::Agent& agent) override {
    watched<Support::AllIntfDirWatcher>("aggregate", agent.allIntfDir());
    watched<Support::ConfigDirWatcher>("produced config", agent.allIntfDir()->config());
    watched<Support::StatusDirWatcher>("produced status", agent.allIntfDir()->status());
  }

 private:
  using SliceWatcher = Support::QueueCounterDirWatcher<Interface::AllIntfQueueCounterDir::NotifieeConst>;

  void called(std::string const& what) {
    if (calls_ != nullptr) (*calls_)(what);
  }
  void overridden(std::string const& what) {
    if (of_ != Of::watchers) called(what);
  }
  /// Calls out before and after the work of an overridden operation.
  template <class Work>
  auto around(std::string const& what, Work const& work) {
    overridden("before " + what);
    if constexpr (std::is_void_v<decltype(work())>) {
      work();
      overridden("after " + what);
    } else {
      auto result = work();
      overridden("after " + what);
      return result;
    }
  }

  template <class Watcher, class Made>
  Zon::Ptr<Made> watched(std::string const& what, Zon::Ptr<Made> const& made) {
    if (of_ == Of::overrides) return made;
    // What is watched may go all the same, and what went is not watched again.
    auto const first = Zon::newPtr<Watcher>("a", events_, made);
    keep(first, what);
    again_.push_back([this, what, first](char const* label) {
      if (auto const still = first->notifier()) keep(Zon::newPtr<Watcher>(label, events_, still), what);
    });
    return made;
  }
  template <class Watcher>
  void keep(Zon::Ptr<Watcher> const& watcher, std::string const& what) {
    watcher->zon_bitSetIs(Zon::zonUncountedNotifier);
    watcher->act = [this, name = watcher->label() + " " + what + ":"](std::string const& event) {
      called(name + event);
    };
    watchers_.push_back(watcher);
  }

  static std::string text(Orvet::IntfId const& intf) { return intf.stringValue().stdString(); }

  class Config final : public Interface::IntfConfig {
   public:
    Config(ForeignCode& code, Orvet::IntfId const& intf) : IntfConfig(intf), code_(code), name_(text(intf)) {}
    bool adminEnabled() const override {
      return code_.around("adminEnabled " + name_, [&] { return IntfConfig::adminEnabled(); });
    }
    void enabledStateLocalIs(Interface::IntfEnabledState state) override {
      code_.around("enabledStateLocalIs " + name_, [&] { IntfConfig::enabledStateLocalIs(state); });
    }
    void enabledStateReasonIs(Zon::String8 reason) override {
      code_.around("enabledStateReasonIs " + name_, [&] { IntfConfig::enabledStateReasonIs(reason); });
    }

   private:
    ForeignCode& code_;
    std::string const name_;
  };

  class Status final : public Interface::IntfStatus {
   public:
    Status(ForeignCode& code, Orvet::IntfId const& intf) : IntfStatus(intf), code_(code) {}
    void forwardingModelIs(std::int32_t model) override {
      code_.around("forwardingModelIs " + text(intfId()), [&] { IntfStatus::forwardingModelIs(model); });
    }

   private:
    ForeignCode& code_;
  };

  class ConfigDir final : public Interface::AllIntfConfigDir {
   public:
    explicit ConfigDir(ForeignCode& code) : AllIntfConfigDir("config"), code_(code) {}
    using AllIntfConfigDir::intfConfigDel;
    void intfConfigIs(Zon::Ptr<Interface::IntfConfig> const& config) override {
      code_.around("intfConfigIs " + text(config->intfId()), [&] { AllIntfConfigDir::intfConfigIs(config); });
    }
    Zon::Ptr<Interface::IntfConfig> intfConfigDel(Orvet::IntfId intf) override {
      return code_.around("intfConfigDel " + text(intf), [&] { return AllIntfConfigDir::intfConfigDel(intf); });
    }

   private:
    ForeignCode& code_;
  };

  class StatusDir final : public Interface::AllIntfStatusDir {
   public:
    explicit StatusDir(ForeignCode& code) : AllIntfStatusDir("status"), code_(code) {}
    using AllIntfStatusDir::intfStatusDel;
    void intfStatusIs(Zon::Ptr<Interface::IntfStatus> const& status) override {
      code_.around("intfStatusIs " + text(status->intfId()), [&] { AllIntfStatusDir::intfStatusIs(status); });
    }
    Zon::Ptr<Interface::IntfStatus> intfStatusDel(Orvet::IntfId intf) override {
      return code_.around("intfStatusDel " + text(intf), [&] { return AllIntfStatusDir::intfStatusDel(intf); });
    }

   private:
    ForeignCode& code_;
  };

  class PtrDir final : public Interface::AllIntfQueueCounterPtrDir {
   public:
    using Counters = Zon::Ptr<Interface::IntfQueueCounterDir>;
    explicit PtrDir(ForeignCode& code) : AllIntfQueueCounterPtrDir("counters"), code_(code) {}
    using AllIntfQueueCounterPtrDir::intfQueueCounterDirDel;
    void intfQueueCounterDirIs(Counters const& counters) override {
      code_.around("intfQueueCounterDirIs " + text(counters->intfId()),
                   [&] { AllIntfQueueCounterPtrDir::intfQueueCounterDirIs(counters); });
    }
    Counters intfQueueCounterDirDel(Orvet::IntfId intf) override {
      return code_.around("intfQueueCounterDirDel " + text(intf),
                          [&] { return AllIntfQueueCounterPtrDir::intfQueueCounterDirDel(intf); });
    }

   private:
    ForeignCode& code_;
  };

  class Manager final : public Pelto::ShmemMan {
   public:
    Manager(ForeignCode& code, char const* what) : ShmemMan("", 1 << 16), code_(code), what_(what) {}
    Zon::Ptr<Pelto::CounterBlock> newCounterBlock(Zon::String8 name) override {
      return aroundEnds("newCounterBlock ", name, [&] { return ShmemMan::newCounterBlock(name); });
    }
    Zon::Ptr<Pelto::CounterBlock> counterBlock(Zon::String8 name) const override {
      return aroundEnds("counterBlock ", name, [&] { return ShmemMan::counterBlock(name); });
    }

   private:
    // Of a counter's 18 queues the first and the last call out: nothing happens between them.
    template <class Work>
    Zon::Ptr<Pelto::CounterBlock> aroundEnds(char const* what, Zon::String8 const& name, Work const& work) const {
      std::string const block = name.stdString();
      bool const isEnd = what_ == "counter" || block.find("-0-") != block.npos || block.find("-17-") != block.npos;
      return isEnd ? code_.around(what + block, work) : work();
    }

    ForeignCode& code_;
    std::string const what_;
  };

  Of const of_;
  CallOuts* calls_ = nullptr;
  Support::Events events_;
  std::vector<std::function<void(char const*)>> again_;
  std::vector<Zon::Ptr<Zon::PtrInterface::NotifieeConst>> watchers_;
};

/// A world that has what is there before a scenario, among foreign code that calls out from now on.
class Life {
 public:
  Life(Scenario const& scenario, ForeignCode::Of of, CallOuts& calls)
    : foreign(std::make_shared<ForeignCode>(of)), world(scenario.activity, foreign) {
    for (auto const& step : scenario.before)
      step.act(world);
    foreign->watchAgain();
    static_cast<void>(foreign->heard());
    foreign->callsAre(&calls);
  }
  ~Life() { foreign->callsAre(nullptr); }
  Life(Life const&) = delete;
  Life& operator=(Life const&) = delete;

  std::shared_ptr<ForeignCode> const foreign;
  World world;
};

}  // namespace Faults
