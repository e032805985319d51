// One configuration along the whole road, from the aggregate directory to the enabled state, with both modules wired as
// a host wires them: every callback, every write and every trace line, in order.

#include <map>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "VaroErrdisable/Root.h"
#include "support/Errdisable.h"
#include "support/Intf.h"
#include "support/TraceEvents.h"

namespace {

using namespace Support;
using Zon::Ptr;

/// A recorder of "in:key(E1)" and the like that also hears the trace.
class Road : public testing::Test {
 protected:
  /// Wires both modules: the mirror first, then the machine over the host's directories.
  void wire() {
    agent->allIntfReactorIs(activity, configs, statuses);
    agent->allIntfStatusDirSmIs(activity, statuses);
    root->allIntfSMIs(activity, configs, statuses, errdisable);
  }
  void wireWatched() {
    wire();
    watch();
  }
  void watch() {
    inWatcher = Zon::newPtr<ConfigDirWatcher>("in", events, configIn());
    outWatcher = Zon::newPtr<ConfigDirWatcher>("out", events, configs);
    statusInWatcher = Zon::newPtr<StatusDirWatcher>("sin", events, statusIn());
    statusOutWatcher = Zon::newPtr<StatusDirWatcher>("sout", events, statuses);
    errdisableWatcher = Zon::newPtr<ErrdisableWatcher>("err", events, errdisable);
  }

  Ptr<ConfigDir> configIn() { return agent->allIntfDir()->config(); }
  Ptr<StatusDir> statusIn() { return agent->allIntfDir()->status(); }
  Ptr<RecordingConfig> addConfig(char const* id, char const* label = nullptr) {
    auto const config = Zon::newPtr<RecordingConfig>(id, events, label != nullptr ? label : id);
    configIn()->intfConfigIs(config);
    return config;
  }
  Ptr<RecordingStatus> newActive(char const* id, bool active = true) {
    auto const status = Zon::newPtr<RecordingStatus>(id, events);
    status->activeIs(active);
    return status;
  }

  // First, because everything else records here.
  Events events;
  TraceEvents trace{events};
  Ptr<Zon::ActivityConfig> activity = immediate();
  Ptr<VaroIntf::Agent> agent = VaroIntf::agentFactory("intf");
  Ptr<VaroErrdisable::Root> root = VaroErrdisable::rootFactory("errdisable");
  Ptr<RecordingConfigDir> configs = Zon::newPtr<RecordingConfigDir>("c", events);
  Ptr<RecordingStatusDir> statuses = Zon::newPtr<RecordingStatusDir>("s", events);
  Ptr<Errdisable::Status> errdisable = Zon::newPtr<Errdisable::Status>("errdisable");
  Ptr<ConfigDirWatcher> inWatcher, outWatcher;
  Ptr<StatusDirWatcher> statusInWatcher, statusOutWatcher;
  Ptr<ErrdisableWatcher> errdisableWatcher;
};

TEST_F(Road, Added) {
  wireWatched();
  events.take();
  trace.takeLines();
  auto const config = addConfig("E1");
  EXPECT_EQ(events.take(),
            "c+E1 [AllIntfSM::handleIntf(Orvet::IntfId)E1] [IntfSM::handleInitialized()E1] "
            "[IntfSM::handleStateChange()E1:,adminEnabled=unset,enabledStateLocal=unset,intfStatus=None,active=0] "
            "E1.state=unset E1.reason='' out:key(E1) in:key(E1)");
  EXPECT_EQ(trace.takeLines(),
            "void VaroErrdisable::AllIntfSM::handleIntf(Orvet::IntfId)E1\n"
            "void VaroErrdisable::IntfSM::handleInitialized()E1\n"
            "void VaroErrdisable::IntfSM::handleStateChange()E1: adminEnabled=unset enabledStateLocal=unset "
            "intfStatus=None active=0\n");
  EXPECT_EQ(config->holds(), "unset ''");
  EXPECT_EQ(configs->intfConfig("E1"), config);
  EXPECT_EQ(root->allIntfSM()->intfSM("E1")->intfConfig(), config);
}

TEST_F(Road, Changed) {
  wireWatched();
  auto const config = addConfig("E1");
  events.take();
  config->adminEnabledStateLocalIs(IntfEnabledState::disabled);
  EXPECT_EQ(events.take(),
            "[IntfSM::handleStateChange()E1:,adminEnabled=disabled,enabledStateLocal=unset,intfStatus=None,active=0] "
            "E1.state=disabled E1.reason='admin'");
  config->adminEnabledStateLocalIs(IntfEnabledState::enabled);
  EXPECT_EQ(events.take(),
            "[IntfSM::handleStateChange()E1:,adminEnabled=enabled,enabledStateLocal=disabled,intfStatus=None,active=0] "
            "E1.state=enabled E1.reason=''");
}

TEST_F(Road, StatusComesChangesAndGoes) {
  wireWatched();
  auto const config = addConfig("E1");
  config->adminEnabledStateLocalIs(IntfEnabledState::enabled);
  events.take();
  auto const status = newActive("E1");
  statusIn()->intfStatusIs(status);
  EXPECT_EQ(events.take(),
            "s+E1 E1=5 [AllIntfSM::handleIntf(Orvet::IntfId)E1] "
            "[IntfSM::handleStateChange()E1:,adminEnabled=enabled,enabledStateLocal=enabled,intfStatus=Valid,active=1] "
            "E1.state=enabled E1.reason='' sout:key(E1) sin:key(E1)");
  status->activeIs(false);
  EXPECT_EQ(events.take(),
            "[IntfSM::handleStateChange()E1:,adminEnabled=enabled,enabledStateLocal=enabled,intfStatus=Valid,active=0] "
            "E1.state=disabled E1.reason='inactive'");
  status->forwardingModelInputsIs("bridging", 2);
  EXPECT_EQ(events.take(), "E1=2");
  statusIn()->intfStatusDel("E1");
  EXPECT_EQ(events.take(),
            "s-E1 [AllIntfSM::handleIntf(Orvet::IntfId)E1] "
            "[IntfSM::handleStateChange()E1:,adminEnabled=enabled,enabledStateLocal=disabled,intfStatus=None,active=0] "
            "E1.state=enabled E1.reason='' sout:key(E1) sin:key(E1)");
  status->forwardingModelInputsIs("bridging", 1);
  EXPECT_EQ(events.take(), "");
}

TEST_F(Road, ErrdisabledAndRecovered) {
  wireWatched();
  auto const config = addConfig("E1");
  statusIn()->intfStatusIs(newActive("E1"));
  events.take();
  errdisable->errdisabledIntfIs("E1", "loop");
  EXPECT_EQ(events.take(),
            "[AllIntfSM::handleErrdisable(Orvet::IntfId)E1] "
            "[IntfSM::handleStateChange()E1:,adminEnabled=unset,enabledStateLocal=unset,intfStatus=Valid,active=1] "
            "E1.state=disabled E1.reason='loop' err:key(E1)");
  errdisable->errdisabledIntfDel("E1");
  EXPECT_EQ(events.take(),
            "[AllIntfSM::handleErrdisable(Orvet::IntfId)E1] "
            "[IntfSM::handleStateChange()E1:,adminEnabled=unset,enabledStateLocal=disabled,intfStatus=Valid,active=1] "
            "E1.state=enabled E1.reason='' err:key(E1)");
}

TEST_F(Road, Replaced) {
  wireWatched();
  auto const first = addConfig("E1", "first");
  events.take();
  // The mirror passes the new entity on; the machine stays with the old one, silently.
  auto const second = addConfig("E1", "second");
  EXPECT_EQ(events.take(), "c+E1 [AllIntfSM::handleIntf(Orvet::IntfId)E1] out:key(E1) in:key(E1)");
  EXPECT_EQ(configs->intfConfig("E1"), second);
  EXPECT_EQ(root->allIntfSM()->intfSM("E1")->intfConfig(), first);
  second->adminEnabledStateLocalIs(IntfEnabledState::disabled);
  EXPECT_EQ(events.take(), "");
  // Removed and set it is served.
  configIn()->intfConfigDel("E1");
  EXPECT_EQ(events.take(), "c-E1 [AllIntfSM::handleIntf(Orvet::IntfId)E1] out:key(E1) in:key(E1)");
  configIn()->intfConfigIs(second);
  EXPECT_EQ(events.take(),
            "c+E1 [AllIntfSM::handleIntf(Orvet::IntfId)E1] [IntfSM::handleInitialized()E1] "
            "[IntfSM::handleStateChange()E1:,adminEnabled=disabled,enabledStateLocal=unset,intfStatus=None,active=0] "
            "second.state=disabled second.reason='admin' out:key(E1) in:key(E1)");
}

TEST_F(Road, Removed) {
  wireWatched();
  auto const config = addConfig("E1");
  statusIn()->intfStatusIs(newActive("E1"));
  events.take();
  configIn()->intfConfigDel("E1");
  EXPECT_EQ(events.take(), "c-E1 [AllIntfSM::handleIntf(Orvet::IntfId)E1] out:key(E1) in:key(E1)");
  EXPECT_EQ(root->allIntfSM()->intfSM("E1"), nullptr);
  config->adminEnabledStateLocalIs(IntfEnabledState::disabled);
  statuses->intfStatus("E1")->activeIs(false);
  errdisable->errdisabledIntfIs("E1", "loop");
  EXPECT_EQ(events.take(), "[AllIntfSM::handleErrdisable(Orvet::IntfId)E1] err:key(E1)");
  EXPECT_EQ(config->zonReferences(), 1U);
}

TEST_F(Road, StatusFirst) {
  wireWatched();
  events.take();
  statusIn()->intfStatusIs(newActive("E1", false));
  EXPECT_EQ(events.take(), "s+E1 E1=5 [AllIntfSM::handleIntf(Orvet::IntfId)E1] sout:key(E1) sin:key(E1)");
  auto const config = addConfig("E1");
  EXPECT_EQ(events.take(),
            "c+E1 [AllIntfSM::handleIntf(Orvet::IntfId)E1] [IntfSM::handleInitialized()E1] "
            "[IntfSM::handleStateChange()E1:,adminEnabled=unset,enabledStateLocal=unset,intfStatus=Valid,active=0] "
            "E1.state=disabled E1.reason='inactive' out:key(E1) in:key(E1)");
}

TEST_F(Road, ErrdisableEntryFirst) {
  wireWatched();
  events.take();
  errdisable->errdisabledIntfIs("E1", "loop");
  EXPECT_EQ(events.take(), "[AllIntfSM::handleErrdisable(Orvet::IntfId)E1] err:key(E1)");
  auto const config = addConfig("E1");
  EXPECT_EQ(events.take(),
            "c+E1 [AllIntfSM::handleIntf(Orvet::IntfId)E1] [IntfSM::handleInitialized()E1] "
            "[IntfSM::handleStateChange()E1:,adminEnabled=unset,enabledStateLocal=unset,intfStatus=None,active=0] "
            "E1.state=disabled E1.reason='loop' out:key(E1) in:key(E1)");
}

TEST_F(Road, BothDirectoriesFilledBeforeWiring) {
  auto const config = addConfig("E1");
  statusIn()->intfStatusIs(newActive("E1", false));
  watch();
  EXPECT_EQ(events.take(), "");
  wire();
  EXPECT_EQ(events.take(),
            "c+E1 out:key(E1) s+E1 sout:key(E1) E1=5 [AllIntfSM::handleInitialized()] "
            "[AllIntfSM::handleIntf(Orvet::IntfId)E1] "
            "[IntfSM::handleInitialized()E1] "
            "[IntfSM::handleStateChange()E1:,adminEnabled=unset,enabledStateLocal=unset,intfStatus=Valid,active=0] "
            "E1.state=disabled E1.reason='inactive'");
  EXPECT_EQ(config->holds(), "disabled 'inactive'");
}

TEST_F(Road, TheErrdisableModuleGivenTheAggregatesOwnDirectories) {
  root->allIntfSMIs(activity, configIn(), statusIn(), errdisable);
  watch();
  events.take();
  auto const config = addConfig("E1");
  EXPECT_EQ(events.take(),
            "[AllIntfSM::handleIntf(Orvet::IntfId)E1] [IntfSM::handleInitialized()E1] "
            "[IntfSM::handleStateChange()E1:,adminEnabled=unset,enabledStateLocal=unset,intfStatus=None,active=0] "
            "E1.state=unset E1.reason='' in:key(E1)");
  // A mirror wired later changes nothing for it.
  agent->allIntfReactorIs(activity, configs, statuses);
  EXPECT_EQ(events.take(), "c+E1 out:key(E1)");
  config->adminEnabledStateLocalIs(IntfEnabledState::disabled);
  EXPECT_EQ(config->holds(), "disabled 'admin'");
  events.take();
  configIn()->intfConfigDel("E1");
  EXPECT_EQ(events.take(), "[AllIntfSM::handleIntf(Orvet::IntfId)E1] in:key(E1) c-E1 out:key(E1)");
  EXPECT_EQ(root->allIntfSM()->intfSM("E1"), nullptr);
}

TEST_F(Road, TheMirrorGivenTheAggregatesOwnDirectoriesToo) {
  agent->allIntfReactorIs(activity, configIn(), statusIn());
  root->allIntfSMIs(activity, configIn(), statusIn(), errdisable);
  auto const config = addConfig("E1");
  statusIn()->intfStatusIs(newActive("E1", false));
  EXPECT_EQ(config->holds(), "disabled 'inactive'");
  configIn()->intfConfigDel("E1");
  EXPECT_EQ(idsOf(*configIn()), "");
}

TEST_F(Road, OnADeferringActivityDispatchedAfterEachChangeTheEndIsTheSame) {
  std::map<std::string, std::string> ends;
  for (auto const& used : {immediate(), deferring(), Ptr<Zon::ActivityConfig>()}) {
    activity = used;
    wire();
    auto const served = [&] {
      while (used && used->zonPending() != 0)
        used->zonDispatch();
    };
    auto const config = addConfig("E1");
    served();
    auto const status = newActive("E1");
    statusIn()->intfStatusIs(status);
    served();
    std::string end = config->holds();
    errdisable->errdisabledIntfIs("E1", "loop");
    served();
    end += ", " + config->holds();
    status->activeIs(false);
    served();
    end += ", " + config->holds();
    errdisable->errdisabledIntfDel("E1");
    served();
    status->activeIs(true);
    served();
    config->adminEnabledStateLocalIs(IntfEnabledState::disabled);
    served();
    end += ", " + config->holds();
    ends[end] = "";
    configIn()->intfConfigDel("E1");
    served();
    statusIn()->intfStatusDel("E1");
    served();
    root->allIntfSMDel();
  }
  ASSERT_EQ(ends.size(), 1U);
  EXPECT_EQ(ends.begin()->first, "unset '', disabled 'loop', disabled 'inactive', disabled 'admin'");
}

TEST_F(Road, EitherModuleWorksAlone) {
  agent->allIntfReactorIs(activity, configs, statuses);
  auto const config = addConfig("E1");
  EXPECT_EQ(events.take(), "c+E1");
  agent = nullptr;
  root->allIntfSMIs(activity, configs, statuses, errdisable);
  configs->ConfigDir::intfConfigIs(newConfig("E2"));
  EXPECT_NE(root->allIntfSM()->intfSM("E1"), nullptr);
  EXPECT_NE(root->allIntfSM()->intfSM("E2"), nullptr);
}

TEST_F(Road, TheModulesMayGoInEitherOrder) {
  wire();
  auto const config = addConfig("E1");
  agent = nullptr;
  config->adminEnabledStateLocalIs(IntfEnabledState::disabled);
  EXPECT_EQ(config->holds(), "disabled 'admin'");
  agent = VaroIntf::agentFactory("again");
  wire();  // the new agent's empty directories empty the host's
  EXPECT_EQ(root->allIntfSM()->intfSM("E1"), nullptr);
  addConfig("E1");
  root = nullptr;
  addConfig("E2");
  EXPECT_EQ(idsOf(*configs), "E1 E2");
}

TEST_F(Road, AWatcherAtTheEndOfTheRoadMayRemoveTheConfigurationItself) {
  wireWatched();
  auto const config = Zon::newPtr<RecordingConfig>("E1", events);
  config->adminEnabledStateLocalIs(IntfEnabledState::disabled);
  auto const end = Zon::newPtr<ConfigWatcher>("end", events, config);
  end->act = [&](std::string const& heard) {
    if (heard == "state") configIn()->intfConfigDel("E1");
  };
  events.take();
  configIn()->intfConfigIs(config);
  EXPECT_EQ(idsOf(*configIn()), "");
  EXPECT_EQ(idsOf(*configs), "");
  // Both writes were made all the same.
  EXPECT_EQ(config->holds(), "disabled 'admin'");
}

}  // namespace
