#include <array>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Zon/Strep.h"
#include "Zon/Trace.h"
#include "faults/FailingAllocations.h"
#include "platform/Errdisable/Status.h"
#include "support/SampleReactor.h"

namespace {

using Faults::FailingAllocations;
using Which = FailingAllocations::Which;

struct Slot : Zon::PtrInterface, Zon::HashMapLink<Slot> {
  explicit Slot(Orvet::IntfId id) : key(std::move(id)) {}
  Orvet::IntfId const& fwkKey() const noexcept { return key; }
  Orvet::IntfId const key;
};

// Of a type that no other test uses: what a map makes once is not there yet.
TEST(HashMapWithoutMemory, EndsAndGoesOnWalkingAfterAChange) {
  using Slots = Zon::HashMap<Slot, Orvet::IntfId>;
  int seen = 0;
  std::array const ids{Orvet::IntfId("a"), Orvet::IntfId("b"), Orvet::IntfId("c")};
  std::array const members{Zon::newPtr<Slot>(ids[0]), Zon::newPtr<Slot>(ids[1]), Zon::newPtr<Slot>(ids[2])};
  FailingAllocations faults(1, Which::thatAndAllLater);
  {
    Slots slots;
    for (auto const& member : members)
      slots.newMember(member, Slots::hashOf(member->key));
    for (Slots::Iterator at(slots); at; at.advance()) {
      ++seen;
      if (seen == 1) slots.memberDel(at);
    }
  }
  faults.end();
  EXPECT_EQ(seen, 3);
  for (auto const& member : members)
    EXPECT_EQ(member->zonReferences(), 1U);
}

TEST(LazyTraceHandleWithoutMemory, LosesItsLinesAndFindsItsFacilityLater) {
  Zon::LazyTraceHandle const handle("LazyTraceHandleWithoutMemory");
  FailingAllocations faults(1, Which::thatAndAllLater);
  bool const isWanted = handle.wanted(7);
  // Nobody else may be switched on by what is meant for a facility that is not there.
  Zon::TraceHandle(handle).enabledIs(true);
  bool const isEnabled = Zon::TraceHandle(handle).enabled();
  faults.end();
  EXPECT_GT(faults.failures(), 0U);
  EXPECT_FALSE(isWanted);
  EXPECT_FALSE(isEnabled);
  EXPECT_FALSE(Zon::TraceHandle::exists("LazyTraceHandleWithoutMemory"));

  Zon::TraceHandle const facility("LazyTraceHandleWithoutMemory", true);
  facility.levelIs(7, true);
  EXPECT_TRUE(handle.wanted(7));
}

class Thrower final : public Interface::IntfConfig::NotifieeConst {
 public:
  void onEnabledStateReason() override { throw Zon::RangeException(text); }
  void onNotificationException(Zon::AttributeId) override { ++failed; }
  Zon::String8 const text = "no";
  int failed = 0;
};

// The facility that tells of exceptions is made for the first of them.
TEST(DeliveryWithoutMemory, HandsEveryWatcherItsExceptionBack) {
  auto const config = Zon::newPtr<Interface::IntfConfig>("Ethernet1");
  std::array const watchers{Zon::newPtr<Thrower>(), Zon::newPtr<Thrower>()};
  for (auto const& watcher : watchers) {
    watcher->notifierIs(config);
    watcher->hasNotificationActiveIs(true);
    watcher->isRegisteredNotifieeIs(true);
  }
  Zon::String8 const reason = "loopguard";
  FailingAllocations faults(1, Which::thatAndAllLater);
  EXPECT_NO_THROW(config->enabledStateReasonIs(reason));
  faults.end();
  for (auto const& watcher : watchers)
    EXPECT_EQ(watcher->failed, 1);
}

class Listener final : public Interface::IntfConfig::NotifieeConst {
 public:
  void onEnabledStateReason() override { ++heard; }
  int heard = 0;
};

// A snapshot of many watchers takes memory, and the value has changed before it is taken.
TEST(DeliveryWithoutMemory, ReachesMoreWatchersThanASnapshotHasPlacesFor) {
  auto const config = Zon::newPtr<Interface::IntfConfig>("Ethernet1");
  std::vector<Zon::Ptr<Listener>> watchers;
  for (int i = 0; i < 100; ++i) {
    watchers.push_back(Zon::newPtr<Listener>());
    watchers.back()->notifierIs(config);
    watchers.back()->hasNotificationActiveIs(true);
    watchers.back()->isRegisteredNotifieeIs(true);
  }
  Zon::String8 const reason = "loopguard";
  FailingAllocations faults(1, Which::thatAndAllLater);
  EXPECT_NO_THROW(config->enabledStateReasonIs(reason));
  faults.end();
  EXPECT_GT(faults.failures(), 0U);
  for (auto const& watcher : watchers) {
    EXPECT_EQ(watcher->heard, 1);
    EXPECT_EQ(watcher->zonReferences(), 1U);
  }
}

TEST(ReactorWithoutMemory, StaysWholeOnItsActivity) {
  Support::Events events;
  auto const reader = Zon::newPtr<Support::Reader>(nullptr, events, Zon::newPtr<Interface::AllIntfConfigDir>("config"),
                                                   nullptr, Zon::newPtr<Interface::AllIntfStatusDir>("status"));
  auto const activity = Zon::newPtr<Zon::ActivityConfig>();
  {
    FailingAllocations faults(1, Which::thatOne);
    EXPECT_THROW(reader->zonFwkActivityIs(activity), std::bad_alloc);
  }
  EXPECT_FALSE(reader->zonFwkActivity());
  EXPECT_FALSE(reader->zonConfigs()->zonFwkActivity());

  reader->zonFwkActivityIs(activity);
  EXPECT_EQ(reader->zonConfigs()->zonFwkActivity(), activity);
  EXPECT_EQ(reader->zonStatuses()->zonFwkActivity(), activity);
}

// The name of the type is memory that LeakSanitizer watches.
TEST(ConversionWithoutMemory, LeaksNoTypeName) {
  auto const config = Zon::newPtr<Interface::IntfConfig>("Ethernet1");
  Zon::String8 const text = Zon::valueToStrep(config);
  std::size_t failures = 1;
  for (std::size_t nth = 1; failures != 0; ++nth) {
    FailingAllocations faults(nth, Which::thatOne);
    bool isRefused = false;
    try {
      Zon::strepToValue<Zon::Ptr<Errdisable::Status>>(text);
    } catch (std::bad_alloc const&) {
    } catch (Zon::ConversionException const&) {
      isRefused = true;
    }
    faults.end();
    failures = faults.failures();
    EXPECT_EQ(isRefused, failures == 0) << nth;
  }
}

}  // namespace
