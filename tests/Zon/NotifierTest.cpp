#include "Zon/Notifier.h"

#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Zon/Trace.h"
#include "support/Beacon.h"

namespace {

using Support::Events;
using Support::label;
using Zon::Deliver;
using Zon::newPtr;
using Zon::Ptr;

template <Deliver value>
struct Policy {
  static constexpr Deliver policy = value;
};

/// A beacon with watchers a, b, c, ...; every test runs under both rules of whom a delivery calls.
template <class P>
class NotifierTest : public testing::Test {
 protected:
  using Beacon = Support::Beacon<P::policy>;
  using Watcher = typename Beacon::Watcher;

  static constexpr std::size_t all = 5;

  /// Starts over with five watchers.
  void wire() {
    watchers.clear();
    beacon = newPtr<Beacon>();
    for (std::size_t i = 0; i != all; ++i)
      watchers.push_back(newPtr<Watcher>(label(i), events, beacon));
    events.take();
  }
  /// The calls of the watchers of those positions with one value.
  static std::string calls(std::size_t from, std::size_t to, int value) {
    std::string text;
    for (std::size_t i = from; i < to; ++i)
      text += (text.empty() ? "" : " ") + label(i) + ":" + std::to_string(value);
    return text;
  }
  static std::string join(std::vector<std::string> const& parts) {
    Events joined;
    for (auto const& part : parts)
      if (!part.empty()) joined.add(part);
    return joined.take();
  }

  Events events;
  Ptr<Beacon> beacon;
  std::vector<Ptr<Watcher>> watchers;
};

using Policies = testing::Types<Policy<Deliver::always>, Policy<Deliver::whenActive>>;
struct PolicyNames {
  template <class P>
  static std::string GetName(int) {
    return P::policy == Deliver::always ? "Always" : "WhenActive";
  }
};
TYPED_TEST_SUITE(NotifierTest, Policies, PolicyNames);

TYPED_TEST(NotifierTest, CallsInOrderOfRegistrationAfterTheChange) {
  this->wire();
  this->beacon->colourIs(7);
  EXPECT_EQ(this->events.take(), "a:7 b:7 c:7 d:7 e:7");
}

TYPED_TEST(NotifierTest, AnEqualValueCallsNobody) {
  this->wire();
  this->beacon->colourIs(0);
  EXPECT_EQ(this->events.take(), "");
}

TYPED_TEST(NotifierTest, AWatcherThatReregistersGoesToTheEnd) {
  this->wire();
  this->watchers[1]->isRegisteredNotifieeIs(false);
  this->watchers[1]->isRegisteredNotifieeIs(true);
  this->beacon->colourIs(7);
  EXPECT_EQ(this->events.take(), "a:7 c:7 d:7 e:7 b:7");
}

TYPED_TEST(NotifierTest, AWatcherThatDropsItselfEndsItsOwnCallUnharmed) {
  for (std::size_t at = 0; at != this->all; ++at) {
    this->wire();
    this->watchers[at]->recordsDeath = true;
    this->watchers[at]->act = [&, at](std::string const&) {
      this->watchers[at] = nullptr;
      this->events.add("dropped");
    };
    this->beacon->colourIs(1);
    // The snapshot releases what it leaves, at once.
    EXPECT_EQ(this->events.take(),
              this->join({this->calls(0, at + 1, 1), "dropped", "~" + label(at), this->calls(at + 1, this->all, 1)}));
    EXPECT_EQ(this->beacon->watchers(), this->all - 1);
  }
}

TYPED_TEST(NotifierTest, AWatcherDroppedByAnotherIsReleasedUnseen) {
  for (std::size_t at = 0; at != this->all; ++at) {
    for (std::size_t victim = 0; victim != this->all; ++victim) {
      if (victim == at) continue;
      this->wire();
      this->watchers[victim]->recordsDeath = true;
      this->watchers[at]->act = [&](std::string const&) { this->watchers[victim] = nullptr; };
      this->beacon->colourIs(1);
      std::string expected;
      if (victim < at) {
        // Called and released already: it dies in the saboteur's hands.
        expected = this->join({this->calls(0, at + 1, 1), "~" + label(victim), this->calls(at + 1, this->all, 1)});
      } else {
        expected = this->join({this->calls(0, victim, 1), "~" + label(victim), this->calls(victim + 1, this->all, 1)});
      }
      EXPECT_EQ(this->events.take(), expected) << at << " drops " << victim;
      EXPECT_EQ(this->beacon->watchers(), this->all - 1);
    }
  }
}

TYPED_TEST(NotifierTest, DroppingBothNeighboursSparesTheRest) {
  for (std::size_t at = 1; at + 1 != this->all; ++at) {
    this->wire();
    this->watchers[at]->act = [&, at](std::string const&) {
      this->watchers[at - 1] = nullptr;
      this->watchers[at + 1] = nullptr;
    };
    this->beacon->colourIs(1);
    EXPECT_EQ(this->events.take(), this->join({this->calls(0, at + 1, 1), this->calls(at + 2, this->all, 1)}));
    EXPECT_EQ(this->beacon->watchers(), this->all - 2);
  }
}

TYPED_TEST(NotifierTest, DroppingEverybodyElseEndsTheDelivery) {
  for (std::size_t at = 0; at != this->all; ++at) {
    this->wire();
    this->watchers[at]->act = [&, at](std::string const&) {
      for (std::size_t i = 0; i != this->all; ++i)
        if (i != at) this->watchers[i] = nullptr;
    };
    this->beacon->colourIs(1);
    EXPECT_EQ(this->events.take(), this->calls(0, at + 1, 1));
    EXPECT_EQ(this->beacon->watchers(), 1U);
  }
}

TYPED_TEST(NotifierTest, AnUnregisteredWatcherThatLivesIsStillCalledThisTime) {
  for (std::size_t at = 0; at != this->all; ++at) {
    for (std::size_t other = 0; other != this->all; ++other) {
      this->wire();
      this->watchers[at]->act = [&](std::string const&) { this->watchers[other]->isRegisteredNotifieeIs(false); };
      this->beacon->colourIs(1);
      EXPECT_EQ(this->events.take(), this->calls(0, this->all, 1)) << at << " unregisters " << other;
      this->watchers[at]->act = nullptr;
      this->beacon->colourIs(2);
      EXPECT_EQ(this->events.take(), this->join({this->calls(0, other, 2), this->calls(other + 1, this->all, 2)}));
    }
  }
}

TYPED_TEST(NotifierTest, AWatcherAddedMeanwhileIsCalledNextTime) {
  using W = typename TestFixture::Watcher;
  for (std::size_t at = 0; at != this->all; ++at) {
    this->wire();
    Ptr<W> added;
    this->watchers[at]->act = [&](std::string const&) {
      if (!added) added = newPtr<W>("new", this->events, this->beacon);
    };
    this->beacon->colourIs(1);
    EXPECT_EQ(this->events.take(), this->calls(0, this->all, 1));
    this->beacon->colourIs(2);
    EXPECT_EQ(this->events.take(), this->calls(0, this->all, 2) + " new:2");
  }
}

TYPED_TEST(NotifierTest, AWatcherThatLeavesForAnotherNotifierIsStillCalledThisTime) {
  using B = typename TestFixture::Beacon;
  for (std::size_t at = 0; at != this->all; ++at) {
    this->wire();
    auto const other = newPtr<B>("other");
    this->watchers[at]->act = [&, at](std::string const&) {
      this->watchers[at]->act = nullptr;
      this->watchers[(at + 1) % this->all]->notifierIs(other);
    };
    this->beacon->colourIs(1);
    std::string expected = this->calls(0, this->all, 1);
    // Called with the notifier it has by then.
    if (at + 1 != this->all) expected.replace(expected.find(label(at + 1)), 3, label(at + 1) + ":0");
    EXPECT_EQ(this->events.take(), expected);
    EXPECT_EQ(other->order(), label((at + 1) % this->all));
  }
}

TYPED_TEST(NotifierTest, TheNotifierIsHeldUntilTheDeliveryEnds) {
  for (std::size_t at = 0; at != this->all; ++at) {
    this->wire();
    this->beacon->death = &this->events;
    for (auto const& watcher : this->watchers) {
      watcher->zon_bitSetIs(Zon::zonUncountedNotifier);
    }
    this->watchers[at]->act = [&, at](std::string const&) {
      this->watchers[at]->act = nullptr;
      this->beacon = nullptr;
    };
    this->beacon->colourIs(1);
    Events end;
    for (std::size_t i = 0; i != this->all; ++i)
      end.add(label(i) + ":zeroReferences");
    EXPECT_EQ(this->events.take(), this->join({this->calls(0, this->all, 1), end.take(), "~beacon"}));
    for (auto const& watcher : this->watchers) {
      EXPECT_EQ(watcher->notifier(), nullptr);
      EXPECT_TRUE(watcher->isRegisteredNotifiee());
    }
  }
}

TYPED_TEST(NotifierTest, WhatAWatcherThrowsIsHandedBackToItAndTheOthersAreCalled) {
  for (std::size_t at = 0; at != this->all; ++at) {
    for (bool const isStandard : {true, false}) {
      this->wire();
      this->watchers[at]->act = [isStandard](std::string const&) {
        if (isStandard) throw std::runtime_error("oops");
        throw 42;
      };
      EXPECT_NO_THROW(this->beacon->colourIs(1));
      EXPECT_EQ(this->events.take(), this->join({this->calls(0, at + 1, 1), label(at) + ":exception(258)",
                                                 this->calls(at + 1, this->all, 1)}));
    }
  }
}

TYPED_TEST(NotifierTest, AWatcherThatThrowsAfterDroppingItselfStillHearsOfIt) {
  for (std::size_t at = 0; at != this->all; ++at) {
    this->wire();
    this->watchers[at]->recordsDeath = true;
    this->watchers[at]->act = [&, at](std::string const&) {
      this->watchers[at] = nullptr;
      throw std::runtime_error("last words");
    };
    EXPECT_NO_THROW(this->beacon->colourIs(1));
    EXPECT_EQ(this->events.take(), this->join({this->calls(0, at + 1, 1), label(at) + ":exception(258)",
                                               "~" + label(at), this->calls(at + 1, this->all, 1)}));
  }
}

TYPED_TEST(NotifierTest, EveryWatcherMayThrow) {
  this->wire();
  for (auto const& watcher : this->watchers)
    watcher->act = [](std::string const&) { throw 1; };
  EXPECT_NO_THROW(this->beacon->colourIs(1));
  EXPECT_EQ(this->events.take(), "a:1 a:exception(258) b:1 b:exception(258) c:1 c:exception(258) "
                                 "d:1 d:exception(258) e:1 e:exception(258)");
}

TYPED_TEST(NotifierTest, WhatOnNotificationExceptionThrowsLeavesTheSetterAndTheChangeStands) {
  for (std::size_t at = 0; at != this->all; ++at) {
    this->wire();
    this->watchers[at]->act = [](std::string const&) { throw 1; };
    this->watchers[at]->actOnException = [] { throw std::logic_error("twice"); };
    EXPECT_THROW(this->beacon->colourIs(1), std::logic_error);
    EXPECT_EQ(this->events.take(), this->join({this->calls(0, at + 1, 1), label(at) + ":exception(258)"}));
    EXPECT_EQ(this->beacon->colour(), 1);
    // The snapshot is gone, every reference with it.
    for (auto const& watcher : this->watchers)
      EXPECT_EQ(watcher->zonReferences(), 1U);
    EXPECT_EQ(this->beacon->zonReferences(), 1U + this->all);
  }
}

TYPED_TEST(NotifierTest, ANestedChangeIsDeliveredCompletelyFirst) {
  for (std::size_t at = 0; at != this->all; ++at) {
    this->wire();
    this->watchers[at]->act = [&](std::string const&) {
      if (this->beacon->colour() == 1) this->beacon->colourIs(2);
    };
    this->beacon->colourIs(1);
    EXPECT_EQ(this->events.take(),
              this->join({this->calls(0, at + 1, 1), this->calls(0, this->all, 2), this->calls(at + 1, this->all, 2)}));
  }
}

TYPED_TEST(NotifierTest, AWatcherDroppedInsideANestedDeliveryIsStillCalledByBoth) {
  // Two snapshots hold it: neither recognises it as dropped.
  this->wire();
  this->watchers[0]->act = [&](std::string const&) {
    if (this->beacon->colour() == 1) this->beacon->colourIs(2);
  };
  this->watchers[1]->act = [&](std::string const&) { this->watchers[3] = nullptr; };
  this->beacon->colourIs(1);
  EXPECT_EQ(this->events.take(), "a:1 a:2 b:2 c:2 d:2 e:2 b:2 c:2 e:2");
}

TYPED_TEST(NotifierTest, DeliversToMoreWatchersThanASnapshotHoldsInline) {
  using W = typename TestFixture::Watcher;
  this->wire();
  for (int i = 0; i != 100; ++i)
    this->watchers.push_back(newPtr<W>("x", this->events, this->beacon));
  this->watchers[0]->act = [&](std::string const&) { this->watchers.resize(3); };
  this->beacon->colourIs(1);
  EXPECT_EQ(this->events.take(), "a:1 b:1 c:1");
}

TYPED_TEST(NotifierTest, AWatcherInAutomaticStorageIsCalled) {
  using W = typename TestFixture::Watcher;
  this->wire();
  W local("local", this->events, this->beacon);
  this->beacon->colourIs(1);
  EXPECT_EQ(this->events.take(), this->calls(0, this->all, 1) + " local:1");
}

TYPED_TEST(NotifierTest, ZeroReferencesIsTellsEveryWatcherWhateverTheArgument) {
  this->wire();
  std::string const expected = "a:zeroReferences b:zeroReferences c:zeroReferences d:zeroReferences e:zeroReferences";
  this->beacon->zeroReferencesIs(false);
  EXPECT_EQ(this->events.take(), expected);
  this->beacon->zeroReferencesIs(true);
  EXPECT_EQ(this->events.take(), expected);
}

TYPED_TEST(NotifierTest, ExceptionsAtZeroReferencesCarryId5) {
  this->wire();
  this->watchers.resize(1);
  this->watchers[0]->act = [](std::string const&) { throw 1; };
  this->beacon->zeroReferencesIs(true);
  EXPECT_EQ(this->events.take(), "a:zeroReferences a:exception(5)");
}

TYPED_TEST(NotifierTest, AnExceptionOutOfZeroReferencesIsSwallowedWhenTheObjectDies) {
  this->wire();
  this->watchers.resize(1);
  this->beacon->death = &this->events;
  this->watchers[0]->zon_bitSetIs(Zon::zonUncountedNotifier);
  this->watchers[0]->act = [](std::string const&) { throw 1; };
  this->watchers[0]->actOnException = [] { throw 2; };
  EXPECT_NO_THROW(this->beacon = nullptr);
  EXPECT_EQ(this->events.take(), "a:zeroReferences a:exception(5) ~beacon");
}

TYPED_TEST(NotifierTest, IsNondestructingIsTellsOnlyOfAChange) {
  this->wire();
  this->watchers.resize(2);
  this->beacon->isNondestructingIs(false);
  EXPECT_EQ(this->events.take(), "");
  this->beacon->isNondestructingIs(true);
  EXPECT_EQ(this->events.take(), "a:isNondestructing b:isNondestructing");
  this->beacon->isNondestructingIs(true);
  EXPECT_EQ(this->events.take(), "");
  this->beacon->isNondestructingIs(false);
  EXPECT_EQ(this->events.take(), "a:isNondestructing b:isNondestructing");
}

TYPED_TEST(NotifierTest, ExceptionsAtIsNondestructingCarryId6) {
  this->wire();
  this->watchers.resize(1);
  this->watchers[0]->act = [](std::string const&) { throw 1; };
  this->beacon->isNondestructingIs(true);
  EXPECT_EQ(this->events.take(), "a:isNondestructing a:exception(6)");
  this->watchers[0]->act = nullptr;
  this->beacon->isNondestructingIs(false);
}

TYPED_TEST(NotifierTest, SwitchingNondestructingOffOnAnUnheldEntityTellsThenDestroys) {
  this->wire();
  this->watchers.resize(1);
  this->beacon->death = &this->events;
  this->watchers[0]->zon_bitSetIs(Zon::zonUncountedNotifier);
  auto* const raw = this->beacon.ptr();
  this->beacon->isNondestructingIs(true);
  this->beacon = nullptr;
  EXPECT_EQ(this->events.take(), "a:isNondestructing");
  raw->isNondestructingIs(false);
  EXPECT_EQ(this->events.take(), "a:isNondestructing a:zeroReferences ~beacon");
}

TYPED_TEST(NotifierTest, TheNondestructingTestIsTheLiteralTopByte) {
  // With a flag set the entity does not count as nondestructing: switching on is repeated, switching off refused.
  this->wire();
  this->watchers.resize(1);
  this->beacon->isNondestructingIs(true);
  this->beacon->hasNotificationActiveIs(true);
  this->events.take();
  this->beacon->isNondestructingIs(true);
  EXPECT_EQ(this->events.take(), "a:isNondestructing");
  this->beacon->isNondestructingIs(false);
  EXPECT_EQ(this->events.take(), "");
  EXPECT_TRUE(this->beacon->isNondestructing());
  this->beacon->hasNotificationActiveIs(false);
  this->beacon->isNondestructingIs(false);
  EXPECT_FALSE(this->beacon->isNondestructing());
}

TYPED_TEST(NotifierTest, AContainedExceptionIsTracedOnDemand) {
  this->wire();
  this->watchers.resize(1);
  this->watchers[0]->act = [](std::string const&) { throw std::runtime_error("oops"); };
  std::vector<std::string> lines;
  Zon::traceSinkIs([&](Zon::TraceRecord const& record) {
    lines.push_back(record.facility.stdString() + "/" + std::to_string(record.level) + " " + record.text.stdString());
  });
  this->beacon->colourIs(1);
  EXPECT_TRUE(lines.empty());
  Zon::TraceHandle const facility("Zon", true);
  facility.enabledIs(true);
  facility.levelIs(1, true);
  this->beacon->colourIs(2);
  facility.enabledIs(false);
  facility.levelIs(1, false);
  Zon::traceSinkIs({});
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_EQ(lines[0].substr(0, 6), "Zon/1 ");
  EXPECT_NE(lines[0].find("258"), std::string::npos);
  EXPECT_NE(lines[0].find("Watcher"), std::string::npos);
  EXPECT_NE(lines[0].find("oops"), std::string::npos);
}

// ---------------------------------------------------------------------------------------------------------------
// Whom the two kinds of notifiers call

using Always = Support::Beacon<Deliver::always>;
using WhenActive = Support::Beacon<Deliver::whenActive>;

template <class Beacon>
std::string heardWith(bool active, bool zombie) {
  Events events;
  auto const beacon = newPtr<Beacon>();
  auto const watcher = newPtr<typename Beacon::Watcher>("w", events, beacon);
  watcher->hasNotificationActiveIs(active);
  watcher->zonMarkedForDeletionIs(zombie);
  beacon->colourIs(1);
  beacon->isNondestructingIs(true);
  beacon->isNondestructingIs(false);
  return events.take();
}

TEST(Deliver, AlwaysIgnoresSwitchAndZombieBit) {
  for (bool const active : {false, true}) {
    for (bool const zombie : {false, true}) {
      EXPECT_EQ(heardWith<Always>(active, zombie), "w:1 w:isNondestructing w:isNondestructing");
    }
  }
}

TEST(Deliver, WhenActiveCallsOnlyWhoIsOnAndNoZombie) {
  EXPECT_EQ(heardWith<WhenActive>(true, false), "w:1 w:isNondestructing w:isNondestructing");
  EXPECT_EQ(heardWith<WhenActive>(false, false), "");
  EXPECT_EQ(heardWith<WhenActive>(true, true), "");
  EXPECT_EQ(heardWith<WhenActive>(false, true), "");
}

TEST(Deliver, WhenActiveLooksAtTheWatchersTurn) {
  Events events;
  auto const beacon = newPtr<WhenActive>();
  auto const a = newPtr<WhenActive::Watcher>("a", events, beacon);
  auto const b = newPtr<WhenActive::Watcher>("b", events, beacon);
  auto const c = newPtr<WhenActive::Watcher>("c", events, beacon);
  c->hasNotificationActiveIs(false);
  a->act = [&](std::string const&) {
    b->hasNotificationActiveIs(false);
    c->hasNotificationActiveIs(true);
  };
  beacon->colourIs(1);
  EXPECT_EQ(events.take(), "a:1 c:1");
}

TEST(Deliver, NothingIsReplayedWhenAWatcherIsSwitchedOn) {
  Events events;
  auto const beacon = newPtr<WhenActive>();
  auto const watcher = newPtr<WhenActive::Watcher>("w", events, beacon);
  watcher->hasNotificationActiveIs(false);
  beacon->colourIs(1);
  watcher->hasNotificationActiveIs(true);
  EXPECT_EQ(events.take(), "");
  beacon->colourIs(2);
  EXPECT_EQ(events.take(), "w:2");
}

}  // namespace
