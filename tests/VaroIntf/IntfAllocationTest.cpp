#include <new>

#include <gtest/gtest.h>

#include "VaroIntf/Agent.h"
#include "faults/FailingAllocations.h"

namespace {

using Faults::FailingAllocations;

/// Runs the call with the first allocation failing, the second, and so on, until it succeeds; `kept` is asked after each.
template <class Call, class Kept>
void expectKeptUntilItSucceeds(Call const& call, Kept const& kept) {
  for (std::size_t nth = 1;; ++nth) {
    FailingAllocations faults(nth, FailingAllocations::Which::thatOne);
    try {
      call();
      faults.end();
      EXPECT_GT(nth, 1U);
      return;
    } catch (std::bad_alloc const&) {
      faults.end();
      EXPECT_TRUE(kept()) << "allocation " << nth;
    }
  }
}

TEST(AllIntfDirWithoutMemory, KeepsTheChildThatShouldBeReplacedInItsPlace) {
  auto const directory = Zon::newPtr<VaroIntf::AllIntfDir>("interfaces");
  auto const config = directory->config();
  auto const status = directory->status();
  expectKeptUntilItSucceeds([&] { directory->configIs("other"); },
                            [&] { return directory->config() == config && config->parent() == directory; });
  expectKeptUntilItSucceeds([&] { directory->statusIs("other"); },
                            [&] { return directory->status() == status && status->parent() == directory; });
  EXPECT_EQ(directory->config()->name(), "other");
  EXPECT_EQ(directory->config()->parent(), directory);
  EXPECT_FALSE(config->parent());
}

TEST(AgentWithoutMemory, KeepsTheDirectoryThatShouldBeReplacedInItsPlace) {
  auto const agent = VaroIntf::agentFactory("interfaces");
  auto const directory = agent->allIntfDir();
  expectKeptUntilItSucceeds([&] { agent->allIntfDirIs("other"); },
                            [&] { return agent->allIntfDir() == directory && directory->parent() == agent; });
  EXPECT_EQ(agent->allIntfDir()->name(), "other");
  EXPECT_EQ(agent->allIntfDir()->parent(), agent);
  EXPECT_FALSE(directory->parent());
}

}  // namespace
