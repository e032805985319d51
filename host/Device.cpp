#include "host/Device.h"

#include <fmt/format.h>

#include "host/StateFollower.h"
#include "host/Text.h"

namespace VaroHost {

using Interface::IntfConfig;
using Interface::IntfStatus;

namespace {

constexpr char machineAttribute[] = "allIntfSM";

[[noreturn]] void absent(Change const& change) {
  throw ChangeError(Member::key, fmt::format("{} of \"{}\" is not there", change.entity->name, excerpt(change.key())));
}

[[noreturn]] void present(Change const& change) {
  throw ChangeError(Member::key,
                    fmt::format("{} of \"{}\" is there already", change.entity->name, excerpt(change.key())));
}

}  // namespace

Device::Device(StateFollower* follower)
  : follower_(follower),
    activity_(Zon::newPtr<Zon::ActivityConfig>(Zon::ActivityConfig::Delivery::immediate)),
    configs_(Zon::newPtr<Interface::AllIntfConfigDir>("intfConfig")),
    statuses_(Zon::newPtr<Interface::AllIntfStatusDir>("intfStatus")),
    errdisable_(Zon::newPtr<Errdisable::Status>("errdisable")),
    module_("VaroErrdisable::Root", "errdisable"),
    machine_(module_.childIs(machineAttribute, {Module::reference(activity_), Module::reference(configs_),
                                                Module::reference(statuses_), Module::reference(errdisable_)})) {}

Device::~Device() {
  // Silence the module before its inputs go.
  machine_ = nullptr;
  module_.childDel(machineAttribute);
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

Zon::Ptr<IntfConfig> Device::config(Change const& change) const {
  auto found = configs_->intfConfig(change.key());
  if (!found) {
    absent(change);
  }
  return found;
}

Zon::Ptr<IntfStatus> Device::status(Change const& change) const {
  auto found = statuses_->intfStatus(change.key());
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
  configs_->intfConfigIs(config);
}

void Device::configDel(Orvet::IntfId const& intfId) {
  configs_->intfConfigDel(intfId);
  if (follower_ != nullptr) {
    follower_->unwatch(intfId);
  }
}

void Device::configSet(Change const& change) {
  auto const target = config(change);
  assign(*target, change);
  if (change.attribute->afterwards != nullptr) {
    (this->*change.attribute->afterwards)(change);
  }
}

void Device::configAdd(Change const& change) {
  if (configs_->intfConfig(change.key())) {
    present(change);
  }
  auto const added = Zon::newPtr<IntfConfig>(change.key());
  assign(*added, change);
  configIs(added);
}

void Device::configReplace(Change const& change) {
  auto const old = config(change);
  auto const added = Zon::newPtr<IntfConfig>(change.key());
  assign(*added, change);
  // The machine of an interface is bound to its configuration: the old one must go first.
  configDel(old->intfId());
  configIs(added);
}

void Device::configDel(Change const& change) { configDel(config(change)->intfId()); }

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
  for (auto at = configs_->intfConfigIteratorConst(); at; at.advance()) {
    if (at->defaultConfig() == found->second) {
      throw ChangeError(Member::key, fmt::format("default configuration \"{}\" is in use, by \"{}\" for one",
                                                 excerpt(change.key()), excerpt(at->intfId().stringValue().view())));
    }
  }
  defaultConfigs_.erase(found);
}

// Statuses.

void Device::statusSet(Change const& change) { assign(*status(change), change); }

void Device::statusAdd(Change const& change) {
  if (statuses_->intfStatus(change.key())) {
    present(change);
  }
  auto const added = Zon::newPtr<IntfStatus>(change.key());
  assign(*added, change);
  statuses_->intfStatusIs(added);
}

void Device::statusReplace(Change const& change) {
  auto const old = status(change);
  auto const added = Zon::newPtr<IntfStatus>(change.key());
  assign(*added, change);
  statuses_->intfStatusDel(old->intfId());
  statuses_->intfStatusIs(added);
}

void Device::statusDel(Change const& change) { statuses_->intfStatusDel(status(change)->intfId()); }

// Entries.

void Device::errdisabledSet(Change const& change) { errdisable_->errdisabledIntfIs(change.key(), change.value.text); }

void Device::errdisabledDel(Change const& change) {
  if (!errdisable_->errdisabledIntfDel(change.key())) {
    absent(change);
  }
}

void Device::forwardingInputSet(Change const& change) {
  auto const target = statuses_->intfStatus(change.key());
  if (!target) {
    throw ChangeError(Member::key, fmt::format("intfStatus of \"{}\" is not there", excerpt(change.key())));
  }
  target->forwardingModelInputsIs(change.keys[1], change.value.integer);
}

void Device::forwardingInputDel(Change const& change) {
  auto const target = statuses_->intfStatus(change.key());
  if (!target || !target->forwardingModelInputsDel(change.keys[1])) {
    absent(change);
  }
}

// Evaluation.

void Device::reevaluate(Change const& change) { configs_->intfConfigNotify(change.key()); }

void Device::reevaluateAll(Change const&) { Module::call(machine_, "handleInitialized"); }

}  // namespace VaroHost
