#pragma once

/// \file
/// The fixed shape of all reactors, written once: inputs, activity, switch, zombie rule, teardown, keyed children.
///
/// A reactor class R derives from `Zon::ReactorOf<R>`, declares its members, and names two things:
///
///     static constexpr auto zonInputs() { return std::tuple(&R::ports_, &R::names_); }   // in declaration order
///     static constexpr auto zonChildren() { return std::tuple(&R::readers_); }            // its keyed children
///
/// Guarantees
///   A  `hasNotificationActiveIs` reaches every input that exists, in declaration order, then every child in iteration
///      order; an equal value does nothing.
///   B  `zonDoZombieReactors` reaches the inputs, not the children; then the reactor's own flag follows.
///   C  `zonTearDown()`, first in every destructor, silences the inputs, cuts them loose and empties the collections;
///      the members then go in reverse order of declaration. Nothing is thrown.
///   D  Whatever calls out holds the reactor and what it works on.
///   E  Switch, activity and zombie rule reach everything they are meant for, whatever one of them throws; the first
///      exception leaves then.

#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

#include "Zon/Activity.h"
#include "Zon/Exception.h"
#include "Zon/FirstThrown.h"
#include "Zon/HashMap.h"
#include "Zon/Ptr.h"
#include "Zon/Quietly.h"
#include "Zon/Strep.h"
#include "Zon/ValidPtr.h"

namespace Zon {

/// What the outside sees of every reactor.
class Reactor : public PtrInterface {
 public:
  Ptr<ActivityConfig> zonFwkActivity() { return activity_; }
  Ptr<ActivityConfig> zonFwkActivity() const { return activity_; }
  Ptr<ActivityConfig> zonzonFwkActivityConst() const { return zonFwkActivity(); }

  /// Moves the inputs to another activity; null is legal.
  virtual void zonFwkActivityIs(Ptr<ActivityConfig> const& activity) = 0;
  virtual void zonDoZombieReactors(bool zombie) = 0;

 protected:
  explicit Reactor(Ptr<ActivityConfig> const& activity) noexcept : activity_(activity) {}

  Ptr<ActivityConfig> activity_;
};

/// One constructor parameter of a keyed child, as a repeated creation compares it.
template <class Child, class T>
struct ConstructorParameter {
  char const* name;
  Ptr<T> wanted;
  Ptr<T> (*current)(Child const& child);
};

/// Refuses a repeated creation with another value of a constructor parameter.
/// Errors: name-in-use exception naming the parameter and both values.
template <class Child, class T>
void compareParameter(Child const& child, ConstructorParameter<Child, T> const& parameter) {
  Ptr<T> const current = parameter.current(child);
  if (current == parameter.wanted) {
    return;
  }
  throwNameInUseException(String8("Reinstantiating the pointer interface where constructor parameter attribute _" +
                                  std::string(parameter.name) + " has a different value of " +
                                  valueToStrep(parameter.wanted).stdString() + " than the current value of " +
                                  valueToStrep(current).stdString() + " not allowed"));
}

/// Finds the child of a key or makes, inserts and switches it on.
/// \param make is given the key.
/// \param refresh is applied to a child that was there. It may run pending work: a child that this puts in its place is
///        returned instead; one that this removes stays removed, and is returned.
/// \param check may refuse a child that was there, by an exception. Making a child may call back and bring another one
///        in under the same key: that one is kept, checked, and otherwise left alone.
template <class Child, class Key, class Make, class Refresh, class Check>
Ptr<Child> findOrMake(HashMap<Child, Key>& children, Key const& key, Make const& make, Refresh const& refresh,
                      Check const& check) {
  // Held to the end: the key may be its own.
  if (Ptr<Child> const found = children.member(key)) {
    refresh(*found);
    Ptr<Child> const current = children.member(key);
    Ptr<Child> const& kept = current ? current : found;
    check(*kept);
    return kept;
  }
  Key const held(key);  // NOLINT(performance-unnecessary-copy-initialization): making may end what it belongs to
  Ptr<Child> const made = validPtr(Ptr<Child>(make(held)));
  if (Ptr<Child> const found = children.member(held)) {
    check(*found);
    return found;
  }
  children.newMember(made, HashMap<Child, Key>::hashOf(held));
  made->hasNotificationActiveIs(true);
  return made;
}

/// Drops the removed child of a vanished key: whoever else holds it holds a zombie. Null is legal.
template <class Child>
void retire(Ptr<Child> const& removed) {
  if (removed) {
    removed->zonDoZombieReactors(true);
  }
}

/// The rule of children that are reactors: one that was there gets the activity and must have been built from equal
/// constructor parameters, compared in the order given.
template <class Child, class Key, class Make, class... Parameters>
Ptr<Child> findOrCreate(HashMap<Child, Key>& children, Key const& key, Ptr<ActivityConfig> const& activity,
                        Make const& make, Parameters const&... parameters) {
  return findOrMake(
      children, key, make, [&](Child& found) { found.zonFwkActivityIs(activity); },
      [&](Child const& found) { (compareParameter(found, parameters), ...); });
}

template <class R>
class ReactorOf : public Reactor {
 public:
  void hasNotificationActiveIs(bool active) override {
    if (active == hasNotificationActive()) {
      return;
    }
    Ptr<R> const held(self());
    PtrInterface::hasNotificationActiveIs(active);
    FirstThrown thrown;
    forEachInput([&](auto& input) { thrown.attempt([&] { input.hasNotificationActiveIs(active); }); });
    forEachCollection([&](auto& children) {
      for (typename std::remove_reference_t<decltype(children)>::Iterator child(children); child; child.advance()) {
        thrown.attempt([&] { child->hasNotificationActiveIs(active); });
      }
    });
    thrown.rethrow();
  }

  void zonFwkActivityIs(Ptr<ActivityConfig> const& activity) override {
    if (activity == activity_) {
      return;
    }
    Ptr<R> const held(self());
    // Held meanwhile, so that every input finds it: when it cannot be made, nothing has changed.
    Ptr<ActivitySm> const machine = zonActivitySmFor(activity);
    activity_ = activity;
    FirstThrown thrown;
    forEachInput([&](auto& input) { thrown.attempt([&] { input.zonFwkActivityIs(zonFwkActivity()); }); });
    thrown.rethrow();
  }

  void zonDoZombieReactors(bool zombie) override {
    if (zombie == zonMarkedForDeletion()) {
      return;
    }
    Ptr<R> const held(self());
    FirstThrown thrown;
    forEachInput([&](auto& input) { thrown.attempt([&] { input.zonDoZombieReactors(zombie); }); });
    zonMarkedForDeletionIs(zombie);
    thrown.rethrow();
  }

 protected:
  using Reactor::Reactor;

  static constexpr auto zonChildren() { return std::tuple<>(); }

  /// Guarantee C. To be called first by the destructor of R.
  void zonTearDown() noexcept {
    quietly([this] { this->zonDoZombieReactors(true); });
    forEachInput([](auto& input) { input.zonOwnerIs(nullptr); });
    forEachCollection([](auto& children) { quietly([&children] { children.memberDelAll(); }); });
  }

  /// What the input watches, null without input or notifier.
  template <class In>
  static auto zonNotifier(Ptr<In> const& input) noexcept {
    using Notifier = decltype(std::declval<In&>().notifier());
    return input ? input->notifier() : Notifier();
  }

  /// The same, not counted: for reads without a call-out in between.
  template <class In>
  static auto* zonWatched(Ptr<In> const& input) noexcept {
    return input ? input->zonTypedNotifier() : nullptr;
  }

  /// Makes an input on the reactor's activity; it takes the owner's switch.
  template <class In, class X>
  Ptr<In> zonNewInput(Ptr<X> const& notifier) {
    Ptr<In> const input = newPtr<In>(activity_, notifier, self());
    input->hasNotificationActiveIs(hasNotificationActive());
    return input;
  }

  /// The setter of a watched input: keeps, rebinds, makes (with `make`) or drops the input. Changing it rescans
  /// nothing by itself.
  template <class In, class X, class Make>
  void zonInputIs(Ptr<In> R::*slot, Ptr<X> const& notifier, Make const& make) {
    Ptr<R> const held(self());
    Ptr<In> input = held.ptr()->*slot;
    if (zonNotifier(input) == notifier) {
      return;
    }
    if (!notifier) {
      held.ptr()->*slot = nullptr;
      zonCutLoose(*input);
      return;
    }
    if (input) {
      input->notifierIs(notifier);
    } else {
      input = make(notifier);
      held.ptr()->*slot = input;
    }
    // Reacting may have dropped the input: what was cut loose stays a zombie.
    if (held.ptr()->*slot == input) {
      input->zonDoZombieReactors(zonMarkedForDeletion());
    }
  }

  /// The remover of a watched input; returns what it watched, or null.
  template <class In>
  auto zonInputDel(Ptr<In> R::*slot) {
    Ptr<R> const held(self());
    Ptr<In> const input = std::exchange(held.ptr()->*slot, nullptr);
    auto watched = zonNotifier(input);
    if (input) {
      zonCutLoose(*input);
      input->hasNotificationActiveIs(false);
    }
    return watched;
  }

 private:
  R* self() noexcept { return static_cast<R*>(this); }

  template <class In>
  static void zonCutLoose(In& input) {
    input.zonDoZombieReactors(true);
    input.zonOwnerIs(nullptr);
  }

  template <class Step>
  void forEachInput(Step const& step) {
    std::apply(
        [&](auto... slot) {
          [[maybe_unused]] auto const visit = [&](auto input) {
            if (input) step(*input);
          };
          (visit(self()->*slot), ...);
        },
        R::zonInputs());
  }

  template <class Step>
  void forEachCollection(Step const& step) {
    std::apply([&](auto... slot) { (step(self()->*slot), ...); }, R::zonChildren());
  }
};

}  // namespace Zon
