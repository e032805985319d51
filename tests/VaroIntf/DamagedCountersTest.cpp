// Counter objects that another program damages while the module uses them.

#include <cstddef>
#include <cstring>
#include <string>
#include <tuple>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include "Zon/Exception.h"
#include "support/ChildProcess.h"
#include "support/Intf.h"

namespace {

using namespace Support;
using Pelto::ShmemMan;
using Pelto::ShmemObject;
using Zon::Ptr;
using Header = ShmemObject::Header;

/// Blocks of 128 bytes are there when the damage is done; the next record would begin here.
constexpr std::uint64_t endOf(unsigned blocks) { return 64 + std::uint64_t{blocks} * 128; }

constexpr std::uint64_t theEnd = ~std::uint64_t{0};
constexpr std::uint64_t oneMore = ~std::uint64_t{1};

struct Damage {
  char const* name;
  /// `theEnd`: behind the last record.
  std::uint64_t at;
  /// `oneMore`: than there are blocks.
  std::uint64_t value;
  /// 0: the object is cut inside the last block.
  std::size_t bytes;
  /// Whether the user of the object goes on making blocks in it.
  bool goesOn;
  /// Whether somebody who opens it afterwards, before and after the next block, is refused.
  bool refusedBefore;
  bool refusedAfter;
};

// The managers in use have their own idea of the object, and write it back with the next block, but for what never
// changes.
Damage const damages[] = {
    {"Magic", offsetof(Header, magic), 0, 8, true, true, true},
    {"Version", offsetof(Header, version), 2, 4, true, true, true},
    {"HeaderSize", offsetof(Header, headerSize), 128, 4, true, true, true},
    {"BlockSize", offsetof(Header, blockSize), 32, 4, true, true, true},
    {"CapacityBelowTheSize", offsetof(Header, capacity), 64, 8, true, true, true},
    {"CapacityWithoutEnd", offsetof(Header, capacity), ~std::uint64_t{0}, 8, true, true, true},
    {"NothingReserved", offsetof(Header, reserved), 0, 8, true, true, true},
    {"NothingUsed", offsetof(Header, used), 0, 8, true, true, false},
    {"AllUsed", offsetof(Header, used), ~std::uint64_t{63}, 8, true, true, false},
    {"NoBlocks", offsetof(Header, blockCount), 0, 4, true, false, false},
    {"OneBlockMore", offsetof(Header, blockCount), oneMore, 4, false, true, true},
    {"CountlessBlocks", offsetof(Header, blockCount), 0xffffffffU, 4, false, true, true},
    {"RecordOfNothing", 64, 0, 4, true, true, true},
    {"RecordWithoutEnd", 64, 0xffffff80U, 4, true, true, true},
    {"NameWithoutEnd", 68, 0xfffffff0U, 4, true, true, true},
    {"AnotherName", 72, 'X', 1, true, false, false},
    {"JunkBehindTheRecords", theEnd, ~std::uint64_t{0}, 8, true, false, false},
    {"Truncated", theEnd, 0, 0, false, true, true},
};

/// One of the two managers of a slice.
struct Manager {
  char const* name;
  Ptr<ShmemMan> const& (Slice::*get)() const noexcept;
  void (Slice::*set)(Ptr<ShmemMan> const& manager);
  /// Of one counter.
  unsigned blocks;
  /// The last block of counter "a", the first of counter "b".
  char const* before;
  char const* next;
};

Manager const managers[] = {
    {"PerInterface", &Slice::counterShmemMan, &Slice::counterShmemManIs, 1, "E1-a", "E1-b"},
    {"PerQueue", &Slice::statisticsShmemMan, &Slice::statisticsShmemManIs, 18, "E1-17-a", "E1-0-b"},
};

class DamagedCounters : public testing::TestWithParam<std::tuple<Damage, Manager>> {
 protected:
  DamagedCounters() : name_("VaroTest-damage-" + std::to_string(::getpid())) {}
  ~DamagedCounters() override { ShmemMan::unlink(name_); }

  void damage() const {
    ChildProcess other([this] {
      int const fd = ::shm_open(ShmemObject::objectName(name_).c_str(), O_RDWR, 0);
      auto const& [what, manager] = GetParam();
      auto const at = static_cast<off_t>(what.at == theEnd ? endOf(manager.blocks) : what.at);
      if (what.bytes == 0) return ::ftruncate(fd, at - 2) == 0 ? 0 : 1;
      std::uint64_t const value = what.value == oneMore ? manager.blocks + 1 : what.value;
      return ::pwrite(fd, &value, what.bytes, at) == static_cast<ssize_t>(what.bytes) ? 0 : 1;
    });
    ASSERT_EQ(other.finish(), 0);
  }
  bool isRefused() const {
    try {
      ShmemMan::attach(name_);
      return false;
    } catch (Zon::RangeException const&) {
      return true;
    }
  }

  Zon::Name const name_;
};

TEST_P(DamagedCounters, NeitherStopTheHostNorTouchWhatIsThere) {
  auto const& [what, manager] = GetParam();
  auto const slice = newSlice("linecard1", {"E1"}, {"a"});
  (*slice.*manager.set)(Zon::newPtr<ShmemMan>(name_, std::uint64_t{1} << 20));
  auto const damaged = (*slice.*manager.get)();
  auto const slices = Zon::newPtr<Zon::Dir>("slices");
  slices->entityPtrIs(slice);
  auto const out = Zon::newPtr<PtrDir>("out");
  auto const agent = VaroIntf::agentFactory("x");
  agent->allIntfQueueCounterReactorIs(nullptr, out, slices);
  auto const block = damaged->counterBlock(manager.before);
  ASSERT_NE(block, nullptr);
  block->data()[0] = std::byte{7};

  damage();
  EXPECT_EQ(isRefused(), what.refusedBefore);
  auto const counters = slice->intfQueueCounterDir("E1");
  counters->intfQueueCounterIs(Zon::newPtr<Interface::IntfQueueCounter>("b"));
  auto const made = damaged->counterBlock(manager.next);
  EXPECT_EQ(static_cast<bool>(made), what.goesOn);
  // The interface's block comes first: without it the queues get none.
  EXPECT_EQ(slice->statisticsShmemMan()->counterBlocks(), what.goesOn ? 36U : 18U);
  EXPECT_EQ(slice->counterShmemMan()->counterBlocks(), what.goesOn || manager.blocks != 1 ? 2U : 1U);
  if (made) {
    for (std::size_t i = 0; i != made->size(); ++i)
      EXPECT_EQ(made->data()[i], std::byte{0});
  }
  EXPECT_EQ(isRefused(), what.refusedAfter);
  EXPECT_EQ(damaged->counterBlock(manager.before), block);
  EXPECT_EQ(block->data()[0], std::byte{7});
  EXPECT_EQ(out->intfQueueCounterDir("E1"), counters);

  // Another object, and everything is as it should be.
  (*slice.*manager.set)(Zon::newPtr<ShmemMan>());
  agent->allIntfQueueCounterReactor()->sliceSm("linecard1")->intfQueueCounterSm("E1")->handleQueueCounter();
  EXPECT_EQ(slice->counterShmemMan()->counterBlocks(), 2U);
  EXPECT_EQ(slice->statisticsShmemMan()->counterBlocks(), 36U);
}

INSTANTIATE_TEST_SUITE_P(By, DamagedCounters, testing::Combine(testing::ValuesIn(damages), testing::ValuesIn(managers)),
                         [](auto const& damage) {
                           return std::string(std::get<0>(damage.param).name) + std::get<1>(damage.param).name;
                         });

}  // namespace
