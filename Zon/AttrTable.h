#pragma once

/// \file
/// The reflection of a class, written once: a table with a line an attribute, made of pointers to members. From the
/// table follow the type node, ids and names, `attributeOp` with its refusals, iterators, the generic factory and the
/// registration.
///
/// Guarantees: a member that does not exist or a setter that does not fit its getter does not compile; a table is a
/// constant.
///
/// Use
///
/// A class X declares
///
///     static Zon::ZonType* _fwkType();
///     Zon::ZonType* fwkType() const override;
///     static bool _fwkTypeRegistered();
///     using GenericIf_ = Zon::TableGenericIf<X>;
///
/// and its source ends with the table and the slot (Zon/TypeSlot.h) that keeps the node:
///
///     namespace {
///     constexpr auto attributes = Zon::attributes(
///         Zon::activityAttr<PortSm>(),                                                        // zonFwkActivity (0)
///         Zon::valueAttr("portId", 130, &PortSm::portId),                                     // get
///         Zon::inputAttr("config", 131, &PortSm::config, &PortSm::configIs, &PortSm::configDel),
///         Zon::collectionAttr<PortSm::LaneSmIterator>(
///             "laneSm", 132, Zon::parameters("zonFwkActivity", "laneId"), &PortSm::laneSm, &PortSm::laneSmIs,
///             &PortSm::laneSmDel, &PortSm::laneSmDel, &PortSm::laneSmDelAll, &PortSm::laneSmIterator),
///         Zon::functionAttr("handleConfig", 133, &PortSm::handleConfig),                      // no argument
///         Zon::functionAttr("handleLane", 134, "laneId", &PortSm::handleLane),                // one
///         Zon::functionAttr("handleState", 135, "key", &PortSm::handleState, &PortSm::handleState),  // none or one
///         Zon::valueAttr("initialized", 136, &PortSm::initialized, &PortSm::initializedIs),   // get, set
///         Zon::keyAttr<PortSm>(),                                                             // fwkKey (0)
///         Zon::activeSwitchAttr<PortSm>(), Zon::zombieSwitchAttr<PortSm>());
///     constexpr auto creator = Zon::creator(&portSmFactory, "zonFwkActivity", "portId");
///     constinit Zon::TypeSlot slot =
///         Zon::typeSlot<PortSm>(zonTypeModule, "Net::PortSm", &Zon::PtrInterface::_fwkType, attributes)
///             .constructible<creator>();
///     }  // namespace
///     Zon::ZonType* PortSm::_fwkType() { return slot.node(); }
///     Zon::ZonType* PortSm::fwkType() const { return slot.node(); }
///     bool PortSm::_fwkTypeRegistered() { return slot.registered(); }
///
/// Overloaded members need no casts: each line's pattern picks its overload (the const look-up, the removal by key and
/// the one by iterator). Entities begin with `Zon::isNondestructingAttr()` and have `Zon::childAttr` for their
/// children. The module's registration file lists its types: see Zon/TypeSlot.h.

#include <array>
#include <tuple>
#include <utility>

#include "Zon/Activity.h"
#include "Zon/AttrSpec.h"
#include "Zon/CollectionAttr.h"
#include "Zon/ParameterList.h"
#include "Zon/TypeSlot.h"

namespace Zon {

/// A value, a key or a reference that is read with a member of C, and set, if there is a setter, with one of D.
template <class C, class T, class D = C, class Setter = std::nullptr_t>
class ValueAttr final : public AttrSpec {
 public:
  using Getter = T (C::*)() const;
  using Value = std::remove_cvref_t<T>;

  constexpr ValueAttr(char const* name, AttributeId id, Getter getter, Setter setter) noexcept
    : AttrSpec(name, id), getter_(getter), setter_(setter) {}

  ZonType* attributeType() const override { return typeNodeOf<Value>(); }
  bool offers(unsigned opId) const noexcept override { return opId == Op::get || (opId == Op::set && isSettable); }
  Ptr<GenericIf> perform(AttrCall const& call) const override {
    if constexpr (isSettable) {
      if (call.opId == Op::set) {
        (mutableObject<D>(call).*setter_)(argumentOf<Value>(call.value.ptr(), name()));
        return {};
      }
    }
    return valueOf<Value>((constObject<C>(call).*getter_)());
  }

 private:
  static constexpr bool isSettable = !std::is_same_v<Setter, std::nullptr_t>;

  Getter getter_;
  [[no_unique_address]] Setter setter_;
};

template <class C, class T>
constexpr auto valueAttr(char const* name, AttributeId id, T (C::*getter)() const) noexcept {
  return ValueAttr<C, T>(name, id, getter, nullptr);
}

template <class C, class T, class D, class R, class P>
constexpr auto valueAttr(char const* name, AttributeId id, T (C::*getter)() const, R (D::*setter)(P)) noexcept {
  static_assert(std::is_same_v<std::remove_cvref_t<T>, std::remove_cvref_t<P>>, "the setter must fit the getter");
  static_assert(std::is_base_of_v<C, D> || std::is_base_of_v<D, C>, "getter and setter are of one class");
  return ValueAttr<C, T, D, R (D::*)(P)>(name, id, getter, setter);
}

/// A watched input: read, set (null is legal) and removed.
template <class C, class X>
class InputAttr final : public AttrSpec {
 public:
  using Getter = Ptr<X> (C::*)() const;
  using Setter = void (C::*)(Ptr<X> const&);
  using Remover = Ptr<X> (C::*)();

  constexpr InputAttr(char const* name, AttributeId id, Getter getter, Setter setter, Remover remover) noexcept
    : AttrSpec(name, id), getter_(getter), setter_(setter), remover_(remover) {}

  ZonType* attributeType() const override { return typeNodeOf<Ptr<X>>(); }
  bool offers(unsigned opId) const noexcept override { return opId == Op::get || opId == Op::set || opId == Op::del; }
  Ptr<GenericIf> perform(AttrCall const& call) const override {
    switch (call.opId) {
    case Op::set:
      (mutableObject<C>(call).*setter_)(argumentOf<Ptr<X>>(call.value.ptr(), name()));
      return {};
    case Op::del: {
      Ptr<X> const removed = (mutableObject<C>(call).*remover_)();
      return removed ? valueOf(removed) : Ptr<GenericIf>();
    }
    default:
      return valueOf((constObject<C>(call).*getter_)());
    }
  }

 private:
  Getter getter_;
  Setter setter_;
  Remover remover_;
};

template <class C, class X>
constexpr auto inputAttr(char const* name, AttributeId id, Ptr<X> (C::*getter)() const,
                         void (C::*setter)(Ptr<X> const&), Ptr<X> (C::*remover)()) noexcept {
  return InputAttr<C, X>(name, id, getter, setter, remover);
}

/// A child: read, created out of its parameters and removed.
template <class C, class X, class... P>
class ChildAttr final : public AttrSpec {
 public:
  using Getter = Ptr<X> (C::*)() const;
  using Setter = Ptr<X> (C::*)(P...);
  using Remover = Ptr<X> (C::*)();

  constexpr ChildAttr(char const* name, AttributeId id, ParameterList<P...> parameters, Getter getter, Setter setter,
                      Remover remover) noexcept
    : AttrSpec(name, id), parameters_(parameters), getter_(getter), setter_(setter), remover_(remover) {}

  bool isInstantiating() const noexcept override { return true; }
  ZonType* attributeType() const override { return typeNodeOf<Ptr<X>>(); }
  bool offers(unsigned opId) const noexcept override { return opId == Op::get || opId == Op::set || opId == Op::del; }
  Ptr<GenericIf> perform(AttrCall const& call) const override {
    switch (call.opId) {
    case Op::set: {
      auto const create = [&](auto const&... arguments) {
        return interfaceOf((mutableObject<C>(call).*setter_)(arguments...), call.isConst);
      };
      if constexpr (sizeof...(P) == 1) {
        // A child that takes nothing but its name is set to the name itself.
        if (dynamic_cast<GenericIf::List_ const*>(call.value.ptr()) == nullptr) {
          return parameters_.applySingle(call.value.ptr(), name(), create);
        }
      }
      return parameters_.apply(listArgument(call.value), name(), create);
    }
    case Op::del:
      return interfaceOf((mutableObject<C>(call).*remover_)(), call.isConst);
    default:
      return interfaceOf((constObject<C>(call).*getter_)(), call.isConst);
    }
  }

 private:
  ParameterList<P...> parameters_;
  Getter getter_;
  Setter setter_;
  Remover remover_;
};

template <class C, class X, class... P, std::size_t n>
constexpr auto childAttr(char const* name, AttributeId id, ParameterNames<n> names, Ptr<X> (C::*getter)() const,
                         Ptr<X> (C::*setter)(P...), Ptr<X> (C::*remover)()) noexcept {
  static_assert(sizeof...(P) == n, "a name for every parameter");
  return ChildAttr<C, X, P...>(name, id, ParameterList<P...>(names), getter, setter, remover);
}

/// A child that is made of its name alone.
template <class C, class X, class P>
constexpr auto childAttr(char const* name, AttributeId id, Ptr<X> (C::*getter)() const, Ptr<X> (C::*setter)(P),
                         Ptr<X> (C::*remover)()) noexcept {
  return ChildAttr<C, X, P>(name, id, ParameterList<P>(ParameterNames<1>{{{"name"}}}), getter, setter, remover);
}

/// A function of at most one argument.
template <class C, class None, class One, class P>
class FunctionAttr final : public AttrSpec {
 public:
  constexpr FunctionAttr(char const* name, AttributeId id, char const* parameter, None none, One one) noexcept
    : AttrSpec(name, id), parameter_(parameter), none_(none), one_(one) {}

  unsigned flags() const noexcept override { return 8; }
  ZonType* attributeType() const override { return zonVoidTypeNode(); }
  bool offers(unsigned opId) const noexcept override { return opId == Op::call; }
  Ptr<GenericIf> perform(AttrCall const& call) const override {
    GenericIf::List const* const list = call.value ? &listArgument(call.value) : nullptr;
    std::size_t const given = list != nullptr ? list->size() : 0;
    if (given > (takesOne ? 1U : 0U)) {
      GenericIf::throwUnknownArgException(name());
    }
    if constexpr (takesOne) {
      if (given == 1 || !takesNone) {
        GenericIf const* const element = given == 1 ? list->queue().head()->held().ptr() : nullptr;
        (mutableObject<C>(call).*one_)(argumentOf<P>(element, parameter_));
        return {};
      }
    }
    if constexpr (takesNone) {
      (mutableObject<C>(call).*none_)();
    }
    return {};
  }

 private:
  static constexpr bool takesNone = !std::is_same_v<None, std::nullptr_t>;
  static constexpr bool takesOne = !std::is_same_v<One, std::nullptr_t>;

  char const* parameter_;
  None none_;
  One one_;
};

template <class C>
constexpr auto functionAttr(char const* name, AttributeId id, void (C::*none)()) noexcept {
  return FunctionAttr<C, void (C::*)(), std::nullptr_t, void>(name, id, nullptr, none, nullptr);
}
template <class C, class P>
constexpr auto functionAttr(char const* name, AttributeId id, char const* parameter, void (C::*one)(P)) noexcept {
  return FunctionAttr<C, std::nullptr_t, void (C::*)(P), std::remove_cvref_t<P>>(name, id, parameter, nullptr, one);
}
template <class C, class P>
constexpr auto functionAttr(char const* name, AttributeId id, char const* parameter, void (C::*none)(),
                            void (C::*one)(P)) noexcept {
  return FunctionAttr<C, void (C::*)(), void (C::*)(P), std::remove_cvref_t<P>>(name, id, parameter, none, one);
}

// The attributes every reactor has, which share id 0.

template <class X>
constexpr auto activityAttr() noexcept {
  if constexpr (requires(X & x, Ptr<ActivityConfig> const& activity) { x.zonFwkActivityIs(activity); }) {
    return valueAttr("zonFwkActivity", 0, &X::zonFwkActivity, &X::zonFwkActivityIs);
  } else {
    return valueAttr("zonFwkActivity", 0, &X::zonFwkActivity);
  }
}
template <class X>
constexpr auto keyAttr() noexcept {
  return valueAttr("fwkKey", 0, &X::fwkKey);
}
template <class X>
constexpr auto activeSwitchAttr() noexcept {
  return functionAttr("hasNotificationActiveIs", 0, "active", &X::hasNotificationActiveIs);
}
template <class X>
constexpr auto zombieSwitchAttr() noexcept {
  return functionAttr("zonDoZombieReactors", 0, "zombie", &X::zonDoZombieReactors);
}

/// The switch of every entity.
constexpr auto isNondestructingAttr() noexcept {
  return valueAttr("isNondestructing", isNondestructingId, &PtrInterface::isNondestructing,
                   &PtrInterface::isNondestructingIs);
}

/// A known name that offers no operation.
class NamedAttr final : public AttrSpec {
 public:
  constexpr NamedAttr(char const* name, AttributeId id, ZonType* (*type)()) noexcept
    : AttrSpec(name, id), type_(type) {}
  ZonType* attributeType() const override { return type_(); }
  bool offers(unsigned) const noexcept override { return false; }
  Ptr<GenericIf> perform(AttrCall const&) const override { return {}; }

 private:
  ZonType* (*type_)();
};

/// The lines of one type, in order.
template <class... Specs>
class AttrTable final : public AttrLines {
 public:
  constexpr explicit AttrTable(Specs... specs) noexcept : specs_(specs...) {}

  void forEach(void (*line)(void* context, AttrSpec const& spec), void* context) const override {
    std::apply([&](auto const&... spec) { (line(context, spec), ...); }, specs_);
  }

 private:
  std::tuple<Specs...> specs_;
};

template <class... Specs>
constexpr auto attributes(Specs... specs) noexcept {
  return AttrTable<Specs...>(specs...);
}

}  // namespace Zon
