#pragma once

/// \file
/// The registration of the platform's types: one static initialiser for all of them.

namespace Zon {
class TypeModule;
}

namespace platform {

extern Zon::TypeModule zonTypeModule;

/// True once the types of the platform are registered.
bool _fwkRegistered();

}  // namespace platform
