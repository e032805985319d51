#include "Zon/Ptr.h"

#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

class Thing : public Zon::PtrInterface {
 public:
  explicit Thing(int& deaths) : deaths_(&deaths) {}
  ~Thing() override { ++*deaths_; }

  Zon::Ptr<Thing> other;

 private:
  int* deaths_;
};

class Special final : public Thing {
 public:
  using Thing::Thing;
};

// Looks at the pointer that held it while it dies.
class Watching final : public Zon::PtrInterface {
 public:
  Watching(Zon::Ptr<Watching> const& slot, bool& wasNull) : slot_(&slot), wasNull_(&wasNull) {}
  ~Watching() override { *wasNull_ = *slot_ == nullptr; }

 private:
  Zon::Ptr<Watching> const* slot_;
  bool* wasNull_;
};

class PtrTest : public testing::Test {
 protected:
  int deaths = 0;
};

// Const never becomes mutable, a base never a derived, and unrelated types not at all.
static_assert(std::is_convertible_v<Zon::Ptr<Special>, Zon::Ptr<Thing>>);
static_assert(std::is_convertible_v<Zon::Ptr<Thing>, Zon::Ptr<Thing const>>);
static_assert(std::is_convertible_v<Zon::Ptr<Special>, Zon::Ptr<Zon::PtrInterface const>>);
static_assert(!std::is_convertible_v<Zon::Ptr<Thing const>, Zon::Ptr<Thing>>);
static_assert(!std::is_convertible_v<Zon::Ptr<Thing>, Zon::Ptr<Special>>);
static_assert(std::is_convertible_v<Thing*, Zon::Ptr<Thing>>);
static_assert(std::is_convertible_v<std::nullptr_t, Zon::Ptr<Thing>>);
static_assert(!std::is_convertible_v<Zon::Ptr<Thing>, bool>);
static_assert(sizeof(Zon::Ptr<Thing>) == sizeof(Thing*));

TEST_F(PtrTest, NewPtrAdoptsTheCountTheObjectIsBornWith) {
  auto const thing = Zon::newPtr<Thing>(deaths);
  EXPECT_EQ(thing->zonWord(), 1U);
}

TEST_F(PtrTest, NullIsNeverTouched) {
  Zon::Ptr<Thing> null;
  Zon::Ptr<Thing> copy(null);
  Zon::Ptr<Thing> moved(std::move(copy));
  null = moved;
  moved = nullptr;
  EXPECT_FALSE(null);
  EXPECT_EQ(null.ptr(), nullptr);
  EXPECT_EQ(null, nullptr);
  EXPECT_EQ(nullptr, null);
}

TEST_F(PtrTest, ConstructionFromARawPointerAlwaysIncrements) {
  auto const thing = Zon::newPtr<Thing>(deaths);
  Zon::Ptr<Thing> const second = thing.ptr();
  EXPECT_EQ(thing->zonWord(), 2U);
}

TEST_F(PtrTest, CopyingIncrementsAndDestructionDecrements) {
  auto const thing = Zon::newPtr<Thing>(deaths);
  {
    Zon::Ptr<Thing> const copy = thing;
    Zon::Ptr<Thing const> const reader = copy;
    EXPECT_EQ(thing->zonWord(), 3U);
  }
  EXPECT_EQ(thing->zonWord(), 1U);
  EXPECT_EQ(deaths, 0);
}

TEST_F(PtrTest, TheLastReleaseDestroysOnce) {
  Zon::Ptr<Thing> first = Zon::newPtr<Thing>(deaths);
  Zon::Ptr<Thing> second = first;
  first = nullptr;
  EXPECT_EQ(deaths, 0);
  second = nullptr;
  EXPECT_EQ(deaths, 1);
}

TEST_F(PtrTest, MovingLeavesTheCountAlone) {
  Zon::Ptr<Special> special = Zon::newPtr<Special>(deaths);
  Special* const raw = special.ptr();
  Zon::Ptr<Thing> thing = std::move(special);
  Zon::Ptr<Thing> assigned;
  assigned = std::move(thing);
  EXPECT_EQ(raw->zonWord(), 1U);
  EXPECT_EQ(assigned, raw);
}

TEST_F(PtrTest, ReassignmentReleasesTheOldObject) {
  int other = 0;
  Zon::Ptr<Thing> thing = Zon::newPtr<Thing>(deaths);
  thing = Zon::newPtr<Thing>(other);
  EXPECT_EQ(deaths, 1);
  EXPECT_EQ(other, 0);
}

TEST_F(PtrTest, SelfAssignmentAndSelfMoveKeepTheObject) {
  Zon::Ptr<Thing> thing = Zon::newPtr<Thing>(deaths);
  auto& same = thing;
  thing = same;
  EXPECT_EQ(thing->zonWord(), 1U);
  thing = std::move(same);
  ASSERT_TRUE(thing);
  EXPECT_EQ(thing->zonWord(), 1U);
  EXPECT_EQ(deaths, 0);
}

TEST_F(PtrTest, AssignmentFromWithinTheReleasedObjectIsSafe) {
  int inner = 0;
  Zon::Ptr<Thing> thing = Zon::newPtr<Thing>(deaths);
  thing->other = Zon::newPtr<Thing>(inner);
  thing = thing->other;
  EXPECT_EQ(deaths, 1);
  EXPECT_EQ(inner, 0);
  EXPECT_EQ(thing->zonWord(), 1U);
}

TEST_F(PtrTest, ASlotIsNullBeforeItsObjectDies) {
  bool wasNull = false;
  Zon::Ptr<Watching> slot;
  slot = Zon::newPtr<Watching>(slot, wasNull);
  slot = nullptr;
  EXPECT_TRUE(wasNull);
}

TEST_F(PtrTest, ComparesByIdentityAgainstPointersOfAnyType) {
  auto const special = Zon::newPtr<Special>(deaths);
  Zon::Ptr<Thing> const thing = special;
  Zon::Ptr<Zon::PtrInterface const> const base = special;
  auto const other = Zon::newPtr<Special>(deaths);
  EXPECT_TRUE(thing == special);
  EXPECT_TRUE(base == thing);
  EXPECT_TRUE(thing == special.ptr());
  EXPECT_TRUE(special.ptr() == base);
  EXPECT_TRUE(thing != other);
  EXPECT_TRUE(thing != other.ptr());
  EXPECT_TRUE(thing != nullptr);
  Thing const* const raw = special.ptr();
  EXPECT_TRUE(thing == raw);
}

TEST_F(PtrTest, PtrCastAnswersNullForAnotherTypeAndForNull) {
  Zon::Ptr<Thing> const special = Zon::newPtr<Special>(deaths);
  Zon::Ptr<Thing> const plain = Zon::newPtr<Thing>(deaths);
  EXPECT_EQ(Zon::ptrCast<Special>(special), special);
  EXPECT_EQ(special->zonWord(), 1U);
  EXPECT_EQ(Zon::ptrCast<Special>(plain), nullptr);
  EXPECT_EQ(Zon::ptrCast<Special>(Zon::Ptr<Thing>()), nullptr);
  Zon::Ptr<Thing const> const reader = special;
  Zon::Ptr<Special const> const cast = Zon::ptrCast<Special const>(reader);
  EXPECT_EQ(cast, special);
}

TEST_F(PtrTest, AConstructorThatThrowsLeavesNothing) {
  struct Failing : Thing {
    explicit Failing(int& deaths) : Thing(deaths) { throw 1; }
  };
  EXPECT_THROW(Zon::newPtr<Failing>(deaths), int);
  EXPECT_EQ(deaths, 1);
}

TEST_F(PtrTest, GrowingAVectorOfPointersKeepsCounts) {
  auto const thing = Zon::newPtr<Thing>(deaths);
  std::vector<Zon::Ptr<Thing>> many;
  for (int i = 0; i < 1000; ++i)
    many.push_back(thing);
  EXPECT_EQ(thing->zonWord(), 1001U);
  many.clear();
  EXPECT_EQ(thing->zonWord(), 1U);
}

TEST_F(PtrTest, AChainCanReplaceItselfByItsSuccessor) {
  Zon::Ptr<Thing> head;
  for (int i = 0; i < 100; ++i) {
    auto const node = Zon::newPtr<Thing>(deaths);
    node->other = head;
    head = node;
  }
  while (head)
    head = head->other;
  EXPECT_EQ(deaths, 100);
}

}  // namespace
