#pragma once

/// \file
/// The collections of watched entities, written once: values or pointers under a key (`ValueCollection`,
/// `PointerCollection`, through holder entries) and members that the entity owns (`OwningCollection`).
///
/// Guarantees
///   A  Only real changes notify: an equal value (pointers compare by identity) changes nothing and calls nobody;
///      removing an absent key is silent.
///   B  The change is complete before the first watcher hears of it. A replacement is one keyed change; removing the
///      whole collection announces every key.
///   C  A replaced entry changes in place: the map's counters do not move, iterators stay where they are.
///   D  An owning collection is the parent of its members, under its own attribute id; what has another parent is
///      refused and nothing changes.
///   E  Null is refused with the range exception "null ValidPtr".
///
/// Use: an entity type declares the entry and one member, and forwards its operations.
///
///     class PortDir::ZonPort final : public Zon::PointerEntry<ZonPort, PortId, Port> {
///      public:
///       using PointerEntry::PointerEntry;
///     };
///     void PortDir::portIs(Ptr<Port> const& port) { port_.set(*this, port); }

#include <concepts>
#include <type_traits>
#include <utility>

#include "Zon/Exception.h"
#include "Zon/HashMap.h"
#include "Zon/Notifier.h"

namespace Zon {

/// Holds one value under its key; E is the class that derives from it.
template <class E, class K, class T>
class ValueEntry : public PtrInterface, public HashMapLink<E> {
 public:
  using ZonKey = K;
  using ZonValue = T;

  ValueEntry(K key, T value) noexcept : key_(std::move(key)), value_(std::move(value)) {}

  K const& fwkKey() const noexcept { return key_; }
  T const& value() const noexcept { return value_; }
  /// Exchanges the value for another one; false, and nothing changes, when they are equal.
  bool zonExchange(T& value) noexcept {
    if (value_ == value) {
      return false;
    }
    std::ranges::swap(value_, value);
    return true;
  }

 private:
  K const key_;
  T value_;
};

/// Holds one entity under its key: the same entity may stand in several directories.
template <class E, class K, class M>
class PointerEntry : public ValueEntry<E, K, Ptr<M>> {
 public:
  using ValueEntry<E, K, Ptr<M>>::ValueEntry;

  Ptr<M> const& ptr() const noexcept { return this->value(); }
};

/// Walks a collection of entries: a restartable iterator that shows what the entries hold.
template <class Entry, bool isConst>
class EntryIterator {
 public:
  using ZonMap = HashMap<Entry, typename Entry::ZonKey>;

  explicit EntryIterator(ZonMap const& map) : entry_(const_cast<ZonMap&>(map)) {}

  auto key() const { return entry_->fwkKey(); }
  explicit operator bool() const noexcept { return static_cast<bool>(entry_); }
  void reset() { entry_.reset(); }
  void advance() { entry_.advance(); }
  bool hasBookmark() const { return entry_.hasBookmark(); }

  /// The value under the cursor, of a value collection.
  auto value() const { return entry_->value(); }
  /// The entity under the cursor, of a pointer collection; null at the end.
  auto ptr() const {
    using Member = std::remove_reference_t<decltype(*entry_->ptr())>;
    using Shown = std::conditional_t<isConst, Member const, Member>;
    return entry_ ? Ptr<Shown>(entry_->ptr()) : Ptr<Shown>();
  }
  auto* operator->() const { return ptr().ptr(); }
  auto& operator*() const { return *ptr(); }

  typename ZonMap::Iterator& zonEntry() noexcept { return entry_; }

 private:
  typename ZonMap::Iterator entry_;
};

/// Tells X's watchers of one changed key, or that the whole collection changed.
template <class X>
class CollectionNotifier {
 protected:
  template <class K>
  static void tellKey(X const& owner, K const& key) {
    tell(owner, [&key](auto& watcher) { (watcher.*X::NotifieeConst::zonCollection.keyed)(key); });
  }

  static void tellAll(X const& owner) {
    tell(owner, [](auto& watcher) {
      (watcher.*X::NotifieeConst::zonCollection.immediate)();
      if (!watcher.zonOnEverything()) {
        (watcher.*X::NotifieeConst::zonCollection.whole)();
      }
    });
  }

 private:
  template <class Call>
  static void tell(X const& owner, Call const& call) {
    auto const& watchers = WatchedAccess::watchers(owner);
    using Listed = std::remove_reference_t<decltype(*watchers.head())>;
    deliver<X::zonDelivery>(owner, watchers, X::NotifieeConst::zonCollection.id, [&call](Listed& listed) {
      if constexpr (std::is_same_v<Listed, typename X::NotifieeConst>) {
        call(listed);
      } else if (auto* const watcher = dynamic_cast<typename X::NotifieeConst*>(&listed)) {
        // The list of the base type also holds watchers that know nothing of X's own collection.
        call(*watcher);
      }
    });
  }
};

template <class X, class Entry>
class ValueCollection : private CollectionNotifier<X> {
 public:
  using Key = typename Entry::ZonKey;
  using Value = typename Entry::ZonValue;
  using Map = HashMap<Entry, Key>;
  using Iterator = EntryIterator<Entry, false>;
  using IteratorConst = EntryIterator<Entry, true>;

  /// The entry of a key, null when absent; not counted.
  Entry* find(Key const& key) const { return map_.find(key); }

  void set(X& owner, Key const& key, Value value) {
    Ptr<X> const held(&owner);
    if (store(key, value)) {
      this->tellKey(owner, key);
    }
  }

  /// Stores without telling anybody; false when an equal value was there. `value` is exchanged for the old one, so
  /// that the caller decides when that goes.
  bool store(Key const& key, Value& value) {
    if (Entry* const entry = find(key)) {
      return entry->zonExchange(value);
    }
    map_.newMember(newPtr<Entry>(key, value), Map::hashOf(key));
    return true;
  }

  Ptr<Entry> del(X& owner, Key const& key) { return tellRemoved(owner, take(key)); }
  Ptr<Entry> del(X& owner, Iterator& at) { return tellRemoved(owner, take(at)); }

  /// Removes without telling anybody.
  Ptr<Entry> take(Key const& key) { return map_.memberDel(key); }
  Ptr<Entry> take(Iterator& at) { return map_.memberDel(at.zonEntry()); }

  void delAll(X& owner) {
    Ptr<X> const held(&owner);
    for (Iterator entry(map_); entry; entry.advance()) {
      del(owner, entry);
    }
  }

  void notify(X& owner, Key const& key) { this->tellKey(owner, key); }
  void notify(X& owner) { this->tellAll(owner); }

  Map const& map() const noexcept { return map_; }
  Iterator iterator() { return Iterator(map_); }
  IteratorConst iteratorConst() const { return IteratorConst(map_); }
  std::uint32_t members() const noexcept { return map_.members(); }

 private:
  Ptr<Entry> tellRemoved(X& owner, Ptr<Entry> removed) {
    if (removed) {
      Ptr<X> const held(&owner);
      this->tellKey(owner, removed->fwkKey());
    }
    return removed;
  }

  Map map_;
};

template <class X, class Entry>
class PointerCollection : private ValueCollection<X, Entry> {
 public:
  using Base = ValueCollection<X, Entry>;
  using typename Base::Iterator;
  using typename Base::IteratorConst;
  using typename Base::Key;
  using Pointer = typename Entry::ZonValue;

  using Base::delAll;
  using Base::iterator;
  using Base::iteratorConst;
  using Base::map;
  using Base::members;
  using Base::notify;
  using Base::store;
  using Base::take;

  /// The entity of a key, null when absent.
  Pointer ptr(Key const& key) const {
    Entry const* const entry = this->find(key);
    return entry != nullptr ? entry->ptr() : Pointer();
  }
  /// REQUIRES: `pointer` is not null.
  void set(X& owner, Key const& key, Pointer const& pointer) { Base::set(owner, key, pointer); }

  template <class Where>
  Pointer del(X& owner, Where&& where) {
    auto const removed = Base::del(owner, where);
    return removed ? removed->ptr() : Pointer();
  }
};

/// Refuses null and what has another parent.
void checkAdoptable(Entity const& owner, Ptr<Entity> const& member);
/// Makes `owner` the parent of `member`, under the attribute `id`.
void adopt(Entity& owner, AttributeId id, Entity& member);

/// M is both entity and map member, filed under its own `fwkKey()`.
template <class X, class M, class K>
class OwningCollection : private CollectionNotifier<X> {
 public:
  using Map = HashMap<M, K>;
  using Iterator = typename Map::Iterator;
  using IteratorConst = typename Map::IteratorConst;

  Ptr<M> ptr(K const& key) const { return map_.member(key); }

  void set(X& owner, Ptr<M> const& member) {
    checkAdoptable(owner, member);
    Ptr<X> const held(&owner);
    Ptr<M> const added(member);  // NOLINT(performance-unnecessary-copy-initialization): a callback may change it
    K const key = added->fwkKey();
    Ptr<M> const old = map_.member(key);
    if (old == added) {
      return;
    }
    if (old) {
      map_.memberDel(key);
    }
    map_.newMember(added, Map::hashOf(key));
    if (old) {
      old->parentIs(nullptr);
    }
    // A watcher of the old member's parent may have taken the new one out again.
    if (map_.find(key) == added) {
      adopt(owner, X::NotifieeConst::zonCollection.id, *added);
    }
    this->tellKey(owner, key);
  }

  Ptr<M> del(X& owner, K const& key) { return tellRemoved(owner, map_.memberDel(key)); }
  Ptr<M> del(X& owner, Iterator& at) { return tellRemoved(owner, map_.memberDel(at)); }

  void delAll(X& owner) {
    Ptr<X> const held(&owner);
    for (Iterator member(map_); member; member.advance()) {
      del(owner, member);
    }
  }

  void notify(X& owner, K const& key) { this->tellKey(owner, key); }
  void notify(X& owner) { this->tellAll(owner); }

  Map const& map() const noexcept { return map_; }
  Iterator iterator() { return Iterator(map_); }
  IteratorConst iteratorConst() const { return IteratorConst(map_); }
  std::uint32_t members() const noexcept { return map_.members(); }

 private:
  Ptr<M> tellRemoved(X& owner, Ptr<M> removed) {
    if (removed) {
      Ptr<X> const held(&owner);
      removed->parentIs(nullptr);
      this->tellKey(owner, removed->fwkKey());
    }
    return removed;
  }

  Map map_;
};

}  // namespace Zon
