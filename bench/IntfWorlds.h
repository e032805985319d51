#pragma once

/// \file
/// The interface module over N interfaces, one class for each thing that is measured of it: worlds for the benchmarks
/// (bench/Worlds.h) and for the counting of instructions.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include <unistd.h>

#include "VaroIntf/Agent.h"
#include "bench/Members.h"

namespace Bench {

inline Zon::Ptr<Zon::ActivityConfig> immediate() {
  return Zon::newPtr<Zon::ActivityConfig>(Zon::ActivityConfig::Delivery::immediate);
}

/// The aggregate's configurations, mirrored into the host's directory.
class Mirror {
 public:
  explicit Mirror(std::size_t count) : ids_(idsOf(count)) {
    for (auto& configs : configs_)
      for (auto const& id : ids_)
        configs.push_back(Zon::newPtr<Interface::IntfConfig>(id));
    for (auto const& config : configs_[0])
      in_->intfConfigIs(config);
  }
  /// The first fill.
  void wire() {
    out_ = Zon::newPtr<Interface::AllIntfConfigDir>("out");
    agent_->allIntfReactorIs(activity_, out_, nullptr);
  }
  void unwire() {
    agent_->allIntfReactorDel();
    out_ = nullptr;
  }
  /// Another configuration of the same interface.
  void change(std::size_t i, std::size_t round) { in_->intfConfigIs(configs_[round % 2][i]); }
  void remove(std::size_t i) { in_->intfConfigDel(ids_[i]); }
  bool isEmpty() const { return !out_->intfConfigIterator(); }
  char const* check(std::size_t round) const {
    for (std::size_t i = 0; i < ids_.size(); ++i)
      if (out_->intfConfig(ids_[i]) != configs_[round % 2][i]) return "a mirrored entry is wrong";
    return nullptr;
  }

 private:
  std::vector<Orvet::IntfId> const ids_;
  std::array<std::vector<Zon::Ptr<Interface::IntfConfig>>, 2> configs_;
  Zon::Ptr<Zon::ActivityConfig> const activity_ = immediate();
  Zon::Ptr<VaroIntf::Agent> const agent_ = VaroIntf::agentFactory("interfaces");
  Zon::Ptr<Interface::AllIntfConfigDir> const in_ = agent_->allIntfDir()->config();
  Zon::Ptr<Interface::AllIntfConfigDir> out_;
};

/// The inputs of every interface's forwarding model. In even rounds the first asks for 4, in odd ones for 1; the others
/// ask for more.
constexpr std::array<char const*, 4> forwardingSources{"bridging", "lag", "monitor", "routing"};

constexpr std::int32_t forwardingModelIn(std::size_t round) { return round % 2 == 0 ? 4 : 1; }

/// Statuses with four forwarding-model inputs each, and what resolves them.
class ForwardingModels {
 public:
  explicit ForwardingModels(std::size_t count) {
    for (char const* const source : forwardingSources)
      sources_.emplace_back(source);
    for (auto const& id : idsOf(count)) {
      statuses_.push_back(Zon::newPtr<Interface::IntfStatus>(id));
      for (auto const& source : sources_)
        statuses_.back()->forwardingModelInputsIs(source, source == sources_[0] ? 4 : 7);
      directory_->intfStatusIs(statuses_.back());
    }
  }
  void wire() { agent_->allIntfStatusDirSmIs(activity_, directory_); }
  void unwire() { agent_->allIntfStatusDirSmDel(); }
  void change(std::size_t i, std::size_t round) {
    statuses_[i]->forwardingModelInputsIs(sources_[0], forwardingModelIn(round));
  }
  char const* check(std::size_t round) const {
    for (auto const& status : statuses_)
      if (status->forwardingModel() != forwardingModelIn(round)) return "a forwarding model is wrong";
    return nullptr;
  }

 private:
  std::vector<Zon::String8> sources_;
  std::vector<Zon::Ptr<Interface::IntfStatus>> statuses_;
  Zon::Ptr<Interface::AllIntfStatusDir> const directory_ = Zon::newPtr<Interface::AllIntfStatusDir>("status");
  Zon::Ptr<Zon::ActivityConfig> const activity_ = immediate();
  Zon::Ptr<VaroIntf::Agent> const agent_ = VaroIntf::agentFactory("interfaces");
};

/// One slice with the counters of N interfaces, and the chain that serves it.
class CounterSlice {
 public:
  explicit CounterSlice(std::size_t count) {
    for (auto const& id : idsOf(count)) {
      counters_.push_back(Zon::newPtr<Interface::IntfQueueCounterDir>(id));
      slice_->intfQueueCounterDirIs(counters_.back());
    }
    slices_->entityPtrIs(slice_);
  }
  void wire() {
    out_ = Zon::newPtr<Interface::AllIntfQueueCounterPtrDir>("out");
    sliceReactor_ = agent_->allIntfQueueCounterReactorIs(activity_, out_, slices_)->sliceSm("linecard1");
  }
  void unwire() {
    sliceReactor_ = nullptr;
    agent_->allIntfQueueCounterReactorDel();
    out_ = nullptr;
  }
  /// Everything is there already: what the sweep looks at.
  void sweep() { sliceReactor_->handleQueueCounterDir(); }

  void managersAre(Zon::Ptr<Pelto::ShmemMan> const& counters, Zon::Ptr<Pelto::ShmemMan> const& statistics) {
    slice_->counterShmemManIs(counters);
    slice_->statisticsShmemManIs(statistics);
  }
  void addCounter(std::size_t i, Zon::Ptr<Interface::IntfQueueCounter> const& counter) {
    counters_[i]->intfQueueCounterIs(counter);
  }
  void removeCounter(std::size_t i, Zon::Name const& name) { counters_[i]->intfQueueCounterDel(name); }
  std::size_t blocks() const {
    return slice_->counterShmemMan()->counterBlocks() + slice_->statisticsShmemMan()->counterBlocks();
  }
  char const* check(std::size_t) const {
    for (auto const& counters : counters_)
      if (out_->intfQueueCounterDir(counters->intfId()) != counters) return "an output entry is wrong";
    return nullptr;
  }

 private:
  std::vector<Zon::Ptr<Interface::IntfQueueCounterDir>> counters_;
  Zon::Ptr<Interface::AllIntfQueueCounterDir> const slice_ =
      Zon::newPtr<Interface::AllIntfQueueCounterDir>("linecard1");
  Zon::Ptr<Zon::Dir> const slices_ = Zon::newPtr<Zon::Dir>("slices");
  Zon::Ptr<Zon::ActivityConfig> const activity_ = immediate();
  Zon::Ptr<VaroIntf::Agent> const agent_ = VaroIntf::agentFactory("interfaces");
  Zon::Ptr<Interface::AllIntfQueueCounterPtrDir> out_;
  Zon::Ptr<VaroIntf::AllIntfQueueCounterSliceReactor> sliceReactor_;
};

/// `agentFactory`, both halves of its directory filled, and its three reactors: everything the module does with N
/// interfaces when a host starts. The entities are there already.
class Agents {
 public:
  explicit Agents(std::size_t count) {
    auto const slice = Zon::newPtr<Interface::AllIntfQueueCounterDir>("linecard1");
    for (auto const& id : idsOf(count)) {
      configs_.push_back(Zon::newPtr<Interface::IntfConfig>(id));
      statuses_.push_back(Zon::newPtr<Interface::IntfStatus>(id));
      statuses_.back()->forwardingModelInputsIs("bridging", 3);
      slice->intfQueueCounterDirIs(Zon::newPtr<Interface::IntfQueueCounterDir>(id));
    }
    slices_->entityPtrIs(slice);
  }
  void wire() {
    agent_ = VaroIntf::agentFactory("interfaces");
    for (auto const& config : configs_)
      agent_->allIntfDir()->config()->intfConfigIs(config);
    for (auto const& status : statuses_)
      agent_->allIntfDir()->status()->intfStatusIs(status);
    configOut_ = Zon::newPtr<Interface::AllIntfConfigDir>("config");
    statusOut_ = Zon::newPtr<Interface::AllIntfStatusDir>("status");
    countersOut_ = Zon::newPtr<Interface::AllIntfQueueCounterPtrDir>("counters");
    agent_->allIntfReactorIs(activity_, configOut_, statusOut_);
    agent_->allIntfStatusDirSmIs(activity_, statusOut_);
    agent_->allIntfQueueCounterReactorIs(activity_, countersOut_, slices_);
  }
  void unwire() {
    agent_ = nullptr;
    configOut_ = nullptr;
    statusOut_ = nullptr;
    countersOut_ = nullptr;
  }
  char const* check(std::size_t) const {
    for (std::size_t i = 0; i < configs_.size(); ++i) {
      auto const& id = configs_[i]->intfId();
      if (configOut_->intfConfig(id) != configs_[i]) return "a mirrored configuration is wrong";
      if (statusOut_->intfStatus(id) != statuses_[i]) return "a mirrored status is wrong";
      if (statuses_[i]->forwardingModel() != 3) return "a forwarding model is wrong";
      if (!countersOut_->intfQueueCounterDir(id)) return "an output entry is missing";
    }
    return nullptr;
  }

 private:
  std::vector<Zon::Ptr<Interface::IntfConfig>> configs_;
  std::vector<Zon::Ptr<Interface::IntfStatus>> statuses_;
  Zon::Ptr<Zon::Dir> const slices_ = Zon::newPtr<Zon::Dir>("slices");
  Zon::Ptr<Zon::ActivityConfig> const activity_ = immediate();
  Zon::Ptr<VaroIntf::Agent> agent_;
  Zon::Ptr<Interface::AllIntfConfigDir> configOut_;
  Zon::Ptr<Interface::AllIntfStatusDir> statusOut_;
  Zon::Ptr<Interface::AllIntfQueueCounterPtrDir> countersOut_;
};

/// The blocks of one counter: one for the interface and one for each of its queues.
constexpr std::size_t blocksOfACounter = 1 + VaroIntf::AllIntfQueueCounterSliceIntfCounterReactor::queues;

/// A manager for the blocks of many counters; a named one loses its name at once.
inline Zon::Ptr<Pelto::ShmemMan> newManager(bool named, char const* purpose) {
  if (!named) return Zon::newPtr<Pelto::ShmemMan>();
  Zon::Name const name("varo-bench-" + std::to_string(::getpid()) + "-" + purpose);
  auto manager = Zon::newPtr<Pelto::ShmemMan>(name);
  Pelto::ShmemMan::unlink(name);
  return manager;
}

/// N interfaces that get one counter each.
template <bool named>
class CounterBlocks {
 public:
  explicit CounterBlocks(std::size_t count) : slice_(count) {
    for (std::size_t i = 0; i < count; ++i)
      counters_.push_back(Zon::newPtr<Interface::IntfQueueCounter>("dropped"));
    slice_.wire();
  }
  /// New managers, and the counters are gone again.
  void unwire() {
    for (std::size_t i = 0; i < counters_.size(); ++i)
      slice_.removeCounter(i, counters_[i]->name());
    slice_.managersAre(newManager(named, "counters"), newManager(named, "statistics"));
  }
  void wire() {
    for (std::size_t i = 0; i < counters_.size(); ++i)
      slice_.addCounter(i, counters_[i]);
  }
  std::size_t blocks() const { return slice_.blocks(); }
  char const* check(std::size_t) const {
    return blocks() == counters_.size() * blocksOfACounter ? nullptr : "blocks are missing";
  }

 private:
  CounterSlice slice_;
  std::vector<Zon::Ptr<Interface::IntfQueueCounter>> counters_;
};

}  // namespace Bench
