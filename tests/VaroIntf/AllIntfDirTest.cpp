#include "VaroIntf/AllIntfDir.h"

#include <functional>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "support/Errdisable.h"
#include "support/Intf.h"

namespace {

using namespace Support;
using VaroIntf::AllIntfDir;
using Zon::Ptr;

using Watcher = AllIntfDirWatcher;
using MutableWatcher = AllIntfDirRecorder<AllIntfDir::Notifiee>;

class AllIntfDirTest : public testing::Test {
 protected:
  Events events;
  Ptr<AllIntfDir> dir = Zon::newPtr<AllIntfDir>("x");

  Ptr<Watcher> watch(char const* label) { return Zon::newPtr<Watcher>(label, events, dir); }
};

/// The half of the directory, so that both are tested alike.
struct Half {
  char const* name;
  Zon::AttributeId id;
  Ptr<Zon::Entity> (*get)(AllIntfDir&);
  Ptr<Zon::Entity> (*set)(AllIntfDir&, char const*);
  Ptr<Zon::Entity> (*make)(AllIntfDir&, char const*);
  Ptr<Zon::Entity> (*del)(AllIntfDir&);
};

Half const halves[] = {
    {"config", 258, [](AllIntfDir& d) -> Ptr<Zon::Entity> { return d.config(); },
     [](AllIntfDir& d, char const* n) -> Ptr<Zon::Entity> { return d.configIs(n); },
     [](AllIntfDir& d, char const* n) -> Ptr<Zon::Entity> { return d.newConfig(n); },
     [](AllIntfDir& d) -> Ptr<Zon::Entity> { return d.configDel(); }},
    {"status", 259, [](AllIntfDir& d) -> Ptr<Zon::Entity> { return d.status(); },
     [](AllIntfDir& d, char const* n) -> Ptr<Zon::Entity> { return d.statusIs(n); },
     [](AllIntfDir& d, char const* n) -> Ptr<Zon::Entity> { return d.newStatus(n); },
     [](AllIntfDir& d) -> Ptr<Zon::Entity> { return d.statusDel(); }},
};

class AllIntfDirHalf : public testing::TestWithParam<Half> {
 protected:
  Half const& half = GetParam();
  Events events;
  Ptr<AllIntfDir> dir = Zon::newPtr<AllIntfDir>("x");

  Ptr<Watcher> watch(char const* label) { return Zon::newPtr<Watcher>(label, events, dir); }
  /// "a:config b:config" for "ab".
  std::string heardBy(char const* labels) const {
    Events all;
    for (char const* label = labels; *label != 0; ++label)
      all.add(std::string(1, *label) + ":" + half.name);
    return all.take();
  }
};

INSTANTIATE_TEST_SUITE_P(Of, AllIntfDirHalf, testing::ValuesIn(halves),
                         [](auto const& half) { return std::string(half.param.name); });

TEST_P(AllIntfDirHalf, ANewDirectoryHoldsItUnderItsOwnNameAndId) {
  auto const child = half.get(*dir);
  ASSERT_NE(child, nullptr);
  EXPECT_EQ(child->name(), "x");
  EXPECT_EQ(child->parent(), dir);
  EXPECT_EQ(child->parentAttrId(), half.id);
  EXPECT_EQ(child->fullName(), "x/x");
  EXPECT_EQ(child->zonReferences(), 2U);
  EXPECT_EQ(dir->zonReferences(), 1U);
}

TEST_P(AllIntfDirHalf, TheCurrentNameReturnsTheSameObjectAndCallsNobody) {
  auto const a = watch("a");
  auto const child = half.get(*dir);
  EXPECT_EQ(half.set(*dir, "x"), child);
  EXPECT_EQ(child->parent(), dir);
  EXPECT_EQ(events.take(), "");
}

TEST_P(AllIntfDirHalf, ANewNameUnparentsTheOldChildAndCallsEveryWatcherOnceOldestFirst) {
  auto const a = watch("a");
  auto const b = watch("b");
  auto const c = watch("c");
  auto const old = half.get(*dir);
  auto const made = half.set(*dir, "y");
  EXPECT_EQ(events.take(), heardBy("abc"));
  EXPECT_NE(made, old);
  EXPECT_EQ(half.get(*dir), made);
  EXPECT_EQ(made->name(), "y");
  EXPECT_EQ(made->parent(), dir);
  EXPECT_EQ(made->parentAttrId(), half.id);
  EXPECT_EQ(old->parent(), nullptr);
  EXPECT_EQ(old->parentAttrId(), half.id);
  EXPECT_EQ(old->zonReferences(), 1U);
}

TEST_P(AllIntfDirHalf, TheChangeIsCompleteBeforeTheFirstWatcherHearsOfIt) {
  auto const a = watch("a");
  std::string seen;
  a->act = [&](std::string const&) { seen = half.get(*dir)->fullName().stdString(); };
  half.set(*dir, "y");
  EXPECT_EQ(seen, "x/y");
}

TEST_P(AllIntfDirHalf, RemovingUnparentsReturnsAndTells) {
  auto const a = watch("a");
  auto const child = half.get(*dir);
  bool gone = false;
  bool orphaned = false;
  a->act = [&](std::string const&) {
    gone = !half.get(*dir);
    orphaned = !child->parent();
  };
  EXPECT_EQ(half.del(*dir), child);
  EXPECT_TRUE(gone);
  EXPECT_TRUE(orphaned);
  EXPECT_EQ(child->parent(), nullptr);
  EXPECT_EQ(half.get(*dir), nullptr);
  EXPECT_EQ(events.take(), heardBy("a"));
  EXPECT_EQ(child->zonReferences(), 1U);
}

TEST_P(AllIntfDirHalf, TheRemovedChildHasLeftItsAttributeBeforeItLosesItsParent) {
  auto const a = watch("a");
  auto const child = half.get(*dir);
  int heard = 0;
  auto const look = [&] {
    ++heard;
    EXPECT_EQ(half.get(*dir), nullptr);
    EXPECT_EQ(child->parent(), nullptr);
    EXPECT_EQ(events.take(), "");  // the directory's own watchers come later
  };
  // One of the two watches the child, the other nothing.
  auto const config = watchParent(Zon::ptrCast<ConfigDir>(child), look);
  auto const status = watchParent(Zon::ptrCast<StatusDir>(child), look);
  half.del(*dir);
  EXPECT_EQ(heard, 1);
  EXPECT_EQ(events.take(), heardBy("a"));
}

TEST_P(AllIntfDirHalf, RemovingTwiceReturnsNullAndCallsNobodyTheSecondTime) {
  auto const a = watch("a");
  half.del(*dir);
  events.take();
  EXPECT_EQ(half.del(*dir), nullptr);
  EXPECT_EQ(half.del(*dir), nullptr);
  EXPECT_EQ(events.take(), "");
}

TEST_P(AllIntfDirHalf, SettingAfterRemovingTellsToo) {
  auto const a = watch("a");
  half.del(*dir);
  events.take();
  auto const made = half.set(*dir, "x");
  EXPECT_EQ(half.get(*dir), made);
  EXPECT_EQ(events.take(), heardBy("a"));
}

TEST_P(AllIntfDirHalf, TheConstructingStepStoresNothingAndTellsNobody) {
  auto const a = watch("a");
  auto const stored = half.get(*dir);
  auto const made = half.make(*dir, "z");
  EXPECT_EQ(half.get(*dir), stored);
  EXPECT_EQ(made->parent(), dir);
  EXPECT_EQ(made->parentAttrId(), half.id);
  EXPECT_EQ(made->zonReferences(), 1U);
  EXPECT_EQ(events.take(), "");
}

TEST_P(AllIntfDirHalf, NamesMayBeEmptyLongOrContainAnything) {
  std::string const long4k(4096, 'n');
  for (std::string const& name : {std::string(), std::string("a b/c"), std::string("\0\1", 2), long4k}) {
    auto const a = watch("a");
    auto const made = half.id == 258 ? Ptr<Zon::Entity>(dir->configIs(name)) : Ptr<Zon::Entity>(dir->statusIs(name));
    EXPECT_EQ(made->name(), Zon::Name(name));
    EXPECT_EQ(events.take(), heardBy("a"));
  }
}

TEST_P(AllIntfDirHalf, AWatcherThatThrowsIsToldAndTheOthersAreStillCalled) {
  auto const a = watch("a");
  auto const b = watch("b");
  auto const c = watch("c");
  b->act = [](std::string const&) { throw std::runtime_error("b"); };
  half.set(*dir, "y");
  std::string const change = half.name;
  EXPECT_EQ(events.take(),
            "a:" + change + " b:" + change + " b:exception(" + std::to_string(half.id) + ") c:" + change);
  b->act = [](std::string const&) { throw 7; };
  half.del(*dir);
  EXPECT_EQ(events.take(),
            "a:" + change + " b:" + change + " b:exception(" + std::to_string(half.id) + ") c:" + change);
}

TEST_P(AllIntfDirHalf, WhatTheExceptionCallbackThrowsLeavesTheSetterButTheChangeStands) {
  auto const a = watch("a");
  auto const b = watch("b");
  a->act = [](std::string const&) { throw std::runtime_error("first"); };
  a->actOnException = [] { throw std::runtime_error("second"); };
  EXPECT_THROW(half.set(*dir, "y"), std::runtime_error);
  EXPECT_EQ(half.get(*dir)->name(), "y");
  EXPECT_THROW(half.del(*dir), std::runtime_error);
  EXPECT_EQ(half.get(*dir), nullptr);
  EXPECT_EQ(b->zonReferences(), 1U);
  EXPECT_EQ(dir->zonReferences(), 3U);  // ours and the two watchers'
}

TEST_P(AllIntfDirHalf, AWatcherRegisteredDuringADeliveryIsNotCalledInIt) {
  auto const a = watch("a");
  Ptr<Watcher> late;
  a->act = [&](std::string const&) {
    if (!late) late = watch("l");
  };
  half.set(*dir, "y");
  EXPECT_EQ(events.take(), heardBy("a"));
  half.set(*dir, "z");
  EXPECT_EQ(events.take(), heardBy("al"));
}

TEST_P(AllIntfDirHalf, AWatcherUnregisteredDuringADeliveryButAliveIsStillCalled) {
  auto const a = watch("a");
  auto const b = watch("b");
  a->act = [&](std::string const&) { b->isRegisteredNotifieeIs(false); };
  half.set(*dir, "y");
  EXPECT_EQ(events.take(), heardBy("ab"));
  half.set(*dir, "z");
  EXPECT_EQ(events.take(), heardBy("a"));
}

TEST_P(AllIntfDirHalf, AWatcherDestroyedDuringADeliveryIsNotCalled) {
  auto const a = watch("a");
  auto b = watch("b");
  auto const c = watch("c");
  a->act = [&](std::string const&) { b = nullptr; };
  half.set(*dir, "y");
  EXPECT_EQ(events.take(), heardBy("ac"));
}

TEST_P(AllIntfDirHalf, AWatcherThatDestroysItselfAndBothNeighboursLeavesTheRest) {
  auto a = watch("a");
  auto b = watch("b");
  auto c = watch("c");
  auto const d = watch("d");
  b->act = [&](std::string const&) {
    a = nullptr;
    b = nullptr;
    c = nullptr;
  };
  half.set(*dir, "y");
  EXPECT_EQ(events.take(), heardBy("abd"));
}

TEST_P(AllIntfDirHalf, SwitchedOffAndZombieWatchersAreCalledAllTheSame) {
  auto const a = watch("a");
  auto const b = watch("b");
  a->hasNotificationActiveIs(false);
  b->zonMarkedForDeletionIs(true);
  half.set(*dir, "y");
  EXPECT_EQ(events.take(), heardBy("ab"));
}

TEST_P(AllIntfDirHalf, ReEnteredSettersStoreTheirOwnResultsTheOuterCallReturnsWhatItMade) {
  auto const a = watch("a");
  Ptr<Zon::Entity> inner;
  a->act = [&](std::string const&) {
    if (!inner) inner = half.set(*dir, "inner");
  };
  auto const outer = half.set(*dir, "outer");
  EXPECT_EQ(outer->name(), "outer");
  EXPECT_EQ(outer->parent(), nullptr);  // it was replaced before the call returned
  EXPECT_EQ(half.get(*dir), inner);
  EXPECT_EQ(events.take(), heardBy("aa"));
}

TEST_P(AllIntfDirHalf, AWatcherOfTheOldChildsParentThatSetsAnotherNameLosesToTheOuterCall) {
  auto const a = watch("a");
  auto const old = half.get(*dir);
  Ptr<Zon::Entity> inner;
  auto const rename = [&] {
    if (!inner) inner = half.set(*dir, "inner");
  };
  // One of the two watches the child, the other nothing.
  auto const config = watchParent(Zon::ptrCast<ConfigDir>(old), rename);
  auto const status = watchParent(Zon::ptrCast<StatusDir>(old), rename);
  auto const outer = half.set(*dir, "outer");
  ASSERT_NE(inner, nullptr);
  EXPECT_EQ(half.get(*dir), outer);
  EXPECT_EQ(outer->name(), "outer");
  EXPECT_EQ(outer->parent(), dir);
  EXPECT_EQ(inner->name(), "inner");
  EXPECT_EQ(inner->parent(), nullptr);
  EXPECT_EQ(inner->zonReferences(), 1U);
  EXPECT_EQ(events.take(), heardBy("aa"));
}

TEST_P(AllIntfDirHalf, AWatcherThatRemovesTheNewChildLeavesNone) {
  auto const a = watch("a");
  a->act = [&](std::string const&) {
    if (half.get(*dir)) half.del(*dir);
  };
  EXPECT_EQ(half.set(*dir, "y")->name(), "y");
  EXPECT_EQ(half.get(*dir), nullptr);
  EXPECT_EQ(events.take(), heardBy("aa"));
}

TEST_P(AllIntfDirHalf, AWatcherThatDropsTheDirectoryDoesNotEndTheDelivery) {
  auto const a = watch("a");
  auto const b = watch("b");
  a->zon_bitSetIs(Zon::zonUncountedNotifier);
  b->zon_bitSetIs(Zon::zonUncountedNotifier);
  AllIntfDir& raw = *dir;
  a->act = [&](std::string const&) {
    dir = nullptr;
    a->act = {};
  };
  auto const made = half.set(raw, "y");
  // Dying, the directory still announces that both children go.
  EXPECT_EQ(events.take(), heardBy("ab") + " a:zeroReferences b:zeroReferences a:config b:config a:status b:status");
  EXPECT_EQ(made->parent(), nullptr);
  EXPECT_EQ(a->notifier(), nullptr);
}

TEST_F(AllIntfDirTest, AttributeNames) {
  EXPECT_EQ(dir->attributeString(258), "config");
  EXPECT_EQ(dir->attributeString(259), "status");
  EXPECT_EQ(dir->attributeString(260), "unknown");
  EXPECT_EQ(dir->attributeString(0), dir->Zon::Entity::attributeString(0));
  EXPECT_EQ(dir->attributeString(6), "isNondestructing");
  EXPECT_EQ(dir->attributeString(130), "name");
}

TEST_F(AllIntfDirTest, ZeroReferencesIgnoresItsArgumentAndCallsEveryWatcher) {
  auto const a = watch("a");
  auto const b = watch("b");
  dir->zeroReferencesIs(false);
  EXPECT_EQ(events.take(), "a:zeroReferences b:zeroReferences");
  dir->zeroReferencesIs(true);
  dir->zeroReferencesIs(true);
  EXPECT_EQ(events.take(), "a:zeroReferences b:zeroReferences a:zeroReferences b:zeroReferences");
  a->act = [](std::string const&) { throw 1; };
  dir->zeroReferencesIs(false);
  EXPECT_EQ(events.take(), "a:zeroReferences a:exception(5) b:zeroReferences");
}

TEST_F(AllIntfDirTest, TheNondestructingStateTellsOnlyOfChanges) {
  auto const a = watch("a");
  dir->isNondestructingIs(false);
  EXPECT_EQ(events.take(), "");
  dir->isNondestructingIs(true);
  EXPECT_EQ(events.take(), "a:isNondestructing");
  dir->isNondestructingIs(true);
  EXPECT_EQ(events.take(), "");
  a->act = [](std::string const&) { throw 1; };
  dir->isNondestructingIs(false);
  EXPECT_EQ(events.take(), "a:isNondestructing a:exception(6)");
}

TEST_F(AllIntfDirTest, TheNondestructingStateIsReadFromTheWholeTopByte) {
  auto const a = watch("a");
  dir->isNondestructingIs(true);
  dir->hasNotificationActiveIs(true);
  events.take();
  // With a flag set the byte is no longer 0x1f: the state counts as off, and so as changed.
  dir->isNondestructingIs(true);
  EXPECT_EQ(events.take(), "a:isNondestructing");
  dir->hasNotificationActiveIs(false);
  dir->isNondestructingIs(false);
  EXPECT_FALSE(dir->isNondestructing());
}

TEST_F(AllIntfDirTest, AWatcherOfAnythingElseIsBoundToNull) {
  auto const a = Zon::newPtr<Watcher>("a", events);
  EXPECT_EQ(a->name(), "");
  a->notifierIs(dir);
  EXPECT_EQ(a->name(), "x");
  a->notifierIs(newConfig("Ethernet1"));
  EXPECT_EQ(a->notifier(), nullptr);
  EXPECT_EQ(a->name(), "");
  EXPECT_TRUE(a->isRegisteredNotifiee());
  dir->configIs("y");
  EXPECT_EQ(events.take(), "");
}

TEST_F(AllIntfDirTest, ARegisteredWatcherMovesToTheTailOfTheNewDirectorysList) {
  auto const other = Zon::newPtr<AllIntfDir>("other");
  auto const a = watch("a");
  auto const b = Zon::newPtr<Watcher>("b", events, other);
  a->notifierIs(other);
  dir->configIs("y");
  EXPECT_EQ(events.take(), "");
  other->statusIs("y");
  EXPECT_EQ(events.take(), "b:status a:status");
  EXPECT_EQ(dir->zonReferences(), 1U);
  EXPECT_EQ(other->zonReferences(), 3U);
}

TEST_F(AllIntfDirTest, RegistrationWithoutNotifierIsRememberedAsAWish) {
  auto const a = Zon::newPtr<Watcher>("a", events);
  a->isRegisteredNotifieeIs(false);
  a->notifierIs(dir);
  dir->configIs("y");
  EXPECT_EQ(events.take(), "");
  a->notifierIs(nullptr);
  a->isRegisteredNotifieeIs(true);
  a->notifierIs(dir);
  dir->configIs("z");
  EXPECT_EQ(events.take(), "a:config");
}

TEST_F(AllIntfDirTest, TheVariantForAMutableDirectoryMayChangeIt) {
  auto const a = Zon::newPtr<MutableWatcher>("a", events, dir);
  static_assert(std::is_same_v<decltype(a->notifier()), Ptr<AllIntfDir>>);
  a->act = [&](std::string const& heard) {
    if (heard == "config") a->notifier()->statusDel();
  };
  dir->configDel();
  EXPECT_EQ(events.take(), "a:config a:status");
  EXPECT_EQ(dir->status(), nullptr);
}

TEST_F(AllIntfDirTest, DestructionAnnouncesConfigThenStatusAndLeavesItsWatchersWithoutNotifier) {
  auto const a = watch("a");
  auto const b = watch("b");
  a->zon_bitSetIs(Zon::zonUncountedNotifier);
  b->zon_bitSetIs(Zon::zonUncountedNotifier);
  auto const config = dir->config();
  auto const status = dir->status();
  std::string seen;
  AllIntfDir* const raw = dir.ptr();
  a->act = [&](std::string const& heard) {
    if (heard != "zeroReferences") seen += (raw->config() ? "c" : "-") + std::string(raw->status() ? "s" : "-");
  };
  dir = nullptr;
  EXPECT_EQ(events.take(), "a:zeroReferences b:zeroReferences a:config b:config a:status b:status");
  EXPECT_EQ(seen, "-s--");
  EXPECT_EQ(config->parent(), nullptr);
  EXPECT_EQ(status->parent(), nullptr);
  EXPECT_EQ(config->zonReferences(), 1U);
  EXPECT_EQ(a->notifier(), nullptr);
  EXPECT_TRUE(a->isRegisteredNotifiee());
}

TEST_F(AllIntfDirTest, DestructionReleasesEachChildBeforeTheNextOneIsAnnounced) {
  auto const a = watch("a");
  auto const config = Zon::newPtr<ConfigDirWatcher>("config", events, dir->config());
  auto const status = Zon::newPtr<StatusDirWatcher>("status", events, dir->status());
  a->zon_bitSetIs(Zon::zonUncountedNotifier);
  config->zon_bitSetIs(Zon::zonUncountedNotifier);
  status->zon_bitSetIs(Zon::zonUncountedNotifier);
  dir = nullptr;
  EXPECT_EQ(events.take(), "a:zeroReferences config:parent a:config config:zeroReferences "
                           "status:parent a:status status:zeroReferences");
}

TEST_F(AllIntfDirTest, WhatWatchersThrowWhileItDiesStaysInside) {
  auto const a = watch("a");
  a->zon_bitSetIs(Zon::zonUncountedNotifier);
  a->act = [](std::string const&) { throw 1; };
  a->actOnException = [] { throw 2; };
  dir = nullptr;
  EXPECT_EQ(events.take(), "a:zeroReferences a:exception(5) a:config a:exception(258) a:status a:exception(259)");
}

TEST_F(AllIntfDirTest, WhatIsCreatedWhileItDiesIsDroppedAndUnparented) {
  auto const a = watch("a");
  a->zon_bitSetIs(Zon::zonUncountedNotifier);
  AllIntfDir* const raw = dir.ptr();
  Ptr<Zon::Entity> kept;
  a->act = [&](std::string const& heard) {
    if (heard == "status" && !kept) kept = raw->configIs("late");
  };
  dir = nullptr;
  ASSERT_NE(kept, nullptr);
  EXPECT_EQ(kept->parent(), nullptr);
  EXPECT_EQ(kept->zonReferences(), 1U);
}

TEST_F(AllIntfDirTest, ADyingWatcherLeavesTheList) {
  auto a = watch("a");
  auto const b = watch("b");
  a = nullptr;
  EXPECT_EQ(dir->zonReferences(), 2U);
  dir->configDel();
  EXPECT_EQ(events.take(), "b:config");
}

TEST_F(AllIntfDirTest, AWatcherMayTakeAReferenceAndSoKeepTheDirectory) {
  auto const a = watch("a");
  a->zon_bitSetIs(Zon::zonUncountedNotifier);
  Ptr<AllIntfDir> kept;
  AllIntfDir* const raw = dir.ptr();
  a->act = [&](std::string const& heard) {
    if (heard == "zeroReferences") kept = Ptr<AllIntfDir>(raw);
  };
  dir = nullptr;
  ASSERT_EQ(kept.ptr(), raw);
  EXPECT_NE(kept->config(), nullptr);
  EXPECT_EQ(kept->zonReferences(), 1U);
  a->act = {};
  kept = nullptr;
  EXPECT_EQ(events.take(), "a:zeroReferences a:zeroReferences a:config a:status");
}

}  // namespace
