#include "Zon/FirstThrown.h"

#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

namespace {

TEST(FirstThrown, EveryStepIsTriedInOrderAndTheFirstExceptionLeaves) {
  std::string tried;
  Zon::FirstThrown thrown;
  EXPECT_FALSE(thrown);
  thrown.attempt([&] { tried += '1'; });
  EXPECT_FALSE(thrown);
  thrown.attempt([&] {
    tried += '2';
    throw std::runtime_error("second");
  });
  EXPECT_TRUE(thrown);
  thrown.attempt([&] {
    tried += '3';
    throw 3;
  });
  thrown.attempt([&] { tried += '4'; });
  EXPECT_EQ(tried, "1234");
  try {
    thrown.rethrow();
    FAIL();
  } catch (std::runtime_error const& exception) {
    EXPECT_STREQ(exception.what(), "second");
  }
}

TEST(FirstThrown, WhatIsNoStandardExceptionLeavesAsItIs) {
  Zon::FirstThrown thrown;
  thrown.attempt([] { throw 7; });
  EXPECT_THROW(thrown.rethrow(), int);
}

TEST(FirstThrown, NothingLeavesWhenNoStepFailed) {
  Zon::FirstThrown thrown;
  thrown.attempt([] {});
  EXPECT_NO_THROW(thrown.rethrow());
}

}  // namespace
