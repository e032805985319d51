#include "faults/World.h"

namespace Faults {

namespace {

Zon::Ptr<Interface::IntfConfig> copyOf(Interface::IntfConfig const& config) {
  auto const copy = Zon::newPtr<Interface::IntfConfig>(config.intfId());
  copy->adminEnabledStateLocalIs(config.adminEnabledStateLocal());
  if (auto const standard = config.defaultConfig()) copy->defaultConfigIs(copyOf(*standard));
  return copy;
}

Zon::Ptr<Interface::IntfStatus> copyOf(Interface::IntfStatus& status) {
  auto const copy = Zon::newPtr<Interface::IntfStatus>(status.intfId());
  copy->activeIs(status.active());
  for (auto input = status.forwardingModelInputsIterator(); input; input.advance())
    copy->forwardingModelInputsIs(input.key(), input.value());
  return copy;
}

Zon::Ptr<Interface::AllIntfQueueCounterDir> copyOf(Interface::AllIntfQueueCounterDir& slice) {
  auto const copy = Zon::newPtr<Interface::AllIntfQueueCounterDir>(slice.name());
  for (auto counters = slice.intfQueueCounterDirIterator(); counters; counters.advance()) {
    auto const copied = Zon::newPtr<Interface::IntfQueueCounterDir>(counters->intfId());
    for (auto counter = counters->intfQueueCounterIterator(); counter; counter.advance())
      copied->intfQueueCounterIs(Zon::newPtr<Interface::IntfQueueCounter>(counter->name()));
    copy->intfQueueCounterDirIs(copied);
  }
  return copy;
}

}  // namespace

void World::renewModules() {
  if (!agent_) {
    agent_ = VaroIntf::agentFactory("interfaces");
    makers_->produced(*agent_);
    for (auto config = configs_->intfConfigIterator(); config; config.advance())
      produced()->intfConfigIs(config.ptr());
    for (auto status = statuses_->intfStatusIterator(); status; status.advance())
      producedStatuses()->intfStatusIs(status.ptr());
  }
  if (!root_) root_ = VaroErrdisable::rootFactory("errdisable");
  wire();
  settle();
}

std::unique_ptr<World> World::anew() const {
  auto made = std::make_unique<World>(Activity::null);
  for (auto config = produced()->intfConfigIterator(); config; config.advance())
    made->produced()->intfConfigIs(copyOf(*config));
  for (auto status = producedStatuses()->intfStatusIterator(); status; status.advance())
    made->producedStatuses()->intfStatusIs(copyOf(*status));
  for (auto entry = errdisabled_->errdisabledIntfIterator(); entry; entry.advance())
    made->errdisabled()->errdisabledIntfIs(entry.key(), entry.value());
  for (char const* const name : sliceNames) {
    if (auto const filed = slice(name)) {
      auto const copy = copyOf(*filed);
      made->filed_[indexOf(name)] = copy;
      made->slices()->entityPtrIs(copy);
    }
  }
  made->wire();
  return made;
}

}  // namespace Faults
