#include "platform/Pelto/ShmemMan.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>

#include "Zon/Exception.h"

namespace Pelto {

namespace {

constexpr std::uint64_t blockSize = ShmemObject::blockSize;

/// What precedes the name of a record.
struct RecordHead {
  std::uint32_t recordSize;
  std::uint32_t nameLength;
};

// Head, name and zeros, up to the block.
constexpr std::uint64_t blockOffset(std::uint64_t nameLength) noexcept {
  return (sizeof(RecordHead) + nameLength + blockSize - 1) / blockSize * blockSize;
}

constexpr std::uint64_t recordSizeOf(std::uint64_t nameLength) noexcept {
  return blockOffset(nameLength) + blockSize;
}

// One read, so that what was checked is what is used.
std::uint32_t readOnce(std::byte* at) noexcept {
  return std::atomic_ref(*reinterpret_cast<std::uint32_t*>(at)).load(std::memory_order_relaxed);
}

}  // namespace

ShmemMan::ShmemMan(Zon::Name name, std::uint64_t capacity)
  : ShmemMan(std::move(name), ShmemObject::Open::existingOrNew, capacity) {}

ShmemMan::ShmemMan(Zon::Name name, ShmemObject::Open how, std::uint64_t capacity)
  : name_(std::move(name)), object_(name_, how, capacity) {
  discover();
  if (damaged_) object_.fail("its records are damaged");
}

ShmemMan::~ShmemMan() {
  for (auto const& block : blocks_)
    block->data_ = nullptr;
}

Zon::Ptr<ShmemMan> ShmemMan::attach(Zon::Name name) {
  return Zon::Ptr<ShmemMan>::zonAdopt(new ShmemMan(std::move(name), ShmemObject::Open::existing, 0));
}

bool ShmemMan::unlink(Zon::Name name) { return ShmemObject::unlink(name); }

Zon::Ptr<CounterBlock> ShmemMan::counterBlock(Zon::String8 name) const {
  CounterBlock* block = find(name);
  if (block == nullptr && discover()) block = find(name);
  return block;
}

std::uint32_t ShmemMan::counterBlocks() const {
  discover();
  return static_cast<std::uint32_t>(blocks_.size());
}

ShmemMan::CounterBlockIterator ShmemMan::counterBlockIterator() const {
  return CounterBlockIterator(Zon::Ptr<ShmemMan const>(this));
}

Zon::Ptr<CounterBlock> ShmemMan::newCounterBlock(Zon::String8 name) {
  if (CounterBlock* const known = find(name)) return known;

  ShmemObject::Lock const guard(object_);
  if (discover()) {
    if (CounterBlock* const foreign = find(name)) return foreign;
  }
  auto const refuse = [&](std::string const& why, int error = 0) {
    object_.fail("no counter block \"" + name.stdString() + "\": " + why, error);
  };
  if (damaged_) refuse("the object is damaged");
  std::uint64_t const recordSize = recordSizeOf(name.length());
  if (recordSize > object_.capacity() - end_ || recordSize > std::numeric_limits<std::uint32_t>::max() ||
      blocks_.size() == std::numeric_limits<std::uint32_t>::max()) {
    refuse("the capacity of " + std::to_string(object_.capacity()) + " bytes is exhausted");
  }
  if (int const error = object_.reserve(end_ + recordSize)) refuse("no memory", error);

  // Everything that can fail comes before the record is visible.
  std::byte* const record = object_.base() + end_;
  std::byte* const data = record + blockOffset(name.length());
  auto block = Zon::newPtr<CounterBlock>(name, data);
  makeRoom();
  // A killed maker may have left something here.
  std::memset(record, 0, recordSize);
  RecordHead const head{static_cast<std::uint32_t>(recordSize), static_cast<std::uint32_t>(name.length())};
  std::memcpy(record, &head, sizeof head);
  std::memcpy(record + sizeof head, name.view().data(), name.length());

  Zon::Ptr<CounterBlock> made = block;
  add(std::move(block), recordSize);
  object_.publish(end_, static_cast<std::uint32_t>(blocks_.size()));
  return made;
}

CounterBlock* ShmemMan::find(Zon::String8 const& name) const noexcept {
  if (slots_.empty()) return nullptr;
  std::size_t const mask = slots_.size() - 1;
  std::uint32_t const hash = name.reversedHash();
  for (std::size_t at = hash & mask; slots_[at].number != 0; at = (at + 1) & mask) {
    if (slots_[at].hash != hash) continue;
    CounterBlock* const block = blocks_[slots_[at].number - 1].ptr();
    if (block->name_ == name) return block;
  }
  return nullptr;
}

// Takes in what others published since the last time; true if there was something.
bool ShmemMan::discover() const {
  std::uint32_t const published = object_.blockCount();
  if (published <= blocks_.size() || damaged_) [[likely]] {
    return false;
  }
  std::size_t const before = blocks_.size();
  // `used` was stored before the count, so it lies behind all these records.
  std::uint64_t const limit = object_.used();
  if (!object_.covers(limit)) damaged_ = true;
  while (!damaged_ && blocks_.size() < published)
    damaged_ = !discoverOne(limit);
  return blocks_.size() != before;
}

// False when there is no sound record at `end_`.
bool ShmemMan::discoverOne(std::uint64_t limit) const {
  if (limit < end_ || limit - end_ < sizeof(RecordHead)) return false;
  std::byte* const record = object_.base() + end_;
  std::uint32_t const recordSize = readOnce(record + offsetof(RecordHead, recordSize));
  std::uint32_t const nameLength = readOnce(record + offsetof(RecordHead, nameLength));
  if (recordSize != recordSizeOf(nameLength) || recordSize > limit - end_) return false;

  Zon::String8 name =
      std::string_view(reinterpret_cast<char const*>(record + sizeof(RecordHead)), nameLength);
  if (find(name) != nullptr) return false;
  auto block = Zon::newPtr<CounterBlock>(std::move(name), record + blockOffset(nameLength));
  makeRoom();
  add(std::move(block), recordSize);
  return true;
}

// Room for one block more in both containers.
void ShmemMan::makeRoom() const {
  if (blocks_.size() == blocks_.capacity()) blocks_.reserve(std::max<std::size_t>(16, 2 * blocks_.size()));
  if (2 * (blocks_.size() + 1) <= slots_.size()) return;
  std::vector<Slot> larger(std::max<std::size_t>(32, 2 * slots_.size()), Slot{0, 0});
  std::size_t const mask = larger.size() - 1;
  for (Slot const& slot : slots_) {
    if (slot.number == 0) continue;
    std::size_t at = slot.hash & mask;
    while (larger[at].number != 0)
      at = (at + 1) & mask;
    larger[at] = slot;
  }
  slots_.swap(larger);
}

// REQUIRES: there is room, and the block's record lies at `end_`.
void ShmemMan::add(Zon::Ptr<CounterBlock>&& block, std::uint64_t recordSize) const noexcept {
  std::size_t const mask = slots_.size() - 1;
  std::uint32_t const hash = block->name_.reversedHash();
  std::size_t at = hash & mask;
  while (slots_[at].number != 0)
    at = (at + 1) & mask;
  blocks_.push_back(std::move(block));
  slots_[at] = {hash, static_cast<std::uint32_t>(blocks_.size())};
  end_ += recordSize;
}

ShmemMan::CounterBlockIterator::CounterBlockIterator(Zon::Ptr<ShmemMan const> manager)
  : manager_(std::move(manager)) {
  load();
}

void ShmemMan::CounterBlockIterator::reset() {
  position_ = 0;
  load();
}

void ShmemMan::CounterBlockIterator::advance() {
  if (!current_) return;
  ++position_;
  load();
}

void ShmemMan::CounterBlockIterator::load() {
  current_ = position_ < manager_->counterBlocks() ? manager_->blocks_[position_] : nullptr;
}

}  // namespace Pelto
