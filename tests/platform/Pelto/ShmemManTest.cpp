#include "platform/Pelto/ShmemMan.h"

#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Zon/Exception.h"
#include "support/ChildProcess.h"

namespace {

using Pelto::CounterBlock;
using Pelto::ShmemMan;
using Pelto::ShmemObject;
using Support::ChildProcess;
using Zon::Ptr;
using Zon::String8;

/// A fresh object name for each test, unlinked at its end.
class ShmemManTest : public testing::Test {
 protected:
  ShmemManTest() : name_("VaroTest-" + std::to_string(::getpid()) + "-" + std::to_string(++serial)) {}
  ~ShmemManTest() override { ShmemMan::unlink(name_); }

  Ptr<ShmemMan> make(std::uint64_t capacity = ShmemMan::defaultCapacity) {
    return Zon::newPtr<ShmemMan>(name_, capacity);
  }

  /// Runs the body in a child process, whose status is 0 when it answers true.
  static ChildProcess start(std::function<bool()> const& body) {
    return ChildProcess([&] { return body() ? 0 : 1; });
  }
  static void inChild(std::function<bool()> const& body) { EXPECT_EQ(start(body).finish(), 0); }

  /// The object's bytes, for tests that play another writer.
  struct Raw {
    explicit Raw(String8 const& name) {
      fd = ::shm_open(ShmemObject::objectName(name).c_str(), O_RDWR, 0);
      EXPECT_GE(fd, 0);
    }
    Raw(Raw const&) = delete;
    Raw& operator=(Raw const&) = delete;
    ~Raw() { ::close(fd); }

    ShmemObject::Header header() const {
      ShmemObject::Header out{};
      EXPECT_EQ(::pread(fd, &out, sizeof out, 0), static_cast<ssize_t>(sizeof out));
      return out;
    }
    template <class T>
    void write(std::uint64_t at, T const& value) const {
      EXPECT_EQ(::pwrite(fd, &value, sizeof value, static_cast<off_t>(at)), static_cast<ssize_t>(sizeof value));
    }
    std::uint64_t size() const {
      struct stat status {};
      EXPECT_EQ(::fstat(fd, &status), 0);
      return static_cast<std::uint64_t>(status.st_size);
    }

    int fd;
  };

  static std::string refusal(std::function<void()> const& call) {
    try {
      call();
    } catch (Zon::RangeException const& exception) {
      return exception.what();
    }
    return "not refused";
  }

  static std::vector<std::string> keys(Ptr<ShmemMan> const& manager) {
    std::vector<std::string> out;
    for (auto it = manager->counterBlockIterator(); it; it.advance())
      out.push_back(it.key().stdString());
    return out;
  }

  static bool isZero(Ptr<CounterBlock> const& block) {
    for (std::size_t i = 0; i < block->size(); ++i) {
      if (block->data()[i] != std::byte{0}) return false;
    }
    return true;
  }

  static void put(Ptr<CounterBlock> const& block, std::uint64_t value) {
    std::memcpy(block->data(), &value, sizeof value);
  }
  static std::uint64_t get(Ptr<CounterBlock> const& block) {
    std::uint64_t value;
    std::memcpy(&value, block->data(), sizeof value);
    return value;
  }

  static inline int serial = 0;
  String8 const name_;
};

TEST_F(ShmemManTest, ABlockIsZeroAlignedAndFoundAgain) {
  auto const manager = make();
  EXPECT_FALSE(manager->counterBlock("Ethernet1-drops"));
  Ptr<CounterBlock> const block = manager->newCounterBlock("Ethernet1-drops");
  EXPECT_EQ(block->name(), "Ethernet1-drops");
  EXPECT_EQ(block->size(), 64U);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block->data()) % 64, 0U);
  EXPECT_TRUE(isZero(block));
  EXPECT_EQ(manager->counterBlock("Ethernet1-drops"), block);
  EXPECT_EQ(manager->counterBlocks(), 1U);
}

TEST_F(ShmemManTest, AnExistingNameReturnsThatBlockUntouched) {
  auto const manager = make();
  Ptr<CounterBlock> const block = manager->newCounterBlock("a");
  put(block, 42);
  EXPECT_EQ(manager->newCounterBlock("a"), block);
  EXPECT_EQ(get(block), 42U);
  EXPECT_EQ(manager->counterBlocks(), 1U);
}

TEST_F(ShmemManTest, BlocksIterateInOrderOfCreationAndLaterOnesAreMet) {
  auto const manager = make();
  for (char const* key : {"zebra", "a", "m", ""})
    manager->newCounterBlock(key);
  EXPECT_EQ(keys(manager), (std::vector<std::string>{"zebra", "a", "m", ""}));

  auto it = manager->counterBlockIterator();
  for (int i = 0; i < 3; ++i)
    it.advance();
  manager->newCounterBlock("late");
  it.advance();
  EXPECT_EQ(it.key(), "late");
  EXPECT_EQ(it->name(), "late");
  ++it;
  EXPECT_FALSE(it);
  EXPECT_EQ(it.key(), "");
  manager->newCounterBlock("later still");
  it.advance();
  EXPECT_FALSE(it);
  it.reset();
  EXPECT_EQ(it.key(), "zebra");
}

TEST_F(ShmemManTest, NamesAreAnyBytesComparedWhole) {
  auto const manager = make();
  std::vector<String8> const names = {"",    "a",       std::string("a\0", 2), std::string("a\0b", 3),
                                      "a b", "\xff/..", std::string(300, 'n')};
  std::set<std::byte*> places;
  for (String8 const& name : names)
    places.insert(manager->newCounterBlock(name)->data());
  EXPECT_EQ(places.size(), names.size());
  inChild([&] {
    auto const reader = ShmemMan::attach(name_);
    for (String8 const& name : names) {
      Ptr<CounterBlock> const block = reader->counterBlock(name);
      if (!block || block->name() != name) return false;
    }
    return !reader->counterBlock(std::string("a\0c", 3)) && reader->counterBlocks() == names.size();
  });
}

TEST_F(ShmemManTest, APrivateManagerHasNoNameAndSharesWithNobody) {
  Ptr<ShmemMan> const one = Zon::newPtr<ShmemMan>();
  Ptr<ShmemMan> const two = Zon::newPtr<ShmemMan>("", std::uint64_t{4096});
  one->newCounterBlock("a");
  EXPECT_FALSE(two->counterBlock("a"));
  EXPECT_NE(refusal([] { ShmemMan::attach(""); }), "not refused");
  EXPECT_FALSE(ShmemMan::unlink(""));
  EXPECT_EQ(::access("/dev/shm", F_OK), 0);
  EXPECT_NE(std::system(("ls /dev/shm/~varo." + std::to_string(::getpid()) + ".* >/dev/null 2>&1").c_str()), 0);
}

TEST_F(ShmemManTest, AForkedChildSharesAPrivateManager) {
  Ptr<ShmemMan> const manager = Zon::newPtr<ShmemMan>();
  Ptr<CounterBlock> const before = manager->newCounterBlock("before");
  inChild([&] {
    put(before, 1);
    put(manager->newCounterBlock("by the child"), 2);
    return true;
  });
  EXPECT_EQ(get(before), 1U);
  Ptr<CounterBlock> const made = manager->counterBlock("by the child");
  ASSERT_TRUE(made);
  EXPECT_EQ(get(made), 2U);
}

TEST_F(ShmemManTest, AnotherProcessSeesBlocksLaterOnesAndBytesBothWays) {
  int toChild[2];
  int toParent[2];
  ASSERT_EQ(::pipe(toChild), 0);
  ASSERT_EQ(::pipe(toParent), 0);
  auto const manager = make();
  Ptr<CounterBlock> const first = manager->newCounterBlock("first");
  put(first, 7);
  char token = 'x';
  ChildProcess child = start([&] {
    auto const reader = ShmemMan::attach(name_);
    Ptr<CounterBlock> const seen = reader->counterBlock("first");
    if (!seen || get(seen) != 7) return false;
    if (reader->counterBlock("second")) return false;
    put(seen, 8);
    char mine = 'y';
    if (::write(toParent[1], &mine, 1) != 1 || ::read(toChild[0], &mine, 1) != 1) return false;
    Ptr<CounterBlock> const later = reader->counterBlock("second");
    return later && get(later) == 9 && get(seen) == 10 && reader->counterBlocks() == 2;
  });
  ASSERT_EQ(::read(toParent[0], &token, 1), 1);
  EXPECT_EQ(get(first), 8U);
  put(manager->newCounterBlock("second"), 9);
  put(first, 10);
  ASSERT_EQ(::write(toChild[1], &token, 1), 1);
  EXPECT_EQ(child.finish(), 0);
  for (int fd : {toChild[0], toChild[1], toParent[0], toParent[1]})
    ::close(fd);
}

TEST_F(ShmemManTest, BlocksStayAfterTheWriterEnded) {
  inChild([&] {
    auto const writer = make(1 << 20);
    put(writer->newCounterBlock("a"), 5);
    return true;
  });
  auto const manager = make(1 << 25);
  EXPECT_EQ(manager->capacity(), 1U << 20);  // an existing object keeps its own
  Ptr<CounterBlock> const block = manager->counterBlock("a");
  ASSERT_TRUE(block);
  EXPECT_EQ(get(block), 5U);
  EXPECT_EQ(manager->newCounterBlock("a"), block);
  EXPECT_EQ(keys(manager), std::vector<std::string>{"a"});
}

TEST_F(ShmemManTest, TwoManagersOfOneNameInOneProcessShare) {
  auto const one = make();
  auto const two = make();
  Ptr<CounterBlock> const a = one->newCounterBlock("a");
  put(a, 3);
  Ptr<CounterBlock> const b = two->newCounterBlock("a");
  EXPECT_NE(a, b);
  EXPECT_EQ(get(b), 3U);
  EXPECT_EQ(two->counterBlocks(), 1U);
}

TEST_F(ShmemManTest, AddressesNeverChangeHoweverTheObjectGrows) {
  auto const manager = make();
  auto const reader = ShmemMan::attach(name_);
  std::vector<std::byte*> places;
  constexpr std::uint64_t blocks = 30000;
  for (std::uint64_t i = 0; i < blocks; ++i) {
    Ptr<CounterBlock> const block = manager->newCounterBlock("Ethernet" + std::to_string(i) + "-drops");
    ASSERT_TRUE(isZero(block));
    put(block, i);
    places.push_back(block->data());
  }
  EXPECT_EQ(reader->counterBlocks(), blocks);
  for (std::uint64_t i = 0; i < blocks; ++i) {
    String8 const key = "Ethernet" + std::to_string(i) + "-drops";
    ASSERT_EQ(manager->counterBlock(key)->data(), places[i]);
    ASSERT_EQ(get(manager->counterBlock(key)), i);
    ASSERT_EQ(get(reader->counterBlock(key)), i);
  }
}

TEST_F(ShmemManTest, TheLayoutIsTheOneOthersRead) {
  auto const manager = make(100000);
  put(manager->newCounterBlock("abc"), 0x1122);
  manager->newCounterBlock(std::string(57, 'x'));  // 8 + 57 bytes: one line too many
  manager->newCounterBlock(std::string(56, 'y'));  // 8 + 56 bytes: exactly one
  Raw const raw(name_);
  ShmemObject::Header const header = raw.header();
  EXPECT_EQ(std::memcmp(header.magic, "VAROSHM1", 8), 0);
  EXPECT_EQ(header.version, 1U);
  EXPECT_EQ(header.headerSize, 64U);
  EXPECT_EQ(header.capacity, 100000U);
  EXPECT_EQ(header.used, 64U + 128U + 192U + 128U);
  EXPECT_GE(header.reserved, header.used);
  EXPECT_LE(header.reserved, raw.size());
  EXPECT_EQ(header.blockSize, 64U);
  EXPECT_EQ(header.blockCount, 3U);
  static_assert(offsetof(ShmemObject::Header, zeros) == 48);
  for (std::byte const zero : header.zeros)
    EXPECT_EQ(zero, std::byte{0});

  std::vector<unsigned char> record(128);
  ASSERT_EQ(::pread(raw.fd, record.data(), record.size(), 64), 128);
  std::uint32_t sizes[2];
  std::memcpy(sizes, record.data(), sizeof sizes);
  EXPECT_EQ(sizes[0], 128U);
  EXPECT_EQ(sizes[1], 3U);
  EXPECT_EQ(std::memcmp(record.data() + 8, "abc", 3), 0);
  for (std::size_t i = 11; i < 64; ++i)
    EXPECT_EQ(record[i], 0) << i;
  EXPECT_EQ(record[64], 0x22);
  EXPECT_EQ(record[65], 0x11);

  struct stat status {};
  ASSERT_EQ(::fstat(raw.fd, &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0660U);
}

TEST_F(ShmemManTest, WhatIsUsedIsAllocatedNotSparse) {
  auto const manager = make();
  for (int i = 0; i < 5000; ++i)
    manager->newCounterBlock("block " + std::to_string(i));
  Raw const raw(name_);
  struct stat status {};
  ASSERT_EQ(::fstat(raw.fd, &status), 0);
  EXPECT_GE(static_cast<std::uint64_t>(status.st_blocks) * 512, raw.header().reserved / 4096 * 4096);
}

TEST_F(ShmemManTest, AnExhaustedCapacityLosesNothingAndALaterCallMaySucceed) {
  auto const manager = make(64 + 3 * 128);
  put(manager->newCounterBlock("a"), 1);
  put(manager->newCounterBlock("b"), 2);
  std::string const text = refusal([&] { manager->newCounterBlock(std::string(60, 'l')); });
  EXPECT_NE(text.find(name_.stdString()), std::string::npos) << text;
  EXPECT_NE(text.find("\"" + std::string(60, 'l') + "\""), std::string::npos) << text;
  EXPECT_EQ(manager->counterBlocks(), 2U);
  put(manager->newCounterBlock("c"), 3);
  EXPECT_NE(refusal([&] { manager->newCounterBlock("d"); }), "not refused");
  EXPECT_EQ(get(manager->newCounterBlock("a")), 1U);
  auto const reader = ShmemMan::attach(name_);
  EXPECT_EQ(keys(reader), (std::vector<std::string>{"a", "b", "c"}));
  EXPECT_EQ(get(reader->counterBlock("c")), 3U);
}

TEST_F(ShmemManTest, MemoryThatRunsOutIsARangeExceptionAndALaterCallSucceeds) {
  auto const manager = make();
  put(manager->newCounterBlock("a"), 1);
  std::uint64_t const reserved = Raw(name_).header().reserved;
  inChild([&] {
    // A limit on file size stands in for a full file system.
    std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit const tight = {reserved, RLIM_INFINITY};
    struct rlimit const wide = {RLIM_INFINITY, RLIM_INFINITY};
    if (::setrlimit(RLIMIT_FSIZE, &tight) != 0) return false;
    std::string text;
    std::uint32_t made = 0;
    while (text.empty() && made < 100000) {
      try {
        manager->newCounterBlock("filler " + std::to_string(made));
        ++made;
      } catch (Zon::RangeException const& exception) {
        text = exception.what();
      }
    }
    if (text.find(name_.stdString()) == std::string::npos) return false;
    if (text.find("\"filler " + std::to_string(made) + "\"") == std::string::npos) return false;
    if (manager->counterBlocks() != made + 1) return false;
    if (::setrlimit(RLIMIT_FSIZE, &wide) != 0) return false;
    return isZero(manager->newCounterBlock("filler " + std::to_string(made)));
  });
  EXPECT_EQ(get(manager->counterBlock("a")), 1U);
  EXPECT_LE(Raw(name_).header().used, Raw(name_).size());
}

TEST_F(ShmemManTest, ConcurrentCreatorsMakeOneBlockForEachName) {
  constexpr int creators = 4;
  constexpr int names = 800;
  std::vector<ChildProcess> children;
  for (int c = 0; c < creators; ++c) {
    children.push_back(start([&, c] {
      auto const manager = make();
      for (int i = 0; i < names; ++i) {
        int const n = c % 2 == 0 ? i : names - 1 - i;
        Ptr<CounterBlock> const block = manager->newCounterBlock("block " + std::to_string(n));
        block->data()[c] = std::byte{1};
        manager->newCounterBlock("own " + std::to_string(c) + " " + std::to_string(i));
      }
      return true;
    }));
  }
  for (ChildProcess& child : children)
    EXPECT_EQ(child.finish(), 0);
  auto const manager = ShmemMan::attach(name_);
  std::vector<std::string> const all = keys(manager);
  EXPECT_EQ(all.size(), static_cast<std::size_t>(names + creators * names));
  EXPECT_EQ(std::set<std::string>(all.begin(), all.end()).size(), all.size());
  for (int i = 0; i < names; ++i) {
    Ptr<CounterBlock> const block = manager->counterBlock("block " + std::to_string(i));
    ASSERT_TRUE(block);
    for (int c = 0; c < creators; ++c)
      EXPECT_EQ(block->data()[c], std::byte{1});
  }
}

TEST_F(ShmemManTest, ForkedChildrenOfAPrivateManagerCreateConcurrently) {
  Ptr<ShmemMan> const manager = Zon::newPtr<ShmemMan>();
  std::vector<ChildProcess> children;
  for (int c = 0; c < 3; ++c) {
    children.push_back(start([&, c] {
      for (int i = 0; i < 500; ++i)
        manager->newCounterBlock(std::to_string(c) + "-" + std::to_string(i));
      return true;
    }));
  }
  for (int i = 0; i < 500; ++i)
    manager->newCounterBlock("p-" + std::to_string(i));
  for (ChildProcess& child : children)
    EXPECT_EQ(child.finish(), 0);
  std::vector<std::string> const all = keys(manager);
  EXPECT_EQ(std::set<std::string>(all.begin(), all.end()).size(), 2000U);
}

TEST_F(ShmemManTest, AKilledCreatorBlocksNobody) {
  auto const manager = make();
  manager->newCounterBlock("a");
  int ready[2];
  ASSERT_EQ(::pipe(ready), 0);
  ChildProcess holder = start([&] {
    ShmemObject object(name_, ShmemObject::Open::existing, 0);
    ShmemObject::Lock const guard(object);
    char const token = 'x';
    if (::write(ready[1], &token, 1) != 1) return false;
    for (;;)
      ::pause();
  });
  char token = 0;
  ASSERT_EQ(::read(ready[0], &token, 1), 1);
  ChildProcess waiting = start([&] { return static_cast<bool>(make()->newCounterBlock("b")); });
  // It cannot get on while the lock is held, and does when the holder is killed.
  ::usleep(20000);
  EXPECT_FALSE(manager->counterBlock("b"));
  EXPECT_EQ(holder.kill(), 128 + SIGKILL);
  EXPECT_EQ(waiting.finish(), 0);
  EXPECT_TRUE(manager->counterBlock("b"));
  ::close(ready[0]);
  ::close(ready[1]);
}

TEST_F(ShmemManTest, WhatAKilledCreatorLeftHalfDoneIsOverwritten) {
  auto const manager = make();
  manager->newCounterBlock("a");
  {
    // A record whose creator died before it stored the count.
    Raw const raw(name_);
    std::uint64_t const used = raw.header().used;
    std::vector<char> const junk(512, 'j');
    ASSERT_EQ(::pwrite(raw.fd, junk.data(), junk.size(), static_cast<off_t>(used)), 512);
    raw.write(offsetof(ShmemObject::Header, used), used + 512);
  }
  auto const other = make();
  EXPECT_EQ(keys(other), std::vector<std::string>{"a"});
  Ptr<CounterBlock> const block = other->newCounterBlock("b");
  EXPECT_TRUE(isZero(block));
  EXPECT_EQ(manager->counterBlock("b")->name(), "b");
  EXPECT_EQ(Raw(name_).header().used, 64U + 2 * 128U);
}

TEST_F(ShmemManTest, ObjectNamesArePercentEncodedAndNeverTruncated) {
  EXPECT_EQ(ShmemObject::objectName("AZaz09._-"), "/AZaz09._-");
  // The neighbours of the ranges that stand for themselves.
  EXPECT_EQ(ShmemObject::objectName("@[`{/:"), "/%40%5B%60%7B%2F%3A");
  EXPECT_EQ(ShmemObject::objectName(std::string("a/b %\0\xff~", 8)), "/a%2Fb%20%25%00%FF%7E");
  String8 const strange = name_ + "/../ \xff" + std::string(1, '\0') + "%2F";
  {
    auto const manager = Zon::newPtr<ShmemMan>(strange);
    manager->newCounterBlock("a");
    EXPECT_TRUE(ShmemMan::attach(strange)->counterBlock("a"));
  }
  EXPECT_TRUE(ShmemMan::unlink(strange));
  EXPECT_FALSE(ShmemMan::unlink(strange));

  EXPECT_EQ(ShmemObject::objectName(std::string(254, 'a')).size(), 255U);
  EXPECT_THROW(ShmemObject::objectName(std::string(255, 'a')), Zon::RangeException);
  EXPECT_THROW(ShmemObject::objectName(std::string(85, '/')), Zon::RangeException);
  EXPECT_THROW(Zon::newPtr<ShmemMan>(std::string(255, 'a')), Zon::RangeException);
  String8 const longest = name_ + std::string(254 - name_.length(), 'a');
  Zon::newPtr<ShmemMan>(longest, std::uint64_t{4096})->newCounterBlock("a");
  EXPECT_EQ(ShmemMan::attach(longest)->counterBlocks(), 1U);
  EXPECT_TRUE(ShmemMan::unlink(longest));
}

TEST_F(ShmemManTest, AttachOpensExistingObjectsOnly) {
  std::string const text = refusal([&] { ShmemMan::attach(name_); });
  EXPECT_NE(text.find(name_.stdString()), std::string::npos) << text;
  EXPECT_FALSE(ShmemMan::unlink(name_));
  make(4096);
  EXPECT_EQ(ShmemMan::attach(name_)->counterBlocks(), 0U);
  EXPECT_TRUE(ShmemMan::unlink(name_));
  EXPECT_NE(refusal([&] { ShmemMan::attach(name_); }), "not refused");
}

TEST_F(ShmemManTest, WhatCannotBeUnlinkedIsARangeExceptionThatSaysWhy) {
  // A directory where the objects are.
  std::string const path = "/dev/shm/" + name_.stdString();
  ASSERT_EQ(::mkdir(path.c_str(), 0700), 0);
  std::string const text = refusal([&] { ShmemMan::unlink(name_); });
  EXPECT_EQ(::rmdir(path.c_str()), 0);
  EXPECT_EQ(text, "shared memory \"" + name_.stdString() + "\": cannot unlink: Is a directory");
}

TEST_F(ShmemManTest, AnImpossibleCapacityIsRefusedAndLeavesNoObject) {
  EXPECT_NE(refusal([&] { make(63); }), "not refused");
  EXPECT_NE(refusal([&] { make(~std::uint64_t{0}); }), "not refused");
  EXPECT_NE(refusal([&] { Zon::newPtr<ShmemMan>("", std::uint64_t{0}); }), "not refused");
  EXPECT_FALSE(ShmemMan::unlink(name_));
  auto const smallest = make(64);
  EXPECT_NE(refusal([&] { smallest->newCounterBlock(""); }), "not refused");
}

TEST_F(ShmemManTest, AlienObjectsAreRefusedAndLeftAlone) {
  auto const alien = [&](std::string const& contents, std::string const& what) {
    int const fd = ::shm_open(ShmemObject::objectName(name_).c_str(), O_RDWR | O_CREAT | O_EXCL, 0660);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(::pwrite(fd, contents.data(), contents.size(), 0), static_cast<ssize_t>(contents.size()));
    EXPECT_NE(refusal([&] { make(); }).find(name_.stdString()), std::string::npos) << what;
    EXPECT_NE(refusal([&] { ShmemMan::attach(name_); }), "not refused") << what;
    std::string after(contents.size() + 1, '\0');
    EXPECT_EQ(::pread(fd, after.data(), after.size(), 0), static_cast<ssize_t>(contents.size())) << what;
    after.resize(contents.size());
    EXPECT_EQ(after, contents) << what;
    ::close(fd);
    EXPECT_TRUE(ShmemMan::unlink(name_));
  };
  alien("short", "less than a header");
  alien(std::string(4096, '\0'), "zeros");
  alien(std::string(4096, '\xff'), "ones");

  ShmemObject::Header good{};
  std::memcpy(good.magic, "VAROSHM1", 8);
  good.version = 1;
  good.headerSize = 64;
  good.capacity = 8192;
  good.reserved = 4096;
  good.used = 64;
  good.blockSize = 64;
  auto const variant = [&](std::string const& what, std::function<void(ShmemObject::Header&)> const& change) {
    ShmemObject::Header header = good;
    change(header);
    std::string contents(4096, '\0');
    std::memcpy(contents.data(), &header, sizeof header);
    alien(contents, what);
  };
  variant("magic", [](auto& h) { h.magic[7] = '2'; });
  variant("version", [](auto& h) { h.version = 2; });
  variant("header size", [](auto& h) { h.headerSize = 128; });
  variant("block size", [](auto& h) { h.blockSize = 32; });
  variant("capacity below the size", [](auto& h) { h.capacity = 4095; });
  variant("capacity without end", [](auto& h) { h.capacity = ~std::uint64_t{0}; });
  variant("reserved beyond the capacity", [](auto& h) { h.reserved = 8193; });
  variant("used beyond the reserve", [](auto& h) { h.used = 4160; });
  variant("used within the header", [](auto& h) { h.used = 0; });
  variant("used between lines", [](auto& h) { h.used = 100; });
  variant("used beyond the size", [](auto& h) {
    h.reserved = 8192;
    h.used = 8192;
  });
  variant("a count without records", [](auto& h) { h.blockCount = 1; });
  variant("a record of zeros", [](auto& h) {
    h.blockCount = 1;
    h.used = 192;
  });
}

TEST_F(ShmemManTest, DamagedRecordsAreRefusedWhenOpenedAndEndWhatIsSeenLater) {
  auto const writer = make(8192);
  auto const reader = ShmemMan::attach(name_);
  writer->newCounterBlock("a");
  EXPECT_TRUE(reader->counterBlock("a"));
  writer->newCounterBlock("b");
  writer->newCounterBlock("a2");
  Raw const raw(name_);
  std::uint64_t const second = 64 + 128;
  struct Damage {
    char const* what;
    std::uint64_t at;
    std::uint32_t value;
    std::uint32_t good;
  };
  for (Damage const& damage :
       {Damage{"size of nothing", second, 0, 128}, Damage{"size beyond all", second, 0x7fffff80U, 128},
        Damage{"other size", second, 192, 128}, Damage{"endless name", second + 4, 0xfffffff0U, 1},
        Damage{"longer name", second + 4, 57, 1}, Damage{"name of another", second + 8, 'a', 'b'}}) {
    raw.write(damage.at, damage.value);
    EXPECT_NE(refusal([&] { ShmemMan::attach(name_); }).find("damaged"), std::string::npos) << damage.what;
    EXPECT_NE(refusal([&] { make(); }), "not refused") << damage.what;
    raw.write(damage.at, damage.good);
    EXPECT_EQ(ShmemMan::attach(name_)->counterBlocks(), 3U) << damage.what;
  }
  raw.write(second, std::uint32_t{0});
  EXPECT_FALSE(reader->counterBlock("b"));
  EXPECT_EQ(reader->counterBlocks(), 1U);
  EXPECT_TRUE(reader->counterBlock("a"));
  EXPECT_NE(refusal([&] { reader->newCounterBlock("c"); }).find("damaged"), std::string::npos);
}

TEST_F(ShmemManTest, ATruncatedObjectIsRefusedAndEndsWhatIsSeenLater) {
  auto const writer = make(1 << 20);
  auto const reader = ShmemMan::attach(name_);
  writer->newCounterBlock("a");
  Raw const raw(name_);
  // The header claims more than there is.
  ASSERT_EQ(::ftruncate(raw.fd, 128), 0);
  EXPECT_NE(refusal([&] { ShmemMan::attach(name_); }).find("damaged"), std::string::npos);
  EXPECT_FALSE(reader->counterBlock("a"));
  EXPECT_EQ(reader->counterBlocks(), 0U);
}

// The next record would begin where the memory ends: not even its head may be looked at.
TEST_F(ShmemManTest, ACountThatExceedsAnObjectFullToItsLastByteIsRefused) {
  auto const writer = make(1 << 20);
  for (int i = 0; i != 30; ++i)
    writer->newCounterBlock("b" + std::to_string(i));
  writer->newCounterBlock(std::string(64, 'n'));
  Raw const raw(name_);
  ASSERT_EQ(raw.header().used, 4096U);
  ASSERT_EQ(::ftruncate(raw.fd, 4096), 0);
  raw.write(offsetof(ShmemObject::Header, blockCount), raw.header().blockCount + 1);
  EXPECT_NE(refusal([&] { ShmemMan::attach(name_); }).find("damaged"), std::string::npos);
}

TEST_F(ShmemManTest, AnObjectThatAnotherProgramCutsInUseMakesNoMoreBlocks) {
  auto const manager = make();
  for (int i = 0; i != 60; ++i)
    manager->newCounterBlock("b" + std::to_string(i));
  auto const first = manager->counterBlock("b0");
  put(first, 42);
  inChild([&] { return ::ftruncate(Raw(name_).fd, 4096) == 0; });
  for (int attempt = 0; attempt != 2; ++attempt) {
    std::string const text = refusal([&] { manager->newCounterBlock("next"); });
    EXPECT_NE(text.find("\"next\""), std::string::npos) << text;
    EXPECT_NE(text.find("damaged"), std::string::npos) << text;
  }
  EXPECT_EQ(manager->counterBlocks(), 60U);
  EXPECT_EQ(manager->newCounterBlock("b0"), first);
  EXPECT_EQ(get(first), 42U);
  EXPECT_THROW(ShmemMan::attach(name_), Zon::RangeException);
}

TEST_F(ShmemManTest, AnObjectThatWasCutIsNotReadPastItsEndThoughItOnceWasLonger) {
  auto const reader = make();
  auto const writer = make();
  for (int i = 0; i != 60; ++i)
    writer->newCounterBlock("b" + std::to_string(i));
  EXPECT_EQ(reader->counterBlocks(), 60U);
  for (int i = 60; i != 90; ++i)
    writer->newCounterBlock("b" + std::to_string(i));
  inChild([&] { return ::ftruncate(Raw(name_).fd, 4096) == 0; });
  EXPECT_EQ(reader->counterBlocks(), 60U);
  EXPECT_FALSE(reader->counterBlock("b70"));
}

TEST_F(ShmemManTest, WhatIsCutBehindTheRecordsIsAllocatedAnew) {
  auto const manager = make();
  for (int i = 0; i != 10; ++i)
    manager->newCounterBlock("b" + std::to_string(i));
  inChild([&] {
    Raw const raw(name_);
    return ::ftruncate(raw.fd, static_cast<off_t>(raw.header().used)) == 0;
  });
  for (int i = 10; i != 60; ++i)
    EXPECT_TRUE(isZero(manager->newCounterBlock("b" + std::to_string(i))));
  Raw const raw(name_);
  EXPECT_GE(raw.size(), raw.header().used);
  EXPECT_EQ(ShmemMan::attach(name_)->counterBlocks(), 60U);
}

TEST_F(ShmemManTest, AnObjectThatGrowsMeanwhileIsOpenedAllTheSame) {
  auto const manager = make(1 << 22);
  ChildProcess child = start([&] {
    auto const writer = ShmemMan::attach(name_);
    for (int i = 0; i < 5000; ++i)
      writer->newCounterBlock(String8(std::to_string(i)));
    return true;
  });
  int opened = 0;
  while (!child.hasEnded()) {
    ASSERT_EQ(refusal([&] { ShmemMan::attach(name_); }), "not refused");
    ++opened;
  }
  EXPECT_EQ(child.finish(), 0);
  EXPECT_EQ(ShmemMan::attach(name_)->counterBlocks(), 5000U) << opened << " openings meanwhile";
}

TEST_F(ShmemManTest, ASignedCapacityIsANumberOfBytes) {
  EXPECT_EQ(Zon::newPtr<ShmemMan>("", 4096)->capacity(), 4096U);
  EXPECT_NE(refusal([&] { Zon::newPtr<ShmemMan>(name_, -1); }).find("too large"), std::string::npos);
}

TEST_F(ShmemManTest, ABlockThatOutlivesItsManagerHasNoBytes) {
  auto manager = make(4096);
  Ptr<CounterBlock> const block = manager->newCounterBlock("a");
  auto it = manager->counterBlockIterator();
  manager = nullptr;
  EXPECT_NE(block->data(), nullptr);  // the iterator still holds the manager
  it = ShmemMan::attach(name_)->counterBlockIterator();
  EXPECT_EQ(block->data(), nullptr);
  EXPECT_EQ(block->name(), "a");
}

}  // namespace
