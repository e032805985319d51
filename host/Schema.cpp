#include "host/Schema.h"

#include <concepts>
#include <type_traits>

#include "host/Device.h"

namespace VaroHost {

namespace {

template <class Setter>
struct SetterTraits;

template <class X, class Argument>
struct SetterTraits<void (X::*)(Argument)> {
  using Entity = X;
  using Type = std::remove_cvref_t<Argument>;
};

template <class T>
inline constexpr ValueType valueTypeOf = ValueType::none;
template <>
inline constexpr ValueType valueTypeOf<bool> = ValueType::boolean;
template <>
inline constexpr ValueType valueTypeOf<Interface::IntfEnabledState> = ValueType::state;
template <>
inline constexpr ValueType valueTypeOf<Zon::Ptr<Interface::IntfConfig>> = ValueType::profile;

template <class T>
T valueAs(Device& device, Value const& value) {
  if constexpr (std::same_as<T, bool>) {
    return value.boolean;
  } else if constexpr (std::same_as<T, Interface::IntfEnabledState>) {
    return value.state;
  } else {
    return device.defaultConfig(value.text);
  }
}

template <auto setter>
void assign(Device& device, Zon::Entity& target, Value const& value) {
  using Traits = SetterTraits<decltype(setter)>;
  (static_cast<typename Traits::Entity&>(target).*setter)(valueAs<typename Traits::Type>(device, value));
}

template <auto setter>
constexpr AttributeSchema attribute(std::string_view name, EntitySchema::Apply afterwards = nullptr) {
  using Type = typename SetterTraits<decltype(setter)>::Type;
  static_assert(valueTypeOf<Type> != ValueType::none, "a recording cannot carry values of this type");
  return {name, valueTypeOf<Type>, &assign<setter>, afterwards};
}

using Interface::IntfConfig;
using Interface::IntfStatus;

constexpr AttributeSchema configAttributes[] = {
    attribute<&IntfConfig::adminEnabledStateLocalIs>("adminEnabledStateLocal"),
    attribute<&IntfConfig::defaultConfigIs>("defaultConfig", &Device::reevaluate),
};

constexpr AttributeSchema defaultConfigAttributes[] = {
    attribute<&IntfConfig::adminEnabledStateLocalIs>("adminEnabledStateLocal", &Device::reevaluateAll),
};

constexpr AttributeSchema statusAttributes[] = {
    attribute<&IntfStatus::activeIs>("active"),
};

// The columns of `apply`: set, add, replace, del.
constexpr EntitySchema table[] = {
    {"intfConfig",
     {"interface"},
     ValueType::none,
     {&Device::configSet, &Device::configAdd, &Device::configReplace, &Device::configDel},
     configAttributes},
    {"defaultConfig",
     {"default configuration"},
     ValueType::none,
     {&Device::defaultConfigSet, &Device::defaultConfigAdd, nullptr, &Device::defaultConfigDel},
     defaultConfigAttributes},
    {"intfStatus",
     {"interface"},
     ValueType::none,
     {&Device::statusSet, &Device::statusAdd, &Device::statusReplace, &Device::statusDel},
     statusAttributes},
    {"errdisabledIntf",
     {"interface"},
     ValueType::text,
     {&Device::errdisabledSet, nullptr, nullptr, &Device::errdisabledDel}},
    {"forwardingModelInputs",
     {"interface", "source"},
     ValueType::integer,
     {&Device::forwardingInputSet, nullptr, nullptr, &Device::forwardingInputDel}},
    {"slice", {"slice"}, ValueType::none, {nullptr, &Device::sliceAdd, &Device::sliceReplace, &Device::sliceDel}},
    {"intfQueueCounterDir",
     {"slice", "interface"},
     ValueType::none,
     {nullptr, &Device::countersAdd, &Device::countersReplace, &Device::countersDel}},
    {"intfQueueCounter",
     {"slice", "interface", "counter"},
     ValueType::none,
     {nullptr, &Device::counterAdd, nullptr, &Device::counterDel}},
};

}  // namespace

std::size_t EntitySchema::keyCount() const noexcept {
  std::size_t count = 0;
  while (count < keys.size() && !keys[count].empty()) {
    ++count;
  }
  return count;
}

AttributeSchema const* EntitySchema::attribute(std::string_view attributeName) const noexcept {
  for (AttributeSchema const& candidate : attributes) {
    if (candidate.name == attributeName) {
      return &candidate;
    }
  }
  return nullptr;
}

std::span<EntitySchema const> Schema::entities() noexcept { return table; }

EntitySchema const* Schema::entity(std::string_view name) noexcept {
  for (EntitySchema const& candidate : table) {
    if (candidate.name == name) {
      return &candidate;
    }
  }
  return nullptr;
}

}  // namespace VaroHost
