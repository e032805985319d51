#pragma once

/// \file
/// What a recording may change: a row for each kind of entity and for each attribute, with the operation of the device
/// that applies it. Reader, device and documentation meet in this table; a new kind is one row more.
///
/// Guarantees
///   A  A row's value type is that of its setter: a pair that does not fit does not compile.
///   B  The table is constant and complete before `main`.
///
/// Use
///
///     if (auto const* entity = VaroHost::Schema::entity("intfConfig")) show(entity->attribute("defaultConfig"));

#include <array>
#include <span>
#include <string_view>

#include "host/Change.h"

namespace Zon {
class Entity;
}

namespace VaroHost {

class Device;

struct AttributeSchema {
  std::string_view name;
  ValueType type = ValueType::none;
  /// Sets the attribute of an entity, which has the type this attribute belongs to.
  void (*set)(Device& device, Zon::Entity& target, Value const& value) = nullptr;
  /// What the device owes the modules after that attribute of an entity in place changed; null for nothing.
  void (Device::*afterwards)(Change const& change) = nullptr;
};

struct EntitySchema {
  using Apply = void (Device::*)(Change const& change);

  std::string_view name;
  /// What each key names, outermost first; empty past the last.
  std::array<std::string_view, Change::maxKeys> keys;
  /// The type of the value of an entry that has no attributes, else none.
  ValueType value = ValueType::none;
  /// By `Operation`; null where it is not offered.
  std::array<Apply, operations> apply{};
  std::span<AttributeSchema const> attributes{};

  std::size_t keyCount() const noexcept;
  AttributeSchema const* attribute(std::string_view attributeName) const noexcept;
};

class Schema {
 public:
  static std::span<EntitySchema const> entities() noexcept;
  /// Null when there is none of that name.
  static EntitySchema const* entity(std::string_view name) noexcept;
};

}  // namespace VaroHost
