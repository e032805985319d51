#pragma once

/// \file
/// `Pelto::ShmemMan`: a collection of named counter blocks in one shared-memory object.
///
/// Guarantees
///   A  A block has 64 bytes, aligned to 64 and zero at birth. Its address never changes while the manager lives.
///   B  Nothing frees a block: it outlives the manager, in a named object the process too.
///   C  Other processes that open the name see every complete block and share its bytes; looking up takes no lock and
///      allocates nothing once a block is known.
///   D  Several processes may create at once, and one may be killed while it does: each name gets one block.
///   E  Exhaustion is a range exception naming manager and block; nothing is lost and a later call may succeed.
///   F  An object that is damaged when opened is refused; damage that comes later ends what is seen of it, and no more
///      blocks are made there. An object that another program cuts shorter is damaged like that, but who touches what
///      is cut off is killed: nothing guards the bytes at `data()` of known blocks, the first page, which holds the
///      count that every look-up reads, nor a cut in the middle of a call.
///   G  Not for several threads: one thread calls everything.
///
/// Use
///
///     auto counters = Zon::newPtr<Pelto::ShmemMan>("queue-counters");
///     Zon::Ptr<Pelto::CounterBlock> drops = counters->newCounterBlock("Ethernet1-drops");
///     drops->data();                                            // 64 bytes, shared
///
///     auto reader = Pelto::ShmemMan::attach("queue-counters");  // in another process
///     for (auto it = reader->counterBlockIterator(); it; it.advance()) { it.key(); it->data(); }

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <utility>
#include <vector>

#include "Zon/PtrInterface.h"
#include "Zon/String8.h"
#include "platform/Pelto/ShmemObject.h"

namespace Pelto {

/// One block of counters. What the bytes mean is its users' affair.
class CounterBlock : public Zon::PtrInterface {
 public:
  CounterBlock(Zon::String8 name, std::byte* data) noexcept : name_(std::move(name)), data_(data) {}
  ~CounterBlock() override;

  Zon::ZonType* fwkType() const override;
  static Zon::ZonType* _fwkType();
  using GenericIf_ = Zon::TableGenericIf<CounterBlock>;

  Zon::String8 const& name() const noexcept { return name_; }
  /// The shared bytes, valid while the manager lives; null when it is gone.
  std::byte* data() const noexcept { return data_; }
  /// Bytes at `data()`.
  std::size_t size() const noexcept { return ShmemObject::blockSize; }

 private:
  friend class ShmemMan;

  Zon::String8 const name_;
  std::byte* data_;
};

class ShmemMan : public Zon::PtrInterface {
 public:
  class CounterBlockIterator;

  static constexpr std::uint64_t defaultCapacity = 268435456;

  /// Makes or opens the object of that name; "" makes a private one without name. `capacity`, in bytes, is
  /// for a new object: an existing one keeps its own. Throws a range exception when the object cannot be had
  /// or is not ours.
  explicit ShmemMan(Zon::Name name = "", std::uint64_t capacity = defaultCapacity);
  /// The same with a signed number, such as a literal; a negative one is too large.
  template <std::signed_integral Bytes>
  explicit ShmemMan(Zon::Name name, Bytes capacity) : ShmemMan(std::move(name), static_cast<std::uint64_t>(capacity)) {}
  /// Unmaps; a named object stays.
  ~ShmemMan() override;

  Zon::ZonType* fwkType() const override;
  static Zon::ZonType* _fwkType();
  using GenericIf_ = Zon::TableGenericIf<ShmemMan>;

  /// Opens an existing object only; range exception otherwise.
  static Zon::Ptr<ShmemMan> attach(Zon::Name name);
  /// Removes the name of an object, false when absent. Whoever has it open keeps it.
  static bool unlink(Zon::Name name);

  Zon::Name const& name() const noexcept { return name_; }
  /// Most bytes the object can have.
  std::uint64_t capacity() const noexcept { return object_.capacity(); }

  /// The block of that name, made now or untouched if there is one. Any bytes are a name.
  /// Throws a range exception when there is no room.
  virtual Zon::Ptr<CounterBlock> newCounterBlock(Zon::String8 name);
  /// The block of that name, whoever made it, or null.
  virtual Zon::Ptr<CounterBlock> counterBlock(Zon::String8 name) const;
  /// Number of blocks.
  std::uint32_t counterBlocks() const;
  /// Walks the blocks in order of creation.
  CounterBlockIterator counterBlockIterator() const;

 private:
  /// Where a block stands in `blocks_`, filed by hash.
  struct Slot {
    std::uint32_t hash;
    std::uint32_t number;  // index + 1; 0 is a free slot
  };

  ShmemMan(Zon::Name name, ShmemObject::Open how, std::uint64_t capacity);

  CounterBlock* find(Zon::String8 const& name) const noexcept;
  /// Takes in what others published since the last time; true if there was something.
  bool discover() const {
    std::uint32_t const published = object_.blockCount();
    return published > count_ && discoverUpTo(published);
  }
  bool discoverUpTo(std::uint32_t published) const;
  bool discoverOne(std::uint64_t limit) const;
  void add(Zon::String8 const& name, std::byte* data, std::uint64_t recordSize) const;
  void growSlots() const;
  [[noreturn]] void refuse(Zon::String8 const& name, std::string const& why, int error = 0) const;
  [[noreturn]] void refuseExhausted(Zon::String8 const& name) const;

  Zon::Name const name_;
  mutable ShmemObject object_;
  // What is known of the object. Invariants: `blocks_` are its first records, which end at `end_`; every
  // block is in `slots_`, a power of two of them and never more than half taken.
  mutable std::deque<Zon::Ptr<CounterBlock>> blocks_;
  mutable std::vector<Slot> slots_;
  mutable std::uint32_t count_ = 0;  // of blocks_
  mutable std::uint64_t end_ = sizeof(ShmemObject::Header);
  mutable bool damaged_ = false;
};

/// Stands on a block or at the end; holds the manager. Blocks made during the walk are met.
class ShmemMan::CounterBlockIterator {
 public:
  /// Stands on the first block.
  explicit CounterBlockIterator(Zon::Ptr<ShmemMan const> manager);

  Zon::Ptr<CounterBlock> const& ptr() const noexcept { return current_; }
  CounterBlock* operator->() const noexcept { return current_.ptr(); }
  CounterBlock& operator*() const noexcept { return *current_; }
  explicit operator bool() const noexcept { return static_cast<bool>(current_); }
  /// The block's name, empty at the end.
  Zon::String8 key() const { return current_ ? current_->name() : Zon::String8(); }

  /// Back to the first block.
  void reset();
  /// To the next block; at the end nothing.
  void advance();
  CounterBlockIterator& operator++() {
    advance();
    return *this;
  }

 private:
  void load();

  Zon::Ptr<ShmemMan const> manager_;
  Zon::Ptr<CounterBlock> current_;
  std::uint32_t position_ = 0;
};

}  // namespace Pelto
