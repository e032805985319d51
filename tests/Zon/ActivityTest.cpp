#include "Zon/Activity.h"

#include <functional>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Zon/Entity.h"
#include "Zon/Trace.h"
#include "support/Events.h"

namespace {

using Support::Events;
using Zon::ActivityConfig;
using Zon::newPtr;
using Zon::Ptr;

/// Work for an activity: a watcher that asks the gate whenever it is poked.
class Job final : public Zon::PtrInterface::NotifieeConst {
 public:
  Job(std::string label, Events& events, Ptr<ActivityConfig> const& activity)
    : label_(std::move(label)), events_(&events), machine_(Zon::zonActivitySmFor(activity)) {
    zonPendingCountAt(count);
    hasNotificationActiveIs(true);
    notifierIs(newPtr<Zon::Entity>("notifier"));
  }
  ~Job() override { zonLeaveQueue(); }

  /// What the gate answers: true when deferred.
  bool poke(Zon::AttributeId id = 258) { return zonOnAttribute(id, reinterpret_cast<unsigned char*>(&count)); }
  bool pokeValue(Zon::AttributeId id) { return zonOnAttribute(id, nullptr); }

  using NotifieeConst::onNotificationException;
  using NotifieeConst::zonIsQueued;

  Ptr<Zon::ActivitySm> actsm() override { return machine_; }
  void handleNotification(ActivityConfig* activity) override {
    Zon::AttributeId const id = zonPendingId();
    zonPendingIdIs(0);
    seenActivity = activity;
    events_->add(label_ + "(" + std::to_string(id) + "," + std::to_string(std::exchange(count, 0)) + ")");
    if (auto const run = act) run();
  }
  void onNotificationException(Zon::AttributeId id) override {
    events_->add(label_ + ":exception(" + std::to_string(id) + ")");
    NotifieeConst::onNotificationException(id);
  }
  void onNotificationException() override {
    events_->add(label_ + ":exception");
    if (auto const run = actOnException) run();
  }

  std::function<void()> act;
  std::function<void()> actOnException;
  std::uint32_t count = 0;
  ActivityConfig* seenActivity = nullptr;

 private:
  std::string label_;
  Events* events_;
  Ptr<Zon::ActivitySm> machine_;
};

class ActivityTest : public testing::Test {
 protected:
  Ptr<Job> job(std::string const& label) { return newPtr<Job>(label, events, activity); }

  Events events;
  Ptr<ActivityConfig> activity = newPtr<ActivityConfig>();
};

// ---------------------------------------------------------------------------------------------------------------
// Configurations and their machines

TEST_F(ActivityTest, AConfigurationDefersUnlessToldOtherwise) {
  EXPECT_EQ(ActivityConfig().delivery(), ActivityConfig::Delivery::deferring);
  EXPECT_EQ(ActivityConfig(ActivityConfig::Delivery::immediate).delivery(), ActivityConfig::Delivery::immediate);
  EXPECT_TRUE(Zon::zonActivitySmFor(Support::deferring())->isDeferring());
  EXPECT_FALSE(Zon::zonActivitySmFor(Support::immediate())->isDeferring());
}

TEST_F(ActivityTest, NoConfigurationHasNoMachine) { EXPECT_EQ(Zon::zonActivitySmFor(nullptr), nullptr); }

TEST_F(ActivityTest, AConfigurationHasOneMachine) {
  auto const machine = Zon::zonActivitySmFor(activity);
  EXPECT_EQ(Zon::zonActivitySmFor(activity), machine);
  EXPECT_NE(Zon::zonActivitySmFor(newPtr<ActivityConfig>()), machine);
  EXPECT_EQ(machine->activityConfig(), activity);
}

TEST_F(ActivityTest, TheMachineHoldsItsConfigurationAndNotTheOtherWayRound) {
  auto machine = Zon::zonActivitySmFor(activity);
  EXPECT_EQ(activity->zonReferences(), 2U);
  EXPECT_EQ(machine->zonReferences(), 1U);
  machine = nullptr;
  EXPECT_EQ(activity->zonReferences(), 1U);
  EXPECT_EQ(activity->zonPending(), 0U);
  EXPECT_EQ(activity->zonDispatch(), 0U);
}

TEST_F(ActivityTest, AnIdleConfigurationHasNothingToDispatch) {
  EXPECT_EQ(activity->zonPending(), 0U);
  EXPECT_EQ(activity->zonDispatch(), 0U);
  auto const machine = Zon::zonActivitySmFor(activity);
  EXPECT_EQ(activity->zonDispatch(), 0U);
}

// ---------------------------------------------------------------------------------------------------------------
// What the gate records

TEST_F(ActivityTest, TheGateDefersOnADeferringActivityOnly) {
  auto const deferred = newPtr<Job>("d", events, activity);
  auto const instant = newPtr<Job>("i", events, Support::immediate());
  auto const none = newPtr<Job>("n", events, nullptr);
  EXPECT_TRUE(deferred->poke());
  EXPECT_FALSE(instant->poke());
  EXPECT_FALSE(none->poke());
  EXPECT_EQ(deferred->zonPendingId(), 258);
  EXPECT_EQ(deferred->count, 1U);
  for (auto const& job : {instant, none}) {
    EXPECT_EQ(job->zonPendingId(), 0);
    EXPECT_EQ(job->count, 0U);
    EXPECT_FALSE(job->zonIsQueued());
  }
  EXPECT_EQ(events.take(), "");
}

TEST_F(ActivityTest, PendingIdsMerge) {
  struct Row {
    Zon::AttributeId was, comes, merged;
  };
  Row const rows[] = {{0, 258, 258}, {258, 258, 258}, {258, 259, -1}, {-1, 258, -1}, {-2, 258, -2},
                      {258, -2, -2}, {-1, -2, -2},    {0, -2, -2},    {-1, -1, -1},  {-2, -1, -2}};
  for (auto const& row : rows) {
    auto const one = job("a");
    one->zonPendingIdIs(row.was);
    EXPECT_TRUE(one->pokeValue(row.comes));
    EXPECT_EQ(one->zonPendingId(), row.merged) << row.was << " " << row.comes;
  }
}

TEST_F(ActivityTest, TheCountIsOfChangesAndStopsAtItsMaximum) {
  auto const one = job("a");
  one->poke();
  one->poke();
  EXPECT_EQ(one->count, 2U);
  one->count = std::numeric_limits<std::uint32_t>::max() - 1;
  one->poke();
  EXPECT_EQ(one->count, std::numeric_limits<std::uint32_t>::max());
  one->poke();
  EXPECT_EQ(one->count, std::numeric_limits<std::uint32_t>::max());
}

TEST_F(ActivityTest, ASingleValueHasNoCount) {
  auto const one = job("a");
  EXPECT_TRUE(one->pokeValue(272));
  EXPECT_TRUE(one->pokeValue(272));
  EXPECT_EQ(one->count, 0U);
  EXPECT_EQ(activity->zonDispatch(), 1U);
  EXPECT_EQ(events.take(), "a(272,0)");
}

TEST_F(ActivityTest, AWatcherIsQueuedOnceHoweverManyChanges) {
  auto const one = job("a");
  for (int i = 0; i != 5; ++i)
    one->poke();
  EXPECT_EQ(activity->zonPending(), 1U);
  EXPECT_EQ(activity->zonDispatch(), 1U);
  EXPECT_EQ(events.take(), "a(258,5)");
  EXPECT_EQ(activity->zonPending(), 0U);
}

TEST_F(ActivityTest, ARedeliveryPassesTheGateOnceUnderItsIdOnly) {
  auto const one = job("a");
  {
    Zon::PtrInterface::NotifieeConst::ZonRedelivery const scope(one.ptr(), 258);
    EXPECT_TRUE(one->pokeValue(259));
    EXPECT_FALSE(one->poke(258));
    EXPECT_EQ(one->count, 0U);
    EXPECT_TRUE(one->poke(258));
  }
  EXPECT_EQ(one->zonPendingId(), -1);
  EXPECT_EQ(one->count, 1U);
}

TEST_F(ActivityTest, TheEndOfARedeliveryClearsItsMark) {
  auto const one = job("a");
  { Zon::PtrInterface::NotifieeConst::ZonRedelivery const scope(one.ptr(), 258); }
  EXPECT_TRUE(one->poke(258));
}

// ---------------------------------------------------------------------------------------------------------------
// Rounds

TEST_F(ActivityTest, FirstQueuedIsFirstServedWithItsActivity) {
  auto const a = job("a");
  auto const b = job("b");
  auto const c = job("c");
  c->poke();
  a->poke();
  b->poke();
  c->poke();
  EXPECT_EQ(activity->zonPending(), 3U);
  EXPECT_EQ(activity->zonDispatch(), 3U);
  EXPECT_EQ(events.take(), "c(258,2) a(258,1) b(258,1)");
  EXPECT_EQ(a->seenActivity, activity.ptr());
}

TEST_F(ActivityTest, WhatIsQueuedDuringARoundWaitsForTheNext) {
  auto const a = job("a");
  auto const b = job("b");
  a->act = [&] { b->poke(); };
  a->poke();
  EXPECT_EQ(activity->zonDispatch(), 1U);
  EXPECT_EQ(events.take(), "a(258,1)");
  EXPECT_EQ(activity->zonPending(), 1U);
  EXPECT_EQ(activity->zonDispatch(), 1U);
  EXPECT_EQ(events.take(), "b(258,1)");
}

TEST_F(ActivityTest, AHandlerThatQueuesItselfAgainIsServedOnceARound) {
  auto const a = job("a");
  a->act = [&] { a->poke(); };
  a->poke();
  for (int round = 0; round != 3; ++round) {
    EXPECT_EQ(activity->zonDispatch(), 1U);
    EXPECT_EQ(events.take(), "a(258,1)");
    EXPECT_EQ(activity->zonPending(), 1U);
  }
}

TEST_F(ActivityTest, AChangeOfAWatcherStillToBeServedJoinsThisRound) {
  auto const a = job("a");
  auto const b = job("b");
  a->act = [&] { b->poke(); };
  a->poke();
  b->poke();
  EXPECT_EQ(activity->zonDispatch(), 2U);
  EXPECT_EQ(events.take(), "a(258,1) b(258,2)");
  EXPECT_EQ(activity->zonPending(), 0U);
}

TEST_F(ActivityTest, PendingCountsTheUnservedOfARunningRound) {
  auto const a = job("a");
  auto const b = job("b");
  auto const c = job("c");
  std::vector<std::uint32_t> pending;
  for (auto const& one : {a, b}) {
    one->act = [&] {
      pending.push_back(activity->zonPending());
      c->poke();
    };
    one->poke();
  }
  activity->zonDispatch();
  EXPECT_EQ(pending, (std::vector<std::uint32_t>{1, 1}));
  EXPECT_EQ(activity->zonPending(), 1U);
}

TEST_F(ActivityTest, RoundsNeverNest) {
  auto const a = job("a");
  auto const b = job("b");
  a->act = [&] {
    EXPECT_EQ(activity->zonDispatch(), 0U);
    Zon::redispatch(a->actsm());
    events.add("back");
  };
  a->poke();
  b->poke();
  EXPECT_EQ(activity->zonDispatch(), 2U);
  EXPECT_EQ(events.take(), "a(258,1) back b(258,1)");
}

TEST_F(ActivityTest, AnotherActivityMayRunARoundInsideARound) {
  auto const other = newPtr<ActivityConfig>();
  auto const a = job("a");
  auto const b = newPtr<Job>("b", events, other);
  a->act = [&] {
    b->poke();
    EXPECT_EQ(other->zonDispatch(), 1U);
  };
  a->poke();
  activity->zonDispatch();
  EXPECT_EQ(events.take(), "a(258,1) b(258,1)");
}

TEST_F(ActivityTest, RedispatchRunsOneRoundAndIgnoresNull) {
  auto const a = job("a");
  a->act = [&] { a->poke(); };
  a->poke();
  Zon::redispatch(nullptr);
  EXPECT_EQ(events.take(), "");
  Zon::redispatch(a->actsm());
  EXPECT_EQ(events.take(), "a(258,1)");
  EXPECT_EQ(activity->zonPending(), 1U);
}

TEST_F(ActivityTest, DrainingADeferringActivityEnds) {
  auto const a = job("a");
  auto const b = job("b");
  int left = 4;
  a->act = [&] {
    if (left-- > 0) b->poke();
  };
  b->act = [&] { a->poke(); };
  a->poke();
  int rounds = 0;
  while (activity->zonPending() != 0) {
    activity->zonDispatch();
    ++rounds;
  }
  EXPECT_EQ(rounds, 9);
}

// ---------------------------------------------------------------------------------------------------------------
// Watchers that go, or go silent

TEST_F(ActivityTest, TheQueueHoldsNoReferences) {
  auto const a = job("a");
  a->poke();
  EXPECT_EQ(a->zonReferences(), 1U);
}

TEST_F(ActivityTest, ADyingWatcherLeavesTheQueueAtEveryPosition) {
  for (std::size_t dead = 0; dead != 3; ++dead) {
    std::vector<Ptr<Job>> jobs = {job("a"), job("b"), job("c")};
    for (auto const& one : jobs)
      one->poke();
    jobs[dead] = nullptr;
    EXPECT_EQ(activity->zonPending(), 2U);
    EXPECT_EQ(activity->zonDispatch(), 2U);
    std::string expected;
    for (std::size_t i = 0; i != 3; ++i)
      if (i != dead) expected += (expected.empty() ? "" : " ") + Support::label(i) + "(258,1)";
    EXPECT_EQ(events.take(), expected);
  }
}

TEST_F(ActivityTest, AWatcherLeavesTheQueueAtItsEndThoughItsTypeDoesNotCare) {
  class Plain final : public Zon::PtrInterface::NotifieeConst {
   public:
    explicit Plain(Ptr<Zon::ActivitySm> machine) : machine_(std::move(machine)) {}
    Ptr<Zon::ActivitySm> actsm() override { return machine_; }
    bool poke() { return zonOnAttribute(258, nullptr); }

   private:
    Ptr<Zon::ActivitySm> const machine_;
  };
  auto const machine = Zon::zonActivitySmFor(activity);
  auto watcher = newPtr<Plain>(machine);
  EXPECT_TRUE(watcher->poke());
  EXPECT_EQ(activity->zonPending(), 1U);
  watcher = nullptr;
  EXPECT_EQ(activity->zonPending(), 0U);
  EXPECT_EQ(activity->zonDispatch(), 0U);
}

TEST_F(ActivityTest, BehindADeadWatcherTheQueueGoesOn) {
  for (std::size_t dead = 0; dead != 3; ++dead) {
    std::vector<Ptr<Job>> jobs = {job("a"), job("b"), job("c")};
    for (auto const& one : jobs)
      one->poke();
    jobs[dead] = nullptr;
    auto const late = job("late");
    late->poke();
    EXPECT_EQ(activity->zonDispatch(), 3U) << dead;
    EXPECT_NE(events.take().find("late(258,1)"), std::string::npos) << dead;
  }
}

TEST_F(ActivityTest, WhatEveryWatcherOfARoundQueuesIsServedInTheNext) {
  auto const a = job("a");
  auto const b = job("b");
  auto const c = job("c");
  auto const d = job("d");
  a->act = [&] { c->poke(); };
  b->act = [&] { d->poke(); };
  a->poke();
  b->poke();
  EXPECT_EQ(activity->zonDispatch(), 2U);
  EXPECT_EQ(activity->zonDispatch(), 2U);
  EXPECT_EQ(events.take(), "a(258,1) b(258,1) c(258,1) d(258,1)");
}

TEST_F(ActivityTest, ADyingWatcherLeavesTheRunningRoundAtEveryPosition) {
  for (std::size_t at = 0; at != 4; ++at) {
    for (std::size_t dead = 0; dead != 4; ++dead) {
      std::vector<Ptr<Job>> jobs = {job("a"), job("b"), job("c"), job("d")};
      for (auto const& one : jobs)
        one->poke();
      jobs[at]->act = [&, dead] { jobs[dead] = nullptr; };
      // Who is gone before its turn is not served; the one being served is held.
      EXPECT_EQ(activity->zonDispatch(), dead > at ? 3U : 4U);
      std::string expected;
      for (std::size_t i = 0; i != 4; ++i)
        if (i <= at || i != dead) expected += (expected.empty() ? "" : " ") + Support::label(i) + "(258,1)";
      EXPECT_EQ(events.take(), expected) << at << " destroys " << dead;
      EXPECT_EQ(activity->zonPending(), 0U);
    }
  }
}

TEST_F(ActivityTest, TheRoundSurvivesTheEndOfEveryWatcherAndItsActivity) {
  std::vector<Ptr<Job>> jobs = {job("a"), job("b"), job("c")};
  for (auto const& one : jobs)
    one->poke();
  jobs[0]->act = [&] {
    jobs.clear();
    activity = nullptr;
    events.add("cleared");
  };
  EXPECT_EQ(activity->zonDispatch(), 1U);
  EXPECT_EQ(events.take(), "a(258,1) cleared");
}

TEST_F(ActivityTest, OneThatIsOffAZombieOrWithoutNotifierIsClearedAndNotCalled) {
  auto const off = job("off");
  auto const zombie = job("zombie");
  auto const unbound = job("unbound");
  auto const live = job("live");
  for (auto const& one : {off, zombie, unbound, live})
    one->poke();
  off->hasNotificationActiveIs(false);
  zombie->zonMarkedForDeletionIs(true);
  unbound->notifierIs(nullptr);
  EXPECT_EQ(activity->zonDispatch(), 1U);
  EXPECT_EQ(events.take(), "live(258,1)");
  for (auto const& one : {off, zombie, unbound}) {
    EXPECT_EQ(one->zonPendingId(), 0);
    EXPECT_EQ(one->count, 0U);
    EXPECT_FALSE(one->zonIsQueued());
  }
}

TEST_F(ActivityTest, OffAndOnAgainBeforeItsTurnStillDelivers) {
  auto const a = job("a");
  a->poke();
  a->hasNotificationActiveIs(false);
  a->hasNotificationActiveIs(true);
  EXPECT_EQ(activity->zonDispatch(), 1U);
  EXPECT_EQ(events.take(), "a(258,1)");
}

TEST_F(ActivityTest, ACountKeptOutsideTheWatcherIsNeverTouchedByTheDispatch) {
  auto const a = job("a");
  std::vector<std::uint32_t> elsewhere(70000, 0x5a5a5a5aU);
  for (auto& count : elsewhere)
    a->zonOnAttribute(258, reinterpret_cast<unsigned char*>(&count));
  a->hasNotificationActiveIs(false);
  EXPECT_EQ(activity->zonDispatch(), 0U);
  EXPECT_EQ(a->zonPendingId(), 0);
  EXPECT_EQ(a->name(), "");
  for (auto const count : elsewhere)
    ASSERT_EQ(count, 0x5a5a5a5bU);
}

TEST_F(ActivityTest, AMachineThatDiesLeavesItsWaitingWatchersAlone) {
  // A watcher that does not hold its machine.
  class Careless final : public Zon::PtrInterface::NotifieeConst {
   public:
    explicit Careless(Ptr<ActivityConfig> activity) : activity_(std::move(activity)) {}
    Ptr<Zon::ActivitySm> actsm() override { return Zon::zonActivitySmFor(activity_); }
    using NotifieeConst::zonIsQueued;

   private:
    Ptr<ActivityConfig> activity_;
  };
  auto careless = newPtr<Careless>(activity);
  EXPECT_TRUE(careless->zonOnAttribute(258, nullptr));
  EXPECT_FALSE(careless->zonIsQueued());
  EXPECT_EQ(activity->zonPending(), 0U);
  careless = nullptr;
}

// ---------------------------------------------------------------------------------------------------------------
// Exceptions

TEST_F(ActivityTest, WhatAHandlerThrowsIsHandedBackWithThePendingIdAndTheRoundGoesOn) {
  for (bool const isStandard : {true, false}) {
    auto const a = job("a");
    auto const b = job("b");
    a->act = [isStandard] {
      if (isStandard) throw std::runtime_error("oops");
      throw 42;
    };
    a->poke();
    b->poke();
    EXPECT_EQ(activity->zonDispatch(), 2U);
    EXPECT_EQ(events.take(), "a(258,1) a:exception(258) a:exception b(258,1)");
    // The change is consumed.
    EXPECT_EQ(a->zonPendingId(), 0);
    EXPECT_EQ(activity->zonPending(), 0U);
  }
}

TEST_F(ActivityTest, AHandlerThatThrowsAfterDroppingItselfStillHearsOfIt) {
  auto a = job("a");
  auto const b = job("b");
  a->act = [&] {
    a = nullptr;
    throw 1;
  };
  a->poke();
  b->poke();
  EXPECT_EQ(activity->zonDispatch(), 2U);
  EXPECT_EQ(events.take(), "a(258,1) a:exception(258) a:exception b(258,1)");
}

TEST_F(ActivityTest, AnExceptionOutOfTheHandbackLeavesTheDispatchWithTheRestAtTheHead) {
  for (std::size_t at = 0; at != 3; ++at) {
    std::vector<Ptr<Job>> const jobs = {job("a"), job("b"), job("c")};
    auto const late = job("late");
    for (auto const& one : jobs)
      one->poke();
    jobs[at]->act = [&] {
      late->poke();
      throw 1;
    };
    jobs[at]->actOnException = [] { throw std::logic_error("twice"); };
    EXPECT_THROW(activity->zonDispatch(), std::logic_error);
    events.take();
    EXPECT_EQ(activity->zonPending(), 3U - at);
    // The machine is usable again, and order is kept.
    EXPECT_EQ(activity->zonDispatch(), 3U - at);
    std::string expected;
    for (std::size_t i = at + 1; i != 3; ++i)
      expected += Support::label(i) + "(258,1) ";
    EXPECT_EQ(events.take(), expected + "late(258,1)");
  }
}

TEST_F(ActivityTest, TheUnservedRestMayDieBeforeTheNextRound) {
  auto const a = job("a");
  auto b = job("b");
  auto const c = job("c");
  a->act = [] { throw 1; };
  a->actOnException = [] { throw 2; };
  for (auto const& one : {a, b, c})
    one->poke();
  EXPECT_THROW(activity->zonDispatch(), int);
  b = nullptr;
  events.take();
  EXPECT_EQ(activity->zonDispatch(), 1U);
  EXPECT_EQ(events.take(), "c(258,1)");
}

TEST_F(ActivityTest, WhatIsQueuedBehindTheUnservedRestIsServedAfterIt) {
  auto const a = job("a");
  auto const b = job("b");
  auto const late = job("late");
  a->act = [] { throw 1; };
  a->actOnException = [] { throw 2; };
  a->poke();
  b->poke();
  EXPECT_THROW(activity->zonDispatch(), int);
  events.take();
  late->poke();
  EXPECT_EQ(activity->zonDispatch(), 2U);
  EXPECT_EQ(events.take(), "b(258,1) late(258,1)");
}

TEST_F(ActivityTest, AContainedExceptionOfADispatchIsTracedOnDemand) {
  std::vector<std::string> lines;
  Zon::traceSinkIs([&](Zon::TraceRecord const& record) { lines.push_back(record.text.stdString()); });
  Zon::TraceHandle const facility("Zon", true);
  facility.enabledIs(true);
  facility.levelIs(1, true);
  auto const a = job("a");
  a->act = [] { throw std::runtime_error("oops"); };
  a->poke();
  activity->zonDispatch();
  facility.enabledIs(false);
  facility.levelIs(1, false);
  Zon::traceSinkIs({});
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_NE(lines[0].find("258"), std::string::npos);
  EXPECT_NE(lines[0].find("Job"), std::string::npos);
  EXPECT_NE(lines[0].find("oops"), std::string::npos);
}

}  // namespace
