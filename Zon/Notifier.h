#pragma once

/// \file
/// The notifier's side of notification: lists of watchers, the one delivery routine, and the base of watched entities.
///
/// Guarantees of a delivery
///   A  It calls a snapshot of the list, in order of registration: who registers during the delivery is not called,
///      who unregisters but stays alive still is.
///   B  A watcher that everybody else dropped meanwhile is released unseen; only the first element is called without
///      this test.
///   C  What a watcher throws is handed back to it as `onNotificationException(id)`, and the delivery goes on. Only an
///      exception out of that leaves the setter; the change stands.
///   D  The notifier is held until the delivery ends.
///   E  Entities of the platform call a watcher only when, at its turn, it is on and no zombie.
///
/// Use: an entity type states its list and names its callbacks.
///
///     class Port : public Zon::Watched<Port> {
///      public:
///       class NotifieeConst;
///       void mtuIs(std::int32_t mtu) { zonSet<258, &NotifieeConst::onMtu>(mtu_, mtu); }
///      private:
///       friend Zon::WatchedAccess;
///       mutable Zon::WatcherList<NotifieeConst> zonNotifiees_;
///     };

#include <concepts>
#include <utility>

#include "Zon/Entity.h"
#include "Zon/Exception.h"
#include "Zon/ListRaw.h"
#include "Zon/NotificationException.h"
#include "Zon/SnapshotIterator.h"

namespace Zon {

/// Whom a delivery calls.
enum class Deliver {
  always,     ///< every watcher of the snapshot
  whenActive  ///< only watchers that are on and no zombies
};

/// The watchers of one notifier, in order of registration; owns nothing. A dying list leaves its watchers without
/// notifier, silently; their registered flag stays.
template <class N>
class WatcherList : public ListRaw<N> {
 public:
  WatcherList() = default;
  ~WatcherList() {
    for (PtrInterface::NotifieeConst* watcher = this->head(); watcher != nullptr;
         watcher = watcher->zonNextNotifiee()) {
      // Only watchers that do not count their notifier can still be listed here: there is no count to give back.
      watcher->notifier_ = nullptr;
    }
    this->deleteAll();
  }
  WatcherList(WatcherList const&) = delete;
  WatcherList& operator=(WatcherList const&) = delete;
};

/// Reaches the list an entity type keeps private.
struct WatchedAccess {
  template <class X>
  static auto& watchers(X const& entity) noexcept {
    return entity.zonNotifiees_;
  }
};

/// Hands the text of a watcher's exception back to it. Out of line: the path that is not taken stays out of the loop.
[[gnu::cold]] void handBackException(PtrInterface::NotifieeConst& watcher, AttributeId id, char const* text);

/// One watcher's turn. REQUIRES: the caller holds the watcher.
template <Deliver policy, class N, class Call>
inline void deliverTo(N& watcher, AttributeId id, Call const& call) {
  constexpr std::uint32_t bits = PtrInterface::zonActiveBit | PtrInterface::zonZombieBit;
  if (policy == Deliver::whenActive && (watcher.zonWord() & bits) != PtrInterface::zonActiveBit) {
    return;
  }
  Expect(0).run([&] { call(watcher); }, [&](char const* text) { handBackException(watcher, id, text); });
}

/// \param room where the snapshot goes, when that is not the iterator's affair.
template <Deliver policy, class N, class Call, class... Room>
[[gnu::always_inline]] inline void deliverToSnapshot(ListRaw<N> const& watchers, AttributeId id, Call const& call,
                                                     Room... room) {
  for (SnapshotIterator<ListRaw<N>> watcher(watchers, room...); watcher; ++watcher, watcher.skipDropped()) {
    deliverTo<policy>(*watcher, id, call);
  }
}

/// A delivery without memory for its snapshot: the change stands already, so its watchers hear of it all the same.
template <Deliver policy, class N, class Call>
[[gnu::noinline, gnu::cold]] void deliverFromStack(ListRaw<N> const& watchers, AttributeId id, Call const& call) {
  deliverToSnapshot<policy>(watchers, id, call, static_cast<N**>(__builtin_alloca(watchers.count() * sizeof(N*))));
}

/// A delivery to a list of more than one watcher.
template <Deliver policy, class N, class Call>
[[gnu::noinline]] void deliverToMany(ListRaw<N> const& watchers, AttributeId id, Call const& call) {
  try {
    deliverToSnapshot<policy>(watchers, id, call);
  } catch (typename SnapshotIterator<ListRaw<N>>::NoRoom const&) {
    deliverFromStack<policy>(watchers, id, call);
  }
}

/// The one delivery routine (guarantees A to E).
/// \param call the callback, given the watcher.
template <Deliver policy, class N, class Call>
void deliver(PtrInterface const& notifier, ListRaw<N> const& watchers, AttributeId id, Call const& call) {
  N* const first = watchers.head();
  if (first == nullptr) {
    return;
  }
  Hold const notifierHeld(notifier);
  if (first != watchers.tail()) {
    deliverToMany<policy>(watchers, id, call);
    return;
  }
  // Most entities have one watcher: a reference to it is all the snapshot it takes.
  Hold const watcherHeld(*first);
  deliverTo<policy>(*first, id, call);
}

/// Base of every watched entity: tells its watchers of the framework's own attributes and offers the setters of the
/// type's.
template <class X, class Base = Entity>
class Watched : public Base {
 public:
  using Base::Base;

  void isNondestructingIs(bool nondestructing) override {
    // The literal top byte: an entity whose flags are set does not count as nondestructing here.
    if (nondestructing == ((this->zonWord() >> 24) == 0x1fU)) {
      return;
    }
    Ptr<PtrInterface> const self(this);
    PtrInterface::isNondestructingIs(nondestructing);
    zonTell<isNondestructingId>([](auto& watcher) { watcher.onIsNondestructing(); });
  }

  void zeroReferencesIs(bool) override {
    zonTell<zeroReferencesId>([](auto& watcher) { watcher.onZeroReferences(); });
  }

 protected:
  /// Calls `call` for every watcher, under the type's rule of whom to call.
  template <AttributeId id, class Call>
  void zonTell(Call const& call) const {
    deliver<X::zonDelivery>(*this, WatchedAccess::watchers(static_cast<X const&>(*this)), id, call);
  }

  /// Stores a value and tells the watchers; an equal one changes nothing and calls nobody. `value` is exchanged for the
  /// old one, which thus goes after the delivery: releasing it may run foreign code.
  template <AttributeId id, auto callback, class T>
  void zonSet(T& stored, T& value) {
    if (stored == value) {
      return;
    }
    std::ranges::swap(stored, value);
    zonTell<id>([](auto& watcher) { (watcher.*callback)(); });
  }
};

/// A watched entity of the platform: calls only watchers that are on, and tells of a changed parent.
template <class X, class Base = Entity>
class PlatformEntity : public Watched<X, Base> {
 public:
  static constexpr Deliver zonDelivery = Deliver::whenActive;

  using Watched<X, Base>::Watched;

  void parentIs(Ptr<Entity> const& parent) override {
    if (!this->zonHasParentToTell(parent.ptr())) {
      return;
    }
    Ptr<PtrInterface> const self(this);
    Base::parentIs(parent);
    this->template zonTell<Entity::parentId>([](auto& watcher) { watcher.onParent(); });
  }
};

}  // namespace Zon
