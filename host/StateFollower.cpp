#include "host/StateFollower.h"

#include <algorithm>
#include <utility>

#include "host/NaturalOrder.h"

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
      follower_.touched_.emplace_back(this);
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
  std::vector<Transition> transitions;
  for (auto const& watcher : std::exchange(touched_, {})) {
    // Told only of interfaces that are still there.
    auto const current = watchers_.find(watcher->notifier()->intfId());
    Transition transition;
    if (current != watchers_.end() && current->second == watcher && watcher->take(transition)) {
      transitions.push_back(std::move(transition));
    }
  }
  std::sort(transitions.begin(), transitions.end(),
            NaturalOrder::by([](Transition const& told) { return told.intfId.stringValue().view(); }));
  for (Transition const& transition : transitions) {
    tell(transition);
  }
}

}  // namespace VaroHost
