// Counter objects under every fault another process can make, while they are in use: full, unlinked, overwritten, and
// their makers killed.

#include <atomic>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>
#include <string>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Zon/Exception.h"
#include "platform/Pelto/ShmemMan.h"
#include "support/ChildProcess.h"
#include "support/PrivateMount.h"

namespace {

using Pelto::ShmemMan;
using Pelto::ShmemObject;
using Support::ChildProcess;
using Zon::newPtr;
using Zon::Ptr;

/// Random numbers below a bound.
class Random {
 public:
  explicit Random(unsigned seed) : engine_(seed) {}
  unsigned operator()(unsigned below) { return static_cast<unsigned>(engine_() % below); }

 private:
  std::mt19937 engine_;
};

class SharedMemoryFaults : public testing::Test {
 protected:
  SharedMemoryFaults() { ShmemMan::unlink(name_); }
  ~SharedMemoryFaults() override { ShmemMan::unlink(name_); }

  Zon::Name const name_{"VaroTest-faults-" + std::to_string(::getpid())};
};

// ---------------------------------------------------------------------------------------------------------------
// Makers killed

constexpr std::uint64_t words = ShmemObject::blockSize / sizeof(std::uint64_t);

/// The name of block `number`: of many lengths, and different in every byte for each.
std::string blockName(std::uint32_t number) {
  return std::to_string(number) + std::string(number * 37 % 200, static_cast<char>('a' + number % 26));
}

std::uint64_t wordOf(std::uint32_t number) { return 0x9e3779b97f4a7c15U * (number + 1); }

std::atomic_ref<std::uint64_t> wordAt(Pelto::CounterBlock const& block, std::uint64_t word) {
  return std::atomic_ref(reinterpret_cast<std::uint64_t*>(block.data())[word]);
}

/// Goes on where the maker before it was killed. 0 when everything is as it should be.
int makeBlocks(Zon::Name const& name, std::uint32_t upTo) {
  auto const manager = newPtr<ShmemMan>(name, 1 << 22);
  for (std::uint32_t number = 0; number != upTo; ++number) {
    auto const block = manager->newCounterBlock(blockName(number));
    for (std::uint64_t word = 0; word != words; ++word) {
      std::uint64_t const there = wordAt(*block, word).load();
      if (there != 0 && there != wordOf(number)) return 3;
      wordAt(*block, word).store(wordOf(number));
    }
  }
  return manager->counterBlocks() == upTo ? 0 : 4;
}

/// What is wrong with the blocks a reader meets.
std::string whatIsWrong(ShmemMan const& reader, std::uint32_t atLeast) {
  std::uint32_t number = 0;
  for (auto it = reader.counterBlockIterator(); it; it.advance(), ++number) {
    if (it.key() != blockName(number).c_str()) return "block " + std::to_string(number) + " is " + it.key().stdString();
    for (std::uint64_t word = 0; word != words; ++word) {
      std::uint64_t const there = wordAt(*it, word).load();
      if (there != 0 && there != wordOf(number)) return "word of block " + std::to_string(number);
    }
  }
  return number < atLeast ? "blocks have gone" : "";
}

TEST_F(SharedMemoryFaults, AMakerKilledAtAnyMomentIsFollowedByAnotherAndNoReaderMeetsAHalfMadeRecord) {
  constexpr std::uint32_t all = 1500;
  unsigned const seed = 4711;
  Random random(seed);
  int kills = 0;
  for (int object = 0; object != 12; ++object) {
    ShmemMan::unlink(name_);
    Ptr<ShmemMan> reader;
    std::uint32_t known = 0;
    for (int maker = 0; maker != 12; ++maker) {
      ChildProcess writer([&] { return makeBlocks(name_, all); });
      // So many looks, then it is killed: sooner in the life of later makers' objects.
      unsigned const looks = random(object % 3 == 0 ? 3 : 60);
      for (unsigned look = 0; look != looks && !writer.hasEnded(); ++look) {
        if (!reader) {
          try {
            reader = ShmemMan::attach(name_);
          } catch (Zon::RangeException const&) {
            continue;  // not made yet
          }
        }
        ASSERT_EQ(whatIsWrong(*reader, known), "") << "seed " << seed << " object " << object << " maker " << maker;
        known = reader->counterBlocks();
      }
      if (writer.hasEnded()) {
        ASSERT_EQ(writer.finish(), 0);
        break;
      }
      writer.kill();
      ++kills;
    }
    // The last one is let alone, and finds everything.
    ASSERT_EQ(ChildProcess([&] { return makeBlocks(name_, all); }).finish(), 0) << "object " << object;
    auto const late = ShmemMan::attach(name_);
    ASSERT_EQ(whatIsWrong(*late, all), "");
    if (reader) {
      ASSERT_EQ(whatIsWrong(*reader, all), "");
    }
    for (std::uint32_t number = 0; number != all; ++number)
      ASSERT_EQ(wordAt(*late->counterBlock(blockName(number)), 0).load(), wordOf(number));
  }
  RecordProperty("kills", kills);
  EXPECT_GT(kills, 0);
}

TEST_F(SharedMemoryFaults, MakersKilledBesideEachOtherLeaveOneBlockForEachName) {
  constexpr std::uint32_t all = 600;
  Random random(7);
  auto const reader = newPtr<ShmemMan>(name_, 1 << 22);
  for (int round = 0; round != 25; ++round) {
    ChildProcess one([&] { return makeBlocks(name_, all); });
    ChildProcess two([&] { return makeBlocks(name_, all); });
    for (unsigned looks = random(20); looks != 0; --looks)
      ASSERT_EQ(whatIsWrong(*reader, 0), "");
    one.kill();
    two.kill();
  }
  ASSERT_EQ(ChildProcess([&] { return makeBlocks(name_, all); }).finish(), 0);
  EXPECT_EQ(whatIsWrong(*reader, all), "");
  EXPECT_EQ(reader->counterBlocks(), all);
}

// ---------------------------------------------------------------------------------------------------------------
// Random bytes

/// Overwrites random pieces of the object, for ever.
int overwrite(Zon::Name const& name, unsigned seed, bool isHeaderSpared) {
  int const fd = ::shm_open(ShmemObject::objectName(name).c_str(), O_RDWR, 0);
  if (fd < 0) return 1;
  Random random(seed);
  for (;;) {
    unsigned char bytes[64];
    for (unsigned char& byte : bytes)
      byte = static_cast<unsigned char>(random(4) == 0 ? 0 : random(256));
    std::size_t const length = random(sizeof bytes) + 1;
    std::size_t const at = isHeaderSpared ? 64 + random(20000) : random(random(3) == 0 ? 64 : 20000);
    // Never behind the end: an object grows by its makers alone.
    struct stat facts {};
    if (::fstat(fd, &facts) != 0) return 2;
    if (at + length > static_cast<std::size_t>(facts.st_size)) continue;
    if (::pwrite(fd, bytes, length, static_cast<off_t>(at)) != static_cast<ssize_t>(length)) return 3;
  }
}

TEST_F(SharedMemoryFaults, RandomBytesWhileItIsUsedStopNobody) {
  int refused = 0;
  for (unsigned seed = 1; seed != 25; ++seed) {
    ShmemMan::unlink(name_);
    auto const maker = newPtr<ShmemMan>(name_, 1 << 20);
    auto const early = maker->newCounterBlock("early");
    auto const reader = ShmemMan::attach(name_);
    ChildProcess attacker([&] { return overwrite(name_, seed, seed % 2 == 0); });
    for (int at = 0; at != 150; ++at) {
      // A range exception is all that may come of it.
      try {
        maker->newCounterBlock(blockName(static_cast<std::uint32_t>(at)));
      } catch (Zon::RangeException const&) {
        ++refused;
      }
      std::uint32_t met = 0;
      for (auto it = reader->counterBlockIterator(); it; it.advance())
        met += it->size() == ShmemObject::blockSize && it->data() != nullptr ? 1 : 0;
      ASSERT_LE(met, reader->counterBlocks());
      try {
        ShmemMan::attach(name_)->counterBlock("early");
      } catch (Zon::RangeException const&) {
        ++refused;
      }
    }
    ASSERT_FALSE(attacker.hasEnded()) << attacker.finish();
    attacker.kill();
    // What was known stays known, and where.
    EXPECT_EQ(maker->counterBlock("early"), early);
    EXPECT_GE(maker->counterBlocks(), 1U);
    // Another object is not touched by it.
    ShmemMan::unlink(name_);
    EXPECT_EQ(makeBlocks(name_, 20), 0) << "seed " << seed;
  }
  EXPECT_GT(refused, 0);
  RecordProperty("faults", refused);
}

// ---------------------------------------------------------------------------------------------------------------
// Full, unlinked

TEST_F(SharedMemoryFaults, AnUnlinkedObjectGoesOnForItsUsers) {
  auto const maker = newPtr<ShmemMan>(name_, 1 << 20);
  auto const reader = ShmemMan::attach(name_);
  ASSERT_EQ(ChildProcess([&] { return ShmemMan::unlink(name_) ? 0 : 1; }).finish(), 0);
  auto const block = maker->newCounterBlock("late");
  wordAt(*block, 0).store(7);
  ASSERT_TRUE(reader->counterBlock("late"));
  EXPECT_EQ(wordAt(*reader->counterBlock("late"), 0).load(), 7U);
  // The name is free for another object.
  ASSERT_EQ(ChildProcess([&] { return makeBlocks(name_, 3); }).finish(), 0);
  EXPECT_EQ(maker->counterBlocks(), 1U);
  EXPECT_EQ(ShmemMan::attach(name_)->counterBlocks(), 3U);
}

TEST_F(SharedMemoryFaults, OtherProcessesMayUseUpTheCapacity) {
  auto const mine = newPtr<ShmemMan>(name_, 4096);
  auto const first = mine->newCounterBlock("first");
  ASSERT_EQ(ChildProcess([&] {
              auto const manager = newPtr<ShmemMan>(name_, 4096);
              try {
                for (int at = 0;; ++at)
                  manager->newCounterBlock("other" + std::to_string(at));
              } catch (Zon::RangeException const&) {
                return manager->counterBlocks() > 20 ? 0 : 1;
              }
            }).finish(),
            0);
  EXPECT_THROW(mine->newCounterBlock("second"), Zon::RangeException);
  EXPECT_EQ(mine->counterBlock("first"), first);
  EXPECT_TRUE(mine->counterBlock("other3"));
  EXPECT_EQ(mine->newCounterBlock("other3"), mine->counterBlock("other3"));
}

TEST_F(SharedMemoryFaults, AFullDeviceIsSaidAndLeavesWhatIsThere) {
  Support::PrivateMount const device("/dev/shm", "size=1m");
  if (!device.reason().empty()) return Support::Namespace::refuse(device.reason());
  int const ballast = ::open("/dev/shm/ballast", O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  ASSERT_EQ(::posix_fallocate(ballast, 0, 700 << 10), 0);
  auto const manager = newPtr<ShmemMan>("small", std::uint64_t{1} << 24);
  std::uint32_t made = 0;
  try {
    for (;; ++made)
      manager->newCounterBlock(blockName(made));
  } catch (Zon::RangeException const& full) {
    EXPECT_THAT(full.what(), testing::HasSubstr("no memory"));
  }
  EXPECT_GE(made, 100U);
  EXPECT_EQ(manager->counterBlocks(), made);
  // Everything there is can be written: the space was had before.
  for (auto it = manager->counterBlockIterator(); it; it.advance())
    std::memset(it->data(), 1, it->size());
  try {
    newPtr<ShmemMan>("another", std::uint64_t{1} << 24)->newCounterBlock("x");
    // The last page may have been left for it.
  } catch (Zon::RangeException const&) {
  }
  // Room comes, and the same manager goes on.
  ASSERT_EQ(::ftruncate(ballast, 0), 0);
  ::close(ballast);
  EXPECT_TRUE(manager->newCounterBlock(blockName(made)));
  EXPECT_EQ(ShmemMan::attach("small")->counterBlocks(), made + 1);
}

}  // namespace
