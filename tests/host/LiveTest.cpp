#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <unistd.h>

#include "HostProcess.h"
#include "NetworkNamespace.h"
#include "host/LinkMonitor.h"

// Each test runs the program in a namespace of its own with the pair a0 - a1 and compares with what `ip` sees.

namespace {

class Live : public VethTest {
 protected:
  void SetUp() override { enterWithPair(); }

  /// Waits until the kernel shows the link up or down.
  static bool becomes(std::string const& name, bool up) {
    return NetworkNamespace::eventually([&] { return NetworkNamespace::isUp(name) == up; });
  }

  ScratchDirectory scratch_;
};

nlohmann::json interfaceNamed(std::string const& document, std::string const& name) {
  // Changes may stand before the document that closes the output.
  std::size_t const start = document.find("{\n");
  auto const parsed = nlohmann::json::parse(document.substr(start));
  for (auto const& entry : parsed["ietf-interfaces:interfaces"]["interface"]) {
    if (entry["name"] == name) {
      return entry;
    }
  }
  return nullptr;
}

}  // namespace

TEST_F(Live, TheTableShowsWhatTheKernelHas) {
  ip("link set a1 down");
  ASSERT_TRUE(NetworkNamespace::becomesOperationally("a0", "LOWERLAYERDOWN"));
  auto const result = runHost({"live"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.err, "");
  EXPECT_NE(result.out.find("Interface  Admin     Oper              Active  State     Reason\n"), std::string::npos)
      << result.out;
  EXPECT_NE(result.out.find("a1         disabled  down              yes     disabled  admin\n"), std::string::npos)
      << result.out;
  EXPECT_NE(result.out.find("3 interfaces: "), std::string::npos) << result.out;
}

TEST_F(Live, JsonAgreesWithTheKernel) {
  auto const result = runHost({"live", "--json"});
  EXPECT_EQ(result.status, 0) << result.err;
  auto const shown = interfaceNamed(result.out, "a0");
  auto const kernel = NetworkNamespace::link("a0");
  EXPECT_EQ(shown["if-index"], kernel["ifindex"]);
  EXPECT_EQ(shown["admin-status"], "up");
  EXPECT_EQ(shown["oper-status"], "up");
  EXPECT_EQ(kernel["operstate"], "UP");
  EXPECT_EQ(shown["enabled"], true);
  EXPECT_EQ(shown["type"], "iana-if-type:ethernetCsmacd");
  EXPECT_EQ(shown["varo:active"], true);
  EXPECT_EQ(interfaceNamed(result.out, "lo")["type"], "iana-if-type:softwareLoopback");
}

TEST_F(Live, LinksThatGoDownAndComeUpAreFollowed) {
  HostProcess process({"live", "--follow"});
  ASSERT_TRUE(process.waitFor("3 interfaces: "));
  ip("link set a1 down");
  EXPECT_TRUE(process.waitFor("a1: enabled -> disabled (admin)\n"));
  EXPECT_TRUE(process.waitFor("a0: enabled -> disabled (inactive)\n"));
  ip("link set a1 up");
  EXPECT_TRUE(process.waitForMatch("a1: disabled \\((admin|inactive)\\) -> enabled\n"));
  EXPECT_TRUE(process.waitFor("a0: disabled (inactive) -> enabled\n"));
  process.signal(SIGINT);
  EXPECT_EQ(process.finish(), 0) << process.err();
}

TEST_F(Live, LinksThatComeGoAndChangeTheirNameAreFollowed) {
  HostProcess process({"live", "--follow"});
  ASSERT_TRUE(process.waitFor("3 interfaces: "));
  ip("link add name b0 type veth peer name b1");
  EXPECT_TRUE(process.waitFor("b0: added\n"));
  ip("link set b0 name c0");
  EXPECT_TRUE(process.waitFor("b0: renamed to c0\n"));
  ip("link add name b0 type veth peer name d1");
  EXPECT_TRUE(process.waitFor("b0: added\n", process.out().size()));
  ip("link delete dev c0");
  EXPECT_TRUE(process.waitFor("c0: removed\n"));
  EXPECT_TRUE(process.waitFor("b1: removed\n"));
  process.signal(SIGTERM);
  EXPECT_EQ(process.finish(), 0) << process.err();
  std::string const last = process.out().substr(process.out().rfind("Interface  "));
  EXPECT_EQ(last.find("c0"), std::string::npos) << last;
  EXPECT_NE(last.find("\nb0 "), std::string::npos) << last;
  EXPECT_NE(last.find("5 interfaces: "), std::string::npos) << last;
}

TEST_F(Live, APortThatLeavesItsBridgeStays) {
  try {
    ip("link add name br0 type bridge");
  } catch (std::exception const& error) {
    // Only bridges tell of their ports in the group of links: no other kind of master can stand in.
    std::string const reason = error.what();
    if (reason.find("Unknown device type") != std::string::npos) {
      GTEST_SKIP() << "this kernel has no bridges, hence no messages of their ports: " << reason;
    }
    return Support::Namespace::refuse(reason);
  }
  ip("link set a0 master br0");
  HostProcess process({"live", "--follow"});
  ASSERT_TRUE(process.waitFor("4 interfaces: "));
  ip("link set a0 nomaster");
  ip("link set a1 down");
  EXPECT_TRUE(process.waitFor("a1: enabled -> disabled (admin)\n"));
  process.signal(SIGINT);
  EXPECT_EQ(process.finish(), 0);
  EXPECT_EQ(process.out().find("removed"), std::string::npos) << process.out();
}

TEST_F(Live, AnErrdisabledInterfaceIsSetDownAndRecovers) {
  std::string const file = scratch_.write("errdisable", "");
  HostProcess process({"live", "--follow", "--enforce", "--errdisable", file});
  ASSERT_TRUE(process.waitFor("3 interfaces: "));
  scratch_.write("errdisable", "a0 bpduguard\n");
  EXPECT_TRUE(process.waitFor("a0: enabled -> disabled (bpduguard)\n"));
  EXPECT_TRUE(process.waitFor("a0: set down (bpduguard)\n"));
  EXPECT_TRUE(becomes("a0", false));
  EXPECT_TRUE(NetworkNamespace::isUp("a1"));
  EXPECT_TRUE(process.waitFor("a1: enabled -> disabled (inactive)\n")) << "its peer sees the link go";
  scratch_.write("errdisable", "");
  EXPECT_TRUE(process.waitFor("a0: disabled (bpduguard) -> enabled\n"));
  EXPECT_TRUE(process.waitFor("a0: set up again\n"));
  EXPECT_TRUE(becomes("a0", true));
  EXPECT_TRUE(process.waitFor("a1: disabled (inactive) -> enabled\n"));
  process.signal(SIGINT);
  EXPECT_EQ(process.finish(), 0) << process.err();
  EXPECT_EQ(process.out().find("a0: enabled -> disabled (admin)"), std::string::npos);
  EXPECT_EQ(process.out().find("somebody else"), std::string::npos);
}

TEST_F(Live, SetUpBySomebodyElseItIsSetDownAgain) {
  std::string const file = scratch_.write("errdisable", "a0 udld\n");
  HostProcess process({"live", "--follow", "--enforce", "--errdisable", file});
  ASSERT_TRUE(process.waitFor("a0: set down (udld)\n"));
  ASSERT_TRUE(becomes("a0", false));
  // The host has heard the echo of its own act once it has heard of what came after it.
  ip("link add name b0 type veth peer name b1");
  ASSERT_TRUE(process.waitFor("b0: added\n"));
  ip("link set a0 up");
  EXPECT_TRUE(process.waitFor("a0: was set up by somebody else while error-disabled, set down again\n"));
  EXPECT_TRUE(becomes("a0", false));
  process.signal(SIGINT);
  EXPECT_EQ(process.finish(), 0) << process.err();
  EXPECT_TRUE(NetworkNamespace::isUp("a0")) << "released at the end";
}

TEST_F(Live, WhatIsHeldIsReleasedAtTheEnd) {
  std::string const file = scratch_.write("errdisable", "a0 udld\n");
  for (int const number : {SIGINT, SIGTERM, SIGHUP}) {
    HostProcess process({"live", "--follow", "--enforce", "--errdisable", file});
    ASSERT_TRUE(process.waitFor("a0: set down (udld)\n"));
    ASSERT_FALSE(NetworkNamespace::isUp("a0"));
    process.signal(number);
    EXPECT_EQ(process.finish(), 0) << process.err();
    EXPECT_TRUE(NetworkNamespace::isUp("a0"));
  }
}

TEST_F(Live, TheLastTableShowsWhatWasReleasedAsTheKernelHasIt) {
  std::string const file = scratch_.write("errdisable", "a0 udld\na1 udld\n");
  auto const result = runHost({"live", "--json", "--duration", "0.3", "--enforce", "--errdisable", file});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_NE(result.err.find("a0: set down (udld)\n"), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("a1: set up again\n"), std::string::npos) << result.err;
  for (std::string const name : {"a0", "a1"}) {
    EXPECT_TRUE(NetworkNamespace::isUp(name));
    EXPECT_EQ(interfaceNamed(result.out, name)["admin-status"], "up") << result.out;
    EXPECT_EQ(interfaceNamed(result.out, name)["varo:errdisabled-reason"], "udld") << "the entry stands";
  }
}

TEST_F(Live, WhatIsHeldIsReleasedWhenTheReaderGoes) {
  std::string const file = scratch_.write("errdisable", "a0 udld\n");
  HostProcess process({"live", "--follow", "--enforce", "--errdisable", file});
  ASSERT_TRUE(process.waitFor("a0: set down (udld)\n"));
  process.closeOutput();
  ip("link set a1 down");
  EXPECT_EQ(process.finish(), 0) << process.err();
  EXPECT_TRUE(NetworkNamespace::isUp("a0"));
}

TEST_F(Live, WhatIsHeldIsReleasedWhenStandardErrorCannotBeWrittenTo) {
  std::string const file = scratch_.write("errdisable", "a0 udld\na1 udld\n");
  auto const result = runRedirected(
      "2>/dev/full", {"live", "--json", "--follow", "--duration", "0.3", "--enforce", "--errdisable", file});
  EXPECT_EQ(result.status, 0);
  EXPECT_TRUE(NetworkNamespace::isUp("a0"));
  EXPECT_TRUE(NetworkNamespace::isUp("a1"));
}

TEST_F(Live, AClosedStandardOutputIsTrouble) {
  std::string const file = scratch_.write("errdisable", "a0 udld\n");
  auto const result = runRedirected(">&-", {"live", "--duration", "0.3", "--enforce", "--errdisable", file});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err, "varo-host: standard output: Bad file descriptor\n");
  EXPECT_TRUE(NetworkNamespace::isUp("a0"));
}

TEST_F(Live, AnErrdisableFileThatIsHugeIsRefused) {
  std::string const file = scratch_.write("errdisable", std::string((16U << 20U) + 1, 'x'));
  auto const result = runHost({"live", "--errdisable", file});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "varo-host: " + file + ": larger than 16 MiB; no interface is error-disabled\n");
}

TEST_F(Live, LeaveDownKeepsItDown) {
  std::string const file = scratch_.write("errdisable", "a0 udld\n");
  auto const result = runHost({"live", "--duration", "0.3", "--enforce", "--leave-down", "--errdisable", file});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_FALSE(NetworkNamespace::isUp("a0"));
}

TEST_F(Live, WithoutEnforceNothingIsChanged) {
  std::string const file = scratch_.write("errdisable", "a0 udld\n");
  auto const result = runHost({"live", "--duration", "0.3", "--errdisable", file});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_NE(result.out.find("disabled  udld"), std::string::npos) << result.out;
  EXPECT_TRUE(NetworkNamespace::isUp("a0"));
}

TEST_F(Live, ALinkThatWasDownStaysDown) {
  ip("link set a0 down");
  std::string const file = scratch_.write("errdisable", "a0 udld\n");
  auto const result = runHost({"live", "--duration", "0.3", "--enforce", "--errdisable", file});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_FALSE(NetworkNamespace::isUp("a0"));
  EXPECT_EQ(result.out.find("set down ("), std::string::npos) << result.out;
}

TEST_F(Live, TheErrdisableFileMayBeReplacedDeletedAndMadeAgain) {
  std::string const file = scratch_.file("errdisable");
  HostProcess process({"live", "--follow", "--errdisable", file});
  ASSERT_TRUE(process.waitForError(file + ": does not exist"));
  ASSERT_TRUE(process.waitFor("3 interfaces: "));
  scratch_.write("errdisable", "a0 created\n");
  EXPECT_TRUE(process.waitFor("a0: enabled -> disabled (created)\n"));
  scratch_.write("next", "a0 replaced\n");
  ASSERT_EQ(std::rename(scratch_.file("next").c_str(), file.c_str()), 0);
  EXPECT_TRUE(process.waitFor("a0: disabled (created) -> disabled (replaced)\n"));
  ASSERT_EQ(::unlink(file.c_str()), 0);
  EXPECT_TRUE(process.waitFor("a0: disabled (replaced) -> enabled\n"));
  scratch_.write("errdisable", "a0 again\n");
  EXPECT_TRUE(process.waitFor("a0: enabled -> disabled (again)\n"));
  process.signal(SIGINT);
  EXPECT_EQ(process.finish(), 0) << process.err();
}

TEST_F(Live, ALinkedErrdisableFileIsWatchedAtBothEnds) {
  std::string const file = scratch_.file("errdisable");
  scratch_.write("first", "a0 first\n");
  scratch_.write("second", "a0 second\n");
  ASSERT_EQ(::symlink("first", file.c_str()), 0);
  HostProcess process({"live", "--follow", "--errdisable", file});
  ASSERT_TRUE(process.waitFor("3 interfaces: "));
  scratch_.write("first", "a0 first again\n");
  EXPECT_TRUE(process.waitFor("a0: disabled (first) -> disabled (first again)\n"));
  ASSERT_EQ(::symlink("second", scratch_.file("link").c_str()), 0);
  ASSERT_EQ(std::rename(scratch_.file("link").c_str(), file.c_str()), 0);
  EXPECT_TRUE(process.waitFor("a0: disabled (first again) -> disabled (second)\n"));
  process.signal(SIGINT);
  EXPECT_EQ(process.finish(), 0) << process.err();
}

TEST_F(Live, AWriterThatKeepsTheErrdisableFileOpenIsHeardLineByLine) {
  std::string const file = scratch_.write("errdisable", "a0 first\n");
  ip("link set lo up");
  HostProcess process({"live", "--follow", "--errdisable", file});
  ASSERT_TRUE(process.waitFor("3 interfaces: "));
  std::ofstream writer(file, std::ios::app);
  writer << "a1 second\n" << std::flush;
  EXPECT_TRUE(process.waitFor("a1: enabled -> disabled (second)\n"));
  // Time for the half line, and then for the empty file, to be taken if they were.
  writer << "lo th" << std::flush;
  ::usleep(500000);
  writer << "ird\n" << std::flush;
  EXPECT_TRUE(process.waitFor("lo: enabled -> disabled (third)\n"));
  ASSERT_EQ(::truncate(file.c_str(), 0), 0);
  ::usleep(500000);
  writer << "a0 fourth" << std::flush;
  writer.close();
  EXPECT_TRUE(process.waitFor("a0: disabled (first) -> disabled (fourth)\n"));
  EXPECT_TRUE(process.waitFor("lo: disabled (third) -> enabled\n"));
  process.signal(SIGINT);
  EXPECT_EQ(process.finish(), 0) << process.err();
  EXPECT_EQ(process.out().find("(th)"), std::string::npos) << process.out();
  EXPECT_EQ(process.out().find("a0: disabled (first) -> enabled"), std::string::npos) << process.out();
}

TEST_F(Live, ABadErrdisableFileIsReportedAndTheOldContentStays) {
  std::string const file = scratch_.write("errdisable", "a0 good\n");
  HostProcess process({"live", "--follow", "--errdisable", file});
  ASSERT_TRUE(process.waitFor("3 interfaces: "));
  for (std::string const& bad : {std::string("a1\n"), std::string("a1 x\0y\n", 7), std::string("a1 \xff\n"),
                                 std::string(1U << 20U, 'n') + " r\n", std::string("a1 x\na1 y\n")}) {
    std::size_t const before = process.err().size();
    scratch_.write("errdisable", bad);
    ASSERT_TRUE(process.waitForError("stays in force\n", before));
    EXPECT_NE(process.err().find(file + ":", before), std::string::npos) << process.err().substr(before);
  }
  scratch_.write("errdisable", "a0 better\n");
  EXPECT_TRUE(process.waitFor("a0: disabled (good) -> disabled (better)\n"));
  process.signal(SIGINT);
  EXPECT_EQ(process.finish(), 1);
}

TEST_F(Live, OfManyBadLinesInTheErrdisableFileSomeAreReportedAndThatThereAreMore) {
  std::string text;
  for (int at = 0; at < 20; ++at) {
    text += "a0\n";
  }
  std::string const file = scratch_.write("errdisable", text);
  auto const complaintsAt = [&file](int lines) {
    std::string complaints;
    for (int line = 1; line <= lines; ++line) {
      complaints += file + ":" + std::to_string(line) + ":3: no reason after \"a0\"\n";
    }
    return complaints;
  };
  std::string const end = "varo-host: " + file + ": not taken; no interface is error-disabled\n";
  EXPECT_EQ(runHost({"live", "--errdisable", file}).err, complaintsAt(20) + end);
  scratch_.write("errdisable", text + "a1 why\na0\n");
  EXPECT_EQ(runHost({"live", "--errdisable", file}).err,
            complaintsAt(20) + file + ": more bad lines, not shown\n" + end);
}

TEST_F(Live, AnErrdisableFileThatCannotBeWatchedIsTrouble) {
  auto const result = runHost({"live", "--errdisable", "/nonexistent/dir/file"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err, "varo-host: cannot watch the directory /nonexistent/dir: No such file or directory\n");
}

TEST_F(Live, AnErrdisableFileInADirectoryThatMayOnlyBeSearchedIsTrouble) {
  // Root reads everything, unless it gives that up.
  std::vector<std::string> program = {VARO_HOST_PROGRAM};
  if (::geteuid() == 0) {
    program.insert(program.begin(), {"setpriv", "--bounding-set=-dac_override,-dac_read_search"});
  }
  std::string const directory = scratch_.file("d");
  ASSERT_EQ(::mkdir(directory.c_str(), 0755), 0);
  std::string const file = scratch_.write("d/errdisable", "a0 udld\n");
  for (mode_t const mode : {0311U, 0711U}) {
    ASSERT_EQ(::chmod(directory.c_str(), mode), 0);
    HostProcess process({"live", "--errdisable", file}, "", false, program);
    bool const isReadable = mode == 0711U;
    EXPECT_EQ(process.finish(), isReadable ? 0 : 2);
    EXPECT_EQ(process.err(),
              isReadable ? "" : "varo-host: cannot watch the directory " + directory + ": Permission denied\n");
    EXPECT_EQ(process.out().find("udld") != std::string::npos, isReadable) << process.out();
  }
}

TEST_F(Live, ADirectoryInTheErrdisableFilesPlaceIsRefused) {
  std::string const directory = std::filesystem::temp_directory_path().string();
  auto const result = runHost({"live", "--errdisable", directory});
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.err.find(directory + ": not a regular file"), std::string::npos) << result.err;
}

namespace {

/// Messages the kernel dropped for want of room in sockets of this namespace that listen to links.
long droppedLinkMessages() {
  std::ifstream sockets("/proc/self/net/netlink");
  std::string line;
  std::getline(sockets, line);
  long dropped = 0;
  while (std::getline(sockets, line)) {
    // sk, protocol, port, groups (in hexadecimal), memory for reading and writing, dump, locks, drops, inode
    std::istringstream columns(line);
    std::string socket;
    std::string rest;
    unsigned protocol = 0;
    unsigned groups = 0;
    long drops = 0;
    columns >> socket >> protocol >> rest >> std::hex >> groups >> std::dec >> rest >> rest >> rest >> rest >> drops;
    dropped += protocol == 0 && (groups & 1U) != 0 ? drops : 0;
  }
  return dropped;
}

/// The lines told between the first table and the last, without their times, sorted.
std::multiset<std::string> toldIn(std::string const& out) {
  std::size_t const begin = out.find("\n\n", out.find(" interfaces: "));
  std::istringstream lines(out.substr(begin, out.rfind("Interface  ") - begin));
  std::multiset<std::string> told;
  for (std::string line; std::getline(lines, line);) {
    if (std::size_t const time = line.find("  "); time != std::string::npos) {
      told.insert(line.substr(time + 2));
    }
  }
  return told;
}

/// Name, administrative and operational state of each link: as the last table shows it, and as the kernel has it.
std::set<std::string> shownView(std::string const& out) {
  std::istringstream lines(out.substr(out.rfind("Interface  ")));
  std::set<std::string> view;
  std::string line;
  for (std::getline(lines, line); std::getline(lines, line) && !line.empty();) {
    std::istringstream columns(line);
    std::string name;
    std::string admin;
    std::string oper;
    columns >> name >> admin >> oper;
    view.insert(name + " " + admin + " " + oper);
  }
  return view;
}
std::set<std::string> kernelView() {
  std::map<std::string, std::string> const words = {
      {"UP", "up"}, {"DOWN", "down"}, {"UNKNOWN", "unknown"}, {"LOWERLAYERDOWN", "lower-layer-down"}};
  std::set<std::string> view;
  for (auto const& link : nlohmann::json::parse(NetworkNamespace::ip("-j link show"))) {
    std::string const name = link.at("ifname");
    view.insert(name + (NetworkNamespace::isUp(name) ? " enabled " : " disabled ") + words.at(link.at("operstate")));
  }
  return view;
}

}  // namespace

TEST_F(Live, AfterAnOverrunTheProgramTellsRealDifferencesOnly) {
  ip("-batch " + scratch_.write("before", "link add name b0 type veth peer name b1\n"
                                          "link add name c0 type veth peer name c1\n"
                                          "link add name d0 type veth peer name d1\n"
                                          "link set b0 up\nlink set b1 up\n"));
  ASSERT_TRUE(NetworkNamespace::becomesOperationally("b0", "UP"));
  ASSERT_TRUE(NetworkNamespace::becomesOperationally("b1", "UP"));
  HostProcess process({"live", "--follow"});
  ASSERT_TRUE(process.waitFor("9 interfaces: "));
  process.stop();
  // What changes nothing that is shown fills the socket: all that matters is lost.
  std::string batch;
  for (int at = 0; at < 3000; ++at) {
    batch += "link set lo mtu " + std::to_string(60000 + at) + "\n";
  }
  batch += "link set a1 down\n"
           "link set b0 down\nlink set b0 up\n"
           "link delete dev c0\n"
           "link set d0 name e0\n"
           "link add name f0 type veth peer name f1\nlink set f0 up\n";
  ip("-batch " + scratch_.write("batch", batch));
  ASSERT_TRUE(NetworkNamespace::becomesOperationally("a0", "LOWERLAYERDOWN"));
  ASSERT_TRUE(NetworkNamespace::becomesOperationally("b0", "UP"));
  ASSERT_TRUE(NetworkNamespace::becomesOperationally("b1", "UP"));
  ASSERT_TRUE(NetworkNamespace::becomesOperationally("f0", "LOWERLAYERDOWN"));
  EXPECT_GT(droppedLinkMessages(), 0) << "the socket has not overrun";
  process.signal(SIGCONT);
  EXPECT_TRUE(process.waitFor("c1: removed\n"));
  process.signal(SIGINT);
  EXPECT_EQ(process.finish(), 0) << process.err();
  EXPECT_EQ(toldIn(process.out()),
            (std::multiset<std::string>{
                "a0: enabled -> disabled (inactive)", "a1: enabled -> disabled (admin)", "c0: removed", "c1: removed",
                "d0: renamed to e0", "e0: unset -> disabled (admin)", "f0: added", "f0: unset -> disabled (inactive)",
                "f1: added", "f1: unset -> disabled (admin)"}));
  EXPECT_EQ(shownView(process.out()), kernelView());
}

TEST_F(Live, AnOverrunAtTheEndLeavesTheLastTableRight) {
  HostProcess process({"live", "--follow", "--enforce", "--errdisable", scratch_.write("list", "a0 udld\n")});
  ASSERT_TRUE(process.waitFor("a0: set down (udld)\n"));
  ASSERT_TRUE(process.waitFor("a1: enabled -> disabled (inactive)\n"));
  process.stop();
  std::string batch;
  for (int at = 0; at < 3000; ++at) {
    batch += "link set lo mtu " + std::to_string(60000 + at) + "\n";
  }
  batch += "link add name f0 type veth peer name f1\nlink set f1 up\n";
  ip("-batch " + scratch_.write("batch", batch));
  ASSERT_TRUE(NetworkNamespace::becomesOperationally("f1", "LOWERLAYERDOWN"));
  EXPECT_GT(droppedLinkMessages(), 0) << "the socket has not overrun";
  process.signal(SIGINT);
  process.signal(SIGCONT);
  EXPECT_EQ(process.finish(), 0) << process.err();
  EXPECT_TRUE(NetworkNamespace::becomesOperationally("a0", "UP"));
  std::set<std::string> const shown = shownView(process.out());
  EXPECT_EQ(shown.size(), 5U);
  EXPECT_TRUE(shown.contains("f0 disabled down")) << process.out();
  EXPECT_TRUE(shown.contains("f1 enabled lower-layer-down")) << process.out();
  EXPECT_NE(process.out().find("\na0         enabled "), std::string::npos) << process.out();
}

// The monitor itself, with a receive buffer that overflows.

namespace {

class Recorder : public VaroHost::LinkMonitor::Listener {
 public:
  void onLink(VaroHost::Link const& link) override {
    links[link.index] = link.name;
    ++told;
  }
  void onLinkGone(int index) override { links.erase(index); }
  void onOverrun() override { ++overruns; }
  void onSynchronized() override { ++synchronizations; }

  std::map<int, std::string> links;
  int told = 0;
  int overruns = 0;
  int synchronizations = 0;
};

std::map<int, std::string> kernelLinks() {
  std::map<int, std::string> links;
  for (auto const& link : nlohmann::json::parse(NetworkNamespace::ip("-j link show"))) {
    links[link["ifindex"]] = link["ifname"];
  }
  return links;
}

}  // namespace

TEST_F(Live, AfterAnOverrunAllLinksAreReadAgain) {
  asio::io_context loop;
  Recorder recorder;
  VaroHost::LinkMonitor monitor(loop, recorder, 2048);
  monitor.start();
  while (recorder.synchronizations == 0) {
    loop.run_one();
  }
  EXPECT_EQ(recorder.links, kernelLinks());

  // Nobody reads meanwhile: the kernel has to drop messages.
  std::string batch;
  for (int at = 0; at < 40; ++at) {
    std::string const number = std::to_string(at);
    batch += "link add name x" + number + " type veth peer name y" + number + "\n";
    batch += "link set x" + number + " up\nlink set y" + number + " up\n";
  }
  batch += "link delete dev a0\nlink delete dev x7\nlink set x8 down\nlink set x8 name z8\n";
  ip("-batch " + scratch_.write("batch", batch));
  while (recorder.synchronizations < 2) {
    loop.run_one();
  }
  EXPECT_GE(recorder.overruns, 1);
  while (loop.poll_one() != 0) {
  }
  EXPECT_EQ(recorder.links, kernelLinks());
}

TEST_F(Live, AFloodOfMessagesLeavesOthersTheirTurn) {
  asio::io_context loop;
  Recorder recorder;
  VaroHost::LinkMonitor monitor(loop, recorder);
  monitor.start();
  while (recorder.synchronizations == 0) {
    loop.run_one();
  }
  recorder.told = 0;
  constexpr int changes = 3 * VaroHost::LinkMonitor::messagesPerTurn;
  std::string batch;
  for (int at = 0; at < changes; ++at) {
    batch += "link set lo mtu " + std::to_string(60000 + at) + "\n";
  }
  ip("-batch " + scratch_.write("batch", batch));
  loop.run_one();
  EXPECT_EQ(recorder.told, VaroHost::LinkMonitor::messagesPerTurn);
  while (recorder.told < changes && loop.run_one() != 0) {
  }
  EXPECT_EQ(recorder.told, changes);
  EXPECT_EQ(recorder.overruns, 0);
}
