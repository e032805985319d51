#pragma once

/// \file
/// Makes contained exceptions of watchers visible on demand: one line of facility "Zon" at level 1 for each exception
/// that is handed back to a watcher, with the attribute id, the watcher's type and the exception's text.

#include "Zon/PtrInterface.h"

namespace Zon {

void traceNotificationException(PtrInterface::NotifieeConst const& watcher, AttributeId id, char const* text);

}  // namespace Zon
