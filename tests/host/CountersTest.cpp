#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "HostProcess.h"
#include "SharedObject.h"
#include "TerminalProcess.h"
#include "Zon/Ptr.h"
#include "support/ChildProcess.h"
#include "support/PrivateMount.h"

// The managers live in the test, the command reads them from a process of its own.

namespace {

using nlohmann::json;
using Pelto::ShmemMan;

class Counters : public testing::Test {
 protected:
  Zon::Ptr<ShmemMan> manager(std::string const& word) { return Zon::newPtr<ShmemMan>(objects_.name(word)); }

  /// The two objects most tests read.
  void SetUp() override {
    interfaces_ = manager("card.intf");
    SharedObjects::set(*interfaces_, "Ethernet10-drops", 7);
    SharedObjects::set(*interfaces_, "Ethernet2-drops", 18446744073709551615U);
    queues_ = manager("card.queue");
    SharedObjects::set(*queues_, "Ethernet2-10-drops", 3);
    SharedObjects::set(*queues_, "Ethernet2-9-drops", 4);
  }

  std::string prefix() const { return objects_.prefix(); }

  /// Where it is not permitted, objects that other programs damage meanwhile may be seen.
  Support::PrivateMount const sharedMemory_{"/dev/shm", "size=16m"};
  SharedObjects objects_;
  Zon::Ptr<ShmemMan> interfaces_;
  Zon::Ptr<ShmemMan> queues_;
};

/// "object block value" of each row, in order.
std::string rowsOf(std::string const& document) {
  std::string rows;
  json const parsed = json::parse(document);
  for (auto const& object : parsed.at("varo:counters").at("object")) {
    for (auto const& block : object.at("block")) {
      rows += object.at("name").get<std::string>() + " " + block.at("name").get<std::string>() + " " +
              std::to_string(block.at("value").get<std::uint64_t>()) + "\n";
    }
  }
  return rows;
}

void replaceAll(std::string& text, std::string const& what, std::string const& by) {
  for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size()) {
    text.replace(at, what.size(), by);
  }
}

}  // namespace

TEST_F(Counters, TheTableListsObjectsAndBlocksInNaturalOrder) {
  auto const result = runHost({"counters", prefix() + "card"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.err, "");
  std::string out = result.out;
  replaceAll(out, prefix(), "");
  replaceAll(out, "Object" + std::string(prefix().size(), ' '), "Object");
  EXPECT_EQ(out, "Object      Block                              Value\n"
                 "card.intf   Ethernet2-drops     18446744073709551615\n"
                 "card.intf   Ethernet10-drops                       7\n"
                 "card.queue  Ethernet2-9-drops                      4\n"
                 "card.queue  Ethernet2-10-drops                     3\n"
                 "\n2 objects, 4 blocks\n");
}

TEST_F(Counters, JsonHoldsTheSameExactly) {
  auto const result = runHost({"counters", "--json", prefix() + "card"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(rowsOf(result.out), prefix() + "card.intf Ethernet2-drops 18446744073709551615\n" + prefix() +
                                    "card.intf Ethernet10-drops 7\n" + prefix() + "card.queue Ethernet2-9-drops 4\n" +
                                    prefix() + "card.queue Ethernet2-10-drops 3\n");
}

TEST_F(Counters, BlocksOfAnEndedMakerAreStillThere) {
  std::string const name = objects_.name("ended");
  Support::ChildProcess child([&]() -> int {
    auto const maker = Zon::newPtr<ShmemMan>(name);
    SharedObjects::set(*maker, "left", 99);
    Support::ChildProcess::leave(0);  // without a word to the object
  });
  EXPECT_EQ(child.finish(), 0);
  EXPECT_EQ(rowsOf(runHost({"counters", "--json", name}).out), name + " left 99\n");
}

TEST_F(Counters, AnExactNameIsNoPrefix) {
  SharedObjects::set(*manager("card"), "x", 1);
  EXPECT_EQ(rowsOf(runHost({"counters", "--json", prefix() + "card"}).out), prefix() + "card x 1\n");
}

TEST_F(Counters, APatternMeansTheWholeNameOfManagersOrBlocks) {
  std::string const drops = prefix() + "only-*";
  SharedObjects::set(*interfaces_, prefix() + "only-a/b", 1);
  SharedObjects::set(*queues_, prefix() + "only-c", 2);
  SharedObjects::set(*queues_, prefix() + "onlyd", 3);
  EXPECT_EQ(rowsOf(runHost({"counters", "--json", drops}).out),
            prefix() + "card.intf " + prefix() + "only-a/b 1\n" + prefix() + "card.queue " + prefix() + "only-c 2\n");
  EXPECT_EQ(rowsOf(runHost({"counters", "--json", prefix() + "*.queu[d-e]"}).out).find("intf "), std::string::npos);
}

TEST_F(Counters, ABlockIsFoundByItsNameOrItsBeginning) {
  SharedObjects::set(*interfaces_, prefix() + "b1", 1);
  SharedObjects::set(*interfaces_, prefix() + "b10", 2);
  EXPECT_EQ(rowsOf(runHost({"counters", "--json", prefix() + "b1"}).out),
            prefix() + "card.intf " + prefix() + "b1 1\n");
  auto const begun = runHost({"counters", prefix() + "b"});
  EXPECT_NE(begun.out.find("1 object, 2 of 4 blocks\n"), std::string::npos) << begun.out;
}

TEST_F(Counters, ANameOfNothingIsAnErrorAndTheOthersAreShown) {
  auto const result = runHost({"counters", prefix() + "nothing", prefix() + "card.queue"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "varo-host: " + prefix() + "nothing: no object and no block has that name\n");
  EXPECT_NE(result.out.find("1 object, 2 blocks\n"), std::string::npos) << result.out;
}

TEST_F(Counters, AnAlienFileIsNamedWhenAskedFor) {
  std::string const name = objects_.name("alien");
  std::ofstream(SharedObjects::path(name))
      << "something else altogether, long enough to hold a header of 64 bytes.....";
  auto const result = runHost({"counters", name});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "varo-host: " + name + ": it is not a counter object\n");
  std::string const missing = runHost({"counters", prefix() + "alienate"}).err;
  EXPECT_EQ(missing, "varo-host: " + prefix() + "alienate: no object and no block has that name\n");
}

TEST_F(Counters, NamesArePrintedOnOneLineEach) {
  std::string const name = objects_.name("odd");
  auto const odd = Zon::newPtr<ShmemMan>(name);
  SharedObjects::set(*odd, Zon::String8(std::string_view("a\0b\n\x1b[31m\xff", 10)), 5);
  SharedObjects::set(*odd, Zon::String8(std::string(4096, 'x')), 6);
  SharedObjects::set(*odd, "", 7);
  auto const result = runHost({"counters", name});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_NE(result.out.find("  a\\x00b\\x0a\\x1b[31m\\xff "), std::string::npos) << result.out;
  EXPECT_NE(result.out.find(std::string(4096, 'x') + "      6\n"), std::string::npos) << result.out;
  EXPECT_EQ(result.out.find("\n\n"), result.out.rfind('\n', result.out.size() - 2) - 1) << result.out;
  EXPECT_EQ(json::parse(runHost({"counters", "--json", name}).out)["varo:counters"]["object"][0]["block"].size(), 3U);
}

TEST_F(Counters, ADamagedObjectIsAnErrorByNameAndTheOthersAreShown) {
  auto const check = [&](std::string const& word, std::uint64_t at, std::string const& bytes,
                         std::string const& fault) {
    auto const damaged = manager(word);
    SharedObjects::set(*damaged, "x", 1);
    SharedObjects::overwrite(objects_.name(word), at, bytes);
    auto const result = runHost({"counters", prefix()});
    EXPECT_EQ(result.status, 1) << word;
    EXPECT_EQ(result.err, "varo-host: " + prefix() + word + ": " + fault + "\n");
    EXPECT_NE(result.out.find("Ethernet2-drops"), std::string::npos) << result.out;
    ShmemMan::unlink(objects_.name(word));
  };
  std::string const ones(4, '\xff');
  check("version", 8, std::string("\2\0\0\0", 4), "its version is 2");
  check("header-size", 12, ones, "its sizes are not ours");
  check("capacity", 16, std::string(8, '\0'), "its header is damaged");
  check("used", 32, ones + ones, "its header is damaged");
  check("count", 44, ones, "its records are damaged");
  check("record-size", 64, ones, "its records are damaged");
  check("name-length", 68, ones, "its records are damaged");
}

TEST_F(Counters, ADamagedObjectIsANoteToABlockThatIsFoundInAnother) {
  auto const damaged = manager("other");
  SharedObjects::set(*damaged, "x", 1);
  SharedObjects::overwrite(objects_.name("other"), 64, "damage");
  SharedObjects::set(*interfaces_, prefix() + "block", 5);
  std::string const note = "varo-host: " + prefix() + "other: its records are damaged; what it holds is not known\n";
  auto const found = runHost({"counters", "--json", prefix() + "block"});
  EXPECT_EQ(found.status, 0);
  EXPECT_EQ(found.err, note);
  EXPECT_EQ(rowsOf(found.out), prefix() + "card.intf " + prefix() + "block 5\n");
  auto const table = runHost({"counters", prefix() + "block"});
  EXPECT_NE(table.out.find("1 object, 1 of 3 blocks\n"), std::string::npos) << table.out;
  auto const unknown = runHost({"counters", prefix() + "nowhere"});
  EXPECT_EQ(unknown.status, 1);
  EXPECT_EQ(unknown.err, "varo-host: " + prefix() + "nowhere: no object and no block has that name\n" + note);
  auto const itself = runHost({"counters", prefix() + "other"});
  EXPECT_EQ(itself.status, 1);
  EXPECT_EQ(itself.err, "varo-host: " + prefix() + "other: its records are damaged\n");
}

TEST_F(Counters, TwoBlocksOfOneNameAreDamage) {
  auto const damaged = manager("double");
  SharedObjects::set(*damaged, "x", 1);
  SharedObjects::set(*damaged, "y", 2);
  SharedObjects::overwrite(objects_.name("double"), 64 + 128 + 8, "x");
  auto const result = runHost({"counters", prefix() + "double"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "varo-host: " + prefix() + "double: two of its blocks have one name\n");
}

TEST_F(Counters, TruncatedObjectsAreErrors) {
  std::string const name = objects_.name("cut");
  for (off_t const size : {16, 64, 100, 192, 200}) {
    auto const cut = Zon::newPtr<ShmemMan>(name);
    SharedObjects::set(*cut, "x", 1);
    SharedObjects::set(*cut, "y", 1);
    ASSERT_EQ(::truncate(SharedObjects::path(name).c_str(), size), 0);
    auto const result = runHost({"counters", name});
    EXPECT_EQ(result.status, 1) << size;
    EXPECT_EQ(result.err, "varo-host: " + name + (size < 64 ? ": it has no header\n" : ": its header is damaged\n"));
    ShmemMan::unlink(name);
  }
}

// Another process truncates, overwrites and restores the object all the time while it is watched.
TEST_F(Counters, AMakerThatTearsTheObjectApartStopsNobody) {
  std::string const name = objects_.name("torn");
  auto const torn = Zon::newPtr<ShmemMan>(name);
  for (int at = 0; at < 3000; ++at) {
    SharedObjects::set(*torn, "block" + std::to_string(at), 1);
  }
  std::string const whole = readFile(SharedObjects::path(name));
  Support::ChildProcess vandal([&] {
    for (unsigned turn = 0;; ++turn) {
      std::uint64_t const size = turn * 7919U % whole.size();
      if (::truncate(SharedObjects::path(name).c_str(), static_cast<off_t>(size)) != 0) {
        return 1;
      }
      SharedObjects::overwrite(name, turn * 104729U % whole.size(), std::string(500, static_cast<char>(turn)));
      SharedObjects::overwrite(name, 0, whole);
    }
  });
  {
    HostProcess process({"counters", "--watch", "--json", "--interval", "0.01", "--duration", "1.5", prefix() + "card",
                         prefix() + "torn"});
    int const status = process.finish();
    EXPECT_TRUE(status == 0 || status == 1) << status << process.err();
    EXPECT_NE(process.out().find("Ethernet2-drops"), std::string::npos);
  }
  vandal.kill();
}

TEST_F(Counters, WatchingShowsTheTableAndThenWhatChanges) {
  HostProcess process({"counters", "--watch", "--interval", "0.02", prefix()});
  ASSERT_TRUE(process.waitFor("2 objects, 4 blocks\n"));
  std::size_t const before = process.out().size();
  SharedObjects::set(*interfaces_, "Ethernet10-drops", 8);
  EXPECT_TRUE(process.waitFor("card.intf  Ethernet10-drops  8\n", before));
  SharedObjects::set(*interfaces_, "Ethernet11-drops", 0);
  EXPECT_TRUE(process.waitFor("card.intf  Ethernet11-drops  0\n", before)) << "a new block";
  SharedObjects::set(*manager("later"), "x", 5);
  EXPECT_TRUE(process.waitFor("later: added\n", before));
  EXPECT_TRUE(process.waitFor("later  x  5\n", before));
  ShmemMan::unlink(objects_.name("card.queue"));
  EXPECT_TRUE(process.waitFor("card.queue: gone\n", before));
  ShmemMan::unlink(objects_.name("later"));
  SharedObjects::set(*manager("later"), "x", 5);
  EXPECT_TRUE(process.waitFor("later: added\n", process.out().find("card.queue: gone\n"))) << "another of that name";
  process.signal(SIGINT);
  EXPECT_EQ(process.finish(), 0) << process.err();
  EXPECT_EQ(process.out().find("Ethernet2-drops", before), std::string::npos) << "it has not changed";
}

TEST_F(Counters, WatchingInJsonIsADocumentALine) {
  HostProcess process({"counters", "--watch", "--json", "--interval", "0.02", prefix() + "card.intf"});
  ASSERT_TRUE(process.waitFor("Ethernet10-drops"));
  SharedObjects::set(*interfaces_, "Ethernet10-drops", 8);
  ASSERT_TRUE(process.waitFor("\"value\": 8}"));
  ShmemMan::unlink(objects_.name("card.intf"));
  ASSERT_TRUE(process.waitFor("\"present\": false"));
  process.signal(SIGTERM);
  EXPECT_EQ(process.finish(), 0) << process.err();
  std::istringstream lines(process.out());
  std::string seen;
  for (std::string line; std::getline(lines, line);) {
    auto const document = json::parse(line);
    if (document.contains("varo:counter")) {
      auto const& counter = document["varo:counter"];
      EXPECT_EQ(counter["object"], prefix() + "card.intf");
      EXPECT_TRUE(counter["time"].is_number());
      seen += counter["block"].get<std::string>() + "=" + std::to_string(counter["value"].get<std::uint64_t>()) + " ";
    } else {
      seen += document["varo:object"]["present"].get<bool>() ? "came " : "went ";
    }
  }
  EXPECT_EQ(seen, "Ethernet2-drops=18446744073709551615 Ethernet10-drops=7 Ethernet10-drops=8 went ");
}

TEST_F(Counters, ADamagedObjectIsNothingToANameThatHasShownAnother) {
  SharedObjects::set(*manager("other"), "x", 1);
  HostProcess process({"counters", "--watch", "--interval", "0.02", prefix() + "card.intf"});
  ASSERT_TRUE(process.waitFor("1 object, 2 blocks\n"));
  SharedObjects::overwrite(objects_.name("other"), 64, "damage");
  ShmemMan::unlink(objects_.name("card.intf"));
  ASSERT_TRUE(process.waitFor("card.intf: gone\n"));
  process.signal(SIGINT);
  EXPECT_EQ(process.finish(), 0) << process.err();
  EXPECT_EQ(process.err(), "");
}

TEST_F(Counters, WhatIsDamagedWhileItIsWatchedIsSaidOnce) {
  HostProcess process({"counters", "--watch", "--interval", "0.02", prefix()});
  ASSERT_TRUE(process.waitFor("2 objects, 4 blocks\n"));
  SharedObjects::overwrite(objects_.name("card.queue"), 64, "damage");
  EXPECT_TRUE(process.waitForError("card.queue: its records are damaged\n"));
  SharedObjects::set(*interfaces_, "Ethernet10-drops", 8);
  EXPECT_TRUE(process.waitFor("Ethernet10-drops  8\n"));
  SharedObjects::set(*interfaces_, "Ethernet10-drops", 9);
  EXPECT_TRUE(process.waitFor("Ethernet10-drops  9\n"));
  process.signal(SIGINT);
  EXPECT_EQ(process.finish(), 1);
  EXPECT_EQ(process.err(), "varo-host: " + prefix() + "card.queue: its records are damaged\n");
}

TEST_F(Counters, ANameThatComesLaterIsWaitedFor) {
  std::string const name = objects_.name("late");
  HostProcess process({"counters", "--watch", "--interval", "0.02", name});
  ASSERT_TRUE(process.waitForError(name + ": no object and no block has that name\n"));
  SharedObjects::set(*manager("late"), "x", 5);
  EXPECT_TRUE(process.waitFor("late  x  5\n"));
  process.signal(SIGINT);
  EXPECT_EQ(process.finish(), 0);
}

TEST_F(Counters, AReaderThatGoesEndsTheWatch) {
  HostProcess process({"counters", "--watch", "--interval", "0.02", prefix()});
  ASSERT_TRUE(process.waitFor("2 objects, 4 blocks\n"));
  process.closeOutput();
  SharedObjects::set(*interfaces_, "Ethernet10-drops", 8);
  EXPECT_EQ(process.finish(), 0) << process.err();
}

TEST_F(Counters, OnATerminalTheTableIsRedrawnAndCutToItsSize) {
  auto const many = manager("many");
  for (int at = 0; at < 30; ++at) {
    SharedObjects::set(*many, "b" + std::to_string(at), 0);
  }
  TerminalProcess process({"counters", "--watch", "--interval", "0.02", prefix() + "many"}, 12);
  ASSERT_TRUE(process.waitFor("... and "));
  ASSERT_TRUE(process.waitFor("1 object, 30 blocks\r\n"));
  SharedObjects::set(*many, "b0", 12345);
  ASSERT_TRUE(process.waitFor(" 12345\r\n"));
  process.type("\x03");
  EXPECT_EQ(process.finish(), 0);
  std::string const clear = "\x1b[H\x1b[J";
  std::size_t const last = process.screen().rfind(clear);
  ASSERT_NE(last, std::string::npos);
  std::string const first = process.screen().substr(clear.size(), process.screen().find(clear, 1) - clear.size());
  EXPECT_EQ(std::count(first.begin(), first.end(), '\n'), 11) << first;
}

TEST_F(Counters, UnlinkRemovesWhatWasConfirmed) {
  auto const result = runHost({"counters", "--unlink", "--yes", prefix() + "card"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, prefix() + "card.intf: removed\n" + prefix() + "card.queue: removed\n");
  EXPECT_FALSE(ShmemMan::unlink(prefix() + "card.intf"));
  SharedObjects::set(*interfaces_, "Ethernet2-drops", 5);  // whoever has it open goes on
}

TEST_F(Counters, UnlinkRemovesDamagedObjectsButNoOthers) {
  SharedObjects::overwrite(objects_.name("card.intf"), 8, std::string(50, '\xff'));
  std::string const alien = objects_.name("card.alien");
  std::ofstream(SharedObjects::path(alien)) << "not ours";
  auto const result = runHost({"counters", "--unlink", "--yes", prefix() + "card"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, prefix() + "card.intf: removed\n" + prefix() + "card.queue: removed\n");
  EXPECT_TRUE(std::filesystem::exists(SharedObjects::path(alien)));
}

TEST_F(Counters, UnlinkTakesNamesOfManagersOnly) {
  SharedObjects::set(*interfaces_, prefix() + "block", 5);
  auto const result = runHost({"counters", "--unlink", "--yes", prefix() + "block"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "nothing to remove\n");
  EXPECT_EQ(result.err, "varo-host: " + prefix() + "block: no object has that name\n");
  EXPECT_TRUE(std::filesystem::exists(SharedObjects::path(prefix() + "card.intf")));
}

TEST_F(Counters, UnlinkWithoutATerminalAndWithoutYesRemovesNothing) {
  auto const result = runHost({"counters", "--unlink", prefix() + "card"}, "y\n");
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err, "varo-host: --unlink: there is no terminal to ask on; --yes removes without asking\n");
  EXPECT_TRUE(std::filesystem::exists(SharedObjects::path(prefix() + "card.intf")));
}

TEST_F(Counters, UnlinkAsksOnTheTerminal) {
  for (std::string const& no : {std::string("n\n"), std::string("\n"), std::string("yesterday\n"), std::string("\4")}) {
    TerminalProcess process({"counters", "--unlink", prefix() + "card"});
    ASSERT_TRUE(process.waitFor("Remove them? [y/N] ")) << process.screen();
    EXPECT_NE(process.screen().find("card.intf: 2 blocks\r\n"), std::string::npos) << process.screen();
    process.type(no);
    EXPECT_EQ(process.finish(), 0);
    EXPECT_NE(process.screen().find("nothing removed\r\n"), std::string::npos) << process.screen();
    EXPECT_TRUE(std::filesystem::exists(SharedObjects::path(prefix() + "card.intf")));
  }
  TerminalProcess process({"counters", "--unlink", prefix() + "card"});
  ASSERT_TRUE(process.waitFor("Remove them? [y/N] "));
  process.type("y\n");
  EXPECT_EQ(process.finish(), 0);
  EXPECT_NE(process.screen().find("card.queue: removed\r\n"), std::string::npos) << process.screen();
  EXPECT_FALSE(std::filesystem::exists(SharedObjects::path(prefix() + "card.intf")));
}

TEST_F(Counters, AnObjectThatTookTheNameMeanwhileIsNotRemoved) {
  TerminalProcess process({"counters", "--unlink", prefix() + "card.intf"});
  ASSERT_TRUE(process.waitFor("Remove them? [y/N] "));
  ShmemMan::unlink(prefix() + "card.intf");
  auto const other = manager("card.intf");
  process.type("y\n");
  EXPECT_EQ(process.finish(), 1);
  EXPECT_TRUE(std::filesystem::exists(SharedObjects::path(prefix() + "card.intf")));
}

TEST_F(Counters, WrongUsageIsTrouble) {
  for (auto const& words : std::vector<std::vector<std::string>>{{"--interval", "1"},
                                                                 {"--watch", "--interval", "0"},
                                                                 {"--watch", "--interval", "nan"},
                                                                 {"--watch", "--duration", "-1"},
                                                                 {"--yes"},
                                                                 {"--unlink", "--watch"},
                                                                 {"--unlink", "--json"},
                                                                 {"--duration", "1"}}) {
    std::vector<std::string> arguments = {"counters", prefix()};
    arguments.insert(arguments.end(), words.begin(), words.end());
    EXPECT_EQ(runHost(arguments).status, 2) << words.back();
  }
  EXPECT_TRUE(std::filesystem::exists(SharedObjects::path(prefix() + "card.intf")));
}

// With a /dev/shm of its own, so that nobody else's objects count.

TEST(CountersOfAll, WithoutANameAllManagersAreShownAndOtherFilesPassedBy) {
  Support::PrivateMount const sharedMemory("/dev/shm", "size=16m");
  if (!sharedMemory.reason().empty()) {
    return Support::Namespace::refuse(sharedMemory.reason());
  }
  EXPECT_EQ(runHost({"counters"}).out, "Object  Block  Value\n\n0 objects, 0 blocks\n");
  EXPECT_EQ(runHost({"counters", "--json"}).out, "{\n  \"varo:counters\": {\n    \"object\": []\n  }\n}\n");

  SharedObjects::set(*Zon::newPtr<ShmemMan>("slash/and blank"), "x", 1);
  SharedObjects::set(*Zon::newPtr<ShmemMan>(std::string(254, 'n')), "x", 2);
  auto const priv = Zon::newPtr<ShmemMan>();
  SharedObjects::set(*priv, "private", 3);
  std::ofstream("/dev/shm/alien") << "alien";
  std::ofstream("/dev/shm/empty");
  std::filesystem::copy("/dev/shm/slash%2Fand%20blank", "/dev/shm/no manager's name");
  std::filesystem::copy("/dev/shm/slash%2Fand%20blank", "/dev/shm/slash%2fand%20blank");
  std::filesystem::create_symlink("slash%2Fand%20blank", "/dev/shm/link");
  std::filesystem::create_directory("/dev/shm/directory");
  ASSERT_EQ(::mkfifo("/dev/shm/pipe", 0600), 0);

  auto const result = runHost({"counters", "--json"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(rowsOf(result.out), std::string(254, 'n') + " x 2\nslash/and blank x 1\n");

  SharedObjects::overwrite("slash/and blank", 16, std::string(8, '\0'));
  auto const damaged = runHost({"counters"});
  EXPECT_EQ(damaged.status, 1);
  EXPECT_EQ(damaged.err, "varo-host: slash/and blank: its header is damaged\n");
  EXPECT_EQ(runHost({"counters", std::string(254, 'n')}).status, 0) << "nobody asked for the damaged one";
}
