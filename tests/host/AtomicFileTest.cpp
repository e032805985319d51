#include "host/AtomicFile.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/Trouble.h"

namespace {

using VaroHost::AtomicFile;
using VaroHost::Trouble;
namespace fs = std::filesystem;

/// A directory of its own that goes with the test.
class AtomicFileTest : public testing::Test {
 protected:
  AtomicFileTest() {
    std::string pattern = (fs::temp_directory_path() / "varo-atomic-XXXXXX").string();
    directory = ::mkdtemp(pattern.data());
  }
  ~AtomicFileTest() override { fs::remove_all(directory); }

  std::string path(char const* name) const { return (directory / name).string(); }
  static void write(std::string const& file, std::string const& text) {
    AtomicFile atomic(file);
    atomic.output().write(text);
    atomic.commit();
  }
  static std::string content(std::string const& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }
  std::size_t entries() const {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(directory), fs::directory_iterator()));
  }
  static std::string fault(std::string const& file) {
    try {
      write(file, "x");
      return "fine";
    } catch (Trouble const& trouble) {
      return trouble.what();
    }
  }

  fs::path directory;
};

TEST_F(AtomicFileTest, WritesANewFile) {
  write(path("a"), std::string(300000, 'x'));
  EXPECT_EQ(content(path("a")), std::string(300000, 'x'));
  EXPECT_EQ(entries(), 1U);
  mode_t const mask = ::umask(0);
  ::umask(mask);
  struct stat facts {};
  ASSERT_EQ(::stat(path("a").c_str(), &facts), 0);
  EXPECT_EQ(facts.st_mode & 0777U, 0666U & ~mask);
}

TEST_F(AtomicFileTest, ReplacesAFileAndKeepsItsPermissions) {
  write(path("a"), "old");
  ASSERT_EQ(::chmod(path("a").c_str(), 0640), 0);
  write(path("a"), "new");
  EXPECT_EQ(content(path("a")), "new");
  struct stat facts {};
  ASSERT_EQ(::stat(path("a").c_str(), &facts), 0);
  EXPECT_EQ(facts.st_mode & 0777U, 0640U);
}

TEST_F(AtomicFileTest, WithoutCommitNothingChanges) {
  write(path("a"), "old");
  {
    AtomicFile atomic(path("a"));
    atomic.output().write("new");
    atomic.output().flush();
    EXPECT_EQ(content(path("a")), "old");
  }
  EXPECT_EQ(content(path("a")), "old");
  EXPECT_EQ(entries(), 1U);
}

TEST_F(AtomicFileTest, WhatIsBeingWrittenHasNoNameUntilTheCommit) {
  // Whoever is killed meanwhile leaves nothing behind. Not every file system can do that.
  int const unnamed = ::open(directory.c_str(), O_TMPFILE | O_RDWR, 0600);
  if (unnamed < 0) {
    GTEST_SKIP() << "files without a name are not possible here";
  }
  ::close(unnamed);
  AtomicFile atomic(path("a"));
  atomic.output().write(std::string(300000, 'x'));
  atomic.output().flush();
  EXPECT_EQ(entries(), 0U);
  atomic.commit();
  EXPECT_EQ(content(path("a")), std::string(300000, 'x'));
  EXPECT_EQ(entries(), 1U);
}

TEST_F(AtomicFileTest, ACheckLeavesNoTrace) {
  AtomicFile::check(path("a"));
  EXPECT_EQ(entries(), 0U);
  write(path("a"), "old");
  AtomicFile::check(path("a"));
  EXPECT_EQ(content(path("a")), "old");
  EXPECT_EQ(entries(), 1U);
  EXPECT_THROW(AtomicFile::check(path("none/a")), Trouble);
  EXPECT_THROW(AtomicFile::check("/dev/null"), Trouble);
}

TEST_F(AtomicFileTest, ALinkKeepsPointing) {
  write(path("a"), "old");
  fs::create_symlink("a", path("link"));
  write(path("link"), "new");
  EXPECT_TRUE(fs::is_symlink(path("link")));
  EXPECT_EQ(content(path("a")), "new");
}

TEST_F(AtomicFileTest, ALinkToNothingKeepsPointing) {
  fs::create_directory(directory / "far");
  fs::create_symlink("far/middle", path("link"));
  fs::create_symlink(directory / "made", directory / "far" / "middle");
  write(path("link"), "new");
  EXPECT_TRUE(fs::is_symlink(path("link")));
  EXPECT_TRUE(fs::is_symlink(directory / "far" / "middle"));
  EXPECT_TRUE(fs::is_regular_file(path("made")));
  EXPECT_EQ(content(path("made")), "new");
}

TEST_F(AtomicFileTest, ALinkThatCannotBeFollowedIsTrouble) {
  fs::create_symlink("b", path("a"));
  fs::create_symlink("a", path("b"));
  EXPECT_EQ(fault(path("a")), path("a") + ": Too many levels of symbolic links");
  fs::create_symlink("none/c", path("c"));
  EXPECT_EQ(fault(path("c")), path("c") + ": No such file or directory");
  EXPECT_EQ(entries(), 3U);
}

TEST_F(AtomicFileTest, AReplacedFileKeepsItsOwnerAndGroup) {
  write(path("a"), "old");
  // Only root can have made it somebody else's.
  bool const isRoot = ::geteuid() == 0;
  uid_t const owner = isRoot ? 1234 : ::geteuid();
  gid_t const group = isRoot ? 2345 : ::getegid();
  ASSERT_EQ(::chown(path("a").c_str(), owner, group), 0);
  ASSERT_EQ(::chmod(path("a").c_str(), 0664), 0);
  write(path("a"), "new");
  struct stat facts {};
  ASSERT_EQ(::stat(path("a").c_str(), &facts), 0);
  EXPECT_EQ(facts.st_uid, owner);
  EXPECT_EQ(facts.st_gid, group);
  EXPECT_EQ(facts.st_mode & 0777U, 0664U);
  EXPECT_EQ(content(path("a")), "new");
}

TEST_F(AtomicFileTest, OnlyRegularFilesAreReplaced) {
  EXPECT_EQ(fault("/dev/null"), "/dev/null: not a regular file");
  EXPECT_EQ(fault(directory.string()), directory.string() + ": not a regular file");
  EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

TEST_F(AtomicFileTest, ErrorsNameFileAndReason) {
  EXPECT_EQ(fault(path("none/a")), path("none/a") + ": No such file or directory");
  write(path("a"), "old");
  EXPECT_EQ(fault(path("a/b")), path("a/b") + ": Not a directory");
  EXPECT_EQ(content(path("a")), "old");
}

TEST_F(AtomicFileTest, AFullDeviceLeavesTheOldFile) {
  write(path("a"), "old");
  // A limit on the size of files stands for a full device.
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
  rlimit const little{4096, before.rlim_max};
  auto* const handler = std::signal(SIGXFSZ, SIG_IGN);
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &little), 0);
  std::string said;
  try {
    write(path("a"), std::string(300000, 'x'));
  } catch (Trouble const& trouble) {
    said = trouble.what();
  }
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
  std::signal(SIGXFSZ, handler);
  EXPECT_EQ(said, path("a") + ": File too large");
  EXPECT_EQ(content(path("a")), "old");
  EXPECT_EQ(entries(), 1U);
}

}  // namespace
