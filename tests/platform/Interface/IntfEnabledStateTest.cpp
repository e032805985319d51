#include "platform/Interface/IntfEnabledState.h"

#include <iomanip>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "Zon/Exception.h"

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

TEST(IntfEnabledState, IsNotReadBetweenIteratorsThatAreTheWrongWayRound) {
  Zon::String8 const text("enabled");
  auto begin = text.begin() + 3;
  auto state = IntfEnabledState::unset;
  EXPECT_THROW(readValue(begin, text.begin(), state), Zon::ConversionException);
  EXPECT_EQ(begin.position(), 3);
  EXPECT_EQ(state, IntfEnabledState::unset);
  begin = text.begin();
  readValue(begin, text.end(), state);
  EXPECT_EQ(state, IntfEnabledState::enabled);
  EXPECT_EQ(begin, text.end());
}

}  // namespace
