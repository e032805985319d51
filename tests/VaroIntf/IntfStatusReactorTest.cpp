#include "VaroIntf/IntfStatusReactor.h"

#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/Errdisable.h"
#include "support/Intf.h"

namespace {

using namespace Support;
using VaroIntf::IntfStatusReactor;
using Zon::Ptr;

class IntfStatusReactorTest : public testing::Test {
 protected:
  Events events;
  Ptr<RecordingStatus> status = Zon::newPtr<RecordingStatus>("Ethernet1", events);

  Ptr<IntfStatusReactor> made(Ptr<Interface::IntfStatus> const& over) {
    auto const reactor = Zon::newPtr<IntfStatusReactor>(over);
    reactor->hasNotificationActiveIs(true);
    return reactor;
  }
  Ptr<IntfStatusReactor> made() { return made(status); }
};

struct Resolution {
  std::vector<std::int32_t> inputs;
  std::int32_t model;
};
class ForwardingModel : public testing::TestWithParam<Resolution> {};

TEST_P(ForwardingModel, IsTheLowestOfAllInputsCappedAtFive) {
  auto const status = newStatus("Ethernet1");
  for (std::size_t i = 0; i != GetParam().inputs.size(); ++i)
    status->forwardingModelInputsIs(label(i), GetParam().inputs[i]);
  auto const reactor = Zon::newPtr<IntfStatusReactor>(status);
  EXPECT_EQ(status->forwardingModel(), GetParam().model);
}

constexpr auto lowest = std::numeric_limits<std::int32_t>::min();
constexpr auto highest = std::numeric_limits<std::int32_t>::max();
INSTANTIATE_TEST_SUITE_P(Of, ForwardingModel,
                         testing::Values(Resolution{{}, 5}, Resolution{{7}, 5}, Resolution{{5}, 5}, Resolution{{4}, 4},
                                         Resolution{{3, 9}, 3}, Resolution{{9, 3}, 3}, Resolution{{-1, 2}, -1},
                                         Resolution{{0}, 0}, Resolution{{lowest, highest}, lowest},
                                         Resolution{{highest}, 5}, Resolution{{6, 8, 7}, 5}));

TEST_F(IntfStatusReactorTest, ConstructionWritesBeforeItReturns) {
  auto const reactor = Zon::newPtr<IntfStatusReactor>(status);
  EXPECT_EQ(events.take(), "Ethernet1=5");
  EXPECT_EQ(reactor->intfStatus(), status);
  EXPECT_EQ(reactor->intfId(), "Ethernet1");
  EXPECT_EQ(reactor->fwkKey(), "Ethernet1");
  EXPECT_TRUE(reactor->isRegisteredNotifiee());
  EXPECT_FALSE(reactor->hasNotificationActive());
  EXPECT_EQ(reactor->zonReferences(), 1U);
  EXPECT_EQ(reactor->name(), status->name());
}

TEST_F(IntfStatusReactorTest, AddingChangingAndRemovingAnyInputRewritesFromAllThatRemain) {
  auto const reactor = made();
  events.take();
  status->forwardingModelInputsIs("a", 3);
  status->forwardingModelInputsIs("b", 2);
  status->forwardingModelInputsIs("b", 4);
  status->forwardingModelInputsIs("c", 9);
  status->forwardingModelInputsDel("a");
  status->forwardingModelInputsDel("b");
  EXPECT_EQ(events.take(), "Ethernet1=3 Ethernet1=2 Ethernet1=3 Ethernet1=3 Ethernet1=4 Ethernet1=5");
}

TEST_F(IntfStatusReactorTest, EveryRemovedKeyOfAWholeCollectionIsOneRecomputation) {
  status->forwardingModelInputsIs("a", 1);
  status->forwardingModelInputsIs("b", 1);
  auto const reactor = made();
  events.take();
  status->forwardingModelInputsDelAll();
  EXPECT_EQ(events.take(), "Ethernet1=1 Ethernet1=5");
}

TEST_F(IntfStatusReactorTest, ItWritesEveryTimeAndTheStatusTellsOnlyOfChanges) {
  auto const reactor = made();
  auto const watcher = Zon::newPtr<StatusWatcher>("w", events, status);
  events.take();
  status->forwardingModelInputsNotify("nobody");
  EXPECT_EQ(events.take(), "Ethernet1=5 w:key(nobody)");
  status->forwardingModelInputsIs("a", 2);
  EXPECT_EQ(events.take(), "Ethernet1=2 w:forwardingModel w:key(a)");
}

TEST_F(IntfStatusReactorTest, TheImmediateNotificationRecomputesOnce) {
  auto const reactor = made();
  events.take();
  status->forwardingModelInputsNotify();
  EXPECT_EQ(events.take(), "Ethernet1=5");
}

TEST_F(IntfStatusReactorTest, OtherChangesOfTheStatusAreNotItsBusiness) {
  auto const reactor = made();
  events.take();
  status->activeIs(true);
  status->parentIs(Zon::newPtr<Zon::Dir>("somewhere"));
  status->isNondestructingIs(true);
  status->isNondestructingIs(false);
  EXPECT_EQ(events.take(), "");
  // A foreign write of the output stands until the next input.
  status->IntfStatus::forwardingModelIs(17);
  EXPECT_EQ(status->forwardingModel(), 17);
  status->forwardingModelInputsIs("a", 3);
  EXPECT_EQ(status->forwardingModel(), 3);
}

TEST_F(IntfStatusReactorTest, AnotherStatusIsRecomputedAndHeardTheKeyStays) {
  auto const reactor = made();
  auto const other = Zon::newPtr<RecordingStatus>("Ethernet2", events);
  other->forwardingModelInputsIs("a", 1);
  events.take();
  reactor->intfStatusIs(other);
  EXPECT_EQ(events.take(), "Ethernet2=1");
  EXPECT_EQ(reactor->intfStatus(), other);
  EXPECT_EQ(reactor->intfId(), "Ethernet1");
  EXPECT_EQ(reactor->fwkKey(), "Ethernet1");
  status->forwardingModelInputsIs("a", 3);
  EXPECT_EQ(events.take(), "");
  other->forwardingModelInputsIs("a", 0);
  EXPECT_EQ(events.take(), "Ethernet2=0");
  EXPECT_EQ(status->zonReferences(), 1U);
}

TEST_F(IntfStatusReactorTest, TheSameStatusAgainDoesNothing) {
  auto const reactor = made();
  reactor->isRegisteredNotifieeIs(false);
  events.take();
  reactor->intfStatusIs(status);
  EXPECT_EQ(events.take(), "");
  EXPECT_FALSE(reactor->isRegisteredNotifiee());
}

TEST_F(IntfStatusReactorTest, AnotherStatusRegistersAnUnregisteredReactor) {
  auto const reactor = made();
  reactor->isRegisteredNotifieeIs(false);
  auto const other = Zon::newPtr<RecordingStatus>("Ethernet2", events);
  reactor->notifierIs(other);
  EXPECT_TRUE(reactor->isRegisteredNotifiee());
}

TEST_F(IntfStatusReactorTest, NullIsLegalAndDoesNothing) {
  auto const reactor = made(nullptr);
  EXPECT_EQ(reactor->intfId(), "");
  EXPECT_EQ(reactor->intfStatus(), nullptr);
  reactor->handleForwardingModelInputs();
  reactor->onForwardingModelInputs("a");
  reactor->onForwardingModelInputszonImmediate();
  reactor->zonDoZombieReactors(true);
  EXPECT_TRUE(reactor->hasNotificationActive());  // without status its switch is left alone
  EXPECT_TRUE(reactor->zonMarkedForDeletion());
  reactor->zonDoZombieReactors(false);
  reactor->intfStatusIs(status);
  EXPECT_EQ(events.take(), "Ethernet1=5");
  EXPECT_EQ(reactor->intfId(), "");
  reactor->intfStatusIs(nullptr);
  EXPECT_EQ(reactor->intfStatus(), nullptr);
  status->forwardingModelInputsIs("a", 3);
  EXPECT_EQ(events.take(), "");
}

TEST_F(IntfStatusReactorTest, AnythingThatIsNoStatusBindsToNull) {
  auto const reactor = made();
  reactor->notifierIs(newConfig("Ethernet1"));
  EXPECT_EQ(reactor->intfStatus(), nullptr);
  EXPECT_TRUE(reactor->isRegisteredNotifiee());
}

TEST_F(IntfStatusReactorTest, OffNothingIsHeardAndNothingReplayed) {
  auto const reactor = made();
  reactor->hasNotificationActiveIs(false);
  events.take();
  status->forwardingModelInputsIs("a", 3);
  reactor->hasNotificationActiveIs(true);
  EXPECT_EQ(events.take(), "");
  EXPECT_EQ(status->forwardingModel(), 5);
  reactor->handleForwardingModelInputs();
  EXPECT_EQ(status->forwardingModel(), 3);
}

TEST_F(IntfStatusReactorTest, AZombieIgnoresNotificationsButItsHandlerWorks) {
  auto const reactor = made();
  reactor->zonDoZombieReactors(true);
  EXPECT_FALSE(reactor->hasNotificationActive());
  events.take();
  status->forwardingModelInputsIs("a", 3);
  reactor->onForwardingModelInputs("a");
  reactor->onForwardingModelInputszonImmediate();
  reactor->notifierIs(Zon::newPtr<RecordingStatus>("Ethernet2", events));
  EXPECT_EQ(events.take(), "");
  reactor->handleForwardingModelInputs();
  EXPECT_EQ(events.take(), "Ethernet2=5");
  reactor->zonDoZombieReactors(false);
  EXPECT_TRUE(reactor->hasNotificationActive());
  reactor->notifierIs(status);
  EXPECT_EQ(events.take(), "Ethernet1=3");
}

TEST_F(IntfStatusReactorTest, ItHasNoActivity) {
  auto const reactor = made();
  EXPECT_EQ(reactor->zonFwkActivity(), nullptr);
  EXPECT_EQ(std::as_const(*reactor).zonFwkActivity(), nullptr);
  EXPECT_EQ(reactor->activityPtr(), nullptr);
  EXPECT_EQ(reactor->actsm(), nullptr);
}

TEST_F(IntfStatusReactorTest, WhatIsPendingIsLeftToTheDefault) {
  class Told : public IntfStatusReactor {
   public:
    using IntfStatusReactor::IntfStatusReactor;
    Events* told = nullptr;
    void onForwardingModelInputs(Zon::String8 key) override {
      told->add("key(" + key.stdString() + ")");
      IntfStatusReactor::onForwardingModelInputs(key);
    }
    void onForwardingModelInputs() override { told->add("all"); }
    void onAttribute(Zon::AttributeId id) override { told->add("attribute(" + std::to_string(id) + ")"); }
    void onNotification() override { told->add("notification"); }
  };
  auto const reactor = Zon::newPtr<Told>(status);
  reactor->told = &events;
  events.take();
  auto const heard = [&](Zon::AttributeId id, std::uint32_t count) {
    reactor->zonPendingIdIs(id);
    reactor->zonPendingKeyIs("a");
    reactor->zonPendingCountIs(count);
    reactor->handleNotification(nullptr);
    EXPECT_EQ(reactor->zonPendingId(), 0);
    return events.take();
  };
  EXPECT_EQ(heard(266, 1), "key(a) Ethernet1=5");
  EXPECT_EQ(reactor->zonPendingCount(), 0U);
  EXPECT_EQ(heard(266, 2), "all");
  EXPECT_EQ(heard(266, 0), "");
  EXPECT_EQ(heard(265, 1), "");
  EXPECT_EQ(reactor->zonPendingCount(), 1U);  // not its business
  EXPECT_EQ(heard(Zon::severalAttributes, 1), "key(a) Ethernet1=5 notification");
  EXPECT_EQ(heard(Zon::severalAttributes, 2), "all notification");
}

TEST_F(IntfStatusReactorTest, AWriteThatRecomputesBeforeItStoresStoresItsOwnValue) {
  auto const reactor = made();
  events.take();
  bool done = false;
  status->before = [&] {
    if (!std::exchange(done, true)) status->forwardingModelInputsIs("b", 1);
  };
  status->forwardingModelInputsIs("a", 3);
  // The nested one wrote 1; the outer setter call, begun before, stores its own value afterwards.
  EXPECT_EQ(events.take(), "Ethernet1=3 Ethernet1=1");
  EXPECT_EQ(status->forwardingModel(), 3);
  EXPECT_EQ(status->forwardingModelInputs("b")->value(), 1);
}

TEST_F(IntfStatusReactorTest, AnInputAddedByAWatcherOfTheWriteIsResolvedAndStands) {
  auto const reactor = made();
  auto const watcher = Zon::newPtr<StatusWatcher>("w", events, status);
  watcher->act = [&](std::string const& heard) {
    if (heard == "forwardingModel" && status->forwardingModel() == 3) status->forwardingModelInputsIs("b", 1);
  };
  events.take();
  status->forwardingModelInputsIs("a", 3);
  EXPECT_EQ(events.take(), "Ethernet1=3 w:forwardingModel Ethernet1=1 w:forwardingModel w:key(b) w:key(a)");
  EXPECT_EQ(status->forwardingModel(), 1);
}

TEST_F(IntfStatusReactorTest, AnInputAddedByAWatcherOfTheFirstWriteIsResolvedByTheHandler) {
  auto const watcher = Zon::newPtr<StatusWatcher>("w", events, status);
  watcher->act = [&](std::string const&) {
    watcher->act = {};
    status->forwardingModelInputsIs("a", 3);
  };
  auto const reactor = made();
  EXPECT_EQ(status->forwardingModel(), 5);  // the reactor was not on yet
  reactor->handleForwardingModelInputs();
  EXPECT_EQ(status->forwardingModel(), 3);
}

TEST_F(IntfStatusReactorTest, AWatcherOfTheWriteMayDropReactorAndStatus) {
  auto reactor = made();
  auto const watcher = Zon::newPtr<StatusWatcher>("w", events, status);
  auto& raw = *status;
  watcher->act = [&](std::string const&) {
    reactor = nullptr;
    status = nullptr;
    watcher->notifierIs(nullptr);
  };
  events.take();
  Ptr<RecordingStatus> const held = status;
  raw.forwardingModelInputsIs("a", 3);
  EXPECT_EQ(events.take(), "Ethernet1=3 w:forwardingModel w:key(a)");
  EXPECT_EQ(held->zonReferences(), 1U);
}

TEST_F(IntfStatusReactorTest, WhatTheWriteThrowsLeavesConstructionAndIsContainedByADelivery) {
  status->before = [] { throw std::runtime_error("no"); };
  EXPECT_THROW(Zon::newPtr<IntfStatusReactor>(status), std::runtime_error);
  EXPECT_EQ(status->zonReferences(), 1U);
  status->before = {};
  auto const reactor = made();
  status->before = [] { throw 7; };
  status->forwardingModelInputsIs("a", 3);
  EXPECT_EQ(status->forwardingModel(), 5);
  EXPECT_THROW(reactor->handleForwardingModelInputs(), int);
}

TEST_F(IntfStatusReactorTest, AnExceptionWhileBindingLeavesTheReactorBoundAndHearing) {
  auto const reactor = made();
  auto const other = Zon::newPtr<RecordingStatus>("Ethernet2", events);
  other->before = [] { throw 7; };
  EXPECT_THROW(reactor->intfStatusIs(other), int);
  other->before = {};
  EXPECT_EQ(reactor->intfStatus(), other);
  events.take();
  other->forwardingModelInputsIs("a", 2);
  EXPECT_EQ(events.take(), "Ethernet2=2");
}

TEST_F(IntfStatusReactorTest, TwoReactorsOnOneStatusWriteTwice) {
  auto const one = made();
  auto const two = made();
  events.take();
  status->forwardingModelInputsIs("a", 3);
  EXPECT_EQ(events.take(), "Ethernet1=3 Ethernet1=3");
}

TEST_F(IntfStatusReactorTest, ADyingReactorLeavesItsStatus) {
  made();
  events.take();
  EXPECT_EQ(status->zonReferences(), 1U);
  status->forwardingModelInputsIs("a", 3);
  EXPECT_EQ(events.take(), "");
}

TEST_F(IntfStatusReactorTest, ThousandsOfInputsAreAllRead) {
  auto const reactor = made();
  for (int i = 0; i != 5000; ++i)
    status->IntfStatus::forwardingModelInputsIs(std::to_string(i), 5 - i);
  EXPECT_EQ(status->forwardingModel(), 5 - 4999);
  for (int i = 4999; i != 0; --i)
    status->forwardingModelInputsDel(std::to_string(i));
  EXPECT_EQ(status->forwardingModel(), 5);
}

}  // namespace
