#include "VaroIntf/IntfStatusReactor.h"

#include <algorithm>

#include "VaroIntf/VaroIntf.h"
#include "Zon/AttrTable.h"
#include "Zon/Quietly.h"

namespace VaroIntf {

namespace {

/// The forwarding model without inputs, and the highest that inputs can ask for.
constexpr std::int32_t forwardingModelCeiling = 5;

}  // namespace

IntfStatusReactor::IntfStatusReactor(Zon::Ptr<Interface::IntfStatus> const& intfStatus)
  : intfId_(intfStatus ? intfStatus->intfId() : Orvet::IntfId()) {
  zonBind(intfStatus.ptr());
  handleForwardingModelInputs();
  isRegisteredNotifieeIs(true);
}

IntfStatusReactor::~IntfStatusReactor() {
  Zon::quietly([this] { zonDoZombieReactors(true); });
}

void IntfStatusReactor::notifierIs(Zon::Ptr<Zon::PtrInterface const> const& notifier) {
  zonRebind(notifier, [this] { handleUnlessZombie(); });
}

void IntfStatusReactor::handleNotification(Zon::ActivityConfig* activity) { Zon::handleUngated(*this, activity); }

void IntfStatusReactor::onForwardingModelInputs(Zon::String8) { handleUnlessZombie(); }

void IntfStatusReactor::onForwardingModelInputszonImmediate() { handleUnlessZombie(); }

void IntfStatusReactor::handleUnlessZombie() {
  if (!zonMarkedForDeletion()) {
    handleForwardingModelInputs();
  }
}

void IntfStatusReactor::handleForwardingModelInputs() {
  Zon::Ptr<Interface::IntfStatus> const status = intfStatus();
  if (!status) {
    return;
  }
  std::int32_t model = forwardingModelCeiling;
  for (auto input = status->forwardingModelInputsIterator(); input; input.advance()) {
    model = std::min(model, input.value());
  }
  // Last: a watcher of the write may recompute, and that newer result stands.
  status->forwardingModelIs(model);
}

// The class as types and generic code see it.

namespace {

constexpr auto attributes = Zon::attributes(
    Zon::activityAttr<IntfStatusReactor>(),
    Zon::valueAttr("intfStatus", 262, &IntfStatusReactor::intfStatus, &IntfStatusReactor::intfStatusIs),
    Zon::valueAttr("intfId", 264, &IntfStatusReactor::intfId),
    Zon::functionAttr("handleForwardingModelInputs", 265, &IntfStatusReactor::handleForwardingModelInputs),
    Zon::keyAttr<IntfStatusReactor>(), Zon::activeSwitchAttr<IntfStatusReactor>(),
    Zon::zombieSwitchAttr<IntfStatusReactor>());
constexpr auto creation = Zon::constructor<Zon::Ptr<Interface::IntfStatus>>("intfStatus");
constinit Zon::TypeSlot slot =
    Zon::typeSlot<IntfStatusReactor>(zonTypeModule, "VaroIntf::IntfStatusReactor",
                                     &Interface::IntfStatus::NotifieeConst::_fwkType, attributes)
        .constructedBy(creation);

}  // namespace

Zon::ZonType* IntfStatusReactor::_fwkType() { return slot.node(); }
Zon::ZonType* IntfStatusReactor::fwkType() const { return slot.node(); }
bool IntfStatusReactor::_fwkTypeRegistered() { return slot.registered(); }

}  // namespace VaroIntf
