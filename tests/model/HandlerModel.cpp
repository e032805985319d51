#include "model/HandlerModel.h"

#include "model/CounterModel.h"
#include "model/Deferral.h"
#include "model/ErrdisableModel.h"
#include "model/HostModel.h"
#include "model/MirrorModel.h"
#include "model/SharedOut.h"
#include "model/StatusModel.h"
#include "model/WiringModel.h"

namespace Model {

Outcome HandlerModel::apply(Operation const& operation) {
  outcome_ = Outcome::done;
  shareOutHandlers(*this, operation);
  return outcome_;
}

void HandlerModel::applyToMirror(Operation const& operation) {
  auto const& a = operation.argument;
  Half const half = static_cast<Half>(a[0]);
  int const number = WiringModel(state_).reactor(mirrorType, a[1]);
  if (number == none) return;
  int const directory = operation.kind == Kind::mirrorInput ? HostModel(state_).directory(half, a[2]) : none;
  MirrorModel(state_).inputIs(number, half, directory);
}

void HandlerModel::applyToStatusMachine(Operation const& operation) {
  auto const& a = operation.argument;
  int const number = WiringModel(state_).reactor(statusMachineType, a[0]);
  if (number == none) return;
  State::StatusMachine& machine = state_.statusMachines.at(number);
  StatusModel statuses(state_);
  auto const reactor = machine.reactors.find(a[1]);
  switch (operation.kind) {
  case Kind::statusesInput:
    Deferral(state_).inputIs({State::Gated::statusDirectory, number}, HostModel(state_).directory(statusHalf, a[1]));
    break;
  case Kind::statusesInputDel:
    Deferral(state_).inputIs({State::Gated::statusDirectory, number}, none);
    break;
  case Kind::statusesHandle:
    statuses.handle(number, a[1]);
    break;
  case Kind::statusesSweep:
    statuses.sweep(number);
    break;
  case Kind::statusesReactorIs:
    statuses.reactorIs(number, state_.entitySlot[at(statusHalf)][at(a[1])][at(a[2])]);
    break;
  case Kind::statusesReactorDel:
    machine.reactors.erase(a[1]);
    break;
  case Kind::statusesReactorDelAll:
    machine.reactors.clear();
    break;
  case Kind::statusesReactorSwitch:
    if (reactor != machine.reactors.end()) reactor->second.switchIs(a[2] != 0);
    break;
  default:
    if (reactor != machine.reactors.end()) reactor->second.zombieIs(a[2] != 0);
  }
}

void HandlerModel::applyToMachine(Operation const& operation) {
  auto const& a = operation.argument;
  int const number = WiringModel(state_).reactor(errdisableMachineType, a[0]);
  if (number == none) return;
  State::Machine& machine = state_.machines.at(number);
  ErrdisableModel machines(state_);
  constexpr State::Gated inputs[] = {State::Gated::configs, State::Gated::statuses, State::Gated::list};
  switch (operation.kind) {
  case Kind::machineInput: {
    HostModel const host(state_);
    int const directory = a[1] == 2   ? (a[2] < 2 ? state_.listSlot[at(a[2])] : none)
                          : a[1] == 1 ? host.directory(statusHalf, a[2])
                                      : host.directory(configHalf, a[2]);
    Deferral(state_).inputIs({inputs[a[1]], number}, directory);
    break;
  }
  case Kind::machineInputDel:
    Deferral(state_).inputIs({inputs[a[1]], number}, none);
    break;
  case Kind::machineHandleIntf:
    ended(machines.handleIntf(number, a[1]));
    break;
  case Kind::machineHandleErrdisable:
    machines.handleErrdisable(number, a[1]);
    break;
  case Kind::machineHandleInitialized:
    ended(machines.handleInitialized(number));
    break;
  case Kind::machineInitialized:
    machine.initialized = a[1] != 0;
    break;
  case Kind::machineMemberDel:
    machine.members.erase(a[1]);
    break;
  case Kind::machineMemberDelAll:
    machine.members.clear();
    break;
  default:
    applyToMember(operation, number);
  }
}

void HandlerModel::applyToMember(Operation const& operation, int number) {
  auto const& a = operation.argument;
  State::Machine& machine = state_.machines.at(number);
  auto const member = machine.members.find(a[1]);
  if (member == machine.members.end()) return;
  switch (operation.kind) {
  case Kind::memberSwitch:
    switchIs(member->second, a[2] != 0);
    break;
  case Kind::memberZombie:
    zombieIs(member->second, a[2] != 0);
    break;
  default:
    ErrdisableModel(state_).evaluate(member->second);
  }
}

void HandlerModel::applyToDiscovery(Operation const& operation) {
  auto const& a = operation.argument;
  int const number = WiringModel(state_).reactor(discoveryType, a[0]);
  if (number == none) return;
  State::Discovery& discovery = state_.discoveries.at(number);
  CounterModel chain(state_);
  State::GatedInput const gated{State::Gated::slices, number};
  switch (operation.kind) {
  case Kind::discoveryInput:
    Deferral(state_).inputIs(gated, a[1] < hostDirectories ? state_.slicesSlot[at(a[1])] : none);
    break;
  case Kind::discoveryInputDel:
    Deferral(state_).inputIs(gated, none);
    break;
  case Kind::discoverySweep:
    ended(chain.sweep(number));
    break;
  case Kind::discoveryHandle:
    ended(chain.handleSlice(number, a[1]));
    break;
  case Kind::discoverySliceDel:
    discovery.reactors.erase(a[1]);
    break;
  case Kind::discoverySliceDelAll:
    discovery.reactors.clear();
    break;
  default:
    if (auto const reactor = discovery.reactors.find(a[1]); reactor != discovery.reactors.end())
      applyToSliceReactor(operation, reactor->second);
  }
}

void HandlerModel::applyToSliceReactor(Operation const& operation, State::SliceReactor& reactor) {
  auto const& a = operation.argument;
  CounterModel chain(state_);
  switch (operation.kind) {
  case Kind::sliceReactorSweep:
    ended(chain.sweep(reactor));
    break;
  case Kind::sliceReactorHandle:
    ended(chain.handle(reactor, a[2]));
    break;
  case Kind::sliceReactorPrepareToDie:
    chain.prepareToDie(reactor);
    break;
  case Kind::sliceReactorLeafDel:
    reactor.leaves.erase(a[2]);
    break;
  case Kind::sliceReactorSwitch:
    switchIs(reactor, a[2] != 0);
    break;
  case Kind::sliceReactorZombie:
    zombieIs(reactor, a[2] != 0);
    break;
  default:
    if (auto const leaf = reactor.leaves.find(a[2]); leaf != reactor.leaves.end()) applyToLeaf(operation, leaf->second);
  }
}

void HandlerModel::applyToLeaf(Operation const& operation, State::Leaf& leaf) {
  auto const& a = operation.argument;
  CounterModel chain(state_);
  switch (operation.kind) {
  case Kind::leafSweep:
    chain.sweep(leaf);
    break;
  case Kind::leafHandle:
    chain.handle(leaf, a[3]);
    break;
  default:
    switchIs(leaf, a[3] != 0);
  }
}

}  // namespace Model
