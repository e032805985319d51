// varo-host killed at random moments: files are whole, shared memory goes on, the next run is right.

#include <chrono>
#include <csignal>
#include <filesystem>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include "support/Sanitized.h"
#include "tests/host/HostProcess.h"
#include "tests/host/NetworkNamespace.h"
#include "tests/host/SharedObject.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::microseconds;

/// Moments within a span, the same ones for a seed. What happens at a moment is the scheduler's choice.
class Moments {
 public:
  explicit Moments(unsigned seed) : engine_(seed) {}
  void pass(microseconds within) {
    ::usleep(static_cast<useconds_t>(engine_() % static_cast<unsigned long>(within.count() + 1)));
  }

 private:
  std::mt19937 engine_;
};

/// What stands beside the state file: a killed writer may leave there, at most, a file that only waited for its name.
std::vector<std::string> leftIn(std::string const& directory) {
  std::vector<std::string> left;
  for (auto const& entry : std::filesystem::directory_iterator(directory)) {
    if (entry.path().filename() != "state") {
      left.push_back(entry.path().string());
    }
  }
  return left;
}

/// A device of that many interfaces, each with a counter, some error-disabled.
std::string recording(int interfaces) {
  std::string text = R"({"time":0,"entity":"slice","key":"card","op":"add"})"
                     "\n";
  for (int at = 0; at < interfaces; ++at) {
    std::string const name = "\"E" + std::to_string(at) + "\"";
    text += R"({"time":0,"entity":"intfConfig","key":)" + name +
            R"(,"op":"add","attribute":"adminEnabledStateLocal","value":"enabled"})"
            "\n";
    text += R"({"time":0,"entity":"intfQueueCounterDir","key":["card",)" + name + R"(],"op":"add"})" + "\n";
    text += R"({"time":0,"entity":"intfQueueCounter","key":["card",)" + name + R"(,"drops"],"op":"add"})" + "\n";
    if (at % 3 == 0) {
      text += R"({"time":0,"entity":"errdisabledIntf","key":)" + name + R"(,"value":"storm"})" + "\n";
    }
  }
  return text;
}

/// The value of a block, by what the program itself shows.
std::uint64_t shownValue(std::string const& object, std::string const& block) {
  auto const result = runHost({"counters", "--json", object});
  EXPECT_EQ(result.status, 0) << result.err;
  auto const shown = nlohmann::json::parse(result.out).at("varo:counters").at("object").at(0).at("block");
  for (auto const& entry : shown) {
    if (entry.at("name") == block) {
      return entry.at("value");
    }
  }
  ADD_FAILURE() << object << " has no " << block;
  return 0;
}

constexpr char oldState[] = "what stood there before\n";

}  // namespace

TEST(HostKilled, AReplayLeavesTheOldStateOrTheNewAndItsCountersToTheNextRun) {
  constexpr int interfaces = 400;
  constexpr unsigned seed = 20240611;
  SharedObjects objects;
  ScratchDirectory const inputs;
  ScratchDirectory const outputs;
  std::string const file = inputs.write("recording.jsonl", recording(interfaces));
  std::string const state = outputs.write("state", oldState);
  std::string const name = objects.prefix() + "killed";
  std::string const object = objects.name("killed.intf");
  objects.name("killed.queue");
  std::vector<std::string> const arguments = {"replay", file, "--state", state, "--counters", name};

  // Undisturbed, under names of its own: what is right, and how long it takes.
  objects.name("calm.intf");
  objects.name("calm.queue");
  auto const begin = Clock::now();
  auto const calm = runHost({"replay", file, "--state", state, "--counters", objects.prefix() + "calm"});
  auto const span = std::chrono::duration_cast<microseconds>(Clock::now() - begin);
  ASSERT_EQ(calm.status, 0) << calm.err;
  std::string const newState = readFile(state);
  ASSERT_EQ(nlohmann::json::parse(newState).at("counterBlocks").at("counterShmemMan").size(), unsigned{interfaces});

  // What was counted before the first of them stays.
  SharedObjects::set(*Zon::newPtr<Pelto::ShmemMan>(object), "E7-drops", 4711);

  constexpr int runs = isSanitized ? 20 : 100;
  Moments moments(seed);
  int killed = 0;
  int oldStates = 0;
  std::set<std::string> leftovers;
  for (int run = 0; run < runs; ++run) {
    SCOPED_TRACE("seed " + std::to_string(seed) + " run " + std::to_string(run));
    outputs.write("state", oldState);
    HostProcess process(arguments);
    moments.pass(span);
    process.signal(SIGKILL);
    int const status = process.finish();
    ASSERT_TRUE(status == 128 + SIGKILL || status == 0) << status << process.err();
    killed += status == 0 ? 0 : 1;
    std::string const found = readFile(state);
    ASSERT_TRUE(found == oldState || found == newState) << found.size() << " bytes";
    oldStates += found == oldState ? 1 : 0;
    for (std::string const& left : leftIn(outputs.file(""))) {
      EXPECT_TRUE(std::filesystem::path(left).filename().string().starts_with(".varo-host-")) << left;
      EXPECT_EQ(readFile(left), newState) << "only a finished file gets a name";
      leftovers.insert(left);
    }
  }
  RecordProperty("killed", killed);
  RecordProperty("oldStates", oldStates);
  RecordProperty("leftovers", static_cast<int>(leftovers.size()));
  EXPECT_GT(killed, 0);

  auto const last = runHost(arguments);
  EXPECT_EQ(last.status, 0);
  EXPECT_EQ(last.err, "");
  EXPECT_EQ(last.out, calm.out);
  EXPECT_EQ(readFile(state), newState) << "every block once, made by whomever";
  EXPECT_EQ(shownValue(object, "E7-drops"), 4711U);
}

namespace {

class HostKilledLive : public VethTest {
 protected:
  void SetUp() override { enterWithPair(); }

  SharedObjects objects_;
  ScratchDirectory inputs_;
  ScratchDirectory outputs_;
};

}  // namespace

TEST_F(HostKilledLive, AnEnforcingHostLeavesAWholeStateAndTheNextOneIsRight) {
  constexpr unsigned seed = 77;
  std::string const list = inputs_.write("errdisable", "a0 udld\n");
  std::string const state = outputs_.write("state", oldState);
  std::string const name = objects_.prefix() + "live";
  std::string const object = objects_.name("live.intf");
  objects_.name("live.queue");
  std::vector<std::string> const arguments = {"live", "--follow",   "--enforce", "--errdisable", list, "--interval",
                                              "0.01", "--counters", name,        "--state",      state};
  // How long it takes to hold the link, and to end.
  auto const begin = Clock::now();
  {
    HostProcess process(arguments);
    ASSERT_TRUE(process.waitFor("a0: set down (udld)\n")) << process.err();
    process.signal(SIGINT);
    ASSERT_EQ(process.finish(), 0) << process.err();
  }
  auto const span = std::chrono::duration_cast<microseconds>(Clock::now() - begin);
  ASSERT_EQ(nlohmann::json::parse(readFile(state)).at("varo-state"), 1);
  ASSERT_TRUE(NetworkNamespace::isUp("a0"));

  constexpr int runs = isSanitized ? 20 : 60;
  Moments moments(seed);
  int killed = 0;
  int leftDown = 0;
  for (int run = 0; run < runs; ++run) {
    SCOPED_TRACE("seed " + std::to_string(seed) + " run " + std::to_string(run));
    outputs_.write("state", oldState);
    HostProcess process(arguments);
    moments.pass(span / 2);
    if (run % 2 == 0) {
      process.signal(SIGINT);
      moments.pass(span / 2);
    }
    process.signal(SIGKILL);
    int const status = process.finish();
    killed += status == 128 + SIGKILL ? 1 : 0;
    std::string const found = readFile(state);
    if (found != oldState) {
      auto const parsed = nlohmann::json::parse(found, nullptr, false);
      ASSERT_TRUE(parsed.is_object() && parsed.at("varo-state") == 1) << found;
    }
    for (std::string const& left : leftIn(outputs_.file(""))) {
      EXPECT_TRUE(std::filesystem::path(left).filename().string().starts_with(".varo-host-")) << left;
    }
    // Nobody else can know why the link is down: that stays, until somebody sets it up.
    leftDown += NetworkNamespace::isUp("a0") ? 0 : 1;
    ip("link set a0 up");
  }
  RecordProperty("killed", killed);
  RecordProperty("leftDown", leftDown);
  EXPECT_GT(killed, 0);

  ASSERT_TRUE(NetworkNamespace::becomesOperationally("a0", "UP"));
  NetworkNamespace::sendFrames("a0", 10);
  HostProcess process(arguments);
  ASSERT_TRUE(process.waitFor("a0: set down (udld)\n")) << process.err();
  EXPECT_FALSE(NetworkNamespace::isUp("a0"));
  process.signal(SIGINT);
  EXPECT_EQ(process.finish(), 0);
  EXPECT_EQ(process.err(), "");
  EXPECT_TRUE(NetworkNamespace::isUp("a0"));
  auto const written = nlohmann::json::parse(readFile(state));
  EXPECT_EQ(written.at("errdisabledIntf").at("a0"), "udld");
  EXPECT_EQ(written.at("counterBlocks").at("counterShmemMan").size(), 3U * 9) << "of three links, each once";
  auto const shown = runHost({"counters", "--json", object});
  EXPECT_EQ(shown.status, 0) << shown.err;
  EXPECT_GE(shownValue(object, "a1-in-pkts"), 10U) << "the kernel's own numbers";
}
