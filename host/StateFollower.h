#pragma once

/// \file
/// Watches the state and reason of every configured interface and tells what really changed.
///
/// Guarantees
///   A  A change is told by `flush`, once, with what was told before and what holds now: the two writes of one evaluation
///      are one change, and a value that came back within one step is none.
///   B  A configuration is watched from before it enters its directory, so that its first evaluation is seen.
///
/// Use
///
///     VaroHost::StateFollower follower;
///     VaroHost::Device device(&follower);
///     device.apply(change);
///     follower.flush([](VaroHost::StateFollower::Transition const& transition) { ... });

#include <functional>
#include <map>
#include <vector>

#include "Zon/Ptr.h"
#include "platform/Interface/IntfConfig.h"

namespace VaroHost {

class StateFollower {
 public:
  struct View {
    Interface::IntfEnabledState state = Interface::IntfEnabledState::unset;
    Zon::String8 reason;

    bool operator==(View const&) const = default;
  };

  struct Transition {
    Orvet::IntfId intfId;
    View before;
    View after;
  };

  StateFollower();
  ~StateFollower();
  StateFollower(StateFollower const&) = delete;
  StateFollower& operator=(StateFollower const&) = delete;

  void watch(Zon::Ptr<Interface::IntfConfig> const& config);
  void unwatch(Orvet::IntfId const& intfId);

  /// Tells what changed since the last call, in natural order of the interfaces.
  void flush(std::function<void(Transition const&)> const& tell);

 private:
  class Watcher;

  std::map<Orvet::IntfId, Zon::Ptr<Watcher>> watchers_;
  std::vector<Zon::Ptr<Watcher>> touched_;
};

}  // namespace VaroHost
