#include "model/ReferenceModel.h"

#include <algorithm>

#include "model/Deferral.h"
#include "model/HandlerModel.h"
#include "model/HostModel.h"
#include "model/WiringModel.h"

namespace Model {

namespace {

/// Writes the facts down.
class Observer {
 public:
  explicit Observer(State const& state) : state_(state) {}

  Observation observe() {
    slots();
    directories();
    for (int const list : state_.listSlot)
      table(What::errdisabled, list, state_.lists.at(list));
    for (int agent = 0; agent != agentCount; ++agent)
      fact(What::agentDirectory, agent, 0, state_.agents[at(agent)].directory);
    for (int activity = firstDeferring; activity != activityCount; ++activity)
      fact(What::pending, activity, 0, static_cast<int>(state_.queues[at(activity)].size()));
    for (int which = 0; which != reachableReactors; ++which) {
      mirror(which);
      statusMachine(which);
      discovery(which);
      machine(which);
    }
    chain();
    return std::move(facts_);
  }

 private:
  void fact(What what, int subject, int key, int value) { facts_.push_back({what, subject, key, value}); }

  void table(What what, int subject, State::Directory const& directory) {
    for (int const interface : state_.interfaceOrder)
      if (int const value = directory[at(interface)]; value != none) fact(what, subject, interface, value);
  }

  void config(int number) {
    State::Config const& c = state_.configs.at(number);
    fact(What::configState, number, c.state, c.reason);
  }
  void status(int number) {
    State::Status const& s = state_.statuses.at(number);
    fact(What::statusModel, number, s.active ? 1 : 0, s.model);
  }
  void entity(Half half, int number) { half == configHalf ? config(number) : status(number); }

  void slots() {
    for (Half const half : {configHalf, statusHalf})
      for (int interface = 0; interface != interfaceCount; ++interface)
        for (int version = 0; version != versions; ++version)
          entity(half, state_.entitySlot[at(half)][at(interface)][at(version)]);
  }

  void directories() {
    HostModel const host(const_cast<State&>(state_));
    for (Half const half : {configHalf, statusHalf})
      for (int reach = 0; reach != reachableDirectories; ++reach) {
        int const number = host.directory(half, reach);
        fact(What::directory, half, reach, number);
        if (number == none) continue;
        State::Directory const& directory = state_.directories[at(half)].at(number);
        table(What::directoryEntry, number, directory);
        for (int const interface : state_.interfaceOrder)
          if (int const held = directory[at(interface)]; held != none) entity(half, held);
      }
  }

  /// What every reactor shows; its number, or none.
  int reactor(int type, int which) {
    WiringModel const wiring(const_cast<State&>(state_));
    int const number = wiring.reactor(type, which);
    int same = 0;
    while (number != none && wiring.reactor(type, same) != number)
      ++same;
    fact(What::reactor, type, which, number == none ? none : same);
    if (number == none) return none;
    withReactor(state_, type, number, [&](State::Reactor const& r) {
      fact(What::reactorSwitch, type, which, marks(r.on, r.zombie));
      fact(What::reactorActivity, type, which, r.activity);
    });
    return number;
  }

  void mirror(int which) {
    int const number = reactor(mirrorType, which);
    if (number == none) return;
    State::Mirror const& m = state_.mirrors.at(number);
    for (Half const half : {configHalf, statusHalf}) {
      fact(What::mirrorOutput, which, half, m.output[at(half)]);
      fact(What::mirrorInput, which, half, m.input[at(half)].watched());
    }
  }

  void statusMachine(int which) {
    int const number = reactor(statusMachineType, which);
    if (number == none) return;
    State::StatusMachine const& m = state_.statusMachines.at(number);
    fact(What::statusInput, which, 0, m.directory.watched());
    for (int const interface : state_.interfaceOrder) {
      auto const found = m.reactors.find(interface);
      if (found == m.reactors.end()) continue;
      Input const& input = found->second;
      fact(What::statusReactor, which, interface, input.notifier);
      fact(What::statusReactorSwitch, which, interface, marks(input.on, input.zombie));
      status(input.notifier);
    }
  }

  void discovery(int which) {
    int const number = reactor(discoveryType, which);
    if (number == none) return;
    State::Discovery const& d = state_.discoveries.at(number);
    fact(What::discoveryInput, which, 0, d.slices.watched());
    fact(What::discoveryOutput, which, 0, d.output);
    for (int const slice : state_.sliceOrder) {
      auto const found = d.reactors.find(slice);
      if (found == d.reactors.end()) continue;
      State::SliceReactor const& r = found->second;
      fact(What::sliceReactor, which, slice, r.slice.watched());
      fact(What::sliceReactorSwitch, which, slice, marks(r.on, r.zombie));
      if (r.slice.watched() != none)
        table(What::sliceEntry, r.slice.watched(), state_.entries.at(r.slice.watched()).counters);
      for (int const interface : state_.interfaceOrder) {
        auto const leaf = r.leaves.find(interface);
        if (leaf == r.leaves.end()) continue;
        fact(What::leaf, which * 10 + slice, interface, leaf->second.counters.watched());
        fact(What::leafSwitch, which * 10 + slice, interface, marks(leaf->second.on, leaf->second.zombie));
      }
    }
  }

  void machine(int which) {
    int const number = reactor(errdisableMachineType, which);
    if (number == none) return;
    State::Machine const& m = state_.machines.at(number);
    fact(What::machineInput, which, 0, m.configs.watched());
    fact(What::machineInput, which, 1, m.statuses.watched());
    fact(What::machineInput, which, 2, m.list.watched());
    fact(What::machineInitialized, which, 0, m.initialized ? 1 : 0);
    for (int const interface : state_.interfaceOrder) {
      auto const found = m.members.find(interface);
      if (found == m.members.end()) continue;
      State::Member const& member = found->second;
      fact(What::member, which, interface, member.config.watched());
      fact(What::memberStatus, which, interface, member.status.watched());
      fact(What::memberList, which, interface, member.list);
      fact(What::memberSwitch, which, interface, marks(member.on, member.zombie));
      if (member.config.watched() != none) config(member.config.watched());
      if (member.status.watched() != none) status(member.status.watched());
    }
  }

  void chain() {
    for (int const slices : state_.slicesSlot)
      for (int const slice : state_.sliceOrder)
        if (int const entry = state_.sliceDirectories.at(slices)[at(slice)]; entry != none)
          fact(What::slicesEntry, slices, slice, entry);
    for (auto const& slots : state_.entrySlot)
      for (int version = 0; version != versions; ++version)
        table(What::sliceEntry, slots[at(version)], state_.entries.at(slots[at(version)]).counters);
    for (auto const& slots : state_.countersSlot)
      for (int const number : slots)
        for (int const counter : state_.counterOrder)
          if (state_.counters.at(number).names[at(counter)]) fact(What::countersEntry, number, counter, 1);
    for (int const output : state_.outputSlot)
      table(What::output, output, state_.outputs.at(output));
    for (auto const& [manager, names] : state_.blocks)
      fact(What::blocks, manager, 0, static_cast<int>(names.size()));
  }

  State const& state_;
  Observation facts_;
};

}  // namespace

ReferenceModel::ReferenceModel(WalkOrders const& orders) {
  state_.interfaceOrder = orders.interfaces;
  state_.sliceOrder = orders.slices;
  state_.counterOrder = orders.counters;
  HostModel(state_).start();
  WiringModel(state_).start();
}

Outcome ReferenceModel::apply(Operation const& operation, int step) {
  int const made = firstMade + step;
  Outcome outcome = Outcome::done;
  switch (areaOf(operation.kind)) {
  case Area::host:
    outcome = HostModel(state_).apply(operation, made);
    break;
  case Area::wiring:
    WiringModel(state_).apply(operation, made);
    break;
  case Area::handlers:
    outcome = HandlerModel(state_).apply(operation);
    break;
  case Area::dispatch:
    Deferral(state_).dispatch(firstDeferring + operation.argument[0]);
  }
  if (state_.impossible) return Outcome::impossible;
  if (operation.kind >= Kind::agentRenew) {
    WiringModel(state_).releaseDropped();
    HostModel(state_).releaseOrphans();
  }
  return outcome;
}

bool ReferenceModel::mayBeImpossible(Operation const& operation) const {
  if (operation.kind == Kind::dispatch || operation.kind == Kind::reactorActivity ||
      (operation.kind >= Kind::errdisableSet && operation.kind < Kind::errdisableRenew) ||
      (operation.kind >= Kind::machineIs && operation.kind < Kind::slicesSet))
    return true;
  // Whatever reaches a machine that lacks an input, or a member that was born without an errdisable list.
  return std::ranges::any_of(state_.machines, [](auto const& entry) {
    State::Machine const& machine = entry.second;
    return machine.configs.watched() == none || machine.statuses.watched() == none || machine.list.watched() == none ||
           std::ranges::any_of(machine.members, [](auto const& member) { return member.second.list == none; });
  });
}

Observation ReferenceModel::observe() const { return Observer(state_).observe(); }

}  // namespace Model
