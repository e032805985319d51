#include "VaroErrdisable/Root.h"

#include <utility>

#include "VaroErrdisable/VaroErrdisableIntf.h"
#include "Zon/AttrTable.h"
#include "Zon/ChildReactor.h"
#include "Zon/Quietly.h"
#include "Zon/ValidPtr.h"

namespace VaroErrdisable {

Root::Root(Zon::Name name) : Entity(std::move(name)) {}

Root::~Root() {
  Zon::quietly([this] { allIntfSMDel(); });
}

void Root::isNondestructingIs(bool nondestructing) { PtrInterface::isNondestructingIs(nondestructing); }

Zon::Ptr<AllIntfSM> Root::allIntfSMIs(Zon::Ptr<Zon::ActivityConfig> const& activity,
                                      Zon::Ptr<Interface::AllIntfConfigDir> const& intfConfigDir,
                                      Zon::Ptr<Interface::AllIntfStatusDir const> const& intfStatusDir,
                                      Zon::Ptr<Errdisable::Status> const& errdisableStatus) {
  Zon::Ptr<Root> const self(this);
  return Zon::replaceReactor(
      allIntfSM_, activity,
      [&](AllIntfSM const& held) {
        return held.intfConfigDir() == intfConfigDir && held.intfStatusDir() == intfStatusDir &&
               held.errdisableStatus() == errdisableStatus;
      },
      [&] { return newAllIntfSM(activity, intfConfigDir, intfStatusDir, errdisableStatus); });
}

Zon::Ptr<AllIntfSM> Root::newAllIntfSM(Zon::Ptr<Zon::ActivityConfig> const& activity,
                                       Zon::Ptr<Interface::AllIntfConfigDir> const& intfConfigDir,
                                       Zon::Ptr<Interface::AllIntfStatusDir const> const& intfStatusDir,
                                       Zon::Ptr<Errdisable::Status> const& errdisableStatus) {
  return Zon::validPtr(AllIntfSM::AllIntfSMIs(activity, intfConfigDir, intfStatusDir, errdisableStatus));
}

Zon::Ptr<AllIntfSM> Root::allIntfSMDel() { return Zon::takeReactor(allIntfSM_); }

Zon::Ptr<Root> rootFactory(Zon::Name name) { return Zon::validPtr(Zon::newPtr<Root>(std::move(name))); }

Zon::Ptr<IntfSM> intfSMFactory(Zon::Ptr<Zon::ActivityConfig> const& activity, Orvet::IntfId intfId,
                               Zon::Ptr<Errdisable::Status> const& errdisableStatus,
                               Zon::Ptr<Interface::IntfConfig> const& intfConfig) {
  return IntfSM::IntfSMIs(activity, std::move(intfId), errdisableStatus, intfConfig);
}

// The class as types and generic code see it.

namespace {

constexpr auto attributes = Zon::attributes(
    Zon::isNondestructingAttr(),
    Zon::childAttr("allIntfSM", 258,
                   Zon::parameters("zonFwkActivity", "intfConfigDir", "intfStatusDir", "errdisableStatus"),
                   &Root::allIntfSM, &Root::allIntfSMIs, &Root::allIntfSMDel));
constexpr auto creation = Zon::creator(&rootFactory, "name");
constinit Zon::TypeSlot slot =
    Zon::typeSlot<Root>(zonTypeModule, "VaroErrdisable::Root", &Zon::Entity::_fwkType, attributes)
        .constructible<creation>();

}  // namespace

Zon::ZonType* Root::_fwkType() { return slot.node(); }
Zon::ZonType* Root::fwkType() const { return slot.node(); }
bool Root::_fwkTypeRegistered() { return slot.registered(); }
Zon::String8 Root::attributeString(Zon::AttributeId id) const { return slot.attributeString(id); }

}  // namespace VaroErrdisable
