#pragma once

/// \file
/// The serials of printed objects. `~PtrInterface` asks `strepTableInUse`, a single load while nothing was printed,
/// and reports the dying object if it is set.
///
/// Guarantees: a serial is dropped before its object's memory is reused; asking costs nothing until the first object is
/// printed. Used by Zon/Strep.cpp and Zon/PtrInterface.cpp alone.

#include <atomic>

namespace Zon {

class PtrInterface;

/// True while any live object has a serial.
extern std::atomic<bool> strepTableInUse;

/// Drops the serial of an object that is being destroyed.
void strepForget(PtrInterface const* object) noexcept;

}  // namespace Zon
