// A storm of flapping interfaces: memory is that of the device, and the end is what the last values say.

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/Sanitized.h"
#include "tests/host/HostProcess.h"
#include "tests/host/NetworkNamespace.h"
#include "tests/host/SharedObject.h"

namespace {

constexpr int events = isSanitized ? 100000 : 1000000;
constexpr unsigned seed = 31337;

/// Flaps interfaces at random and knows what they were last told.
class Storm {
 public:
  explicit Storm(unsigned randomSeed) : random_(randomSeed), ports_(64) {}

  /// The lines that make the device as it is told last.
  std::string settled() const {
    std::string text = line(R"("entity":"slice","key":"card","op":"add")");
    for (std::size_t at = 0; at < ports_.size(); ++at) {
      Port const& port = ports_[at];
      text += line(of("intfConfig", at) + R"(,"op":"add","attribute":"adminEnabledStateLocal","value":)" +
                   (port.isEnabled ? "\"enabled\"" : "\"disabled\""));
      text += line(of("intfStatus", at) + R"(,"op":"add","attribute":"active","value":)" +
                   (port.isActive ? "true" : "false"));
      text += line(R"("entity":"intfQueueCounterDir","key":["card",)" + name(at) + R"(],"op":"add")");
      if (port.hasCounter) {
        text += counter(at, "add");
      }
      if (!port.reason.empty()) {
        text += line(of("errdisabledIntf", at) + R"(,"value":")" + port.reason + '"');
      }
    }
    return text;
  }

  std::string event() {
    auto const at = static_cast<std::size_t>(random_() % ports_.size());
    Port& port = ports_[at];
    time_ += 0.001;
    switch (random_() % 4) {
    case 0:
      if (!port.reason.empty()) {
        port.reason.clear();
        return line(of("errdisabledIntf", at) + R"(,"op":"del")");
      }
      port.reason = random_() % 2 == 0 ? "link-flap" : "bpduguard";
      return line(of("errdisabledIntf", at) + R"(,"value":")" + port.reason + '"');
    case 1:
      port.isActive = !port.isActive;
      return line(of("intfStatus", at) + R"(,"attribute":"active","value":)" + (port.isActive ? "true" : "false"));
    case 2:
      port.isEnabled = !port.isEnabled;
      return line(of("intfConfig", at) + R"(,"attribute":"adminEnabledStateLocal","value":)" +
                  (port.isEnabled ? "\"enabled\"" : "\"disabled\""));
    default:
      port.hasCounter = !port.hasCounter;
      return counter(at, port.hasCounter ? "add" : "del");
    }
  }

  std::size_t ports() const { return ports_.size(); }
  std::size_t enabled() const {
    return static_cast<std::size_t>(std::count_if(ports_.begin(), ports_.end(), [](Port const& port) {
      return port.isEnabled && port.isActive && port.reason.empty();
    }));
  }

 private:
  struct Port {
    bool isEnabled = true;
    bool isActive = true;
    bool hasCounter = true;
    std::string reason;
  };

  static std::string name(std::size_t at) { return "\"Ethernet" + std::to_string(at + 1) + '"'; }
  static std::string of(std::string const& entity, std::size_t at) {
    return R"("entity":")" + entity + R"(","key":)" + name(at);
  }
  std::string line(std::string const& rest) const { return "{\"time\":" + std::to_string(time_) + "," + rest + "}\n"; }
  std::string counter(std::size_t at, std::string const& op) const {
    return line(R"("entity":"intfQueueCounter","key":["card",)" + name(at) + R"(,"drops"],"op":")" + op + '"');
  }

  std::mt19937 random_;
  std::vector<Port> ports_;
  double time_ = 0;
};

class HostStorm : public testing::Test {
 protected:
  /// Replays so many events through a pipe and compares the end with a replay of the last values alone.
  /// Returns the most memory it took, in kilobytes.
  long replay(int count) {
    std::string const name = objects_.prefix() + "storm" + std::to_string(count);
    objects_.name("storm" + std::to_string(count) + ".intf");
    objects_.name("storm" + std::to_string(count) + ".queue");
    ScratchDirectory const scratch;
    std::string const state = scratch.file("state");
    std::string const expected = scratch.file("expected");
    Storm storm(seed);
    HostProcess process({"replay", "-", "--counters", name, "--state", state}, "", true);
    std::string chunk = storm.settled();
    for (int at = 0; at < count; ++at) {
      chunk += storm.event();
      if (chunk.size() > 60000) {
        process.write(chunk);
        chunk.clear();
      }
    }
    process.write(chunk);
    process.closeInput();
    EXPECT_EQ(process.finish(), 0) << "seed " << seed;
    EXPECT_EQ(process.err(), "");
    auto const last = runHost({"replay", "-", "--counters", name, "--state", expected}, storm.settled());
    EXPECT_EQ(last.status, 0) << last.err;
    EXPECT_EQ(process.out(), last.out);
    EXPECT_EQ(readFile(state), readFile(expected));
    EXPECT_NE(process.out().find(std::to_string(storm.ports()) + " interfaces: " + std::to_string(storm.enabled()) +
                                 " enabled, " + std::to_string(storm.ports() - storm.enabled()) + " disabled ("),
              std::string::npos)
        << process.out();
    return process.peakKilobytes();
  }

  SharedObjects objects_;
};

}  // namespace

TEST_F(HostStorm, MemoryDoesNotGrowWithTheNumberOfFlaps) {
  long const few = replay(events / 10);
  long const many = replay(events);
  RecordProperty("peakKilobytesOfATenth", static_cast<int>(few));
  RecordProperty("peakKilobytes", static_cast<int>(many));
  if (!isSanitized) {  // which keeps what was freed
    EXPECT_LT(many, few + 8192);
  }
}

using HostLinkStorm = VethTest;

TEST_F(HostLinkStorm, AStormOfLinksEndsAsTheKernelHasThem) {
  enterWithPair();
  if (IsSkipped()) {
    return;
  }
  constexpr int flips = isSanitized ? 1000 : 4000;
  ScratchDirectory const scratch;
  ip("link add name b0 type veth peer name b1");
  ip("link set b1 up");
  std::string const list = scratch.write("errdisable", "b0 storm\n");
  HostProcess process({"live", "--follow", "--enforce", "--errdisable", list, "--interval", "0.01"});
  ASSERT_TRUE(process.waitFor("5 interfaces: ")) << process.err();
  std::mt19937 random(seed);
  std::string batch;
  for (int at = 0; at < flips; ++at) {
    // The listed one too, against the host that sets it down again.
    std::string const name = random() % 8 == 0 ? "b0" : random() % 2 == 0 ? "a0" : "lo";
    batch += "link set " + name + (random() % 2 == 0 ? " up\n" : " down\n");
  }
  batch += "link set a0 down\nlink set a1 up\nlink set lo up\nlink set b0 up\n";
  ip("-batch " + scratch.write("batch", batch));
  ip("link add name last type veth peer name last1");
  // Until it is read, what was told fills the pipe, and the host stands.
  ASSERT_TRUE(process.waitFor("last: added\n"));
  EXPECT_TRUE(NetworkNamespace::eventually([] { return !NetworkNamespace::isUp("b0"); })) << "held in the end";
  process.signal(SIGINT);
  EXPECT_EQ(process.finish(), 0) << process.err();
  std::string const table = process.out().substr(process.out().rfind("Interface  "));
  EXPECT_NE(table.find("\na0         disabled "), std::string::npos) << table;
  EXPECT_NE(table.find("\na1         enabled "), std::string::npos) << table;
  EXPECT_NE(table.find("\nlo         enabled "), std::string::npos) << table;
  EXPECT_TRUE(NetworkNamespace::isUp("b0")) << "released";
  EXPECT_FALSE(NetworkNamespace::isUp("a0"));
}
