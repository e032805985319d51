#include "model/StatusModel.h"

#include <algorithm>

namespace Model {

int StatusModel::create(int activity, int directory) {
  int const number = state_.nextReactor++;
  State::StatusMachine& machine = state_.statusMachines[number];
  machine.activity = activity;
  if (directory != none) machine.directory = newInput(state_, machine, directory);
  sweep(number);
  switchIs(machine, true);
  return number;
}

void StatusModel::handle(int number, int interface) {
  State::StatusMachine& machine = state_.statusMachines.at(number);
  int const directory = machine.directory.watched();
  int const status = directory == none ? none : state_.directories[at(statusHalf)].at(directory)[at(interface)];
  if (status == none) {
    machine.reactors.erase(interface);
  } else {
    reactorIs(number, status);
  }
}

void StatusModel::sweep(int number) {
  int const directory = state_.statusMachines.at(number).directory.watched();
  if (directory == none) return;
  for (int const interface : state_.interfaceOrder)
    if (state_.directories[at(statusHalf)].at(directory)[at(interface)] != none) handle(number, interface);
}

void StatusModel::reactorIs(int number, int status) {
  State::StatusMachine& machine = state_.statusMachines.at(number);
  int const interface = state_.statuses.at(status).interface;
  auto const found = machine.reactors.find(interface);
  if (found == machine.reactors.end()) {
    Input reactor = newInput(state_, machine, status);
    // Born on, whatever its machine's switch.
    reactor.on = true;
    machine.reactors.emplace(interface, reactor);
    resolve(status);
  } else if (found->second.notifier != status) {
    rebind(state_, found->second, status);
    if (!found->second.zombie) resolve(status);
  }
}

void StatusModel::inputsChanged(int status) {
  // All of them write the same: their order does not show.
  for (auto const& [number, machine] : state_.statusMachines)
    for (auto const& [interface, reactor] : machine.reactors)
      if (reactor.watched() == status && reactor.hears()) resolve(status);
}

void StatusModel::resolve(int status) {
  State::Status& s = state_.statuses.at(status);
  s.model = 5;
  for (auto const& input : s.inputs)
    if (input) s.model = std::min(s.model, *input);
}

}  // namespace Model
