#include "host/Device.h"

#include <fmt/format.h>

#include "host/StateFollower.h"
#include "host/Text.h"

namespace VaroHost {

using Interface::IntfConfig;
using Interface::IntfStatus;

namespace {

constexpr char mirrorAttribute[] = "allIntfReactor";
constexpr char modelsAttribute[] = "allIntfStatusDirSm";
constexpr char machineAttribute[] = "allIntfSM";

/// One of the two directories in which producers write.
template <class Dir>
Zon::Ptr<Dir> producersDir(Module const& agent, char const* attribute) {
  return Module::object<Dir>(Module::get(agent.child("allIntfDir"), attribute));
}

/// An entry as messages name it, by its first keys.
std::string described(std::string_view entity, Change const& change, std::size_t keys) {
  std::string text = fmt::format("{} of ", entity);
  for (std::size_t at = 0; at < keys; ++at) {
    text += fmt::format("{}\"{}\"", at == 0 ? "" : ", ", excerpt(change.keys[at]));
  }
  return text;
}

[[noreturn]] void absent(std::string_view entity, Change const& change, std::size_t keys) {
  throw ChangeError(Member::key, described(entity, change, keys) + " is not there");
}

[[noreturn]] void absent(Change const& change) { absent(change.entity->name, change, change.entity->keyCount()); }

[[noreturn]] void present(Change const& change) {
  throw ChangeError(Member::key,
                    described(change.entity->name, change, change.entity->keyCount()) + " is there already");
}

}  // namespace

Device::Device(StateFollower* follower, CounterMemory const& memory)
  : follower_(follower),
    activity_(Zon::newPtr<Zon::ActivityConfig>(Zon::ActivityConfig::Delivery::immediate)),
    configs_(Zon::newPtr<Interface::AllIntfConfigDir>("intfConfig")),
    statuses_(Zon::newPtr<Interface::AllIntfStatusDir>("intfStatus")),
    errdisable_(Zon::newPtr<Errdisable::Status>("errdisable")),
    queueCounters_(memory),
    agent_("VaroIntf::Agent", "intf"),
    configsIn_(producersDir<Interface::AllIntfConfigDir>(agent_, "config")),
    statusesIn_(producersDir<Interface::AllIntfStatusDir>(agent_, "status")),
    errdisableRoot_("VaroErrdisable::Root", "errdisable") {
  auto const activity = Module::reference(activity_);
  auto const configs = Module::reference(configs_);
  auto const statuses = Module::reference(statuses_);
  agent_.childIs(mirrorAttribute, {activity, configs, statuses});
  agent_.childIs(modelsAttribute, {activity, statuses});
  queueCounters_.wire(agent_, activity_);
  // After the mirror: else its first evaluations would see configurations without their statuses.
  machine_ = errdisableRoot_.childIs(machineAttribute, {activity, configs, statuses, Module::reference(errdisable_)});
}

Device::~Device() {
  // Whoever reads goes before whoever writes what it reads.
  machine_ = nullptr;
  errdisableRoot_.childDel(machineAttribute);
  queueCounters_.unwire(agent_);
  agent_.childDel(modelsAttribute);
  agent_.childDel(mirrorAttribute);
  // Default configurations may name one another; the links would keep them alive.
  for (auto const& [name, config] : defaultConfigs_) {
    config->defaultConfigIs(nullptr);
  }
}

Zon::Ptr<IntfConfig> Device::defaultConfig(std::string const& name) const {
  if (name.empty()) {
    return nullptr;
  }
  auto const found = defaultConfigs_.find(name);
  if (found == defaultConfigs_.end()) {
    throw ChangeError(Member::value, fmt::format("default configuration \"{}\" is not there", excerpt(name)));
  }
  return found->second;
}

Zon::Ptr<IntfConfig> Device::presentConfig(Change const& change) const {
  auto found = config(change.key());
  if (!found) {
    absent(change);
  }
  return found;
}

Zon::Ptr<IntfStatus> Device::presentStatus(Change const& change) const {
  auto found = status(change.key());
  if (!found) {
    absent(change);
  }
  return found;
}

void Device::assign(Zon::Entity& target, Change const& change) {
  if (change.attribute != nullptr) {
    change.attribute->set(*this, target, change.value);
  }
}

// Configurations.

void Device::configIs(Zon::Ptr<IntfConfig> const& config) {
  if (follower_ != nullptr) {
    follower_->watch(config);
  }
  configsIn_->intfConfigIs(config);
}

void Device::configDel(Orvet::IntfId const& intfId) {
  configsIn_->intfConfigDel(intfId);
  if (follower_ != nullptr) {
    follower_->unwatch(intfId);
  }
}

void Device::configSet(Change const& change) {
  auto const target = presentConfig(change);
  assign(*target, change);
  if (change.attribute->afterwards != nullptr) {
    (this->*change.attribute->afterwards)(change);
  }
}

void Device::configAdd(Change const& change) {
  if (config(change.key())) {
    present(change);
  }
  auto const added = Zon::newPtr<IntfConfig>(change.key());
  assign(*added, change);
  configIs(added);
}

void Device::configReplace(Change const& change) {
  auto const old = presentConfig(change);
  auto const added = Zon::newPtr<IntfConfig>(change.key());
  assign(*added, change);
  // The machine of an interface is bound to its configuration: the old one must go first.
  configDel(old->intfId());
  configIs(added);
}

void Device::configDel(Change const& change) { configDel(presentConfig(change)->intfId()); }

// Default configurations.

void Device::defaultConfigSet(Change const& change) {
  auto const found = defaultConfigs_.find(change.key());
  if (found == defaultConfigs_.end()) {
    absent(change);
  }
  auto const before = found->second->adminEnabledStateLocal();
  assign(*found->second, change);
  if (found->second->adminEnabledStateLocal() != before && change.attribute->afterwards != nullptr) {
    (this->*change.attribute->afterwards)(change);
  }
}

void Device::defaultConfigAdd(Change const& change) {
  auto const [added, isNew] = defaultConfigs_.try_emplace(change.key());
  if (!isNew) {
    present(change);
  }
  added->second = Zon::newPtr<IntfConfig>(change.key());
  assign(*added->second, change);
}

void Device::defaultConfigDel(Change const& change) {
  auto const found = defaultConfigs_.find(change.key());
  if (found == defaultConfigs_.end()) {
    absent(change);
  }
  for (auto at = configsIn_->intfConfigIteratorConst(); at; at.advance()) {
    if (at->defaultConfig() == found->second) {
      throw ChangeError(Member::key, fmt::format("default configuration \"{}\" is in use, by \"{}\" for one",
                                                 excerpt(change.key()), excerpt(at->intfId().stringValue().view())));
    }
  }
  defaultConfigs_.erase(found);
}

// Statuses.

void Device::statusSet(Change const& change) { assign(*presentStatus(change), change); }

void Device::statusAdd(Change const& change) {
  if (status(change.key())) {
    present(change);
  }
  auto const added = Zon::newPtr<IntfStatus>(change.key());
  assign(*added, change);
  statusIs(added);
}

void Device::statusReplace(Change const& change) {
  auto const old = presentStatus(change);
  auto const added = Zon::newPtr<IntfStatus>(change.key());
  assign(*added, change);
  statusDel(old->intfId());
  statusIs(added);
}

void Device::statusDel(Change const& change) { statusDel(presentStatus(change)->intfId()); }

// Entries.

void Device::errdisabledSet(Change const& change) { errdisable_->errdisabledIntfIs(change.key(), change.value.text); }

void Device::errdisabledDel(Change const& change) {
  if (!errdisable_->errdisabledIntfDel(change.key())) {
    absent(change);
  }
}

void Device::forwardingInputSet(Change const& change) {
  auto const target = status(change.key());
  if (!target) {
    absent("intfStatus", change, 1);
  }
  target->forwardingModelInputsIs(change.keys[1], change.value.integer);
}

void Device::forwardingInputDel(Change const& change) {
  auto const target = status(change.key());
  if (!target || !target->forwardingModelInputsDel(change.keys[1])) {
    absent(change);
  }
}

// Queue counters.

Zon::Ptr<QueueCounters::Slice> Device::presentSlice(Change const& change) const {
  auto found = queueCounters_.slice(change.key());
  if (!found) {
    absent("slice", change, 1);
  }
  return found;
}

Zon::Ptr<QueueCounters::Counters> Device::presentCounters(Change const& change) const {
  auto found = presentSlice(change)->intfQueueCounterDir(change.keys[1]);
  if (!found) {
    absent("intfQueueCounterDir", change, 2);
  }
  return found;
}

void Device::sliceAdd(Change const& change) {
  if (queueCounters_.slice(change.key())) {
    present(change);
  }
  queueCounters_.sliceIs(change.key());
}

void Device::sliceReplace(Change const& change) { queueCounters_.sliceIs(presentSlice(change)->name()); }

void Device::sliceDel(Change const& change) { queueCounters_.sliceDel(presentSlice(change)->name()); }

void Device::countersAdd(Change const& change) {
  auto const slice = presentSlice(change);
  if (slice->intfQueueCounterDir(change.keys[1])) {
    present(change);
  }
  queueCounters_.countersIs(*slice, change.keys[1]);
}

void Device::countersReplace(Change const& change) {
  queueCounters_.countersIs(*presentSlice(change), presentCounters(change)->intfId());
}

void Device::countersDel(Change const& change) {
  queueCounters_.countersDel(*presentSlice(change), presentCounters(change)->intfId());
}

void Device::counterAdd(Change const& change) {
  auto const counters = presentCounters(change);
  if (counters->intfQueueCounter(change.keys[2])) {
    present(change);
  }
  counters->intfQueueCounterIs(Zon::newPtr<Interface::IntfQueueCounter>(change.keys[2]));
  // The module cannot tell: who is notified has nobody to complain to.
  if (!queueCounters_.hasBlocks(counters->intfId(), change.keys[2])) {
    counters->intfQueueCounterDel(change.keys[2]);
    throw ChangeError(Member::key, described(change.entity->name, change, change.entity->keyCount()) +
                                       " has no room for its blocks in shared memory");
  }
}

void Device::counterDel(Change const& change) {
  if (!presentCounters(change)->intfQueueCounterDel(change.keys[2])) {
    absent(change);
  }
}

// Evaluation.

void Device::reevaluate(Change const& change) { configs_->intfConfigNotify(change.key()); }

void Device::reevaluateAll(Change const&) { Module::call(machine_, "handleInitialized"); }

}  // namespace VaroHost
