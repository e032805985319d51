#include "Zon/Collection.h"

#include <algorithm>
#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/Collections.h"

namespace {

using Support::Events;
using Zon::newPtr;
using Zon::Ptr;

/// One collection with one watcher "w".
template <class Kind>
class CollectionTest : public testing::Test {
 protected:
  using Owner = typename Kind::Owner;
  using Watcher = typename Kind::Watcher;

  void set(char const* key, int variant) { kind.set(*owner, key, variant); }
  int shown(char const* key) { return kind.shown(*owner, key); }
  bool del(char const* key) { return Kind::del(*owner, key); }
  std::string keys() {
    std::string text;
    for (auto it = Kind::iterator(*owner); it; it.advance())
      text += (text.empty() ? "" : " ") + textOf(it.key());
    return text;
  }
  template <class K>
  static std::string textOf(K const& key) {
    if constexpr (requires { key.stringValue(); }) {
      return key.stringValue().stdString();
    } else {
      return key.stdString();
    }
  }
  std::string heard() { return events.take(); }

  Events events;
  Kind kind;
  Ptr<Owner> owner = newPtr<Owner>("owner");
  Ptr<Watcher> watcher = newPtr<Watcher>("w", events, owner);
};

struct Names {
  template <class Kind>
  static std::string GetName(int) {
    using namespace Support;
    if constexpr (std::is_same_v<Kind, ConfigDirKind>) return "AllIntfConfigDir";
    if constexpr (std::is_same_v<Kind, StatusDirKind>) return "AllIntfStatusDir";
    if constexpr (std::is_same_v<Kind, PtrDirKind>) return "AllIntfQueueCounterPtrDir";
    if constexpr (std::is_same_v<Kind, SliceKind>) return "AllIntfQueueCounterDir";
    if constexpr (std::is_same_v<Kind, CounterDirKind>) return "IntfQueueCounterDir";
    if constexpr (std::is_same_v<Kind, DirKind>) return "Dir";
    if constexpr (std::is_same_v<Kind, ErrdisableKind>) return "ErrdisableStatus";
    if constexpr (std::is_same_v<Kind, ForwardingModelInputsKind>) return "IntfStatus";
  }
};

using EveryKind = testing::Types<Support::ConfigDirKind, Support::StatusDirKind, Support::PtrDirKind,
                                 Support::SliceKind, Support::CounterDirKind, Support::DirKind, Support::ErrdisableKind,
                                 Support::ForwardingModelInputsKind>;
TYPED_TEST_SUITE(CollectionTest, EveryKind, Names);

TYPED_TEST(CollectionTest, StartsEmptyAndAnswersNullForAnAbsentKey) {
  EXPECT_EQ(this->shown("a"), -1);
  EXPECT_FALSE(TypeParam::has(*this->owner, "a"));
  EXPECT_EQ(this->keys(), "");
}

TYPED_TEST(CollectionTest, AddingTellsTheKeyOnceAfterTheChange) {
  int seen = -1;
  this->watcher->act = [&](std::string const&) { seen = this->shown("a"); };
  this->set("a", 1);
  EXPECT_EQ(this->heard(), "w:key(a)");
  EXPECT_EQ(seen, 1);
  EXPECT_TRUE(TypeParam::has(*this->owner, "a"));
}

TYPED_TEST(CollectionTest, AnEqualEntryTellsNobody) {
  this->set("a", 1);
  this->heard();
  this->set("a", 1);
  EXPECT_EQ(this->heard(), "");
}

TYPED_TEST(CollectionTest, AReplacementIsOneKeyedChange) {
  this->set("a", 1);
  this->heard();
  this->set("a", 2);
  EXPECT_EQ(this->heard(), "w:key(a)");
  EXPECT_EQ(this->shown("a"), 2);
  EXPECT_EQ(this->keys(), "a");
}

TYPED_TEST(CollectionTest, RemovingTellsTheKeyOnceAfterTheChange) {
  this->set("a", 1);
  this->heard();
  int seen = 1;
  this->watcher->act = [&](std::string const&) { seen = this->shown("a"); };
  EXPECT_TRUE(this->del("a"));
  EXPECT_EQ(this->heard(), "w:key(a)");
  EXPECT_EQ(seen, -1);
}

TYPED_TEST(CollectionTest, RemovingAnAbsentKeyIsSilent) {
  this->set("a", 1);
  this->heard();
  EXPECT_FALSE(this->del("b"));
  EXPECT_TRUE(this->del("a"));
  this->heard();
  EXPECT_FALSE(this->del("a"));
  EXPECT_EQ(this->heard(), "");
}

TYPED_TEST(CollectionTest, ARemovedEntryMayComeBack) {
  this->set("a", 1);
  this->del("a");
  this->set("a", 1);
  EXPECT_EQ(this->heard(), "w:key(a) w:key(a) w:key(a)");
  EXPECT_EQ(this->shown("a"), 1);
}

TYPED_TEST(CollectionTest, KeysAreAnyBytes) {
  std::string const longName(255, 'x');
  for (char const* key : {"", " ", "a b", "a/b", "Ethernet\xc3\xa4", "<>", longName.c_str()}) {
    this->set(key, 1);
    EXPECT_EQ(this->heard(), "w:key(" + std::string(key) + ")");
    EXPECT_EQ(this->shown(key), 1);
    this->del(key);
    EXPECT_EQ(this->heard(), "w:key(" + std::string(key) + ")");
  }
}

TYPED_TEST(CollectionTest, RemovingTheWholeAnnouncesEveryKeyInOrder) {
  for (char const* key : {"a", "b", "c", "d"})
    this->set(key, 1);
  this->heard();
  std::string expected;
  for (auto it = TypeParam::iterator(*this->owner); it; it.advance())
    expected += (expected.empty() ? "w:key(" : " w:key(") + this->textOf(it.key()) + ")";
  TypeParam::delAll(*this->owner);
  EXPECT_EQ(this->heard(), expected);
  EXPECT_EQ(this->keys(), "");
  TypeParam::delAll(*this->owner);
  EXPECT_EQ(this->heard(), "");
}

TYPED_TEST(CollectionTest, RemovingTheWholeCopesWithAWatcherThatRemovesTheRest) {
  for (char const* key : {"a", "b", "c", "d"})
    this->set(key, 1);
  this->watcher->act = [&](std::string const&) {
    this->watcher->act = nullptr;
    for (char const* key : {"a", "b", "c", "d"})
      this->del(key);
  };
  this->heard();
  TypeParam::delAll(*this->owner);
  std::string const told = this->heard();
  EXPECT_EQ(std::count(told.begin(), told.end(), 'w'), 4);
  EXPECT_EQ(this->keys(), "");
}

TYPED_TEST(CollectionTest, RemovingTheWholeSurvivesTheLossOfTheOwner) {
  for (char const* key : {"a", "b", "c"})
    this->set(key, 1);
  this->heard();
  this->watcher->zon_bitSetIs(Zon::zonUncountedNotifier);
  this->watcher->act = [&](std::string const&) { this->owner = nullptr; };
  auto* const raw = this->owner.ptr();
  TypeParam::delAll(*raw);
  std::string const told = this->heard();
  EXPECT_EQ(std::count(told.begin(), told.end(), 'w'), 4);
  EXPECT_NE(told.find("w:zeroReferences"), std::string::npos);
}

TYPED_TEST(CollectionTest, AnIteratorMeetsEveryEntryOnceWhicheverIsRemovedMeanwhile) {
  std::vector<char const*> const all = {"a", "b", "c", "d", "e"};
  for (char const* victim : all) {
    for (char const* key : all)
      this->set(key, 1);
    std::multiset<std::string> met;
    bool isGone = false;
    for (auto it = TypeParam::iterator(*this->owner); it; it.advance()) {
      met.insert(this->textOf(it.key()));
      if (met.size() == 2) isGone = this->del(victim) && met.count(victim) == 0;
    }
    for (char const* key : all)
      EXPECT_EQ(met.count(key), isGone && std::string(key) == victim ? 0U : 1U) << key << " " << victim;
    TypeParam::delAll(*this->owner);
  }
}

TYPED_TEST(CollectionTest, DeletionByIteratorDoesNotAdvanceAndTellsTheKey) {
  this->set("a", 1);
  this->set("b", 1);
  this->heard();
  auto it = TypeParam::iterator(*this->owner);
  std::string const first = this->textOf(it.key());
  EXPECT_TRUE(TypeParam::delAt(*this->owner, it));
  EXPECT_EQ(this->heard(), "w:key(" + first + ")");
  EXPECT_EQ(this->textOf(it.key()), first);
  EXPECT_FALSE(TypeParam::delAt(*this->owner, it));
  EXPECT_EQ(this->heard(), "");
  it.advance();
  EXPECT_EQ(this->textOf(it.key()), first == "a" ? "b" : "a");
  it.advance();
  EXPECT_FALSE(it);
}

TYPED_TEST(CollectionTest, AReplacementLeavesIteratorsWhereTheyStand) {
  for (char const* key : {"a", "b", "c"})
    this->set(key, 1);
  auto it = TypeParam::iterator(*this->owner);
  for (char const* key : {"a", "b", "c"})
    this->set(key, 2);
  std::size_t met = 0;
  for (; it; it.advance())
    ++met;
  EXPECT_EQ(met, 3U);
}

TYPED_TEST(CollectionTest, AnIteratorThatIsResetStartsAgain) {
  this->set("a", 1);
  auto it = TypeParam::iterator(*this->owner);
  it.advance();
  EXPECT_FALSE(it);
  it.reset();
  ASSERT_TRUE(it);
  EXPECT_EQ(this->textOf(it.key()), "a");
}

TYPED_TEST(CollectionTest, AnIteratorHasABookmarkOnEveryKeyButTheEmptyOne) {
  auto const hasBookmark = [&] {
    bool const has = TypeParam::iterator(*this->owner).hasBookmark();
    EXPECT_EQ(TypeParam::iteratorConst(*this->owner).hasBookmark(), has);
    return has;
  };
  EXPECT_FALSE(hasBookmark());
  this->set("", 1);
  EXPECT_FALSE(hasBookmark());
  this->del("");
  this->set("a", 1);
  EXPECT_TRUE(hasBookmark());
}

TYPED_TEST(CollectionTest, TheConstIteratorMeetsTheSameKeys) {
  for (char const* key : {"a", "b", "c"})
    this->set(key, 1);
  std::string text;
  for (auto it = TypeParam::iteratorConst(*this->owner); it; it.advance())
    text += (text.empty() ? "" : " ") + this->textOf(it.key());
  EXPECT_EQ(text, this->keys());
}

TYPED_TEST(CollectionTest, NotifyAnnouncesAKeyOrTheWholeWithoutAChange) {
  TypeParam::notify(*this->owner, "nobody");
  EXPECT_EQ(this->heard(), "w:key(nobody)");
  TypeParam::notify(*this->owner);
  EXPECT_EQ(this->heard(), "w:immediate w:all");
  EXPECT_EQ(this->keys(), "");
}

TYPED_TEST(CollectionTest, TheImmediateCallbackNeverAccompaniesAKeyedChange) {
  this->set("a", 1);
  this->set("a", 2);
  this->del("a");
  EXPECT_EQ(this->heard().find("immediate"), std::string::npos);
}

TYPED_TEST(CollectionTest, OnlyWatchersThatAreOnAndNoZombiesHear) {
  this->watcher->hasNotificationActiveIs(false);
  this->set("a", 1);
  this->watcher->hasNotificationActiveIs(true);
  this->watcher->zonMarkedForDeletionIs(true);
  this->set("b", 1);
  TypeParam::notify(*this->owner);
  EXPECT_EQ(this->heard(), "");
  this->watcher->zonMarkedForDeletionIs(false);
  this->set("c", 1);
  EXPECT_EQ(this->heard(), "w:key(c)");
}

TYPED_TEST(CollectionTest, ExceptionsCarryTheCollectionsId) {
  this->watcher->act = [](std::string const&) { throw 1; };
  this->set("a", 1);
  EXPECT_EQ(this->heard(), "w:key(a) w:exception(" + std::to_string(TypeParam::id) + ")");
  this->watcher->act = nullptr;
  EXPECT_EQ(this->shown("a"), 1);
}

TYPED_TEST(CollectionTest, ANestedChangeIsDeliveredCompletelyFirst) {
  auto const later = newPtr<typename TestFixture::Watcher>("later", this->events, this->owner);
  this->watcher->act = [&](std::string const& event) {
    if (event == "key(a)") this->set("b", 1);
  };
  this->set("a", 1);
  EXPECT_EQ(this->heard(), "w:key(a) w:key(b) later:key(b) later:key(a)");
}

TYPED_TEST(CollectionTest, AWatcherMayUndoTheChangeItHearsOf) {
  this->watcher->act = [&](std::string const&) { this->del("a"); };
  this->set("a", 1);
  EXPECT_EQ(this->heard(), "w:key(a) w:key(a)");
  EXPECT_EQ(this->keys(), "");
}

TYPED_TEST(CollectionTest, KeysOfEqualHashAreKeptApart) {
  ASSERT_EQ(Zon::String8("Ethernet83169").hash(), Zon::String8("Ethernet86183").hash());
  this->set("Ethernet83169", 1);
  EXPECT_EQ(this->shown("Ethernet86183"), -1);
  EXPECT_FALSE(this->del("Ethernet86183"));
  this->set("Ethernet86183", 2);
  EXPECT_EQ(this->shown("Ethernet83169"), 1);
  EXPECT_EQ(this->shown("Ethernet86183"), 2);
  EXPECT_TRUE(this->del("Ethernet83169"));
  EXPECT_EQ(this->shown("Ethernet86183"), 2);
}

TYPED_TEST(CollectionTest, HoldsManyEntries) {
  this->watcher->isRegisteredNotifieeIs(false);
  for (int i = 0; i != 1000; ++i)
    this->set(std::to_string(i).c_str(), 1);
  std::size_t met = 0;
  for (auto it = TypeParam::iterator(*this->owner); it; it.advance())
    ++met;
  EXPECT_EQ(met, 1000U);
  for (int i = 0; i != 1000; ++i)
    ASSERT_EQ(this->shown(std::to_string(i).c_str()), 1);
}

// ---------------------------------------------------------------------------------------------------------------
// Members that are entities

template <class Kind>
class PointerCollectionTest : public CollectionTest<Kind> {};
using PointerKinds = testing::Types<Support::ConfigDirKind, Support::StatusDirKind, Support::PtrDirKind>;
TYPED_TEST_SUITE(PointerCollectionTest, PointerKinds, Names);

TYPED_TEST(PointerCollectionTest, LeavesTheParentAlone) {
  auto const parent = newPtr<Zon::Entity>("parent");
  auto const member = this->kind.members("a", 1);
  member->parentIs(parent);
  this->set("a", 1);
  EXPECT_EQ(member->parent(), parent);
  this->set("a", 2);
  EXPECT_EQ(member->parent(), parent);
  this->del("a");
  EXPECT_EQ(member->parent(), parent);
}

TYPED_TEST(PointerCollectionTest, AnEntityMayStandInSeveralDirectories) {
  auto const other = newPtr<typename TypeParam::Owner>("other");
  this->set("a", 1);
  this->kind.set(*other, "a", 1);
  EXPECT_EQ(this->shown("a"), 1);
  EXPECT_EQ(this->kind.shown(*other, "a"), 1);
}

TYPED_TEST(PointerCollectionTest, HoldsItsEntries) {
  auto const& member = this->kind.members("a", 1);
  EXPECT_EQ(member->zonReferences(), 1U);
  this->set("a", 1);
  EXPECT_EQ(member->zonReferences(), 2U);
  this->set("a", 2);
  EXPECT_EQ(member->zonReferences(), 1U);
  this->set("a", 1);
  this->del("a");
  EXPECT_EQ(member->zonReferences(), 1U);
  this->set("a", 1);
  this->watcher = nullptr;
  this->owner = nullptr;
  EXPECT_EQ(member->zonReferences(), 1U);
}

TYPED_TEST(PointerCollectionTest, AnIteratorShowsTheEntityAndItsKey) {
  this->set("a", 1);
  auto it = TypeParam::iterator(*this->owner);
  EXPECT_EQ(it.ptr(), this->kind.members("a", 1));
  EXPECT_EQ(it->intfId(), Orvet::IntfId("a"));
  this->set("a", 2);
  EXPECT_EQ(it.ptr(), this->kind.members("a", 2));
  auto const constant = TypeParam::iteratorConst(*this->owner);
  static_assert(std::is_const_v<std::remove_pointer_t<decltype(constant.ptr().ptr())>>);
  EXPECT_EQ(constant.ptr(), this->kind.members("a", 2));
  it.advance();
  EXPECT_EQ(it.ptr(), nullptr);
}

template <class Kind>
class OwningCollectionTest : public CollectionTest<Kind> {};
using OwningKinds = testing::Types<Support::SliceKind, Support::CounterDirKind, Support::DirKind>;
TYPED_TEST_SUITE(OwningCollectionTest, OwningKinds, Names);

TYPED_TEST(OwningCollectionTest, ParentsWhatItHoldsUnderItsId) {
  this->set("a", 1);
  auto const member = this->kind.members("a", 1);
  EXPECT_EQ(member->parent(), this->owner);
  EXPECT_EQ(member->parentAttrId(), TypeParam::id);
  EXPECT_EQ(member->fullName(), "owner/a");
}

TYPED_TEST(OwningCollectionTest, UnparentsWhatItGivesAway) {
  auto const member = this->kind.members("a", 1);
  this->set("a", 1);
  this->del("a");
  EXPECT_EQ(member->parent(), nullptr);
  this->set("a", 1);
  this->set("a", 2);
  EXPECT_EQ(member->parent(), nullptr);
  EXPECT_EQ(this->kind.members("a", 2)->parent(), this->owner);
  TypeParam::delAll(*this->owner);
  EXPECT_EQ(this->kind.members("a", 2)->parent(), nullptr);
  this->set("a", 1);
  auto it = TypeParam::iterator(*this->owner);
  TypeParam::delAt(*this->owner, it);
  EXPECT_EQ(member->parent(), nullptr);
}

TYPED_TEST(OwningCollectionTest, MembersOutliveTheirOwnerWithoutParent) {
  this->set("a", 1);
  this->watcher = nullptr;
  this->owner = nullptr;
  auto const member = this->kind.members("a", 1);
  EXPECT_EQ(member->parent(), nullptr);
  EXPECT_EQ(member->zonReferences(), 2U);
  this->owner = newPtr<typename TypeParam::Owner>("next");
  this->set("a", 1);
  EXPECT_EQ(member->fullName(), "next/a");
}

TYPED_TEST(OwningCollectionTest, WhatHasAnotherParentIsRefusedAndNothingChanges) {
  auto const other = newPtr<typename TypeParam::Owner>("other");
  auto const root = newPtr<Zon::Entity>("root");
  other->parentIs(root);
  this->kind.set(*other, "a", 1);
  this->set("a", 2);
  this->heard();
  try {
    this->set("a", 1);
    FAIL();
  } catch (Zon::RangeException const& exception) {
    EXPECT_EQ(exception.text(), "already a member of root/other");
  }
  EXPECT_EQ(this->heard(), "");
  EXPECT_EQ(this->shown("a"), 2);
  EXPECT_EQ(this->kind.members("a", 1)->parent(), other);
}

TYPED_TEST(OwningCollectionTest, WhatWasGivenAnotherParentByHandIsRefused) {
  auto const elsewhere = newPtr<Zon::Entity>("elsewhere");
  auto const member = this->kind.members("a", 1);
  member->parentIs(elsewhere);
  try {
    this->set("a", 1);
    FAIL();
  } catch (Zon::RangeException const& exception) {
    EXPECT_EQ(exception.text(), "already a member of elsewhere");
  }
  EXPECT_EQ(this->heard(), "");
  EXPECT_EQ(this->shown("a"), -1);
  EXPECT_EQ(member->parent(), elsewhere);
}

TYPED_TEST(OwningCollectionTest, WhatIsListedElsewhereIsRefusedWhateverItsParentIs) {
  auto const other = newPtr<typename TypeParam::Owner>("other");
  auto const member = this->kind.members("a", 1);
  this->set("a", 1);
  member->parentIs(nullptr);
  this->kind.set(*other, "a", 2);
  for (char const* const parent : {"", "other"}) {
    if (*parent != '\0') member->parentIs(other);
    try {
      this->kind.set(*other, "a", 1);
      FAIL();
    } catch (Zon::RangeException const& exception) {
      EXPECT_EQ(exception.text(),
                *parent != '\0' ? "already a member of other" : "already a member of another collection");
    }
    EXPECT_EQ(this->shown("a"), 1);
    EXPECT_EQ(this->kind.shown(*other, "a"), 2);
  }
  this->del("a");
  this->kind.set(*other, "a", 1);
  EXPECT_EQ(this->kind.shown(*other, "a"), 1);
}

TYPED_TEST(OwningCollectionTest, ALeavingMemberKeepsAParentThatWasGivenByHand) {
  auto const elsewhere = newPtr<Zon::Entity>("elsewhere");
  auto const member = this->kind.members("a", 1);
  auto const expectKept = [&](auto const& leave) {
    this->set("a", 1);
    member->parentIs(elsewhere);
    leave();
    EXPECT_NE(this->shown("a"), 1);
    EXPECT_EQ(member->parent(), elsewhere);
    member->parentIs(nullptr);
  };
  expectKept([&] { this->del("a"); });
  expectKept([&] { this->set("a", 2); });
  expectKept([&] { TypeParam::delAll(*this->owner); });
}

TYPED_TEST(OwningCollectionTest, AWatcherThatTakesTheNewMemberOutWhileTheOldOneLeavesIsObeyed) {
  this->set("a", 1);
  this->heard();
  auto const old = this->kind.members("a", 1);
  auto const breaker = Support::watchParent(old, [&] { this->del("a"); });
  this->set("a", 2);
  EXPECT_EQ(this->shown("a"), -1);
  EXPECT_EQ(old->parent(), nullptr);
  EXPECT_EQ(this->kind.members("a", 2)->parent(), nullptr);
  // Neither is left in anything: both can be used again.
  auto const other = newPtr<typename TypeParam::Owner>("other");
  this->kind.set(*other, "a", 2);
  this->set("a", 1);
  EXPECT_EQ(this->kind.members("a", 2)->parent(), other);
}

TYPED_TEST(OwningCollectionTest, AReplacementIsCompleteBeforeAnyWatcherHears) {
  this->set("a", 1);
  this->heard();
  auto const old = this->kind.members("a", 1);
  auto const next = this->kind.members("a", 2);
  auto const tell = [&](char const* who) {
    auto const nameOf = [&](auto const& parent) { return parent == this->owner ? "owner" : parent ? "other" : "none"; };
    this->events.add(std::string(who) + ":" + std::to_string(this->shown("a")) + ":" + nameOf(old->parent()) + ":" +
                     nameOf(next->parent()) + ":" + std::to_string(next->parentAttrId() == TypeParam::id));
  };
  auto const ofOld = Support::watchParent(old, [&] { tell("old"); });
  auto const ofNext = Support::watchParent(next, [&] { tell("next"); });
  this->watcher->act = [&](std::string const&) { tell("owner"); };
  this->set("a", 2);
  EXPECT_EQ(this->heard(), "old:2:none:owner:1 next:2:none:owner:1 w:key(a) owner:2:none:owner:1");
  this->set("a", 2);
  EXPECT_EQ(this->heard(), "");
}

TEST(Adoption, TheNewMemberHasItsAttributeBeforeItsParent) {
  class Witness : public Zon::Entity {
   public:
    using Entity::Entity;
    void parentAttrIdIs(Zon::AttributeId id) override {
      hadParent = zonHasParent();
      Entity::parentAttrIdIs(id);
    }
    bool hadParent = true;
  };
  auto const dir = newPtr<Zon::Dir>("dir");
  auto const witness = newPtr<Witness>("w");
  dir->entityPtrIs(witness);
  EXPECT_FALSE(witness->hadParent);
  EXPECT_EQ(witness->parent(), dir);
}

TEST(Adoption, AnOverrideThatTakesTheNewMemberOutAgainIsObeyed) {
  class Leaving : public Zon::Entity {
   public:
    using Entity::Entity;
    void parentAttrIdIs(Zon::AttributeId id) override {
      Entity::parentAttrIdIs(id);
      if (auto const run = std::exchange(leave, {})) run();
    }
    std::function<void()> leave;
  };
  auto const dir = newPtr<Zon::Dir>("dir");
  auto const other = newPtr<Zon::Dir>("other");
  auto const leaving = newPtr<Leaving>("l");
  leaving->leave = [&] { dir->entityPtrDel("l"); };
  dir->entityPtrIs(leaving);
  EXPECT_EQ(dir->entityPtr("l"), nullptr);
  EXPECT_EQ(leaving->parent(), nullptr);
  leaving->leave = [&] {
    dir->entityPtrDel("l");
    other->entityPtrIs(leaving);
  };
  dir->entityPtrIs(leaving);
  EXPECT_EQ(other->entityPtr("l"), leaving);
  EXPECT_EQ(leaving->parent(), other);
}

TYPED_TEST(OwningCollectionTest, AWatcherThatPutsTheOldMemberBackIsObeyed) {
  this->set("a", 1);
  auto const old = this->kind.members("a", 1);
  bool isDone = false;
  auto const breaker = Support::watchParent(old, [&] {
    if (!std::exchange(isDone, true)) this->set("a", 1);
  });
  this->set("a", 2);
  EXPECT_EQ(this->shown("a"), 1);
  EXPECT_EQ(old->parent(), this->owner);
  EXPECT_EQ(this->kind.members("a", 2)->parent(), nullptr);
}

}  // namespace
