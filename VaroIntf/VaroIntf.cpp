// The module's registration: its facility, its types in their fixed order, its static initialiser.

#include "VaroIntf/VaroIntf.h"

#include "VaroIntf/Agent.h"
#include "Zon/AttrTable.h"

namespace VaroIntf {

namespace {

constexpr Zon::TypeModule::Type types[] = {
    &IntfStatusReactor::_fwkType,
    &AllIntfStatusDirSm::_fwkType,
    &AllIntfDir::_fwkType,
    &AllIntfReactor::_fwkType,
    &AllIntfQueueCounterSliceIntfCounterReactor::_fwkType,
    &AllIntfQueueCounterSliceReactor::_fwkType,
    &AllIntfQueueCounterReactor::_fwkType,
    &Agent::_fwkType,
};

}  // namespace

constinit Zon::TypeModule zonTypeModule(types);
constinit Zon::LazyTraceHandle const traceFacility("VaroIntf");

namespace {

Zon::ModuleInitialiser const initialiser(zonTypeModule);

}  // namespace

bool _fwkRegistered() { return zonTypeModule.registered(); }

}  // namespace VaroIntf
