// What varo-host writes to goes away: readers, room on the disk, terminals.

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <regex>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "support/PrivateMount.h"
#include "tests/host/HostProcess.h"
#include "tests/host/NetworkNamespace.h"
#include "tests/host/SharedObject.h"
#include "tests/host/TerminalProcess.h"

namespace {

constexpr char card[] = VARO_EXAMPLES_DIR "/line-card.jsonl";

std::string interfaces(int count) {
  std::string text;
  for (int at = 0; at < count; ++at) {
    text += R"({"time":0,"entity":"intfConfig","key":"E)" + std::to_string(at) +
            R"(","op":"add","attribute":"adminEnabledStateLocal","value":"enabled"})"
            "\n";
  }
  return text;
}

/// Flips the first interface, a change of state each time.
std::string flips(int count) {
  std::string text;
  for (int at = 0; at < count; ++at) {
    text += at % 2 == 0 ? R"({"time":1,"entity":"errdisabledIntf","key":"E0","value":"storm"})"
                        : R"({"time":1,"entity":"errdisabledIntf","key":"E0","op":"del"})";
    text += '\n';
  }
  return text;
}

/// Runs the program with a standard output whose reader has gone before it starts.
HostResult runUnread(std::vector<std::string> const& arguments) {
  HostProcess process(arguments, "", true, {"/bin/sh", "-c", "read go; exec \"$0\" \"$@\"", VARO_HOST_PROGRAM});
  process.closeOutput();
  process.write("\n");
  process.closeInput();
  int const status = process.finish();
  return {status, process.out(), process.err()};
}

}  // namespace

// A reader that goes

TEST(HostReaderGone, ALongTableEndsQuietly) {
  HostProcess process({"replay", "-"}, "", true);
  process.closeOutput();
  process.write(interfaces(5000));
  process.closeInput();
  EXPECT_EQ(process.finish(), 0);
  EXPECT_EQ(process.err(), "");
}

TEST(HostReaderGone, TheStateOfAWholeRecordingIsWrittenAllTheSame) {
  ScratchDirectory const scratch;
  std::string const expected = scratch.file("expected");
  std::string const file = scratch.write("state", "old");
  ASSERT_EQ(runHost({"replay", "-", "--state", expected}, interfaces(50)).status, 0);
  HostProcess process({"replay", "-", "--state", file}, "", true);
  process.closeOutput();
  process.write(interfaces(50));
  process.closeInput();
  EXPECT_EQ(process.finish(), 0);
  EXPECT_EQ(process.err(), "");
  EXPECT_EQ(readFile(file), readFile(expected));
}

TEST(HostReaderGone, ARecordingReadToItsEndBeforeThatIsNoticedHasItsState) {
  ScratchDirectory const scratch;
  std::string const expected = scratch.file("expected");
  // So few lines of a file are played in one go.
  std::string const recording = scratch.write("recording", interfaces(200) + flips(141));
  ASSERT_EQ(runHost({"replay", recording, "--state", expected}).status, 0);
  for (bool const isJson : {false, true}) {
    std::string const file = scratch.write("state", "old");
    std::vector<std::string> arguments = {"replay", recording, "--follow", "--state", file};
    if (isJson) arguments.push_back("--json");
    auto const result = runUnread(arguments);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(readFile(file), readFile(expected));
  }
}

TEST(HostReaderGone, ALongRecordingIsReadNoFurtherOnceThatIsNoticedAndHasNoState) {
  ScratchDirectory const scratch;
  std::string const file = scratch.write("state", "old");
  // More is told of it than the buffer holds.
  constexpr int changes = 100000;
  std::string const recording = scratch.write("recording", interfaces(1) + flips(changes));
  auto const result = runUnread({"replay", recording, "--follow", "--state", file});
  EXPECT_EQ(result.status, 1);
  std::smatch found;
  std::regex const note(":(\\d+): the reader of standard output has gone; no state is written\n$");
  ASSERT_TRUE(std::regex_search(result.err, found, note)) << result.err;
  EXPECT_EQ(result.err, recording + found.str());
  EXPECT_LT(std::stoi(found.str(1)), changes) << "it read on to the end";
  EXPECT_EQ(readFile(file), "old");
  // Without a state there is nothing to say.
  auto const stateless = runUnread({"replay", recording, "--follow"});
  EXPECT_EQ(stateless.status, 0);
  EXPECT_EQ(stateless.err, "");
}

TEST(HostReaderGone, TheStateOfHalfARecordingIsNotWrittenAndThatIsSaid) {
  ScratchDirectory const scratch;
  std::string const file = scratch.write("state", "old");
  HostProcess process({"replay", "-", "--follow", "--state", file}, interfaces(1), true);
  ASSERT_TRUE(process.waitFor("E0: unset -> enabled\n"));
  process.closeOutput();
  process.write(flips(1));
  EXPECT_EQ(process.finish(), 1) << "the input is still open";
  EXPECT_EQ(process.err(), "<stdin>:2: the reader of standard output has gone; no state is written\n");
  EXPECT_EQ(readFile(file), "old");
}

TEST(HostReaderGone, DiffAndCountersEndQuietlyWithTheStatusOfWhatTheyFound) {
  SharedObjects objects;
  ScratchDirectory const scratch;
  std::string const few = scratch.file("few");
  std::string const many = scratch.file("many");
  std::string const name = objects.prefix() + "gone";
  std::string const recording = R"({"time":0,"entity":"slice","key":"s","op":"add"})"
                                "\n"
                                R"({"time":0,"entity":"intfQueueCounterDir","key":["s","E0"],"op":"add"})"
                                "\n"
                                R"({"time":0,"entity":"intfQueueCounter","key":["s","E0","drops"],"op":"add"})"
                                "\n";
  objects.name("gone.intf");
  objects.name("gone.queue");
  ASSERT_EQ(runHost({"replay", "-", "--state", few, "--counters", name}, recording).status, 0);
  ASSERT_EQ(runHost({"replay", "-", "--state", many}, interfaces(3000)).status, 0);
  struct Case {
    std::vector<std::string> arguments;
    int status;
  };
  for (auto const& [arguments, status] : {Case{{"diff", few, many}, 1}, Case{{"diff", "--json", few, many}, 1},
                                          Case{{"counters", name}, 0}, Case{{"counters", "--json", name}, 0}}) {
    HostProcess process(arguments);
    process.closeOutput();
    EXPECT_EQ(process.finish(), status) << arguments.front();
    EXPECT_EQ(process.err(), "") << arguments.front();
  }
}

TEST(HostReaderGone, ComplaintsNobodyReadsStopNothing) {
  std::string bad;
  for (int at = 0; at < 20000; ++at) {
    bad += "x\n";
  }
  HostProcess process({"replay", "-", "--keep-going"}, "", true);
  process.closeError();
  process.write(interfaces(1) + bad + flips(1));
  process.closeInput();
  EXPECT_EQ(process.finish(), 1);
  EXPECT_NE(process.out().find("disabled  storm"), std::string::npos) << process.out();
}

// No room

namespace {

/// A small device of its own for files.
class SmallDevice {
 public:
  explicit SmallDevice(char const* options) : mount_(directory_.file(""), options) {}

  std::string const& reason() const { return mount_.reason(); }
  ScratchDirectory const& directory() const { return directory_; }
  std::size_t entries() const {
    return static_cast<std::size_t>(
        std::distance(std::filesystem::directory_iterator(directory_.file("")), std::filesystem::directory_iterator()));
  }

 private:
  ScratchDirectory directory_;
  Support::PrivateMount mount_;
};

}  // namespace

TEST(HostDiskFull, AStateWithoutRoomIsTroubleAndTheOldOneStays) {
  SmallDevice const device("size=64k");
  if (!device.reason().empty()) {
    return Support::Namespace::refuse(device.reason());
  }
  std::string const file = device.directory().write("state", "old");
  auto const full = runHost({"replay", "-", "--state", file}, interfaces(3000));
  EXPECT_EQ(full.status, 2);
  EXPECT_EQ(full.err, "varo-host: " + file + ": No space left on device\n");
  EXPECT_NE(full.out.find("3000 interfaces: 3000 enabled"), std::string::npos) << "the table was there before";
  EXPECT_EQ(readFile(file), "old");
  EXPECT_EQ(device.entries(), 1U) << "what was begun is gone";
  // What fits is written.
  EXPECT_EQ(runHost({"replay", "-", "--state", file}, interfaces(3)).status, 0);
  EXPECT_NE(readFile(file).find("\"E2\""), std::string::npos);
  EXPECT_EQ(device.entries(), 1U);
}

TEST(HostDiskFull, AStateThatCannotBeWrittenIsSaidBeforeTheWork) {
  // Standard input stays open: who worked first would wait for ever.
  for (std::string const file : {"/nonexistent/directory/state", "/dev/null", "/proc/state"}) {
    HostProcess process({"replay", "-", "--follow", "--state", file}, interfaces(1), true);
    EXPECT_EQ(process.finish(), 2) << file;
    EXPECT_EQ(process.out(), "") << file;
    EXPECT_TRUE(process.err().starts_with("varo-host: " + file + ": ")) << process.err();
  }
  SmallDevice const device("nr_inodes=2");
  if (!device.reason().empty()) {
    return Support::Namespace::refuse(device.reason());
  }
  std::string const file = device.directory().write("state", "old");
  HostProcess process({"replay", "-", "--state", file}, interfaces(1), true);
  EXPECT_EQ(process.finish(), 2);
  EXPECT_EQ(process.err(), "varo-host: " + file + ": No space left on device\n");
  EXPECT_EQ(readFile(file), "old");
}

TEST(HostDiskFull, AFullStandardOutputIsTroubleOfEveryCommand) {
  ScratchDirectory const scratch;
  std::string const some = scratch.file("some");
  std::string const none = scratch.file("none");
  ASSERT_EQ(runHost({"replay", card, "--state", some}).status, 0);
  ASSERT_EQ(runHost({"replay", "/dev/null", "--state", none}).status, 0);
  for (auto const& arguments : std::vector<std::vector<std::string>>{{"--help"},
                                                                     {"--version"},
                                                                     {"live", "--help"},
                                                                     {"replay", card},
                                                                     {"replay", card, "--json"},
                                                                     {"replay", card, "--follow"},
                                                                     {"replay", card, "--state", "-"},
                                                                     {"diff", some, none},
                                                                     {"counters"},
                                                                     {"counters", "--watch", "--interval", "0.01"},
                                                                     {"live"},
                                                                     {"live", "--json"},
                                                                     {"live", "--follow", "--duration", "0.1"}}) {
    auto const full = runRedirected(">/dev/full", arguments);
    EXPECT_EQ(full.status, 2) << arguments.front();
    EXPECT_NE(full.err.find("varo-host: standard output: No space left on device\n"), std::string::npos)
        << arguments.front() << full.err;
  }
}

TEST(HostDiskFull, AFullStandardOutputLeavesNoStateOfHalfARecording) {
  ScratchDirectory const scratch;
  std::string const file = scratch.write("state", "old");
  auto const full =
      runRedirected(">/dev/full", {"replay", "-", "--follow", "--state", file}, interfaces(1) + flips(20000));
  EXPECT_EQ(full.status, 2);
  EXPECT_EQ(full.err, "varo-host: standard output: No space left on device\n");
  EXPECT_EQ(readFile(file), "old");
}

// A terminal that is closed

namespace {

class HostTerminalClosed : public VethTest {
 protected:
  void SetUp() override { enterWithPair(); }

  ScratchDirectory scratch_;
};

/// A program that takes no notice of SIGHUP, as under nohup.
std::vector<std::string> const deafToHangUp = {"/bin/sh", "-c", "trap '' HUP; exec \"$0\" \"$@\"", VARO_HOST_PROGRAM};

}  // namespace

TEST_F(HostTerminalClosed, LiveEndsCleanlyAndReleasesWhatItHeld) {
  std::string const list = scratch_.write("errdisable", "a0 udld\n");
  std::string const state = scratch_.file("state");
  TerminalProcess process({"live", "--follow", "--enforce", "--errdisable", list, "--state", state});
  ASSERT_TRUE(process.waitFor("a0: set down (udld)\r\n"));
  ASSERT_FALSE(NetworkNamespace::isUp("a0"));
  process.hangUp();
  EXPECT_EQ(process.finish(), 0);
  EXPECT_TRUE(NetworkNamespace::isUp("a0"));
  EXPECT_NE(readFile(state).find("\"udld\""), std::string::npos) << "the state is that of the end";
}

TEST_F(HostTerminalClosed, LiveThatIgnoresTheSignalNoticesAtItsNextLine) {
  std::string const list = scratch_.write("errdisable", "a0 udld\n");
  TerminalProcess process({"live", "--follow", "--enforce", "--errdisable", list}, 24, deafToHangUp);
  ASSERT_TRUE(process.waitFor("a0: set down (udld)\r\n"));
  process.hangUp();
  ip("link set a1 down");
  EXPECT_EQ(process.finish(), 0);
  EXPECT_TRUE(NetworkNamespace::isUp("a0"));
}

TEST_F(HostTerminalClosed, WatchingCountersEnds) {
  SharedObjects objects;
  std::string const name = objects.name("watched");
  auto const manager = Zon::newPtr<Pelto::ShmemMan>(name);
  SharedObjects::set(*manager, "x", 1);
  for (bool const isDeaf : {false, true}) {
    TerminalProcess process({"counters", "--watch", "--interval", "0.02", name}, 24,
                            isDeaf ? deafToHangUp : std::vector<std::string>{VARO_HOST_PROGRAM});
    ASSERT_TRUE(process.waitFor("1 object, 1 block\r\n"));
    process.hangUp();
    EXPECT_EQ(process.finish(), 0) << isDeaf;
  }
}

TEST_F(HostTerminalClosed, AReplayIsInterrupted) {
  std::string const state = scratch_.write("state", "old");
  std::string const late = scratch_.write("late", interfaces(1) + R"({"time":1e9,"entity":"intfConfig","key":"E0",)"
                                                                  R"("op":"del"})"
                                                                  "\n");
  TerminalProcess process({"replay", late, "--pace", "--follow", "--state", state});
  ASSERT_TRUE(process.waitFor("E0: unset -> enabled\r\n"));
  process.hangUp();
  EXPECT_EQ(process.finish(), 1);
  EXPECT_EQ(readFile(state), "old");
}

TEST_F(HostTerminalClosed, AQuestionNobodyAnswersRemovesNothing) {
  SharedObjects objects;
  std::string const name = objects.name("asked");
  auto const manager = Zon::newPtr<Pelto::ShmemMan>(name);
  TerminalProcess process({"counters", "--unlink", name}, 24, deafToHangUp);
  ASSERT_TRUE(process.waitFor("Remove them? [y/N] "));
  process.hangUp();
  EXPECT_EQ(process.finish(), 0);
  EXPECT_TRUE(std::filesystem::exists(SharedObjects::path(name)));
}
