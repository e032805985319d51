#include "platform/Interface/IntfEnabledState.h"

#include <iomanip>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace {

using Interface::IntfEnabledState;

static_assert(static_cast<int>(IntfEnabledState::unset) == 0);
static_assert(static_cast<int>(IntfEnabledState::enabled) == 1);
static_assert(static_cast<int>(IntfEnabledState::disabled) == 2);
static_assert(sizeof(IntfEnabledState) == 4);

TEST(IntfEnabledState, PrintsItsWordAndOtherValuesAsDecimals) {
  std::ostringstream out;
  out << std::hex << std::showbase;
  for (int value : {0, 1, 2, 3, -1, 255})
    out << static_cast<IntfEnabledState>(value) << ' ';
  EXPECT_EQ(out.str(), "unset enabled disabled 3 -1 255 ");
}

}  // namespace
