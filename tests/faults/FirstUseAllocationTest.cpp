#include <array>
#include <cstddef>
#include <iostream>
#include <new>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

#include "Zon/Exception.h"
#include "Zon/Trace.h"
#include "faults/FailingAllocations.h"
#include "faults/Scenarios.h"
#include "support/ChildProcess.h"

namespace Faults {
namespace {

using Which = FailingAllocations::Which;

/// What the libraries make once, when it is first asked for: facilities, well-known strings.
class AllocationAtFirstUse : public testing::Test {
 protected:
  /// Everything that a host does with both modules, traced.
  static Facts life() {
    World world(World::Activity::deferring);
    world.wire();
    world.addConfig("Ethernet1");
    world.addStatus("Ethernet1", false);
    world.active("Ethernet1", true);
    world.adminState("Ethernet1", Interface::IntfEnabledState::disabled);
    world.errdisable("Ethernet1", "bpduguard");
    world.forwardingInput("Ethernet1", "routing", 3);
    world.addSlice("linecard1", {"Ethernet1"}, {"drops"});
    world.removeSlice("linecard1");
    Facts facts = world.facts();
    world.removeConfig("Ethernet1");
    return facts;
  }

  /// Runs a life without memory, then one with it, in a process of its own in which nothing was used yet. The answer is
  /// what was seen in the second one, and how much memory is in use after a third.
  static std::string answer(std::size_t nth, Which which, bool& failed) {
    std::array<int, 2> pipe{};
    if (::pipe(pipe.data()) != 0) throw std::bad_alloc();
    Support::ChildProcess child([&] {
      std::size_t const before = liveAllocations();
      FailingAllocations faults(nth, which);
      try {
        life();
      } catch (std::bad_alloc const&) {
      } catch (Zon::Exception const&) {
      }
      faults.end();
      std::string text = difference({}, life());
      life();
      // Made only by those that had an exception to tell of.
      Zon::TraceHandle const facility("Zon", false);
      std::size_t const inUse = liveAllocations() - before;
      text += "in use: " + std::to_string(inUse) + (faults.failures() != 0 ? "\nfailed" : "\n");
      bool const isTold = ::write(pipe[1], text.data(), text.size()) == static_cast<ssize_t>(text.size());
      return isTold ? 0 : 1;
    });
    ::close(pipe[1]);
    std::string text;
    std::array<char, 4096> part;
    for (ssize_t length; (length = ::read(pipe[0], part.data(), part.size())) > 0;)
      text.append(part.data(), static_cast<std::size_t>(length));
    ::close(pipe[0]);
    int const status = child.finish();
    failed = text.ends_with("failed");
    if (failed) text.resize(text.size() - std::string_view("failed").size());
    return status == 0 ? text : text + "it died";
  }

  /// To be run in a fresh process: returns what differs.
  static std::string allRuns(Which which) {
    bool failed = false;
    std::string const expected = answer(0, which, failed);
    for (std::size_t nth = 1;; ++nth) {
      std::string const found = answer(nth, which, failed);
      if (found != expected) return "allocation " + std::to_string(nth) + ":\n" + found + "expected:\n" + expected;
      if (!failed) {
        std::cerr << "runs: " << nth - 1 << '\n';
        return nth > 1 ? "" : "nothing failed";
      }
    }
  }

  static void expectSurvival(Which which) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
          std::string const problem = allRuns(which);
          std::cerr << problem << "done\n";
          Support::ChildProcess::leave(problem.empty() ? 0 : 1);
        },
        testing::ExitedWithCode(0), "runs: [0-9]+\ndone");
  }
};

TEST_F(AllocationAtFirstUse, EachMayFail) { expectSurvival(Which::thatOne); }

TEST_F(AllocationAtFirstUse, EachMayFailWithAllThatFollowIt) { expectSurvival(Which::thatAndAllLater); }

}  // namespace
}  // namespace Faults
