#include "faults/World.h"

#include <algorithm>
#include <utility>

#include <unistd.h>

namespace Faults {

namespace {

using Interface::IntfConfig;

int nextNumber = 0;

Zon::Ptr<Zon::ActivityConfig> newActivity(World::Activity activity) {
  using Delivery = Zon::ActivityConfig::Delivery;
  if (activity == World::Activity::null) return {};
  return Zon::newPtr<Zon::ActivityConfig>(activity == World::Activity::immediate ? Delivery::immediate
                                                                                 : Delivery::deferring);
}

}  // namespace

std::size_t World::indexOf(std::string_view slice) {
  return static_cast<std::size_t>(std::ranges::find(sliceNames, slice) - sliceNames.begin());
}

World::World(Activity activity, std::shared_ptr<Makers> makers)
  : number_(nextNumber++),
    makers_(std::move(makers)),
    activity_(newActivity(activity)),
    configs_(makers_->configs()),
    statuses_(makers_->statuses()),
    errdisabled_(makers_->errdisabled()),
    slices_(makers_->slices()),
    counters_(makers_->counters()),
    agent_(VaroIntf::agentFactory("interfaces")),
    root_(VaroErrdisable::rootFactory("errdisable")) {
  makers_->produced(*agent_);
}

World::~World() {
  dropModules();
  for (auto const& object : objects_)
    Pelto::ShmemMan::unlink(object);
}

void World::wireMirror() { there(agent_).allIntfReactorIs(activity_, configs_, statuses_); }
void World::wireForwarding() { there(agent_).allIntfStatusDirSmIs(activity_, statuses_); }
void World::wireCounters() { there(agent_).allIntfQueueCounterReactorIs(activity_, counters_, slices_); }
void World::wireErrdisable() { there(root_).allIntfSMIs(activity_, configs_, statuses_, errdisabled_); }

void World::wire() {
  wireMirror();
  wireForwarding();
  wireCounters();
  wireErrdisable();
}

void World::unwireMirror() { there(agent_).allIntfReactorDel(); }
void World::unwireForwarding() { there(agent_).allIntfStatusDirSmDel(); }
void World::unwireCounters() { there(agent_).allIntfQueueCounterReactorDel(); }
void World::unwireErrdisable() { there(root_).allIntfSMDel(); }

void World::dropModules() noexcept {
  root_ = nullptr;
  agent_ = nullptr;
}

void World::addConfig(char const* intf) {
  if (!produced()->intfConfig(intf)) produced()->intfConfigIs(makers_->config(intf));
  settle();
}

void World::removeConfig(char const* intf) {
  produced()->intfConfigDel(intf);
  settle();
}

void World::adminState(char const* intf, Interface::IntfEnabledState state) {
  produced()->intfConfig(intf)->adminEnabledStateLocalIs(state);
  settle();
}

void World::defaultState(char const* intf, Interface::IntfEnabledState state) {
  auto const config = produced()->intfConfig(intf);
  if (!config->defaultConfig()) config->defaultConfigIs(Zon::newPtr<IntfConfig>("default"));
  config->defaultConfig()->adminEnabledStateLocalIs(state);
  // Nobody watches defaults.
  if (auto const machine = root_ ? root_->allIntfSM() : nullptr) machine->handleInitialized();
  settle();
}

void World::addStatus(char const* intf, bool active) {
  if (!producedStatuses()->intfStatus(intf)) {
    auto const status = makers_->status(intf);
    status->activeIs(active);
    producedStatuses()->intfStatusIs(status);
  }
  settle();
}

void World::replaceStatus(char const* intf, bool active) {
  auto const status = makers_->status(intf);
  status->activeIs(active);
  producedStatuses()->intfStatusIs(status);
  settle();
}

void World::removeStatus(char const* intf) {
  producedStatuses()->intfStatusDel(intf);
  settle();
}

void World::active(char const* intf, bool active) {
  producedStatuses()->intfStatus(intf)->activeIs(active);
  settle();
}

void World::forwardingInput(char const* intf, char const* source, std::int32_t model) {
  producedStatuses()->intfStatus(intf)->forwardingModelInputsIs(source, model);
  settle();
}

void World::removeForwardingInput(char const* intf, char const* source) {
  producedStatuses()->intfStatus(intf)->forwardingModelInputsDel(source);
  settle();
}

void World::errdisable(char const* intf, char const* reason) {
  errdisabled_->errdisabledIntfIs(intf, reason);
  settle();
}

void World::recover(char const* intf) {
  errdisabled_->errdisabledIntfDel(intf);
  settle();
}

Zon::Ptr<Pelto::ShmemMan> World::newManager(char const* slice, char const* manager) {
  // This process's and this world's own.
  Zon::Name const name("varo-faults-" + std::to_string(::getpid()) + "-" + std::to_string(number_) + "-" + slice + "-" +
                       manager);
  objects_.insert(name);
  return Zon::newPtr<Pelto::ShmemMan>(name);
}

Zon::Ptr<Interface::AllIntfQueueCounterDir> World::slice(char const* slice) const {
  return Zon::ptrCast<Interface::AllIntfQueueCounterDir>(slices_->entityRef(slice));
}

Zon::Ptr<Interface::AllIntfQueueCounterDir> const& World::filed(std::string_view slice) const {
  return filed_.at(indexOf(slice));
}

Zon::Ptr<Interface::IntfQueueCounterDir> World::newCounters(char const* intf,
                                                            std::vector<char const*> const& names) const {
  auto made = makers_->countersOf(intf);
  for (char const* name : names)
    made->intfQueueCounterIs(Zon::newPtr<Interface::IntfQueueCounter>(name));
  return made;
}

void World::addSlice(char const* slice, std::vector<char const*> const& intfs, std::vector<char const*> const& counters,
                     Memory memory) {
  if (!this->slice(slice)) {
    auto const made = makers_->slice(slice);
    if (memory == Memory::named) {
      made->counterShmemManIs(newManager(slice, "counters"));
      made->statisticsShmemManIs(newManager(slice, "statistics"));
    }
    for (char const* intf : intfs)
      made->intfQueueCounterDirIs(newCounters(intf, counters));
    filed_.at(indexOf(slice)) = made;
    slices_->entityPtrIs(made);
  }
  settle();
}

void World::removeSlice(char const* slice) {
  slices_->entityPtrDel(slice);
  filed_.at(indexOf(slice)) = nullptr;
  settle();
}

void World::addSliceIntf(char const* slice, char const* intf, std::vector<char const*> const& counters) {
  auto const holder = this->slice(slice);
  if (!holder->intfQueueCounterDir(intf)) holder->intfQueueCounterDirIs(newCounters(intf, counters));
  settle();
}

void World::removeSliceIntf(char const* slice, char const* intf) {
  this->slice(slice)->intfQueueCounterDirDel(intf);
  settle();
}

void World::addCounter(char const* slice, char const* intf, char const* counter) {
  auto const holder = this->slice(slice)->intfQueueCounterDir(intf);
  if (!holder->intfQueueCounter(counter)) {
    holder->intfQueueCounterIs(Zon::newPtr<Interface::IntfQueueCounter>(counter));
  }
  settle();
}

void World::removeCounter(char const* slice, char const* intf, char const* counter) {
  this->slice(slice)->intfQueueCounterDir(intf)->intfQueueCounterDel(counter);
  settle();
}

void World::settle() {
  while (activity_ && activity_->zonPending() != 0) {
    // Rounds do not nest: inside one nothing is served, and whoever runs it goes on.
    std::uint32_t const pending = activity_->zonPending();
    if (activity_->zonDispatch() == 0 && activity_->zonPending() == pending) return;
  }
}

void World::sweep() {
  settle();
  if (agent_ && agent_->allIntfReactor()) {
    produced()->intfConfigNotify();
    producedStatuses()->intfStatusNotify();
    settle();
  }
  if (auto const machine = agent_ ? agent_->allIntfStatusDirSm() : nullptr) {
    for (char const* intf : interfaceNames)
      machine->handleIntfStatus(intf);
    for (auto reactor = machine->intfStatusReactorIterator(); reactor; reactor.advance())
      reactor->handleForwardingModelInputs();
  }
  if (auto const machine = agent_ ? agent_->allIntfQueueCounterReactor() : nullptr) {
    for (char const* name : sliceNames)
      if (!slice(name)) machine->handleQueueCounterDir(name);
    machine->handleQueueCounterDir();
    for (auto reactor = machine->sliceSmIterator(); reactor; reactor.advance()) {
      for (auto leaf = reactor->intfQueueCounterSmIterator(); leaf; leaf.advance())
        if (!reactor->counterIn()->intfQueueCounterDir(leaf.key())) reactor->handleQueueCounterDir(leaf.key());
      reactor->handleQueueCounterDir();
      for (auto leaf = reactor->intfQueueCounterSmIterator(); leaf; leaf.advance())
        leaf->handleQueueCounter();
    }
  }
  if (auto const machine = root_ ? root_->allIntfSM() : nullptr) {
    machine->handleInitialized();
    for (char const* intf : interfaceNames)
      machine->handleIntf(intf);
  }
  settle();
}

}  // namespace Faults
