#include "host/DeviceState.h"

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/mman.h>
#include <unistd.h>

#include "host/ChangeReader.h"
#include "host/StateFile.h"

namespace {

using namespace VaroHost;
using Strings = std::vector<std::string>;

std::string stateOf(Device const& device) {
  int const descriptor = ::memfd_create("state", 0);
  {
    Output out(descriptor);
    DeviceState(device).print(out);
  }
  std::string text(static_cast<std::size_t>(::lseek(descriptor, 0, SEEK_END)), '\0');
  EXPECT_EQ(::pread(descriptor, text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
  ::close(descriptor);
  return text;
}

void play(Device& device, Strings const& lines) {
  ChangeReader reader;
  for (auto const& line : lines) {
    device.apply(reader.read(R"({"time":0,)" + line + "}"));
  }
}

std::string stateAfter(Strings const& lines) {
  Device device;
  play(device, lines);
  return stateOf(device);
}

TEST(DeviceState, OfAnEmptyDeviceHasEverySection) {
  EXPECT_EQ(stateAfter({}), R"({
  "aggregate": {
    "intfConfig": {},
    "intfStatus": {}
  },
  "counterBlocks": {
    "counterShmemMan": {},
    "statisticsShmemMan": {}
  },
  "defaultConfig": {},
  "errdisabledIntf": {},
  "intfConfig": {},
  "intfQueueCounterDir": {},
  "intfStatus": {},
  "slice": {},
  "varo-state": 1
}
)");
}

TEST(DeviceState, SaysEverythingOfEveryEntry) {
  auto const text = stateAfter({
      R"("entity":"defaultConfig","key":"access","op":"add","attribute":"adminEnabledStateLocal","value":"enabled")",
      R"("entity":"intfConfig","key":"E1","op":"add","attribute":"defaultConfig","value":"access")",
      R"("entity":"intfStatus","key":"E1","op":"add","attribute":"active","value":true)",
      R"("entity":"forwardingModelInputs","key":["E1","stp"],"value":-3)",
      R"("entity":"errdisabledIntf","key":"E1","value":"loop")",
      R"("entity":"slice","key":"s/1","op":"add")",
      R"("entity":"intfQueueCounterDir","key":["s/1","E1"],"op":"add")",
      R"("entity":"intfQueueCounter","key":["s/1","E1","drops"],"op":"add")",
  });
  auto const state = StateFile::parse(text, "state");
  nlohmann::json expected = nlohmann::json::parse(R"({
    "aggregate": {
      "intfConfig": {"E1": {"adminEnabledStateLocal": "unset", "defaultConfig": "access",
                            "enabledStateLocal": "disabled", "enabledStateReason": "loop"}},
      "intfStatus": {"E1": {"active": true, "forwardingModel": -3, "forwardingModelInputs": {"stp": -3}}}},
    "counterBlocks": {"counterShmemMan": {"E1-drops": 64}, "statisticsShmemMan": {}},
    "defaultConfig": {"access": {"adminEnabledStateLocal": "enabled"}},
    "errdisabledIntf": {"E1": "loop"},
    "intfConfig": {"E1": "aggregate"},
    "intfQueueCounterDir": {"E1": "s/1"},
    "intfStatus": {"E1": "aggregate"},
    "slice": {"s/1": {"E1": {"drops": {}}}},
    "varo-state": 1})");
  for (int queue = 0; queue != 18; ++queue) {
    expected["counterBlocks"]["statisticsShmemMan"]["E1-" + std::to_string(queue) + "-drops"] = 64;
  }
  EXPECT_EQ(state, expected);
}

TEST(DeviceState, HasNoCounterValues) {
  Device device;
  play(device,
       {R"("entity":"slice","key":"s","op":"add")", R"("entity":"intfQueueCounterDir","key":["s","E"],"op":"add")",
        R"("entity":"intfQueueCounter","key":["s","E","c"],"op":"add")"});
  auto const before = stateOf(device);
  device.queueCounters().interfaceBlocks()->counterBlock("E-c")->data()[0] = std::byte{7};
  EXPECT_EQ(stateOf(device), before);
}

TEST(DeviceState, BytesThatAreNoTextStayApart) {
  Device device;
  for (char const* name : {"a\xff", "a\\xff", "a\xfe"}) {
    device.configIs(Zon::newPtr<Interface::IntfConfig>(name));
  }
  auto const state = StateFile::parse(stateOf(device), "state");
  Strings names;
  for (auto const& [name, mirrored] : state["intfConfig"].items()) {
    names.push_back(name);
  }
  EXPECT_EQ(names, (Strings{"a\\\\xff", "a\\xfe", "a\\xff"}));
}

TEST(DeviceState, EqualStateGivesEqualBytesWhateverTheOrderOfEvents) {
  // Each group must stay in order; the groups know nothing of each other.
  std::vector<Strings> groups;
  for (int port = 0; port < 40; ++port) {
    std::string const name = "\"Ethernet" + std::to_string(port) + "\"";
    groups.push_back({
        R"("entity":"intfConfig","key":)" + name +
            R"(,"op":"add","attribute":"adminEnabledStateLocal","value":"enabled")",
        R"("entity":"intfConfig","key":)" + name + R"(,"attribute":"adminEnabledStateLocal","value":"disabled")",
    });
    groups.push_back({
        R"("entity":"intfStatus","key":)" + name + R"(,"op":"add","attribute":"active","value":true)",
        R"("entity":"forwardingModelInputs","key":[)" + name + R"(,"a"],"value":3)",
        R"("entity":"forwardingModelInputs","key":[)" + name + R"(,"b"],"value":2)",
        R"("entity":"forwardingModelInputs","key":[)" + name + R"(,"a"],"op":"del")",
    });
    groups.push_back({R"("entity":"errdisabledIntf","key":)" + name + R"(,"value":"loop")",
                      R"("entity":"errdisabledIntf","key":)" + name + R"(,"value":"bpduguard")"});
    std::string const slice = "\"slice" + std::to_string(port % 40) + "\"";
    groups.push_back({R"("entity":"slice","key":)" + slice + R"(,"op":"add")",
                      R"("entity":"intfQueueCounterDir","key":[)" + slice + "," + name + R"(],"op":"add")",
                      R"("entity":"intfQueueCounter","key":[)" + slice + "," + name + R"(,"drops"],"op":"add")",
                      R"("entity":"intfQueueCounter","key":[)" + slice + "," + name + R"(,"ecn"],"op":"add")"});
    groups.push_back({R"("entity":"defaultConfig","key":)" + name + R"(,"op":"add")"});
  }
  std::mt19937 random(20260801);
  std::string first;
  for (int round = 0; round < 6; ++round) {
    // Groups take turns by a shuffled order of draws.
    std::vector<std::size_t> draws;
    for (std::size_t group = 0; group < groups.size(); ++group) {
      draws.insert(draws.end(), groups[group].size(), group);
    }
    std::shuffle(draws.begin(), draws.end(), random);
    std::vector<std::size_t> taken(groups.size(), 0);
    Strings lines;
    for (std::size_t const group : draws) {
      lines.push_back(groups[group][taken[group]++]);
    }
    auto const text = stateAfter(lines);
    if (first.empty()) {
      first = text;
    }
    EXPECT_EQ(text, first) << "round " << round;
  }
  // And it is the state that was meant.
  auto const state = StateFile::parse(first, "state");
  EXPECT_EQ(state["aggregate"]["intfConfig"].size(), 40U);
  EXPECT_EQ(state["aggregate"]["intfConfig"]["Ethernet7"]["enabledStateReason"], "bpduguard");
  EXPECT_EQ(state["aggregate"]["intfStatus"]["Ethernet7"]["forwardingModel"], 2);
  EXPECT_EQ(state["counterBlocks"]["statisticsShmemMan"].size(), 40U * 2 * 18);
}

TEST(DeviceState, WhatCameAndWentLeavesOnlyItsBlocks) {
  auto const text =
      stateAfter({R"("entity":"intfConfig","key":"E1","op":"add")", R"("entity":"slice","key":"s","op":"add")",
                  R"("entity":"intfQueueCounterDir","key":["s","E1"],"op":"add")",
                  R"("entity":"intfQueueCounter","key":["s","E1","c"],"op":"add")",
                  R"("entity":"slice","key":"s","op":"del")", R"("entity":"intfConfig","key":"E1","op":"del")"});
  auto const state = StateFile::parse(text, "state");
  EXPECT_EQ(state["slice"].size(), 0U);
  EXPECT_EQ(state["intfQueueCounterDir"].size(), 0U);
  EXPECT_EQ(state["aggregate"]["intfConfig"].size(), 0U);
  EXPECT_EQ(state["counterBlocks"]["counterShmemMan"].size(), 1U);
}

}  // namespace
