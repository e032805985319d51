#include "VaroIntf/AllIntfStatusDirSm.h"

#include <utility>

#include "VaroIntf/VaroIntf.h"
#include "Zon/AttrTable.h"

namespace VaroIntf {

Zon::Ptr<AllIntfStatusDirSm>
AllIntfStatusDirSm::AllIntfStatusDirSmIs(Zon::Ptr<Zon::ActivityConfig> const& activity,
                                         Zon::Ptr<Interface::AllIntfStatusDir> const& directory) {
  auto machine = Zon::validPtr(Zon::newPtr<AllIntfStatusDirSm>(activity, directory));
  machine->handleIntfStatus();
  machine->hasNotificationActiveIs(true);
  return machine;
}

AllIntfStatusDirSm::AllIntfStatusDirSm(Zon::Ptr<Zon::ActivityConfig> const& activity,
                                       Zon::Ptr<Interface::AllIntfStatusDir> const& directory)
  : ReactorOf(activity) {
  if (directory) {
    allIntfStatusDir_ = newAllIntfStatusDir(directory);
  }
}

AllIntfStatusDirSm::~AllIntfStatusDirSm() { zonTearDown(); }

Zon::Ptr<Interface::AllIntfStatusDir> AllIntfStatusDirSm::allIntfStatusDir() const {
  return zonNotifier(allIntfStatusDir_);
}

void AllIntfStatusDirSm::allIntfStatusDirIs(Zon::Ptr<Interface::AllIntfStatusDir> const& directory) {
  zonInputIs(&AllIntfStatusDirSm::allIntfStatusDir_, directory,
             [this](auto const& dir) { return newAllIntfStatusDir(dir); });
}

Zon::Ptr<Interface::AllIntfStatusDir> AllIntfStatusDirSm::allIntfStatusDirDel() {
  return zonInputDel(&AllIntfStatusDirSm::allIntfStatusDir_);
}

Zon::Ptr<AllIntfStatusDirSm::ZonAllIntfStatusDir>
AllIntfStatusDirSm::newAllIntfStatusDir(Zon::Ptr<Interface::AllIntfStatusDir> const& directory) {
  return zonNewInput<ZonAllIntfStatusDir>(directory);
}

void AllIntfStatusDirSm::ZonAllIntfStatusDir::onIntfStatus(Orvet::IntfId intfId) {
  zonGate(std::move(intfId),
          [](AllIntfStatusDirSm& machine, Orvet::IntfId const& key) { machine.handleIntfStatus(key); });
}

Zon::Ptr<IntfStatusReactor> AllIntfStatusDirSm::intfStatusReactor(Orvet::IntfId const& intfId) {
  return intfStatusReactor_.member(intfId);
}

Zon::Ptr<IntfStatusReactor const> AllIntfStatusDirSm::intfStatusReactor(Orvet::IntfId const& intfId) const {
  return intfStatusReactor_.member(intfId);
}

Zon::Ptr<IntfStatusReactor> AllIntfStatusDirSm::intfStatusReactorIs(Zon::Ptr<Interface::IntfStatus> const& intfStatus) {
  Zon::Ptr<AllIntfStatusDirSm> const self(this);
  return Zon::findOrMake(
      intfStatusReactor_, Zon::validPtr(intfStatus)->intfId(),
      [&](Orvet::IntfId const&) { return Zon::newPtr<IntfStatusReactor>(intfStatus); },
      [&](IntfStatusReactor& found) { found.notifierIs(intfStatus); }, [](IntfStatusReactor const&) {});
}

Zon::Ptr<IntfStatusReactor>
AllIntfStatusDirSm::newIntfStatusReactor(Zon::Ptr<Interface::IntfStatus> const& intfStatus) {
  Zon::Ptr<AllIntfStatusDirSm> const self(this);
  auto reactor = Zon::newPtr<IntfStatusReactor>(Zon::validPtr(intfStatus));
  intfStatusReactor_.newMember(reactor, IntfStatusReactors::hashOf(reactor->intfId()));
  return reactor;
}

Zon::Ptr<IntfStatusReactor> AllIntfStatusDirSm::intfStatusReactorDel(Orvet::IntfId const& intfId) {
  return intfStatusReactor_.memberDel(intfId);
}

Zon::Ptr<IntfStatusReactor> AllIntfStatusDirSm::intfStatusReactorDel(IntfStatusReactorIterator& at) {
  return intfStatusReactor_.memberDel(at);
}

void AllIntfStatusDirSm::intfStatusReactorDelAll() {
  Zon::Ptr<AllIntfStatusDirSm> const self(this);
  intfStatusReactor_.memberDelAll();
}

AllIntfStatusDirSm::IntfStatusReactorIterator AllIntfStatusDirSm::intfStatusReactorIterator() {
  return IntfStatusReactorIterator(intfStatusReactor_);
}

AllIntfStatusDirSm::IntfStatusReactorIteratorConst AllIntfStatusDirSm::intfStatusReactorIteratorConst() const {
  return IntfStatusReactorIteratorConst(intfStatusReactor_);
}

void AllIntfStatusDirSm::handleIntfStatus(Orvet::IntfId intfId) {
  Zon::Ptr<AllIntfStatusDirSm> const self(this);
  Zon::Ptr<Interface::AllIntfStatusDir> const directory = allIntfStatusDir();
  if (auto const status = directory ? directory->intfStatus(intfId) : nullptr) {
    intfStatusReactorIs(status);
  } else {
    Zon::retire(intfStatusReactorDel(intfId));
  }
}

void AllIntfStatusDirSm::handleIntfStatus() {
  Zon::Ptr<AllIntfStatusDirSm> const self(this);
  if (Zon::Ptr<Interface::AllIntfStatusDir> const directory = allIntfStatusDir()) {
    for (auto status = directory->intfStatusIterator(); status; status.advance()) {
      handleIntfStatus(status.key());
    }
  }
}

// The class as types and generic code see it.

namespace {

constexpr auto attributes =
    Zon::attributes(Zon::activityAttr<AllIntfStatusDirSm>(),
                    Zon::inputAttr("allIntfStatusDir", 130, &AllIntfStatusDirSm::allIntfStatusDir,
                                   &AllIntfStatusDirSm::allIntfStatusDirIs, &AllIntfStatusDirSm::allIntfStatusDirDel),
                    Zon::collectionAttr<AllIntfStatusDirSm::IntfStatusReactorIterator>(
                        "intfStatusReactor", 131, Zon::parameters("intfStatus"), &AllIntfStatusDirSm::intfStatusReactor,
                        &AllIntfStatusDirSm::intfStatusReactorIs, &AllIntfStatusDirSm::intfStatusReactorDel,
                        &AllIntfStatusDirSm::intfStatusReactorDel, &AllIntfStatusDirSm::intfStatusReactorDelAll,
                        &AllIntfStatusDirSm::intfStatusReactorIterator),
                    Zon::functionAttr("handleIntfStatus", 132, "id", &AllIntfStatusDirSm::handleIntfStatus,
                                      &AllIntfStatusDirSm::handleIntfStatus),
                    Zon::activeSwitchAttr<AllIntfStatusDirSm>(), Zon::zombieSwitchAttr<AllIntfStatusDirSm>());
constexpr auto creation = Zon::creator(&AllIntfStatusDirSm::AllIntfStatusDirSmIs, "zonFwkActivity", "allIntfStatusDir");
constinit Zon::TypeSlot slot = Zon::typeSlot<AllIntfStatusDirSm>(zonTypeModule, "VaroIntf::AllIntfStatusDirSm",
                                                                 &Zon::PtrInterface::_fwkType, attributes)
                                   .constructedBy(creation);

}  // namespace

Zon::ZonType* AllIntfStatusDirSm::_fwkType() { return slot.node(); }
Zon::ZonType* AllIntfStatusDirSm::fwkType() const { return slot.node(); }
bool AllIntfStatusDirSm::_fwkTypeRegistered() { return slot.registered(); }

}  // namespace VaroIntf
