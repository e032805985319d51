#include "VaroErrdisable/AllIntfSM.h"

#include <ostream>
#include <utility>

#include "VaroErrdisable/VaroErrdisableIntf.h"
#include "Zon/AttrTable.h"

namespace VaroErrdisable {

Zon::Ptr<AllIntfSM> AllIntfSM::AllIntfSMIs(Zon::Ptr<Zon::ActivityConfig> const& activity,
                                           Zon::Ptr<Interface::AllIntfConfigDir> const& intfConfigDir,
                                           Zon::Ptr<Interface::AllIntfStatusDir const> const& intfStatusDir,
                                           Zon::Ptr<Errdisable::Status> const& errdisableStatus) {
  auto machine = Zon::validPtr(Zon::newPtr<AllIntfSM>(activity, intfConfigDir, intfStatusDir, errdisableStatus));
  machine->handleInitialized();
  machine->hasNotificationActiveIs(true);
  return machine;
}

AllIntfSM::AllIntfSM(Zon::Ptr<Zon::ActivityConfig> const& activity,
                     Zon::Ptr<Interface::AllIntfConfigDir> const& intfConfigDir,
                     Zon::Ptr<Interface::AllIntfStatusDir const> const& intfStatusDir,
                     Zon::Ptr<Errdisable::Status> const& errdisableStatus)
  : ReactorOf(activity) {
  if (intfConfigDir) {
    intfConfigDir_ = newIntfConfigDir(intfConfigDir);
  }
  if (intfStatusDir) {
    intfStatusDir_ = newIntfStatusDir(intfStatusDir);
  }
  if (errdisableStatus) {
    errdisableStatus_ = newErrdisableStatus(errdisableStatus);
  }
}

AllIntfSM::~AllIntfSM() { zonTearDown(); }

// ---------------------------------------------------------------------------------------------------------------
// Inputs

Zon::Ptr<Interface::AllIntfConfigDir> AllIntfSM::intfConfigDir() const { return zonNotifier(intfConfigDir_); }

void AllIntfSM::intfConfigDirIs(Zon::Ptr<Interface::AllIntfConfigDir> const& directory) {
  zonInputIs(&AllIntfSM::intfConfigDir_, directory, [this](auto const& dir) { return newIntfConfigDir(dir); });
}

Zon::Ptr<Interface::AllIntfConfigDir> AllIntfSM::intfConfigDirDel() { return zonInputDel(&AllIntfSM::intfConfigDir_); }

Zon::Ptr<AllIntfSM::ZonIntfConfigDir>
AllIntfSM::newIntfConfigDir(Zon::Ptr<Interface::AllIntfConfigDir> const& directory) {
  return zonNewInput<ZonIntfConfigDir>(directory);
}

Zon::Ptr<Interface::AllIntfStatusDir const> AllIntfSM::intfStatusDir() const { return zonNotifier(intfStatusDir_); }

void AllIntfSM::intfStatusDirIs(Zon::Ptr<Interface::AllIntfStatusDir const> const& directory) {
  zonInputIs(&AllIntfSM::intfStatusDir_, directory, [this](auto const& dir) { return newIntfStatusDir(dir); });
}

Zon::Ptr<Interface::AllIntfStatusDir const> AllIntfSM::intfStatusDirDel() {
  return zonInputDel(&AllIntfSM::intfStatusDir_);
}

Zon::Ptr<AllIntfSM::ZonIntfStatusDir>
AllIntfSM::newIntfStatusDir(Zon::Ptr<Interface::AllIntfStatusDir const> const& directory) {
  return zonNewInput<ZonIntfStatusDir>(directory);
}

Zon::Ptr<Errdisable::Status> AllIntfSM::errdisableStatus() const { return zonNotifier(errdisableStatus_); }

void AllIntfSM::errdisableStatusIs(Zon::Ptr<Errdisable::Status> const& status) {
  zonInputIs(&AllIntfSM::errdisableStatus_, status, [this](auto const& list) { return newErrdisableStatus(list); });
}

Zon::Ptr<Errdisable::Status> AllIntfSM::errdisableStatusDel() { return zonInputDel(&AllIntfSM::errdisableStatus_); }

Zon::Ptr<AllIntfSM::ZonErrdisableStatus> AllIntfSM::newErrdisableStatus(Zon::Ptr<Errdisable::Status> const& status) {
  return zonNewInput<ZonErrdisableStatus>(status);
}

void AllIntfSM::ZonIntfConfigDir::onIntfConfig(Orvet::IntfId intfId) {
  zonGate(std::move(intfId), [](AllIntfSM& machine, Orvet::IntfId const& key) { machine.handleIntf(key); });
}

void AllIntfSM::ZonIntfStatusDir::onIntfStatus(Orvet::IntfId intfId) {
  zonGate(std::move(intfId), [](AllIntfSM& machine, Orvet::IntfId const& key) { machine.handleIntf(key); });
}

void AllIntfSM::ZonErrdisableStatus::onErrdisabledIntf(Orvet::IntfId intfId) {
  zonGate(std::move(intfId), [](AllIntfSM& machine, Orvet::IntfId const& key) { machine.handleErrdisable(key); });
}

// ---------------------------------------------------------------------------------------------------------------
// Children

Zon::Ptr<IntfSM> AllIntfSM::intfSM(Orvet::IntfId const& intfId) { return intfSM_.member(intfId); }

Zon::Ptr<IntfSM const> AllIntfSM::intfSM(Orvet::IntfId const& intfId) const { return intfSM_.member(intfId); }

Zon::Ptr<IntfSM> AllIntfSM::intfSMIs(Zon::Ptr<Zon::ActivityConfig> const& activity, Orvet::IntfId const& intfId,
                                     Zon::Ptr<Errdisable::Status> const& errdisableStatus,
                                     Zon::Ptr<Interface::IntfConfig> const& intfConfig) {
  Zon::Ptr<AllIntfSM> const self(this);
  return Zon::findOrCreate(
      intfSM_, intfId, activity,
      [&](Orvet::IntfId const& key) { return IntfSM::IntfSMIs(activity, key, errdisableStatus, intfConfig); },
      Zon::ConstructorParameter<IntfSM, Errdisable::Status>{
          "errdisableStatus", errdisableStatus, [](IntfSM const& machine) { return machine.errdisableStatus(); }},
      Zon::ConstructorParameter<IntfSM, Interface::IntfConfig>{
          "intfConfig", intfConfig, [](IntfSM const& machine) { return machine.intfConfig(); }});
}

Zon::Ptr<IntfSM> AllIntfSM::newIntfSM(Zon::Ptr<Zon::ActivityConfig> const& activity, Orvet::IntfId const& intfId,
                                      Zon::Ptr<Errdisable::Status> const& errdisableStatus,
                                      Zon::Ptr<Interface::IntfConfig> const& intfConfig) {
  Zon::Ptr<AllIntfSM> const self(this);
  auto machine = IntfSM::IntfSMIs(activity, intfId, errdisableStatus, intfConfig);
  intfSM_.newMember(machine, IntfSMs::hashOf(intfId));
  return machine;
}

Zon::Ptr<IntfSM> AllIntfSM::intfSMDel(Orvet::IntfId const& intfId) { return intfSM_.memberDel(intfId); }
Zon::Ptr<IntfSM> AllIntfSM::intfSMDel(IntfSMIterator& at) { return intfSM_.memberDel(at); }
void AllIntfSM::intfSMDelAll() {
  Zon::Ptr<AllIntfSM> const self(this);
  intfSM_.memberDelAll();
}
AllIntfSM::IntfSMIterator AllIntfSM::intfSMIterator() { return IntfSMIterator(intfSM_); }
AllIntfSM::IntfSMIteratorConst AllIntfSM::intfSMIteratorConst() const { return IntfSMIteratorConst(intfSM_); }

// ---------------------------------------------------------------------------------------------------------------
// Reactions

void AllIntfSM::handleInitialized() {
  Zon::Ptr<AllIntfSM> const self(this);
  Zon::trace(traceFacility, 8, traceFile, 58, "handleInitialized",
             [](std::ostream& line) { line << "void VaroErrdisable::AllIntfSM::handleInitialized()"; });
  // Before the scan, so that the calls below do their work.
  initialized_ = true;
  if (Zon::Ptr<Interface::AllIntfConfigDir> const directory = intfConfigDir()) {
    for (auto config = directory->intfConfigIterator(); config; config.advance()) {
      handleIntf(config.key());
    }
  }
}

void AllIntfSM::handleIntf(Orvet::IntfId intfId) {
  Zon::Ptr<AllIntfSM> const self(this);
  Zon::trace(traceFacility, 7, traceFile, 69, "handleIntf", [&intfId](std::ostream& line) {
    line << "void VaroErrdisable::AllIntfSM::handleIntf(Orvet::IntfId)" << intfId;
  });
  if (!initialized_) {
    return;
  }
  auto const config = required(intfConfigDir(), "intfConfigDir")->intfConfig(intfId);
  if (!config) {
    intfSMDel(intfId);
    return;
  }
  // On no activity: what a child hears must take effect at once.
  Zon::Ptr<IntfSM> const machine = intfSMIs(nullptr, intfId, errdisableStatus(), config);
  machine->intfStatusIs(required(intfStatusDir(), "intfStatusDir")->intfStatus(intfId));
  machine->handleStateChange();
}

void AllIntfSM::handleErrdisable(Orvet::IntfId intfId) {
  Zon::Ptr<AllIntfSM> const self(this);
  Zon::trace(traceFacility, 7, traceFile, 88, "handleErrdisable", [&intfId](std::ostream& line) {
    line << "void VaroErrdisable::AllIntfSM::handleErrdisable(Orvet::IntfId)" << intfId;
  });
  if (!initialized_) {
    return;
  }
  if (!required(intfConfigDir(), "intfConfigDir")->intfConfig(intfId)) {
    return;
  }
  Zon::Ptr<IntfSM> const machine = intfSM(intfId);
  if (!machine) {
    Zon::assertFailed("intfSm", traceFile, 99, "void VaroErrdisable::AllIntfSM::handleErrdisable(Orvet::IntfId)");
  }
  machine->handleStateChange();
}

// The class as types and generic code see it.

namespace {

constexpr auto attributes =
    Zon::attributes(Zon::activityAttr<AllIntfSM>(),
                    Zon::inputAttr("intfConfigDir", 130, &AllIntfSM::intfConfigDir, &AllIntfSM::intfConfigDirIs,
                                   &AllIntfSM::intfConfigDirDel),
                    Zon::inputAttr("intfStatusDir", 131, &AllIntfSM::intfStatusDir, &AllIntfSM::intfStatusDirIs,
                                   &AllIntfSM::intfStatusDirDel),
                    Zon::inputAttr("errdisableStatus", 132, &AllIntfSM::errdisableStatus,
                                   &AllIntfSM::errdisableStatusIs, &AllIntfSM::errdisableStatusDel),
                    Zon::collectionAttr<AllIntfSM::IntfSMIterator>(
                        "intfSM", 133, Zon::parameters("zonFwkActivity", "intfId", "errdisableStatus", "intfConfig"),
                        &AllIntfSM::intfSM, &AllIntfSM::intfSMIs, &AllIntfSM::intfSMDel, &AllIntfSM::intfSMDel,
                        &AllIntfSM::intfSMDelAll, &AllIntfSM::intfSMIterator),
                    Zon::functionAttr("handleErrdisable", 134, "id", &AllIntfSM::handleErrdisable),
                    Zon::functionAttr("handleIntf", 136, "id", &AllIntfSM::handleIntf),
                    Zon::valueAttr("initialized", 139, &AllIntfSM::initialized, &AllIntfSM::initializedIs),
                    Zon::functionAttr("handleInitialized", 140, &AllIntfSM::handleInitialized),
                    Zon::activeSwitchAttr<AllIntfSM>(), Zon::zombieSwitchAttr<AllIntfSM>());
constexpr auto creation =
    Zon::creator(&AllIntfSM::AllIntfSMIs, "zonFwkActivity", "intfConfigDir", "intfStatusDir", "errdisableStatus");
constinit Zon::TypeSlot slot =
    Zon::typeSlot<AllIntfSM>(zonTypeModule, "VaroErrdisable::AllIntfSM", &Zon::PtrInterface::_fwkType, attributes)
        .constructedBy(creation);

}  // namespace

Zon::ZonType* AllIntfSM::_fwkType() { return slot.node(); }
Zon::ZonType* AllIntfSM::fwkType() const { return slot.node(); }
bool AllIntfSM::_fwkTypeRegistered() { return slot.registered(); }

}  // namespace VaroErrdisable
