#include <cstddef>
#include <iostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "faults/Disturbed.h"

namespace Faults {
namespace {

using Which = FailingAllocations::Which;

class AllocationOfModules : public testing::TestWithParam<Scenario> {
 protected:
  /// Runs the scenario with the first allocation failing, with the second, until there are no more.
  void expectSurvival(Which which) {
    Disturbed const disturbed(GetParam());
    std::size_t runs = 0;
    std::size_t failed = 0;
    for (std::size_t nth = 1;; ++nth) {
      std::size_t failures = 0;
      std::string const problem = disturbed.run(nth, which, failures);
      EXPECT_EQ(problem, "");
      if (failures == 0) break;
      ++runs;
      failed += failures;
      // One is enough to look at.
      if (!problem.empty()) break;
    }
    EXPECT_GT(runs, 0U);
    RecordProperty("failed", static_cast<int>(failed));
    std::cout << GetParam().name << ": " << runs << " runs, " << failed << " allocations failed\n";
  }
};

TEST_P(AllocationOfModules, EachMayFail) { expectSurvival(Which::thatOne); }

TEST_P(AllocationOfModules, EachMayFailWithAllThatFollowIt) { expectSurvival(Which::thatAndAllLater); }

/// Without activity everything allocates as on an immediate one.
std::vector<Scenario> scenariosOnActivities() {
  auto all = scenarios();
  std::erase_if(all, [](Scenario const& scenario) { return scenario.name.ends_with("OnNone"); });
  return all;
}

INSTANTIATE_TEST_SUITE_P(Scenarios, AllocationOfModules, testing::ValuesIn(scenariosOnActivities()),
                         [](auto const& scenario) { return scenario.param.name; });

}  // namespace
}  // namespace Faults
