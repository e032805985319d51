#include "Zon/HashMapIterator.h"

#include <compare>
#include <cstdint>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "tests/Zon/HashMapMembers.h"

namespace MapTest {
namespace {

template <class V>
class HashMapIterator : public testing::Test {
 protected:
  using It = typename Map<V>::Iterator;
  using ItConst = typename Map<V>::IteratorConst;

  ~HashMapIterator() override { EXPECT_EQ(MemberBase::alive, 0); }

  /// "abcd..." in the order of the walk, evenly spread.
  static void fill(Map<V>& map, std::uint32_t count) {
    for (std::uint32_t i = 0; i < count; ++i)
      add(map, i << 26, nameOf(i));
  }
  static std::string nameOf(std::uint32_t i) { return std::string(1, static_cast<char>('a' + i)); }
  static Key keyOf(char name) { return Key{static_cast<std::uint32_t>(name - 'a') << 26, std::string(1, name)}; }
};

using MemberKinds = testing::Types<Linked, OwnLink, ValueLink>;
TYPED_TEST_SUITE(HashMapIterator, MemberKinds);

TYPED_TEST(HashMapIterator, OnAnEmptyMapStandsNowhere) {
  Map<TypeParam> const map;
  typename TestFixture::ItConst it(map);
  EXPECT_FALSE(it);
  EXPECT_EQ(it.ptr(), nullptr);
  EXPECT_EQ(it.zonBucket(), -1);
  EXPECT_FALSE(it.hasBookmark());
  it.advance();
  EXPECT_FALSE(it);
}

/// A key of which no value stands for none.
struct Always {
  explicit Always(std::uint32_t n) : number(n) {}
  std::uint32_t hash() const noexcept { return number; }
  friend auto operator<=>(Always const&, Always const&) = default;
  std::uint32_t number;
};
class AlwaysKeyed : public Zon::PtrInterface, public Zon::HashMapLink<AlwaysKeyed> {
 public:
  Always fwkKey() const { return Always(0); }
};

TEST(HashMapIteratorOfKeysWithoutEmptyOne, HasABookmarkOnEveryMember) {
  Zon::HashMap<AlwaysKeyed, Always> map;
  map.newMember(Zon::newPtr<AlwaysKeyed>(), map.hashOf(Always(0)));
  Zon::HashMap<AlwaysKeyed, Always>::Iterator it(map);
  EXPECT_TRUE(it.hasBookmark());
  it.advance();
  EXPECT_FALSE(it.hasBookmark());
}

TYPED_TEST(HashMapIterator, WithoutMapStandsNowhereAndMayBeReset) {
  typename TestFixture::It it;
  it.reset();
  it.advance();
  EXPECT_FALSE(it);
  EXPECT_EQ(it.zonModCount(), 0U);
  EXPECT_EQ(it.zonBucket(), -1);
  EXPECT_FALSE(it.hasBookmark());
}

TYPED_TEST(HashMapIterator, VisitsEveryMemberOnceAndReportsItsBucket) {
  Map<TypeParam> map;
  for (std::uint32_t i = 0; i < 4; ++i)
    add(map, i << 30, this->nameOf(i));
  std::string visited;
  for (typename TestFixture::It it(map); it; it.advance()) {
    EXPECT_EQ(it.zonBucket(), static_cast<int>(visited.size()));
    EXPECT_EQ(it.key(), it->fwkKey());
    EXPECT_EQ(it.ptr().ptr(), &*it);
    EXPECT_TRUE(it.hasBookmark());
    visited += it->label();
  }
  EXPECT_EQ(visited, "abcd");
}

TYPED_TEST(HashMapIterator, ExchangedIteratorsGoOnWhereTheOtherStood) {
  Map<TypeParam> map;
  this->fill(map, 20);
  typename TestFixture::It behind(map);
  typename TestFixture::It ahead(map);
  for (int i = 0; i != 10; ++i)
    ahead.advance();
  ASSERT_NE(behind.zonBucket(), ahead.zonBucket());
  behind.swap(ahead);
  auto const rest = [](auto& it) {
    std::string names;
    for (; it; it.advance())
      names += it->label();
    return names;
  };
  EXPECT_EQ(rest(behind), "klmnopqrst");
  EXPECT_EQ(rest(ahead), "abcdefghijklmnopqrst");
}

TYPED_TEST(HashMapIterator, AStepOnAChangedMapBringsItUpToDate) {
  Map<TypeParam> map;
  this->fill(map, 3);
  typename TestFixture::It it(map);
  add(map, 0xffffffffU, "z");
  EXPECT_NE(it.zonModCount(), map.zonModCount());
  it.advance();
  EXPECT_EQ(it.zonModCount(), map.zonModCount());
}

TYPED_TEST(HashMapIterator, AtTheEndAdvancingDoesNothingAndOnlyResetRestarts) {
  Map<TypeParam> map;
  this->fill(map, 1);
  typename TestFixture::It it(map);
  it.advance();
  EXPECT_FALSE(it);
  EXPECT_EQ(it.zonBucket(), -1);
  this->fill(map, 0);
  it.advance();
  EXPECT_FALSE(it);
  add(map, 5U << 26, "f");
  it.advance();
  EXPECT_FALSE(it) << "an insertion behind the end is not found by advancing";
  it.reset();
  EXPECT_EQ(it->label(), "a");
}

TYPED_TEST(HashMapIterator, TheEmptyKeyIsVisitedButIsNoBookmark) {
  Map<TypeParam> map;
  add(map, 0, "");
  add(map, 1, "x");
  typename TestFixture::It it(map);
  EXPECT_TRUE(it);
  EXPECT_FALSE(it.hasBookmark());
  it.advance();
  EXPECT_TRUE(it.hasBookmark());
}

// ---------------------------------------------------------------------------------------------------------------
// Changes during a walk, at each of its steps

constexpr std::uint32_t steps = 12;

TYPED_TEST(HashMapIterator, DeletingTheCurrentMemberContinuesWithItsSuccessor) {
  for (std::uint32_t step = 0; step < steps; ++step) {
    Map<TypeParam> map;
    this->fill(map, steps);
    std::string visited;
    for (typename TestFixture::It it(map); it; it.advance()) {
      visited += it->label();
      if (visited.size() == step + 1) {
        EXPECT_NE(map.memberDel(it), nullptr);
        EXPECT_EQ(it->label(), visited.substr(step)) << "it stays where it stands";
      }
    }
    EXPECT_EQ(visited, "abcdefghijkl");
    EXPECT_EQ(map.members(), steps - 1);
  }
}

TYPED_TEST(HashMapIterator, DeletingTheNextMemberSkipsIt) {
  for (std::uint32_t step = 0; step + 1 < steps; ++step) {
    Map<TypeParam> map;
    this->fill(map, steps);
    std::string visited;
    for (typename TestFixture::It it(map); it; it.advance()) {
      visited += it->label();
      if (visited.size() == step + 1) map.memberDel(this->keyOf(static_cast<char>('a' + step + 1)));
    }
    std::string expected = "abcdefghijkl";
    expected.erase(step + 1, 1);
    EXPECT_EQ(visited, expected);
  }
}

TYPED_TEST(HashMapIterator, DeletingAllOthersEndsTheWalk) {
  for (std::uint32_t step = 0; step < steps; ++step) {
    Map<TypeParam> map;
    this->fill(map, steps);
    std::string visited;
    for (typename TestFixture::It it(map); it; it.advance()) {
      visited += it->label();
      if (visited.size() == step + 1) {
        for (char name = 'a'; name < static_cast<char>('a' + steps); ++name) {
          if (it->label()[0] != name) map.memberDel(this->keyOf(name));
        }
      }
    }
    EXPECT_EQ(visited, std::string("abcdefghijkl").substr(0, step + 1));
    EXPECT_EQ(map.members(), 1U);
  }
}

TYPED_TEST(HashMapIterator, DeletingEverythingEndsTheWalk) {
  for (std::uint32_t step = 0; step < steps; ++step) {
    Map<TypeParam> map;
    this->fill(map, steps);
    std::string visited;
    for (typename TestFixture::It it(map); it; it.advance()) {
      visited += it->label();
      if (visited.size() == step + 1) map.memberDelAll();
    }
    EXPECT_EQ(visited.size(), step + 1);
  }
}

TYPED_TEST(HashMapIterator, SurvivesGrowthAtEveryStepAndSeesWhatIsInsertedAhead) {
  for (std::uint32_t step = 0; step < steps; ++step) {
    Map<TypeParam> map;
    this->fill(map, steps);
    std::string visited;
    for (typename TestFixture::It it(map); it; it.advance()) {
      visited += it->label();
      if (visited.size() == step + 1 && map.members() == steps) {
        std::uint32_t const buckets = map.zonBuckets();
        // Between every two members, and so both ahead of the iterator and behind it.
        for (std::uint32_t i = 0; i < steps * 4; ++i)
          add(map, ((i / 4) << 26) + 1 + i % 4, "-");
        ASSERT_GT(map.zonBuckets(), buckets);
      }
    }
    std::string expected = std::string("abcdefghijkl").substr(0, step + 1);
    for (std::uint32_t i = step; i < steps; ++i)
      expected += (i == step ? "" : this->nameOf(i)) + std::string("----");
    EXPECT_EQ(visited, expected);
  }
}

TYPED_TEST(HashMapIterator, DeletingEachMemberOfAWalkEmptiesTheMap) {
  Map<TypeParam> map;
  this->fill(map, steps);
  std::string removed;
  for (typename TestFixture::It it(map); it; it.advance())
    removed += map.memberDel(it)->label();
  EXPECT_EQ(removed, "abcdefghijkl");
  EXPECT_EQ(map.members(), 0U);
}

TYPED_TEST(HashMapIterator, ResumesAmongEqualHashesByKey) {
  Map<TypeParam> map;
  for (char const* const name : {"a", "b", "c", "d"})
    add(map, 7, name);
  typename TestFixture::It it(map);
  it.advance();
  map.memberDel(it);
  map.memberDel(Key{7, "a"});
  add(map, 7, "bb");
  it.advance();
  EXPECT_EQ(it->label(), "bb");
  it.advance();
  EXPECT_EQ(it->label(), "c");
}

TYPED_TEST(HashMapIterator, ADeletionThatCascadesToTheNextEntryIsSurvived) {
  Map<TypeParam> map;
  this->fill(map, 4);
  map.member(this->keyOf('a'))->onDeath = [&map, this] { map.memberDel(this->keyOf('b')); };
  std::string visited;
  for (typename TestFixture::It it(map); it; it.advance()) {
    visited += it->label();
    map.memberDel(it);
  }
  // 'a' dies when the iterator leaves it, standing on 'b' already.
  EXPECT_EQ(visited, "abcd");
  EXPECT_EQ(map.members(), 0U);
}

TYPED_TEST(HashMapIterator, AMemberThatDiesUnderItMayEmptyTheMap) {
  Map<TypeParam> map;
  this->fill(map, 4);
  map.member(this->keyOf('b'))->onDeath = [&map] { map.memberDelAll(); };
  std::string visited;
  for (typename TestFixture::It it(map); it; it.advance()) {
    visited += it->label();
    if (it->label() == "b") map.memberDel(it);
  }
  EXPECT_EQ(visited, "abc");
  EXPECT_EQ(map.members(), 0U);
}

// ---------------------------------------------------------------------------------------------------------------
// Ownership

TYPED_TEST(HashMapIterator, OwnsTheMemberItStandsOnAfterThatLeftTheMap) {
  Map<TypeParam> map;
  this->fill(map, 2);
  bool dead = false;
  map.member(this->keyOf('a'))->onDeath = [&dead] { dead = true; };
  typename TestFixture::It it(map);
  map.memberDel(this->keyOf('a'));
  EXPECT_FALSE(dead);
  EXPECT_EQ(it->zonReferences(), 1U);
  it.advance();
  EXPECT_TRUE(dead);
  EXPECT_EQ(it->label(), "b");
}

TYPED_TEST(HashMapIterator, EveryCopyOwnsTheMember) {
  Map<TypeParam> map;
  this->fill(map, 2);
  auto a = map.member(this->keyOf('a'));
  auto one = std::make_unique<typename TestFixture::It>(map);
  auto two = std::make_unique<typename TestFixture::It>(*one);
  typename TestFixture::ItConst three(*two);
  map.memberDel(this->keyOf('a'));
  EXPECT_EQ(a->zonReferences(), 4U);
  typename TestFixture::It four;
  four = *two;
  EXPECT_EQ(a->zonReferences(), 5U);
  one = nullptr;
  two = nullptr;
  EXPECT_EQ(a->zonReferences(), 3U);
  four.reset();
  EXPECT_EQ(four->label(), "b");
  EXPECT_EQ(a->zonReferences(), 2U);
  three.advance();
  EXPECT_EQ(three->label(), "b");
  EXPECT_EQ(a->zonReferences(), 1U);
}

TYPED_TEST(HashMapIterator, SelfAssignmentKeepsTheMember) {
  Map<TypeParam> map;
  this->fill(map, 1);
  typename TestFixture::It it(map);
  map.memberDel(it);
  auto& same = it;
  it = same;
  EXPECT_EQ(it->label(), "a");
  EXPECT_EQ(it->zonReferences(), 1U);
}

TYPED_TEST(HashMapIterator, CountsComeOutRightWhenTheMemberLeavesAndReturnsUnderIt) {
  Map<TypeParam> map;
  this->fill(map, 3);
  {
    typename TestFixture::It one(map);
    typename TestFixture::It two(map);
    for (int i = 0; i < 3; ++i) {
      auto const a = map.memberDel(one);
      EXPECT_EQ(a->zonReferences(), 3U);
      map.newMember(a, map.hashOf(a->fwkKey()));
    }
    one.advance();
    EXPECT_EQ(one->label(), "b");
    map.memberDel(two);
    EXPECT_EQ(two->zonReferences(), 1U);
    two.advance();
    EXPECT_EQ(two->label(), "b");
  }
  EXPECT_EQ(walk(map), "bc");
  EXPECT_EQ(MemberBase::alive, 2);
  EXPECT_EQ(map.find(this->keyOf('b'))->zonReferences(), 1U);
}

TYPED_TEST(HashMapIterator, MayOutliveItsMap) {
  typename TestFixture::It it;
  bool dead = false;
  {
    Map<TypeParam> map;
    this->fill(map, 3);
    map.member(this->keyOf('b'))->onDeath = [&dead] { dead = true; };
    it = typename TestFixture::It(map);
    it.advance();
  }
  EXPECT_FALSE(dead);
  EXPECT_EQ(it->label(), "b");
  EXPECT_EQ(it->zonReferences(), 1U);
  it = typename TestFixture::It();
  EXPECT_TRUE(dead);
}

TYPED_TEST(HashMapIterator, DeletionByItReturnsNullForWhatIsNotInTheMap) {
  Map<TypeParam> map;
  Map<TypeParam> other;
  this->fill(map, 2);
  typename TestFixture::It it(map);
  auto const a = map.memberDel(it);
  ASSERT_NE(a, nullptr);
  std::uint32_t const changes = map.zonModCount();
  EXPECT_EQ(map.memberDel(it), nullptr);
  other.newMember(a, other.hashOf(a->fwkKey()));
  EXPECT_EQ(map.memberDel(it), nullptr) << "it is in another map";
  EXPECT_EQ(map.zonModCount(), changes);
  EXPECT_EQ(other.members(), 1U);
  EXPECT_EQ(map.memberDel(typename TestFixture::It()), nullptr);
}

TYPED_TEST(HashMapIterator, OfAConstMapShowsConstMembers) {
  static_assert(
      std::is_same_v<decltype(std::declval<typename TestFixture::ItConst>().ptr()), Zon::Ptr<TypeParam const>>);
  static_assert(std::is_same_v<decltype(std::declval<typename TestFixture::It>().ptr()), Zon::Ptr<TypeParam>>);
  static_assert(!std::is_constructible_v<typename TestFixture::It, Map<TypeParam> const&>);
  static_assert(!std::is_constructible_v<typename TestFixture::It, typename TestFixture::ItConst const&>);
  Map<TypeParam> map;
  this->fill(map, 1);
  typename TestFixture::ItConst it(map);
  EXPECT_EQ(it->label(), "a");
}

}  // namespace
}  // namespace MapTest
