#include "model/ErrdisableModel.h"

#include <algorithm>
#include <utility>

#include "model/Deferral.h"

namespace Model {

namespace {

constexpr int unset = 0;
constexpr int enabled = 1;
constexpr int disabled = 2;

constexpr int noReason = 0;
constexpr int inactiveReason = 1;
constexpr int adminReason = 2;

int effective(State const& state, State::Config const& config) {
  if (config.admin != unset || config.defaultConfig == none) return config.admin;
  return state.configs.at(config.defaultConfig).admin;
}

}  // namespace

int ErrdisableModel::create(int activity, int configs, int statuses, int list) {
  int const number = state_.nextReactor++;
  State::Machine& machine = state_.machines[number];
  machine.activity = activity;
  for (auto const& [input, notifier] :
       {std::pair(&machine.configs, configs), std::pair(&machine.statuses, statuses), std::pair(&machine.list, list)})
    if (notifier != none) *input = newInput(state_, machine, notifier);
  handleInitialized(number);
  switchIs(machine, true);
  return number;
}

bool ErrdisableModel::handleInitialized(int number) {
  State::Machine& machine = state_.machines.at(number);
  machine.initialized = true;
  int const configs = machine.configs.watched();
  if (configs == none) return true;
  for (int const interface : state_.interfaceOrder) {
    if (state_.directories[at(configHalf)].at(configs)[at(interface)] == none) continue;
    if (!handleIntf(number, interface)) return false;
    if (state_.impossible) return true;
  }
  return true;
}

int ErrdisableModel::configOf(State::Machine const& machine, int interface) {
  int const configs = machine.configs.watched();
  if (configs == none) {
    state_.impossible = true;
    return none;
  }
  return state_.directories[at(configHalf)].at(configs)[at(interface)];
}

bool ErrdisableModel::handleIntf(int number, int interface) {
  State::Machine& machine = state_.machines.at(number);
  if (!machine.initialized) return true;
  int const config = configOf(machine, interface);
  if (state_.impossible) return true;
  if (config == none) {
    machine.members.erase(interface);
    return true;
  }
  auto found = machine.members.find(interface);
  if (found != machine.members.end()) {
    if (found->second.list != machine.list.watched() || found->second.config.watched() != config) return false;
  } else {
    State::Member member;
    member.list = machine.list.watched();
    member.config = newInput(state_, member, config);
    // Born on, whatever its machine's switch.
    switchIs(member, true);
    found = machine.members.emplace(interface, member).first;
  }
  int const statuses = machine.statuses.watched();
  if (statuses == none) {
    state_.impossible = true;
    return true;
  }
  memberStatusIs(found->second, state_.directories[at(statusHalf)].at(statuses)[at(interface)]);
  evaluate(found->second);
  return true;
}

void ErrdisableModel::memberStatusIs(State::Member& member, int status) {
  Input& input = member.status;
  if (input.watched() == status) return;
  if (status == none) {
    input = Input();
    return;
  }
  if (input.present) {
    rebind(state_, input, status);
    if (!input.zombie) evaluate(member);
  } else {
    input = newInput(state_, member, status);
  }
  input.zombieIs(member.zombie);
}

void ErrdisableModel::handleErrdisable(int number, int interface) {
  State::Machine const& machine = state_.machines.at(number);
  if (!machine.initialized) return;
  int const config = configOf(machine, interface);
  if (config == none) return;
  auto const member = machine.members.find(interface);
  if (member == machine.members.end()) {
    state_.impossible = true;
    return;
  }
  evaluate(member->second);
}

void ErrdisableModel::evaluate(State::Member const& member) {
  int const config = member.config.watched();
  if (config == none) {
    state_.impossible = true;
    return;
  }
  if (int const status = member.status.watched(); status != none && !state_.statuses.at(status).active) {
    write(config, disabled, inactiveReason);
    return;
  }
  if (member.list == none) {
    state_.impossible = true;
    return;
  }
  State::Config const& c = state_.configs.at(config);
  if (int const reason = state_.lists.at(member.list)[at(c.interface)]; reason != none) {
    write(config, disabled, reason);
    return;
  }
  int const admin = effective(state_, c);
  int const reason = admin == disabled ? adminReason : noReason;
  // Nobody says anything: a state that was left behind turns into enabled, but never back into unset.
  write(config, admin == unset && c.state != unset ? enabled : admin, reason);
}

void ErrdisableModel::write(int config, int state, int reason) {
  state_.configs.at(config).state = state;
  state_.configs.at(config).reason = reason;
}

template <class InputOf>
void ErrdisableModel::evaluateThoseThat(InputOf const& inputOf, int notifier) {
  std::vector<std::pair<std::uint64_t, State::Member const*>> members;
  for (auto const& [number, machine] : state_.machines)
    for (auto const& [interface, member] : machine.members)
      if (Input const& input = inputOf(member); input.watched() == notifier && input.hears())
        members.emplace_back(input.stamp, &member);
  std::ranges::sort(members);
  for (auto const& [stamp, member] : members)
    evaluate(*member);
}

void ErrdisableModel::adminChanged(int config) {
  evaluateThoseThat([](State::Member const& member) -> Input const& { return member.config; }, config);
}

void ErrdisableModel::activeChanged(int status) {
  evaluateThoseThat([](State::Member const& member) -> Input const& { return member.status; }, status);
}

template <class Tell>
void ErrdisableModel::tellListWatchers(int list, Tell const& tell) {
  std::vector<std::pair<std::uint64_t, int>> watchers;
  for (auto const& [number, machine] : state_.machines)
    if (machine.list.watched() == list) watchers.emplace_back(machine.list.stamp, number);
  std::ranges::sort(watchers);
  for (auto const& [stamp, number] : watchers)
    tell(State::GatedInput{State::Gated::list, number});
}

void ErrdisableModel::listChanged(int list, int interface) {
  tellListWatchers(list, [&](State::GatedInput gated) { Deferral(state_).changed(gated, interface); });
}

void ErrdisableModel::listChanged(int list) {
  tellListWatchers(list, [&](State::GatedInput gated) { Deferral(state_).everythingChanged(gated); });
}

}  // namespace Model
