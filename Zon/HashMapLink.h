#pragma once

/// \file
/// What a keyed collection needs of its members and of its keys: `HashMapLink<V>`, the link a member inherits,
/// `HashMapKey<K>`, the operations on keys, and `HashMapMember<V>`, through which the collection handles both members
/// with that base and members that keep a link of their own. See Zon/HashMap.h.
///
/// Guarantees: a member is in one map at most; nothing here allocates or throws.
///
/// Use
///
///     class Port : public Zon::PtrInterface, public Zon::HashMapLink<Port> {
///      public:
///       PortId const& fwkKey() const noexcept { return id_; }
///       ...

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "Zon/BitReverse.h"
#include "Zon/HashMapGeneric.h"
#include "Zon/Ptr.h"
#include "Zon/Trace.h"

namespace Zon {

/// Operations on keys; specialise it for a key type that offers something else.
template <class K>
struct HashMapKey {
  static std::uint32_t hash(K const& key) noexcept { return key.hash(); }
  static bool equal(K const& a, K const& b) noexcept { return a == b; }
  static bool less(K const& a, K const& b) noexcept { return a < b; }

  // Optional, where the key type has it at hand.

  /// `bitReverse(hash(key))`.
  static std::uint32_t reversedHash(K const& key) noexcept requires requires { key.reversedHash(); }
  { return key.reversedHash(); }
  /// Whether the keys share their bytes and so are equal: most comparisons end here.
  static bool identical(K const& a, K const& b) noexcept requires(
      requires { a.data(); } || requires { a.stringValue().data(); }) {
    // One function: clang 14 refuses two whose constraints both fail.
    if constexpr (requires { a.data(); }) {
      return a.data() == b.data();
    } else {
      return a.stringValue().data() == b.stringValue().data();
    }
  }
};

/// The link of a member, with its reversed hash cached behind it: a look-up passes members without touching their
/// keys. V derives from `PtrInterface` first.
template <class V>
class HashMapLink {
 public:
  HashMapLink(HashMapLink const&) = delete;
  HashMapLink& operator=(HashMapLink const&) = delete;

  Ptr<V> const& fwkHmNext() const noexcept { return next_; }
  void fwkHmNextIs(Ptr<V> const& next) noexcept { next_ = next; }
  bool zonInMap() const noexcept { return state_.inMap(); }

 protected:
  HashMapLink() noexcept {
    static_assert(sizeof(Ptr<V>) == sizeof(PtrInterface*));
    static_assert(offsetof(HashMapLink, state_) == sizeof(PtrInterface*), "the generic part expects it there");
  }
  ~HashMapLink() {
#ifndef NDEBUG
    // Somebody released a reference that was the map's.
    require(!zonInMap(), "!zonInMap()", "Zon/HashMap", __LINE__, "~HashMapLink");
#endif
  }

 private:
  template <class>
  friend struct HashMapMember;

  Ptr<V> next_;
  mutable HashMapLinkState state_;
};

/// How a collection reaches into a member. Everything here is for members of either kind.
template <class V>
struct HashMapMember {
  using Link = HashMapLink<V>;

  /// Whether the base supplies the link, or the member itself.
  static constexpr bool isLinked = std::derived_from<V, Link>;
  static constexpr bool linksByReference = std::is_reference_v<decltype(std::declval<V const&>().fwkHmNext())>;

  static_assert(std::derived_from<V, PtrInterface>, "a member is a counted object");
  static_assert(
      requires(V & member, Ptr<V> const& next) {
        member.fwkKey();
        { member.fwkHmNext() } -> std::convertible_to<Ptr<V>>;
        member.fwkHmNextIs(next);
      },
      "a member offers fwkKey(), fwkHmNext() and fwkHmNextIs()");

  static V* of(PtrInterface* member) noexcept { return static_cast<V*>(member); }

  static V* next(V const* member) noexcept {
    if constexpr (isLinked) {
      return link(member).next_.ptr();
    } else {
      return member->fwkHmNext().ptr();
    }
  }

  /// Counted assignment; the new reference is taken before the old one is released.
  static void setNext(V* member, V* next) {
    if constexpr (isLinked) {
      Ptr<V>(next).swap(link(member).next_);
    } else {
      member->fwkHmNextIs(Ptr<V>(next));
    }
  }

  /// Puts a reference that is handed over into a link whose old one was taken out before.
  static void adoptNext(V* member, V* next) noexcept requires isLinked {
    static_cast<void>(takeNext(member));
    Ptr<V>::zonAdopt(next).swap(link(member).next_);
  }
  /// Hands the link's reference to the caller.
  static V* takeNext(V* member) noexcept requires isLinked { return link(member).next_.zonRelease(); }

  static HashMapLinkState& state(V const* member) noexcept requires isLinked { return link(member).state_; }

  /// The position of the link for the generic part.
  static int position(V const* member) noexcept {
    if constexpr (linksByReference) {
      auto const& next = member->fwkHmNext();
      auto const* const base = static_cast<PtrInterface const*>(member);
      return static_cast<int>(reinterpret_cast<char const*>(&next) - reinterpret_cast<char const*>(base));
    } else {
      return -1;
    }
  }

  // The reference of an iterator on the member it stands on.
  static void hold(V* member) noexcept {
    if constexpr (isLinked) {
      state(member).hold(member);
    } else {
      increment(member);
    }
  }
  static void release(V* member) noexcept {
    if constexpr (isLinked) {
      state(member).release(member);
    } else {
      decrement(member);
    }
  }
  /// From one member to another (or null), both in the map.
  static void step(V* from, V* to) noexcept {
    if constexpr (isLinked) {
      if (to != nullptr) state(to).holdInMap();
      state(from).releaseInMap();
    } else {
      if (to != nullptr) increment(to);
      decrement(from);
    }
  }

 private:
  static Link& link(V* member) noexcept { return *member; }
  static Link const& link(V const* member) noexcept { return *member; }
};

}  // namespace Zon
