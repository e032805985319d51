#pragma once

/// \file
/// `VaroHost::Change`: one line of a recording after reading: checked against the schema, not yet applied.
///
/// Guarantees of a change that `ChangeReader` returned
///   A  `entity` is set, with as many keys as it asks for; names are within their limits and valid UTF-8.
///   B  The entity offers the operation; `attribute` and `value` are there exactly when the operation takes them, and
///      the value has the type that the schema states.
///   C  `columns` says where each member stood in its line, from 1; 0 for a member that was left out.
///
/// Use
///
///     device.apply(reader.read(line));   // Errors: `ChangeError`, whose member gives the column

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include "platform/Interface/IntfEnabledState.h"

namespace VaroHost {

struct AttributeSchema;
struct EntitySchema;

/// What a change does to its entry or attribute.
enum class Operation : std::uint8_t { set, add, replace, del };
inline constexpr std::size_t operations = 4;
std::string_view name(Operation operation) noexcept;

/// As texts of the library name it.
std::string name(Interface::IntfEnabledState state);

/// The members of a line.
enum class Member : std::uint8_t { time, entity, key, attribute, value, op };
inline constexpr std::size_t memberCount = 6;
std::string_view name(Member member) noexcept;

enum class ValueType : std::uint8_t { none, boolean, integer, state, text, profile };

/// A value of one of the types an attribute may have.
struct Value {
  ValueType type = ValueType::none;
  bool boolean = false;
  std::int32_t integer = 0;
  Interface::IntfEnabledState state = Interface::IntfEnabledState::unset;
  /// The text; of a profile its name, empty for none.
  std::string text;
};

struct Change {
  static constexpr std::size_t maxKeys = 3;

  std::chrono::nanoseconds time{0};
  Operation operation = Operation::set;
  EntitySchema const* entity = nullptr;
  AttributeSchema const* attribute = nullptr;
  /// Outermost first, as many as the entity has.
  std::array<std::string, maxKeys> keys;
  Value value;
  std::array<std::uint32_t, memberCount> columns{};

  std::string const& key() const noexcept { return keys[0]; }
};

/// Why a well-formed change cannot be applied; nothing of it was, but for blocks of counters that stay (Device.h).
class ChangeError : public std::runtime_error {
 public:
  ChangeError(Member member, std::string const& reason) : std::runtime_error(reason), member_(member) {}

  /// The member of the line that is to blame.
  Member member() const noexcept { return member_; }

 private:
  Member member_;
};

}  // namespace VaroHost
