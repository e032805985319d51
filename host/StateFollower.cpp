#include "host/StateFollower.h"

#include <utility>

namespace VaroHost {

class StateFollower::Watcher final : public Interface::IntfConfig::NotifieeConst {
 public:
  Watcher(StateFollower& follower, Zon::Ptr<Interface::IntfConfig> const& config) : follower_(follower) {
    notifierIs(config);
    isRegisteredNotifieeIs(true);
    hasNotificationActiveIs(true);
  }

  void onEnabledStateLocal() override { touch(); }
  void onEnabledStateReason() override { touch(); }

  /// Takes what changed since the last call.
  bool take(Transition& transition) {
    isTouched_ = false;
    auto const config = notifier();
    View const now{config->enabledStateLocal(), config->enabledStateReason()};
    if (now == told_) {
      return false;
    }
    transition = {config->intfId(), std::exchange(told_, now), now};
    return true;
  }

 private:
  void touch() {
    if (!isTouched_) {
      isTouched_ = true;
      follower_.touched_.push_back(this);
    }
  }

  StateFollower& follower_;
  View told_;
  bool isTouched_ = false;
};

StateFollower::StateFollower() = default;

StateFollower::~StateFollower() = default;

void StateFollower::watch(Zon::Ptr<Interface::IntfConfig> const& config) {
  watchers_[config->intfId()] = Zon::newPtr<Watcher>(*this, config);
}

void StateFollower::unwatch(Orvet::IntfId const& intfId) { watchers_.erase(intfId); }

void StateFollower::flush(std::function<void(Transition const&)> const& tell) {
  // A line is told only of interfaces that are still there.
  for (auto const& watcher : std::exchange(touched_, {})) {
    Transition transition;
    auto const config = watcher->notifier();
    auto const current = watchers_.find(config->intfId());
    if (current != watchers_.end() && current->second == watcher && watcher->take(transition)) {
      tell(transition);
    }
  }
}

}  // namespace VaroHost
