#pragma once

/// \file
/// Scenarios under lack of memory: runs one with the n-th allocation of its steps failing, and looks at what came out.
///
/// A step that met a failure may throw `std::bad_alloc` or an exception of the runtime, or nothing, when a watcher was
/// what failed. Whatever can be seen then is either as before the step or as after it, each fact by itself. The step is
/// repeated, now with memory, and the host sweeps; from there on everything is as if nothing had failed.

#include <cstddef>
#include <string>
#include <vector>

#include "faults/FailingAllocations.h"
#include "faults/Scenarios.h"

namespace Faults {

class Disturbed {
 public:
  /// Runs the scenario once undisturbed.
  explicit Disturbed(Scenario const& scenario);

  /// Empty, or what went wrong. `failures` is how many allocations failed: none when the steps need fewer than `nth`.
  std::string run(std::size_t nth, FailingAllocations::Which which, std::size_t& failures) const;

 private:
  std::string runSteps(std::size_t nth, FailingAllocations::Which which, std::size_t& failures) const;
  std::string repeat(World& world, std::size_t step) const;

  Scenario const& scenario_;
  /// What can be seen before the first step, and after each.
  std::vector<Facts> seen_;
  Facts references_;
};

}  // namespace Faults
