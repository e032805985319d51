#pragma once

/// \file
/// The order in which people expect interface names: `Ethernet2` before `Ethernet10`, `Ethernet3/1/2` before `3/1/10`.
///
/// Guarantees
///   A  A total order: names that differ in bytes never compare equal.
///   B  Runs of digits compare as numbers of any length, everything else by bytes.
///
/// Use
///
///     std::sort(names.begin(), names.end(), VaroHost::NaturalOrder());

#include <compare>
#include <string_view>

namespace VaroHost {

struct NaturalOrder {
  static std::strong_ordering compare(std::string_view a, std::string_view b) noexcept;

  bool operator()(std::string_view a, std::string_view b) const noexcept { return compare(a, b) < 0; }

  /// The same order of whatever has a name.
  /// \param nameOf gives it
  template <class NameOf>
  static auto by(NameOf nameOf) {
    return [nameOf](auto const& a, auto const& b) { return compare(nameOf(a), nameOf(b)) < 0; };
  }
};

}  // namespace VaroHost
