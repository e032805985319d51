#include "Zon/PtrInterface.h"

#include <cstring>
#include <limits>

#include "Zon/Activity.h"
#include "Zon/StrepTable.h"
#include "Zon/Trace.h"

namespace Zon {

// ---------------------------------------------------------------------------------------------------------------
// PtrInterface

PtrInterface::~PtrInterface() {
#ifndef NDEBUG
  // Somebody kept a pointer that was taken while the object was being destroyed.
  require((zonWord() & zonPinnedBit) == 0 || zonReferences() == 0, "no reference outlives its object",
          "Zon/PtrInterface", __LINE__, "~PtrInterface");
#endif
  if (strepTableInUse.load(std::memory_order_relaxed)) [[unlikely]] {
    strepForget(this);
  }
}

void PtrInterface::hasNotificationActiveIs(bool active) { zonFlagIs(zonActiveBit, active); }

std::uint32_t PtrInterface::zonAuditErrors(unsigned) const { return 0; }

std::uint32_t PtrInterface::auditErrors(unsigned) const { return 0; }

void PtrInterface::isNondestructingIs(bool nondestructing) {
  // Held meanwhile: on an object that nobody holds this is the last reference, and dropping it decides.
  Ptr<PtrInterface> const self(this);
  if (nondestructing == isNondestructing()) {
    return;
  }
  zonFlagIs(zonNondestructingBits, nondestructing);
}

void PtrInterface::zeroReferencesIs(bool) {}

void PtrInterface::zonFlagIs(std::uint32_t bits, bool set) const noexcept {
  // With locked counting other threads may be counting right now: their changes must not be lost.
  if (enableThreadSafePointers) {
    if (set) {
      word_.fetch_or(bits, std::memory_order_relaxed);
    } else {
      word_.fetch_and(~bits, std::memory_order_relaxed);
    }
  } else {
    zonWordIs(set ? zonWord() | bits : zonWord() & ~bits);
  }
}

void PtrInterface::zonLockedIncrement() const noexcept { word_.fetch_add(1, std::memory_order_relaxed); }

std::uint32_t PtrInterface::zonLockedDecrement() const noexcept {
  std::uint32_t const count = (word_.fetch_sub(1, std::memory_order_acq_rel) - 1) & zonCountMask;
  if (count == 0) {
    handleZeroRef();
  }
  return count;
}

void PtrInterface::handleZeroRef() const noexcept {
  if (isNondestructing()) {
    return;
  }
  // The last owner is gone, so nobody else can see this object: the constness of the last pointer is no obstacle.
  auto* const self = const_cast<PtrInterface*>(this);
  // The pin keeps temporaries taken from here on from handing the object over a second time.
  zonFlagIs(zonPinnedBit, true);
  try {
    self->zeroReferencesIs(true);
  } catch (...) {
    // A release must not throw; the object goes its way whatever a watcher thought of it.
  }
  if (zonReferences() != 0) {
    zonFlagIs(zonPinnedBit, false);
    return;
  }
  delete self;
}

// ---------------------------------------------------------------------------------------------------------------
// NotifieeConst

PtrInterface::NotifieeConst::~NotifieeConst() {
  zonLeaveQueue();
  zonRawNotifierIs(nullptr);
}

Ptr<PtrInterface> PtrInterface::NotifieeConst::zonReactor() const { return {}; }

PtrInterface* PtrInterface::NotifieeConst::zonRawReactor() const { return nullptr; }

bool PtrInterface::NotifieeConst::isStreamAdapter() const { return false; }

void PtrInterface::NotifieeConst::isRegisteredNotifieeIs(bool registered) const { registered_ = registered; }

void PtrInterface::NotifieeConst::zon_bitSetIs(Zon_BitSet bits) {
  bool const uncounted = (bits & zonUncountedNotifier) != 0;
  if (uncounted == uncounted_) {
    return;
  }
  uncounted_ = uncounted;
  if (notifier_ == nullptr) {
    return;
  }
  if (uncounted) {
    decrement(notifier_);
  } else {
    increment(notifier_);
  }
}

Name PtrInterface::NotifieeConst::name() const { return {}; }

void PtrInterface::NotifieeConst::notifierIs(Ptr<PtrInterface const> const& notifier) {
  zonRawNotifierIs(notifier.ptr());
}

void PtrInterface::NotifieeConst::zonRawNotifierIs(PtrInterface const* notifier) noexcept {
  PtrInterface const* const old = notifier_;
  if (old == notifier) {
    return;
  }
  if (uncounted_) {
    notifier_ = notifier;
    return;
  }
  if (notifier != nullptr) {
    increment(notifier);
  }
  notifier_ = notifier;
  if (old != nullptr) {
    decrement(old);
  }
}

void PtrInterface::NotifieeConst::handleNotification(ActivityConfig* activity) {
  AttributeId const id = pendingId_;
  pendingId_ = 0;
  handleDefault(activity, id, true);
}

void PtrInterface::NotifieeConst::handleDefault(ActivityConfig*, AttributeId id, bool callNotification) {
  if (!callNotification) {
    return;
  }
  if (id > 0) {
    onAttribute(id);
  } else if (id == severalAttributes) {
    onNotification();
  }
}

void PtrInterface::NotifieeConst::onAttribute(AttributeId) {}
void PtrInterface::NotifieeConst::onNotification() {}
void PtrInterface::NotifieeConst::onCollectionNotification(String8) {}
void PtrInterface::NotifieeConst::onNotificationException() {}
void PtrInterface::NotifieeConst::onNotificationException(AttributeId) { onNotificationException(); }
void PtrInterface::NotifieeConst::handleNotificationException(AttributeId id) { onNotificationException(id); }
void PtrInterface::NotifieeConst::handleNotificationException() { onNotificationException(); }
void PtrInterface::NotifieeConst::onZeroReferences() {}

Ptr<ActivityConfig> PtrInterface::NotifieeConst::activityPtr() const { return zonFwkActivity(); }
Ptr<ActivityConfig> PtrInterface::NotifieeConst::zonFwkActivity() { return {}; }
Ptr<ActivityConfig> PtrInterface::NotifieeConst::zonFwkActivity() const { return {}; }
Ptr<ActivitySm> PtrInterface::NotifieeConst::actsm() { return {}; }

bool PtrInterface::NotifieeConst::zonOnAttribute(AttributeId id, unsigned char* pendingCount) {
  if (zonTakeRedelivery(id)) {
    return false;
  }
  Ptr<ActivitySm> const activity = actsm();
  if (!activity || !activity->isDeferring()) {
    return false;
  }
  zonDefer(*activity, id, pendingCount);
  return true;
}

bool PtrInterface::NotifieeConst::zonOnEverything() { return gated_ && zonOnAttribute(everythingChanged, nullptr); }

void PtrInterface::NotifieeConst::zonDefer(ActivitySm& activity, AttributeId id, unsigned char* pendingCount) noexcept {
  if (pendingCount != nullptr) {
    std::uint32_t count;
    std::memcpy(&count, pendingCount, sizeof count);
    if (count != std::numeric_limits<std::uint32_t>::max()) {
      ++count;
    }
    std::memcpy(pendingCount, &count, sizeof count);
  }
  mergePending(id);
  if (queue_ == nullptr) {
    activity.zonEnqueue(this);
  }
}

void PtrInterface::NotifieeConst::mergePending(AttributeId id) noexcept {
  if (pendingId_ == 0 || id == everythingChanged) {
    pendingId_ = id;
  } else if (pendingId_ != id && pendingId_ != everythingChanged) {
    pendingId_ = severalAttributes;
  }
}

void PtrInterface::NotifieeConst::zonPendingCountAt(std::uint32_t& count) noexcept {
  auto const offset = reinterpret_cast<std::uintptr_t>(&count) - reinterpret_cast<std::uintptr_t>(this);
  require(offset <= std::numeric_limits<std::uint16_t>::max() && countOffsets_[1] == 0, "offset of a pending count",
          "Zon/PtrInterface", __LINE__, "zonPendingCountAt");
  (countOffsets_[0] == 0 ? countOffsets_[0] : countOffsets_[1]) = static_cast<std::uint16_t>(offset);
}

void PtrInterface::NotifieeConst::clearPending() noexcept {
  pendingId_ = 0;
  for (std::uint16_t const offset : countOffsets_) {
    if (offset != 0) {
      std::memset(reinterpret_cast<unsigned char*>(this) + offset, 0, sizeof(std::uint32_t));
    }
  }
}

void PtrInterface::NotifieeConst::zonRequeue(ActivitySm* activity) {
  if (queue_ == nullptr || queue_ == activity) {
    return;
  }
  queue_->zonDequeue(this);
  if (activity != nullptr && activity->isDeferring()) {
    activity->zonEnqueue(this);
    return;
  }
  // Left behind in a queue nobody dispatches any more, the watcher would go deaf.
  ActivitySm::zonServeNow(*this, activity);
}

void PtrInterface::NotifieeConst::zonLeaveQueue() noexcept {
  if (queue_ != nullptr) {
    queue_->zonDequeue(this);
  }
}

}  // namespace Zon
