#pragma once

/// \file
/// What every counted thing of the runtime shares: the allocator and the process-wide choice between plain and locked
/// reference counting.
///
/// Guarantees
///   A  `enableThreadSafePointers` is asked anew at every single increment and decrement; nothing caches it.
///   B  It is one byte, false at program start, and constant-initialised: static initialisers may count objects.
///
/// Use: a host that lets other threads hold pointers sets the switch once, before the first of them does.
///
///     Zon::VFPtrInterface::enableThreadSafePointers = true;

#include <cstddef>

namespace Zon {

class VFPtrInterface {
 public:
  static bool enableThreadSafePointers;

  static void* operator new(std::size_t size);
  static void* operator new(std::size_t, void* place) noexcept { return place; }
  static void operator delete(void* memory) noexcept;
  static void operator delete(void*, void*) noexcept {}
};

}  // namespace Zon
