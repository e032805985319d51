#pragma once

/// \file
/// Whether an object became a zombie in the course of a run: then the run stops.
///
/// Guarantees: one that was a zombie before is worked on all the same, because handlers may be called on it directly.
///
/// Use
///
///     ZombieWatch const alive(*this);
///     for (auto port = ports->portIterator(); port && alive.goesOn(); port.advance()) { ... }

#include "Zon/PtrInterface.h"

namespace Zon {

/// REQUIRES: the object is held while the watch is asked.
class ZombieWatch {
 public:
  explicit ZombieWatch(PtrInterface const& object) noexcept
    : object_(object), wasZombie_(object.zonMarkedForDeletion()) {}

  bool goesOn() const noexcept { return wasZombie_ || !object_.zonMarkedForDeletion(); }

 private:
  PtrInterface const& object_;
  bool const wasZombie_;
};

}  // namespace Zon
