#include "Zon/HashMapGeneric.h"

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

/// How the generic operations see a member of one instantiation.
class HashMapGeneric::Chain {
 public:
  Chain(HashMapVTableGeneric* operations, int position) noexcept : operations_(operations), position_(position) {}

  PtrInterface* next(PtrInterface const* member) const noexcept {
    if (position_ < 0) {
      return operations_->next(member);
    }
    PtrInterface* next;
    std::memcpy(&next, reinterpret_cast<char const*>(member) + position_, sizeof next);
    return next;
  }

  void setNext(PtrInterface* member, PtrInterface* next) const noexcept { operations_->setNext(member, next); }

  std::uint32_t hash(PtrInterface* member) const noexcept {
    // Cached where there is a state: growth need not touch the keys.
    return operations_->hasState() ? state(member)->hash() : operations_->hash(member);
  }

  /// To be called while the map still owns its reference.
  void leave(PtrInterface* member) const noexcept {
    if (operations_->hasState()) {
      state(member)->leave(member);
    }
  }

 private:
  HashMapLinkState* state(PtrInterface* member) const noexcept {
    return reinterpret_cast<HashMapLinkState*>(reinterpret_cast<char*>(member) + position_ + sizeof(PtrInterface*));
  }

  HashMapVTableGeneric* operations_;
  int position_;
};

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
    std::memset(array, 0, std::size_t{buckets} * sizeof(PtrInterface*));
    array[buckets] = endMark();
  }
  return array;
}

void HashMapGeneric::maybeGrowG(HashMapVTableGeneric* operations, int position, int) {
  Chain const chain(operations, position);
  while (members_ > bucketCount_ && doubleBuckets(chain)) {
  }
}

bool HashMapGeneric::doubleBuckets(Chain const& chain) noexcept {
  constexpr std::uint32_t maxBuckets = 1U << 30;  // an index is a signed 32-bit number
  if (bucketCount_ == maxBuckets) {
    return false;
  }
  PtrInterface** const array = allocate(bucketCount_ * 2);
  if (array == nullptr) {
    return false;
  }
  // Every chain falls into two neighbours at the first member whose next hash bit is set.
  std::uint32_t const bit = 1U << (shift_ - 1);
  for (std::uint32_t i = 0; i < bucketCount_; ++i) {
    PtrInterface* before = nullptr;
    PtrInterface* at = buckets_[i];
    if (at == nullptr) {
      continue;
    }
    array[2 * i] = at;
    while (at != nullptr && (chain.hash(at) & bit) == 0) {
      before = std::exchange(at, chain.next(at));
    }
    if (at == nullptr) {
      continue;
    }
    array[2 * i + 1] = at;
    if (before == nullptr) {
      array[2 * i] = nullptr;
    } else {
      // The reference of the link that is cut becomes the bucket's.
      increment(at);
      chain.setNext(before, nullptr);
    }
  }
  if (buckets_ != single_) {
    ::operator delete(buckets_);
  }
  buckets_ = array;
  bucketCount_ *= 2;
  --shift_;
  return true;
}

PtrInterface* HashMapGeneric::findNextG(HashMapVTableGeneric* operations, int position, int, PtrInterface const* member,
                                        int* bucket, void* key) const {
  if (member == nullptr) {
    *bucket = -1;
    return findNextBucketG(bucket);
  }
  Chain const chain(operations, position);
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
}

bool HashMapGeneric::deleteMemberG(HashMapVTableGeneric* operations, int position, int, unsigned int hash,
                                   Ptr<PtrInterface> const& member) {
  Chain const chain(operations, position);
  PtrInterface** const head = bucketOf(hash);
  PtrInterface* before = nullptr;
  PtrInterface* at = *head;
  while (at != member.ptr()) {
    if (at == nullptr) {
      return false;
    }
    before = std::exchange(at, chain.next(at));
  }
  if (at == nullptr) {
    return false;
  }
  ++modCount_;
  --members_;
  // The caller's pointer may be one of those that change here.
  Ptr<PtrInterface> const held(at);
  chain.leave(at);
  PtrInterface* const next = chain.next(at);
  if (before != nullptr) {
    chain.setNext(before, next);
    chain.setNext(at, nullptr);
  } else {
    if (next != nullptr) {
      increment(next);
    }
    *head = next;
    chain.setNext(at, nullptr);
    decrement(at);
  }
  return true;
}

void HashMapGeneric::emptyAllBucketsG(HashMapVTableGeneric* operations, int position, int) {
  Chain const chain(operations, position);
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
        chain.setNext(last, head);
        decrement(head);
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
        increment(next);
      }
      chain.setNext(first, nullptr);
      decrement(std::exchange(first, next));
    }
  }
}

}  // namespace Zon
