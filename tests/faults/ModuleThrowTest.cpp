// Every call that the modules make of foreign code throws, once each.

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Zon/Trace.h"
#include "faults/CallOuts.h"
#include "faults/ForeignCode.h"
#include "faults/Scenarios.h"

namespace Faults {
namespace {

/// A life as it goes when nothing fails: what is heard in each step, and what can be seen after it.
struct Course {
  Course(Scenario const& scenario, ForeignCode::Of of) {
    CallOuts calls;
    Life life(scenario, of, calls);
    for (auto const& step : scenario.steps) {
      step.act(life.world);
      heard.push_back(life.foreign->heard());
      facts.push_back(life.world.facts());
      callOuts.push_back(calls.made());
    }
    references = life.world.references();
  }
  int all() const { return callOuts.back(); }

  std::vector<std::string> heard;
  std::vector<Facts> facts;
  /// Until the end of each step.
  std::vector<int> callOuts;
  Facts references;
};

/// Every line of both modules goes to a sink.
class AllLines {
 public:
  explicit AllLines(std::function<void(Zon::TraceRecord const&)> sink) {
    switchIs(true);
    Zon::traceSinkIs(std::move(sink));
  }
  ~AllLines() {
    Zon::traceSinkIs({});
    switchIs(false);
  }
  AllLines(AllLines const&) = delete;
  AllLines& operator=(AllLines const&) = delete;

 private:
  static void switchIs(bool on) {
    for (char const* const name : {"Errdisable", "VaroIntf"}) {
      Zon::TraceHandle const facility(name, false);
      facility.enabledIs(on);
      for (unsigned level = 0; level != Zon::TraceHandle::levels; ++level)
        facility.levelIs(level, on);
    }
  }
};

/// A watcher whose first of two callbacks of an unkeyed notification throws misses the second.
bool missesTheSecond(std::string const& struck) { return struck.ends_with(":immediate"); }

class ModuleThrowTest : public testing::TestWithParam<Scenario> {};

TEST_P(ModuleThrowTest, WhatAWatcherThrowsChangesNothingButThatItIsToldSo) {
  Scenario const& scenario = GetParam();
  Course const course(scenario, ForeignCode::Of::watchers);
  Figure thrown("exceptions thrown out of watchers");
  for (Throwing const& throwing : throwings) {
    for (int position = 0; position != course.all(); ++position) {
      CallOuts calls(position, [&](std::string const&) { throwing.act(); });
      Life life(scenario, ForeignCode::Of::watchers, calls);
      int handbacks = 0;
      for (std::size_t step = 0; step != scenario.steps.size(); ++step) {
        SCOPED_TRACE(testing::Message() << scenario.name << ", " << scenario.steps[step].name << ", " << throwing.name
                                        << " at call-out " << position << " (" << calls.struck() << ")");
        EXPECT_EQ(thrownBy([&] { scenario.steps[step].act(life.world); }), "");
        std::string const heard = withoutHandback(life.foreign->heard(), handbacks);
        if (calls.struck().empty()) continue;
        if (!missesTheSecond(calls.struck())) {
          EXPECT_EQ(heard, course.heard[step]);
        }
        ASSERT_EQ(difference(course.facts[step], life.world.facts()), "");
      }
      EXPECT_EQ(handbacks, 1);
      EXPECT_EQ(difference(course.references, life.world.references()), "");
      EXPECT_EQ(calls.made(), course.all() - (missesTheSecond(calls.struck()) ? 1 : 0))
          << throwing.name << " at call-out " << position << " (" << calls.struck() << ")";
      ++thrown;
    }
  }
}

TEST_P(ModuleThrowTest, WhatAnOverriddenOperationThrowsIsMadeUpForByASweep) {
  Scenario const& scenario = GetParam();
  Course const course(scenario, ForeignCode::Of::overrides);
  Figure thrown("exceptions thrown out of overridden operations");
  Figure left("of them left an operation of the host");
  for (Throwing const& throwing : throwings) {
    for (int position = 0; position != course.all(); ++position) {
      CallOuts calls(position, [&](std::string const&) { throwing.act(); });
      Life life(scenario, ForeignCode::Of::overrides, calls);
      for (std::size_t step = 0; step != scenario.steps.size(); ++step) {
        bool const before = calls.struck().empty();
        std::string const out = thrownBy([&] { scenario.steps[step].act(life.world); });
        SCOPED_TRACE(testing::Message() << scenario.name << ", " << scenario.steps[step].name << ", " << throwing.name
                                        << " at call-out " << position << " (" << calls.struck() << ")");
        if (before && !calls.struck().empty()) {
          if (!out.empty()) {
            EXPECT_EQ(out, throwing.name);
            ++left;
            EXPECT_EQ(thrownBy([&] { scenario.steps[step].act(life.world); }), "");
          }
          EXPECT_EQ(thrownBy([&] { life.world.sweep(); }), "");
        } else {
          EXPECT_EQ(out, "");
        }
        if (calls.struck().empty()) continue;
        ASSERT_EQ(difference(course.facts[step], life.world.facts()), "");
      }
      EXPECT_EQ(difference(course.references, life.world.references()), "");
      EXPECT_NE(calls.struck(), "");
      ++thrown;
    }
  }
}

TEST_P(ModuleThrowTest, WhatATraceSinkThrowsChangesNothing) {
  Scenario const& scenario = GetParam();
  Course const course(scenario, ForeignCode::Of::both);
  Figure thrown("exceptions thrown out of a trace sink");
  for (int run = 0, lines = 1; run < 2 * lines; ++run) {
    int const position = run / 2;
    Throwing const& throwing = throwings[run % 2];
    CallOuts calls(position, [&](std::string const&) { throwing.act(); });
    CallOuts undisturbed;
    Life life(scenario, ForeignCode::Of::both, undisturbed);
    {
      AllLines const traced([&](Zon::TraceRecord const& record) { calls(record.text.stdString()); });
      for (auto const& step : scenario.steps)
        EXPECT_EQ(thrownBy([&] { step.act(life.world); }), "") << step.name;
    }
    ASSERT_EQ(difference(course.facts.back(), life.world.facts()), "")
        << scenario.name << ", " << throwing.name << " at line " << position << " (" << calls.struck() << ")";
    EXPECT_EQ(undisturbed.made(), course.all());
    if (run == 0) lines = calls.made();
    EXPECT_EQ(calls.made(), lines);
    ++thrown;
  }
  EXPECT_GT(thrown.count(), 0);
}

INSTANTIATE_TEST_SUITE_P(Scenarios, ModuleThrowTest, testing::ValuesIn(scenarios()),
                         [](auto const& scenario) { return scenario.param.name; });

}  // namespace
}  // namespace Faults
