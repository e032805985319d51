#include "Zon/Notifier.h"

namespace Zon {

void handBackException(PtrInterface::NotifieeConst& watcher, AttributeId id, char const* text) {
  traceNotificationException(watcher, id, text);
  watcher.onNotificationException(id);
}

}  // namespace Zon
