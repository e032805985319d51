#include "VaroErrdisable/IntfSM.h"

#include <ostream>
#include <utility>

#include "VaroErrdisable/VaroErrdisableIntf.h"
#include "Zon/AttrTable.h"

namespace VaroErrdisable {

namespace {

// Made once, so that a reason that is already there is recognised by its data; never destroyed, so that evaluations work
// to the end of the process.
Zon::String8 const& inactive() {
  static auto const& reason = *new Zon::String8("inactive");
  return reason;
}

Zon::String8 const& admin() {
  static auto const& reason = *new Zon::String8("admin");
  return reason;
}

constexpr auto evaluate = [](IntfSM& machine) { machine.handleStateChange(); };

}  // namespace

Zon::Ptr<IntfSM> IntfSM::IntfSMIs(Zon::Ptr<Zon::ActivityConfig> const& activity, Orvet::IntfId intfId,
                                  Zon::Ptr<Errdisable::Status> const& errdisableStatus,
                                  Zon::Ptr<Interface::IntfConfig> const& intfConfig) {
  auto machine = Zon::validPtr(Zon::newPtr<IntfSM>(activity, std::move(intfId), errdisableStatus, intfConfig));
  machine->handleInitialized();
  machine->hasNotificationActiveIs(true);
  return machine;
}

IntfSM::IntfSM(Zon::Ptr<Zon::ActivityConfig> const& activity, Orvet::IntfId intfId,
               Zon::Ptr<Errdisable::Status> const& errdisableStatus, Zon::Ptr<Interface::IntfConfig> const& intfConfig)
  : ReactorOf(activity), intfId_(std::move(intfId)), errdisableStatus_(errdisableStatus) {
  if (intfConfig) {
    intfConfig_ = newIntfConfig(intfConfig);
  }
}

IntfSM::~IntfSM() {
  zonTearDown();
  // Before the members: as a base the link would go after them.
  fwkHmNextIs(nullptr);
}

Zon::Ptr<Interface::IntfConfig> IntfSM::intfConfig() const { return zonNotifier(intfConfig_); }

void IntfSM::intfConfigIs(Zon::Ptr<Interface::IntfConfig> const& intfConfig) {
  zonInputIs(&IntfSM::intfConfig_, intfConfig, [this](auto const& config) { return newIntfConfig(config); });
}

Zon::Ptr<Interface::IntfConfig> IntfSM::intfConfigDel() { return zonInputDel(&IntfSM::intfConfig_); }

Zon::Ptr<IntfSM::ZonIntfConfig> IntfSM::newIntfConfig(Zon::Ptr<Interface::IntfConfig> const& intfConfig) {
  return zonNewInput<ZonIntfConfig>(intfConfig);
}

Zon::Ptr<Interface::IntfStatus const> IntfSM::intfStatus() const { return zonNotifier(intfStatus_); }

void IntfSM::intfStatusIs(Zon::Ptr<Interface::IntfStatus const> const& intfStatus) {
  zonInputIs(&IntfSM::intfStatus_, intfStatus, [this](auto const& status) { return newIntfStatus(status); });
}

Zon::Ptr<Interface::IntfStatus const> IntfSM::intfStatusDel() { return zonInputDel(&IntfSM::intfStatus_); }

Zon::Ptr<IntfSM::ZonIntfStatus> IntfSM::newIntfStatus(Zon::Ptr<Interface::IntfStatus const> const& intfStatus) {
  return zonNewInput<ZonIntfStatus>(intfStatus);
}

void IntfSM::handleInitialized() {
  Zon::Hold const held(*this);
  Zon::trace(traceFacility, 8, traceFile, 11, "handleInitialized", [this](std::ostream& line) {
    line << "void VaroErrdisable::IntfSM::handleInitialized()" << required(intfConfig(), "intfConfig")->intfId();
  });
  initialized_ = true;
}

void IntfSM::handleStateChange() {
  if (!initialized_) {
    return;
  }
  Zon::Hold const held(*this);
  Zon::trace(traceFacility, 7, traceFile, 21, "handleStateChange",
             [this](std::ostream& line) { writeStateChange(line); });

  using Interface::IntfEnabledState;
  // The first write calls watchers, which may replace or drop any input, and this machine: everything that is needed
  // is read before it, and the configuration is held.
  Interface::IntfConfig* const config =
      required(required(intfConfig_.ptr(), "intfConfig")->zonTypedNotifier(), "intfConfig");
  Zon::Hold const configHeld(*config);
  Interface::IntfStatus const* const status = zonWatched(intfStatus_);
  if (status != nullptr && !status->active()) {
    config->enabledStateLocalIs(IntfEnabledState::disabled);
    config->enabledStateReasonIs(inactive());
    return;
  }
  Errdisable::Status* const errdisabled = required(errdisableStatus_.ptr(), "errdisableStatus");
  if (auto const entry = errdisabled->errdisabledIntf(config->intfId())) {
    Zon::String8 reason = entry->value();
    config->enabledStateLocalIs(IntfEnabledState::disabled);
    config->enabledStateReasonIs(std::move(reason));
    return;
  }
  IntfEnabledState state = config->adminEnabledStateEffective();
  if (state == IntfEnabledState::unset && config->enabledStateLocal() != IntfEnabledState::unset) {
    // Nobody set a state, but an earlier decision left one: it follows the administrative switch.
    state = config->adminEnabled() ? IntfEnabledState::enabled : IntfEnabledState::disabled;
  }
  config->enabledStateLocalIs(state);
  // Asked again: a watcher of the state may have changed the administrative setting.
  config->enabledStateReasonIs(config->adminEnabled() ? Zon::String8() : admin());
}

void IntfSM::writeStateChange(std::ostream& line) const {
  auto const config = Zon::Ptr(required(zonWatched(intfConfig_), "intfConfig"));
  auto const status = intfStatus();
  line << "void VaroErrdisable::IntfSM::handleStateChange()" << config->intfId()
       << ": adminEnabled=" << config->adminEnabledStateLocal() << " enabledStateLocal=" << config->enabledStateLocal()
       << " intfStatus=" << (status ? "Valid" : "None") << " active=" << (status && status->active() ? 1 : 0);
}

// A different configuration or status is a reason to evaluate; the first one, bound at construction, is not.

void IntfSM::ZonIntfConfig::notifierIs(Zon::Ptr<Zon::PtrInterface const> const& notifier) {
  zonRebind(notifier, [this] { zonAct(evaluate); });
}

void IntfSM::ZonIntfConfig::onAdminEnabledStateLocal() { zonGate(evaluate); }

void IntfSM::ZonIntfStatus::notifierIs(Zon::Ptr<Zon::PtrInterface const> const& notifier) {
  zonRebind(notifier, [this] { zonAct(evaluate); });
}

void IntfSM::ZonIntfStatus::onActive() { zonGate(evaluate); }

// The class as types and generic code see it.

namespace {

constexpr auto attributes = Zon::attributes(
    Zon::activityAttr<IntfSM>(), Zon::valueAttr("intfId", 130, &IntfSM::intfId),
    Zon::valueAttr("errdisableStatus", 131, &IntfSM::errdisableStatus),
    Zon::inputAttr("intfConfig", 132, &IntfSM::intfConfig, &IntfSM::intfConfigIs, &IntfSM::intfConfigDel),
    Zon::inputAttr("intfStatus", 133, &IntfSM::intfStatus, &IntfSM::intfStatusIs, &IntfSM::intfStatusDel),
    Zon::functionAttr("handleStateChange", 134, &IntfSM::handleStateChange),
    Zon::valueAttr("initialized", 135, &IntfSM::initialized, &IntfSM::initializedIs),
    Zon::functionAttr("handleInitialized", 136, &IntfSM::handleInitialized), Zon::keyAttr<IntfSM>(),
    Zon::activeSwitchAttr<IntfSM>(), Zon::zombieSwitchAttr<IntfSM>());
constexpr auto creation = Zon::creator(&IntfSM::IntfSMIs, "zonFwkActivity", "intfId", "errdisableStatus", "intfConfig");
constinit Zon::TypeSlot slot =
    Zon::typeSlot<IntfSM>(zonTypeModule, "VaroErrdisable::IntfSM", &Zon::PtrInterface::_fwkType, attributes)
        .constructible<creation>();

}  // namespace

Zon::ZonType* IntfSM::_fwkType() { return slot.node(); }
Zon::ZonType* IntfSM::fwkType() const { return slot.node(); }
bool IntfSM::_fwkTypeRegistered() { return slot.registered(); }

}  // namespace VaroErrdisable
