#include "model/HostModel.h"

#include <set>
#include <utility>

#include "model/CounterModel.h"
#include "model/DirectoryModel.h"
#include "model/ErrdisableModel.h"
#include "model/SharedOut.h"
#include "model/StatusModel.h"

namespace Model {

void HostModel::start() {
  makeFirstEntities(*this);
  for (int i = 0; i != 2; ++i) {
    state_.configs[firstDefault + i] = {};
    state_.blocks[pooledManager(i)] = {};
  }
  for (int slot = 0; slot != hostDirectories; ++slot) {
    for (Half const half : {configHalf, statusHalf}) {
      state_.directories[at(half)][slot] = State::empty();
      state_.directorySlot[at(half)][at(slot)] = slot;
    }
    state_.lists[slot] = State::empty();
    state_.listSlot[at(slot)] = slot;
    state_.sliceDirectories[slot].fill(none);
    state_.slicesSlot[at(slot)] = slot;
    state_.outputs[slot] = State::empty();
    state_.outputSlot[at(slot)] = slot;
  }
}

void HostModel::newEntity(Half half, int interface, int version, int number) {
  if (half == configHalf) {
    state_.configs[number].interface = interface;
  } else {
    state_.statuses[number].interface = interface;
  }
  state_.entitySlot[at(half)][at(interface)][at(version)] = number;
}

void HostModel::newEntry(int slice, int version, int number) {
  State::Entry entry;
  entry.slice = slice;
  entry.isSlice = version < versions;
  entry.isDirectory = version < entryVersions - 1;
  if (entry.isSlice) {
    entry.managers = {ownManager(number, 0), ownManager(number, 1)};
    for (int const manager : entry.managers)
      state_.blocks[manager] = {};
  }
  state_.entries[number] = entry;
  state_.entrySlot[at(slice)][at(version)] = number;
}

void HostModel::newCounters(int interface, int version, int number) {
  state_.counters[number].interface = interface;
  state_.countersSlot[at(interface)][at(version)] = number;
}

int HostModel::directory(Half half, int reach) const {
  if (reach < hostDirectories) return state_.directorySlot[at(half)][at(reach)];
  if (reach == grabbedDirectory) return state_.grabbed[at(half)];
  if (reach == reachableDirectories) return none;
  return state_.agents[at(reach - firstAgentDirectory)].half[at(half)];
}

Outcome HostModel::apply(Operation const& operation, int made) {
  outcome_ = Outcome::done;
  shareOutHost(*this, operation, made);
  return outcome_;
}

void HostModel::applyToEntities(Operation const& operation, int made) {
  auto const& a = operation.argument;
  auto const config = [&]() -> State::Config& {
    return state_.configs.at(state_.entitySlot[at(configHalf)][at(a[0])][at(a[1])]);
  };
  int const statusNumber =
      operation.kind < Kind::statusActive ? none : state_.entitySlot[at(statusHalf)][at(a[0])][at(a[1])];
  auto const status = [&]() -> State::Status& { return state_.statuses.at(statusNumber); };
  switch (operation.kind) {
  case Kind::entityRenew:
    newEntity(static_cast<Half>(a[0]), a[1], a[2], made);
    break;
  case Kind::configAdmin:
    if (std::exchange(config().admin, a[2]) != a[2])
      ErrdisableModel(state_).adminChanged(state_.entitySlot[at(configHalf)][at(a[0])][at(a[1])]);
    break;
  case Kind::configDefault:
    config().defaultConfig = a[2] < 2 ? firstDefault + a[2] : none;
    break;
  case Kind::configState:
    config().state = a[2];
    break;
  case Kind::configReason:
    config().reason = a[2];
    break;
  case Kind::defaultAdmin:
    state_.configs.at(firstDefault + a[0]).admin = a[1];
    break;
  case Kind::defaultDefault:
    // Never looked at: a default's default does not count.
    state_.configs.at(firstDefault + 1).defaultConfig = a[0] != 0 ? firstDefault : none;
    break;
  case Kind::statusActive:
    if (bool const active = a[2] != 0; std::exchange(status().active, active) != active)
      ErrdisableModel(state_).activeChanged(statusNumber);
    break;
  case Kind::statusInput:
    if (auto& input = status().inputs[at(a[2])]; input != a[3] - 1) {
      input = a[3] - 1;
      StatusModel(state_).inputsChanged(statusNumber);
    }
    break;
  case Kind::statusInputDel:
    if (auto& input = status().inputs[at(a[2])]; input) {
      input.reset();
      StatusModel(state_).inputsChanged(statusNumber);
    }
    break;
  case Kind::statusInputDelAll:
    for (auto& input : status().inputs) {
      if (!input) continue;
      input.reset();
      StatusModel(state_).inputsChanged(statusNumber);
    }
    break;
  case Kind::statusInputNotify:
  case Kind::statusInputNotifyAll:
    StatusModel(state_).inputsChanged(statusNumber);
    break;
  default:
    status().model = a[2] - 1;
  }
}

void HostModel::applyToDirectories(Operation const& operation, int made) {
  auto const& a = operation.argument;
  Half const half = static_cast<Half>(a[0]);
  if (operation.kind == Kind::directoryRenew) {
    state_.directories[at(half)][made] = State::empty();
    state_.directorySlot[at(half)][at(a[1])] = made;
    return;
  }
  if (operation.kind == Kind::directoryGrab) {
    state_.grabbed[at(half)] = state_.agents[at(a[1])].half[at(half)];
    return;
  }
  int const number = directory(half, a[1]);
  if (number == none) return;
  DirectoryModel directories(state_);
  switch (operation.kind) {
  case Kind::directorySet:
    directories.set(half, number, a[2], state_.entitySlot[at(half)][at(a[2])][at(a[3])]);
    break;
  case Kind::directoryDel:
    directories.del(half, number, a[2]);
    break;
  case Kind::directoryDelAll:
    directories.delAll(half, number);
    break;
  case Kind::directoryNotify:
    directories.notify(half, number, a[2]);
    break;
  default:
    directories.notifyAll(half, number);
  }
}

void HostModel::applyToLists(Operation const& operation, int made) {
  auto const& a = operation.argument;
  int const number = state_.listSlot[at(a[0])];
  ErrdisableModel machines(state_);
  auto const entryIs = [&](int interface, int reason) {
    if (std::exchange(state_.lists.at(number)[at(interface)], reason) != reason)
      machines.listChanged(number, interface);
  };
  switch (operation.kind) {
  case Kind::errdisableSet:
    entryIs(a[1], a[2]);
    break;
  case Kind::errdisableDel:
    entryIs(a[1], none);
    break;
  case Kind::errdisableDelAll:
    for (int const interface : state_.interfaceOrder)
      entryIs(interface, none);
    break;
  case Kind::errdisableNotify:
    machines.listChanged(number, a[1]);
    break;
  case Kind::errdisableNotifyAll:
    machines.listChanged(number);
    break;
  default:
    state_.lists[made] = State::empty();
    state_.listSlot[at(a[0])] = made;
  }
}

void HostModel::entryIs(int slices, int slice, int entry) {
  State::Entry& added = state_.entries.at(entry);
  if (added.parent != none && added.parent != slices) {
    outcome_ = Outcome::refused;
    return;
  }
  int& stored = state_.sliceDirectories.at(slices)[at(slice)];
  if (stored == entry) return;
  if (stored != none) state_.entries.at(stored).parent = none;
  stored = entry;
  added.parent = slices;
  CounterModel(state_).slicesChanged(slices, slice);
}

void HostModel::countersIs(int entry, int interface, int counters) {
  State::Counters& added = state_.counters.at(counters);
  if (added.parent != none && added.parent != entry) {
    outcome_ = Outcome::refused;
    return;
  }
  int& stored = state_.entries.at(entry).counters[at(interface)];
  if (stored == counters) return;
  if (stored != none) state_.counters.at(stored).parent = none;
  stored = counters;
  added.parent = entry;
  CounterModel(state_).sliceChanged(entry, interface);
}

void HostModel::applyToSlices(Operation const& operation, int made) {
  auto const& a = operation.argument;
  CounterModel chain(state_);
  bool const ofDirectory = operation.kind < Kind::sliceRenew;
  int const slices = ofDirectory ? state_.slicesSlot[at(a[0])] : none;
  int const entry = ofDirectory ? none : state_.entrySlot[at(a[0])][at(a[1])];
  auto const removeEntry = [&](int slice) {
    int const removed = std::exchange(state_.sliceDirectories.at(slices)[at(slice)], none);
    if (removed == none) return;
    state_.entries.at(removed).parent = none;
    chain.slicesChanged(slices, slice);
  };
  auto const removeCounters = [&](int interface) {
    int const removed = std::exchange(state_.entries.at(entry).counters[at(interface)], none);
    if (removed == none) return;
    state_.counters.at(removed).parent = none;
    chain.sliceChanged(entry, interface);
  };
  switch (operation.kind) {
  case Kind::slicesSet:
    entryIs(slices, a[1], state_.entrySlot[at(a[1])][at(a[2])]);
    break;
  case Kind::slicesDel:
    removeEntry(a[1]);
    break;
  case Kind::slicesDelAll:
    for (int const slice : state_.sliceOrder)
      removeEntry(slice);
    break;
  case Kind::slicesNotify:
    chain.slicesChanged(slices, a[1]);
    break;
  case Kind::slicesNotifyAll:
    chain.slicesChanged(slices);
    break;
  case Kind::slicesRenew:
    state_.sliceDirectories[made].fill(none);
    state_.slicesSlot[at(a[0])] = made;
    break;
  case Kind::sliceRenew:
    newEntry(a[0], a[1], made);
    break;
  case Kind::sliceSet:
    countersIs(entry, a[2], state_.countersSlot[at(a[2])][at(a[3])]);
    break;
  case Kind::sliceDel:
    removeCounters(a[2]);
    break;
  case Kind::sliceDelAll:
    for (int const interface : state_.interfaceOrder)
      removeCounters(interface);
    break;
  case Kind::sliceNotify:
    chain.sliceChanged(entry, a[2]);
    break;
  default:
    // Nobody reacts: the next reaction makes its blocks there.
    state_.entries.at(entry).managers[at(a[2])] = pooledManager(a[3]);
  }
}

void HostModel::applyToCounters(Operation const& operation, int made) {
  auto const& a = operation.argument;
  CounterModel chain(state_);
  int const counters = state_.countersSlot[at(a[0])][at(a[1])];
  auto const removeCounter = [&](int counter) {
    if (std::exchange(state_.counters.at(counters).names[at(counter)], false)) chain.countersChanged(counters, counter);
  };
  switch (operation.kind) {
  case Kind::countersRenew:
    newCounters(a[0], a[1], made);
    break;
  case Kind::countersSet:
    // Always a new counter, so always a change.
    state_.counters.at(counters).names[at(a[2])] = true;
    chain.countersChanged(counters, a[2]);
    break;
  case Kind::countersDel:
    removeCounter(a[2]);
    break;
  case Kind::countersDelAll:
    for (int const counter : state_.counterOrder)
      removeCounter(counter);
    break;
  default:
    chain.countersChanged(counters, a[2]);
  }
}

void HostModel::applyToOutputs(Operation const& operation, int made) {
  auto const& a = operation.argument;
  State::Directory& output = state_.outputs.at(state_.outputSlot[at(a[0])]);
  switch (operation.kind) {
  case Kind::outputSet:
    output[at(a[1])] = state_.countersSlot[at(a[1])][at(a[2])];
    break;
  case Kind::outputDel:
    output[at(a[1])] = none;
    break;
  case Kind::outputDelAll:
    output = State::empty();
    break;
  default:
    state_.outputs[made] = State::empty();
    state_.outputSlot[at(a[0])] = made;
  }
}

void HostModel::releaseOrphans() {
  // Who holds a directory of slices: the host, and who watches it. A parent is not held by its children.
  std::set<int> directories(state_.slicesSlot.begin(), state_.slicesSlot.end());
  for (auto const& [number, discovery] : state_.discoveries)
    directories.insert(discovery.slices.watched());
  for (auto& [number, entry] : state_.entries)
    if (!directories.contains(entry.parent)) entry.parent = none;

  // Who holds a slice: the host, its directory, its reactor and the leaves below.
  std::set<int> slices;
  for (auto const& slots : state_.entrySlot)
    slices.insert(slots.begin(), slots.end());
  for (int const directory : directories)
    if (directory != none)
      slices.insert(state_.sliceDirectories.at(directory).begin(), state_.sliceDirectories.at(directory).end());
  for (auto const& [number, discovery] : state_.discoveries)
    for (auto const& [slice, reactor] : discovery.reactors) {
      slices.insert(reactor.slice.watched());
      for (auto const& [interface, leaf] : reactor.leaves)
        slices.insert(leaf.slice);
    }
  for (auto& [number, counters] : state_.counters)
    if (!slices.contains(counters.parent)) counters.parent = none;
}

}  // namespace Model
