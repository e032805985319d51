// The device as a producer meets it: both modules made by type name and wired through reflection.

#include "host/Device.h"

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "Zon/Exception.h"
#include "host/ChangeReader.h"
#include "platform/Pelto/ShmemRecord.h"
#include "support/Errdisable.h"
#include "support/Intf.h"
#include "support/TraceEvents.h"

namespace {

using namespace Support;
using Zon::Ptr;

/// A device whose directories are watched: "in" and "sin" those of the producers, "out" and "sout" the mirrored ones.
class DeviceRoad : public testing::Test {
 protected:
  Ptr<RecordingConfig> addConfig(char const* label = "E1") {
    auto const config = Zon::newPtr<RecordingConfig>("E1", events, label);
    device->configIs(config);
    return config;
  }
  Ptr<RecordingStatus> addStatus(bool active) {
    auto const status = Zon::newPtr<RecordingStatus>("E1", events);
    status->activeIs(active);
    device->statusIs(status);
    return status;
  }
  void apply(std::string const& line) { device->apply(reader.read(line)); }

  // First, because everything else records here.
  Events events;
  std::unique_ptr<VaroHost::Device> device = std::make_unique<VaroHost::Device>();
  TraceEvents trace{events};
  VaroHost::ChangeReader reader;
  Ptr<ConfigDirWatcher> in = Zon::newPtr<ConfigDirWatcher>("in", events, device->configsIn());
  Ptr<ConfigDirWatcher> out = Zon::newPtr<ConfigDirWatcher>("out", events, device->configs());
  Ptr<StatusDirWatcher> statusIn = Zon::newPtr<StatusDirWatcher>("sin", events, device->statusesIn());
  Ptr<StatusDirWatcher> statusOut = Zon::newPtr<StatusDirWatcher>("sout", events, device->statuses());
  Ptr<ErrdisableWatcher> errdisable = Zon::newPtr<ErrdisableWatcher>("err", events, device->errdisable());
};

TEST_F(DeviceRoad, AConfigurationGoesThroughTheMirrorToItsMachine) {
  auto const config = addConfig();
  EXPECT_EQ(events.take(),
            "[AllIntfSM::handleIntf(Orvet::IntfId)E1] [IntfSM::handleInitialized()E1] "
            "[IntfSM::handleStateChange()E1:,adminEnabled=unset,enabledStateLocal=unset,intfStatus=None,active=0] "
            "E1.state=unset E1.reason='' out:key(E1) in:key(E1)");
  config->adminEnabledStateLocalIs(IntfEnabledState::disabled);
  EXPECT_EQ(events.take(),
            "[IntfSM::handleStateChange()E1:,adminEnabled=disabled,enabledStateLocal=unset,intfStatus=None,active=0] "
            "E1.state=disabled E1.reason='admin'");
  EXPECT_EQ(device->configs()->intfConfig("E1"), config);
  device->configDel("E1");
  EXPECT_EQ(events.take(), "[AllIntfSM::handleIntf(Orvet::IntfId)E1] out:key(E1) in:key(E1)");
  config->adminEnabledStateLocalIs(IntfEnabledState::enabled);
  EXPECT_EQ(events.take(), "");
  EXPECT_EQ(config->zonReferences(), 1U);
}

TEST_F(DeviceRoad, AReplacedConfigurationLeavesBeforeTheNewOneComesAndIsServed) {
  auto const first = addConfig("first");
  events.take();
  apply(
      R"({"time":0,"entity":"intfConfig","key":"E1","op":"replace","attribute":"adminEnabledStateLocal","value":"disabled"})");
  EXPECT_EQ(events.take(),
            "[AllIntfSM::handleIntf(Orvet::IntfId)E1] out:key(E1) in:key(E1) "
            "[AllIntfSM::handleIntf(Orvet::IntfId)E1] [IntfSM::handleInitialized()E1] "
            "[IntfSM::handleStateChange()E1:,adminEnabled=disabled,enabledStateLocal=unset,intfStatus=None,active=0] "
            "out:key(E1) in:key(E1)");
  EXPECT_EQ(device->configs()->intfConfig("E1")->enabledStateReason().stdString(), "admin");
  EXPECT_EQ(first->zonReferences(), 1U);
}

TEST_F(DeviceRoad, AStatusMayComeFirst) {
  addStatus(false);
  EXPECT_EQ(events.take(), "E1=5 [AllIntfSM::handleIntf(Orvet::IntfId)E1] sout:key(E1) sin:key(E1)");
  addConfig();
  EXPECT_EQ(events.take(),
            "[AllIntfSM::handleIntf(Orvet::IntfId)E1] [IntfSM::handleInitialized()E1] "
            "[IntfSM::handleStateChange()E1:,adminEnabled=unset,enabledStateLocal=unset,intfStatus=Valid,active=0] "
            "E1.state=disabled E1.reason='inactive' out:key(E1) in:key(E1)");
  device->statusDel("E1");
  EXPECT_EQ(events.take(),
            "[AllIntfSM::handleIntf(Orvet::IntfId)E1] "
            "[IntfSM::handleStateChange()E1:,adminEnabled=unset,enabledStateLocal=disabled,intfStatus=None,active=0] "
            "E1.state=enabled E1.reason='' sout:key(E1) sin:key(E1)");
}

TEST_F(DeviceRoad, AnErrdisableEntryMayComeFirst) {
  apply(R"({"time":0,"entity":"errdisabledIntf","key":"E1","value":"loop"})");
  EXPECT_EQ(events.take(), "[AllIntfSM::handleErrdisable(Orvet::IntfId)E1] err:key(E1)");
  addConfig();
  EXPECT_EQ(events.take(),
            "[AllIntfSM::handleIntf(Orvet::IntfId)E1] [IntfSM::handleInitialized()E1] "
            "[IntfSM::handleStateChange()E1:,adminEnabled=unset,enabledStateLocal=unset,intfStatus=None,active=0] "
            "E1.state=disabled E1.reason='loop' out:key(E1) in:key(E1)");
  apply(R"({"time":0,"entity":"errdisabledIntf","key":"E1","op":"del"})");
  EXPECT_EQ(events.take(),
            "[AllIntfSM::handleErrdisable(Orvet::IntfId)E1] "
            "[IntfSM::handleStateChange()E1:,adminEnabled=unset,enabledStateLocal=disabled,intfStatus=None,active=0] "
            "E1.state=enabled E1.reason='' err:key(E1)");
}

TEST_F(DeviceRoad, AnotherDefaultEvaluatesOneInterfaceAndAChangedDefaultAll) {
  apply(R"({"time":0,"entity":"defaultConfig","key":"spare","op":"add"})");
  addConfig();
  events.take();
  apply(R"({"time":0,"entity":"intfConfig","key":"E1","attribute":"defaultConfig","value":"spare"})");
  EXPECT_EQ(events.take(),
            "[AllIntfSM::handleIntf(Orvet::IntfId)E1] "
            "[IntfSM::handleStateChange()E1:,adminEnabled=unset,enabledStateLocal=unset,intfStatus=None,active=0] "
            "E1.state=unset E1.reason='' out:key(E1)");
  apply(R"({"time":0,"entity":"defaultConfig","key":"spare","attribute":"adminEnabledStateLocal","value":"disabled"})");
  EXPECT_EQ(events.take(),
            "[AllIntfSM::handleInitialized()] [AllIntfSM::handleIntf(Orvet::IntfId)E1] "
            "[IntfSM::handleStateChange()E1:,adminEnabled=unset,enabledStateLocal=unset,intfStatus=None,active=0] "
            "E1.state=disabled E1.reason='admin'");
}

TEST_F(DeviceRoad, ForwardingModelsFollowTheirInputs) {
  auto const status = addStatus(true);
  events.take();
  apply(R"({"time":0,"entity":"forwardingModelInputs","key":["E1","bridging"],"value":2})");
  EXPECT_EQ(events.take(), "E1=2");
  apply(R"({"time":0,"entity":"forwardingModelInputs","key":["E1","bridging"],"op":"del"})");
  EXPECT_EQ(events.take(), "E1=5");
  device->statusDel("E1");
  events.take();
  status->forwardingModelInputsIs("bridging", 3);
  EXPECT_EQ(events.take(), "");
  EXPECT_EQ(status->zonReferences(), 1U);
}

TEST_F(DeviceRoad, AfterTheDeviceNothingActsAndNothingIsHeld) {
  auto const config = addConfig();
  auto const status = addStatus(true);
  auto const list = device->errdisable();
  auto const configDir = device->configs();
  auto const slice = device->queueCounters().sliceIs("s1");
  device->queueCounters()
      .countersIs(*slice, "E1")
      ->intfQueueCounterIs(Zon::newPtr<Interface::IntfQueueCounter>("drops"));
  apply(R"({"time":0,"entity":"defaultConfig","key":"a","op":"add"})");
  apply(R"({"time":0,"entity":"intfConfig","key":"E1","attribute":"defaultConfig","value":"a"})");
  in = out = nullptr;
  statusIn = statusOut = nullptr;
  errdisable = nullptr;
  events.take();
  device = nullptr;
  list->errdisabledIntfIs("E1", "loop");
  config->adminEnabledStateLocalIs(IntfEnabledState::disabled);
  status->activeIs(false);
  status->forwardingModelInputsIs("bridging", 3);
  slice->intfQueueCounterDirDel("E1");
  EXPECT_EQ(events.take(), "");
  // Beside the one here, the mirrored directory's, which is held here too.
  EXPECT_EQ(config->zonReferences(), 2U);
  EXPECT_EQ(status->zonReferences(), 1U);
  EXPECT_EQ(slice->zonReferences(), 1U);
  EXPECT_EQ(configDir->zonReferences(), 1U);
}

/// Applies a line about a counter of one interface; what was wrong with it, else empty.
std::string applied(VaroHost::Device& device, std::string const& line) {
  VaroHost::ChangeReader reader;
  try {
    device.apply(reader.read(R"({"time":0,)" + line + "}"));
  } catch (VaroHost::ChangeError const& error) {
    return error.what();
  }
  return "";
}
std::string counter(std::string const& name, std::string const& operation) {
  return R"("entity":"intfQueueCounter","key":["s1","E1",")" + name + R"("],"op":")" + operation + '"';
}

TEST(Device, ACounterWithoutRoomIsNotAddedAndLeavesItsFirstBlocks) {
  constexpr std::uint64_t record = Pelto::ShmemRecord::sizeOf(16);
  constexpr std::uint64_t capacity = sizeof(Pelto::ShmemObject::Header) + 25 * record;
  VaroHost::Device device(nullptr, VaroHost::CounterMemory("", capacity));
  auto const& counters = device.queueCounters();
  EXPECT_EQ(applied(device, R"("entity":"slice","key":"s1","op":"add")"), "");
  EXPECT_EQ(applied(device, R"("entity":"intfQueueCounterDir","key":["s1","E1"],"op":"add")"), "");
  EXPECT_EQ(applied(device, counter("a", "add")), "");
  EXPECT_EQ(counters.queueBlocks()->counterBlocks(), 18U);

  EXPECT_EQ(applied(device, counter("b", "add")),
            R"(intfQueueCounter of "s1", "E1", "b" has no room for its blocks in shared memory)");
  auto const directory = counters.slice("s1")->intfQueueCounterDir("E1");
  EXPECT_EQ(directory->intfQueueCounter("b"), nullptr);
  EXPECT_NE(directory->intfQueueCounter("a"), nullptr);
  EXPECT_EQ(counters.queueBlocks()->counterBlocks(), 25U) << "nothing frees a block";
  EXPECT_TRUE(counters.hasBlocks("E1", "a"));
  EXPECT_FALSE(counters.hasBlocks("E1", "b"));

  EXPECT_EQ(applied(device, counter("b", "del")), R"(intfQueueCounter of "s1", "E1", "b" is not there)");
  EXPECT_EQ(applied(device, counter("a", "del")), "");
  EXPECT_EQ(applied(device, counter("a", "add")), "") << "its blocks are there";
  EXPECT_NE(directory->intfQueueCounter("a"), nullptr);
}

TEST(Device, PrivateMemoryIsMadeWithTheFirstSlice) {
  // Too small for memory: only a slice needs it.
  VaroHost::Device device(nullptr, VaroHost::CounterMemory("", 1));
  EXPECT_EQ(device.queueCounters().interfaceBlocks(), nullptr);
  EXPECT_EQ(applied(device, R"("entity":"intfConfig","key":"E1","op":"add")"), "");
  EXPECT_THROW(applied(device, R"("entity":"slice","key":"s1","op":"add")"), Zon::Exception);
  EXPECT_EQ(device.queueCounters().slice("s1"), nullptr);
  EXPECT_EQ(device.queueCounters().interfaceBlocks(), nullptr);
  EXPECT_EQ(device.queueCounters().queueBlocks(), nullptr);
}

TEST(Device, WithoutThePluginsTypesSaysWhichIsMissing) {
  try {
    VaroHost::Module const module("VaroIntf::Nothing", "x");
    FAIL();
  } catch (VaroHost::Trouble const& trouble) {
    EXPECT_STREQ(trouble.what(), "the plug-in does not offer the type VaroIntf::Nothing");
  }
}

TEST(Device, AnObjectOfAnotherTypeIsNotTakenForTheWantedOne) {
  VaroHost::Module const agent("VaroIntf::Agent", "x");
  auto const directory = agent.child("allIntfDir");
  EXPECT_NE(VaroHost::Module::object<ConfigDir>(VaroHost::Module::get(directory, "config")), nullptr);
  try {
    VaroHost::Module::object<ConfigDir>(VaroHost::Module::get(directory, "status"));
    FAIL();
  } catch (VaroHost::Trouble const& trouble) {
    EXPECT_STREQ(trouble.what(), "the plug-in has no Interface::AllIntfConfigDir where one belongs");
  }
  EXPECT_THROW(VaroHost::Module::object<ConfigDir>(agent.child("allIntfReactor")), VaroHost::Trouble);
}

}  // namespace
