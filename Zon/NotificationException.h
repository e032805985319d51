#pragma once

/// \file
/// Makes contained exceptions of watchers visible on demand: one line of facility "Zon" at level 1 for each exception
/// that is handed back to a watcher, with the attribute id, the watcher's type and the exception's text.
///
/// Guarantees: while the facility is off no line is built; what a sink throws changes no delivery.
///
/// Use: `Zon::TraceHandle("Zon", true).levelIs(1, true)` in a host that wants to see them.

#include "Zon/PtrInterface.h"

namespace Zon {

void traceNotificationException(PtrInterface::NotifieeConst const& watcher, AttributeId id, char const* text);

}  // namespace Zon
