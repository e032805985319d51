#pragma once

/// \file
/// `Zon::HashMap<V, K>`, the keyed collection: counted members that carry their own key and their own link.
///
///     reversed hash   00..            01..            10..            11..
///     2 buckets       [ 0: a -> b -> c -> d           ] [ 1: e -> f                   ]
///     4 buckets       [ 0: a -> b    ] [ 1: c -> d    ] [ 2: (empty)  ] [ 3: e -> f   ]
///
/// The top bits of the reversed hash choose the bucket and chains are sorted, so a walk meets a to f in the same
/// order before and after growth: each bucket splits in place.
///
/// Guarantees
///   A  A walk visits members in ascending (reversed hash, key) order, whatever the number of buckets.
///   B  The map holds one reference on each member. A member is in at most one map; inserting one that is linked stops
///      the process.
///   C  A removed member's link is cleared: it can be inserted again.
///   D  An iterator owns its current member. It survives every change of the map: after one it goes on with the first
///      member behind the key it stands on, also when that member left. It never visits a member twice unless that
///      was removed and inserted again further on.
///   E  Buckets double while there are more members than buckets, and never shrink. Without memory the map stays
///      correct.
///   F  Emptying and destruction first detach all members, then release them in order and without recursion; their
///      destructors may use the map.
///
/// REQUIRES throughout: the key of a member does not change while it is in a map. One thread at a time.
///
/// Use
///
///     class Port : public Zon::PtrInterface, public Zon::HashMapLink<Port> {
///      public:
///       PortId const& fwkKey() const noexcept;
///     };
///     Zon::HashMap<Port, PortId> ports;
///     ports.newMember(port, ports.hashOf(port->fwkKey()));     // after a look-up: duplicates are not tested
///     for (Zon::HashMap<Port, PortId>::Iterator it(ports); it; it.advance()) {
///       if (it->isStale()) ports.memberDel(it);
///     }

#include <concepts>
#include <cstdint>
#include <utility>

#include "Zon/BitReverse.h"
#include "Zon/HashMapGeneric.h"
#include "Zon/HashMapLink.h"
#include "Zon/Ptr.h"
#include "Zon/Trace.h"

namespace Zon {

template <class V, class K, class Shown>
class HashMapIterator;

/// The operations of one instantiation, for the generic part.
template <class V, class K>
class HashMapVTable final : public HashMapVTableGeneric {
 public:
  constexpr HashMapVTable() noexcept : HashMapVTableGeneric(Member::isLinked) {}

  bool keyEquals(void const* key, PtrInterface const* member) const override {
    return HashMapKey<K>::equal(*static_cast<K const*>(key), static_cast<V const*>(member)->fwkKey());
  }
  bool keyLessThan(void const* key, PtrInterface const* member) const override {
    return key == nullptr || HashMapKey<K>::less(*static_cast<K const*>(key), static_cast<V const*>(member)->fwkKey());
  }
  void setNext(PtrInterface* member, PtrInterface* next) const override {
    Member::setNext(Member::of(member), Member::of(next));
  }
  std::uint32_t hash(PtrInterface const* member) const override {
    return bitReverse(HashMapKey<K>::hash(static_cast<V const*>(member)->fwkKey()));
  }
  PtrInterface* next(PtrInterface const* member) const override { return Member::next(static_cast<V const*>(member)); }

 private:
  using Member = HashMapMember<V>;
};

template <class V, class K>
class HashMap : public HashMapGeneric {
 public:
  using Iterator = HashMapIterator<V, K, V>;
  using IteratorConst = HashMapIterator<V, K, V const>;

  HashMap() noexcept : HashMapGeneric(1) {}
  virtual ~HashMap();

  /// The reversed hash of a key, by which members are ordered.
  static std::uint32_t hashOf(K const& key) noexcept {
    if constexpr (requires { HashMapKey<K>::reversedHash(key); }) {
      return HashMapKey<K>::reversedHash(key);
    } else {
      return bitReverse(HashMapKey<K>::hash(key));
    }
  }

  /// Inserts a member under its reversed hash; behind members of an equal key, if there are any.
  /// REQUIRES: the member is in no map and its link is null (asserted), `hash` is `hashOf` its key.
  void newMember(Ptr<V> const& member, unsigned int hash);

  /// The member of that key, null when there is none; not counted.
  [[gnu::always_inline]] V* find(K const& key) const noexcept;
  Ptr<V> member(K const& key) const noexcept { return Ptr<V>(find(key)); }

  /// The first member at or behind the position of that key, null when there is none.
  Ptr<V> startAtHash(K const& key) const;
  /// The member behind the given one, in or out of the map; the first for null. `*bucket` becomes its bucket, -1 at
  /// the end.
  Ptr<V> findNext(V const* member, int* bucket) const { return Ptr<V>(seekBehind(member, bucket)); }

  /// Takes a member out and returns it; null when there is none.
  Ptr<V> memberDel(K const& key);
  /// Takes the iterator's member out and returns it; null when it is not in the map. The iterator stays.
  template <class Shown>
  Ptr<V> memberDel(HashMapIterator<V, K, Shown> const& it);
  /// Takes the members out one by one, letting go of each before the next.
  void memberDelAll() {
    for (Iterator it(*this); it; it.advance())
      memberDel(it);
  }

 private:
  template <class, class, class>
  friend class HashMapIterator;
  using Member = HashMapMember<V>;

  // There from the start: a map ends, and a walk goes on, without memory too.
  static HashMapVTable<V, K>* vTable() noexcept {
    static constinit HashMapVTable<V, K> table;
    return &table;
  }

  static std::uint32_t hashIn(V const* member) noexcept {
    if constexpr (Member::isLinked) {
      return Member::state(member).hash();
    } else {
      return hashOf(member->fwkKey());
    }
  }

  static bool isKeyOf(K const& key, V const* member) {
    if constexpr (requires { HashMapKey<K>::identical(key, key); }) {
      if (HashMapKey<K>::identical(key, member->fwkKey())) [[likely]]
        return true;
    }
    return isEqualToKeyOf(key, member);
  }
  // Out of line, because it is rarely asked and long.
  [[gnu::noinline]] static bool isEqualToKeyOf(K const& key, V const* member) {
    return HashMapKey<K>::equal(key, member->fwkKey());
  }

  int bucketIndex(std::uint32_t hash) const noexcept { return static_cast<int>(bucketOf(hash) - buckets_); }

  struct Place {
    V* member;
    PtrInterface* const* bucket;
  };
  V* seekBehind(V const* member, int* bucket) const;
  Place seekFirst() const noexcept;
  Place seekFrom(V const* member) const noexcept;
  Ptr<V> unlink(PtrInterface** bucket, V* before, V* member);
  Ptr<V> memberOut(V* member);
};

template <class V, class K>
HashMap<V, K>::~HashMap() {
  int bucket = -1;
  if (V* const first = Member::of(findNextBucketG(&bucket))) {
    emptyAllBucketsG(vTable(), Member::position(first), 0);
  }
}

template <class V, class K>
void HashMap<V, K>::newMember(Ptr<V> const& member, unsigned int hash) {
  V* const t = member.ptr();
  bool isFree = Member::next(t) == nullptr;
  if constexpr (Member::isLinked) {
    // The last of a chain has a null link too.
    isFree = isFree && !Member::state(t).inMap();
  }
  require(isFree, "t->fwkHmNext() == 0", "Zon/HashMap", 352, "newMember");
#ifndef NDEBUG
  require(hash == hashOf(t->fwkKey()), "hash == hashOf(t->fwkKey())", "Zon/HashMap", __LINE__, "newMember");
#endif
  PtrInterface** const bucket = bucketOf(hash);
  V* before = nullptr;
  V* at = Member::of(*bucket);
  for (; at != nullptr; before = std::exchange(at, Member::next(at))) {
    if constexpr (!Member::isLinked) {
      require(at != t, "t->fwkHmNext() == 0", "Zon/HashMap", 352, "newMember");
    }
    std::uint32_t const other = hashIn(at);
    if (other > hash || (other == hash && HashMapKey<K>::less(t->fwkKey(), at->fwkKey()))) break;
  }
  if constexpr (Member::isLinked) {
    // The reference on the one behind moves to the new link; only the new member's count changes.
    increment(t);
    if (before == nullptr) {
      *bucket = t;
    } else {
      Member::adoptNext(before, t);
    }
    Member::adoptNext(t, at);
    Member::state(t).enter(t, hash);
  } else {
    t->fwkHmNextIs(Ptr<V>(at));
    if (before == nullptr) {
      increment(t);
      *bucket = t;
      if (at != nullptr) decrement(at);
    } else {
      before->fwkHmNextIs(member);
    }
  }
  ++modCount_;
  if (++members_ > bucketCount_) [[unlikely]] {
    maybeGrowG(vTable(), Member::position(t), 0);
  }
}

template <class V, class K>
inline V* HashMap<V, K>::find(K const& key) const noexcept {
  std::uint32_t const hash = hashOf(key);
  for (V* at = Member::of(*bucketOf(hash)); at != nullptr; at = Member::next(at)) {
    std::uint32_t const other = hashIn(at);
    if (other == hash) {
      if (isKeyOf(key, at)) return at;
    } else if (other > hash) {
      break;
    }
  }
  return nullptr;
}

template <class V, class K>
Ptr<V> HashMap<V, K>::startAtHash(K const& key) const {
  std::uint32_t const hash = hashOf(key);
  PtrInterface** const bucket = bucketOf(hash);
  for (V* at = Member::of(*bucket); at != nullptr; at = Member::next(at)) {
    std::uint32_t const other = hashIn(at);
    if (other > hash || (other == hash && !HashMapKey<K>::less(at->fwkKey(), key))) return Ptr<V>(at);
  }
  int index = bucketIndex(hash);
  return Ptr<V>(Member::of(findNextBucketG(&index)));
}

template <class V, class K>
V* HashMap<V, K>::seekBehind(V const* member, int* bucket) const {
  if (member == nullptr) {
    return Member::of(findNextG(vTable(), 0, 0, nullptr, bucket, nullptr));
  }
  K const& key = member->fwkKey();
  return Member::of(findNextG(vTable(), Member::position(member), 0, member, bucket, const_cast<K*>(&key)));
}

template <class V, class K>
auto HashMap<V, K>::seekFirst() const noexcept -> Place {
  PtrInterface* const* bucket = nullptr;
  V* const first = Member::of(firstHead(bucket));
  return {first, bucket};
}

// Out of line: the way of an iterator whose map has changed.
template <class V, class K>
[[gnu::noinline]] auto HashMap<V, K>::seekFrom(V const* member) const noexcept -> Place {
  int bucket = -1;
  V* const next = seekBehind(member, &bucket);
  return {next, next != nullptr ? buckets_ + bucket : nullptr};
}

template <class V, class K>
Ptr<V> HashMap<V, K>::memberDel(K const& key) {
  std::uint32_t const hash = hashOf(key);
  PtrInterface** const bucket = bucketOf(hash);
  V* before = nullptr;
  for (V* at = Member::of(*bucket); at != nullptr; before = std::exchange(at, Member::next(at))) {
    std::uint32_t const other = hashIn(at);
    if (other == hash) {
      if (isKeyOf(key, at)) return unlink(bucket, before, at);
    } else if (other > hash) {
      break;
    }
  }
  return nullptr;
}

template <class V, class K>
template <class Shown>
Ptr<V> HashMap<V, K>::memberDel(HashMapIterator<V, K, Shown> const& it) {
  return it ? memberOut(it.current_) : nullptr;
}

template <class V, class K>
Ptr<V> HashMap<V, K>::memberOut(V* member) {
  if constexpr (Member::isLinked) {
    if (!Member::state(member).inMap()) return nullptr;
  }
  PtrInterface** const bucket = bucketOf(hashIn(member));
  V* before = nullptr;
  V* at = Member::of(*bucket);
  while (at != member) {
    if (at == nullptr) return nullptr;
    before = std::exchange(at, Member::next(at));
  }
  return unlink(bucket, before, at);
}

template <class V, class K>
Ptr<V> HashMap<V, K>::unlink(PtrInterface** bucket, V* before, V* member) {
  if constexpr (Member::isLinked) {
    // Again references move: the one the map had on the member goes to the caller.
    V* const behind = Member::takeNext(member);
    if (before == nullptr) {
      *bucket = behind;
    } else {
      Member::adoptNext(before, behind);
    }
    Member::state(member).leave(member);
    ++modCount_;
    --members_;
    return Ptr<V>::zonAdopt(member);
  } else {
    Ptr<V> const removed(member);
    deleteMemberG(vTable(), Member::position(member), 0, hashIn(member), removed);
    return removed;
  }
}

}  // namespace Zon

#include "Zon/HashMapIterator.h"
