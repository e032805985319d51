#include "Zon/Input.h"

#include <limits>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "platform/Interface/IntfStatus.h"
#include "support/SampleReactor.h"

namespace {

using Interface::IntfEnabledState;
using Support::Events;
using Support::Reader;
using Zon::newPtr;
using Zon::Ptr;

/// The three ways of delivery.
enum class Way { deferred, immediate, none };

std::string nameOf(testing::TestParamInfo<Way> const& way) {
  switch (way.param) {
  case Way::deferred:
    return "Deferred";
  case Way::immediate:
    return "Immediate";
  default:
    return "None";
  }
}

class InputTest : public testing::TestWithParam<Way> {
 protected:
  InputTest() : InputTest(GetParam()) {}
  explicit InputTest(Way way)
    : activity(way == Way::none        ? Support::ActivityPtr()
               : way == Way::immediate ? Support::immediate()
                                       : Support::deferring()) {}

  bool defers() const { return activity && activity->delivery() == Zon::ActivityConfig::Delivery::deferring; }

  Ptr<Reader> makeReader() {
    auto made = newPtr<Reader>(activity, events, dir, config, statusDir);
    made->hasNotificationActiveIs(true);
    return made;
  }
  void add(char const* id) { dir->intfConfigIs(newPtr<Interface::IntfConfig>(id)); }
  void addStatus(char const* id) { statusDir->intfStatusIs(newPtr<Interface::IntfStatus>(id)); }
  void flip() {
    config->adminEnabledStateLocalIs(config->adminEnabledStateLocal() == IntfEnabledState::enabled
                                         ? IntfEnabledState::disabled
                                         : IntfEnabledState::enabled);
  }
  /// What happened at once, and on the next dispatch.
  std::string now() { return events.take(); }
  std::string dispatched() {
    if (activity) activity->zonDispatch();
    return events.take();
  }
  /// Expects `deferred` only after the dispatch on a deferring activity, `atOnce` before it on any other.
  void expect(char const* atOnce, char const* deferred) {
    EXPECT_EQ(now(), defers() ? "" : atOnce);
    EXPECT_EQ(dispatched(), defers() ? deferred : "");
  }

  Events events;
  Support::ActivityPtr activity;
  Support::ConfigDirPtr dir = newPtr<Interface::AllIntfConfigDir>("configs");
  Ptr<Interface::IntfConfig> config = newPtr<Interface::IntfConfig>("single");
  Support::StatusDirPtr statusDir = newPtr<Interface::AllIntfStatusDir>("statuses");
};

INSTANTIATE_TEST_SUITE_P(Ways, InputTest, testing::Values(Way::deferred, Way::immediate, Way::none), nameOf);

// ---------------------------------------------------------------------------------------------------------------
// Construction

TEST_P(InputTest, ConstructionBindsNotifierActivityAndRegistrationAndEvaluatesNothing) {
  add("e");
  addStatus("e");
  auto const reader = newPtr<Reader>(activity, events, dir, config, statusDir);
  EXPECT_EQ(now(), "");
  EXPECT_EQ(dispatched(), "");
  auto const& input = reader->zonConfigs();
  EXPECT_EQ(input->notifier(), dir);
  EXPECT_EQ(input->zonFwkActivity(), activity);
  EXPECT_EQ(std::as_const(*input).zonFwkActivity(), activity);
  EXPECT_EQ(input->activityPtr(), activity);
  EXPECT_EQ(input->actsm(), Zon::zonActivitySmFor(activity));
  EXPECT_EQ(input->zonactsmConst(), input->actsm());
  EXPECT_TRUE(input->isRegisteredNotifiee());
  EXPECT_EQ(input->zonOwner(), reader.ptr());
  EXPECT_EQ(input->zonPendingKey(), Orvet::IntfId(""));
  EXPECT_EQ(input->zonPendingCount(), 0U);
  EXPECT_EQ(input->zonPendingId(), 0);
  EXPECT_FALSE(input->hasNotificationActive());
}

TEST_P(InputTest, TheOwnerIsNotCountedByItsInputs) {
  auto const reader = makeReader();
  EXPECT_EQ(reader->zonReferences(), 1U);
}

TEST_P(InputTest, AnInputOfANullNotifierWaitsForOne) {
  auto const reader = newPtr<Reader>(activity, events);
  auto const input = newPtr<Reader::ZonConfigs>(activity, nullptr, reader.ptr());
  EXPECT_EQ(input->notifier(), nullptr);
  EXPECT_TRUE(input->isRegisteredNotifiee());
  input->hasNotificationActiveIs(true);
  input->notifierIs(dir);
  add("e");
  expect("configs(e)", "configs(e)");
}

// ---------------------------------------------------------------------------------------------------------------
// The gate on a collection

TEST_P(InputTest, OneKeyedChangeArrivesAsItsKey) {
  auto const reader = makeReader();
  add("e");
  EXPECT_EQ(reader->zonConfigs()->zonPendingKey(), Orvet::IntfId("e"));
  EXPECT_EQ(reader->zonConfigs()->zonPendingCount(), defers() ? 1U : 0U);
  EXPECT_EQ(reader->zonConfigs()->zonPendingId(), defers() ? 258 : 0);
  expect("configs(e)", "configs(e)");
  EXPECT_EQ(reader->zonConfigs()->zonPendingCount(), 0U);
  EXPECT_EQ(reader->zonConfigs()->zonPendingId(), 0);
  // The key stays as it is.
  EXPECT_EQ(reader->zonConfigs()->zonPendingKey(), Orvet::IntfId("e"));
}

TEST_P(InputTest, SeveralKeyedChangesArriveAsOneUnkeyedWhenDeferred) {
  auto const reader = makeReader();
  add("e");
  add("f");
  dir->intfConfigDel("e");
  EXPECT_EQ(reader->zonConfigs()->zonPendingCount(), defers() ? 3U : 0U);
  expect("configs(e) configs(f) configs(e)", "configs()");
}

TEST_P(InputTest, TwoChangesOfOneKeyAreTwoChanges) {
  auto const reader = makeReader();
  add("e");
  add("e");
  expect("configs(e) configs(e)", "configs()");
}

TEST_P(InputTest, ADeferredChangeArrivesExactlyOnce) {
  auto const reader = makeReader();
  add("e");
  expect("configs(e)", "configs(e)");
  EXPECT_EQ(dispatched(), "");
}

TEST_P(InputTest, TheHandlerMayChangeWhatItWatches) {
  auto const reader = makeReader();
  int left = 2;
  reader->act = [&](std::string const&) {
    if (left-- > 0) add(left == 1 ? "f" : "g");
  };
  add("e");
  // Deferred: recorded again even though the gate let the redelivery through.
  expect("configs(e) configs(f) configs(g)", "configs(e)");
  EXPECT_EQ(dispatched(), defers() ? "configs(f)" : "");
  EXPECT_EQ(dispatched(), defers() ? "configs(g)" : "");
  EXPECT_EQ(dispatched(), "");
}

TEST_P(InputTest, AChangeInsideAnotherHandlerOfTheActivityIsDeferredToo) {
  auto const reader = makeReader();
  reader->act = [&](std::string const& event) {
    if (event == "config") add("e");
  };
  flip();
  expect("config configs(e)", "config");
  EXPECT_EQ(dispatched(), defers() ? "configs(e)" : "");
}

TEST_P(InputTest, XNotifyOfTheWholeArrivesUnkeyed) {
  auto const reader = makeReader();
  dir->intfConfigNotify();
  EXPECT_EQ(reader->zonConfigs()->zonPendingId(), defers() ? -2 : 0);
  expect("configs()", "configs()");
}

TEST_P(InputTest, XNotifyOfTheWholeAbsorbsAKeyedChange) {
  auto const reader = makeReader();
  add("e");
  dir->intfConfigNotify();
  expect("configs(e) configs()", "configs()");
  dir->intfConfigNotify();
  add("f");
  expect("configs() configs(f)", "configs()");
}

TEST_P(InputTest, XNotifyOfAKeyIsAKeyedChange) {
  auto const reader = makeReader();
  dir->intfConfigNotify("nobody");
  expect("configs(nobody)", "configs(nobody)");
}

// ---------------------------------------------------------------------------------------------------------------
// The gate on a single value, and inputs without a gate

TEST_P(InputTest, ASingleValueArrivesOnceHoweverOftenItChanged) {
  auto const reader = makeReader();
  flip();
  EXPECT_EQ(reader->zonConfig()->zonPendingId(), defers() ? 263 : 0);
  flip();
  expect("config config", "config");
}

TEST_P(InputTest, ASingleValueMayBeChangedByItsHandler) {
  auto const reader = makeReader();
  int left = 1;
  reader->act = [&](std::string const&) {
    if (left-- > 0) flip();
  };
  flip();
  expect("config config", "config");
  EXPECT_EQ(dispatched(), defers() ? "config" : "");
}

TEST_P(InputTest, OtherAttributesOfTheEntityReachNobody) {
  auto const reader = makeReader();
  config->enabledStateLocalIs(IntfEnabledState::disabled);
  config->enabledStateReasonIs("x");
  config->defaultConfigIs(newPtr<Interface::IntfConfig>("d"));
  EXPECT_EQ(now(), "");
  EXPECT_EQ(dispatched(), "");
}

TEST_P(InputTest, ADirectInputActsAtOnceOnAnyActivity) {
  auto const reader = makeReader();
  addStatus("e");
  addStatus("f");
  EXPECT_EQ(now(), "statuses(e) statuses(f)");
  auto const& input = reader->zonStatuses();
  EXPECT_EQ(input->zonPendingKey(), Orvet::IntfId(""));
  EXPECT_EQ(input->zonPendingCount(), 0U);
  EXPECT_EQ(input->zonPendingId(), 0);
  statusDir->intfStatusNotify();
  EXPECT_EQ(now(), "statusesImmediate statuses()");
  EXPECT_EQ(dispatched(), "");
}

// ---------------------------------------------------------------------------------------------------------------
// Inert inputs

TEST_P(InputTest, ChangesWhileOffAreDropped) {
  auto const reader = makeReader();
  reader->hasNotificationActiveIs(false);
  add("e");
  addStatus("e");
  flip();
  reader->hasNotificationActiveIs(true);
  EXPECT_EQ(now(), "");
  EXPECT_EQ(dispatched(), "");
}

TEST_P(InputTest, AZombieHearsNothingAndARevivedInputHearsAgain) {
  auto const reader = makeReader();
  reader->zonDoZombieReactors(true);
  add("e");
  addStatus("e");
  flip();
  EXPECT_EQ(dispatched(), "");
  reader->zonDoZombieReactors(false);
  EXPECT_TRUE(reader->zonConfigs()->hasNotificationActive());
  add("f");
  expect("configs(f)", "configs(f)");
}

TEST_P(InputTest, TheGateOfAZombieCalledDirectlyIsInert) {
  auto const reader = makeReader();
  reader->zonConfigs()->zonDoZombieReactors(true);
  reader->zonConfig()->zonDoZombieReactors(true);
  reader->zonStatuses()->zonDoZombieReactors(true);
  reader->zonConfigs()->onIntfConfig("e");
  reader->zonConfig()->onAdminEnabledStateLocal();
  reader->zonStatuses()->onIntfStatus("e");
  EXPECT_EQ(now(), "");
  EXPECT_EQ(dispatched(), "");
}

TEST_P(InputTest, ZombieBeforeItsTurnIsNotServed) {
  auto const reader = makeReader();
  add("e");
  events.take();
  reader->zonDoZombieReactors(true);
  EXPECT_EQ(dispatched(), "");
  EXPECT_EQ(reader->zonConfigs()->zonPendingId(), 0);
  EXPECT_EQ(reader->zonConfigs()->zonPendingCount(), 0U);
}

TEST_P(InputTest, OffBeforeItsTurnClearsWhatIsPending) {
  auto const reader = makeReader();
  add("e");
  events.take();
  reader->hasNotificationActiveIs(false);
  EXPECT_EQ(dispatched(), "");
  EXPECT_EQ(reader->zonConfigs()->zonPendingCount(), 0U);
  reader->hasNotificationActiveIs(true);
  add("f");
  expect("configs(f)", "configs(f)");
}

TEST_P(InputTest, OffAndOnAgainBeforeItsTurnStillDelivers) {
  auto const reader = makeReader();
  add("e");
  EXPECT_EQ(now(), defers() ? "" : "configs(e)");
  reader->hasNotificationActiveIs(false);
  reader->hasNotificationActiveIs(true);
  EXPECT_EQ(dispatched(), defers() ? "configs(e)" : "");
}

TEST_P(InputTest, AnInputHeldPastItsOwnerIsInert) {
  auto reader = makeReader();
  auto const configs = reader->zonConfigs();
  auto const single = reader->zonConfig();
  auto const statuses = reader->zonStatuses();
  add("e");
  events.take();
  reader = nullptr;
  EXPECT_EQ(events.take(), "~reader");
  EXPECT_EQ(configs->zonOwner(), nullptr);
  EXPECT_TRUE(configs->zonMarkedForDeletion());
  // Even a revived one has nobody to tell.
  for (auto* input : {static_cast<Zon::PtrInterface::NotifieeConst*>(configs.ptr()),
                      static_cast<Zon::PtrInterface::NotifieeConst*>(single.ptr()),
                      static_cast<Zon::PtrInterface::NotifieeConst*>(statuses.ptr())}) {
    input->zonMarkedForDeletionIs(false);
    input->hasNotificationActiveIs(true);
  }
  add("f");
  flip();
  addStatus("f");
  EXPECT_EQ(dispatched(), "");
}

TEST_P(InputTest, TheOwnerIsHeldWhileItsHandlerRuns) {
  auto reader = makeReader();
  reader->act = [&](std::string const&) {
    reader = nullptr;
    events.add("dropped");
  };
  add("e");
  expect("configs(e) dropped ~reader", "configs(e) dropped ~reader");
}

TEST_P(InputTest, TheOwnerOfASingleValueIsHeldToo) {
  auto reader = makeReader();
  reader->act = [&](std::string const&) {
    reader = nullptr;
    events.add("dropped");
  };
  flip();
  expect("config dropped ~reader", "config dropped ~reader");
}

TEST_P(InputTest, TheOwnerOfADirectInputIsHeldToo) {
  auto reader = makeReader();
  reader->act = [&](std::string const&) {
    reader = nullptr;
    events.add("dropped");
  };
  addStatus("e");
  EXPECT_EQ(now(), "statuses(e) dropped ~reader");
}

TEST_P(InputTest, AnInputThatDiesWithWorkPendingLeavesTheQueue) {
  auto reader = makeReader();
  add("e");
  flip();
  EXPECT_EQ(activity ? activity->zonPending() : 0U, defers() ? 2U : 0U);
  events.take();
  reader = nullptr;
  EXPECT_EQ(events.take(), "~reader");
  EXPECT_EQ(activity ? activity->zonPending() : 0U, 0U);
  EXPECT_EQ(dispatched(), "");
}

TEST_P(InputTest, WhatAHandlerThrowsStaysWithItsInput) {
  auto const reader = makeReader();
  Support::ConfigDirWatcher const later("later", events, dir);
  for (bool const isStandard : {true, false}) {
    reader->act = [isStandard](std::string const& event) {
      if (event.substr(0, 8) != "configs(") return;
      if (isStandard) throw std::runtime_error("oops");
      throw 1;
    };
    add("e");
    if (defers()) {
      EXPECT_EQ(now(), "later:key(e)");
      EXPECT_EQ(dispatched(), "configs(e) exception(258)");
    } else {
      EXPECT_EQ(now(), "configs(e) exception(258) later:key(e)");
    }
    // The next change finds nothing left over.
    reader->act = nullptr;
    dir->intfConfigDel("e");
    EXPECT_EQ(now(), defers() ? "later:key(e)" : "configs(e) later:key(e)");
    EXPECT_EQ(dispatched(), defers() ? "configs(e)" : "");
  }
}

TEST_P(InputTest, WhatTheHandbackThrowsLeavesTheSetterOrTheDispatch) {
  auto const reader = makeReader();
  reader->act = [](std::string const& event) { throw std::runtime_error(event); };
  auto const change = [this] {
    add("e");
    if (defers()) activity->zonDispatch();
  };
  EXPECT_THROW(change(), std::runtime_error);
  EXPECT_EQ(now(), "configs(e) exception(258)");
  EXPECT_TRUE(dir->intfConfig("e"));
  reader->act = nullptr;
  add("f");
  expect("configs(f)", "configs(f)");
}

// ---------------------------------------------------------------------------------------------------------------
// handleNotification, called directly

/// The forms, on a deferring activity with another handler waiting.
class HandleNotificationTest : public InputTest {
 protected:
  HandleNotificationTest() : InputTest(Way::deferred), other(makeOther()) {}

  Ptr<Reader> makeOther() {
    auto made = newPtr<Reader>(activity, events, otherDir);
    made->hasNotificationActiveIs(true);
    return made;
  }
  /// Pends something on a keyed input and hands it out.
  std::string keyed(Zon::AttributeId id, std::uint32_t count) {
    otherDir->intfConfigNotify("other");
    auto const& input = reader->zonConfigs();
    input->zonPendingIdIs(id);
    input->zonPendingKeyIs("k");
    input->zonPendingCountIs(count);
    input->handleNotification(activity.ptr());
    EXPECT_EQ(input->zonPendingId(), 0);
    std::string const heard = events.take();
    activity->zonDispatch();
    events.take();
    return heard;
  }
  std::string single(Zon::AttributeId id) {
    otherDir->intfConfigNotify("other");
    reader->zonConfig()->zonPendingIdIs(id);
    reader->zonConfig()->handleNotification(activity.ptr());
    EXPECT_EQ(reader->zonConfig()->zonPendingId(), 0);
    std::string const heard = events.take();
    activity->zonDispatch();
    events.take();
    return heard;
  }
  std::string direct(Zon::AttributeId id, std::uint32_t count) {
    otherDir->intfConfigNotify("other");
    auto const& input = reader->zonStatuses();
    input->zonPendingIdIs(id);
    input->zonPendingKeyIs("k");
    input->zonPendingCountIs(count);
    input->handleNotification(activity.ptr());
    EXPECT_EQ(input->zonPendingId(), 0);
    std::string const heard = events.take();
    activity->zonDispatch();
    events.take();
    return heard;
  }

  Support::ConfigDirPtr otherDir = newPtr<Interface::AllIntfConfigDir>("other");
  Ptr<Reader> reader = makeReader();
  Ptr<Reader> other;
};

// "configs(other)" is the other handler of the activity: it runs exactly when the activity is dispatched again.

TEST_F(HandleNotificationTest, TheWatchedIdWithOneChangeCallsTheKeyAndStops) { EXPECT_EQ(keyed(258, 1), "configs(k)"); }

TEST_F(HandleNotificationTest, TheWatchedIdWithMoreChangesCallsTheWholeAndStops) {
  EXPECT_EQ(keyed(258, 2), "configs()");
  EXPECT_EQ(keyed(258, std::numeric_limits<std::uint32_t>::max()), "configs()");
}

TEST_F(HandleNotificationTest, TheWatchedIdWithoutChangeCallsNothing) { EXPECT_EQ(keyed(258, 0), ""); }

TEST_F(HandleNotificationTest, SeveralAttributesCallThenDispatchAgain) {
  EXPECT_EQ(keyed(-1, 1), "configs(k) configs(other)");
  EXPECT_EQ(keyed(-1, 2), "configs() configs(other)");
}

TEST_F(HandleNotificationTest, SeveralAttributesWithoutChangeCallNothingButDispatchAgain) {
  EXPECT_EQ(keyed(-1, 0), "configs(other)");
}

TEST_F(HandleNotificationTest, EverythingChangedAlwaysCallsTheWholeThenDispatchesAgain) {
  for (std::uint32_t const count : {0U, 1U, 2U}) {
    EXPECT_EQ(keyed(-2, count), "configs() configs(other)");
  }
}

TEST_F(HandleNotificationTest, AnyOtherIdGoesToTheDefaultWithTheFlag) {
  EXPECT_EQ(keyed(260, 1), "attribute(260)");
  EXPECT_EQ(reader->zonConfigs()->zonPendingCount(), 1U);
  EXPECT_EQ(keyed(0, 1), "");
  EXPECT_EQ(keyed(-3, 1), "");
}

TEST_F(HandleNotificationTest, TheKeyIsCopiedBeforeTheCall) {
  reader->act = [&](std::string const&) { reader->zonConfigs()->zonPendingKeyIs("other"); };
  EXPECT_EQ(keyed(258, 1), "configs(k)");
}

TEST_F(HandleNotificationTest, TheKeyedCallIsARedeliveryForTheFirstChangeOnly) {
  // The callback of the redelivery is not recorded; a change that its handler makes is.
  reader->act = [&](std::string const& event) {
    if (event == "configs(k)") add("l");
  };
  auto const& input = reader->zonConfigs();
  input->zonPendingIdIs(258);
  input->zonPendingKeyIs("k");
  input->zonPendingCountIs(1);
  input->handleNotification(activity.ptr());
  EXPECT_EQ(events.take(), "configs(k)");
  EXPECT_EQ(input->zonPendingCount(), 1U);
  activity->zonDispatch();
  EXPECT_EQ(events.take(), "configs(l)");
}

TEST_F(HandleNotificationTest, ASingleValueCallsForItsIdAndStops) { EXPECT_EQ(single(263), "config"); }

TEST_F(HandleNotificationTest, ASingleValueCallsForSeveralAndForEverythingThenDispatchesAgain) {
  EXPECT_EQ(single(-1), "config configs(other)");
  EXPECT_EQ(single(-2), "config configs(other)");
}

TEST_F(HandleNotificationTest, ASingleValueHandsAnyOtherIdToTheDefault) {
  EXPECT_EQ(single(264), "attribute(264)");
  EXPECT_EQ(single(0), "");
  EXPECT_EQ(single(-3), "");
}

TEST_F(HandleNotificationTest, AnInputWithoutGateLeavesEverythingToTheDefault) {
  EXPECT_EQ(direct(258, 1), "statuses(k)");
  EXPECT_EQ(direct(258, 2), "statuses()");
  EXPECT_EQ(direct(258, 0), "");
  EXPECT_EQ(direct(260, 0), "");
  // The flag is set exactly for -1.
  EXPECT_EQ(direct(-1, 1), "statuses(k) notification");
  EXPECT_EQ(direct(-1, 0), "notification");
  EXPECT_EQ(direct(-2, 1), "statuses(k)");
  EXPECT_EQ(direct(-2, 0), "");
  EXPECT_EQ(direct(0, 0), "");
}

/// The gate on one value of an entity that also has a collection.
class ActiveInput final : public Zon::ValueInput<Reader, Interface::IntfStatus::NotifieeConst, 272,
                                                 &Interface::IntfStatus::NotifieeConst::onActive> {
 public:
  using ValueInput::ValueInput;
  void onActive() override {
    zonGate([](Reader& owner) { owner.handle("active"); });
  }
  void onForwardingModelInputs(Zon::String8 source) override {
    zonAct([&](Reader& owner) { owner.handle("inputs(" + source.stdString() + ")"); });
  }
};

TEST_F(HandleNotificationTest, WithSeveralOrAllPendingAValueInputAlsoHandsOnWhatIsPendingOfTheCollection) {
  Ptr<Interface::IntfStatus const> const status = newPtr<Interface::IntfStatus>("Ethernet1");
  auto const input = newPtr<ActiveInput>(activity, status, reader.ptr());
  for (Zon::AttributeId const pending : {-1, -2}) {
    input->zonPendingKeyIs("k");
    input->zonPendingCountIs(1);
    input->zonPendingIdIs(pending);
    input->handleNotification(activity.ptr());
    EXPECT_EQ(events.take(), "active inputs(k)");
  }
}

TEST_F(HandleNotificationTest, TheDefaultIsALeaf) {
  // It never dispatches: the other handler stays queued.
  otherDir->intfConfigNotify("other");
  auto const& input = reader->zonConfigs();
  for (Zon::AttributeId const id : {258, 260, 0, -1, -2}) {
    for (bool const flag : {false, true}) {
      input->zonPendingCountIs(0);
      input->handleDefault(activity.ptr(), id, flag);
      EXPECT_EQ(activity->zonPending(), 1U);
    }
  }
  EXPECT_EQ(events.take(), "attribute(258) attribute(260) notification");
}

TEST_F(HandleNotificationTest, HandlersCalledDirectlyWorkOnAnInputThatIsOff) {
  reader->hasNotificationActiveIs(false);
  EXPECT_EQ(keyed(258, 1), "configs(k)");
}

// ---------------------------------------------------------------------------------------------------------------
// Another activity, another notifier

class RequeueTest : public InputTest {
 protected:
  RequeueTest() : InputTest(Way::deferred) {}

  Ptr<Reader> reader = makeReader();
};

TEST_F(RequeueTest, TheQueueEntryMovesToTheTailOfTheNewActivity) {
  auto const next = Support::deferring();
  auto const waiting = newPtr<Reader>(next, events, nullptr, config);
  waiting->hasNotificationActiveIs(true);
  reader->configDel();
  add("e");
  flip();
  reader->zonFwkActivityIs(next);
  EXPECT_EQ(activity->zonPending(), 0U);
  EXPECT_EQ(next->zonPending(), 2U);
  EXPECT_EQ(events.take(), "");
  next->zonDispatch();
  EXPECT_EQ(events.take(), "config configs(e)");
}

TEST_F(RequeueTest, OnANullOrImmediateActivityWhatIsPendingIsDeliveredAtOnce) {
  for (Support::ActivityPtr const& next : {Support::ActivityPtr(), Support::immediate()}) {
    reader->zonFwkActivityIs(activity);
    dir->intfConfigNotify("e");
    flip();
    EXPECT_EQ(events.take(), "");
    reader->zonFwkActivityIs(next);
    EXPECT_EQ(events.take(), "configs(e) config");
    EXPECT_EQ(activity->zonPending(), 0U);
    dir->intfConfigNotify("f");
    EXPECT_EQ(events.take(), "configs(f)");
  }
}

TEST_F(RequeueTest, SeveralPendingChangesStayCoalescedInTheMove) {
  add("e");
  add("f");
  reader->zonFwkActivityIs(nullptr);
  EXPECT_EQ(events.take(), "configs()");
}

TEST_F(RequeueTest, AnExceptionInTheMoveIsContainedAsInADispatch) {
  add("e");
  reader->act = [](std::string const& event) {
    if (event == "configs(e)") throw 1;
  };
  EXPECT_NO_THROW(reader->zonFwkActivityIs(nullptr));
  EXPECT_EQ(events.take(), "configs(e) exception(258)");
}

TEST_F(RequeueTest, OneThatIsOffIsNotServedInTheMove) {
  add("e");
  reader->hasNotificationActiveIs(false);
  reader->zonFwkActivityIs(nullptr);
  EXPECT_EQ(events.take(), "");
  EXPECT_EQ(reader->zonConfigs()->zonPendingCount(), 0U);
}

TEST_F(RequeueTest, AnIdleInputJustChangesItsActivity) {
  auto const next = Support::deferring();
  auto const& input = reader->zonConfigs();
  input->zonFwkActivityIs(next);
  EXPECT_EQ(input->zonFwkActivity(), next);
  EXPECT_EQ(input->actsm(), Zon::zonActivitySmFor(next));
  input->actsmIs(input->actsm().ptr());
  input->actsmIs(nullptr);
  EXPECT_EQ(input->zonFwkActivity(), nullptr);
  EXPECT_EQ(input->actsm(), nullptr);
}

TEST_F(RequeueTest, TheOldActivityIsReleased) {
  std::uint32_t const before = activity->zonReferences();
  reader->zonFwkActivityIs(nullptr);
  // The machine went with the last input, and the reactor's own reference.
  EXPECT_EQ(activity->zonReferences(), 1U);
  EXPECT_LT(1U, before);
}

TEST_F(RequeueTest, ARunningRoundLetsGoOfAnInputThatMovesAway) {
  auto const next = Support::deferring();
  add("e");
  flip();
  reader->act = [&](std::string const&) { reader->zonFwkActivityIs(next); };
  EXPECT_EQ(activity->zonDispatch(), 1U);
  EXPECT_EQ(events.take(), "configs(e)");
  reader->act = nullptr;
  next->zonDispatch();
  EXPECT_EQ(events.take(), "config");
}

TEST_F(RequeueTest, AHandlerMayMoveItsInputOnDuringTheMove) {
  add("e");
  auto const first = Support::immediate();
  reader->act = [&](std::string const&) { reader->zonConfigs()->zonFwkActivityIs(nullptr); };
  reader->zonFwkActivityIs(first);
  EXPECT_EQ(events.take(), "configs(e)");
}

TEST_F(RequeueTest, WhatIsPendingStaysWhenTheNotifierChanges) {
  auto const next = newPtr<Interface::AllIntfConfigDir>("next");
  add("e");
  reader->configsIs(next);
  activity->zonDispatch();
  EXPECT_EQ(events.take(), "configs(e)");
  add("f");
  next->intfConfigIs(newPtr<Interface::IntfConfig>("g"));
  activity->zonDispatch();
  EXPECT_EQ(events.take(), "configs(g)");
}

TEST_F(RequeueTest, AWatcherWithoutNotifierAtItsTurnIsNotServed) {
  add("e");
  reader->zonConfigs()->notifierIs(nullptr);
  activity->zonDispatch();
  EXPECT_EQ(events.take(), "");
  EXPECT_EQ(reader->zonConfigs()->zonPendingCount(), 0U);
}

// ---------------------------------------------------------------------------------------------------------------
// The switch and the zombie rule of one input

class InputSwitchTest : public InputTest {
 protected:
  InputSwitchTest() : InputTest(Way::none) {
    input->label = "input";
    input->death = &events;
  }
  ~InputSwitchTest() override { input->death = nullptr; }

  Ptr<Reader> reader = newPtr<Reader>(activity, events);
  Ptr<Reader::ZonConfigs> input = newPtr<Reader::ZonConfigs>(activity, dir, reader.ptr());
};

TEST_F(InputSwitchTest, AZombieIsSwitchedOffFirst) {
  input->hasNotificationActiveIs(true);
  events.take();
  input->zonDoZombieReactors(true);
  EXPECT_EQ(events.take(), "input:off");
  EXPECT_TRUE(input->zonMarkedForDeletion());
  EXPECT_FALSE(input->hasNotificationActive());
}

TEST_F(InputSwitchTest, TheSameZombieStateDoesNothing) {
  input->zonDoZombieReactors(false);
  EXPECT_EQ(events.take(), "");
  input->zonDoZombieReactors(true);
  events.take();
  input->zonDoZombieReactors(true);
  EXPECT_EQ(events.take(), "");
}

TEST_F(InputSwitchTest, WithoutNotifierOnlyBit31IsSet) {
  input->notifierIs(nullptr);
  input->zonDoZombieReactors(true);
  EXPECT_EQ(events.take(), "");
  EXPECT_TRUE(input->zonMarkedForDeletion());
  input->zonDoZombieReactors(false);
  EXPECT_EQ(events.take(), "");
  EXPECT_FALSE(input->zonMarkedForDeletion());
}

TEST_F(InputSwitchTest, TheZombieStepLeavesTheCountsAsTheyWere) {
  std::uint32_t const before = dir->zonReferences();
  input->zonDoZombieReactors(true);
  EXPECT_EQ(dir->zonReferences(), before);
  EXPECT_EQ(input->zonReferences(), 1U);
}

TEST_F(InputSwitchTest, OwnerSetterTakesNoReference) {
  auto const other = newPtr<Reader>(activity, events);
  input->zonOwnerIs(other.ptr());
  EXPECT_EQ(other->zonReferences(), 1U);
  input->hasNotificationActiveIs(true);
  other->act = [&](std::string const&) { events.add("other"); };
  events.take();
  add("e");
  EXPECT_EQ(events.take(), "configs(e) other");
}

}  // namespace
