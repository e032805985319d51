#include "model/LibraryHandlers.h"

#include "model/SharedOut.h"

namespace Model {

void LibraryHandlers::apply(Operation const& operation) { shareOutHandlers(*this, operation); }

void LibraryHandlers::applyToMirror(Operation const& operation) {
  auto const& a = operation.argument;
  auto const mirror = library_.mirror(a[1]);
  if (!mirror) return;
  bool const isConfig = a[0] == configHalf;
  if (operation.kind == Kind::mirrorInput) {
    if (isConfig) {
      mirror->configInIs(library_.configDirectory(a[2]));
    } else {
      mirror->statusInIs(library_.statusDirectory(a[2]));
    }
  } else if (isConfig) {
    mirror->configInDel();
  } else {
    mirror->statusInDel();
  }
}

void LibraryHandlers::applyToStatusMachine(Operation const& operation) {
  auto const& a = operation.argument;
  auto const machine = library_.statusMachine(a[0]);
  if (!machine) return;
  auto const reactor = [&] { return machine->intfStatusReactor(interfaceId(a[1])); };
  switch (operation.kind) {
  case Kind::statusesInput:
    machine->allIntfStatusDirIs(library_.statusDirectory(a[1]));
    break;
  case Kind::statusesInputDel:
    machine->allIntfStatusDirDel();
    break;
  case Kind::statusesHandle:
    machine->handleIntfStatus(interfaceId(a[1]));
    break;
  case Kind::statusesSweep:
    machine->handleIntfStatus();
    break;
  case Kind::statusesReactorIs:
    machine->intfStatusReactorIs(library_.statuses[at(a[1])][at(a[2])]);
    break;
  case Kind::statusesReactorDel:
    machine->intfStatusReactorDel(interfaceId(a[1]));
    break;
  case Kind::statusesReactorDelAll:
    machine->intfStatusReactorDelAll();
    break;
  case Kind::statusesReactorSwitch:
    if (auto const child = reactor()) child->hasNotificationActiveIs(a[2] != 0);
    break;
  default:
    if (auto const child = reactor()) child->zonDoZombieReactors(a[2] != 0);
  }
}

void LibraryHandlers::machineInputIs(VaroErrdisable::AllIntfSM& machine, int input, int reach) {
  switch (input) {
  case 0:
    machine.intfConfigDirIs(library_.configDirectory(reach));
    break;
  case 1:
    machine.intfStatusDirIs(library_.statusDirectory(reach));
    break;
  default:
    machine.errdisableStatusIs(reach < 2 ? library_.lists[at(reach)] : nullptr);
  }
}

void LibraryHandlers::applyToMachine(Operation const& operation) {
  auto const& a = operation.argument;
  auto const machine = library_.machine(a[0]);
  if (!machine) return;
  switch (operation.kind) {
  case Kind::machineInput:
    machineInputIs(*machine, a[1], a[2]);
    break;
  case Kind::machineInputDel:
    if (a[1] == 0) {
      machine->intfConfigDirDel();
    } else if (a[1] == 1) {
      machine->intfStatusDirDel();
    } else {
      machine->errdisableStatusDel();
    }
    break;
  case Kind::machineHandleIntf:
    machine->handleIntf(interfaceId(a[1]));
    break;
  case Kind::machineHandleErrdisable:
    machine->handleErrdisable(interfaceId(a[1]));
    break;
  case Kind::machineHandleInitialized:
    machine->handleInitialized();
    break;
  case Kind::machineInitialized:
    machine->initializedIs(a[1] != 0);
    break;
  case Kind::machineMemberDel:
    machine->intfSMDel(interfaceId(a[1]));
    break;
  case Kind::machineMemberDelAll:
    machine->intfSMDelAll();
    break;
  default:
    if (auto const member = machine->intfSM(interfaceId(a[1]))) applyToMember(operation, *member);
  }
}

void LibraryHandlers::applyToMember(Operation const& operation, VaroErrdisable::IntfSM& member) {
  auto const& a = operation.argument;
  switch (operation.kind) {
  case Kind::memberSwitch:
    member.hasNotificationActiveIs(a[2] != 0);
    break;
  case Kind::memberZombie:
    member.zonDoZombieReactors(a[2] != 0);
    break;
  default:
    member.handleStateChange();
  }
}

void LibraryHandlers::applyToDiscovery(Operation const& operation) {
  auto const& a = operation.argument;
  auto const discovery = library_.discovery(a[0]);
  if (!discovery) return;
  switch (operation.kind) {
  case Kind::discoveryInput:
    discovery->counterInIs(a[1] < hostDirectories ? library_.sliceDirectories[at(a[1])] : nullptr);
    break;
  case Kind::discoveryInputDel:
    discovery->counterInDel();
    break;
  case Kind::discoverySweep:
    discovery->handleQueueCounterDir();
    break;
  case Kind::discoveryHandle:
    discovery->handleQueueCounterDir(sliceName(a[1]));
    break;
  case Kind::discoverySliceDel:
    discovery->sliceSmDel(sliceName(a[1]));
    break;
  case Kind::discoverySliceDelAll:
    discovery->sliceSmDelAll();
    break;
  default:
    if (auto const reactor = discovery->sliceSm(sliceName(a[1]))) applyToSliceReactor(operation, *reactor);
  }
}

void LibraryHandlers::applyToSliceReactor(Operation const& operation,
                                          VaroIntf::AllIntfQueueCounterSliceReactor& reactor) {
  auto const& a = operation.argument;
  switch (operation.kind) {
  case Kind::sliceReactorSweep:
    reactor.handleQueueCounterDir();
    break;
  case Kind::sliceReactorHandle:
    reactor.handleQueueCounterDir(interfaceId(a[2]));
    break;
  case Kind::sliceReactorPrepareToDie:
    reactor.doPrepareToDie();
    break;
  case Kind::sliceReactorLeafDel:
    reactor.intfQueueCounterSmDel(interfaceId(a[2]));
    break;
  case Kind::sliceReactorSwitch:
    reactor.hasNotificationActiveIs(a[2] != 0);
    break;
  case Kind::sliceReactorZombie:
    reactor.zonDoZombieReactors(a[2] != 0);
    break;
  default:
    if (auto const leaf = reactor.intfQueueCounterSm(interfaceId(a[2]))) applyToLeaf(operation, *leaf);
  }
}

void LibraryHandlers::applyToLeaf(Operation const& operation,
                                  VaroIntf::AllIntfQueueCounterSliceIntfCounterReactor& leaf) {
  auto const& a = operation.argument;
  switch (operation.kind) {
  case Kind::leafSweep:
    leaf.handleQueueCounter();
    break;
  case Kind::leafHandle:
    leaf.handleQueueCounter(counterName(a[3]));
    break;
  default:
    leaf.hasNotificationActiveIs(a[3] != 0);
  }
}

}  // namespace Model
