#include "host/LiveCounters.h"

#include <cstdlib>
#include <map>
#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include "HostProcess.h"
#include "NetworkNamespace.h"
#include "SharedObject.h"
#include "host/Device.h"

// The program counts links of a namespace of its own; a second process reads the counters; `ip` and `tc` tell the truth.

namespace {

using nlohmann::json;
using VaroHost::CounterMemory;

class LiveCounters : public VethTest {
 protected:
  void SetUp() override {
    // One object is a name less than the prefix: both are removed at the end.
    prefix_ = objects_.name("live");
    objects_.name("live.intf");
    objects_.name("live.queue");
    enterWithPair(" numtxqueues 4", " numtxqueues 1");
  }

  /// All blocks that a second process sees.
  std::map<std::string, std::uint64_t> blocks() const {
    json const document = json::parse(runHost({"counters", "--json", prefix_ + ".*"}).out);
    std::map<std::string, std::uint64_t> values;
    for (auto const& object : document.at("varo:counters").at("object")) {
      for (auto const& block : object.at("block")) {
        bool const isNew = values.emplace(block.at("name"), block.at("value")).second;
        EXPECT_TRUE(isNew) << block;
      }
    }
    return values;
  }

  /// What the kernel counts of that link, by our names.
  static std::map<std::string, std::uint64_t> kernelCounters(std::string const& link) {
    json const shown = json::parse(NetworkNamespace::ip("-j -s link show dev " + link)).at(0).at("stats64");
    auto const& in = shown.at("rx");
    auto const& out = shown.at("tx");
    return {{link + "-in-octets", in.at("bytes")},
            {link + "-in-pkts", in.at("packets")},
            {link + "-in-errors", in.at("errors")},
            {link + "-in-discards", in.at("dropped")},
            {link + "-out-octets", out.at("bytes")},
            {link + "-out-pkts", out.at("packets")},
            {link + "-out-errors", out.at("errors")},
            {link + "-out-discards", out.at("dropped")},
            {link + "-in-multicast-pkts", in.at("multicast")}};
  }

  /// Waits until the blocks of the link say what the kernel says.
  testing::AssertionResult agrees(std::string const& link) const {
    std::string last;
    for (int attempt = 0; attempt < 600; ++attempt) {
      auto const expected = kernelCounters(link);
      auto const seen = blocks();
      last.clear();
      for (auto const& [name, value] : expected) {
        auto const found = seen.find(name);
        if (found == seen.end() || found->second != value) {
          last += name + " is not " + std::to_string(value) + "\n";
        }
      }
      if (last.empty()) {
        return testing::AssertionSuccess();
      }
      ::usleep(20000);
    }
    return testing::AssertionFailure() << last;
  }

  SharedObjects objects_;
  std::string prefix_;
};

}  // namespace

TEST_F(LiveCounters, TrafficMovesTheCountersThatASecondProcessSees) {
  HostProcess process({"live", "--follow", "--counters", prefix_, "--interval", "0.02"});
  ASSERT_TRUE(process.waitFor("3 interfaces: "));
  auto const before = blocks();
  ASSERT_EQ(before.size(), 3U * 9U * 19U);
  NetworkNamespace::sendFrames("a0", 50);
  EXPECT_TRUE(agrees("a0"));
  EXPECT_TRUE(agrees("a1"));
  auto const after = blocks();
  EXPECT_GE(after.at("a0-out-octets") - before.at("a0-out-octets"), 10000U);
  EXPECT_GE(after.at("a1-in-octets") - before.at("a1-in-octets"), 10000U);
  EXPECT_GE(after.at("a1-in-pkts") - before.at("a1-in-pkts"), 50U);
  process.signal(SIGINT);
  EXPECT_EQ(process.finish(), 0) << process.err();
  EXPECT_EQ(blocks().size(), after.size()) << "they outlive their maker";
}

TEST_F(LiveCounters, AMomentTakesTheValuesOnce) {
  NetworkNamespace::sendFrames("a0", 20);
  ASSERT_TRUE(NetworkNamespace::eventually([] { return kernelCounters("a1").at("a1-in-octets") >= 4000; }));
  auto const result = runHost({"live", "--counters", prefix_});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_GE(blocks().at("a1-in-octets"), 4000U);
}

TEST_F(LiveCounters, QueuesOfAMultiQueueDisciplineAreCounted) {
  NetworkNamespace::tc("qdisc add dev a0 root handle 1: mq");
  NetworkNamespace::sendFrames("a0", 20);
  ASSERT_TRUE(NetworkNamespace::eventually([] { return kernelCounters("a1").at("a1-in-octets") >= 4000; }));
  auto const result = runHost({"live", "--counters", prefix_});
  EXPECT_EQ(result.status, 0) << result.err;
  std::map<std::string, std::uint64_t> expected;
  std::uint64_t sum = 0;
  for (auto const& child : json::parse(NetworkNamespace::tc("-j -s qdisc show dev a0"))) {
    if (child.contains("parent")) {
      std::string const parent = child.at("parent");
      auto const queue = std::stoul(parent.substr(parent.find(':') + 1), nullptr, 16) - 1;
      expected["a0-" + std::to_string(queue) + "-out-octets"] = child.at("bytes");
      sum += child.at("bytes").get<std::uint64_t>();
    }
  }
  EXPECT_EQ(expected.size(), 4U);
  EXPECT_GE(sum, 4000U);
  auto const seen = blocks();
  for (auto const& [name, value] : expected) {
    EXPECT_LE(seen.at(name), value) << name;
  }
  std::uint64_t seenSum = 0;
  std::uint64_t seenPackets = 0;
  for (int queue = 0; queue < 18; ++queue) {
    std::uint64_t const octets = seen.at("a0-" + std::to_string(queue) + "-out-octets");
    seenPackets += seen.at("a0-" + std::to_string(queue) + "-out-pkts");
    EXPECT_TRUE(queue < 4 || octets == 0) << queue;
    seenSum += octets;
  }
  EXPECT_GE(seenSum, 4000U);
  EXPECT_GE(seenPackets, 20U);
}

TEST_F(LiveCounters, TheDisciplineOfASingleQueueIsItsCount) {
  NetworkNamespace::tc("qdisc add dev a1 root pfifo");
  NetworkNamespace::tc("qdisc add dev a0 root pfifo");
  NetworkNamespace::sendFrames("a1", 20);
  NetworkNamespace::sendFrames("a0", 20);
  ASSERT_EQ(runHost({"live", "--counters", prefix_}).status, 0);
  auto const seen = blocks();
  EXPECT_GE(seen.at("a1-0-out-octets"), 4000U);
  EXPECT_EQ(seen.at("a1-1-out-octets"), 0U);
  EXPECT_EQ(seen.at("a0-0-out-octets"), 0U) << "which of the four it was cannot be said";
  EXPECT_EQ(seen.at("lo-0-out-octets"), 0U) << "it has no queue";
}

TEST_F(LiveCounters, ARenamedLinkCountsUnderItsNewName) {
  HostProcess process({"live", "--follow", "--counters", prefix_, "--interval", "0.02"});
  ASSERT_TRUE(process.waitFor("3 interfaces: "));
  ip("link set a0 down");
  ip("link set a0 name b0");
  ip("link set b0 up");
  ASSERT_TRUE(process.waitFor("a0: renamed to b0\n"));
  NetworkNamespace::sendFrames("b0", 10);
  EXPECT_TRUE(agrees("b0"));
  auto const seen = blocks();
  EXPECT_GE(seen.at("b0-out-octets"), seen.at("a0-out-octets") + 2000);
  process.signal(SIGINT);
  EXPECT_EQ(process.finish(), 0) << process.err();
}

TEST_F(LiveCounters, ALinkThatGoesLeavesItsBlocksAndOneOfItsNameTakesThem) {
  HostProcess process({"live", "--follow", "--counters", prefix_, "--interval", "0.02"});
  ASSERT_TRUE(process.waitFor("3 interfaces: "));
  NetworkNamespace::sendFrames("a0", 100);
  ASSERT_TRUE(agrees("a0"));
  std::uint64_t const old = blocks().at("a0-out-octets");
  ip("link delete dev a0");
  ASSERT_TRUE(process.waitFor("a0: removed\n"));
  EXPECT_GE(blocks().at("a0-out-octets"), old);
  ip("link add name a0 type veth peer name a1");
  ip("link set a0 up");
  ip("link set a1 up");
  EXPECT_TRUE(agrees("a0"));
  EXPECT_LT(blocks().at("a0-out-octets"), old);
  process.signal(SIGINT);
  EXPECT_EQ(process.finish(), 0) << process.err();
}

TEST_F(LiveCounters, TwoHostsOfOneNameShareTheBlocks) {
  HostProcess first({"live", "--follow", "--counters", prefix_, "--interval", "0.02"});
  HostProcess second({"live", "--follow", "--counters", prefix_, "--interval", "0.02"});
  ASSERT_TRUE(first.waitFor("3 interfaces: "));
  ASSERT_TRUE(second.waitFor("3 interfaces: "));
  for (int at = 0; at < 10; ++at) {
    ip("link add name x" + std::to_string(at) + " type veth peer name y" + std::to_string(at));
  }
  ASSERT_TRUE(first.waitFor("y9: added\n"));
  ASSERT_TRUE(second.waitFor("y9: added\n"));
  EXPECT_TRUE(NetworkNamespace::eventually([&] { return blocks().size() == 23U * 9U * 19U; }));
  NetworkNamespace::sendFrames("a0", 10);
  EXPECT_TRUE(agrees("a1"));
  for (HostProcess* const process : {&first, &second}) {
    process->signal(SIGINT);
    EXPECT_EQ(process->finish(), 0) << process->err();
  }
}

TEST_F(LiveCounters, WhatCannotHoldCountersIsTrouble) {
  std::ofstream(SharedObjects::path(prefix_ + ".intf")) << "somebody else's";
  auto const result = runHost({"live", "--counters", prefix_});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err, "varo-host: shared memory \"" + prefix_ + ".intf\": it has no header\n");
  EXPECT_EQ(runHost({"live", "--counters", std::string(300, 'x')}).status, 2);
}

TEST_F(LiveCounters, SlicesListTheLinksThatAreThere) {
  VaroHost::Device device;
  auto& counters = device.queueCounters();
  VaroHost::LiveCounters live(counters);
  EXPECT_EQ(live.linkIs(7, "b", 1), std::nullopt);
  EXPECT_EQ(live.linkIs(8, "c", 1), std::nullopt);
  EXPECT_EQ(counters.interfaceBlocks()->counterBlocks(), 2U * 9U);
  EXPECT_EQ(counters.queueBlocks()->counterBlocks(), 2U * 9U * 18U);
  live.linkDel(7);
  live.linkDel(7);
  for (char const* const slice : {"rx", "tx"}) {
    EXPECT_EQ(counters.slice(slice)->intfQueueCounterDir("b"), nullptr);
    EXPECT_NE(counters.slice(slice)->intfQueueCounterDir("c"), nullptr);
  }
  EXPECT_EQ(counters.interfaceBlocks()->counterBlocks(), 2U * 9U) << "nothing frees a block";
  EXPECT_EQ(live.refresh(), std::nullopt);
}

TEST_F(LiveCounters, ALinkWithoutBlocksIsSaid) {
  VaroHost::QueueCounters counters{CounterMemory()};
  VaroHost::LiveCounters live(counters);
  EXPECT_EQ(live.linkIs(7, "b", 1), "b: some of its counters have no blocks: the shared memory is exhausted")
      << "no module makes them here";
  EXPECT_EQ(live.refresh(), std::nullopt);
}
