#pragma once

/// \file
/// The watcher's side of notification, written once for all watched types.
///
/// `NotifieeConstOf<X>` binds a watcher to an `X` and keeps it in the X's list; `NotifieeOf<X>` is the variant for a
/// mutable X; `CollectionNotifiee<X, K>` adds the pending key and count of the collection that X announces.
///
/// Guarantees
///   A  `notifierIs` with an object of another type binds to null; with the present notifier it does nothing.
///   B  A registered watcher moves from the old notifier's list to the tail of the new one's.
///   C  A dying watcher leaves its notifier's list before it drops the notifier.
///
/// Use
///
///     class Port::NotifieeConst : public Zon::NotifieeConstOf<Port> {
///      public:
///       virtual void onMtu() {}
///     };

#include <type_traits>
#include <utility>

#include "Zon/Notifier.h"

namespace Zon {

template <class X, class Base = Entity::NotifieeConst>
class NotifieeConstOf : public Base {
 public:
  using ZonNotifier = X;

  NotifieeConstOf(NotifieeConstOf const&) = delete;
  NotifieeConstOf& operator=(NotifieeConstOf const&) = delete;
  ~NotifieeConstOf() override {
    if (X const* const notifier = zonTypedNotifier(); notifier != nullptr && this->isRegisteredNotifiee()) {
      WatchedAccess::watchers(*notifier).unlink(this);
    }
  }

  /// The watched object, null when there is none.
  Ptr<X const> notifier() const noexcept { return zonTypedNotifier(); }
  /// The same, not counted.
  X const* zonTypedNotifier() const noexcept { return static_cast<X const*>(this->zonRawNotifier()); }

  void isRegisteredNotifieeIs(bool registered) const override {
    if (registered == this->isRegisteredNotifiee()) {
      return;
    }
    this->zonRegisteredFlagIs(registered);
    Ptr<X const> const held = notifier();
    if (!held) {
      return;
    }
    if (registered) {
      WatchedAccess::watchers(*held).append(zonSelf());
    } else {
      WatchedAccess::watchers(*held).unlink(this);
    }
  }

  Name name() const override {
    X const* const notifier = zonTypedNotifier();
    return notifier != nullptr ? notifier->name() : Name();
  }

  void notifierIs(Ptr<PtrInterface const> const& notifier) override { zonBind(dynamic_cast<X const*>(notifier.ptr())); }

 protected:
  NotifieeConstOf() = default;

  void zonBind(X const* notifier) {
    // Both are held: without a count of its own, the exchange must not be what destroys the old notifier.
    Ptr<X const> const old = this->notifier();
    Ptr<X const> const current(notifier);
    if (old == current) {
      return;
    }
    bool const listed = this->isRegisteredNotifiee();
    if (listed && old) {
      WatchedAccess::watchers(*old).unlink(this);
    }
    this->zonRawNotifierIs(notifier);
    if (listed && current) {
      WatchedAccess::watchers(*current).append(zonSelf());
    }
  }

 private:
  auto* zonSelf() const noexcept { return static_cast<typename X::NotifieeConst*>(const_cast<NotifieeConstOf*>(this)); }
};

/// A watcher of a type derived from another watched type: hears both, stands in the base type's list.
template <class X, class Base>
class RefinedNotifiee : public Base {
 public:
  using ZonNotifier = X;

  Ptr<X const> notifier() const noexcept { return zonTypedNotifier(); }
  X const* zonTypedNotifier() const noexcept { return static_cast<X const*>(this->zonRawNotifier()); }

  void notifierIs(Ptr<PtrInterface const> const& notifier) override { zonBind(dynamic_cast<X const*>(notifier.ptr())); }

 protected:
  RefinedNotifiee() = default;

  void zonBind(X const* notifier) { Base::zonBind(notifier); }
};

/// The variant of X's watcher that may change what it watches.
template <class X>
class NotifieeOf : public X::NotifieeConst {
 public:
  Ptr<X> notifier() const noexcept { return zonTypedNotifier(); }
  X* zonTypedNotifier() const noexcept { return const_cast<X*>(X::NotifieeConst::zonTypedNotifier()); }
};

/// The three callbacks by which a type N of watchers hears of a collection keyed by K, and the collection's id.
template <class N, class K>
struct CollectionCallbacks {
  AttributeId id;
  void (N::*keyed)(K);
  void (N::*immediate)();
  void (N::*whole)();
};

/// Adds what is pending of X's collection. X's notifiee states the callbacks as `zonCollection`.
template <class X, class K, class Base = NotifieeConstOf<X>>
class CollectionNotifiee : public Base {
 public:
  using ZonKey = K;

  K const& zonPendingKey() const noexcept { return pendingKey_; }
  void zonPendingKeyIs(K key) noexcept { pendingKey_ = std::move(key); }
  std::uint32_t zonPendingCount() const noexcept { return pendingCount_; }
  void zonPendingCountIs(std::uint32_t count) noexcept { pendingCount_ = count; }

  void handleDefault(ActivityConfig* activity, AttributeId id, bool callNotification) override {
    if (id == X::NotifieeConst::zonCollection.id || id == severalAttributes || id == everythingChanged) {
      zonCallPending(std::exchange(pendingCount_, 0));
    }
    Base::handleDefault(activity, id, callNotification);
  }

 protected:
  CollectionNotifiee() noexcept { this->zonPendingCountAt(pendingCount_); }

  unsigned char* zonPendingCountAddress() noexcept { return reinterpret_cast<unsigned char*>(&pendingCount_); }

  /// Reports `count` changes: one as the keyed callback, more as the unkeyed one.
  void zonCallPending(std::uint32_t count) {
    auto& self = static_cast<typename X::NotifieeConst&>(*this);
    constexpr auto& callbacks = X::NotifieeConst::zonCollection;
    if (count > 1) {
      (self.*callbacks.whole)();
    } else if (count == 1) {
      // A redelivery: a callback that asks the gate must not queue itself again. The key is copied first, because the
      // callback may replace the pending one.
      PtrInterface::NotifieeConst::ZonRedelivery const redelivery(this, callbacks.id);
      (self.*callbacks.keyed)(K(pendingKey_));
    }
  }

 private:
  K pendingKey_;
  std::uint32_t pendingCount_ = 0;
};

}  // namespace Zon
