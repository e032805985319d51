#include "host/QueueCounters.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "support/Intf.h"

namespace {

using namespace Support;
using Zon::Ptr;

/// Queue counters under an agent of their own.
class DeviceCounters : public testing::Test {
 protected:
  DeviceCounters() { counters.wire(agent, immediate()); }

  static void add(Ptr<Counters> const& directory, char const* name) {
    directory->intfQueueCounterIs(Zon::newPtr<Interface::IntfQueueCounter>(name));
  }
  /// The slice that provides an interface in the output; "-" for none.
  std::string provider(char const* intf) const {
    auto const found = counters.output()->intfQueueCounterDir(intf);
    return found ? found->parent()->name().stdString() : "-";
  }

  VaroHost::Module agent{"VaroIntf::Agent", "intf"};
  VaroHost::QueueCounters counters{VaroHost::CounterMemory()};
};

TEST_F(DeviceCounters, ACounterGetsItsBlocksInTheMemoryOfTheDevice) {
  auto const slice = counters.sliceIs("s1");
  add(counters.countersIs(*slice, "E1"), "drops");
  EXPECT_EQ(provider("E1"), "s1");
  EXPECT_EQ(blocksOf(*counters.interfaceBlocks()), std::vector<std::string>{"E1-drops"});
  EXPECT_EQ(blocksOf(*counters.queueBlocks()), queueBlocks("E1", "drops"));
}

TEST_F(DeviceCounters, AllSlicesShareTheMemory) {
  add(counters.countersIs(*counters.sliceIs("s1"), "E1"), "drops");
  add(counters.countersIs(*counters.sliceIs("s2"), "E2"), "drops");
  EXPECT_EQ(blocksOf(*counters.interfaceBlocks()), (std::vector<std::string>{"E1-drops", "E2-drops"}));
}

TEST_F(DeviceCounters, AReplacedSliceIsServed) {
  auto const old = counters.sliceIs("s1");
  counters.countersIs(*old, "E1");
  auto const present = counters.sliceIs("s1");
  EXPECT_EQ(provider("E1"), "-");
  add(counters.countersIs(*present, "E2"), "drops");
  EXPECT_EQ(provider("E2"), "s1");
  EXPECT_EQ(old->zonReferences(), 1U);
  EXPECT_EQ(counters.interfaceBlocks()->counterBlocks(), 1U);
}

TEST_F(DeviceCounters, AReplacedInterfaceIsServed) {
  auto const slice = counters.sliceIs("s1");
  auto const old = counters.countersIs(*slice, "E1");
  auto const present = counters.countersIs(*slice, "E1");
  EXPECT_EQ(counters.output()->intfQueueCounterDir("E1"), present);
  add(old, "lost");
  add(present, "drops");
  EXPECT_EQ(blocksOf(*counters.interfaceBlocks()), std::vector<std::string>{"E1-drops"});
}

TEST_F(DeviceCounters, AnInterfaceOfTwoSlicesStaysWhileOneListsIt) {
  auto const first = counters.sliceIs("s1");
  auto const second = counters.sliceIs("s2");
  counters.countersIs(*first, "E1");
  counters.countersIs(*second, "E1");
  EXPECT_EQ(provider("E1"), "s2");
  counters.countersDel(*second, "E1");
  EXPECT_EQ(provider("E1"), "s1");
  counters.countersIs(*second, "E1");
  counters.countersIs(*second, "E2");
  counters.sliceDel("s2");
  EXPECT_EQ(provider("E1"), "s1");
  EXPECT_EQ(provider("E2"), "-");
  counters.sliceDel("s1");
  EXPECT_EQ(provider("E1"), "-");
}

TEST_F(DeviceCounters, WhatIsAbsentIsRemovedSilently) {
  counters.sliceDel("none");
  auto const slice = counters.sliceIs("s1");
  counters.countersDel(*slice, "none");
  EXPECT_EQ(counters.slice("none"), nullptr);
  EXPECT_EQ(counters.slice("s1"), slice);
}

TEST_F(DeviceCounters, UnwiredNothingIsGatheredAnyMore) {
  auto const slice = counters.sliceIs("s1");
  counters.unwire(agent);
  counters.countersIs(*slice, "E1");
  EXPECT_EQ(provider("E1"), "-");
  counters.sliceDel("s1");
}

TEST(CounterMemory, NamesTwoObjectsAfterThePrefix) {
  VaroHost::CounterMemory const memory("card");
  EXPECT_FALSE(memory.isPrivate());
  EXPECT_EQ(memory.interfaceName().stdString(), "card.intf");
  EXPECT_EQ(memory.queueName().stdString(), "card.queue");
}

TEST(CounterMemory, WithoutPrefixIsPrivate) {
  VaroHost::CounterMemory const memory;
  EXPECT_TRUE(memory.isPrivate());
  EXPECT_TRUE(memory.interfaceName().empty());
  EXPECT_TRUE(memory.queueName().empty());
}

TEST(CounterMemory, IsFoundUnderItsNamesAfterItsDevice) {
  VaroHost::CounterMemory const memory("varo-test-" + std::to_string(::getpid()));
  VaroHost::Module agent("VaroIntf::Agent", "intf");
  {
    VaroHost::QueueCounters counters(memory);
    counters.wire(agent, nullptr);
    counters.countersIs(*counters.sliceIs("s1"), "E1")
        ->intfQueueCounterIs(Zon::newPtr<Interface::IntfQueueCounter>("drops"));
    counters.unwire(agent);
  }
  EXPECT_EQ(blocksOf(*Pelto::ShmemMan::attach(memory.interfaceName())), std::vector<std::string>{"E1-drops"});
  EXPECT_EQ(blocksOf(*Pelto::ShmemMan::attach(memory.queueName())), queueBlocks("E1", "drops"));
  EXPECT_TRUE(Pelto::ShmemMan::unlink(memory.interfaceName()));
  EXPECT_TRUE(Pelto::ShmemMan::unlink(memory.queueName()));
}

}  // namespace
