#include "model/CounterModel.h"

#include <algorithm>
#include <utility>

#include "model/Deferral.h"

namespace Model {

int CounterModel::create(int activity, int output, int slices) {
  int const number = state_.nextReactor++;
  State::Discovery& discovery = state_.discoveries[number];
  discovery.activity = activity;
  discovery.output = output;
  if (slices != none) discovery.slices = newInput(state_, discovery, slices);
  sweep(number);
  switchIs(discovery, true);
  return number;
}

int CounterModel::entryOf(int slices, int slice) const { return state_.sliceDirectories.at(slices)[at(slice)]; }

void CounterModel::outputIs(int output, int interface, int counters) {
  if (output != none) state_.outputs.at(output)[at(interface)] = counters;
}

bool CounterModel::handleSlice(int number, int slice) {
  State::Discovery& discovery = state_.discoveries.at(number);
  int const slices = discovery.slices.watched();
  int const entry = slices == none ? none : entryOf(slices, slice);
  auto const found = discovery.reactors.find(slice);
  if (entry != none && state_.entries.at(entry).isSlice) {
    if (found != discovery.reactors.end()) return found->second.slice.watched() == entry;
    State::SliceReactor& reactor = discovery.reactors[slice];
    reactor.output = discovery.output;
    reactor.slice = newInput(state_, reactor, entry);
    sweep(reactor);
    switchIs(reactor, true);
    return true;
  }
  if (found != discovery.reactors.end()) {
    prepareToDie(found->second);
    discovery.reactors.erase(found);
  }
  return true;
}

bool CounterModel::someSliceLists(int slices, int interface) const {
  for (int const entry : state_.sliceDirectories.at(slices))
    if (entry != none && state_.entries.at(entry).isSlice && state_.entries.at(entry).counters[at(interface)] != none)
      return true;
  return false;
}

bool CounterModel::sweep(int number) {
  State::Discovery const& discovery = state_.discoveries.at(number);
  int const slices = discovery.slices.watched();
  // An input not yet there must not wipe an output.
  if (slices == none) return true;
  for (int interface = 0; interface != interfaceCount; ++interface)
    if (!someSliceLists(slices, interface)) outputIs(discovery.output, interface, none);
  for (int const slice : state_.sliceOrder) {
    int const entry = entryOf(slices, slice);
    if (entry == none || !state_.entries.at(entry).isDirectory) continue;
    // The first slice whose reactor is locked ends the sweep: later ones are not reached.
    if (!handleSlice(number, slice)) return false;
  }
  return true;
}

bool CounterModel::handle(State::SliceReactor& reactor, int interface) {
  int const slice = reactor.slice.watched();
  int const counters = slice == none ? none : state_.entries.at(slice).counters[at(interface)];
  // Published before the leaf is asked: also what a locked leaf refuses stands in the output.
  outputIs(reactor.output, interface, counters);
  if (counters == none) {
    reactor.leaves.erase(interface);
    return true;
  }
  auto const found = reactor.leaves.find(interface);
  if (found != reactor.leaves.end())
    return found->second.counters.watched() == counters && found->second.slice == slice;
  State::Leaf& leaf = reactor.leaves[interface];
  leaf.interface = interface;
  leaf.slice = slice;
  leaf.counters = newInput(state_, leaf, counters);
  sweep(leaf);
  switchIs(leaf, true);
  return true;
}

bool CounterModel::sweep(State::SliceReactor& reactor) {
  int const slice = reactor.slice.watched();
  if (slice == none) return true;
  for (int const interface : state_.interfaceOrder)
    if (state_.entries.at(slice).counters[at(interface)] != none && !handle(reactor, interface)) return false;
  return true;
}

void CounterModel::prepareToDie(State::SliceReactor const& reactor) {
  int const slice = reactor.slice.watched();
  if (slice == none) return;
  for (int interface = 0; interface != interfaceCount; ++interface)
    if (state_.entries.at(slice).counters[at(interface)] != none) outputIs(reactor.output, interface, none);
}

void CounterModel::handle(State::Leaf const& leaf, int counter) {
  int const watched = leaf.counters.watched();
  if (watched == none || !state_.counters.at(watched).names[at(counter)] || leaf.slice == none) return;
  std::string const interface = interfaceNames[at(leaf.interface)];
  std::string const name = counterNames[at(counter)];
  auto const& managers = state_.entries.at(leaf.slice).managers;
  state_.blocks[managers[0]].insert(interface + "-" + name);
  for (int queue = 0; queue != queueCount; ++queue)
    state_.blocks[managers[1]].insert(interface + "-" + std::to_string(queue) + "-" + name);
}

void CounterModel::sweep(State::Leaf const& leaf) {
  for (int counter = 0; counter != counterCount; ++counter)
    handle(leaf, counter);
}

template <class Tell>
void CounterModel::tellDiscoveries(int slices, Tell const& tell) {
  std::vector<std::pair<std::uint64_t, int>> watchers;
  for (auto const& [number, discovery] : state_.discoveries)
    if (discovery.slices.watched() == slices) watchers.emplace_back(discovery.slices.stamp, number);
  std::ranges::sort(watchers);
  for (auto const& [stamp, number] : watchers)
    tell(State::GatedInput{State::Gated::slices, number});
}

void CounterModel::slicesChanged(int slices, int slice) {
  tellDiscoveries(slices, [&](State::GatedInput gated) { Deferral(state_).changed(gated, slice); });
}

void CounterModel::slicesChanged(int slices) {
  tellDiscoveries(slices, [&](State::GatedInput gated) { Deferral(state_).everythingChanged(gated); });
}

void CounterModel::sliceChanged(int entry, int interface) {
  std::vector<std::pair<std::uint64_t, State::SliceReactor*>> watchers;
  for (auto& [number, discovery] : state_.discoveries)
    for (auto& [slice, reactor] : discovery.reactors)
      if (reactor.slice.watched() == entry && reactor.slice.hears())
        watchers.emplace_back(reactor.slice.stamp, &reactor);
  std::ranges::sort(watchers);
  for (auto const& [stamp, reactor] : watchers)
    handle(*reactor, interface);
}

void CounterModel::countersChanged(int counters, int counter) {
  for (auto const& [number, discovery] : state_.discoveries)
    for (auto const& [slice, reactor] : discovery.reactors)
      for (auto const& [interface, leaf] : reactor.leaves)
        if (leaf.counters.watched() == counters && leaf.counters.hears()) handle(leaf, counter);
}

}  // namespace Model
