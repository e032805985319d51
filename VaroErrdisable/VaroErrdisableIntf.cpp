// The module's registration: its facility, its types in their fixed order, its static initialiser.

#include "VaroErrdisable/VaroErrdisableIntf.h"

#include "VaroErrdisable/Root.h"
#include "Zon/AttrTable.h"

namespace VaroErrdisable {

namespace {

constexpr Zon::TypeModule::Type types[] = {
    &IntfSM::_fwkType,
    &AllIntfSM::_fwkType,
    &Root::_fwkType,
};

}  // namespace

constinit Zon::TypeModule zonTypeModule(types);
constinit Zon::LazyTraceHandle const traceFacility("Errdisable");

namespace {

Zon::ModuleInitialiser const initialiser(zonTypeModule);

}  // namespace

bool _fwkRegistered() { return zonTypeModule.registered(); }

}  // namespace VaroErrdisable
