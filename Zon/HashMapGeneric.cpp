#include "Zon/HashMapGeneric.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <new>
#include <utility>

#include "Zon/Trace.h"

namespace Zon {

void HashMapLinkState::count(PtrInterface const* member) const noexcept {
  for (std::uint32_t iterators = word_ / oneIterator; iterators != 0; --iterators) {
    increment(member);
  }
}

void HashMapLinkState::uncount(PtrInterface const* member) const noexcept {
  for (std::uint32_t iterators = word_ / oneIterator; iterators != 0; --iterators) {
    decrement(member);
  }
}

// ---------------------------------------------------------------------------------------------------------------

/// How the generic operations see a member with a state: link and hash are read where they lie, no call needed.
class HashMapGeneric::StateChain {
 public:
  StateChain(HashMapVTableGeneric*, int position) noexcept : position_(position) {}

  PtrInterface* next(PtrInterface const* member) const noexcept {
    PtrInterface* next;
    std::memcpy(&next, reinterpret_cast<char const*>(member) + position_, sizeof next);
    return next;
  }
  std::uint32_t hash(PtrInterface* member) const noexcept { return state(member)->hash(); }
  /// Ends the chain at `member`; the reference on its next, `next`, becomes the caller's.
  void cut(PtrInterface* member, PtrInterface* /*next*/) const noexcept { write(member, nullptr); }
  /// Continues the chain that ends at `member` with `next`, whose reference is handed over.
  void join(PtrInterface* member, PtrInterface* next) const noexcept { write(member, next); }
  /// To be called while the map still owns its reference.
  void leave(PtrInterface* member) const noexcept { state(member)->leave(member); }

 private:
  void write(PtrInterface* member, PtrInterface* next) const noexcept {
    std::memcpy(reinterpret_cast<char*>(member) + position_, &next, sizeof next);
  }
  HashMapLinkState* state(PtrInterface* member) const noexcept {
    return reinterpret_cast<HashMapLinkState*>(reinterpret_cast<char*>(member) + position_ + sizeof(PtrInterface*));
  }

  std::ptrdiff_t position_;
};

/// The same for a member that keeps a link of its own.
class HashMapGeneric::OwnChain {
 public:
  OwnChain(HashMapVTableGeneric* operations, int position) noexcept : operations_(operations), position_(position) {}

  PtrInterface* next(PtrInterface const* member) const {
    if (position_ < 0) {
      return operations_->next(member);
    }
    PtrInterface* next;
    std::memcpy(&next, reinterpret_cast<char const*>(member) + position_, sizeof next);
    return next;
  }
  std::uint32_t hash(PtrInterface const* member) const { return operations_->hash(member); }
  void cut(PtrInterface* member, PtrInterface* next) const {
    increment(next);
    operations_->setNext(member, nullptr);
  }
  void join(PtrInterface* member, PtrInterface* next) const {
    operations_->setNext(member, next);
    decrement(next);
  }
  void leave(PtrInterface*) const noexcept {}

 private:
  HashMapVTableGeneric* operations_;
  std::ptrdiff_t position_;
};

/// Calls `work` with the right kind of chain.
template <class Work>
auto HashMapGeneric::onChain(HashMapVTableGeneric* operations, int position, Work const& work) {
  return operations->hasState() ? work(StateChain(operations, position)) : work(OwnChain(operations, position));
}

// ---------------------------------------------------------------------------------------------------------------

HashMapGeneric::HashMapGeneric(unsigned int buckets)
  : bucketCount_(buckets), buckets_(single_), single_{nullptr, endMark()} {
  require(std::has_single_bit(buckets), "has_single_bit(buckets)", "Zon/HashMap", __LINE__, "HashMapGeneric");
  shift_ = 32 - static_cast<std::uint32_t>(std::countr_zero(buckets));
  if (buckets > 1) {
    buckets_ = allocate(buckets);
    if (buckets_ == nullptr) {
      throw std::bad_alloc();
    }
    std::fill_n(buckets_, buckets, nullptr);
  }
}

HashMapGeneric::~HashMapGeneric() {
  if (buckets_ != single_) {
    ::operator delete(buckets_);
  }
}

PtrInterface** HashMapGeneric::allocate(std::uint32_t buckets) noexcept {
  auto** const array =
      static_cast<PtrInterface**>(::operator new((std::size_t{buckets} + 1) * sizeof(PtrInterface*), std::nothrow));
  if (array != nullptr) {
    array[buckets] = endMark();
  }
  return array;
}

void HashMapGeneric::maybeGrowG(HashMapVTableGeneric* operations, int position, int) {
  onChain(operations, position, [this](auto const chain) {
    while (members_ > bucketCount_ && doubleBuckets(chain)) {
    }
  });
}

template <class Chain>
bool HashMapGeneric::doubleBuckets(Chain const chain) {
  constexpr std::uint32_t maxBuckets = 1U << 30;  // an index is a signed 32-bit number
  std::uint32_t const count = bucketCount_;
  PtrInterface** const array = count < maxBuckets ? allocate(count * 2) : nullptr;
  if (array == nullptr) {
    return false;
  }
  // Every chain falls into two neighbours at the first member whose next hash bit is set.
  std::uint32_t const bit = 1U << (shift_ - 1);
  PtrInterface** split = array;
  for (PtrInterface** bucket = buckets_; bucket != buckets_ + count; ++bucket, split += 2) {
    PtrInterface* before = nullptr;
    PtrInterface* at = *bucket;
    while (at != nullptr && (chain.hash(at) & bit) == 0) {
      before = std::exchange(at, chain.next(at));
    }
    split[0] = before == nullptr ? nullptr : *bucket;
    split[1] = at;
    if (before != nullptr && at != nullptr) {
      chain.cut(before, at);
    }
  }
  if (buckets_ != single_) {
    ::operator delete(buckets_);
  }
  buckets_ = array;
  bucketCount_ = count * 2;
  --shift_;
  return true;
}

PtrInterface* HashMapGeneric::findNextG(HashMapVTableGeneric* operations, int position, int, PtrInterface const* member,
                                        int* bucket, void* key) const {
  if (member == nullptr) {
    *bucket = -1;
    return findNextBucketG(bucket);
  }
  return onChain(operations, position, [&](auto const chain) {
    PtrInterface* at;
    if (key == nullptr) {
      at = chain.next(member);
    } else {
      std::uint32_t const hash = operations->hash(member);
      PtrInterface** const head = bucketOf(hash);
      *bucket = static_cast<int>(head - buckets_);
      for (at = *head; at != nullptr; at = chain.next(at)) {
        std::uint32_t const other = chain.hash(at);
        if (other > hash || (other == hash && operations->keyLessThan(key, at))) {
          break;
        }
      }
    }
    return at != nullptr ? at : findNextBucketG(bucket);
  });
}

bool HashMapGeneric::deleteMemberG(HashMapVTableGeneric* operations, int position, int, unsigned int hash,
                                   Ptr<PtrInterface> const& member) {
  return onChain(operations, position, [&](auto const chain) {
    PtrInterface** const head = bucketOf(hash);
    PtrInterface* before = nullptr;
    PtrInterface* at = *head;
    while (at != nullptr && at != member.ptr()) {
      before = std::exchange(at, chain.next(at));
    }
    if (at == nullptr) {
      return false;
    }
    PtrInterface* const next = chain.next(at);
    if (next != nullptr) {
      chain.cut(at, next);
    }
    if (before == nullptr) {
      *head = next;
    } else {
      chain.cut(before, at);
      if (next != nullptr) {
        chain.join(before, next);
      }
    }
    ++modCount_;
    --members_;
    chain.leave(at);
    // Last: `member` may be one of the pointers changed above, and the object may die of it.
    decrement(at);
    return true;
  });
}

void HashMapGeneric::emptyAllBucketsG(HashMapVTableGeneric* operations, int position, int) {
  onChain(operations, position, [this](auto const chain) {
    while (members_ != 0) {
      // All chains become one, so that whatever a destructor does, it finds an empty map.
      PtrInterface* first = nullptr;
      PtrInterface* last = nullptr;
      for (std::uint32_t i = 0; i < bucketCount_; ++i) {
        PtrInterface* const head = std::exchange(buckets_[i], nullptr);
        if (head == nullptr) {
          continue;
        }
        if (last == nullptr) {
          first = head;
        } else {
          chain.join(last, head);
        }
        for (PtrInterface* at = head; at != nullptr; at = chain.next(at)) {
          chain.leave(at);
          last = at;
        }
      }
      modCount_ += std::exchange(members_, 0);
      while (first != nullptr) {
        // Its link is cut before the member can die: one after the other, however many there are.
        PtrInterface* const next = chain.next(first);
        if (next != nullptr) {
          chain.cut(first, next);
        }
        decrement(std::exchange(first, next));
      }
    }
  });
}

}  // namespace Zon
