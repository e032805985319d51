#include "faults/World.h"

#include <algorithm>
#include <utility>

#include <unistd.h>

namespace Faults {

namespace {

using Interface::IntfConfig;
using Interface::IntfStatus;

int nextNumber = 0;

Zon::Ptr<Zon::ActivityConfig> newActivity(World::Activity activity) {
  using Delivery = Zon::ActivityConfig::Delivery;
  if (activity == World::Activity::null) return {};
  return Zon::newPtr<Zon::ActivityConfig>(activity == World::Activity::immediate ? Delivery::immediate
                                                                                 : Delivery::deferring);
}

std::size_t indexOf(std::string_view slice) {
  return static_cast<std::size_t>(std::ranges::find(sliceNames, slice) - sliceNames.begin());
}

}  // namespace

World::World(Activity activity)
  : number_(nextNumber++),
    activity_(newActivity(activity)),
    configs_(Zon::newPtr<Interface::AllIntfConfigDir>("config")),
    statuses_(Zon::newPtr<Interface::AllIntfStatusDir>("status")),
    errdisabled_(Zon::newPtr<Errdisable::Status>("errdisable")),
    slices_(Zon::newPtr<Zon::Dir>("slices")),
    counters_(Zon::newPtr<Interface::AllIntfQueueCounterPtrDir>("counters")),
    agent_(VaroIntf::agentFactory("interfaces")),
    root_(VaroErrdisable::rootFactory("errdisable")) {}

World::~World() {
  dropModules();
  for (auto const& object : objects_)
    Pelto::ShmemMan::unlink(object);
}

void World::wireMirror() { agent_->allIntfReactorIs(activity_, configs_, statuses_); }
void World::wireForwarding() { agent_->allIntfStatusDirSmIs(activity_, statuses_); }
void World::wireCounters() { agent_->allIntfQueueCounterReactorIs(activity_, counters_, slices_); }
void World::wireErrdisable() { root_->allIntfSMIs(activity_, configs_, statuses_, errdisabled_); }

void World::wire() {
  wireMirror();
  wireForwarding();
  wireCounters();
  wireErrdisable();
}

void World::unwireMirror() { agent_->allIntfReactorDel(); }
void World::unwireForwarding() { agent_->allIntfStatusDirSmDel(); }
void World::unwireCounters() { agent_->allIntfQueueCounterReactorDel(); }
void World::unwireErrdisable() { root_->allIntfSMDel(); }

void World::dropModules() noexcept {
  root_ = nullptr;
  agent_ = nullptr;
}

void World::addConfig(char const* intf) {
  if (!produced()->intfConfig(intf)) produced()->intfConfigIs(Zon::newPtr<IntfConfig>(intf));
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
  if (auto const machine = root_->allIntfSM()) machine->handleInitialized();
  settle();
}

void World::addStatus(char const* intf, bool active) {
  if (!producedStatuses()->intfStatus(intf)) {
    auto const status = Zon::newPtr<IntfStatus>(intf);
    status->activeIs(active);
    producedStatuses()->intfStatusIs(status);
  }
  settle();
}

void World::replaceStatus(char const* intf, bool active) {
  auto const status = Zon::newPtr<IntfStatus>(intf);
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
  auto made = Zon::newPtr<Interface::IntfQueueCounterDir>(intf);
  for (char const* name : names)
    made->intfQueueCounterIs(Zon::newPtr<Interface::IntfQueueCounter>(name));
  return made;
}

void World::addSlice(char const* slice, std::vector<char const*> const& intfs, std::vector<char const*> const& counters,
                     Memory memory) {
  if (!this->slice(slice)) {
    auto const made = Zon::newPtr<Interface::AllIntfQueueCounterDir>(slice);
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
  while (activity_ && activity_->zonPending() != 0)
    activity_->zonDispatch();
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
