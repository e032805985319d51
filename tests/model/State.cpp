#include "model/State.h"

#include <initializer_list>

namespace Model {

namespace {

template <class R>
bool turn(R& reactor, bool on, std::initializer_list<Input*> inputs) {
  if (reactor.on == on) return false;
  reactor.on = on;
  for (Input* const input : inputs)
    input->switchIs(on);
  return true;
}

template <class Children>
void turnAll(Children& children, bool on) {
  for (auto& [key, child] : children)
    switchIs(child, on);
}

template <class R>
void mark(R& reactor, bool zombie, std::initializer_list<Input*> inputs) {
  if (reactor.zombie == zombie) return;
  for (Input* const input : inputs)
    input->zombieIs(zombie);
  reactor.zombie = zombie;
}

}  // namespace

void switchIs(Input& input, bool on) { input.switchIs(on); }
void switchIs(State::Mirror& mirror, bool on) { turn(mirror, on, {&mirror.input[0], &mirror.input[1]}); }
void switchIs(State::StatusMachine& machine, bool on) {
  if (turn(machine, on, {&machine.directory})) turnAll(machine.reactors, on);
}
void switchIs(State::Member& member, bool on) { turn(member, on, {&member.config, &member.status}); }
void switchIs(State::Machine& machine, bool on) {
  if (turn(machine, on, {&machine.configs, &machine.statuses, &machine.list})) turnAll(machine.members, on);
}
void switchIs(State::Leaf& leaf, bool on) { turn(leaf, on, {&leaf.counters}); }
void switchIs(State::SliceReactor& reactor, bool on) {
  if (turn(reactor, on, {&reactor.slice})) turnAll(reactor.leaves, on);
}
void switchIs(State::Discovery& discovery, bool on) {
  if (turn(discovery, on, {&discovery.slices})) turnAll(discovery.reactors, on);
}

void zombieIs(State::Mirror& mirror, bool zombie) { mark(mirror, zombie, {&mirror.input[0], &mirror.input[1]}); }
void zombieIs(State::StatusMachine& machine, bool zombie) { mark(machine, zombie, {&machine.directory}); }
void zombieIs(State::Member& member, bool zombie) { mark(member, zombie, {&member.config, &member.status}); }
void zombieIs(State::Machine& machine, bool zombie) {
  mark(machine, zombie, {&machine.configs, &machine.statuses, &machine.list});
}
void zombieIs(State::SliceReactor& reactor, bool zombie) { mark(reactor, zombie, {&reactor.slice}); }
void zombieIs(State::Discovery& discovery, bool zombie) { mark(discovery, zombie, {&discovery.slices}); }

Input newInput(State& state, State::Reactor const& owner, int notifier) {
  Input input;
  input.present = true;
  input.notifier = notifier;
  input.on = owner.on;
  input.stamp = state.nextStamp++;
  input.activity = owner.activity;
  return input;
}

void rebind(State& state, Input& input, int notifier) {
  input.notifier = notifier;
  input.stamp = state.nextStamp++;
}

}  // namespace Model
