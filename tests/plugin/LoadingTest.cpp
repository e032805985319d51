// What loading the libraries leaves behind, and that loading them again adds nothing.

#include <vector>

#include <dlfcn.h>
#include <elf.h>
#include <gtest/gtest.h>
#include <link.h>

#include "VaroErrdisable/Root.h"
#include "VaroIntf/Agent.h"
#include "Zon/Trace.h"
#include "Zon/ZonType.h"

namespace {

// Asked by static initialisers: the libraries are loaded, and no test has run yet.
bool const rootFacilityAtLoad = Zon::TraceHandle::exists("RootPathBase::Zon");
bool const intfFacilityAtLoad = Zon::TraceHandle::exists("VaroIntf");
bool const errdisableFacilityAtLoad = Zon::TraceHandle::exists("Errdisable");
bool const runtimeFacilityAtLoad = Zon::TraceHandle::exists("Zon");

TEST(Loading, MakesTheRootPathsFacilityAloneAndLeavesItOff) {
  EXPECT_TRUE(rootFacilityAtLoad);
  EXPECT_FALSE(intfFacilityAtLoad);
  EXPECT_FALSE(errdisableFacilityAtLoad);
  EXPECT_FALSE(runtimeFacilityAtLoad);
  EXPECT_FALSE(Zon::TraceHandle("RootPathBase::Zon", true).enabled());
}

TEST(Loading, SetsTheFlagOfEveryTypeAndOfBothModules) {
  EXPECT_TRUE(VaroIntf::IntfStatusReactor::_fwkTypeRegistered());
  EXPECT_TRUE(VaroIntf::AllIntfStatusDirSm::_fwkTypeRegistered());
  EXPECT_TRUE(VaroIntf::AllIntfDir::_fwkTypeRegistered());
  EXPECT_TRUE(VaroIntf::AllIntfReactor::_fwkTypeRegistered());
  EXPECT_TRUE(VaroIntf::AllIntfQueueCounterSliceIntfCounterReactor::_fwkTypeRegistered());
  EXPECT_TRUE(VaroIntf::AllIntfQueueCounterSliceReactor::_fwkTypeRegistered());
  EXPECT_TRUE(VaroIntf::AllIntfQueueCounterReactor::_fwkTypeRegistered());
  EXPECT_TRUE(VaroIntf::Agent::_fwkTypeRegistered());
  EXPECT_TRUE(VaroErrdisable::IntfSM::_fwkTypeRegistered());
  EXPECT_TRUE(VaroErrdisable::AllIntfSM::_fwkTypeRegistered());
  EXPECT_TRUE(VaroErrdisable::Root::_fwkTypeRegistered());
  EXPECT_TRUE(Errdisable::Status::_fwkTypeRegistered());
  EXPECT_TRUE(Interface::AllIntfConfigDir::_fwkTypeRegistered());
  EXPECT_TRUE(Interface::AllIntfStatusDir::_fwkTypeRegistered());
  EXPECT_TRUE(Interface::AllIntfQueueCounterDir::_fwkTypeRegistered());
  EXPECT_TRUE(Interface::AllIntfQueueCounterPtrDir::_fwkTypeRegistered());
  EXPECT_TRUE(Interface::IntfConfig::_fwkTypeRegistered());
  EXPECT_TRUE(Interface::IntfStatus::_fwkTypeRegistered());
  EXPECT_TRUE(Interface::IntfQueueCounter::_fwkTypeRegistered());
  EXPECT_TRUE(Interface::IntfQueueCounterDir::_fwkTypeRegistered());
  EXPECT_TRUE(VaroIntf::_fwkRegistered());
  EXPECT_TRUE(VaroErrdisable::_fwkRegistered());
}

TEST(Loading, ASecondTimeRegistersNothingTwice) {
  auto const before = Zon::ZonType::typeNodes();
  unsigned const attributes = VaroIntf::Agent::_fwkType()->attributeQs();
  void* const again = dlopen(VARO_LIBVARO_FILE, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(again, nullptr);
  EXPECT_TRUE(Zon::ZonType::typeNodes() == before);
  EXPECT_EQ(VaroIntf::Agent::_fwkType()->attributeQs(), attributes);
  dlclose(again);
  EXPECT_TRUE(Zon::ZonType::typeNodes() == before);
}

/// Whether a library asks the loader never to unload it.
bool isNeverUnloaded(char const* file) {
  void* const library = dlopen(file, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) return false;
  bool found = false;
  link_map* map = nullptr;
  if (dlinfo(library, RTLD_DI_LINKMAP, &map) == 0) {
    for (ElfW(Dyn) const* entry = map->l_ld; entry->d_tag != DT_NULL; ++entry) {
      if (entry->d_tag == DT_FLAGS_1 && (entry->d_un.d_val & DF_1_NODELETE) != 0) found = true;
    }
  }
  dlclose(library);
  return found;
}

TEST(Loading, TheLibrariesStayToTheEndOfTheProcess) {
  EXPECT_TRUE(isNeverUnloaded(VARO_LIBZON_FILE));
  EXPECT_TRUE(isNeverUnloaded(VARO_LIBPLATFORM_FILE));
  EXPECT_TRUE(isNeverUnloaded(VARO_LIBVARO_FILE));
}

}  // namespace
