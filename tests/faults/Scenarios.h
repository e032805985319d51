#pragma once

/// \file
/// What hosts do to the two modules, as sequences of operations that a test of faults disturbs.

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "faults/World.h"

namespace Faults {

struct Step {
  std::string name;
  std::function<void(World&)> act;
};

struct Scenario {
  std::string name;
  World::Activity activity = World::Activity::immediate;
  /// What is there before: not disturbed.
  std::vector<Step> before;
  std::vector<Step> steps;

  friend void PrintTo(Scenario const& scenario, std::ostream* out) { *out << scenario.name; }
};

/// Every scenario, on every activity on which it makes a difference.
std::vector<Scenario> scenarios();

}  // namespace Faults
