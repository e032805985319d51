#include "Zon/Notifiee.h"

#include <type_traits>

#include <gtest/gtest.h>

#include "support/Beacon.h"

namespace {

using Beacon = Support::Beacon<Zon::Deliver::whenActive>;
using Support::Events;
using Zon::newPtr;
using Zon::Ptr;

class NotifieeTest : public testing::Test {
 protected:
  Ptr<Beacon::Watcher> watch(std::string const& label, Ptr<Beacon> const& notifier) {
    return newPtr<Beacon::Watcher>(label, events, notifier);
  }

  Events events;
  Ptr<Beacon> beacon = newPtr<Beacon>("beacon");
  Ptr<Beacon> other = newPtr<Beacon>("other");
};

static_assert(std::is_same_v<decltype(std::declval<Beacon::NotifieeConst&>().notifier()), Ptr<Beacon const>>);
static_assert(std::is_same_v<decltype(std::declval<Beacon::Notifiee&>().notifier()), Ptr<Beacon>>);
static_assert(std::is_base_of_v<Zon::Entity::NotifieeConst, Beacon::NotifieeConst>);
static_assert(std::is_base_of_v<Beacon::NotifieeConst, Beacon::Notifiee>);

TEST_F(NotifieeTest, IsBornUnboundUnregisteredAndOff) {
  struct Plain : Beacon::NotifieeConst {};
  Plain plain;
  EXPECT_EQ(plain.notifier(), nullptr);
  EXPECT_EQ(plain.name(), "");
  EXPECT_FALSE(plain.isRegisteredNotifiee());
  EXPECT_FALSE(plain.hasNotificationActive());
  EXPECT_EQ(plain.zonWord(), 1U);
}

TEST_F(NotifieeTest, ItsNameIsItsNotifiers) {
  auto const watcher = watch("w", beacon);
  EXPECT_EQ(watcher->name(), "beacon");
  watcher->notifierIs(other);
  EXPECT_EQ(watcher->name(), "other");
  watcher->notifierIs(nullptr);
  EXPECT_EQ(watcher->name(), "");
}

TEST_F(NotifieeTest, RegistrationAppendsAtTheTailAndCounts) {
  auto const a = watch("a", beacon);
  auto const b = watch("b", beacon);
  EXPECT_EQ(beacon->order(), "ab");
  EXPECT_EQ(beacon->watchers(), 2U);
  EXPECT_EQ(beacon->watcherChanges(), 2U);
  a->isRegisteredNotifieeIs(false);
  EXPECT_EQ(beacon->order(), "b");
  EXPECT_EQ(beacon->watcherChanges(), 3U);
  a->isRegisteredNotifieeIs(true);
  EXPECT_EQ(beacon->order(), "ba");
  EXPECT_EQ(beacon->watcherChanges(), 4U);
}

TEST_F(NotifieeTest, AnEqualRegistrationChangesNothing) {
  auto const a = watch("a", beacon);
  a->isRegisteredNotifieeIs(true);
  EXPECT_EQ(beacon->watcherChanges(), 1U);
  a->isRegisteredNotifieeIs(false);
  a->isRegisteredNotifieeIs(false);
  EXPECT_EQ(beacon->watcherChanges(), 2U);
}

TEST_F(NotifieeTest, UnregistrationFindsHeadMiddleAndTail) {
  for (std::size_t gone = 0; gone != 3; ++gone) {
    beacon = newPtr<Beacon>("beacon");
    Ptr<Beacon::Watcher> const watchers[] = {watch("a", beacon), watch("b", beacon), watch("c", beacon)};
    watchers[gone]->isRegisteredNotifieeIs(false);
    std::string rest = "abc";
    rest.erase(gone, 1);
    EXPECT_EQ(beacon->order(), rest);
    auto const last = watch("d", beacon);
    EXPECT_EQ(beacon->order(), rest + "d");
  }
}

TEST_F(NotifieeTest, TheWishToRegisterTakesEffectWhenANotifierComes) {
  auto const watcher = watch("w", nullptr);
  EXPECT_TRUE(watcher->isRegisteredNotifiee());
  watcher->notifierIs(beacon);
  EXPECT_EQ(beacon->order(), "w");
  watcher->notifierIs(nullptr);
  EXPECT_EQ(beacon->order(), "");
  EXPECT_TRUE(watcher->isRegisteredNotifiee());
}

TEST_F(NotifieeTest, AnUnregisteredWatcherIsBoundButNotListed) {
  auto const watcher = watch("w", nullptr);
  watcher->isRegisteredNotifieeIs(false);
  watcher->notifierIs(beacon);
  EXPECT_EQ(beacon->watchers(), 0U);
  EXPECT_EQ(watcher->notifier(), beacon);
}

TEST_F(NotifieeTest, RebindingMovesTheRegistrationToTheTailOfTheNewList) {
  auto const a = watch("a", beacon);
  auto const b = watch("b", other);
  a->notifierIs(other);
  EXPECT_EQ(beacon->order(), "");
  EXPECT_EQ(other->order(), "ba");
  EXPECT_EQ(beacon->watcherChanges(), 2U);
  EXPECT_EQ(other->watcherChanges(), 2U);
}

TEST_F(NotifieeTest, RebindingToTheSameNotifierDoesNothing) {
  auto const a = watch("a", beacon);
  auto const b = watch("b", beacon);
  a->notifierIs(beacon);
  EXPECT_EQ(beacon->order(), "ab");
  EXPECT_EQ(beacon->watcherChanges(), 2U);
}

TEST_F(NotifieeTest, AnObjectOfAnotherTypeCountsAsNull) {
  auto const watcher = watch("w", beacon);
  watcher->notifierIs(newPtr<Interface::IntfConfig>("Ethernet1"));
  EXPECT_EQ(watcher->notifier(), nullptr);
  EXPECT_EQ(beacon->watchers(), 0U);
  EXPECT_EQ(beacon->zonWord(), 1U);
}

TEST_F(NotifieeTest, HoldsItsNotifierButIsNotHeldByIt) {
  auto const watcher = watch("w", beacon);
  EXPECT_EQ(beacon->zonWord(), 2U);
  EXPECT_EQ(watcher->zonReferences(), 1U);
  Beacon* const raw = beacon.ptr();
  beacon = nullptr;
  EXPECT_EQ(raw->zonWord(), 1U);
}

TEST_F(NotifieeTest, TheOldNotifierIsReleasedAfterTheExchange) {
  auto const watcher = watch("w", beacon);
  beacon->death = &events;
  beacon = nullptr;
  events.take();
  watcher->notifierIs(other);
  EXPECT_EQ(events.take(), "~beacon");
  EXPECT_EQ(other->order(), "w");
}

TEST_F(NotifieeTest, ADyingWatcherLeavesTheListBeforeItsNotifierGoes) {
  auto a = watch("a", beacon);
  auto const b = watch("b", beacon);
  a = nullptr;
  EXPECT_EQ(beacon->order(), "b");
  EXPECT_EQ(beacon->watcherChanges(), 3U);
  auto last = watch("c", other);
  other->death = &events;
  other = nullptr;
  EXPECT_EQ(events.take(), "");
  last = nullptr;
  EXPECT_EQ(events.take(), "~beacon");
}

TEST_F(NotifieeTest, AnUncountedWatcherKeepsNothingAlive) {
  auto const watcher = watch("w", nullptr);
  watcher->zon_bitSetIs(Zon::zonUncountedNotifier);
  watcher->notifierIs(beacon);
  EXPECT_EQ(beacon->zonWord(), 1U);
  watcher->notifierIs(other);
  EXPECT_EQ(beacon->zonWord(), 1U);
  EXPECT_EQ(other->order(), "w");
}

TEST_F(NotifieeTest, ADyingNotifierLeavesUncountedWatchersSilentlyWithoutNotifier) {
  auto const a = watch("a", beacon);
  auto const b = watch("b", beacon);
  a->zon_bitSetIs(Zon::zonUncountedNotifier);
  b->zon_bitSetIs(Zon::zonUncountedNotifier);
  beacon = nullptr;
  EXPECT_EQ(events.take(), "a:zeroReferences b:zeroReferences");
  EXPECT_EQ(a->notifier(), nullptr);
  EXPECT_EQ(b->notifier(), nullptr);
  EXPECT_TRUE(a->isRegisteredNotifiee());
  EXPECT_EQ(a->zonNextNotifiee(), nullptr);
  a->notifierIs(other);
  EXPECT_EQ(other->order(), "a");
}

TEST_F(NotifieeTest, GivingBackTheLastCountLetsTheNotifierGo) {
  auto const watcher = watch("w", beacon);
  beacon->death = &events;
  beacon = nullptr;
  watcher->zon_bitSetIs(Zon::zonUncountedNotifier);
  EXPECT_EQ(events.take(), "w:zeroReferences ~beacon");
  EXPECT_EQ(watcher->notifier(), nullptr);
}

TEST_F(NotifieeTest, OnVersionAndOnCollectionNotificationAreNeverCalled) {
  auto const dir = newPtr<Interface::AllIntfConfigDir>("dir");
  auto const watcher = newPtr<Support::ConfigDirWatcher>("w", events, dir);
  dir->intfConfigIs(newPtr<Interface::IntfConfig>("e"));
  dir->intfConfigNotify();
  dir->parentIs(beacon);
  dir->isNondestructingIs(true);
  dir->isNondestructingIs(false);
  EXPECT_EQ(events.take(), "w:key(e) w:immediate w:all w:parent w:isNondestructing w:isNondestructing");
}

// ---------------------------------------------------------------------------------------------------------------
// What is pending of a collection

class CollectionNotifieeTest : public testing::Test {
 protected:
  Events events;
  Ptr<Interface::AllIntfConfigDir> dir = newPtr<Interface::AllIntfConfigDir>("dir");
  Ptr<Support::ConfigDirWatcher> watcher = newPtr<Support::ConfigDirWatcher>("w", events, dir);

  void pend(Zon::AttributeId id, std::uint32_t count) {
    watcher->zonPendingIdIs(id);
    watcher->zonPendingKeyIs("k");
    watcher->zonPendingCountIs(count);
  }
};

TEST_F(CollectionNotifieeTest, StartsWithAnEmptyKeyAndNoCount) {
  EXPECT_EQ(watcher->zonPendingKey(), Orvet::IntfId(""));
  EXPECT_EQ(watcher->zonPendingCount(), 0U);
  EXPECT_EQ(watcher->zonPendingId(), 0);
}

TEST_F(CollectionNotifieeTest, APlainWatcherOfAChangeHasNothingPending) {
  dir->intfConfigIs(newPtr<Interface::IntfConfig>("e"));
  EXPECT_EQ(events.take(), "w:key(e)");
  EXPECT_EQ(watcher->zonPendingKey(), Orvet::IntfId(""));
  EXPECT_EQ(watcher->zonPendingCount(), 0U);
  EXPECT_EQ(watcher->zonPendingId(), 0);
}

TEST_F(CollectionNotifieeTest, HandleDefaultReportsOneChangeByKeyAndMoreAsAll) {
  struct Row {
    Zon::AttributeId id;
    std::uint32_t count;
    bool flag;
    char const* heard;
  };
  Row const rows[] = {
      {258, 1, false, "w:key(k)"},
      {258, 2, false, "w:all"},
      {258, 0, false, ""},
      {258, 1, true, "w:key(k) w:attribute(258)"},
      {258, 0, true, "w:attribute(258)"},
      {-1, 1, false, "w:key(k)"},
      {-1, 3, true, "w:all w:notification"},
      {-1, 0, true, "w:notification"},
      {-2, 1, false, "w:key(k)"},
      {-2, 4, true, "w:all"},
      {-2, 0, true, ""},
      {0, 1, true, ""},
      {260, 1, false, ""},
      {260, 1, true, "w:attribute(260)"},
  };
  for (auto const& row : rows) {
    pend(0, row.count);
    watcher->handleDefault(nullptr, row.id, row.flag);
    EXPECT_EQ(events.take(), row.heard) << row.id << " " << row.count << " " << row.flag;
    bool const isOurs = row.id == 258 || row.id == -1 || row.id == -2;
    EXPECT_EQ(watcher->zonPendingCount(), isOurs ? 0U : row.count);
  }
}

TEST_F(CollectionNotifieeTest, HandleDefaultNeverTouchesThePendingId) {
  pend(7, 1);
  watcher->handleDefault(nullptr, 258, true);
  EXPECT_EQ(watcher->zonPendingId(), 7);
}

TEST_F(CollectionNotifieeTest, TheKeyIsCopiedBeforeTheCallback) {
  pend(0, 1);
  watcher->act = [&](std::string const&) { watcher->zonPendingKeyIs("other"); };
  watcher->handleDefault(nullptr, 258, false);
  EXPECT_EQ(events.take(), "w:key(k)");
}

TEST_F(CollectionNotifieeTest, XNotifyAnnouncesAKeyWithoutAChange) {
  dir->intfConfigNotify("nobody");
  EXPECT_EQ(events.take(), "w:key(nobody)");
}

TEST_F(CollectionNotifieeTest, XNotifyOfTheWholeCallsTheImmediateThenTheUnkeyedCallback) {
  auto const second = newPtr<Support::ConfigDirWatcher>("v", events, dir);
  auto const off = newPtr<Support::ConfigDirWatcher>("off", events, dir);
  off->hasNotificationActiveIs(false);
  dir->intfConfigNotify();
  EXPECT_EQ(events.take(), "w:immediate w:all v:immediate v:all");
}

TEST_F(CollectionNotifieeTest, ExceptionsOfACollectionCarryItsId) {
  watcher->act = [](std::string const&) { throw 1; };
  dir->intfConfigIs(newPtr<Interface::IntfConfig>("e"));
  EXPECT_EQ(events.take(), "w:key(e) w:exception(258)");
}

}  // namespace
