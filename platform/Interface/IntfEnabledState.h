#pragma once

/// \file
/// `Interface::IntfEnabledState`: whether somebody wants an interface enabled, disabled, or has no opinion.

#include <cstdint>
#include <iosfwd>

namespace Interface {

enum class IntfEnabledState : std::int32_t { unset = 0, enabled = 1, disabled = 2 };

/// Writes `unset`, `enabled` or `disabled`, any other value as a decimal, whatever width and flags the stream
/// carries.
std::ostream& operator<<(std::ostream& out, IntfEnabledState state);

}  // namespace Interface
