#pragma once

/// \file
/// Keys with chosen hashes and the three kinds of members a map takes, for the tests of `Zon::HashMap`.

#include <compare>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>

#include "Zon/BitReverse.h"
#include "Zon/HashMap.h"
#include "Zon/Ptr.h"

namespace MapTest {

/// A key whose reversed hash is chosen, told from others of the same hash by its name.
struct Key {
  std::uint32_t reversed = 0;
  std::string name;

  friend bool operator==(Key const&, Key const&) = default;
  friend auto operator<=>(Key const&, Key const&) = default;
};

}  // namespace MapTest

template <>
struct Zon::HashMapKey<MapTest::Key> {
  static std::uint32_t hash(MapTest::Key const& key) noexcept { return Zon::bitReverse(key.reversed); }
  static bool equal(MapTest::Key const& a, MapTest::Key const& b) noexcept { return a.name == b.name; }
  static bool less(MapTest::Key const& a, MapTest::Key const& b) noexcept { return a.name < b.name; }
};

namespace MapTest {

/// What all members share: a key, a census, and something to do while dying.
class MemberBase : public Zon::PtrInterface {
 public:
  explicit MemberBase(Key key) : key_(std::move(key)) { ++alive; }
  ~MemberBase() override {
    --alive;
    if (onDeath) onDeath();
  }

  Key const& fwkKey() const { return key_; }
  std::string const& label() const { return key_.name; }

  std::function<void()> onDeath;

  inline static int alive = 0;

 private:
  Key key_;
};

/// A member with the link that the runtime supplies.
class Linked : public MemberBase, public Zon::HashMapLink<Linked> {
 public:
  using MemberBase::MemberBase;
};

/// A member with a link of its own.
class OwnLink : public MemberBase {
 public:
  using MemberBase::MemberBase;

  Zon::Ptr<OwnLink> const& fwkHmNext() const { return next_; }
  void fwkHmNextIs(Zon::Ptr<OwnLink> const& next) { next_ = next; }

 private:
  std::string between_ = "something before the link";
  Zon::Ptr<OwnLink> next_;
};

/// A member that hands key and link out by value.
class ValueLink : public MemberBase {
 public:
  using MemberBase::MemberBase;

  Key fwkKey() const { return MemberBase::fwkKey(); }
  Zon::Ptr<ValueLink> fwkHmNext() const { return next_; }
  void fwkHmNextIs(Zon::Ptr<ValueLink> const& next) { next_ = next; }

 private:
  Zon::Ptr<ValueLink> next_;
};

template <class V>
using Map = Zon::HashMap<V, Key>;

template <class V>
Zon::Ptr<V> add(Map<V>& map, std::uint32_t reversed, std::string const& name) {
  auto const member = Zon::newPtr<V>(Key{reversed, name});
  map.newMember(member, map.hashOf(member->fwkKey()));
  return member;
}

/// The names in the order of a walk.
template <class V>
std::string walk(Map<V> const& map) {
  std::string names;
  for (typename Map<V>::IteratorConst it(map); it; it.advance())
    names += it->label();
  return names;
}

}  // namespace MapTest
