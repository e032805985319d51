#pragma once

/// \file
/// What the classes of the interface directory module share: its trace facility and its registration.
///
/// Guarantees: the facility is made on first use; registration happens once, whatever asks for it first.
///
/// Use
///
///     if (!VaroIntf::_fwkRegistered()) { ... }  // a type's name was taken

#include "Zon/Trace.h"

namespace Zon {
class TypeModule;
}

namespace VaroIntf {

/// The registration of this module's types.
extern Zon::TypeModule zonTypeModule;

/// The source file that trace lines and assertions of this module name.
inline constexpr char const* traceFile = "VaroIntf";

/// The facility "VaroIntf", made on first use.
extern Zon::LazyTraceHandle const traceFacility;

/// True once the types of this module are registered.
bool _fwkRegistered();

}  // namespace VaroIntf
