#pragma once

/// \file
/// `Orvet::IntfId`: the identifier of an interface, key of every per-interface collection.
///
/// Guarantees
///   A  A value type as cheap as its string: copies share the bytes, the empty identifier allocates nothing.
///   B  Order and equality are those of the bytes; the hash is computed once per string.
///   C  Printing writes the bytes, whatever width and flags the stream carries.
///
/// Use
///
///     Orvet::IntfId id = "Ethernet1";
///     out << id;

#include <compare>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <utility>

#include "Zon/String8.h"

namespace Zon {
class ZonType;
}

namespace Orvet {

class IntfId {
 public:
  /// The empty identifier.
  IntfId() noexcept = default;
  IntfId(Zon::String8 name) noexcept : name_(std::move(name)) {}
  /// REQUIRES: `name` is not null.
  IntfId(char const* name) : name_(name) {}
  IntfId(std::string const& name) : name_(name) {}

  /// The interface's name.
  Zon::String8 const& stringValue() const noexcept { return name_; }
  bool empty() const noexcept { return name_.empty(); }

  std::uint32_t hash() const noexcept { return name_.hash(); }
  /// `Zon::bitReverse(hash())`, what keyed collections are ordered by.
  std::uint32_t reversedHash() const noexcept { return name_.reversedHash(); }

  friend bool operator==(IntfId const& a, IntfId const& b) noexcept { return a.name_ == b.name_; }
  friend std::strong_ordering operator<=>(IntfId const& a, IntfId const& b) noexcept { return a.name_ <=> b.name_; }

 private:
  Zon::String8 name_;
};

std::ostream& operator<<(std::ostream& out, IntfId const& id);

/// The type node, for reflection; the argument only chooses the type.
Zon::ZonType* zonTypeNode(IntfId const*);

}  // namespace Orvet
