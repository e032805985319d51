// Call-outs of the runtime beside callbacks: overridden operations of members, handlers of activities, walks over maps,
// reflection. Each throws, once each.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "VaroErrdisable/Root.h"
#include "Zon/HashMap.h"
#include "faults/CallOuts.h"
#include "faults/ForeignCode.h"
#include "faults/World.h"
#include "support/Collections.h"
#include "support/Reflected.h"
#include "support/SampleReactor.h"

namespace Faults {
namespace {

using Zon::newPtr;
using Zon::Ptr;

/// A member that calls out before and after it is given a parent.
template <class Base>
class Stubborn final : public Base {
 public:
  template <class... Args>
  explicit Stubborn(CallOuts*& calls, Args&&... args) : Base(std::forward<Args>(args)...), calls_(calls) {}

  void parentIs(Ptr<Zon::Entity> const& parent) override {
    (*calls_)("before parentIs");
    Base::parentIs(parent);
    (*calls_)("after parentIs");
  }
  void parentAttrIdIs(Zon::AttributeId id) override {
    (*calls_)("before parentAttrIdIs");
    Base::parentAttrIdIs(id);
    (*calls_)("after parentAttrIdIs");
  }

 private:
  /// Whatever counts at the time of a call.
  CallOuts*& calls_;
};

struct CountersKind {
  using Owner = Interface::IntfQueueCounterDir;
  using Plain = Interface::IntfQueueCounter;
  using Member = Stubborn<Plain>;
  static void set(Owner& owner, Ptr<Member> const& member) { owner.intfQueueCounterIs(member); }
  static Ptr<Zon::Entity> get(Owner& owner) { return owner.intfQueueCounter("key"); }
  static void del(Owner& owner) { owner.intfQueueCounterDel("key"); }
  static void delAll(Owner& owner) { owner.intfQueueCounterDelAll(); }
};

struct SliceKind {
  using Owner = Interface::AllIntfQueueCounterDir;
  using Plain = Interface::IntfQueueCounterDir;
  using Member = Stubborn<Plain>;
  static void set(Owner& owner, Ptr<Member> const& member) { owner.intfQueueCounterDirIs(member); }
  static Ptr<Zon::Entity> get(Owner& owner) { return owner.intfQueueCounterDir("key"); }
  static void del(Owner& owner) { owner.intfQueueCounterDirDel("key"); }
  static void delAll(Owner& owner) { owner.intfQueueCounterDirDelAll(); }
};

struct DirKind {
  using Owner = Zon::Dir;
  using Plain = Zon::Dir;
  using Member = Stubborn<Plain>;
  static void set(Owner& owner, Ptr<Member> const& member) { owner.entityPtrIs(member); }
  static Ptr<Zon::Entity> get(Owner& owner) { return owner.entityPtr("key"); }
  static void del(Owner& owner) { owner.entityPtrDel("key"); }
  static void delAll(Owner& owner) { owner.entityPtrDelAll(); }
};

template <class Kind>
class MemberFaults : public testing::Test {};
using Kinds = testing::Types<CountersKind, SliceKind, DirKind>;
TYPED_TEST_SUITE(MemberFaults, Kinds);

TYPED_TEST(MemberFaults, WhatIsThrownWhileAParentChangesLeavesExactlyTheMembersAsChildren) {
  using Kind = TypeParam;
  struct World {
    explicit World(CallOuts*& calls)
      : members{newPtr<typename Kind::Member>(calls, "key"), newPtr<typename Kind::Member>(calls, "key")} {}
    /// The member that is there, or "none"; "unsound" unless it is the owner's one child.
    std::string state() {
      auto const found = Kind::get(*owner);
      std::string text = "none";
      for (int i = 0; i != 2; ++i) {
        bool const isThere = found == members[i];
        if (isThere) text = std::to_string(i);
        if (isThere != (members[i]->parent() == owner)) return "unsound";
        if (isThere && members[i]->parentAttrId() != Kind::Owner::NotifieeConst::zonCollection.id) return "unsound";
      }
      return text;
    }
    Ptr<typename Kind::Owner> const owner = newPtr<typename Kind::Owner>("owner");
    Ptr<typename Kind::Member> const members[2];
  };
  struct Step {
    void (*act)(World& world);
    char const* after;
  };
  static constexpr Step steps[] = {
      {[](World& world) { Kind::set(*world.owner, world.members[0]); }, "0"},
      {[](World& world) { Kind::set(*world.owner, world.members[1]); }, "1"},
      {[](World& world) { Kind::del(*world.owner); }, "none"},
      {[](World& world) { Kind::set(*world.owner, world.members[1]); }, "1"},
      {[](World& world) { Kind::set(*world.owner, world.members[0]); }, "0"},
      {[](World& world) { Kind::delAll(*world.owner); }, "none"},
      {[](World& world) { Kind::set(*world.owner, world.members[0]); }, "0"},
  };
  Figure thrown("exceptions thrown out of members");
  for (Throwing const& throwing : throwings) {
    for (int position = 0, callOuts = 1; position < callOuts; ++position) {
      CallOuts calls(position, [&](std::string const&) { throwing.act(); });
      CallOuts* current = &calls;
      World world(current);
      for (Step const& step : steps) {
        bool const before = calls.struck().empty();
        std::string const out = thrownBy([&] { step.act(world); });
        SCOPED_TRACE(testing::Message() << "step " << &step - steps << ", " << throwing.name << " at call-out "
                                        << position << " (" << calls.struck() << ")");
        EXPECT_NE(world.state(), "unsound");
        if (before && !calls.struck().empty()) {
          EXPECT_EQ(out, throwing.name);
          EXPECT_EQ(thrownBy([&] { step.act(world); }), "");
        } else {
          EXPECT_EQ(out, "");
        }
        EXPECT_EQ(world.state(), step.after);
      }
      EXPECT_NE(calls.struck(), "");
      callOuts = calls.made();
      ++thrown;
    }
  }
  EXPECT_GT(thrown.count(), 40);
}

TYPED_TEST(MemberFaults, WhatOneMemberThrowsKeepsNoWatcherOfTheOtherFromHearing) {
  using Kind = TypeParam;
  struct Case {
    char const* struck;
    char const* heard;
  };
  // What an override throws before its work keeps its own watchers from hearing, and nobody else.
  static constexpr Case cases[] = {
      {"before parentAttrIdIs", "old next"}, {"after parentAttrIdIs", "old next"}, {"before parentIs", "next"},
      {"after parentIs", "old next"},        {"before parentIs", "old"},           {"after parentIs", "old next"},
  };
  for (Throwing const& throwing : throwings) {
    for (Case const& expected : cases) {
      auto const position = static_cast<int>(&expected - cases);
      CallOuts none;
      CallOuts calls(position, [&](std::string const&) { throwing.act(); });
      auto const owner = newPtr<typename Kind::Owner>("owner");
      CallOuts* current = &none;
      auto const old = newPtr<typename Kind::Member>(current, "key");
      auto const next = newPtr<typename Kind::Member>(current, "key");
      Kind::set(*owner, old);
      Support::Events events;
      auto const ofOld = Support::watchParent(Ptr<typename Kind::Plain>(old), [&] { events.add("old"); });
      auto const ofNext = Support::watchParent(Ptr<typename Kind::Plain>(next), [&] { events.add("next"); });
      current = &calls;
      EXPECT_EQ(thrownBy([&] { Kind::set(*owner, next); }), throwing.name);
      EXPECT_EQ(calls.struck(), expected.struck);
      EXPECT_EQ(events.take(), expected.heard) << "at call-out " << position;
      EXPECT_EQ(old->parent(), nullptr);
      EXPECT_EQ(next->parent(), owner);
      current = &none;
    }
  }
}

TEST(ActivityFaults, WhatAHandbackThrowsWhileAnActivityIsExchangedLeavesNoInputBehind) {
  for (Throwing const& throwing : throwings) {
    Support::Events events;
    auto const deferring = Support::deferring();
    auto const dir = newPtr<Interface::AllIntfConfigDir>("configs");
    auto const config = newPtr<Interface::IntfConfig>("single");
    auto const reader = newPtr<Support::Reader>(deferring, events, dir, config);
    reader->hasNotificationActiveIs(true);
    dir->intfConfigIs(config);
    config->adminEnabledStateLocalIs(Interface::IntfEnabledState::enabled);
    EXPECT_EQ(deferring->zonPending(), 2U);
    // The handler of the first input throws, and so does its handback.
    reader->act = [&](std::string const& event) {
      if (event != "config") throwing.act();
    };
    EXPECT_EQ(thrownBy([&] { reader->zonFwkActivityIs(nullptr); }), throwing.name);
    EXPECT_EQ(events.take(), "configs(single) exception(258) config");
    EXPECT_EQ(deferring->zonPending(), 0U);
    EXPECT_EQ(reader->zonConfigs()->zonFwkActivity(), nullptr);
    EXPECT_EQ(reader->zonConfig()->zonFwkActivity(), nullptr);
    config->adminEnabledStateLocalIs(Interface::IntfEnabledState::disabled);
    EXPECT_EQ(events.take(), "config");
    reader->act = nullptr;
  }
}

TEST(MapFaults, AWalkThatEndsInAnExceptionHoldsNothing) {
  struct Member : Zon::PtrInterface, Zon::HashMapLink<Member> {
    explicit Member(Zon::Name name) : key(std::move(name)) {}
    Zon::Name const& fwkKey() const noexcept { return key; }
    Zon::Name const key;
  };
  using Map = Zon::HashMap<Member, Zon::Name>;
  constexpr int count = 9;
  for (Throwing const& throwing : throwings) {
    for (int position = 0; position != count; ++position) {
      CallOuts calls(position, [&](std::string const&) { throwing.act(); });
      Map map;
      std::vector<Ptr<Member>> members;
      for (int i = 0; i != count; ++i) {
        members.push_back(newPtr<Member>(Zon::Name(std::to_string(i))));
        map.newMember(members.back(), Map::hashOf(members.back()->key));
      }
      EXPECT_EQ(thrownBy([&] {
                  for (Map::Iterator at(map); at; at.advance()) {
                    // Removed under the walk: the iterator holds it by a count of its own.
                    if (position % 2 == 0) map.memberDel(at);
                    calls(at.key().stdString());
                  }
                }),
                throwing.name);
      std::uint32_t held = 0;
      for (auto const& member : members)
        held += member->zonReferences() - 1;
      EXPECT_EQ(held, map.members());
      for (auto const& member : members)
        if (!member->zonInMap()) map.newMember(member, Map::hashOf(member->key));
      int walked = 0;
      for (Map::Iterator at(map); at; at.advance())
        ++walked;
      EXPECT_EQ(walked, count);
    }
  }
}

TEST(ReflectionFaults, WhatAnOperationThrowsPassesAndTheOperationCanBeRepeated) {
  Figure thrown("exceptions thrown out of reflected operations");
  for (Throwing const& throwing : throwings) {
    for (int position = 0, callOuts = 1; position < callOuts; ++position) {
      CallOuts calls(position, [&](std::string const&) { throwing.act(); });
      auto const code = std::make_shared<ForeignCode>(ForeignCode::Of::overrides);
      World world(World::Activity::immediate, code);
      for (char const* const intf : {"Ethernet1", "Ethernet2"})
        world.configs()->intfConfigIs(code->config(intf));
      world.addStatus("Ethernet1", false);
      world.statuses()->intfStatusIs(world.producedStatuses()->intfStatus("Ethernet1"));
      code->callsAre(&calls);
      auto const root = Zon::ZonType::typeNode("VaroErrdisable::Root")->genericIf(world.root());
      auto const wire = [&] {
        root->attributeOpByName("allIntfSM", test::Op::set, {},
                                test::list(test::ref(world.activity()), test::ref(world.configs()),
                                           test::ref(world.statuses()), test::ref(world.errdisabled())));
      };
      EXPECT_EQ(thrownBy(wire), throwing.name);
      EXPECT_EQ(world.root()->allIntfSM(), nullptr);
      EXPECT_EQ(world.configs()->zonReferences(), 1U);
      EXPECT_EQ(thrownBy(wire), "");
      auto const machine = world.root()->allIntfSM();
      ASSERT_TRUE(machine);
      EXPECT_EQ(world.configs()->intfConfig("Ethernet1")->enabledStateReason(), "inactive");
      if (position == 0) {
        CallOuts all;
        code->callsAre(&all);
        world.root()->allIntfSMDel();
        wire();
        callOuts = all.made();
      }
      ++thrown;
    }
  }
  EXPECT_GT(thrown.count(), 10);
}

}  // namespace
}  // namespace Faults
