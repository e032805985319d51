#pragma once

/// \file
/// What reflection is given: objects of the platform, their interfaces and references to them, values of every type,
/// and what operations returned. Every choice of an input picks one.
///
/// Guarantees: the values that are there at first keep their places; at the end no object holds itself.
///
/// Use
///
///     Fuzz::Values values;
///     values.keep(interface->attributeOp(op, values.pick(input), values.pickOf(input, attribute->attributeType())));

#include <set>
#include <utility>
#include <vector>

#include "Fuzz.h"
#include "VaroErrdisable/Root.h"
#include "VaroIntf/Agent.h"
#include "Zon/Activity.h"
#include "Zon/AttrSpec.h"
#include "Zon/Dir.h"
#include "Zon/GenericIf.h"
#include "Zon/ZonType.h"
#include "platform/Errdisable/Status.h"
#include "platform/Interface/AllIntfConfigDir.h"
#include "platform/Interface/AllIntfQueueCounterDir.h"
#include "platform/Interface/AllIntfQueueCounterPtrDir.h"
#include "platform/Interface/AllIntfStatusDir.h"
#include "platform/Interface/IntfConfig.h"
#include "platform/Interface/IntfEnabledState.h"
#include "platform/Interface/IntfQueueCounter.h"
#include "platform/Interface/IntfQueueCounterDir.h"
#include "platform/Interface/IntfStatus.h"
#include "platform/Orvet/IntfId.h"
#include "platform/Pelto/ShmemMan.h"

namespace Fuzz {

/// The object that an interface or a reference stands for; null for none.
inline Zon::Ptr<Zon::PtrInterface const> objectOf(Zon::GenericIf const& interface) {
  if (auto const* const direct = dynamic_cast<Zon::GenericIfPtrInterface const*>(&interface)) {
    return direct->zonObject();
  }
  if (auto const* const reference = dynamic_cast<Zon::GenericIfAnyRef const*>(&interface)) {
    return reference->zonObject();
  }
  return nullptr;
}

/// The type whose attributes it has; null for none.
inline Zon::ZonType const* typeOf(Zon::GenericIf const& interface) {
  if (auto const* const direct = dynamic_cast<Zon::GenericIfPtrInterface const*>(&interface)) {
    return direct->zonType();
  }
  auto const object = objectOf(interface);
  return object ? object->fwkType() : nullptr;
}

class Values {
 public:
  using Interface = Zon::Ptr<Zon::GenericIf>;

  Values() {
    add(Interface(), nullptr);
    for (bool const value : {false, true})
      add(value);
    for (std::int32_t const value : {0, 1, -1, 258})
      add(value);
    add(std::uint32_t{7});
    for (auto const value : {::Interface::IntfEnabledState::enabled, ::Interface::IntfEnabledState::disabled,
                             static_cast<::Interface::IntfEnabledState>(9)})
      add(value);
    for (char const* const name : {"", "Ethernet1", "Ethernet2", "slice", "drops"}) {
      add(Zon::String8(name));
      add(Orvet::IntfId(name));
    }
    addReference(Zon::Ptr<Zon::ActivityConfig>());
    addReference(Zon::newPtr<Zon::ActivityConfig>(Zon::ActivityConfig::Delivery::immediate));
    addReference(deferring_);
    for (char const* const name : {"Ethernet1", "Ethernet2"}) {
      addReference(Zon::newPtr<::Interface::IntfConfig>(name));
      addReference(Zon::newPtr<::Interface::IntfStatus>(name));
      addReference(Zon::newPtr<::Interface::IntfQueueCounterDir>(name));
    }
    for (char const* const name : {"in", "out"}) {
      addReference(Zon::newPtr<::Interface::AllIntfConfigDir>(name));
      addReference(Zon::newPtr<::Interface::AllIntfStatusDir>(name));
      addReference(Zon::newPtr<::Interface::AllIntfQueueCounterPtrDir>(name));
      addReference(Zon::newPtr<Errdisable::Status>(name));
      addReference(Zon::newPtr<Zon::Dir>(name));
    }
    addReference(Zon::newPtr<::Interface::AllIntfQueueCounterDir>("slice"));
    addReference(Zon::newPtr<::Interface::IntfQueueCounter>("drops"));
    addReference(Zon::newPtr<Pelto::ShmemMan>("", std::uint64_t{4096}));
    addReference(VaroIntf::agentFactory("agent"));
    addReference(VaroErrdisable::rootFactory("root"));
    add(Zon::newPtr<Zon::GenericIf::List_>(nullptr), nullptr);
    fixed_ = values_.size();
  }
  Values(Values const&) = delete;
  Values& operator=(Values const&) = delete;

  /// Opens every circle of references that a host could close, so that what is left is a leak.
  ~Values() {
    for (Zon::PtrInterface const* const object : std::exchange(immortals_, {}))
      const_cast<Zon::PtrInterface*>(object)->isNondestructingIs(false);
    for (auto const& object : circular_) {
      if (auto const config = Zon::ptrCast<::Interface::IntfConfig>(object)) config->defaultConfigIs(nullptr);
      if (auto const dir = Zon::ptrCast<Zon::Dir>(object)) dir->entityPtrDelAll();
    }
  }

  /// An activity whose rounds are the input's to call.
  Zon::Ptr<Zon::ActivityConfig> const& deferring() const noexcept { return deferring_; }

  Interface pick(Input& input) const { return values_[input.choice(values_.size())].interface; }
  /// A value of that type, as far as there is one.
  Interface pickOf(Input& input, Zon::ZonType const* type) const {
    return pickWhere(input, [type](Value const& value) { return value.type == type; });
  }
  /// An iterator, as far as there is one.
  Interface pickIterator(Input& input) const {
    return pickWhere(input, [](Value const& value) {
      return dynamic_cast<Zon::GenericIfIterator const*>(value.interface.ptr()) != nullptr;
    });
  }
  Interface listOf(Input& input, std::size_t count) const {
    auto const list = Zon::newPtr<Zon::GenericIf::List>();
    while (count-- > 0)
      list->append(pick(input));
    return Zon::newPtr<Zon::GenericIf::List_>(list);
  }
  /// What the constructor of that type takes.
  Interface argumentsOf(Input& input, Zon::ZonType const& type) const {
    auto const list = Zon::newPtr<Zon::GenericIf::List>();
    for (unsigned at = 0; auto const argument = type.constructorArgTypeQ(at); ++at)
      list->append(pickOf(input, argument.ptr()));
    return Zon::newPtr<Zon::GenericIf::List_>(list);
  }

  /// Keeps a result for later steps; of many the last ones.
  void keep(Interface const& result) {
    if (result) keepAs(result, typeOf(*result));
  }
  template <class T>
  void keepValue(T value) {
    keepAs(Zon::newPtr<Zon::GenericIfValue<T>>(std::move(value)), Zon::typeNodeOf<T>());
  }

  /// An object that came into being: it may come to hold itself.
  void own(Zon::Ptr<Zon::PtrInterface> const& object) {
    if (Zon::ptrCast<::Interface::IntfConfig>(object) || Zon::ptrCast<Zon::Dir>(object)) circular_.push_back(object);
  }
  /// An object that cannot die would be a leak: it is made mortal at the end.
  void noteImmortality(Zon::GenericIf const& interface) {
    auto const object = objectOf(interface);
    if (dynamic_cast<Zon::Entity const*>(object.ptr()) == nullptr) return;
    if (object->isNondestructing()) {
      immortals_.insert(object.ptr());
    } else {
      immortals_.erase(object.ptr());
    }
  }

 private:
  struct Value {
    Interface interface;
    Zon::ZonType const* type;
  };

  void add(Interface const& interface, Zon::ZonType const* type) { values_.push_back({interface, type}); }
  template <class T>
  void add(T value) {
    add(Zon::newPtr<Zon::GenericIfValue<T>>(std::move(value)), Zon::typeNodeOf<T>());
  }
  template <class T>
  void addReference(Zon::Ptr<T> const& object) {
    add(Zon::newPtr<Zon::GenericIfRef<T>>(object), T::_fwkType());
    add(Zon::newPtr<Zon::GenericIfRef<T const>>(object), T::_fwkType());
    add(Zon::newPtr<Zon::GenericIfRef<T>>(nullptr), T::_fwkType());
    if (!object) return;
    own(object);
    add(object->fwkType()->genericIf(object), nullptr);
    add(object->fwkType()->genericIfConst(object), nullptr);
  }
  void keepAs(Interface const& result, Zon::ZonType const* type) {
    constexpr std::size_t most = 48;
    if (values_.size() < fixed_ + most) {
      add(result, type);
    } else {
      values_[fixed_ + kept_++ % most] = {result, type};
    }
  }
  /// The first one from a chosen place on.
  template <class Condition>
  Interface pickWhere(Input& input, Condition const& condition) const {
    std::size_t const start = input.choice(values_.size());
    for (std::size_t offset = 0; offset < values_.size(); ++offset) {
      Value const& value = values_[(start + offset) % values_.size()];
      if (condition(value)) return value.interface;
    }
    return nullptr;
  }

  Zon::Ptr<Zon::ActivityConfig> const deferring_ = Zon::newPtr<Zon::ActivityConfig>();
  std::vector<Zon::Ptr<Zon::PtrInterface>> circular_;
  std::vector<Value> values_;
  std::size_t fixed_ = 0;
  std::size_t kept_ = 0;
  std::set<Zon::PtrInterface const*> immortals_;
};

}  // namespace Fuzz
