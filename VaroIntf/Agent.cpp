#include "VaroIntf/Agent.h"

#include <utility>

#include "VaroIntf/VaroIntf.h"
#include "Zon/AttrTable.h"
#include "Zon/ChildEntity.h"
#include "Zon/ChildReactor.h"
#include "Zon/Quietly.h"

namespace VaroIntf {

Zon::Ptr<Agent> Agent::AgentIs(Zon::Name name) {
  auto agent = Zon::validPtr(Zon::newPtr<Agent>(name));
  agent->allIntfDirIs(std::move(name));
  return agent;
}

Agent::Agent(Zon::Name name) : Entity(std::move(name)) {}

Agent::~Agent() {
  Zon::quietly([this] { allIntfDirDel(); });
  Zon::quietly([this] { allIntfReactorDel(); });
  Zon::quietly([this] { allIntfStatusDirSmDel(); });
  Zon::quietly([this] { allIntfQueueCounterReactorDel(); });
}

void Agent::isNondestructingIs(bool nondestructing) { PtrInterface::isNondestructingIs(nondestructing); }

Zon::Ptr<AllIntfDir> Agent::allIntfDirIs(Zon::Name name) {
  if (allIntfDir_ && allIntfDir_->name() == name) {
    return allIntfDir_;
  }
  Zon::Ptr<Agent> const self(this);
  // First: when it cannot be made, nothing has changed.
  Zon::Ptr<AllIntfDir> const made = newAllIntfDir(std::move(name));
  if (allIntfDir_) {
    allIntfDir_->parentIs(nullptr);
  }
  allIntfDir_ = made;
  return made;
}

Zon::Ptr<AllIntfDir> Agent::newAllIntfDir(Zon::Name name) {
  return Zon::newChild<AllIntfDir>(*this, 258, std::move(name));
}

Zon::Ptr<AllIntfDir> Agent::allIntfDirDel() { return Zon::takeChild(allIntfDir_); }

Zon::Ptr<AllIntfReactor> Agent::allIntfReactorIs(Zon::Ptr<Zon::ActivityConfig> const& activity,
                                                 Zon::Ptr<Interface::AllIntfConfigDir> const& configDir,
                                                 Zon::Ptr<Interface::AllIntfStatusDir> const& statusDir) {
  Zon::Ptr<Agent> const self(this);
  return Zon::replaceReactor(
      allIntfReactor_, activity,
      [&](AllIntfReactor const& held) { return held.configOut() == configDir && held.statusOut() == statusDir; },
      [&] { return newAllIntfReactor(activity, configDir, statusDir); });
}

Zon::Ptr<AllIntfReactor> Agent::newAllIntfReactor(Zon::Ptr<Zon::ActivityConfig> const& activity,
                                                  Zon::Ptr<Interface::AllIntfConfigDir> const& configDir,
                                                  Zon::Ptr<Interface::AllIntfStatusDir> const& statusDir) {
  Zon::Ptr<AllIntfDir> const directory = allIntfDir_;
  auto const configIn = directory ? directory->config() : nullptr;
  auto const statusIn = directory ? directory->status() : nullptr;
  auto reactor = Zon::validPtr(Zon::newPtr<AllIntfReactor>(activity, configDir, statusDir, configIn, statusIn));
  reactor->hasNotificationActiveIs(true);
  return reactor;
}

Zon::Ptr<AllIntfReactor> Agent::allIntfReactorDel() { return Zon::takeReactor(allIntfReactor_); }

Zon::Ptr<AllIntfStatusDirSm>
Agent::allIntfStatusDirSmIs(Zon::Ptr<Zon::ActivityConfig> const& activity,
                            Zon::Ptr<Interface::AllIntfStatusDir> const& allIntfStatusDir) {
  Zon::Ptr<Agent> const self(this);
  return Zon::replaceReactor(
      allIntfStatusDirSm_, activity,
      [&](AllIntfStatusDirSm const& held) { return held.allIntfStatusDir() == allIntfStatusDir; },
      [&] { return newAllIntfStatusDirSm(activity, allIntfStatusDir); });
}

Zon::Ptr<AllIntfStatusDirSm>
Agent::newAllIntfStatusDirSm(Zon::Ptr<Zon::ActivityConfig> const& activity,
                             Zon::Ptr<Interface::AllIntfStatusDir> const& allIntfStatusDir) {
  return AllIntfStatusDirSm::AllIntfStatusDirSmIs(activity, allIntfStatusDir);
}

Zon::Ptr<AllIntfStatusDirSm> Agent::allIntfStatusDirSmDel() { return Zon::takeReactor(allIntfStatusDirSm_); }

Zon::Ptr<AllIntfQueueCounterReactor>
Agent::allIntfQueueCounterReactorIs(Zon::Ptr<Zon::ActivityConfig> const& activity,
                                    Zon::Ptr<Interface::AllIntfQueueCounterPtrDir> const& allIntfQueueCounterDir,
                                    Zon::Ptr<Zon::Dir> const& dir) {
  Zon::Ptr<Agent> const self(this);
  return Zon::replaceReactor(
      allIntfQueueCounterReactor_, activity,
      [&](AllIntfQueueCounterReactor const& held) {
        return held.counterOut() == allIntfQueueCounterDir && held.counterIn() == dir;
      },
      [&] { return newAllIntfQueueCounterReactor(activity, allIntfQueueCounterDir, dir); });
}

Zon::Ptr<AllIntfQueueCounterReactor>
Agent::newAllIntfQueueCounterReactor(Zon::Ptr<Zon::ActivityConfig> const& activity,
                                     Zon::Ptr<Interface::AllIntfQueueCounterPtrDir> const& allIntfQueueCounterDir,
                                     Zon::Ptr<Zon::Dir> const& dir) {
  return AllIntfQueueCounterReactor::AllIntfQueueCounterReactorIs(activity, allIntfQueueCounterDir, dir);
}

Zon::Ptr<AllIntfQueueCounterReactor> Agent::allIntfQueueCounterReactorDel() {
  return Zon::takeReactor(allIntfQueueCounterReactor_);
}

Zon::Ptr<Agent> agentFactory(Zon::Name name) { return Agent::AgentIs(std::move(name)); }

// The class as types and generic code see it.

namespace {

constexpr auto attributes = Zon::attributes(
    Zon::isNondestructingAttr(),
    Zon::childAttr("allIntfDir", 258, &Agent::allIntfDir, &Agent::allIntfDirIs, &Agent::allIntfDirDel),
    Zon::childAttr("allIntfReactor", 259, Zon::parameters("zonFwkActivity", "configDir", "statusDir"),
                   &Agent::allIntfReactor, &Agent::allIntfReactorIs, &Agent::allIntfReactorDel),
    Zon::childAttr("allIntfStatusDirSm", 260, Zon::parameters("zonFwkActivity", "allIntfStatusDir"),
                   &Agent::allIntfStatusDirSm, &Agent::allIntfStatusDirSmIs, &Agent::allIntfStatusDirSmDel),
    Zon::childAttr("allIntfQueueCounterReactor", 261,
                   Zon::parameters("zonFwkActivity", "allIntfQueueCounterDir", "dir"),
                   &Agent::allIntfQueueCounterReactor, &Agent::allIntfQueueCounterReactorIs,
                   &Agent::allIntfQueueCounterReactorDel));
constexpr auto creation = Zon::creator(&agentFactory, "name");
constinit Zon::TypeSlot slot =
    Zon::typeSlot<Agent>(zonTypeModule, "VaroIntf::Agent", &Zon::Entity::_fwkType, attributes)
        .constructible<creation>();

}  // namespace

Zon::ZonType* Agent::_fwkType() { return slot.node(); }
Zon::ZonType* Agent::fwkType() const { return slot.node(); }
bool Agent::_fwkTypeRegistered() { return slot.registered(); }
Zon::String8 Agent::attributeString(Zon::AttributeId id) const { return slot.attributeString(id); }

}  // namespace VaroIntf
