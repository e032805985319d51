#pragma once

/// \file
/// The nested inputs of reactors: watchers that forward what they hear to their owner, on the owner's activity.
///
/// `KeyedInput` serves one collection, `ValueInput` one single value, both through the gate; `DirectInput` acts at once
/// on any activity. A reactor's input class derives from one of them and states its callbacks only.
///
/// Guarantees
///   A  Construction binds the notifier, then the activity, then registers; it never evaluates anything.
///   B  The back-pointer to the owner is not counted; an input whose owner is gone, or that is a zombie, is inert.
///   C  The owner is held while its handler runs.
///   D  The gate lets a change through at once unless the activity defers it; a deferred one reaches the handler exactly
///      once, coalesced, from `handleNotification`.
///
/// Use
///
///     class Reader::ZonPorts final : public Zon::KeyedInput<Reader, PortDir::NotifieeConst> {
///      public:
///       using KeyedInput::KeyedInput;
///       void readerIs(Reader* owner) { zonOwnerIs(owner); }
///       void onPort(PortId id) override {
///         zonGate(std::move(id), [](Reader& reader, PortId const& key) { reader.handlePort(key); });
///       }
///       void onPort() override {}
///     };

#include <type_traits>
#include <utility>

#include "Zon/Activity.h"
#include "Zon/Notifiee.h"

namespace Zon {

/// The switch and the zombie rule of a watcher that a reactor owns, or that is a reactor itself.
template <class Watcher>
class ReactingWatcher : public Watcher {
 public:
  void hasNotificationActiveIs(bool active) override {
    if (active != this->hasNotificationActive()) {
      Watcher::hasNotificationActiveIs(active);
    }
  }

  /// A zombie hears nothing; a revived watcher hears again.
  virtual void zonDoZombieReactors(bool zombie) {
    if (zombie == this->zonMarkedForDeletion()) {
      return;
    }
    if (auto const held = this->notifier()) {
      this->hasNotificationActiveIs(!zombie);
    }
    this->zonMarkedForDeletionIs(zombie);
  }

 protected:
  /// Rebinds to `notifier` and, when that is not null, reacts to it. The watcher ends up registered; a registration it
  /// had moves before the reaction, so that an exception leaves nothing deaf.
  template <class React>
  void zonRebind(Ptr<PtrInterface const> const& notifier, React const& react) {
    auto* const typed = dynamic_cast<typename Watcher::ZonNotifier const*>(notifier.ptr());
    if (typed == this->zonTypedNotifier()) {
      return;
    }
    Ptr<PtrInterface> const self(this);
    this->zonBind(typed);
    if (typed != nullptr) {
      react();
    }
    this->isRegisteredNotifieeIs(true);
  }
};

/// What all inputs share: the activity and the owner.
template <class Owner, class Watcher>
class Input : public ReactingWatcher<Watcher> {
 public:
  using ZonOwner = Owner;
  /// The notifier as the reactor sees it: mutable for a `Notifiee`, const for a `NotifieeConst`.
  using ZonWatched = std::remove_reference_t<decltype(*std::declval<Watcher const&>().notifier())>;

  Input(Ptr<ActivityConfig> const& activity, Ptr<ZonWatched> const& notifier, Owner* owner) : owner_(owner) {
    this->zonBind(notifier.ptr());
    zonFwkActivityIs(activity);
    this->isRegisteredNotifieeIs(true);
  }
  ~Input() override {
    this->zonDoZombieReactors(true);
    // Before the activity is released: its queue must not be left with a dangling entry.
    this->zonLeaveQueue();
  }

  Ptr<ActivityConfig> zonFwkActivity() override { return zonConfig(); }
  Ptr<ActivityConfig> zonFwkActivity() const override { return zonConfig(); }
  void zonFwkActivityIs(Ptr<ActivityConfig> const& activity) { actsmIs(zonActivitySmFor(activity).ptr()); }

  Ptr<ActivitySm> actsm() override { return actsm_; }
  Ptr<ActivitySm> actsm() const { return actsm_; }
  Ptr<ActivitySm> zonactsmConst() const { return actsm_; }
  /// Moves the input to another activity; what waits in the old one's queue moves along.
  void actsmIs(ActivitySm* machine) {
    if (machine == actsm_.ptr()) {
      return;
    }
    // The old machine stays alive until the queue entry has left it.
    Ptr<ActivitySm> const old = std::exchange(actsm_, Ptr<ActivitySm>(machine));
    this->zonRequeue(machine);
  }

  Owner* zonOwner() const noexcept { return owner_; }
  void zonOwnerIs(Owner* owner) noexcept { owner_ = owner; }

 protected:
  /// The gate's question, `zonOnAttribute`, asked where the activity is at hand.
  bool zonIsDeferred(AttributeId id, unsigned char* pendingCount) {
    if (this->zonTakeRedelivery(id) || !actsm_ || !actsm_->isDeferring()) {
      return false;
    }
    this->zonDefer(*actsm_, id, pendingCount);
    return true;
  }

  /// Lets the live owner, held, do something.
  template <class Act>
  void zonAct(Act const& act) {
    if (owner_ != nullptr && !this->zonMarkedForDeletion()) {
      Owner& owner = *owner_;
      Hold const held(owner);
      act(owner);
    }
  }

 private:
  Ptr<ActivityConfig> zonConfig() const { return actsm_ ? actsm_->activityConfig() : nullptr; }

  Ptr<ActivitySm> actsm_;
  Owner* owner_;
};

/// An input on one collection: keyed changes pass the gate; several between two dispatches arrive as one unkeyed
/// callback.
template <class Owner, class Watcher>
class KeyedInput : public Input<Owner, Watcher> {
 public:
  KeyedInput(Ptr<ActivityConfig> const& activity, Ptr<typename Input<Owner, Watcher>::ZonWatched> const& notifier,
             Owner* owner)
    : Input<Owner, Watcher>(activity, notifier, owner) {
    this->zonGatedIs(true);
  }

  void handleNotification(ActivityConfig* activity) override {
    constexpr auto& callbacks = Watcher::ZonNotifier::NotifieeConst::zonCollection;
    AttributeId const id = this->zonPendingId();
    this->zonPendingIdIs(0);
    Ptr<ActivitySm> const machine = this->actsm();
    if (id != callbacks.id && id != severalAttributes && id != everythingChanged) {
      this->handleDefault(activity, id, true);
      return;
    }
    std::uint32_t const count = this->zonPendingCount();
    this->zonPendingCountIs(0);
    // "Everything changed" is more than any single key.
    this->zonCallPending(id == everythingChanged ? 2 : count);
    if (id == callbacks.id) {
      return;
    }
    redispatch(machine);
    this->handleDefault(activity, id, false);
  }

 protected:
  /// The gate of the keyed callback.
  template <class Handler>
  void zonGate(typename Watcher::ZonKey key, Handler const& handler) {
    this->zonPendingKeyIs(key);
    if (this->zonIsDeferred(Watcher::ZonNotifier::NotifieeConst::zonCollection.id, this->zonPendingCountAddress())) {
      return;
    }
    this->zonAct([&](Owner& owner) { handler(owner, key); });
  }
};

/// An input on one single value: `callback` passes the gate under `id`.
template <class Owner, class Watcher, AttributeId id, auto callback>
class ValueInput : public Input<Owner, Watcher> {
 public:
  ValueInput(Ptr<ActivityConfig> const& activity, Ptr<typename Input<Owner, Watcher>::ZonWatched> const& notifier,
             Owner* owner)
    : Input<Owner, Watcher>(activity, notifier, owner) {
    this->zonGatedIs(true);
  }

  void handleNotification(ActivityConfig* activity) override {
    AttributeId const pending = this->zonPendingId();
    this->zonPendingIdIs(0);
    Ptr<ActivitySm> const machine = this->actsm();
    if (pending != id && pending != severalAttributes && pending != everythingChanged) {
      this->handleDefault(activity, pending, true);
      return;
    }
    {
      PtrInterface::NotifieeConst::ZonRedelivery const redelivery(this, id);
      (this->*callback)();
    }
    if (pending == id) {
      return;
    }
    redispatch(machine);
    this->handleDefault(activity, pending, false);
  }

 protected:
  /// The gate of the callback.
  template <class Handler>
  void zonGate(Handler const& handler) {
    if (this->zonIsDeferred(id, nullptr)) {
      return;
    }
    this->zonAct(handler);
  }
};

/// Hands what is pending to the default handling: the body of `handleNotification` of every watcher without a gate.
template <class Watcher>
void handleUngated(Watcher& watcher, ActivityConfig* activity) {
  AttributeId const id = watcher.zonPendingId();
  watcher.zonPendingIdIs(0);
  watcher.handleDefault(activity, id, id == severalAttributes);
}

/// An input that acts at once, whatever its activity.
template <class Owner, class Watcher>
class DirectInput : public Input<Owner, Watcher> {
 public:
  using Input<Owner, Watcher>::Input;

  void handleNotification(ActivityConfig* activity) override { handleUngated(*this, activity); }
};

}  // namespace Zon
