#include "Zon/Activity.h"

#include <utility>

#include "Zon/Exception.h"
#include "Zon/NotificationException.h"

namespace Zon {

ActivityConfig::~ActivityConfig() = default;

std::uint32_t ActivityConfig::zonDispatch() {
  Ptr<ActivitySm> const machine(machine_);
  return machine ? machine->zonDispatch() : 0;
}

std::uint32_t ActivityConfig::zonPending() const noexcept { return machine_ != nullptr ? machine_->zonPending() : 0; }

ActivitySm::ActivitySm(Ptr<ActivityConfig> const& config) noexcept
  : config_(config), deferring_(config->delivery() == ActivityConfig::Delivery::deferring) {
  config_->machine_ = this;
}

ActivitySm::~ActivitySm() {
  config_->machine_ = nullptr;
  // A watcher that does not hold its machine may still wait here; it must not leave a queue that is gone.
  while (queue_.head != nullptr) {
    zonDequeue(queue_.head);
  }
}

/// Detaches the queue into the running round; whatever is left of the round when it ends goes back to the head of the
/// queue.
class ActivitySm::Round {
 public:
  explicit Round(ActivitySm& machine) noexcept : machine_(machine) {
    machine_.inRound_ = true;
    machine_.round_ = std::exchange(machine_.queue_, Queue());
  }
  ~Round() {
    Queue& rest = machine_.round_;
    Queue& queue = machine_.queue_;
    if (rest.head != nullptr) {
      rest.tail->queueNext_ = queue.head;
      if (queue.head != nullptr) {
        queue.head->queuePrevious_ = rest.tail;
      } else {
        queue.tail = rest.tail;
      }
      queue.head = rest.head;
      rest = Queue();
    }
    machine_.inRound_ = false;
  }
  Round(Round const&) = delete;
  Round& operator=(Round const&) = delete;

 private:
  ActivitySm& machine_;
};

std::uint32_t ActivitySm::zonDispatch() {
  if (inRound_) {
    return 0;
  }
  Ptr<ActivitySm> const self(this);
  Round const round(*this);
  std::uint32_t served = 0;
  while (round_.head != nullptr) {
    // Held while it is served: its handler may drop every other reference.
    Ptr<NotifieeConst> const notifiee(round_.head);
    zonDequeue(notifiee.ptr());
    served += serve(*notifiee, config_.ptr()) ? 1 : 0;
  }
  return served;
}

void ActivitySm::zonServeNow(NotifieeConst& notifiee, ActivitySm* machine) {
  Ptr<NotifieeConst> const held(&notifiee);
  // The handler may move the watcher on, away from this machine.
  Ptr<ActivitySm> const heldMachine(machine);
  serve(notifiee, machine != nullptr ? machine->config_.ptr() : nullptr);
}

bool ActivitySm::serve(NotifieeConst& notifiee, ActivityConfig* config) {
  if (!notifiee.hasNotificationActive() || notifiee.zonMarkedForDeletion() || notifiee.zonRawNotifier() == nullptr) {
    notifiee.clearPending();
    return false;
  }
  AttributeId const id = notifiee.zonPendingId();
  Expect(0).run([&] { notifiee.handleNotification(config); },
                [&](char const* text) {
                  traceNotificationException(notifiee, id, text);
                  notifiee.handleNotificationException(id);
                });
  return true;
}

void ActivitySm::zonEnqueue(NotifieeConst* notifiee) noexcept {
  notifiee->queue_ = this;
  notifiee->queuePrevious_ = queue_.tail;
  notifiee->queueNext_ = nullptr;
  (queue_.tail != nullptr ? queue_.tail->queueNext_ : queue_.head) = notifiee;
  queue_.tail = notifiee;
  ++pending_;
}

void ActivitySm::zonDequeue(NotifieeConst* notifiee) noexcept {
  NotifieeConst* const previous = std::exchange(notifiee->queuePrevious_, nullptr);
  NotifieeConst* const next = std::exchange(notifiee->queueNext_, nullptr);
  notifiee->queue_ = nullptr;
  // An end of the chain tells which of the two lists it belongs to.
  if (previous != nullptr) {
    previous->queueNext_ = next;
  } else {
    (queue_.head == notifiee ? queue_ : round_).head = next;
  }
  if (next != nullptr) {
    next->queuePrevious_ = previous;
  } else {
    (queue_.tail == notifiee ? queue_ : round_).tail = previous;
  }
  --pending_;
}

Ptr<ActivitySm> zonActivitySmFor(Ptr<ActivityConfig> const& config) {
  if (!config) {
    return {};
  }
  if (config->machine_ != nullptr) {
    return Ptr<ActivitySm>(config->machine_);
  }
  return newPtr<ActivitySm>(config);
}

void redispatch(Ptr<ActivitySm> const& machine) {
  if (machine) {
    machine->zonDispatch();
  }
}

}  // namespace Zon
