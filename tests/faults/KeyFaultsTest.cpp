// Operations of a map's keys throw: there is no way to go on.

#include <cstdint>

#include <gtest/gtest.h>

#include "Zon/HashMap.h"
#include "faults/CallOuts.h"

namespace Faults {
namespace {

using Zon::newPtr;

/// A key whose operations throw when told to.
struct ThrowingKey {
  enum class At { nothing, hash, equality, order };
  int number = 0;

  static void call(At at) {
    if (at == throwsAt) throw Plain{7};
  }
  std::uint32_t hash() const {
    call(At::hash);
    return 1;
  }
  friend bool operator==(ThrowingKey const& a, ThrowingKey const& b) {
    call(At::equality);
    return a.number == b.number;
  }
  friend bool operator<(ThrowingKey const& a, ThrowingKey const& b) {
    call(At::order);
    return a.number < b.number;
  }

  inline static At throwsAt = At::nothing;
};

TEST(KeyFaultsDeathTest, AKeyOperationThatThrowsEndsTheProcess) {
  struct Member : Zon::PtrInterface, Zon::HashMapLink<Member> {
    explicit Member(ThrowingKey k) : key(k) {}
    ThrowingKey const& fwkKey() const noexcept { return key; }
    ThrowingKey const key;
  };
  using Map = Zon::HashMap<Member, ThrowingKey>;
  using At = ThrowingKey::At;
  Map map;
  map.newMember(newPtr<Member>(ThrowingKey{1}), Map::hashOf(ThrowingKey{1}));
  auto const second = newPtr<Member>(ThrowingKey{2});
  auto const hash = Map::hashOf(second->key);
  auto const throwingAt = [](At at, auto const& operation) {
    ThrowingKey::throwsAt = at;
    thrownBy(operation);
    ThrowingKey::throwsAt = At::nothing;
  };
  constexpr char const* ended = "terminate called after throwing an instance of .*Plain";
  EXPECT_DEATH(throwingAt(At::hash, [&] { map.member(second->key); }), ended);
  EXPECT_DEATH(throwingAt(At::equality, [&] { map.member(second->key); }), ended);
  EXPECT_DEATH(throwingAt(At::equality, [&] { map.memberDel(second->key); }), ended);
  EXPECT_DEATH(throwingAt(At::order, [&] { map.newMember(second, hash); }), ended);
  EXPECT_DEATH(throwingAt(At::order, [&] { map.startAtHash(second->key); }), ended);
  // Nothing was told to throw: the same operations return.
  throwingAt(At::nothing, [&] { map.newMember(second, hash); });
  EXPECT_EQ(map.member(second->key), second);
}

}  // namespace
}  // namespace Faults
