#pragma once

/// \file
/// The registration of the platform's types: one static initialiser for all of them.
///
/// Guarantees: registered once, in whatever order libraries are initialised.
///
/// Use: each type's slot names `platform::zonTypeModule`.

namespace Zon {
class TypeModule;
}

namespace platform {

extern Zon::TypeModule zonTypeModule;

/// True once the types of the platform are registered.
bool _fwkRegistered();

}  // namespace platform
