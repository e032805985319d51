#include "model/WiringModel.h"

#include <set>
#include <utility>

#include "model/CounterModel.h"
#include "model/Deferral.h"
#include "model/ErrdisableModel.h"
#include "model/HostModel.h"
#include "model/MirrorModel.h"
#include "model/StatusModel.h"

namespace Model {

namespace {

int typeOf(State::Gated which) {
  switch (which) {
  case State::Gated::statusDirectory:
    return statusMachineType;
  case State::Gated::slices:
    return discoveryType;
  default:
    return errdisableMachineType;
  }
}

}  // namespace

void WiringModel::start() {
  for (int agent = 0; agent != agentCount; ++agent)
    newAgent(agent, hostDirectories + agent);
}

void WiringModel::newAgent(int agent, int name) {
  State::Agent& a = state_.agents[at(agent)];
  a = State::Agent();
  a.directory = name;
  a.half = {name, name};
  for (Half const half : {configHalf, statusHalf})
    state_.directories[at(half)][name] = State::empty();
}

int& WiringModel::attribute(int type, int owner) {
  return type == errdisableMachineType ? state_.machineOf[at(owner)] : state_.agents[at(owner)].reactor[at(type)];
}

int WiringModel::reactor(int type, int which) const {
  if (which == keptReactor) return state_.kept[at(type)];
  return type == errdisableMachineType ? state_.machineOf[at(which)] : state_.agents[at(which)].reactor[at(type)];
}

void WiringModel::takeReactor(int type, int owner) {
  int const number = std::exchange(attribute(type, owner), none);
  if (number != none) withReactor(state_, type, number, [](auto& reactor) { switchIs(reactor, false); });
}

void WiringModel::activityIs(int type, int number, int activity) {
  bool moves = false;
  withReactor(state_, type, number,
              [&](auto& reactor) { moves = std::exchange(reactor.activity, activity) != activity; });
  if (!moves) return;
  Deferral deferral(state_);
  switch (type) {
  case mirrorType:
    break;
  case statusMachineType:
    deferral.activityIs({State::Gated::statusDirectory, number}, activity);
    break;
  case discoveryType:
    deferral.activityIs({State::Gated::slices, number}, activity);
    break;
  default:
    for (auto const which : {State::Gated::configs, State::Gated::statuses, State::Gated::list})
      deferral.activityIs({which, number}, activity);
  }
}

void WiringModel::apply(Operation const& operation, int made) {
  auto const& a = operation.argument;
  switch (operation.kind) {
  case Kind::agentRenew:
  case Kind::agentDirectory:
  case Kind::agentDirectoryDel:
  case Kind::agentHalf:
  case Kind::agentHalfDel:
    applyToAgent(operation, made);
    break;
  case Kind::rootRenew:
    takeReactor(errdisableMachineType, a[0]);
    break;
  case Kind::keep:
    state_.kept[at(a[0])] = reactor(a[0], a[1]);
    break;
  case Kind::drop:
    state_.kept[at(a[0])] = none;
    break;
  case Kind::reactorDel:
    takeReactor(a[0], a[1]);
    break;
  case Kind::mirrorIs:
    mirrorIs(operation);
    break;
  case Kind::statusesIs:
    statusesIs(operation);
    break;
  case Kind::machineIs:
    machineIs(operation);
    break;
  case Kind::discoveryIs:
    discoveryIs(operation);
    break;
  default:
    if (int const number = reactor(a[0], a[1]); number != none) {
      if (operation.kind == Kind::reactorSwitch)
        withReactor(state_, a[0], number, [&](auto& r) { switchIs(r, a[2] != 0); });
      if (operation.kind == Kind::reactorZombie)
        withReactor(state_, a[0], number, [&](auto& r) { zombieIs(r, a[2] != 0); });
      if (operation.kind == Kind::reactorActivity) activityIs(a[0], number, a[2]);
    }
  }
}

void WiringModel::applyToAgent(Operation const& operation, int made) {
  auto const& a = operation.argument;
  switch (operation.kind) {
  case Kind::agentRenew:
    for (int const type : {mirrorType, statusMachineType, discoveryType})
      takeReactor(type, a[0]);
    newAgent(a[0], made);
    break;
  case Kind::agentDirectory: {
    State::Agent& agent = state_.agents[at(a[0])];
    // The name it has already changes nothing.
    if (agent.directory != none && a[1] == 0) break;
    agent.directory = made;
    agent.half = {made, made};
    for (Half const half : {configHalf, statusHalf})
      state_.directories[at(half)][made] = State::empty();
    break;
  }
  case Kind::agentDirectoryDel:
    state_.agents[at(a[0])].directory = none;
    state_.agents[at(a[0])].half = {none, none};
    break;
  case Kind::agentHalf: {
    State::Agent& agent = state_.agents[at(a[1])];
    int& half = agent.half[at(a[0])];
    if (agent.directory == none || (half != none && a[2] == 0)) break;
    half = made;
    state_.directories[at(a[0])][made] = State::empty();
    break;
  }
  default:
    state_.agents[at(a[1])].half[at(a[0])] = none;
  }
}

void WiringModel::mirrorIs(Operation const& operation) {
  auto const& a = operation.argument;
  HostModel const host(state_);
  std::array<int, 2> const output{host.directory(configHalf, a[2]), host.directory(statusHalf, a[3])};
  if (int const held = attribute(mirrorType, a[0]); held != none) {
    activityIs(mirrorType, held, a[1]);
    // Its inputs are not asked: a renamed directory goes unnoticed.
    if (state_.mirrors.at(held).output == output) return;
  }
  int const made = MirrorModel(state_).create(a[1], output, state_.agents[at(a[0])].half);
  attribute(mirrorType, a[0]) = made;
}

void WiringModel::statusesIs(Operation const& operation) {
  auto const& a = operation.argument;
  int const directory = HostModel(state_).directory(statusHalf, a[2]);
  if (int const held = attribute(statusMachineType, a[0]); held != none) {
    activityIs(statusMachineType, held, a[1]);
    if (state_.statusMachines.at(held).directory.watched() == directory) return;
  }
  int const made = StatusModel(state_).create(a[1], directory);
  attribute(statusMachineType, a[0]) = made;
}

void WiringModel::machineIs(Operation const& operation) {
  auto const& a = operation.argument;
  HostModel const host(state_);
  int const configs = host.directory(configHalf, a[2]);
  int const statuses = host.directory(statusHalf, a[3]);
  int const list = a[4] < 2 ? state_.listSlot[at(a[4])] : none;
  if (int const held = attribute(errdisableMachineType, a[0]); held != none) {
    activityIs(errdisableMachineType, held, a[1]);
    State::Machine const& machine = state_.machines.at(held);
    if (machine.configs.watched() == configs && machine.statuses.watched() == statuses &&
        machine.list.watched() == list)
      return;
  }
  int const made = ErrdisableModel(state_).create(a[1], configs, statuses, list);
  attribute(errdisableMachineType, a[0]) = made;
}

void WiringModel::discoveryIs(Operation const& operation) {
  auto const& a = operation.argument;
  int const output = a[2] < hostDirectories ? state_.outputSlot[at(a[2])] : none;
  int const slices = a[3] < hostDirectories ? state_.slicesSlot[at(a[3])] : none;
  if (int const held = attribute(discoveryType, a[0]); held != none) {
    activityIs(discoveryType, held, a[1]);
    State::Discovery const& discovery = state_.discoveries.at(held);
    if (discovery.output == output && discovery.slices.watched() == slices) return;
  }
  int const made = CounterModel(state_).create(a[1], output, slices);
  attribute(discoveryType, a[0]) = made;
}

void WiringModel::releaseDropped() {
  std::array<std::set<int>, reactorTypes> held;
  for (int type = 0; type != reactorTypes; ++type)
    for (int which = 0; which != reachableReactors; ++which)
      held[at(type)].insert(reactor(type, which));
  auto const sweep = [&](auto& reactors, int type) {
    std::erase_if(reactors, [&](auto const& entry) { return !held[at(type)].contains(entry.first); });
  };
  sweep(state_.mirrors, mirrorType);
  sweep(state_.statusMachines, statusMachineType);
  sweep(state_.discoveries, discoveryType);
  sweep(state_.machines, errdisableMachineType);
  for (auto& queue : state_.queues)
    std::erase_if(
        queue, [&](State::GatedInput const& gated) { return !held[at(typeOf(gated.which))].contains(gated.reactor); });
}

}  // namespace Model
