// The module's registration: its facility, its types in their fixed order, its static initialiser.

#include "VaroErrdisable/VaroErrdisableIntf.h"

#include <ios>

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

std::ios_base::Init const streams;
Zon::TraceHandle const rootFacility("RootPathBase::Zon", false);
[[maybe_unused]] bool const isRegistered = zonTypeModule.registerTypes();

}  // namespace

bool _fwkRegistered() { return zonTypeModule.registered(); }

}  // namespace VaroErrdisable
