#include "Zon/PtrInterface.h"

#include <cstring>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "Zon/Activity.h"
#include "Zon/Ptr.h"
#include "support/Events.h"

namespace {

using Support::Events;
using Word = std::uint32_t;

constexpr Word zombie = Zon::PtrInterface::zonZombieBit;
constexpr Word pin = Zon::PtrInterface::zonPinnedBit;
constexpr Word active = Zon::PtrInterface::zonActiveBit;

static_assert(zombie == 0x80000000U && pin == 0x40000000U && active == 0x20000000U);
static_assert(Zon::PtrInterface::zonCountMask == 0x5fffffffU);
static_assert(Zon::PtrInterface::zonNondestructingBits == 0x1f000000U);
static_assert((Zon::PtrInterface::zonCountMask & (zombie | active)) == 0);
static_assert((Zon::PtrInterface::zonCountMask & pin) == pin);

/// Records what happens to it at the end of its life.
class Mortal final : public Zon::PtrInterface {
 public:
  explicit Mortal(Events& events) : events_(&events) {}
  ~Mortal() override {
    events_->add("~");
    if (actDying) actDying(*this);
  }
  void zeroReferencesIs(bool zero) override {
    events_->add(zero ? "zero(true)" : "zero(false)");
    if (actZero) actZero(*this);
  }

  std::function<void(Mortal&)> actZero;
  std::function<void(Mortal&)> actDying;

 private:
  Events* events_;
};

/// The process-wide switch for the time of a test.
class CountingTest : public testing::TestWithParam<bool> {
 protected:
  CountingTest() { Zon::VFPtrInterface::enableThreadSafePointers = GetParam(); }
  ~CountingTest() override { Zon::VFPtrInterface::enableThreadSafePointers = false; }

  Events events;
};

INSTANTIATE_TEST_SUITE_P(Both, CountingTest, testing::Bool(),
                         [](auto const& parameter) { return parameter.param ? "Locked" : "Plain"; });

TEST(PtrInterface, CountingIsPlainAtProgramStart) { EXPECT_FALSE(Zon::VFPtrInterface::enableThreadSafePointers); }

TEST_P(CountingTest, AnObjectIsBornWithCountOneAndWithoutFlags) {
  Zon::Ptr<Mortal> const mortal = Zon::newPtr<Mortal>(events);
  EXPECT_EQ(mortal->zonWord(), 1U);
  EXPECT_FALSE(mortal->hasNotificationActive());
  EXPECT_FALSE(mortal->zonMarkedForDeletion());
  EXPECT_FALSE(mortal->isNondestructing());
}

TEST_P(CountingTest, ATemporaryPointerToThisInAConstructorIsHarmless) {
  struct Selfish : Zon::PtrInterface {
    Selfish() { Zon::Ptr<Selfish> const self(this); }
  };
  auto const selfish = Zon::newPtr<Selfish>();
  EXPECT_EQ(selfish->zonWord(), 1U);
}

TEST_P(CountingTest, AWatcherMayLiveInAutomaticStorage) {
  struct Watcher : Zon::PtrInterface::NotifieeConst {};
  Watcher watcher;
  { Zon::Ptr<Watcher> const held(&watcher); }
  EXPECT_EQ(watcher.zonWord(), 1U);
}

TEST_P(CountingTest, IncrementAddsOneAndTouchesNoFlag) {
  Zon::Ptr<Mortal> const mortal = Zon::newPtr<Mortal>(events);
  for (Word const flags : {Word{0}, zombie, active, zombie | active}) {
    mortal->zonWordIs(flags | 1U);
    Zon::increment(mortal.ptr());
    EXPECT_EQ(mortal->zonWord(), flags | 2U);
  }
  mortal->zonWordIs(1);
}

TEST_P(CountingTest, DecrementReturnsTheCountWithoutFlags) {
  Zon::Ptr<Mortal> const mortal = Zon::newPtr<Mortal>(events);
  for (Word const flags : {Word{0}, zombie, active, zombie | active}) {
    mortal->zonWordIs(flags | 7U);
    EXPECT_EQ(Zon::decrement(mortal.ptr()), 6U);
    EXPECT_EQ(mortal->zonWord(), flags | 6U);
  }
  mortal->zonWordIs(1);
  EXPECT_EQ(events.take(), "");
}

TEST_P(CountingTest, ADecrementThatLeavesOnlyFlagBitsDestroys) {
  for (Word const flags : {Word{0}, zombie, active, zombie | active}) {
    Zon::Ptr<Mortal> mortal = Zon::newPtr<Mortal>(events);
    mortal->zonWordIs(flags | 1U);
    EXPECT_EQ(Zon::decrement(mortal.zonRelease()), 0U);
    EXPECT_EQ(events.take(), "zero(true) ~") << std::hex << flags;
  }
}

TEST_P(CountingTest, ADecrementThatLeavesBit30DestroysNothing) {
  for (Word const flags : {Word{0}, zombie, active, zombie | active}) {
    Zon::Ptr<Mortal> const mortal = Zon::newPtr<Mortal>(events);
    mortal->zonWordIs(flags | pin | 1U);
    EXPECT_EQ(Zon::decrement(mortal.ptr()), pin);
    EXPECT_EQ(mortal->zonWord(), flags | pin);
    EXPECT_EQ(events.take(), "");
    mortal->zonWordIs(2);
    Zon::decrement(mortal.ptr());
    EXPECT_EQ(events.take(), "");
    mortal->actDying = [this](Mortal&) { events.take(); };
  }
}

TEST_P(CountingTest, ZeroReferencesIsToldWithThePinSetAndTheFlagsKept) {
  Word seen = 0;
  {
    Zon::Ptr<Mortal> const mortal = Zon::newPtr<Mortal>(events);
    mortal->hasNotificationActiveIs(true);
    mortal->zonMarkedForDeletionIs(true);
    mortal->actZero = [&](Mortal& dying) { seen = dying.zonWord(); };
  }
  EXPECT_EQ(seen, zombie | active | pin);
}

TEST_P(CountingTest, AReferenceTakenInAnswerToZeroReferencesKeepsTheObject) {
  Zon::Ptr<Mortal> rescued;
  {
    Zon::Ptr<Mortal> const mortal = Zon::newPtr<Mortal>(events);
    mortal->actZero = [&](Mortal& dying) { rescued = &dying; };
  }
  EXPECT_EQ(events.take(), "zero(true)");
  ASSERT_TRUE(rescued);
  EXPECT_EQ(rescued->zonWord(), 1U);
  rescued->actZero = nullptr;
  rescued = nullptr;
  EXPECT_EQ(events.take(), "zero(true) ~");
}

TEST_P(CountingTest, TemporariesInAnswerToZeroReferencesDestroyOnce) {
  {
    Zon::Ptr<Mortal> const mortal = Zon::newPtr<Mortal>(events);
    mortal->actZero = [](Mortal& dying) {
      for (int i = 0; i < 3; ++i)
        Zon::Ptr<Mortal> const temporary(&dying);
    };
  }
  EXPECT_EQ(events.take(), "zero(true) ~");
}

TEST_P(CountingTest, TemporariesInADestructorDestroyOnce) {
  {
    Zon::Ptr<Mortal> const mortal = Zon::newPtr<Mortal>(events);
    mortal->actDying = [](Mortal& dying) {
      for (int i = 0; i < 3; ++i)
        Zon::Ptr<Zon::PtrInterface> const temporary(&dying);
    };
  }
  EXPECT_EQ(events.take(), "zero(true) ~");
}

TEST_P(CountingTest, AnExceptionFromZeroReferencesDoesNotLeaveTheRelease) {
  {
    Zon::Ptr<Mortal> const mortal = Zon::newPtr<Mortal>(events);
    mortal->actZero = [](Mortal&) { throw std::runtime_error("late"); };
  }
  EXPECT_EQ(events.take(), "zero(true) ~");
}

TEST_P(CountingTest, AnObjectMayReleaseItselfInsideItsOwnCall) {
  struct Suicidal : Zon::PtrInterface {
    explicit Suicidal(Events& e) : events(&e) {}
    ~Suicidal() override { events->add("~"); }
    void go() {
      Zon::Ptr<Suicidal> const self(this);
      owner = nullptr;
      events->add("released");
    }
    Zon::Ptr<Suicidal> owner;
    Events* events;
  };
  Zon::Ptr<Suicidal> suicidal = Zon::newPtr<Suicidal>(events);
  Suicidal* const raw = suicidal.ptr();
  raw->owner = std::move(suicidal);
  raw->go();
  EXPECT_EQ(events.take(), "released ~");
}

TEST_P(CountingTest, NondestructingSetsBits24To28AndKeepsFlagsAndCount) {
  Zon::Ptr<Mortal> const mortal = Zon::newPtr<Mortal>(events);
  mortal->hasNotificationActiveIs(true);
  mortal->isNondestructingIs(true);
  EXPECT_TRUE(mortal->isNondestructing());
  EXPECT_EQ(mortal->zonWord(), 0x1f000001U | active);
  mortal->isNondestructingIs(true);
  EXPECT_EQ(mortal->zonWord(), 0x1f000001U | active);
  mortal->isNondestructingIs(false);
  EXPECT_EQ(mortal->zonWord(), 1U | active);
  mortal->isNondestructingIs(false);
  EXPECT_EQ(mortal->zonWord(), 1U | active);
}

TEST_P(CountingTest, ANondestructingObjectSurvivesTheLossOfItsLastReference) {
  Zon::Ptr<Mortal> mortal = Zon::newPtr<Mortal>(events);
  Mortal* const raw = mortal.ptr();
  mortal->isNondestructingIs(true);
  EXPECT_EQ(Zon::decrement(mortal.zonRelease()), 0x1f000000U);
  EXPECT_EQ(events.take(), "");
  raw->handleZeroRef();
  EXPECT_EQ(events.take(), "");
  raw->isNondestructingIs(false);
  EXPECT_EQ(events.take(), "zero(true) ~");
}

TEST_P(CountingTest, SwitchingNondestructingOffOnAHeldObjectKeepsIt) {
  Zon::Ptr<Mortal> const mortal = Zon::newPtr<Mortal>(events);
  mortal->isNondestructingIs(true);
  mortal->isNondestructingIs(false);
  EXPECT_EQ(events.take(), "");
  EXPECT_EQ(mortal->zonWord(), 1U);
}

TEST_P(CountingTest, BecomingNondestructingAtZeroReferencesKeepsTheObject) {
  Mortal* raw = nullptr;
  {
    Zon::Ptr<Mortal> const mortal = Zon::newPtr<Mortal>(events);
    raw = mortal.ptr();
    mortal->actZero = [](Mortal& dying) { dying.isNondestructingIs(true); };
  }
  EXPECT_EQ(events.take(), "zero(true)");
  EXPECT_EQ(raw->zonWord(), 0x1f000000U);
  raw->actZero = nullptr;
  raw->isNondestructingIs(false);
  EXPECT_EQ(events.take(), "zero(true) ~");
}

TEST_P(CountingTest, FlagsAreSetAndClearedWithoutTouchingTheCount) {
  Zon::Ptr<Mortal> const mortal = Zon::newPtr<Mortal>(events);
  mortal->hasNotificationActiveIs(true);
  EXPECT_EQ(mortal->zonWord(), active | 1U);
  mortal->zonMarkedForDeletionIs(true);
  EXPECT_EQ(mortal->zonWord(), zombie | active | 1U);
  mortal->hasNotificationActiveIs(false);
  EXPECT_EQ(mortal->zonWord(), zombie | 1U);
  mortal->zonMarkedForDeletionIs(false);
  EXPECT_EQ(mortal->zonWord(), 1U);
}

TEST(PtrInterface, TheSwitchIsAskedAtEverySingleCall) {
  Events events;
  Zon::Ptr<Mortal> const mortal = Zon::newPtr<Mortal>(events);
  for (int i = 0; i < 10; ++i) {
    Zon::VFPtrInterface::enableThreadSafePointers = i % 2 == 0;
    Zon::increment(mortal.ptr());
    Zon::VFPtrInterface::enableThreadSafePointers = i % 3 == 0;
    Zon::decrement(mortal.ptr());
    EXPECT_EQ(mortal->zonWord(), 1U);
  }
  Zon::VFPtrInterface::enableThreadSafePointers = false;
}

#ifndef NDEBUG
TEST(PtrInterfaceDeathTest, APointerKeptPastTheDestructorIsReportedInDebugBuilds) {
  static Zon::Ptr<Mortal> kept;
  EXPECT_DEATH(
      {
        Events events;
        Zon::newPtr<Mortal>(events)->actDying = [](Mortal& dying) { kept = &dying; };
      },
      "no reference outlives its object");
}
#endif

TEST(PtrInterface, AuditsFindNoErrors) {
  Events events;
  Zon::Ptr<Mortal> const mortal = Zon::newPtr<Mortal>(events);
  EXPECT_EQ(mortal->zonAuditErrors(~0U), 0U);
  EXPECT_EQ(mortal->auditErrors(~0U), 0U);
}

TEST(PtrInterface, CountWordLiesRightBehindTheVirtualTable) {
  Events events;
  Zon::Ptr<Mortal> const mortal = Zon::newPtr<Mortal>(events);
  mortal->zonWordIs(0x12345U);
  Word second;
  std::memcpy(&second, reinterpret_cast<unsigned char const*>(mortal.ptr()) + sizeof(void*), sizeof second);
  EXPECT_EQ(second, 0x12345U);
  mortal->zonWordIs(1);
}

// ---------------------------------------------------------------------------------------------------------------
// The base of watchers

/// Records the callbacks of the base, through which everything else goes.
class BaseWatcher : public Zon::PtrInterface::NotifieeConst {
 public:
  explicit BaseWatcher(Events& events) : events_(&events) {}

  void onAttribute(Zon::AttributeId id) override { events_->add("attribute(" + std::to_string(id) + ")"); }
  void onNotification() override { events_->add("notification"); }
  void onNotificationException() override { events_->add("exception"); }

  using NotifieeConst::onNotificationException;
  using NotifieeConst::zonRawNotifier;

 private:
  Events* events_;
};

TEST(BaseWatcherDeathTest, AThirdPendingCountIsAsserted) {
  class Counting : public Zon::PtrInterface::NotifieeConst {
   public:
    explicit Counting(int counts) {
      for (int i = 0; i != counts; ++i)
        zonPendingCountAt(count_[i]);
    }

   private:
    std::uint32_t count_[3] = {};
  };
  EXPECT_EQ(Zon::newPtr<Counting>(2)->zonReferences(), 1U);
  EXPECT_DEATH(Zon::newPtr<Counting>(3), "offset of a pending count");
}

class BaseWatcherTest : public testing::Test {
 protected:
  Events events;
  Zon::Ptr<BaseWatcher> watcher = Zon::newPtr<BaseWatcher>(events);
};

TEST_F(BaseWatcherTest, AnswersForNothingByDefault) {
  EXPECT_EQ(watcher->zonReactor(), nullptr);
  EXPECT_EQ(watcher->zonRawReactor(), nullptr);
  EXPECT_FALSE(watcher->isStreamAdapter());
  EXPECT_EQ(watcher->name(), "");
  EXPECT_EQ(watcher->activityPtr(), nullptr);
  EXPECT_EQ(watcher->zonFwkActivity(), nullptr);
  EXPECT_EQ(std::as_const(*watcher).zonFwkActivity(), nullptr);
  EXPECT_EQ(watcher->actsm(), nullptr);
  EXPECT_EQ(watcher->zonPendingId(), 0);
  EXPECT_FALSE(watcher->isRegisteredNotifiee());
  EXPECT_FALSE(watcher->hasNotificationActive());
}

TEST_F(BaseWatcherTest, ActivityPtrAnswersWhatZonFwkActivityDoes) {
  struct Bound : Zon::PtrInterface::NotifieeConst {
    using NotifieeConst::zonFwkActivity;
    Zon::Ptr<Zon::ActivityConfig> zonFwkActivity() const override { return activity; }
    Zon::Ptr<Zon::ActivityConfig> activity = Support::deferring();
  };
  Bound bound;
  EXPECT_EQ(bound.activityPtr(), bound.activity);
}

TEST_F(BaseWatcherTest, TheRegisteredFlagAloneRecordsTheWish) {
  watcher->isRegisteredNotifieeIs(true);
  EXPECT_TRUE(watcher->isRegisteredNotifiee());
  watcher->isRegisteredNotifieeIs(false);
  EXPECT_FALSE(watcher->isRegisteredNotifiee());
}

TEST_F(BaseWatcherTest, HoldsItsNotifierByACountedReference) {
  auto const notifier = Zon::newPtr<Mortal>(events);
  watcher->notifierIs(notifier);
  EXPECT_EQ(notifier->zonWord(), 2U);
  watcher->notifierIs(notifier);
  EXPECT_EQ(notifier->zonWord(), 2U);
  auto const other = Zon::newPtr<Mortal>(events);
  watcher->notifierIs(other);
  EXPECT_EQ(notifier->zonWord(), 1U);
  EXPECT_EQ(other->zonWord(), 2U);
  watcher = nullptr;
  EXPECT_EQ(other->zonWord(), 1U);
}

TEST_F(BaseWatcherTest, AnUncountedNotifierIsNotHeld) {
  auto const notifier = Zon::newPtr<Mortal>(events);
  watcher->zon_bitSetIs(Zon::zonUncountedNotifier);
  watcher->notifierIs(notifier);
  EXPECT_EQ(notifier->zonWord(), 1U);
  watcher->notifierIs(nullptr);
  EXPECT_EQ(notifier->zonWord(), 1U);
}

TEST_F(BaseWatcherTest, ChangingTheBitWhileBoundTakesOrGivesBackTheCountAtOnce) {
  auto const notifier = Zon::newPtr<Mortal>(events);
  watcher->notifierIs(notifier);
  watcher->zon_bitSetIs(Zon::zonUncountedNotifier);
  EXPECT_EQ(notifier->zonWord(), 1U);
  EXPECT_EQ(watcher->zonRawNotifier(), notifier.ptr());
  watcher->zon_bitSetIs(Zon::zonUncountedNotifier);
  EXPECT_EQ(notifier->zonWord(), 1U);
  watcher->zon_bitSetIs(Zon::zonCountedNotifier);
  EXPECT_EQ(notifier->zonWord(), 2U);
  watcher->zon_bitSetIs(Zon::zonCountedNotifier);
  EXPECT_EQ(notifier->zonWord(), 2U);
  watcher = nullptr;
  EXPECT_EQ(notifier->zonWord(), 1U);
}

TEST_F(BaseWatcherTest, HandleNotificationConsumesTheIdAndHandsItOnWithTheFlag) {
  watcher->zonPendingIdIs(258);
  watcher->handleNotification(nullptr);
  EXPECT_EQ(watcher->zonPendingId(), 0);
  EXPECT_EQ(events.take(), "attribute(258)");
}

TEST_F(BaseWatcherTest, HandleDefaultCallsByIdOnlyWithTheFlag) {
  watcher->handleDefault(nullptr, 258, false);
  watcher->handleDefault(nullptr, -1, false);
  watcher->handleDefault(nullptr, -2, false);
  EXPECT_EQ(events.take(), "");
  watcher->handleDefault(nullptr, 258, true);
  watcher->handleDefault(nullptr, -1, true);
  watcher->handleDefault(nullptr, -2, true);
  watcher->handleDefault(nullptr, -3, true);
  watcher->handleDefault(nullptr, 0, true);
  EXPECT_EQ(events.take(), "attribute(258) notification");
}

TEST_F(BaseWatcherTest, ExceptionsArriveAtTheInnermostCallback) {
  watcher->handleNotificationException(258);
  EXPECT_EQ(events.take(), "exception");
  watcher->handleNotificationException();
  EXPECT_EQ(events.take(), "exception");
  watcher->onNotificationException(5);
  EXPECT_EQ(events.take(), "exception");
}

TEST_F(BaseWatcherTest, TheGateDefersNothingWithoutActivity) {
  std::uint32_t count = 0;
  EXPECT_FALSE(watcher->zonOnAttribute(258, reinterpret_cast<unsigned char*>(&count)));
  EXPECT_EQ(count, 0U);
  EXPECT_EQ(watcher->zonPendingId(), 0);
}

}  // namespace
