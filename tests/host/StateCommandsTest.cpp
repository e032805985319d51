// --state, --counters and diff, as users meet them.

#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include "HostProcess.h"
#include "host/CounterMemory.h"
#include "platform/Pelto/ShmemMan.h"

namespace {

constexpr char card[] = VARO_EXAMPLES_DIR "/line-card.jsonl";

constexpr char start[] =
    R"({"time":0,"entity":"intfConfig","key":"E1","op":"add","attribute":"adminEnabledStateLocal","value":"enabled"})"
    "\n";
constexpr char errdisable[] = R"({"time":1,"entity":"errdisabledIntf","key":"E1","value":"bpduguard"})"
                              "\n";

std::string stateAfter(std::string const& input) { return runHost({"replay", "-", "--state", "-"}, input).out; }

}  // namespace

TEST(State, OfTheLineCardIsWrittenBesideTheTable) {
  ScratchDirectory const scratch;
  std::string const file = scratch.write("state", "old");
  auto const result = runHost({"replay", card, "--state", file});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out, readFile(VARO_SOURCE_DIR "/tests/host/data/line-card.table"));
  auto const state = nlohmann::json::parse(readFile(file));
  EXPECT_EQ(state["aggregate"]["intfConfig"].size(), 52U);
  EXPECT_EQ(state["aggregate"]["intfStatus"]["Ethernet3/2"]["forwardingModel"], 2);
  EXPECT_EQ(state["slice"]["linecard3"].size(), 48U);
  EXPECT_EQ(state["slice"]["uplinks"]["Ethernet3/49/1"].size(), 2U);
  EXPECT_EQ(state["intfQueueCounterDir"]["Ethernet3/49/1"], "uplinks");
  EXPECT_EQ(state["counterBlocks"]["counterShmemMan"].size(), 48U + 4 * 2);
  EXPECT_EQ(state["counterBlocks"]["statisticsShmemMan"].size(), (48U + 4 * 2) * 18);
}

TEST(State, OfHalfARecordingIsNotWritten) {
  ScratchDirectory const scratch;
  std::string const file = scratch.write("state", "old");
  HostProcess process({"replay", "-", "--follow", "--state", file}, start, true);
  ASSERT_TRUE(process.waitFor("E1: unset -> enabled\n"));
  process.signal(SIGINT);
  EXPECT_EQ(process.finish(), 1);
  EXPECT_EQ(process.err(), "<stdin>:1: interrupted\n");
  EXPECT_NE(process.out().find("1 interface: 1 enabled"), std::string::npos) << process.out();
  EXPECT_EQ(readFile(file), "old");
}

TEST(State, OnStandardOutputStandsAlone) {
  ScratchDirectory const scratch;
  std::string const file = scratch.write("state", "");
  EXPECT_EQ(runHost({"replay", card, "--state", file}).status, 0);
  auto const result = runHost({"replay", card, "--state", "-"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, readFile(file));
  for (std::string const option : {"--follow", "--json"}) {
    auto const refused = runHost({"replay", card, "--state", "-", option});
    EXPECT_EQ(refused.status, 2);
    EXPECT_EQ(refused.out, "");
  }
}

TEST(State, ThatCannotBeWrittenIsTroubleAndLeavesTheOldOne) {
  auto const result = runHost({"replay", card, "--state", "/nonexistent/file"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err, "varo-host: /nonexistent/file: No such file or directory\n");
  EXPECT_EQ(runHost({"replay", card, "--state", "/dev/null"}).err, "varo-host: /dev/null: not a regular file\n");
}

TEST(State, OfAReplayThatAbortedIsNotWritten) {
  ScratchDirectory const scratch;
  std::string const file = scratch.write("state", "old");
  EXPECT_EQ(runHost({"replay", "-", "--state", file}, std::string(start) + "oops\n").status, 1);
  EXPECT_EQ(readFile(file), "old");
  EXPECT_EQ(runHost({"replay", "-", "--state", file, "--keep-going"}, std::string(start) + "oops\n").status, 1);
  EXPECT_EQ(readFile(file), stateAfter(start));
}

TEST(State, OfThisMachineIsAStateToo) {
  ScratchDirectory const scratch;
  std::string const file = scratch.write("state", "");
  auto const result = runHost({"live", "--state", file});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(runHost({"diff", file, file}).status, 0);
  auto const alone = runHost({"live", "--state", "-"});
  EXPECT_TRUE(nlohmann::json::parse(alone.out)["aggregate"]["intfConfig"].contains("lo")) << alone.out;
}

TEST(Diff, OnlyOneStateComesFromStandardInput) {
  auto const result = runHost({"diff", "-", "-"}, "{}");
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err, "varo-host: diff: only one of the states can come from standard input\n");
}

TEST(Diff, TellsByItsStatusWhetherStatesAreTheSame) {
  ScratchDirectory const scratch;
  std::string const a = scratch.write("a", stateAfter(start));
  std::string const b = scratch.write("b", stateAfter(std::string(start) + errdisable));
  auto const same = runHost({"diff", a, a});
  EXPECT_EQ(same.status, 0);
  EXPECT_EQ(same.out, "");
  auto const different = runHost({"diff", a, b});
  EXPECT_EQ(different.status, 1);
  EXPECT_EQ(different.err, "");
  EXPECT_EQ(different.out, "~ aggregate.intfConfig.E1.enabledStateLocal: \"enabled\" -> \"disabled\"\n"
                           "~ aggregate.intfConfig.E1.enabledStateReason: \"\" -> \"bpduguard\"\n"
                           "+ errdisabledIntf.E1: \"bpduguard\"\n");
  auto const json = runHost({"diff", "--json", a, b});
  EXPECT_EQ(json.status, 1);
  auto const first = nlohmann::json::parse(json.out.substr(0, json.out.find('\n')));
  EXPECT_EQ(first["path"], (nlohmann::json{"aggregate", "intfConfig", "E1", "enabledStateLocal"}));
  EXPECT_EQ(first["before"], "enabled");
  EXPECT_EQ(first["after"], "disabled");
}

TEST(Diff, OneMayComeFromStandardInput) {
  ScratchDirectory const scratch;
  std::string const state = stateAfter(start);
  std::string const a = scratch.write("a", state);
  EXPECT_EQ(runHost({"diff", a, "-"}, state).status, 0);
  EXPECT_EQ(runHost({"diff", "-", a}, stateAfter(errdisable)).status, 1);
}

TEST(Diff, WhatIsNoStateIsTrouble) {
  ScratchDirectory const scratch;
  std::string const good = scratch.write("good", stateAfter(start));
  auto const expectTrouble = [&](std::string const& bad, std::string const& reason) {
    for (bool const isFirst : {true, false}) {
      auto const result = isFirst ? runHost({"diff", bad, good}) : runHost({"diff", good, bad});
      EXPECT_EQ(result.status, 2) << bad;
      EXPECT_EQ(result.out, "") << bad;
      EXPECT_EQ(result.err, "varo-host: " + bad + ": " + reason + "\n");
    }
  };
  expectTrouble("/nonexistent/file", "No such file or directory");
  expectTrouble("/", "Is a directory");
  std::string const empty = scratch.write("empty", "");
  EXPECT_EQ(runHost({"diff", good, empty}).err,
            "varo-host: " + empty + ":1:1: no state: expected a value, found the end\n");
  expectTrouble(scratch.write("deep", std::string(4U << 20U, '[')), "no state: a list where none belongs");
  expectTrouble(scratch.write("recording", start), "no state: member \"varo-state\" is missing");
  std::string const binary = scratch.write("binary", std::string("\x7f"
                                                                 "ELF\0\xff",
                                                                 6));
  EXPECT_EQ(runHost({"diff", good, binary}).status, 2);
  EXPECT_EQ(runHost({"diff", good}).status, 2);
}

TEST(Diff, WhatNeverEndsIsRefusedAtTheLimit) {
  // A hole of more than the limit takes no room on the disk.
  ScratchDirectory const scratch;
  std::string const huge = scratch.write("huge", "");
  ASSERT_EQ(::truncate(huge.c_str(), (off_t{512} << 20) + 1), 0);
  auto const result = runHost({"diff", huge, huge});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err, "varo-host: " + huge + ": has more than 536870912 bytes\n");
}

TEST(Counters, OfAReplayStayUnderTheirNames) {
  VaroHost::CounterMemory const memory("varo-test-" + std::to_string(::getpid()));
  EXPECT_EQ(runHost({"replay", card, "--counters", memory.prefix()}).status, 0);
  EXPECT_EQ(Pelto::ShmemMan::attach(memory.interfaceName())->counterBlocks(), 56U);
  EXPECT_NE(Pelto::ShmemMan::attach(memory.queueName())->counterBlock("Ethernet3/49/1-17-ecn-marked"), nullptr);
  // The next host of that name finds them, and what was counted.
  auto const state =
      nlohmann::json::parse(runHost({"replay", "-", "--counters", memory.prefix(), "--state", "-"}, start).out);
  EXPECT_EQ(state["counterBlocks"]["counterShmemMan"].size(), 56U);
  EXPECT_TRUE(Pelto::ShmemMan::unlink(memory.interfaceName()));
  EXPECT_TRUE(Pelto::ShmemMan::unlink(memory.queueName()));
}

TEST(Counters, WhoseMemoryCannotBeHadAreTrouble) {
  std::string const longest(255, 'x');
  auto const result = runHost({"replay", card, "--counters", longest});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_TRUE(result.err.starts_with("varo-host: ")) << result.err;
}
