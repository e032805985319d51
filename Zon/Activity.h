#pragma once

/// \file
/// Activities: when the handlers of watchers run.
///
/// Guarantees
///   A  A null activity and an *immediate* configuration never defer: the handler runs inside the notifier's setter.
///   B  A *deferring* configuration records and coalesces changes and delivers them on `zonDispatch()`.
///   C  A round serves the watchers queued at its start, first queued first; what is queued meanwhile waits for the
///      next round. Rounds never nest.
///   D  The queue holds no references; a dying watcher leaves it, the running round too.
///   E  An exception of a handler is contained: the watcher's `handleNotificationException` is told and the round goes
///      on. Should that throw, the exception leaves `zonDispatch()` and the unserved rest is back at the queue's head.
///
/// Use: a host with a deferring activity runs, after each single change,
///
///     while (activity->zonPending() != 0) activity->zonDispatch();

#include <cstdint>

#include "Zon/Ptr.h"
#include "Zon/PtrInterface.h"

namespace Zon {

class ActivitySm;

/// What a host creates and hands to the modules: the choice of delivery.
class ActivityConfig : public PtrInterface {
 public:
  enum class Delivery { deferring, immediate };

  explicit ActivityConfig(Delivery delivery = Delivery::deferring) noexcept : delivery_(delivery) {}
  ~ActivityConfig() override;

  ZonType* fwkType() const override;
  static ZonType* _fwkType();

  Delivery delivery() const noexcept { return delivery_; }

  /// Runs one round and returns the number of watchers served; 0 from inside a round.
  std::uint32_t zonDispatch();
  /// Watchers queued now, those of a running round that were not served yet included.
  std::uint32_t zonPending() const noexcept;

 private:
  friend class ActivitySm;
  friend Ptr<ActivitySm> zonActivitySmFor(Ptr<ActivityConfig> const& config);

  Delivery const delivery_;
  // Not counted: the machine holds its configuration, and clears this link when it dies.
  ActivitySm* machine_ = nullptr;
};

/// The one state machine of a configuration: its queue and its rounds.
///
/// Invariant: `pending_` is the length of `queue_` plus that of `round_`.
class ActivitySm : public PtrInterface {
 public:
  explicit ActivitySm(Ptr<ActivityConfig> const& config) noexcept;
  ~ActivitySm() override;

  Ptr<ActivityConfig> activityConfig() const noexcept { return config_; }
  bool isDeferring() const noexcept { return deferring_; }

  /// Runs one round; returns the number of watchers served, 0 from inside a round.
  std::uint32_t zonDispatch();
  std::uint32_t zonPending() const noexcept { return pending_; }

  /// Appends a watcher that waits in no queue.
  void zonEnqueue(NotifieeConst* notifiee) noexcept;
  /// Removes a watcher that waits in this machine's queue or running round.
  void zonDequeue(NotifieeConst* notifiee) noexcept;
  /// Gives a watcher its turn outside any queue: the watcher's new activity, null allowed, does not defer.
  static void zonServeNow(NotifieeConst& notifiee, ActivitySm* machine);

 private:
  // An intrusive doubly linked list through the watchers' queue links.
  struct Queue {
    NotifieeConst* head = nullptr;
    NotifieeConst* tail = nullptr;
  };
  class Round;

  static bool serve(NotifieeConst& notifiee, ActivityConfig* config);

  Ptr<ActivityConfig> const config_;
  bool const deferring_;
  Queue queue_;
  Queue round_;
  std::uint32_t pending_ = 0;
  bool inRound_ = false;
};

/// The state machine of a configuration, made on first use; null for null.
Ptr<ActivitySm> zonActivitySmFor(Ptr<ActivityConfig> const& config);

/// Lets the other handlers of an activity run: one round, or nothing for null and inside a round.
void redispatch(Ptr<ActivitySm> const& machine);

}  // namespace Zon
