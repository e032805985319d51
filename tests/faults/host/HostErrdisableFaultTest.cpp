// The errdisable file while others replace it, write it, take it away and put other things in its place.

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/ErrdisableFile.h"
#include "tests/host/HostProcess.h"
#include "tests/host/NetworkNamespace.h"

namespace {

/// Does something over and over beside the test.
class Meanwhile {
 public:
  template <class Work>
  explicit Meanwhile(Work work)
    : thread_([this, work] {
        while (!isOver_.load()) {
          work();
          ++times_;
        }
      }) {}
  ~Meanwhile() { stop(); }
  Meanwhile(Meanwhile const&) = delete;
  Meanwhile& operator=(Meanwhile const&) = delete;

  void stop() {
    isOver_.store(true);
    if (thread_.joinable()) {
      thread_.join();
    }
  }
  int times() const { return times_.load(); }

 private:
  std::atomic<bool> isOver_{false};
  std::atomic<int> times_{0};
  std::thread thread_;
};

/// A change that the program told: "a0: disabled (one) -> disabled (two)".
struct Told {
  std::string time;
  std::string name;
  std::string reason;  ///< the new one; empty when it is enabled
};

std::vector<Told> toldIn(std::string const& out) {
  std::vector<Told> all;
  std::istringstream lines(out);
  for (std::string line; std::getline(lines, line);) {
    std::size_t const colon = line.find(": ");
    std::size_t const arrow = line.find(" -> ");
    std::size_t const blank = line.find("  ");
    if (arrow == std::string::npos || colon > arrow || blank > colon) {
      continue;
    }
    std::string const after = line.substr(arrow + 4);
    std::size_t const open = after.find('(');
    all.push_back({line.substr(0, blank), line.substr(blank + 2, colon - blank - 2),
                   open == std::string::npos ? "" : after.substr(open + 1, after.size() - open - 2)});
  }
  return all;
}

std::vector<std::string> const links = {"a0", "a1", "b0", "b1", "c0", "c1"};

/// A list that gives every link the same reason, with many lines between them.
std::string listOf(int generation) {
  std::string const reason = " generation " + std::to_string(generation) + " is whole\n";
  std::string text;
  for (std::size_t at = 0; at < links.size(); ++at) {
    text += links[at] + reason;
    for (int filler = 0; filler < 3000; ++filler) {
      text += "filler" + std::to_string(at) + "/" + std::to_string(filler) + reason;
    }
  }
  return text;
}

class HostErrdisableFile : public VethTest {
 protected:
  void SetUp() override {
    enterWithPair();
    if (IsSkipped()) {
      return;
    }
    for (std::string const name : {"b", "c"}) {
      ip("link add name " + name + "0 type veth peer name " + name + "1");
      ip("link set " + name + "0 up");
      ip("link set " + name + "1 up");
    }
    for (std::string const& name : links) {
      ASSERT_TRUE(NetworkNamespace::becomesOperationally(name, "UP"));
    }
  }

  /// A new list under another name, renamed over.
  void replace(std::string const& text) const {
    scratch_.write("next", text);
    ASSERT_EQ(std::rename(scratch_.file("next").c_str(), scratch_.file("errdisable").c_str()), 0);
  }

  ScratchDirectory scratch_;
};

}  // namespace

TEST_F(HostErrdisableFile, ReplacedAllTheTimeIsAlwaysInForceAsAWhole) {
  std::string const file = scratch_.write("errdisable", listOf(0));
  HostProcess process({"live", "--follow", "--errdisable", file});
  ASSERT_TRUE(process.waitFor("7 interfaces: "));
  int generation = 0;
  {
    Meanwhile const writer([&] { replace(listOf(++generation)); });
    // So many lists are taken while the file never rests.
    for (std::size_t seen = process.out().size(), count = 0; count < 3; ++count) {
      ASSERT_TRUE(process.waitFor("c1: ", seen)) << process.out() << process.err();
      seen = process.out().size();
    }
  }
  replace(listOf(-1));
  ASSERT_TRUE(process.waitFor("-> disabled (generation -1 is whole)\n"));
  ASSERT_TRUE(process.waitFor("c1: "));
  process.signal(SIGINT);
  EXPECT_EQ(process.finish(), 0) << process.err();
  EXPECT_EQ(process.err(), "");
  // What is told at one time: all links, with one reason.
  std::map<std::string, std::vector<Told>> moments;
  for (Told const& told : toldIn(process.out())) {
    moments[told.time].push_back(told);
  }
  EXPECT_GE(moments.size(), 4U);
  for (auto const& [time, changes] : moments) {
    EXPECT_EQ(changes.size(), links.size()) << time << process.out();
    for (Told const& told : changes) {
      EXPECT_EQ(told.reason, changes.front().reason) << time;
      EXPECT_TRUE(told.reason.ends_with(" is whole")) << told.reason;
    }
  }
  RecordProperty("generations", generation);
}

TEST_F(HostErrdisableFile, WrittenInPlacePieceByPieceNeverHasHalfALineInForce) {
  constexpr unsigned seed = 9;
  std::string const file = scratch_.write("errdisable", listOf(0));
  HostProcess process({"live", "--follow", "--errdisable", file});
  ASSERT_TRUE(process.waitFor("7 interfaces: "));
  std::mt19937 random(seed);
  int generation = 0;
  {
    Meanwhile const writer([&] {
      std::ofstream out(file, std::ios::binary | std::ios::trunc);
      std::string const text = listOf(++generation);
      while (out.tellp() < static_cast<std::streamoff>(text.size())) {
        auto const at = static_cast<std::size_t>(out.tellp());
        std::size_t const piece = std::min<std::size_t>(random() % (text.size() / 2), text.size() - at);
        out.write(text.data() + at, static_cast<std::streamsize>(piece)).flush();
        ::usleep(static_cast<useconds_t>(random() % 300000));
      }
    });
    for (std::size_t seen = process.out().size(), count = 0; count < 3; ++count) {
      ASSERT_TRUE(process.waitFor("a0: ", seen)) << "seed " << seed << process.out() << process.err();
      seen = process.out().size();
    }
  }
  scratch_.write("errdisable", listOf(-1));
  ASSERT_TRUE(process.waitForMatch("c1: .* -> disabled \\(generation -1 is whole\\)\n"));
  process.signal(SIGINT);
  EXPECT_EQ(process.finish(), 0) << process.err();
  EXPECT_EQ(process.err(), "") << "no half line is met, so none is complained of";
  for (Told const& told : toldIn(process.out())) {
    EXPECT_TRUE(told.reason.empty() || told.reason.ends_with(" is whole")) << told.reason;
  }
}

TEST_F(HostErrdisableFile, WhateverIsPutInItsPlaceIsComplainedOfAndLeftAgain) {
  // Root reads everything, unless it gives that up.
  std::vector<std::string> program = {VARO_HOST_PROGRAM};
  if (::geteuid() == 0) {
    program.insert(program.begin(), {"setpriv", "--bounding-set=-dac_override,-dac_read_search"});
  }
  std::string const file = scratch_.write("errdisable", "a0 first\n");
  HostProcess process({"live", "--follow", "--errdisable", file}, "", false, program);
  ASSERT_TRUE(process.waitFor("7 interfaces: ")) << process.err();
  std::string before = "first";
  std::size_t said = 0;
  int round = 0;
  auto const recover = [&] {
    std::string const next = "recovered" + std::to_string(++round);
    replace("a0 " + next + "\n");
    ASSERT_TRUE(process.waitFor("a0: disabled (" + before + ") -> disabled (" + next + ")\n")) << process.out();
    before = next;
    said = process.err().size();
  };
  auto const expectComplaint = [&](std::string const& complaint) {
    ASSERT_TRUE(process.waitForError(file + ": " + complaint + "; what it said before stays in force\n", said))
        << process.err();
  };
  auto const putInPlace = [&] {
    ASSERT_EQ(std::rename(file.c_str(), scratch_.file("away").c_str()), 0);
    ASSERT_EQ(std::rename(scratch_.file("other").c_str(), file.c_str()), 0);
  };

  std::filesystem::create_directory(scratch_.file("other"));
  putInPlace();
  expectComplaint("not a regular file");
  ASSERT_EQ(::rmdir(file.c_str()), 0);
  recover();

  ASSERT_EQ(::mkfifo(scratch_.file("other").c_str(), 0600), 0);
  putInPlace();
  expectComplaint("not a regular file");
  recover();

  ASSERT_EQ(::chmod(file.c_str(), 0), 0);
  expectComplaint("cannot open: Permission denied");
  recover();

  ASSERT_EQ(::truncate(file.c_str(), 17 << 20), 0);
  expectComplaint("larger than 16 MiB");
  recover();

  ASSERT_EQ(::symlink("errdisable", scratch_.file("other").c_str()), 0);
  putInPlace();
  expectComplaint("cannot open: Too many levels of symbolic links");
  recover();

  ASSERT_EQ(::unlink(file.c_str()), 0);
  ASSERT_TRUE(process.waitForError(file + ": does not exist; no interface is error-disabled until it does\n", said));
  ASSERT_TRUE(process.waitFor("a0: disabled (" + before + ") -> enabled\n"));
  replace("a0 back\n");
  ASSERT_TRUE(process.waitFor("a0: enabled -> disabled (back)\n"));
  process.signal(SIGINT);
  EXPECT_EQ(process.finish(), 1) << "complaints show in the status";
  EXPECT_EQ(toldIn(process.out()).size(), 7U) << "the recoveries, the removal and the end of it, nothing else";
}

// The reading itself, without the time that the program lets pass.

TEST(ErrdisableFile, IsNeverReadInPartWhileOthersCutReplaceAndMakeItAnew) {
  using VaroHost::ErrdisableFile;
  ScratchDirectory const scratch;
  std::string const file = scratch.file("list");
  constexpr std::size_t cut = 100000;
  auto const whole = [](char letter) { return std::string(2 * cut, letter) + "\n"; };
  std::set<std::string> const allowed = {whole('a'), whole('b')};
  scratch.write("list", whole('a'));
  std::map<ErrdisableFile::Result, int> results;
  {
    Meanwhile const replacer([&] {
      scratch.write("next", whole('b'));
      std::rename(scratch.file("next").c_str(), file.c_str());
      // Cut, and away: the reader may have it open.
      if (::truncate(file.c_str(), cut) != 0) {
        std::abort();
      }
      ::unlink(file.c_str());
      scratch.write("next", whole('a'));
      std::rename(scratch.file("next").c_str(), file.c_str());
    });
    while (replacer.times() < 400) {
      auto const read = ErrdisableFile::read(file);
      ++results[read.result];
      if (read.result == ErrdisableFile::Result::text && read.text.size() != cut) {
        ASSERT_TRUE(allowed.contains(read.text)) << read.text.size();
      }
    }
  }
  EXPECT_GT(results[ErrdisableFile::Result::text], 0);
  EXPECT_EQ(results[ErrdisableFile::Result::refused], 0);
}
