#include "platform/Pelto/ShmemMan.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>

#include "Zon/Exception.h"
#include "platform/Pelto/ShmemRecord.h"

namespace Pelto {

namespace {

// One read, so that what was checked is what is used.
std::uint32_t readOnce(std::byte* at) noexcept {
  return std::atomic_ref(*reinterpret_cast<std::uint32_t*>(at)).load(std::memory_order_relaxed);
}

}  // namespace

CounterBlock::~CounterBlock() = default;

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
  return count_;
}

ShmemMan::CounterBlockIterator ShmemMan::counterBlockIterator() const {
  return CounterBlockIterator(Zon::Ptr<ShmemMan const>(this));
}

Zon::Ptr<CounterBlock> ShmemMan::newCounterBlock(Zon::String8 name) {
  if (CounterBlock* const known = find(name)) return known;

  ShmemObject::Lock const guard(object_);
  if (!object_.stillHas(end_)) damaged_ = true;
  if (!damaged_ && discover()) {
    if (CounterBlock* const foreign = find(name)) return foreign;
  }
  if (damaged_) refuse(name, "the object is damaged");
  std::size_t const nameLength = name.length();
  std::uint64_t const recordSize = ShmemRecord::sizeOf(nameLength);
  if (recordSize > object_.capacity() - end_ || recordSize > std::numeric_limits<std::uint32_t>::max() ||
      count_ == std::numeric_limits<std::uint32_t>::max()) {
    refuseExhausted(name);
  }
  if (int const error = object_.reserve(end_ + recordSize)) refuse(name, "no memory", error);

  // Whatever can fail comes before the first byte is written.
  std::byte* const record = object_.base() + end_;
  std::byte* const data = record + ShmemRecord::blockOffset(nameLength);
  add(name, data, recordSize);
  // A killed maker may have left something here.
  std::memset(record, 0, recordSize);
  ShmemRecord const head{static_cast<std::uint32_t>(recordSize), static_cast<std::uint32_t>(nameLength)};
  std::memcpy(record, &head, sizeof head);
  std::memcpy(record + sizeof head, name.view().data(), nameLength);
  object_.publish(end_, count_);
  return blocks_.back();
}

void ShmemMan::refuse(Zon::String8 const& name, std::string const& why, int error) const {
  object_.fail("no counter block \"" + name.stdString() + "\": " + why, error);
}

void ShmemMan::refuseExhausted(Zon::String8 const& name) const {
  refuse(name, "the capacity of " + std::to_string(object_.capacity()) + " bytes is exhausted");
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

bool ShmemMan::discoverUpTo(std::uint32_t published) const {
  if (damaged_) return false;
  std::uint32_t const before = count_;
  // `used` was stored before the count, so it lies behind all these records.
  std::uint64_t const limit = object_.used();
  if (!object_.covers(limit)) damaged_ = true;
  while (!damaged_ && count_ < published)
    damaged_ = !discoverOne(limit);
  return count_ != before;
}

// False when there is no sound record at `end_`.
bool ShmemMan::discoverOne(std::uint64_t limit) const {
  if (limit < end_ || limit - end_ < sizeof(ShmemRecord)) return false;
  std::byte* const record = object_.base() + end_;
  std::uint32_t const recordSize = readOnce(record + offsetof(ShmemRecord, size));
  std::uint32_t const nameLength = readOnce(record + offsetof(ShmemRecord, nameLength));
  if (recordSize != ShmemRecord::sizeOf(nameLength) || recordSize > limit - end_) return false;

  Zon::String8 const name = std::string_view(reinterpret_cast<char const*>(record + sizeof(ShmemRecord)), nameLength);
  if (find(name) != nullptr) return false;
  add(name, record + ShmemRecord::blockOffset(nameLength), recordSize);
  return true;
}

// Takes in the block whose record begins at `end_`; all or nothing.
void ShmemMan::add(Zon::String8 const& name, std::byte* data, std::uint64_t recordSize) const {
  if (2 * (std::size_t{count_} + 1) > slots_.size()) growSlots();
  blocks_.push_back(Zon::newPtr<CounterBlock>(name, data));
  std::size_t const mask = slots_.size() - 1;
  std::uint32_t const hash = name.reversedHash();
  std::size_t at = hash & mask;
  while (slots_[at].number != 0)
    at = (at + 1) & mask;
  slots_[at] = {hash, ++count_};
  end_ += recordSize;
}

void ShmemMan::growSlots() const {
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

ShmemMan::CounterBlockIterator::CounterBlockIterator(Zon::Ptr<ShmemMan const> manager) : manager_(std::move(manager)) {
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
