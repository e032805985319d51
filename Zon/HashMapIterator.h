#pragma once

/// \file
/// `Zon::HashMapIterator`, the walk over a keyed collection, known as `HashMap<V, K>::Iterator` and
/// `HashMap<V, K>::IteratorConst`. Include Zon/HashMap.h.
///
/// Guarantees: those of Zon/HashMap.h, D above all: the current member is held, whatever happens to the map.
///
/// Use
///
///     for (Ports::Iterator port(ports_); port; port.advance()) { port->activeIs(true); }

#include <concepts>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "Zon/HashMap.h"

namespace Zon {

/// A walk over a map (guarantee D). Copyable; it may outlive its map, but not advance or reset after it.
template <class V, class K, class Shown>
class HashMapIterator {
 public:
  using Map = HashMap<V, K>;

  /// Without map: stands nowhere.
  HashMapIterator() noexcept = default;
  /// Stands on the first member.
  HashMapIterator(Map& map) requires(!std::is_const_v<Shown>) : map_(&map) { reset(); }
  HashMapIterator(Map const& map) requires(std::is_const_v<Shown>) : map_(&map) { reset(); }
  HashMapIterator(HashMapIterator const& other) noexcept
    : seen_(other.seen_), map_(other.map_), bucket_(other.bucket_), current_(other.current_) {
    if (current_ != nullptr) Member::hold(current_);
  }
  /// A walk that may change members becomes one that may not.
  HashMapIterator(HashMapIterator<V, K, V> const& other) noexcept requires(std::is_const_v<Shown>)
    : seen_(other.seen_), map_(other.map_), bucket_(other.bucket_), current_(other.current_) {
    if (current_ != nullptr) Member::hold(current_);
  }
  HashMapIterator& operator=(HashMapIterator const& other) noexcept {
    HashMapIterator(other).swap(*this);
    return *this;
  }
  ~HashMapIterator() {
    if (current_ != nullptr) Member::release(current_);
  }

  void swap(HashMapIterator& other) noexcept {
    std::swap(seen_, other.seen_);
    std::swap(map_, other.map_);
    std::swap(bucket_, other.bucket_);
    std::swap(current_, other.current_);
  }

  /// The current member, null at the end.
  Ptr<Shown> ptr() const noexcept { return Ptr<Shown>(current_); }
  explicit operator bool() const noexcept { return current_ != nullptr; }
  // REQUIRES: there is a current member.
  Shown* operator->() const noexcept { return current_; }
  Shown& operator*() const noexcept { return *current_; }
  decltype(auto) key() const { return std::as_const(*current_).fwkKey(); }

  /// Whether there is a current member, and under a key that is not the empty one. Not a test for the end of a walk.
  bool hasBookmark() const;

  /// Goes to the first member.
  void reset() noexcept;
  /// Goes to the next member, or to the end. Without current member nothing happens.
  void advance() noexcept;

  // For tests.
  std::uint32_t zonModCount() const noexcept { return seen_; }
  /// The bucket of the current member, -1 without one.
  int zonBucket() const noexcept { return current_ == nullptr ? -1 : map_->bucketIndex(Map::hashIn(current_)); }

 private:
  template <class, class, class>
  friend class HashMapIterator;
  friend Map;
  using Member = HashMapMember<V>;

  // The map's modification counter at the last step.
  std::uint32_t seen_ = 0;
  Map const* map_ = nullptr;
  // The bucket of the current member at the last step: good while the map does not change.
  PtrInterface* const* bucket_ = nullptr;
  // Held through `Member`.
  V* current_ = nullptr;
};

template <class V, class K, class Shown>
bool HashMapIterator<V, K, Shown>::hasBookmark() const {
  if (current_ == nullptr) return false;
  if constexpr (requires(K const& key) { key.empty(); }) {
    return !current_->fwkKey().empty();
  } else if constexpr (std::default_initializable<K>) {
    return !HashMapKey<K>::equal(current_->fwkKey(), K());
  } else {
    return true;
  }
}

template <class V, class K, class Shown>
inline void HashMapIterator<V, K, Shown>::reset() noexcept {
  V* const left = std::exchange(current_, nullptr);
  seen_ = 0;
  bucket_ = nullptr;
  if (map_ != nullptr) {
    auto const [first, bucket] = map_->seekFirst();
    seen_ = map_->modCount_;
    bucket_ = bucket;
    current_ = first;
    if (first != nullptr) Member::hold(first);
  }
  if (left != nullptr) Member::release(left);
}

template <class V, class K, class Shown>
inline void HashMapIterator<V, K, Shown>::advance() noexcept {
  V* const left = current_;
  if (left == nullptr) return;
  // Locals and values throughout: an iterator whose address is not taken stays in registers.
  if (map_->modCount_ != seen_) [[unlikely]] {
    auto const [next, bucket] = map_->seekFrom(left);
    seen_ = map_->modCount_;
    bucket_ = bucket;
    current_ = next;
    if (next != nullptr) Member::hold(next);
    // Last, because it may destroy the member, whose destructor may change the map.
    Member::release(left);
    return;
  }
  V* next = Member::next(left);
  if (next == nullptr) {
    PtrInterface* const* bucket = bucket_;
    next = Member::of(Map::nextHead(bucket));
    bucket_ = bucket;
  }
  current_ = next;
  Member::step(left, next);
}

}  // namespace Zon
