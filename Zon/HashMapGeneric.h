#pragma once

/// \file
/// `Zon::HashMapGeneric`, the part of every keyed collection that does not depend on its types, compiled once; and
/// `Zon::HashMapVTableGeneric`, through which it reaches what does depend on them. See Zon/HashMap.h.
///
/// Every operation whose name ends in G takes the instantiation's operations, then the position of the next link
/// inside a member (in bytes, negative when the member hands its link out by value), then 0.
///
/// Guarantees: those of Zon/HashMap.h; nothing here allocates but the bucket array.

#include <cstdint>

#include "Zon/Ptr.h"
#include "Zon/PtrInterface.h"

namespace Zon {

/// What a `HashMapLink` keeps behind its pointer. The generic part finds it there.
///
/// Invariants: 1. `hash` is the reversed hash of the key while the member is in a map. 2. An iterator that stands on
/// a member owns a reference on it: while the member is in a map the map's reference vouches for all of them and they
/// are only tallied here; when it leaves, each becomes a count of its own. So a step of a walk touches no count.
class HashMapLinkState {
 public:
  bool inMap() const noexcept { return (word_ & inMapBit) != 0; }
  std::uint32_t hash() const noexcept { return hash_; }

  /// The member enters a map, which holds a reference on it.
  void enter(PtrInterface const* member, std::uint32_t hash) noexcept {
    hash_ = hash;
    word_ |= inMapBit;
    if (word_ != inMapBit) [[unlikely]] {
      uncount(member);
    }
  }
  /// The member leaves its map, which still holds its reference.
  void leave(PtrInterface const* member) noexcept {
    word_ &= ~inMapBit;
    if (word_ != 0) [[unlikely]] {
      count(member);
    }
  }

  /// An iterator steps onto the member.
  void hold(PtrInterface const* member) noexcept {
    holdInMap();
    if (!inMap()) [[unlikely]] {
      increment(member);
    }
  }
  /// An iterator leaves the member, which may die of it.
  void release(PtrInterface const* member) noexcept {
    releaseInMap();
    if (!inMap()) [[unlikely]] {
      decrement(member);
    }
  }
  /// The same for a member known to be in a map.
  void holdInMap() noexcept { word_ += oneIterator; }
  void releaseInMap() noexcept { word_ -= oneIterator; }

 private:
  static constexpr std::uint32_t inMapBit = 1;
  static constexpr std::uint32_t oneIterator = 2;

  void count(PtrInterface const* member) const noexcept;
  void uncount(PtrInterface const* member) const noexcept;

  std::uint32_t hash_ = 0;
  std::uint32_t word_ = 0;
};

/// The type-specific operations of an instantiation, in their fixed slot order.
class HashMapVTableGeneric {
 public:
  HashMapVTableGeneric(HashMapVTableGeneric const&) = delete;
  HashMapVTableGeneric& operator=(HashMapVTableGeneric const&) = delete;

  virtual bool keyEquals(void const* key, PtrInterface const* member) const = 0;
  /// Whether the key is less than the member's. True when `key` is null.
  virtual bool keyLessThan(void const* key, PtrInterface const* member) const = 0;
  /// Counted assignment of the member's next link.
  virtual void setNext(PtrInterface* member, PtrInterface* next) const = 0;
  /// The reversed hash of the member's key.
  virtual std::uint32_t hash(PtrInterface const* member) const = 0;
  /// The member's next link, for members that hand it out by value.
  virtual PtrInterface* next(PtrInterface const* member) const = 0;

  /// Whether members carry a `HashMapLinkState` right behind their link.
  bool hasState() const noexcept { return hasState_; }

 protected:
  explicit constexpr HashMapVTableGeneric(bool hasState) noexcept : hasState_(hasState) {}
  // Operations live as long as the process.
  ~HashMapVTableGeneric() = default;

 private:
  bool const hasState_;
};

class HashMapGeneric {
 public:
  /// REQUIRES: `buckets` is a power of two (asserted).
  explicit HashMapGeneric(unsigned int buckets);
  ~HashMapGeneric();
  HashMapGeneric(HashMapGeneric const&) = delete;
  HashMapGeneric& operator=(HashMapGeneric const&) = delete;

  /// Number of insertions and deletions so far.
  std::uint32_t zonModCount() const noexcept { return modCount_; }
  std::uint32_t members() const noexcept { return members_; }
  std::uint32_t zonBuckets() const noexcept { return bucketCount_; }

  /// Doubles the buckets while there are more members than buckets. Without memory for it nothing happens: chains
  /// grow longer and a later insertion tries again.
  void maybeGrowG(HashMapVTableGeneric* operations, int position, int);
  /// The member after the given one, the first for null. With a key (the given member's) it seeks the first member
  /// after that key and does not trust the given one's link. `*bucket` becomes the bucket of the result, -1 at the
  /// end.
  PtrInterface* findNextG(HashMapVTableGeneric* operations, int position, int, PtrInterface const* member, int* bucket,
                          void* key) const;
  /// Moves `*bucket` to the next bucket that is not empty, from -1 to the first, and returns its head; null, and -1,
  /// at the end.
  PtrInterface* findNextBucketG(int* bucket) const noexcept {
    PtrInterface* const* at = buckets_;
    PtrInterface* const head = *bucket < 0 ? firstHead(at) : nextHead(at += *bucket);
    *bucket = head == nullptr ? -1 : static_cast<int>(at - buckets_);
    return head;
  }
  /// Takes the member out and clears its link; false, and nothing changed, when it is not in the map. The map's
  /// reference is released.
  bool deleteMemberG(HashMapVTableGeneric* operations, int position, int, unsigned int hash,
                     Ptr<PtrInterface> const& member);
  /// Takes all members out, then releases them in order, without recursion; again, while their destructors insert.
  void emptyAllBucketsG(HashMapVTableGeneric* operations, int position, int);

 protected:
  /// Stands behind the last bucket, so that a scan for the next member needs no other bound.
  static PtrInterface* endMark() noexcept { return reinterpret_cast<PtrInterface*>(std::uintptr_t{1}); }

  /// The bucket of a reversed hash: its top bits.
  PtrInterface** bucketOf(std::uint32_t hash) const noexcept {
    // In 64 bits, because with one bucket the shift is 32.
    return buckets_ + (std::uint64_t{hash} >> shift_);
  }

  /// Moves `bucket` to the first one that is not empty and returns its head, null at the end.
  PtrInterface* firstHead(PtrInterface* const*& bucket) const noexcept {
    bucket = buckets_;
    return *bucket != nullptr ? *bucket : nextHead(bucket);
  }
  /// Moves `bucket` on to the next one that is not empty and returns its head, null at the end.
  static PtrInterface* nextHead(PtrInterface* const*& bucket) noexcept {
    for (PtrInterface* const* at = bucket;; at += 4) {
      // By fours: half of the buckets are empty, and this is the better part of a step of a walk.
      if (at[1] != nullptr) return headAt(bucket = at + 1);
      if (at[2] != nullptr) return headAt(bucket = at + 2);
      if (at[3] != nullptr) return headAt(bucket = at + 3);
      if (at[4] != nullptr) return headAt(bucket = at + 4);
    }
  }
  static PtrInterface* headAt(PtrInterface* const* bucket) noexcept { return *bucket == endMark() ? nullptr : *bucket; }

  // 32 - log2(bucketCount_).
  std::uint32_t shift_;
  std::uint32_t modCount_ = 0;
  std::uint32_t members_ = 0;
  std::uint32_t bucketCount_;
  // Chains in ascending order of (reversed hash, key). Each head is a counted reference, like each link.
  PtrInterface** buckets_;

 private:
  class StateChain;
  class OwnChain;

  /// Entries undefined but for the end mark; null without memory.
  static PtrInterface** allocate(std::uint32_t buckets) noexcept;
  template <class Work>
  static auto onChain(HashMapVTableGeneric* operations, int position, Work const& work);
  template <class Chain>
  bool doubleBuckets(Chain chain);

  // A map of one bucket allocates nothing.
  PtrInterface* single_[2];
};

}  // namespace Zon
