#include "platform/Interface/IntfConfig.h"

#include <string>

#include <gtest/gtest.h>

#include "support/Events.h"

namespace {

using Interface::IntfConfig;
using Interface::IntfEnabledState;
using Zon::newPtr;
using Zon::Ptr;

class ConfigWatcher : public Support::Recorder<IntfConfig::NotifieeConst> {
 public:
  using Recorder::Recorder;
  void onDefaultConfig() override { heard("defaultConfig"); }
  void onDescription() override { heard("description"); }
  void onLinkStatusLogging() override { heard("linkStatusLogging"); }
  void onAdminEnabledStateLocal() override { heard("adminEnabledStateLocal"); }
  void onEnabledStateLocal() override { heard("enabledStateLocal"); }
  void onEnabledStateReason() override { heard("enabledStateReason"); }
  void onLoadInterval() override { heard("loadInterval"); }
  void onRequestor(Zon::String8) override { heard("requestor"); }
  void onMtu() override { heard("mtu"); }
};

class IntfConfigTest : public testing::Test {
 protected:
  Support::Events events;
  Ptr<IntfConfig> config = newPtr<IntfConfig>("Ethernet1");
  Ptr<ConfigWatcher> watcher = newPtr<ConfigWatcher>("w", events, config);
};

TEST_F(IntfConfigTest, StartsUnset) {
  EXPECT_EQ(config->intfId(), Orvet::IntfId("Ethernet1"));
  EXPECT_EQ(config->name(), "Ethernet1");
  EXPECT_EQ(config->defaultConfig(), nullptr);
  EXPECT_EQ(config->adminEnabledStateLocal(), IntfEnabledState::unset);
  EXPECT_EQ(config->enabledStateLocal(), IntfEnabledState::unset);
  EXPECT_EQ(config->enabledStateReason(), "");
  EXPECT_TRUE(config->adminEnabled());
}

TEST_F(IntfConfigTest, EverySetterStoresThenTellsOnce) {
  std::string seen;
  watcher->act = [&](std::string const&) {
    seen = std::to_string(static_cast<int>(config->adminEnabledStateLocal())) +
           std::to_string(static_cast<int>(config->enabledStateLocal())) + config->enabledStateReason().stdString();
  };
  config->adminEnabledStateLocalIs(IntfEnabledState::disabled);
  EXPECT_EQ(events.take(), "w:adminEnabledStateLocal");
  EXPECT_EQ(seen, "20");
  config->enabledStateLocalIs(IntfEnabledState::enabled);
  EXPECT_EQ(events.take(), "w:enabledStateLocal");
  EXPECT_EQ(seen, "21");
  config->enabledStateReasonIs("admin");
  EXPECT_EQ(events.take(), "w:enabledStateReason");
  EXPECT_EQ(seen, "21admin");
  config->defaultConfigIs(newPtr<IntfConfig>("default"));
  EXPECT_EQ(events.take(), "w:defaultConfig");
}

TEST_F(IntfConfigTest, AnEqualValueTellsNobody) {
  auto const other = newPtr<IntfConfig>("default");
  config->adminEnabledStateLocalIs(IntfEnabledState::disabled);
  config->enabledStateLocalIs(IntfEnabledState::enabled);
  config->enabledStateReasonIs("admin");
  config->defaultConfigIs(other);
  events.take();
  config->adminEnabledStateLocalIs(IntfEnabledState::disabled);
  config->enabledStateLocalIs(IntfEnabledState::enabled);
  config->enabledStateReasonIs(Zon::String8(std::string("admin")));
  config->defaultConfigIs(other);
  EXPECT_EQ(events.take(), "");
  config->defaultConfigIs(nullptr);
  EXPECT_EQ(events.take(), "w:defaultConfig");
}

TEST_F(IntfConfigTest, ExceptionsCarryTheAttributesIds) {
  watcher->act = [](std::string const&) { throw 1; };
  config->defaultConfigIs(config);
  config->adminEnabledStateLocalIs(IntfEnabledState::enabled);
  config->enabledStateLocalIs(IntfEnabledState::enabled);
  config->enabledStateReasonIs("x");
  EXPECT_EQ(events.take(), "w:defaultConfig w:exception(260) w:adminEnabledStateLocal w:exception(263) "
                           "w:enabledStateLocal w:exception(264) w:enabledStateReason w:exception(265)");
  watcher->act = nullptr;
  config->defaultConfigIs(nullptr);
}

TEST_F(IntfConfigTest, AdminEnabledFollowsTheEffectiveState) {
  // Own state if set, else the default's own, else unset.
  auto const fallback = newPtr<IntfConfig>("default");
  for (int const own : {0, 1, 2, 7}) {
    for (int const inherited : {-1, 0, 1, 2, 7}) {
      config->adminEnabledStateLocalIs(static_cast<IntfEnabledState>(own));
      fallback->adminEnabledStateLocalIs(static_cast<IntfEnabledState>(inherited < 0 ? 0 : inherited));
      config->defaultConfigIs(inherited < 0 ? nullptr : fallback);
      int const effective = own != 0 ? own : inherited < 0 ? 0 : inherited;
      EXPECT_EQ(config->adminEnabled(), effective != 2) << own << " " << inherited;
      EXPECT_EQ(static_cast<int>(config->adminEnabledStateEffective()), effective);
    }
  }
}

TEST_F(IntfConfigTest, OnlyOneLevelOfDefaultsCounts) {
  auto const fallback = newPtr<IntfConfig>("default");
  auto const second = newPtr<IntfConfig>("second");
  second->adminEnabledStateLocalIs(IntfEnabledState::disabled);
  fallback->defaultConfigIs(second);
  config->defaultConfigIs(fallback);
  EXPECT_TRUE(config->adminEnabled());
  EXPECT_FALSE(fallback->adminEnabled());
}

TEST_F(IntfConfigTest, ACycleOfDefaultsDoesNotHang) {
  auto const other = newPtr<IntfConfig>("other");
  config->defaultConfigIs(other);
  other->defaultConfigIs(config);
  EXPECT_TRUE(config->adminEnabled());
  other->adminEnabledStateLocalIs(IntfEnabledState::disabled);
  EXPECT_FALSE(config->adminEnabled());
  EXPECT_FALSE(other->adminEnabled());
  config->defaultConfigIs(config);
  EXPECT_TRUE(config->adminEnabled());
  config->defaultConfigIs(nullptr);
}

TEST_F(IntfConfigTest, AChangedDefaultNotifiesNobody) {
  auto const fallback = newPtr<IntfConfig>("default");
  config->defaultConfigIs(fallback);
  events.take();
  fallback->adminEnabledStateLocalIs(IntfEnabledState::disabled);
  EXPECT_EQ(events.take(), "");
  EXPECT_FALSE(config->adminEnabled());
}

TEST_F(IntfConfigTest, AWatcherMayReplaceTheDefaultItHearsOf) {
  auto const second = newPtr<IntfConfig>("second");
  watcher->act = [&](std::string const&) { config->defaultConfigIs(second); };
  config->defaultConfigIs(newPtr<IntfConfig>("first"));
  EXPECT_EQ(events.take(), "w:defaultConfig w:defaultConfig");
  EXPECT_EQ(config->defaultConfig(), second);
}

TEST_F(IntfConfigTest, NamesItsAttributes) {
  EXPECT_EQ(config->attributeString(258), "intfId");
  EXPECT_EQ(config->attributeString(259), "adminEnabled");
  EXPECT_EQ(config->attributeString(260), "defaultConfig");
  EXPECT_EQ(config->attributeString(263), "adminEnabledStateLocal");
  EXPECT_EQ(config->attributeString(264), "enabledStateLocal");
  EXPECT_EQ(config->attributeString(265), "enabledStateReason");
  EXPECT_EQ(config->attributeString(130), "name");
  EXPECT_EQ(config->attributeString(261), "unknown");
}

TEST_F(IntfConfigTest, AnEmptyOrOddNameIsAName) {
  for (std::string const& name : {std::string(), std::string(255, 'x'), std::string("a b/c\0d", 7)}) {
    auto const odd = newPtr<IntfConfig>(Orvet::IntfId(name));
    EXPECT_EQ(odd->name().stdString(), name);
    EXPECT_EQ(odd->intfId().stringValue().stdString(), name);
  }
}

}  // namespace
