#include "host/FileWatch.h"

#include <chrono>
#include <cstdio>
#include <fstream>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "HostProcess.h"
#include "host/LinkedPath.h"

using VaroHost::FileWatch;
using Content = FileWatch::Content;

namespace {

/// Real files in a directory of their own, and a watch on one path among them.
class FileWatchTest : public testing::Test {
 protected:
  /// Paths are below the scratch directory.
  std::string path(std::string const& name) const { return scratch_.file(name); }
  void write(std::string const& name, std::string const& text) const { scratch_.write(name, text); }
  void directory(std::string const& name) const { ASSERT_EQ(::mkdir(path(name).c_str(), 0777), 0); }
  void link(std::string const& target, std::string const& name) const {
    ASSERT_EQ(::symlink(target.c_str(), path(name).c_str()), 0);
  }
  void rename(std::string const& from, std::string const& to) const {
    ASSERT_EQ(std::rename(path(from).c_str(), path(to).c_str()), 0);
  }
  void remove(std::string const& name) const { ASSERT_EQ(std::remove(path(name).c_str()), 0); }
  /// Makes the link lead elsewhere in one step.
  void relink(std::string const& target, std::string const& name) const {
    link(target, "next-link");
    rename("next-link", name);
  }

  void watch(std::string const& name) { watchPath(path(name)); }
  void watchPath(std::string const& file) {
    watch_.emplace(loop_, file, [this, file](Content content) {
      contents_.push_back(content);
      text_ = readFile(file);
    });
  }

  /// Waits until a call of the watch finds that text in the file.
  bool becomes(std::string const& text) {
    return runUntil([&] { return !contents_.empty() && text_ == text; });
  }
  bool becomes(std::string const& text, Content content) {
    return runUntil([&] { return !contents_.empty() && text_ == text && contents_.back() == content; });
  }
  bool runUntil(std::function<bool()> const& isMet) {
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!isMet()) {
      if (std::chrono::steady_clock::now() > deadline) {
        return false;
      }
      loop_.run_one_for(std::chrono::milliseconds(100));
    }
    return true;
  }

  asio::io_context loop_;
  ScratchDirectory scratch_;
  std::optional<FileWatch> watch_;
  std::string text_;
  std::vector<Content> contents_;
};

}  // namespace

TEST_F(FileWatchTest, AFileMayBeMadeReplacedDeletedAndMadeAgain) {
  watch("list");
  write("list", "made");
  EXPECT_TRUE(becomes("made", Content::whole));
  write("other", "replaced");
  rename("other", "list");
  EXPECT_TRUE(becomes("replaced", Content::whole));
  remove("list");
  EXPECT_TRUE(becomes(""));
  write("list", "again");
  EXPECT_TRUE(becomes("again", Content::whole));
}

TEST_F(FileWatchTest, TheTargetOfALinkMayBeMovedAwayAndMadeAnew) {
  directory("far");
  write("far/target", "first");
  link("far/target", "list");
  watch("list");
  rename("far/target", "far/old");
  write("far/target", "second");
  EXPECT_TRUE(becomes("second"));
  write("far/new", "third");
  rename("far/new", "far/target");
  EXPECT_TRUE(becomes("third"));
  remove("far/target");
  EXPECT_TRUE(becomes(""));
  write("far/target", "fourth");
  EXPECT_TRUE(becomes("fourth"));
}

TEST_F(FileWatchTest, EveryLinkOfAChainMayBeSwitched) {
  for (std::string const name : {"a", "b", "c"}) {
    directory(name);
  }
  write("c/one", "one");
  write("c/two", "two");
  link("../c/one", "b/middle");
  link(path("b/middle"), "a/list");
  watch("a/list");
  relink("../c/two", "b/middle");
  EXPECT_TRUE(becomes("two"));
  write("c/two", "two again");
  EXPECT_TRUE(becomes("two again"));
  relink("../c/one", "a/list");
  EXPECT_TRUE(becomes("one"));
  write("c/one", "one again");
  EXPECT_TRUE(becomes("one again"));
  remove("a/list");
  link("../c/two", "a/list");
  EXPECT_TRUE(becomes("two again"));
}

TEST_F(FileWatchTest, ALinkedDirectoryMayBeSwitched) {
  directory("v1");
  directory("v2");
  write("v1/list", "first");
  write("v2/list", "second");
  link("v1", "current");
  link("current/list", "list");
  watch("list");
  relink("v2", "current");
  EXPECT_TRUE(becomes("second"));
  write("v2/list", "third");
  EXPECT_TRUE(becomes("third"));
}

TEST_F(FileWatchTest, ADirectoryOnTheWayMayBeExchanged) {
  directory("etc");
  directory("etc/varo");
  write("etc/varo/list", "first");
  watch("etc/varo/list");
  rename("etc", "old");
  EXPECT_TRUE(becomes(""));
  directory("etc");
  directory("etc/varo");
  write("etc/varo/list", "second");
  EXPECT_TRUE(becomes("second"));
}

TEST_F(FileWatchTest, WhatALinkLeadsToMayComeLater) {
  link("later/deep/target", "list");
  watch("list");
  directory("later");
  directory("later/deep");
  write("later/deep/target", "there");
  EXPECT_TRUE(becomes("there"));
}

TEST_F(FileWatchTest, LinksInACircleMayBeMended) {
  link("b", "a");
  link("a", "b");
  watch("a");
  write("target", "mended");
  relink("target", "b");
  EXPECT_TRUE(becomes("mended"));
}

TEST_F(FileWatchTest, AFileMayBeWrittenUnderAnotherOfItsNames) {
  directory("far");
  write("list", "first");
  ASSERT_EQ(::link(path("list").c_str(), path("far/name").c_str()), 0);
  watch("list");
  write("far/name", "second");
  EXPECT_TRUE(becomes("second"));
}

TEST_F(FileWatchTest, ARelativePathIsFollowed) {
  char before[4096];
  ASSERT_NE(::getcwd(before, sizeof before), nullptr);
  ASSERT_EQ(::chdir(path("").c_str()), 0);
  directory("far");
  watchPath("list");
  link("far/target", "list");
  write("far/target", "first");
  EXPECT_TRUE(becomes("first"));
  write("far/target", "second");
  EXPECT_TRUE(becomes("second"));
  ASSERT_EQ(::chdir(before), 0);
}

TEST_F(FileWatchTest, AnOpenFileIsToldAsUnfinishedUntilItIsClosed) {
  write("list", "first\n");
  watch("list");
  std::ofstream writer(path("list"), std::ios::app);
  writer << "sec" << std::flush;
  EXPECT_TRUE(becomes("first\nsec", Content::beingWritten));
  writer << "ond\n" << std::flush;
  EXPECT_TRUE(becomes("first\nsecond\n", Content::beingWritten));
  writer.close();
  EXPECT_TRUE(becomes("first\nsecond\n", Content::whole));
  writer.open(path("list"), std::ios::trunc);
  EXPECT_TRUE(becomes("", Content::beingWritten));
  writer << "third" << std::flush;
  writer.close();
  EXPECT_TRUE(becomes("third", Content::whole));
}

TEST_F(FileWatchTest, AFileThatIsJustMadeIsUnfinished) {
  watch("list");
  std::ofstream writer(path("list"));
  EXPECT_TRUE(becomes("", Content::beingWritten));
  writer.close();
  EXPECT_TRUE(becomes("", Content::whole));
}

TEST_F(FileWatchTest, AFileThatIsWrittenAllTheTimeIsToldOf) {
  write("list", "");
  watch("list");
  std::ofstream writer(path("list"), std::ios::app);
  EXPECT_TRUE(runUntil([&] {
    writer << "more\n" << std::flush;
    return contents_.size() >= 2;
  }));
  EXPECT_EQ(contents_, (std::vector<Content>{Content::beingWritten, Content::beingWritten}));
}

TEST_F(FileWatchTest, AFileThatBecomesReadableIsToldOf) {
  write("list", "first");
  ASSERT_EQ(::chmod(path("list").c_str(), 0), 0);
  watch("list");
  ASSERT_EQ(::chmod(path("list").c_str(), 0644), 0);
  EXPECT_TRUE(becomes("first", Content::whole));
  write("list", "second");
  EXPECT_TRUE(becomes("second", Content::whole));
}

TEST_F(FileWatchTest, ADirectoryThatMayBeSearchedAgainIsToldOf) {
  directory("a");
  write("a/list", "first");
  link("a/list", "list");
  ASSERT_EQ(::chmod(path("a").c_str(), 0), 0);
  watch("list");
  ASSERT_EQ(::chmod(path("a").c_str(), 0755), 0);
  EXPECT_TRUE(becomes("first"));
  write("a/list", "second");
  EXPECT_TRUE(becomes("second"));
}

TEST_F(FileWatchTest, OtherPermissionsFinishNoFile) {
  write("list", "first\n");
  watch("list");
  std::ofstream writer(path("list"), std::ios::app);
  writer << "sec" << std::flush;
  EXPECT_TRUE(becomes("first\nsec", Content::beingWritten));
  contents_.clear();
  ASSERT_EQ(::chmod(path("list").c_str(), 0600), 0);
  EXPECT_TRUE(becomes("first\nsec", Content::beingWritten));
}

TEST_F(FileWatchTest, OtherFilesOfTheDirectoryAreNoConcern) {
  write("list", "first");
  watch("list");
  write("other", "x");
  write("list2", "x");
  write("lis", "x");
  // Time for a call, if one were to come.
  loop_.run_for(std::chrono::milliseconds(500));
  EXPECT_EQ(contents_, std::vector<Content>{});
  write("list", "second");
  EXPECT_TRUE(becomes("second"));
}

TEST_F(FileWatchTest, AMissingDirectoryIsTroubleAtTheStart) { EXPECT_THROW(watch("none/list"), std::runtime_error); }

TEST_F(FileWatchTest, TheWalkTellsEachPlaceOnTheWay) {
  directory("a");
  directory("a/d");
  link("../b", "a/d/list");
  link(path("a/d/../c"), "a/b");
  write("a/c", "");
  std::string const root = path("");
  std::vector<std::string> places;
  VaroHost::walkLinkedPath(path("a//./d/list"), [&](std::string const& in, std::string const& name) {
    if (in.starts_with(root)) {
      places.push_back(in.substr(root.size()) + "|" + name);
    }
  });
  EXPECT_EQ(places, (std::vector<std::string>{"|a", "a/|d", "a/d/|list", "a/d/../|b", "|a", "a/|d", "a/d/../|c"}));
}

TEST_F(FileWatchTest, TheWalkEndsInACircleAndWhereNothingIs) {
  link("loop", "loop");
  int count = 0;
  std::string const root = path("");
  auto const countBelow = [&](std::string const& in, std::string const&) { count += in.starts_with(root) ? 1 : 0; };
  VaroHost::walkLinkedPath(path("loop"), countBelow);
  EXPECT_EQ(count, VaroHost::maxLinks + 1);
  count = 0;
  VaroHost::walkLinkedPath(path("none/more"), countBelow);
  EXPECT_EQ(count, 1);
}
