#pragma once

/// \file
/// A reactor in an attribute of a root entity: the steps that setting and removing one share.
///
/// Guarantees: the attribute holds a complete reactor or the one before; what is removed is silent.
///
/// Use
///
///     Zon::replaceReactor(
///         linkSm_, activity, [&](LinkSm const& held) { return held.ports() == ports; },
///         [&] { return Zon::newPtr<LinkSm>(activity, ports); });

#include <utility>

#include "Zon/Activity.h"
#include "Zon/Ptr.h"

namespace Zon {

/// Keeps the held reactor when `serves` says it has the inputs asked for already: only its activity is refreshed, which
/// happens in any case. Otherwise stores what `make` creates, switched on; the old one is not told anything. The
/// attribute changes only when the new reactor is complete. What pending work does inside the refresh stands: the held
/// reactor is returned even when that emptied the attribute.
template <class R, class Serves, class Make>
Ptr<R> replaceReactor(Ptr<R>& attribute, Ptr<ActivityConfig> const& activity, Serves const& serves, Make const& make) {
  if (Ptr<R> const held = attribute) {
    held->zonFwkActivityIs(activity);
    if (serves(*held)) {
      return held;
    }
  }
  Ptr<R> const made = make();
  attribute = made;
  made->hasNotificationActiveIs(true);
  return made;
}

/// Takes the reactor out of its attribute, silenced; null when there is none.
template <class R>
Ptr<R> takeReactor(Ptr<R>& attribute) {
  Ptr<R> removed = std::exchange(attribute, nullptr);
  if (removed) {
    removed->hasNotificationActiveIs(false);
  }
  return removed;
}

}  // namespace Zon
