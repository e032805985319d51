// Makers and readers of counter objects at the same time: threads that read the very mapping a manager writes to, where
// ThreadSanitizer sees every access, and processes whose threads attach readers of their own.

#include "platform/Pelto/ShmemMan.h"

#include <atomic>
#include <cstring>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "Zon/Exception.h"
#include "platform/Pelto/ShmemRecord.h"
#include "support/ChildProcess.h"

namespace {

using Pelto::CounterBlock;
using Pelto::ShmemMan;
using Pelto::ShmemObject;
using Pelto::ShmemRecord;
using Zon::newPtr;
using Zon::Ptr;

constexpr unsigned blocks = 600;
constexpr unsigned readers = 2;

/// The name of the n-th block; lengths differ, so that records do.
std::string nameOf(unsigned n) { return "block-" + std::to_string(n) + std::string(n % 97, 'x'); }

std::atomic_ref<std::uint64_t> counterOf(std::byte* block) {
  return std::atomic_ref(*reinterpret_cast<std::uint64_t*>(block));
}

/// Where the object begins that `first`, its first block, belongs to.
std::byte* baseOf(CounterBlock const& first) {
  return first.data() - ShmemRecord::blockOffset(first.name().length()) - sizeof(ShmemObject::Header);
}

/// Reads the records of an object from memory that somebody else is writing to, as another process would.
class RecordReader {
 public:
  explicit RecordReader(std::byte* base) : base_(base) {}

  /// Takes in what is published; what is wrong with it, empty when all of it is sound.
  std::string fault() {
    auto* const header = reinterpret_cast<ShmemObject::Header*>(base_);
    std::uint32_t const published = std::atomic_ref(header->blockCount).load(std::memory_order_acquire);
    for (; seen_ < published; ++seen_) {
      ShmemRecord record;
      std::memcpy(&record, base_ + end_, sizeof record);
      std::string_view const name(reinterpret_cast<char const*>(base_ + end_ + sizeof record), record.nameLength);
      if (name != nameOf(seen_)) return "record " + std::to_string(seen_) + " is named " + std::string(name);
      if (record.size != ShmemRecord::sizeOf(record.nameLength)) return "wrong size of " + std::string(name);
      std::uint64_t const count = counterOf(base_ + end_ + ShmemRecord::blockOffset(record.nameLength)).load();
      if (count != 0 && count != seen_ + 1) return std::string(name) + " holds " + std::to_string(count);
      end_ += record.size;
    }
    return "";
  }
  unsigned seen() const { return seen_; }

 private:
  std::byte* base_;
  std::uint64_t end_ = sizeof(ShmemObject::Header);
  unsigned seen_ = 0;
};

TEST(ShmemManThread, ReadersOfTheWrittenMappingMeetCompleteRecordsOnly) {
  auto const maker = newPtr<ShmemMan>();
  std::byte* const base = baseOf(*maker->newCounterBlock(nameOf(0)));
  std::vector<std::string> faults(readers);
  std::vector<std::thread> threads;
  for (std::string& fault : faults) {
    threads.emplace_back([base, &fault] {
      RecordReader reader(base);
      while (reader.seen() < blocks && fault.empty()) {
        fault = reader.fault();
        std::this_thread::yield();
      }
    });
  }
  for (unsigned n = 1; n < blocks; ++n)
    counterOf(maker->newCounterBlock(nameOf(n))->data()).store(n + 1);
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(faults, std::vector<std::string>(readers));
}

/// A name of this process, removed at both ends of a test.
class SharedName {
 public:
  explicit SharedName(std::string_view test) : name_(std::string(test) + "." + std::to_string(::getpid())) {
    ShmemMan::unlink(name_);
  }
  SharedName(SharedName const&) = delete;
  SharedName& operator=(SharedName const&) = delete;
  ~SharedName() { ShmemMan::unlink(name_); }
  Zon::Name const& operator()() const { return name_; }

 private:
  Zon::Name const name_;
};

/// Looks at the object through a manager of its own until `wanted` blocks are there; true when every look showed blocks
/// of different names that hold nothing or what their makers count in them.
bool readUntil(ShmemMan& manager, unsigned wanted) {
  std::set<std::string> names;
  for (auto it = manager.counterBlockIterator(); names.size() < wanted;) {
    if (!it) {
      std::this_thread::yield();
      it = manager.counterBlockIterator();
      for (std::size_t known = 0; known < names.size(); ++known)
        it.advance();
      continue;
    }
    if (!names.insert(it.key().stdString()).second) return false;
    if (counterOf(it->data()).load() > blocks) return false;
    it.advance();
  }
  return manager.counterBlocks() == wanted;
}

/// One process of the next test: makes all blocks, from a place of its own in their order, while its threads read.
int makeAndRead(Zon::Name const& name, unsigned start) {
  auto const maker = newPtr<ShmemMan>(name);
  std::vector<Ptr<ShmemMan>> managers;
  for (unsigned i = 0; i < readers; ++i)
    managers.push_back(ShmemMan::attach(name));
  std::atomic<bool> sound = true;
  std::vector<std::thread> threads;
  for (Ptr<ShmemMan> const& manager : managers) {
    threads.emplace_back([&sound, manager = manager.ptr()] {
      if (!readUntil(*manager, blocks)) sound = false;
    });
  }
  for (unsigned i = 0; i < blocks; ++i) {
    unsigned const n = (start + i) % blocks;
    counterOf(maker->newCounterBlock(nameOf(n))->data()).fetch_add(1);
  }
  for (std::thread& thread : threads)
    thread.join();
  return sound && maker->counterBlocks() == blocks ? 0 : 1;
}

TEST(ShmemManThread, MakersInSeveralProcessesAndReadersInTheirThreadsAgreeOnOneBlockPerName) {
  constexpr unsigned processes = 3;
  SharedName const name("several-makers");
  std::vector<Support::ChildProcess> makers;
  for (unsigned i = 0; i < processes; ++i) {
    makers.emplace_back([&, i] {
      Zon::VFPtrInterface::enableThreadSafePointers = true;
      return makeAndRead(name(), i * blocks / processes);
    });
  }
  for (Support::ChildProcess& maker : makers)
    EXPECT_EQ(maker.finish(), 0);
  auto const manager = ShmemMan::attach(name());
  EXPECT_EQ(manager->counterBlocks(), blocks);
  for (unsigned n = 0; n < blocks; ++n) {
    auto const block = manager->counterBlock(nameOf(n));
    ASSERT_TRUE(block) << nameOf(n);
    EXPECT_EQ(counterOf(block->data()).load(), processes) << nameOf(n);
  }
}

TEST(ShmemManThread, ThreadsWithManagersOfTheirOwnDoNotMeet) {
  Zon::VFPtrInterface::enableThreadSafePointers = true;
  constexpr unsigned own = 100;
  std::vector<unsigned> sums(4, 0);
  std::vector<std::thread> threads;
  for (unsigned& sum : sums) {
    threads.emplace_back([&sum] {
      auto const manager = newPtr<ShmemMan>();
      for (unsigned n = 0; n < own; ++n)
        counterOf(manager->newCounterBlock(nameOf(n))->data()).store(1);
      for (auto it = manager->counterBlockIterator(); it; it.advance())
        sum += static_cast<unsigned>(counterOf(it->data()).load());
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  Zon::VFPtrInterface::enableThreadSafePointers = false;
  EXPECT_EQ(sums, std::vector<unsigned>(4, own));
}

}  // namespace
