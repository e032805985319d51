#include "Zon/Trace.h"

#include <cerrno>
#include <sstream>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

namespace {

using Zon::String8;
using Zon::TraceHandle;
using Zon::TraceRecord;

// Made before main, by a static initialiser.
TraceHandle const early("TraceTest.early", true);

/// Collects lines as `facility/level text`, and puts everything back at the end.
class TraceTest : public testing::Test {
 protected:
  TraceTest() {
    Zon::traceSinkIs([this](TraceRecord const& record) {
      seen += (record.facility + "/" + std::to_string(record.level) + " " + record.text + "|").stdString();
      last = record;
    });
  }
  ~TraceTest() override {
    Zon::traceSinkIs({});
    Zon::coverageStreamIs(nullptr);
  }

  void line(TraceHandle const& handle, unsigned level, std::string const& text) {
    Zon::trace(handle, level, "File", 42, "function", [&](std::ostream& out) {
      ++built;
      out << text;
    });
  }

  std::string seen;
  TraceRecord last;
  int built = 0;
};

TEST_F(TraceTest, FacilitiesAreSharedByNameAndTheFlagCountsOnlyWhenMade) {
  EXPECT_FALSE(TraceHandle::exists("TraceTest.shared"));
  TraceHandle const first("TraceTest.shared", false);
  EXPECT_TRUE(TraceHandle::exists("TraceTest.shared"));
  TraceHandle const second(std::string("TraceTest.shared"), true);
  EXPECT_FALSE(second.enabled());
  EXPECT_EQ(second.name(), "TraceTest.shared");
  second.enabledIs(true);
  second.levelIs(3, true);
  EXPECT_TRUE(first.enabled());
  EXPECT_TRUE(first.level(3));
  EXPECT_TRUE(early.enabled());
}

TEST_F(TraceTest, ALineNeedsFacilityAndLevel) {
  TraceHandle const handle("TraceTest.gate", false);
  line(handle, 8, "both off");
  handle.levelIs(8, true);
  line(handle, 8, "level only");
  handle.enabledIs(true);
  line(handle, 8, "both on");
  line(handle, 7, "other level");
  handle.levelIs(8, false);
  line(handle, 8, "facility only");
  EXPECT_EQ(seen, "TraceTest.gate/8 both on|");
  EXPECT_EQ(built, 1);
}

TEST_F(TraceTest, OfAFacilityThatIsOffNoLevelIsWanted) {
  TraceHandle const handle("TraceTest.off", false);
  for (unsigned level = 0; level != TraceHandle::levels; ++level) {
    handle.levelIs(level, true);
    EXPECT_FALSE(handle.wanted(level)) << level;
    line(handle, level, "x");
  }
  EXPECT_EQ(built, 0);
}

TEST_F(TraceTest, NumbersHaveTwelveDigits) {
  TraceHandle const handle("TraceTest.digits", true);
  handle.levelIs(1, true);
  Zon::trace(handle, 1, "File", 42, "function", [](std::ostream& out) { out << 2.0 / 3; });
  EXPECT_EQ(seen, "TraceTest.digits/1 0.666666666667|");
}

TEST_F(TraceTest, LevelsAreIndependentFrom0To31) {
  TraceHandle const handle("TraceTest.levels", true);
  handle.levelIs(0, true);
  handle.levelIs(31, true);
  for (unsigned level = 0; level < 32; ++level)
    line(handle, level, "x");
  EXPECT_EQ(seen, "TraceTest.levels/0 x|TraceTest.levels/31 x|");
}

TEST_F(TraceTest, TheRecordCarriesEverything) {
  TraceHandle const handle("TraceTest.record", true);
  handle.levelIs(8, true);
  Zon::trace(handle, 8, "VaroIntf", 159, "handle", [](std::ostream& out) { out << "pi " << 3.14159265358979; });
  EXPECT_EQ(last.facility, "TraceTest.record");
  EXPECT_EQ(last.name, "<unknown>");
  EXPECT_EQ(last.text, "pi 3.14159265359");
  EXPECT_EQ(last.file, "VaroIntf");
  EXPECT_EQ(last.function, "handle");
  EXPECT_EQ(last.level, 8U);
  EXPECT_TRUE(last.levelOn);
  EXPECT_EQ(last.line, 159);
}

TEST_F(TraceTest, TheCoverageStreamGetsEveryLineTheSinkOnlyWhatIsOn) {
  TraceHandle const before("TraceTest.before", false);
  std::ostringstream coverage;
  Zon::coverageStreamIs(&coverage);
  EXPECT_EQ(Zon::coverageStream(), &coverage);
  TraceHandle const after("TraceTest.after", true);
  after.levelIs(7, true);
  line(before, 8, "off");
  line(after, 7, "on\nand\\escaped");
  Zon::coverageStreamIs(nullptr);
  line(before, 8, "nobody asks");
  EXPECT_EQ(coverage.str(), "TraceTest.before/8 File:42 function: off\n"
                            "TraceTest.after/7 File:42 function: on\\x0aand\\x5cescaped\n");
  EXPECT_EQ(seen, "TraceTest.after/7 on\nand\\escaped|");
  EXPECT_EQ(built, 2);
}

TEST_F(TraceTest, TheDefaultSinkWritesOneLineOnStandardError) {
  Zon::traceSinkIs({});
  TraceHandle const handle("TraceTest.default", true);
  handle.levelIs(7, true);
  testing::internal::CaptureStderr();
  line(handle, 7, std::string("a\0b", 3));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "TraceTest.default/7 File:42 function: a\\x00b\n");
}

TEST_F(TraceTest, WhatASinkThrowsIsSwallowed) {
  TraceHandle const handle("TraceTest.throwing", true);
  handle.levelIs(1, true);
  int calls = 0;
  Zon::traceSinkIs([&](TraceRecord const&) {
    if (++calls == 1) throw std::runtime_error("sink");
    throw 1;
  });
  EXPECT_NO_THROW(line(handle, 1, "a"));
  EXPECT_NO_THROW(line(handle, 1, "b"));
  EXPECT_EQ(calls, 2);
}

TEST_F(TraceTest, WhatBuildingALineThrowsIsSwallowedAndDropsTheLine) {
  TraceHandle const handle("TraceTest.building", true);
  handle.levelIs(1, true);
  EXPECT_NO_THROW(Zon::trace(handle, 1, "f", 1, "g", [](std::ostream&) { throw std::runtime_error("text"); }));
  line(handle, 1, "next");
  EXPECT_EQ(seen, "TraceTest.building/1 next|");
}

TEST_F(TraceTest, ABrokenCoverageStreamKeepsNothingFromTheSink) {
  TraceHandle const handle("TraceTest.broken", true);
  handle.levelIs(1, true);
  std::ostream broken(nullptr);
  broken.exceptions(std::ios::goodbit);
  Zon::coverageStreamIs(&broken);
  EXPECT_NO_THROW(line(handle, 1, "a"));
  std::ostringstream throwing;
  throwing.exceptions(std::ios::badbit | std::ios::failbit);
  throwing.setstate(std::ios::goodbit);
  Zon::coverageStreamIs(&throwing);
  try {
    throwing.setstate(std::ios::badbit);
  } catch (std::ios::failure const&) {
  }
  EXPECT_NO_THROW(line(handle, 1, "b"));
  EXPECT_EQ(seen, "TraceTest.broken/1 a|TraceTest.broken/1 b|");
}

TEST_F(TraceTest, ASinkMayReplaceItself) {
  TraceHandle const handle("TraceTest.replacing", true);
  handle.levelIs(1, true);
  auto const big = std::make_shared<std::string>(1000, 'x');
  Zon::traceSinkIs([this, big](TraceRecord const& record) {
    Zon::traceSinkIs([this](TraceRecord const& later) { seen += "second:" + later.text.stdString() + '|'; });
    // This closure must still be alive.
    seen += "first:" + record.text.stdString() + ' ' + std::to_string(big->size()) + '|';
  });
  line(handle, 1, "a");
  line(handle, 1, "b");
  EXPECT_EQ(seen, "first:a 1000|second:b|");
  EXPECT_EQ(big.use_count(), 1);
}

TEST_F(TraceTest, ASinkMayTraceAndEndlessNestingIsCut) {
  TraceHandle const handle("TraceTest.nested", true);
  handle.levelIs(1, true);
  Zon::traceSinkIs([&](TraceRecord const& record) {
    seen += record.text.stdString() + '|';
    if (record.text == "a") line(handle, 1, "inside");
  });
  line(handle, 1, "a");
  EXPECT_EQ(seen, "a|inside|");

  int calls = 0;
  Zon::traceSinkIs([&](TraceRecord const&) {
    ++calls;
    line(handle, 1, "again");
  });
  line(handle, 1, "endless");
  EXPECT_EQ(calls, 8);
  line(handle, 1, "still works");
  EXPECT_EQ(calls, 16);
}

TEST_F(TraceTest, ErrnoSurvivesALine) {
  TraceHandle const handle("TraceTest.errno", true);
  handle.levelIs(1, true);
  Zon::traceSinkIs([](TraceRecord const&) { errno = ENOENT; });
  errno = EINTR;
  line(handle, 1, "a");
  EXPECT_EQ(errno, EINTR);
}

TEST(TraceDeathTest, LevelsBeyond31AreAsserted) {
  TraceHandle const handle("TraceTest.death", false);
  EXPECT_DEATH(handle.levelIs(32, true), "assertion \"level < 32\" failed: Zon/Trace:");
  EXPECT_DEATH((void)handle.level(32), "assertion \"level < 32\" failed");
  EXPECT_DEATH(Zon::trace(handle, 32, "f", 1, "g", [](std::ostream&) {}), "assertion \"level < 32\" failed");
}

TEST(TraceDeathTest, AssertFailedWritesItsLineAndAborts) {
  EXPECT_EXIT(Zon::assertFailed("intfSm", "VaroErrdisableIntf", 95, "handleErrdisable"),
              testing::KilledBySignal(SIGABRT),
              "^assertion \"intfSm\" failed: VaroErrdisableIntf:95: handleErrdisable\n$");
  Zon::require(true, "holds", "f", 1, "g");
  EXPECT_DEATH(Zon::require(false, "holds not", "f", 1, "g"), "assertion \"holds not\" failed: f:1: g");
}

}  // namespace
