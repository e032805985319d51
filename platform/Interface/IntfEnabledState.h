#pragma once

/// \file
/// `Interface::IntfEnabledState`: whether somebody wants an interface enabled, disabled, or has no opinion.
///
/// Guarantees: any 32-bit value is carried, printed and read back; only the three named ones have a meaning.
///
/// Use
///
///     config->adminEnabledStateLocalIs(Interface::IntfEnabledState::disabled);

#include <cstdint>
#include <iosfwd>

#include "Zon/String8.h"

namespace Zon {
class ZonType;
}

namespace Interface {

enum class IntfEnabledState : std::int32_t { unset = 0, enabled = 1, disabled = 2 };

/// Writes `unset`, `enabled` or `disabled`, any other value as a decimal, whatever width and flags the stream
/// carries.
std::ostream& operator<<(std::ostream& out, IntfEnabledState state);

/// The type node, for reflection; the argument only chooses the type.
Zon::ZonType* zonTypeNode(IntfEnabledState const*);

/// Reads what `operator<<` writes, for `Zon::strepToValue`. Errors: conversion exception.
void readValue(Zon::String8::IteratorConst& begin, Zon::String8::IteratorConst const& end, IntfEnabledState& state);

}  // namespace Interface
