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
///   C  A replaced entry changes in place: the map's counters do not move, iterators stay where they are. A replaced
///      member of an owning collection leaves the map and the new one enters it.
///   D  An owning collection is the parent of its members, under its own attribute id; what has another parent, or is
///      listed by another owning collection, is refused and nothing changes.
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

/// The keyed map of a collection of X, and what every collection does with it. `It` and `ItConst` walk it.
template <class X, class M, class K, class It = typename HashMap<M, K>::Iterator,
          class ItConst = typename HashMap<M, K>::IteratorConst>
class MapCollection : private CollectionNotifier<X> {
 public:
  using Key = K;
  using Map = HashMap<M, K>;
  using Iterator = It;
  using IteratorConst = ItConst;

  void notify(X& owner, Key const& key) { this->tellKey(owner, key); }
  void notify(X& owner) { this->tellAll(owner); }
  /// Does what belongs to a change of the map, then tells of it: also when foreign code throws meanwhile, for the map
  /// has changed already.
  template <class Act>
  void notifyAfter(X& owner, Key const& key, Act const& act) {
    try {
      act();
    } catch (...) {
      notify(owner, key);
      throw;
    }
    notify(owner, key);
  }

  Map const& map() const noexcept { return map_; }
  Iterator iterator() { return Iterator(map_); }
  IteratorConst iteratorConst() const { return IteratorConst(map_); }
  std::uint32_t members() const noexcept { return map_.members(); }

 protected:
  /// The member of a key, null when absent; not counted.
  M* find(Key const& key) const { return map_.find(key); }
  /// REQUIRES: there is no member of that key.
  void add(Ptr<M> const& member, Key const& key) { map_.newMember(member, Map::hashOf(key)); }

  /// Removes without telling anybody; null when absent.
  Ptr<M> take(Key const& key) { return map_.memberDel(key); }
  Ptr<M> take(Iterator& at) {
    if constexpr (std::is_same_v<Iterator, typename Map::Iterator>) {
      return map_.memberDel(at);
    } else {
      return map_.memberDel(at.zonEntry());
    }
  }

  /// Removes the member of a key or under an iterator, does `leave` with it and tells; null when absent.
  template <class Where, class Leave>
  Ptr<M> remove(X& owner, Where& where, Leave const& leave) {
    Ptr<M> removed = take(where);
    if (removed) {
      Ptr<X> const held(&owner);
      notifyAfter(owner, removed->fwkKey(), [&] { leave(*removed); });
    }
    return removed;
  }

  template <class Leave>
  void removeAll(X& owner, Leave const& leave) {
    Ptr<X> const held(&owner);
    for (Iterator at(map_); at; at.advance()) {
      remove(owner, at, leave);
    }
  }

 private:
  Map map_;
};

template <class X, class Entry>
class ValueCollection
  : public MapCollection<X, Entry, typename Entry::ZonKey, EntryIterator<Entry, false>, EntryIterator<Entry, true>> {
 public:
  using Key = typename Entry::ZonKey;
  using Value = typename Entry::ZonValue;

  using ValueCollection::MapCollection::find;

  void set(X& owner, Key const& key, Value value) {
    if (store(key, value)) {
      // The delivery holds the owner; nothing of it is touched afterwards.
      this->notify(owner, key);
    }
  }

  /// Stores without telling anybody; false when an equal value was there. `value` is exchanged for the old one, so
  /// that the caller decides when that goes.
  bool store(Key const& key, Value& value) {
    if (Entry* const entry = find(key)) {
      return entry->zonExchange(value);
    }
    this->add(newPtr<Entry>(key, value), key);
    return true;
  }

  /// \param leave is done with what was removed, before anybody is told.
  template <class Where, class... Leave>
  Ptr<Entry> del(X& owner, Where&& where, Leave const&... leave) {
    return this->remove(owner, where, [&](Entry& removed) { (leave(removed), ...); });
  }
  template <class... Leave>
  void delAll(X& owner, Leave const&... leave) {
    this->removeAll(owner, [&](Entry& removed) { (leave(removed), ...); });
  }
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
  using Base::notifyAfter;
  using Base::store;

  /// The entity of a key, null when absent.
  Pointer ptr(Key const& key) const {
    Entry const* const entry = this->find(key);
    return entry != nullptr ? entry->ptr() : Pointer();
  }
  /// REQUIRES: `pointer` is not null.
  void set(X& owner, Key const& key, Pointer const& pointer) { Base::set(owner, key, pointer); }

  template <class Where, class... Leave>
  Pointer del(X& owner, Where&& where, Leave const&... leave) {
    auto const removed = Base::del(owner, where, leave...);
    return removed ? removed->ptr() : Pointer();
  }
};

/// Refuses null and what has another parent.
void checkAdoptable(Entity const& owner, Ptr<Entity> const& member);
/// Refuses what another collection lists already, or the same owner under another attribute.
void checkNotFiled(Entity const& member);
/// For the end of an owning collection: its members may enter another one.
template <class Members>
void unfile(Members& members) {
  for (auto at = members.iterator(); at; at.advance()) {
    at->zonIsFiledIs(false);
  }
}
/// Makes `owner` the parent of `added`, under the attribute `id`, in place of `replaced` (null allowed). Both have moved
/// before the watchers of either hear of it; what an overridden operation of one throws keeps the other from nothing.
void adopt(Entity& owner, AttributeId id, Ptr<Entity> const& replaced, Ptr<Entity> const& added);

/// Leaves `removed` without parent, whatever its overridden operation throws, unless it has another one than `owner`.
void release(Entity& owner, Entity& removed);

/// M is both entity and map member, filed under its own `fwkKey()`.
template <class X, class M, class K>
class OwningCollection : public MapCollection<X, M, K> {
 public:
  OwningCollection() = default;
  OwningCollection(OwningCollection const&) = delete;
  OwningCollection& operator=(OwningCollection const&) = delete;
  ~OwningCollection() { unfile(*this); }

  Ptr<M> ptr(K const& key) const { return Ptr<M>(this->find(key)); }

  void set(X& owner, Ptr<M> const& member) {
    checkAdoptable(owner, member);
    Ptr<X> const held(&owner);
    Ptr<M> const added(member);  // NOLINT(performance-unnecessary-copy-initialization): a callback may change it
    K const key = added->fwkKey();
    if (this->find(key) == added.ptr()) {
      return;
    }
    checkNotFiled(*added);
    Ptr<M> const replaced = this->take(key);
    this->add(added, key);
    this->notifyAfter(owner, key, [&] { adopt(owner, X::NotifieeConst::zonCollection.id, replaced, added); });
  }

  template <class Where>
  Ptr<M> del(X& owner, Where&& where) {
    return this->remove(owner, where, [&](M& removed) { release(owner, removed); });
  }
  void delAll(X& owner) {
    this->removeAll(owner, [&](M& removed) { release(owner, removed); });
  }
};

}  // namespace Zon
