#include "Zon/HashMapGeneric.h"

#include <cstdint>
#include <cstring>
#include <string>

#include <gtest/gtest.h>
#include <malloc.h>

#include "tests/Zon/HashMapMembers.h"

namespace MapTest {
namespace {

// The slot of a virtual operation: the pointer to member holds one plus its offset in the table.
template <class Operation>
std::size_t slotOf(Operation operation) {
  std::ptrdiff_t word[2];
  static_assert(sizeof operation == sizeof word);
  std::memcpy(word, &operation, sizeof word);
  return static_cast<std::size_t>(word[0] - 1) / sizeof(void*);
}

TEST(HashMapVTable, HasItsOperationsInTheirOrder) {
  using Operations = Zon::HashMapVTableGeneric;
  EXPECT_EQ(slotOf(&Operations::keyEquals), 0U);
  EXPECT_EQ(slotOf(&Operations::keyLessThan), 1U);
  EXPECT_EQ(slotOf(&Operations::setNext), 2U);
  EXPECT_EQ(slotOf(&Operations::hash), 3U);
}

template <class V>
class HashMapOperations : public testing::Test {
 protected:
  Zon::HashMapVTable<V, Key> operations;
  Zon::Ptr<V> a = Zon::newPtr<V>(Key{1, "a"});
  Zon::Ptr<V> b = Zon::newPtr<V>(Key{2, "b"});
};

using MemberKinds = testing::Types<Linked, OwnLink, ValueLink>;
TYPED_TEST_SUITE(HashMapOperations, MemberKinds);

TYPED_TEST(HashMapOperations, CompareAKeyWithAMembers) {
  Key const key{9, "b"};
  EXPECT_FALSE(this->operations.keyEquals(&key, this->a.ptr()));
  EXPECT_TRUE(this->operations.keyEquals(&key, this->b.ptr()));
  EXPECT_FALSE(this->operations.keyLessThan(&key, this->a.ptr()));
  EXPECT_FALSE(this->operations.keyLessThan(&key, this->b.ptr()));
  Key const smaller{9, "A"};
  EXPECT_TRUE(this->operations.keyLessThan(&smaller, this->a.ptr()));
}

TYPED_TEST(HashMapOperations, ANullKeyIsLessThanEveryMember) {
  EXPECT_TRUE(this->operations.keyLessThan(nullptr, this->a.ptr()));
}

TYPED_TEST(HashMapOperations, GiveTheReversedHash) { EXPECT_EQ(this->operations.hash(this->b.ptr()), 2U); }

TYPED_TEST(HashMapOperations, SetTheNextLinkCounted) {
  this->operations.setNext(this->a.ptr(), this->b.ptr());
  EXPECT_EQ(this->a->fwkHmNext(), this->b);
  EXPECT_EQ(this->operations.next(this->a.ptr()), this->b.ptr());
  EXPECT_EQ(this->b->zonReferences(), 2U);
  this->operations.setNext(this->a.ptr(), this->b.ptr());
  EXPECT_EQ(this->b->zonReferences(), 2U) << "no change when equal";
  this->operations.setNext(this->a.ptr(), nullptr);
  EXPECT_EQ(this->a->fwkHmNext(), nullptr);
  EXPECT_EQ(this->b->zonReferences(), 1U);
}

TYPED_TEST(HashMapOperations, FindNextFollowsTheLinkWithoutKeyAndSeeksWithOne) {
  Map<TypeParam> map;
  map.newMember(this->a, 1);
  map.newMember(this->b, 2);
  int const position = Zon::HashMapMember<TypeParam>::position(this->a.ptr());
  int bucket = -1;
  EXPECT_EQ(map.findNextG(&this->operations, position, 0, nullptr, &bucket, nullptr), this->a.ptr());
  EXPECT_EQ(bucket, 0);
  EXPECT_EQ(map.findNextG(&this->operations, position, 0, this->a.ptr(), &bucket, nullptr), this->b.ptr());
  map.memberDel(this->a->fwkKey());
  Key key = this->a->fwkKey();
  bucket = -1;
  EXPECT_EQ(map.findNextG(&this->operations, position, 0, this->a.ptr(), &bucket, &key), this->b.ptr());
  EXPECT_EQ(bucket, 0);
  key = this->b->fwkKey();
  EXPECT_EQ(map.findNextG(&this->operations, position, 0, this->b.ptr(), &bucket, &key), nullptr);
  EXPECT_EQ(bucket, -1);
}

TYPED_TEST(HashMapOperations, FindNextBucketSkipsTheEmptyOnes) {
  Map<TypeParam> map;
  // Ten distinct hashes make 16 buckets; only the first and the last are used.
  for (std::uint32_t i = 0; i < 9; ++i)
    add(map, i, std::to_string(i));
  auto const last = add(map, 0xffffffffU, "last");
  ASSERT_EQ(map.zonBuckets(), 16U);
  int bucket = -1;
  EXPECT_EQ(map.findNextBucketG(&bucket), map.startAtHash(Key{0, "0"}).ptr());
  EXPECT_EQ(bucket, 0);
  EXPECT_EQ(map.findNextBucketG(&bucket), last.ptr());
  EXPECT_EQ(bucket, 15);
  EXPECT_EQ(map.findNextBucketG(&bucket), nullptr);
  EXPECT_EQ(bucket, -1);
}

TYPED_TEST(HashMapOperations, DeleteMemberTakesOutWhatIsInAndNothingElse) {
  Map<TypeParam> map;
  map.newMember(this->a, 1);
  map.newMember(this->b, 2);
  auto const c = Zon::newPtr<TypeParam>(Key{2, "c"});
  int const position = Zon::HashMapMember<TypeParam>::position(this->a.ptr());
  EXPECT_FALSE(map.deleteMemberG(&this->operations, position, 0, 2, c));
  EXPECT_FALSE(map.deleteMemberG(&this->operations, position, 0, 2, nullptr));
  EXPECT_EQ(map.zonModCount(), 2U);
  EXPECT_TRUE(map.deleteMemberG(&this->operations, position, 0, 1, this->a));
  EXPECT_EQ(map.zonModCount(), 3U);
  EXPECT_EQ(map.members(), 1U);
  EXPECT_EQ(this->a->zonReferences(), 1U);
  EXPECT_EQ(walk(map), "b");
}

TYPED_TEST(HashMapOperations, DeleteMemberWorksAtEveryPositionOfAChain) {
  for (char const name : std::string("wxyz")) {
    Map<TypeParam> map;
    for (char const each : std::string("wxyz"))
      add(map, 5, std::string(1, each));
    auto const member = map.member(Key{5, std::string(1, name)});
    int const position = Zon::HashMapMember<TypeParam>::position(member.ptr());
    EXPECT_TRUE(map.deleteMemberG(&this->operations, position, 0, 5, member));
    EXPECT_EQ(member->fwkHmNext(), nullptr);
    EXPECT_EQ(member->zonReferences(), 1U);
    std::string rest = "wxyz";
    rest.erase(rest.find(name), 1);
    EXPECT_EQ(walk(map), rest);
    for (char const each : rest)
      EXPECT_EQ(map.find(Key{5, std::string(1, each)})->zonReferences(), 1U);
  }
}

TEST(HashMapGeneric, LaysItsCountersOutBehindTheVirtualTableAndAWordOfItsOwn) {
  Map<Linked> map;
  for (char const* const name : {"a", "b", "c"})
    add(map, 5, name);
  map.memberDel(Key{5, "a"});
  map.memberDel(Key{5, "b"});
  std::uint32_t words[4];
  std::memcpy(words, reinterpret_cast<unsigned char const*>(&map) + sizeof(void*), sizeof words);
  EXPECT_EQ(words[1], 5U) << "changes";
  EXPECT_EQ(words[2], 1U) << "members";
  EXPECT_EQ(words[3], 4U) << "buckets";
}

TEST(HashMapGeneric, StartsWithTheBucketsItIsGiven) {
  EXPECT_EQ(Zon::HashMapGeneric(1).zonBuckets(), 1U);
  Zon::HashMapGeneric const eight(8);
  EXPECT_EQ(eight.zonBuckets(), 8U);
  int bucket = -1;
  EXPECT_EQ(eight.findNextBucketG(&bucket), nullptr);
  EXPECT_EQ(bucket, -1);
}

TEST(HashMapGeneric, BeginsWithAnyPowerOfTwoOfEmptyBucketsEachForItsShareOfTheHashes) {
  class Buckets : public Zon::HashMapGeneric {
   public:
    using HashMapGeneric::HashMapGeneric;
    auto indexOf(std::uint32_t hash) const { return bucketOf(hash) - buckets_; }
    bool endsBehind(std::uint32_t count) const { return buckets_[count] == endMark(); }
  };
  for (std::uint32_t count = 1; count != 1024; count *= 2) {
    Buckets const map(count);
    EXPECT_EQ(map.zonBuckets(), count);
    EXPECT_TRUE(map.endsBehind(count)) << count;
    for (std::uint32_t i = 0; i != count; ++i) {
      auto const first = static_cast<std::uint32_t>((std::uint64_t{i} << 32) / count);
      EXPECT_EQ(map.indexOf(first), i);
      EXPECT_EQ(map.indexOf(first + 0xffffffffU / count), i);
    }
    int bucket = -1;
    EXPECT_EQ(map.findNextBucketG(&bucket), nullptr);
    EXPECT_EQ(bucket, -1);
  }
}

TEST(HashMapGeneric, GivesItsBucketsBack) {
  auto const before = mallinfo2().uordblks;
  for (int i = 0; i != 1000; ++i)
    Zon::HashMapGeneric const map(1024);
  EXPECT_LT(mallinfo2().uordblks, before + 1'000'000);
}

TEST(HashMapGenericDeathTest, RefusesWhatIsNoPowerOfTwo) {
  EXPECT_DEATH(Zon::HashMapGeneric(0), "has_single_bit");
  EXPECT_DEATH(Zon::HashMapGeneric(3), "has_single_bit");
}

}  // namespace
}  // namespace MapTest
