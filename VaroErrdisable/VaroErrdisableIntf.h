#pragma once

/// \file
/// What the classes of the errdisable module share: its trace facility, and how it treats inputs that must be there.
///
/// Guarantees: the facility is made on first use; registration happens once, whatever asks for it first.
///
/// Use
///
///     auto const directory = required(intfConfigDir(), "intfConfigDir");

#include "Zon/Ptr.h"
#include "Zon/Trace.h"

namespace Zon {
class TypeModule;
}

namespace VaroErrdisable {

/// The registration of this module's types.
extern Zon::TypeModule zonTypeModule;

/// The source file that trace lines and assertions of this module name.
inline constexpr char const* traceFile = "VaroErrdisableIntf";

/// The facility "Errdisable", made on first use.
extern Zon::LazyTraceHandle const traceFacility;

/// True once the types of this module are registered.
bool _fwkRegistered();

/// An input that the host must supply. A missing one is a programming error: caught in debug builds, not guarded in
/// release builds.
template <class Pointer>
Pointer required(Pointer pointer, [[maybe_unused]] char const* name, [[maybe_unused]] int line = __builtin_LINE(),
                 [[maybe_unused]] char const* function = __builtin_FUNCTION()) {
#ifndef NDEBUG
  if (!pointer) {
    Zon::assertFailed(name, traceFile, line, function);
  }
#endif
  return pointer;
}

}  // namespace VaroErrdisable
