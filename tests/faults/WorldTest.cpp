#include "faults/World.h"

#include <gtest/gtest.h>

#include "faults/Scenarios.h"

namespace Faults {
namespace {

class Undisturbed : public testing::TestWithParam<Scenario> {};

TEST_P(Undisturbed, WorldsThatGoTheSameWayShowTheSame) {
  World first(GetParam().activity);
  World second(GetParam().activity);
  for (auto const* const steps : {&GetParam().before, &GetParam().steps})
    for (auto const& step : *steps) {
      step.act(first);
      step.act(second);
      EXPECT_EQ(difference(first.facts(), second.facts()), "") << step.name;
    }
  EXPECT_EQ(difference(first.references(), second.references()), "");
}

TEST_P(Undisturbed, ASweepFindsNothingToDo) {
  World world(GetParam().activity);
  for (auto const* const steps : {&GetParam().before, &GetParam().steps})
    for (auto const& step : *steps) {
      step.act(world);
      Facts const before = world.facts();
      Facts const referencesBefore = world.references();
      world.sweep();
      EXPECT_EQ(difference(before, world.facts()), "") << step.name;
      EXPECT_EQ(difference(referencesBefore, world.references()), "") << step.name;
    }
}

TEST_P(Undisturbed, EveryStepButARepetitionChangesSomething) {
  World world(GetParam().activity);
  for (auto const& step : GetParam().before)
    step.act(world);
  for (auto const& step : GetParam().steps) {
    Facts const before = world.facts();
    step.act(world);
    EXPECT_EQ(difference(before, world.facts()).empty(), step.name == "wire again") << step.name;
  }
}

INSTANTIATE_TEST_SUITE_P(Scenarios, Undisturbed, testing::ValuesIn(scenarios()),
                         [](auto const& scenario) { return scenario.param.name; });

TEST(World, BringsAnInterfaceFromConfigurationToDecision) {
  World world(World::Activity::immediate);
  world.wire();
  world.addConfig("Ethernet1");
  world.adminState("Ethernet1", Interface::IntfEnabledState::enabled);
  EXPECT_EQ(world.facts().at("config Ethernet1 state"), "enabled");
  world.errdisable("Ethernet1", "bpduguard");
  EXPECT_EQ(world.facts().at("config Ethernet1 state"), "disabled");
  EXPECT_EQ(world.facts().at("config Ethernet1 reason"), "bpduguard");
}

TEST(World, ASweepMendsWhatTheModulesMissed) {
  World world(World::Activity::immediate);
  world.wire();
  world.addConfig("Ethernet1");
  world.root()->allIntfSM()->intfSMDel("Ethernet1");
  world.agent()->allIntfReactor()->hasNotificationActiveIs(false);
  world.addStatus("Ethernet1", true);
  world.agent()->allIntfReactor()->hasNotificationActiveIs(true);
  EXPECT_FALSE(world.statuses()->intfStatus("Ethernet1"));
  world.sweep();
  EXPECT_EQ(world.facts().at("errdisable Ethernet1 status"), "the host's");
  EXPECT_EQ(world.facts().at("forwarding Ethernet1 serves"), "the host's");
}

}  // namespace
}  // namespace Faults
