#include "Zon/HashMap.h"

#include <cstdint>
#include <cstdlib>
#include <map>
#include <new>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>

#include "platform/Orvet/IntfId.h"
#include "tests/Zon/HashMapMembers.h"

namespace {

bool failAllocations = false;

}  // namespace

// Growth asks this form; the others stay what they are.
void* operator new(std::size_t size, std::nothrow_t const&) noexcept {
  if (failAllocations) return nullptr;
  try {
    return ::operator new(size);
  } catch (std::bad_alloc const&) {
    return nullptr;
  }
}

namespace MapTest {
namespace {

template <class V>
class HashMap : public testing::Test {
 protected:
  ~HashMap() override { EXPECT_EQ(MemberBase::alive, 0); }
};

using MemberKinds = testing::Types<Linked, OwnLink, ValueLink>;
TYPED_TEST_SUITE(HashMap, MemberKinds);

TYPED_TEST(HashMap, StartsEmptyWithOneBucket) {
  Map<TypeParam> const map;
  EXPECT_EQ(map.members(), 0U);
  EXPECT_EQ(map.zonBuckets(), 1U);
  EXPECT_EQ(map.zonModCount(), 0U);
  EXPECT_EQ(map.member(Key{1, "a"}), nullptr);
  EXPECT_EQ(map.startAtHash(Key{0, ""}), nullptr);
  int bucket = 7;
  EXPECT_EQ(map.findNext(nullptr, &bucket), nullptr);
  EXPECT_EQ(bucket, -1);
}

TYPED_TEST(HashMap, HashOfIsTheReversedHashOfTheKey) {
  EXPECT_EQ(Map<TypeParam>::hashOf(Key{0x80000001U, "a"}), 0x80000001U);
}

TYPED_TEST(HashMap, OneBucketIsInAscendingOrderOfReversedHash) {
  // No growth without memory: all five stay in one bucket.
  failAllocations = true;
  Map<TypeParam> map;
  add(map, 0xffffffffU, "e");
  add(map, 0x80000000U, "d");
  add(map, 0, "a");
  add(map, 0x7fffffffU, "c");
  add(map, 1, "b");
  failAllocations = false;
  EXPECT_EQ(map.zonBuckets(), 1U);
  EXPECT_EQ(walk(map), "abcde");
}

TYPED_TEST(HashMap, EqualHashesAreOrderedByKey) {
  Map<TypeParam> map;
  add(map, 5, "b");
  add(map, 5, "a");
  EXPECT_EQ(walk(map), "ab") << "the smaller one was inserted second";
  add(map, 5, "d");
  add(map, 5, "c");
  add(map, 4, "z");
  add(map, 6, "A");
  EXPECT_EQ(walk(map), "zabcdA");
}

TYPED_TEST(HashMap, HoldsOneReferenceOnEachMember) {
  Map<TypeParam> map;
  std::vector<Zon::Ptr<TypeParam>> members;
  for (std::uint32_t i = 0; i < 100; ++i)
    members.push_back(add(map, i * 0x9e3779b9U, std::to_string(i)));
  for (auto const& member : members)
    EXPECT_EQ(member->zonReferences(), 2U);
  for (std::size_t i = 0; i < 100; i += 2)
    map.memberDel(members[i]->fwkKey());
  for (std::size_t i = 0; i < 100; ++i)
    EXPECT_EQ(members[i]->zonReferences(), i % 2 == 0 ? 1U : 2U);
}

TYPED_TEST(HashMap, InsertionAndDeletionMoveTheCounters) {
  Map<TypeParam> map;
  add(map, 1, "a");
  add(map, 2, "b");
  EXPECT_EQ(map.members(), 2U);
  EXPECT_EQ(map.zonModCount(), 2U);
  map.memberDel(Key{1, "a"});
  EXPECT_EQ(map.members(), 1U);
  EXPECT_EQ(map.zonModCount(), 3U);
  EXPECT_EQ(map.memberDel(Key{1, "a"}), nullptr);
  EXPECT_EQ(map.zonModCount(), 3U) << "removing what is absent is no change";
}

TYPED_TEST(HashMap, DoublesWhileThereAreMoreMembersThanBucketsAndNeverShrinks) {
  Map<TypeParam> map;
  std::uint32_t buckets = 1;
  for (std::uint32_t i = 0; i < 1000; ++i) {
    add(map, i * 0x9e3779b9U, std::to_string(i));
    if (map.members() > buckets) buckets *= 2;
    ASSERT_EQ(map.zonBuckets(), buckets);
  }
  EXPECT_EQ(buckets, 1024U);
  map.memberDelAll();
  EXPECT_EQ(map.members(), 0U);
  EXPECT_EQ(map.zonBuckets(), 1024U);
}

TYPED_TEST(HashMap, OrderDoesNotDependOnTheNumberOfBuckets) {
  Map<TypeParam> map;
  std::map<std::uint32_t, std::string> sorted;
  for (std::uint32_t i = 0; i < 200; ++i) {
    std::uint32_t const reversed = i * 0x9e3779b9U;
    std::string const name = std::to_string(i) + " ";
    sorted[reversed] = name;
    add(map, reversed, name);
    std::string expected;
    for (auto const& [hash, text] : sorted)
      expected += text;
    ASSERT_EQ(walk(map), expected);
  }
}

TYPED_TEST(HashMap, AFailedAllocationIsHarmlessAndALaterInsertionCatchesUp) {
  Map<TypeParam> map;
  failAllocations = true;
  for (std::uint32_t i = 0; i < 100; ++i)
    add(map, i * 0x9e3779b9U, std::to_string(i));
  EXPECT_EQ(map.zonBuckets(), 1U);
  EXPECT_EQ(map.members(), 100U);
  std::string const before = walk(map);
  failAllocations = false;
  add(map, 0xffffffffU, "last");
  EXPECT_EQ(map.zonBuckets(), 128U);
  EXPECT_EQ(walk(map), before + "last");
}

TYPED_TEST(HashMap, FindsMembersByKeyAmongEqualHashes) {
  Map<TypeParam> map;
  for (char const* const name : {"c", "a", "d", "b"})
    add(map, 9, name);
  add(map, 8, "x");
  add(map, 10, "y");
  for (char const* const name : {"a", "b", "c", "d"}) {
    ASSERT_NE(map.member(Key{9, name}), nullptr);
    EXPECT_EQ(map.member(Key{9, name})->label(), name);
    EXPECT_EQ(map.find(Key{9, name}), map.member(Key{9, name}).ptr());
  }
  EXPECT_EQ(map.member(Key{9, "e"}), nullptr);
  EXPECT_EQ(map.member(Key{7, "a"}), nullptr);
}

TYPED_TEST(HashMap, FindDoesNotCountAndMemberDoes) {
  Map<TypeParam> map;
  auto const a = add(map, 1, "a");
  EXPECT_EQ(map.find(Key{1, "a"})->zonReferences(), 2U);
  EXPECT_EQ(map.member(Key{1, "a"})->zonReferences(), 3U);
}

TYPED_TEST(HashMap, StartAtHashFindsTheMemberAtOrBehindTheKey) {
  Map<TypeParam> map;
  add(map, 0x10000000U, "a");
  add(map, 0x10000000U, "c");
  add(map, 0x80000000U, "b");
  auto const at = [&map](std::uint32_t reversed, char const* name) {
    auto const member = map.startAtHash(Key{reversed, name});
    return member ? member->label() : std::string("none");
  };
  EXPECT_EQ(at(0, "z"), "a");
  EXPECT_EQ(at(0x10000000U, ""), "a");
  EXPECT_EQ(at(0x10000000U, "a"), "a");
  EXPECT_EQ(at(0x10000000U, "b"), "c") << "an absent key among equal hashes must not skip its neighbours";
  EXPECT_EQ(at(0x10000000U, "c"), "c");
  EXPECT_EQ(at(0x10000000U, "d"), "b");
  EXPECT_EQ(at(0x7fffffffU, "a"), "b");
  EXPECT_EQ(at(0x80000000U, "b"), "b");
  EXPECT_EQ(at(0x80000000U, "c"), "none");
  EXPECT_EQ(at(0xffffffffU, "a"), "none") << "a key greater than every member";
}

TYPED_TEST(HashMap, FindNextWalksTheWholeMapAndReportsTheBucket) {
  Map<TypeParam> map;
  for (std::uint32_t i = 0; i < 4; ++i)
    add(map, i << 30, std::to_string(i));
  EXPECT_EQ(map.zonBuckets(), 4U);
  int bucket = -1;
  Zon::Ptr<TypeParam> member;
  for (int i = 0; i < 4; ++i) {
    member = map.findNext(member.ptr(), &bucket);
    ASSERT_NE(member, nullptr);
    EXPECT_EQ(bucket, i);
    EXPECT_EQ(member->label(), std::to_string(i));
  }
  EXPECT_EQ(map.findNext(member.ptr(), &bucket), nullptr);
  EXPECT_EQ(bucket, -1);
}

TYPED_TEST(HashMap, FindNextOfAMemberThatLeftGoesOnBehindItsKey) {
  Map<TypeParam> map;
  auto const a = add(map, 1, "a");
  auto const b = add(map, 2, "b");
  add(map, 3, "c");
  map.memberDel(b->fwkKey());
  int bucket = -1;
  EXPECT_EQ(map.findNext(b.ptr(), &bucket)->label(), "c");
  map.memberDel(Key{3, "c"});
  EXPECT_EQ(map.findNext(b.ptr(), &bucket), nullptr);
}

TYPED_TEST(HashMap, DeletionReturnsTheMemberWithItsLinkCleared) {
  for (std::size_t i = 0; i < 4; ++i) {
    Map<TypeParam> map;
    for (char const* const name : {"a", "b", "c", "d"})
      add(map, 3, name);
    std::string rest = "abcd";
    std::string const name = rest.substr(i, 1);
    rest.erase(i, 1);
    auto const removed = map.memberDel(Key{3, name});
    ASSERT_NE(removed, nullptr);
    EXPECT_EQ(removed->label(), name);
    EXPECT_EQ(removed->zonReferences(), 1U);
    EXPECT_EQ(removed->fwkHmNext(), nullptr);
    EXPECT_EQ(walk(map), rest);
    map.newMember(removed, map.hashOf(removed->fwkKey()));
    EXPECT_EQ(walk(map), "abcd");
  }
}

TYPED_TEST(HashMap, DeletionByAMembersOwnKeyIsSafe) {
  Map<TypeParam> map;
  add(map, 3, "a");
  TypeParam* const a = map.find(Key{3, "a"});
  map.memberDel(a->fwkKey());
  EXPECT_EQ(map.members(), 0U);
}

TYPED_TEST(HashMap, ARemovedMemberGoesIntoAnotherMap) {
  Map<TypeParam> one;
  Map<TypeParam> other;
  auto const a = add(one, 1, "a");
  add(one, 2, "b");
  one.memberDel(a->fwkKey());
  other.newMember(a, other.hashOf(a->fwkKey()));
  EXPECT_EQ(walk(one), "b");
  EXPECT_EQ(walk(other), "a");
  EXPECT_EQ(a->zonReferences(), 2U);
}

TYPED_TEST(HashMap, DestructionReleasesEveryMember) {
  {
    Map<TypeParam> map;
    for (std::uint32_t i = 0; i < 1000; ++i)
      add(map, i * 0x9e3779b9U, std::to_string(i));
    EXPECT_EQ(MemberBase::alive, 1000);
  }
  EXPECT_EQ(MemberBase::alive, 0);
}

TYPED_TEST(HashMap, DestructionReleasesInOrderAndClearsTheLinksOfSurvivors) {
  std::string deaths;
  Zon::Ptr<TypeParam> survivor;
  {
    Map<TypeParam> map;
    for (std::uint32_t const i : {3U, 1U, 4U, 0U, 2U}) {
      auto const member = add(map, i << 29, std::to_string(i));
      if (i == 2) {
        survivor = member;
      } else {
        member->onDeath = [&deaths, i] { deaths += std::to_string(i); };
      }
    }
  }
  EXPECT_EQ(deaths, "0134");
  EXPECT_EQ(survivor->fwkHmNext(), nullptr);
  EXPECT_EQ(survivor->zonReferences(), 1U);
}

TYPED_TEST(HashMap, MemberDelAllLetsGoOfEachBeforeTheNext) {
  Map<TypeParam> map;
  std::string deaths;
  for (std::uint32_t i = 0; i < 5; ++i) {
    add(map, i << 29, std::to_string(i))->onDeath = [&deaths, &map, i] {
      deaths += std::to_string(i) + ":" + std::to_string(map.members()) + " ";
    };
  }
  map.memberDelAll();
  EXPECT_EQ(deaths, "0:4 1:3 2:2 3:1 4:0 ");
}

// ---------------------------------------------------------------------------------------------------------------
// Destructors of members that use the map being emptied

TYPED_TEST(HashMap, ADestructorFindsTheMapEmptyWhileItIsReleased) {
  std::string seen;
  {
    Map<TypeParam> map;
    for (std::uint32_t i = 0; i < 4; ++i) {
      add(map, i << 30, std::to_string(i))->onDeath = [&seen, &map] {
        seen += std::to_string(map.members());
        for (std::uint32_t k = 0; k < 4; ++k) {
          if (map.memberDel(Key{k << 30, std::to_string(k)})) seen += "?";
        }
        seen += walk(map);
      };
    }
  }
  EXPECT_EQ(seen, "0000");
}

TYPED_TEST(HashMap, ADestructorThatInsertsIsFollowedByAnotherRound) {
  std::string deaths;
  {
    Map<TypeParam> map;
    for (std::uint32_t i = 0; i < 4; ++i) {
      add(map, i << 30, std::to_string(i))->onDeath = [&deaths, &map, i] {
        deaths += std::to_string(i);
        add(map, (3 - i) << 30, "late")->onDeath = [&deaths, i] { deaths += static_cast<char>('a' + i); };
      };
    }
  }
  EXPECT_EQ(deaths, "0123dcba");
}

TYPED_TEST(HashMap, ADestructorMayDropItsNeighbours) {
  std::string deaths;
  std::vector<Zon::Ptr<TypeParam>> held;
  {
    Map<TypeParam> map;
    for (std::uint32_t i = 0; i < 6; ++i) {
      held.push_back(add(map, i << 29, std::to_string(i)));
      held.back()->onDeath = [&deaths, &held, i] {
        deaths += std::to_string(i);
        if (i > 0) held[i - 1] = nullptr;
        if (i < 5) held[i + 1] = nullptr;
      };
    }
    held[2] = nullptr;
  }
  EXPECT_EQ(deaths, "210345") << "each dies once: in its turn, or when its neighbour lets go of it";
}

TYPED_TEST(HashMap, TheCounterRisesByTheNumberOfMembersEmptied) {
  Map<TypeParam> map;
  for (std::uint32_t i = 0; i < 10; ++i)
    add(map, i * 0x9e3779b9U, std::to_string(i));
  Zon::HashMapVTable<TypeParam, Key> operations;
  map.emptyAllBucketsG(&operations, Zon::HashMapMember<TypeParam>::position(map.startAtHash(Key{}).ptr()), 0);
  EXPECT_EQ(map.zonModCount(), 20U);
  EXPECT_EQ(map.members(), 0U);
}

// ---------------------------------------------------------------------------------------------------------------

void* releaseChain(void*) {
  // Equal hashes: one chain, whatever the number of buckets. Descending keys go to the head at once.
  Map<Linked> map;
  char name[16];
  for (int i = 1'000'000; i > 0; --i) {
    std::snprintf(name, sizeof name, "%07d", i);
    auto const member = Zon::newPtr<Linked>(Key{42, name});
    map.newMember(member, 42);
  }
  EXPECT_EQ(map.members(), 1'000'000U);
  return nullptr;
}

TEST(HashMapChain, OfAMillionMembersIsReleasedOnA64KiBStack) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, 64 * 1024), 0);
  pthread_t thread;
  ASSERT_EQ(pthread_create(&thread, &attributes, releaseChain, nullptr), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
  EXPECT_EQ(MemberBase::alive, 0);
}

TEST(HashMapLinked, AMemberKnowsWhetherItIsInAMap) {
  Map<Linked> map;
  auto const a = add(map, 1, "a");
  EXPECT_TRUE(a->zonInMap());
  map.memberDel(a->fwkKey());
  EXPECT_FALSE(a->zonInMap());
  {
    Map<Linked> dying;
    dying.newMember(a, 1);
  }
  EXPECT_FALSE(a->zonInMap());
}

// ---------------------------------------------------------------------------------------------------------------
// Keys of the system

template <class K>
class Named : public Zon::PtrInterface, public Zon::HashMapLink<Named<K>> {
 public:
  explicit Named(K key) : key_(std::move(key)) {}

  K const& fwkKey() const { return key_; }

 private:
  K key_;
};

template <class K>
class HashMapOfStrings : public testing::Test {};

using StringKeys = testing::Types<Orvet::IntfId, Zon::String8>;
TYPED_TEST_SUITE(HashMapOfStrings, StringKeys);

TYPED_TEST(HashMapOfStrings, OrdersByReversedHashAndFindsEqualBytesInOtherStrings) {
  using Member = Named<TypeParam>;
  Zon::HashMap<Member, TypeParam> map;
  std::set<std::pair<std::uint32_t, std::string>> sorted;
  std::vector<std::string> names = {"", " ", "a/b", "Ethernet1", "Ethernet2", std::string(255, 'x'), "\xc3\xa4"};
  for (int i = 0; i < 500; ++i)
    names.push_back("Ethernet" + std::to_string(i / 24 + 3) + "/" + std::to_string(i % 24));
  for (std::string const& name : names) {
    auto const member = Zon::newPtr<Member>(TypeParam(name));
    map.newMember(member, map.hashOf(member->fwkKey()));
    sorted.emplace(Zon::bitReverse(TypeParam(name).hash()), name);
  }
  auto expected = sorted.begin();
  for (typename Zon::HashMap<Member, TypeParam>::Iterator it(map); it; it.advance()) {
    ASSERT_NE(expected, sorted.end());
    EXPECT_EQ(it.key(), TypeParam(expected->second));
    ++expected;
  }
  EXPECT_EQ(expected, sorted.end());
  for (std::string const& name : names) {
    ASSERT_NE(map.member(TypeParam(name)), nullptr) << name;
    EXPECT_EQ(map.member(TypeParam(name))->fwkKey(), TypeParam(name));
  }
  EXPECT_EQ(map.member(TypeParam("Ethernet")), nullptr);
}

TYPED_TEST(HashMapOfStrings, AnEmptyKeyIsLegalButNoBookmark) {
  using Member = Named<TypeParam>;
  Zon::HashMap<Member, TypeParam> map;
  auto const empty = Zon::newPtr<Member>(TypeParam(""));
  map.newMember(empty, map.hashOf(empty->fwkKey()));
  typename Zon::HashMap<Member, TypeParam>::Iterator it(map);
  EXPECT_TRUE(it);
  EXPECT_FALSE(it.hasBookmark());
  map.memberDel(TypeParam(""));
  auto const named = Zon::newPtr<Member>(TypeParam("x"));
  map.newMember(named, map.hashOf(named->fwkKey()));
  it.reset();
  EXPECT_TRUE(it.hasBookmark());
  it.advance();
  EXPECT_FALSE(it.hasBookmark());
}

// ---------------------------------------------------------------------------------------------------------------

template <class V>
class HashMapDeathTest : public testing::Test {};
TYPED_TEST_SUITE(HashMapDeathTest, MemberKinds);

constexpr char linked[] = "t->fwkHmNext\\(\\) == 0.*Zon/HashMap.*352";

TYPED_TEST(HashMapDeathTest, InsertingAMemberWithALinkStopsTheProcess) {
  EXPECT_DEATH(
      {
        Map<TypeParam> map;
        auto const a = Zon::newPtr<TypeParam>(Key{1, "a"});
        a->fwkHmNextIs(Zon::newPtr<TypeParam>(Key{2, "b"}));
        map.newMember(a, 1);
      },
      linked);
}

TYPED_TEST(HashMapDeathTest, InsertingAMemberTwiceStopsTheProcessAlsoForTheLastOfAChain) {
  EXPECT_DEATH(
      {
        Map<TypeParam> map;
        auto const a = add(map, 1, "a");
        map.newMember(a, 1);
      },
      linked);
  EXPECT_DEATH(
      {
        Map<TypeParam> map;
        auto const a = add(map, 1, "a");
        add(map, 1, "b");
        map.newMember(a, 1);
      },
      linked);
}

TEST(HashMapLinkedDeathTest, InsertingIntoASecondMapStopsTheProcess) {
  EXPECT_DEATH(
      {
        Map<Linked> one;
        Map<Linked> other;
        auto const a = add(one, 1, "a");
        other.newMember(a, 1);
      },
      linked);
}

#ifndef NDEBUG
TEST(HashMapLinkedDeathTest, AWrongHashIsReportedInDebugBuilds) {
  EXPECT_DEATH(
      {
        Map<Linked> map;
        map.newMember(Zon::newPtr<Linked>(Key{1, "a"}), 2);
      },
      "hash == hashOf");
}

TEST(HashMapLinkedDeathTest, AMemberThatDiesInItsMapIsReportedInDebugBuilds) {
  EXPECT_DEATH(
      {
        Map<Linked> map;
        Linked* const a = add(map, 1, "a").ptr();
        Zon::decrement(a);
      },
      "!zonInMap");
}
#endif

}  // namespace
}  // namespace MapTest
