#include "model/DirectoryModel.h"

#include <algorithm>
#include <tuple>

#include "model/Deferral.h"
#include "model/MirrorModel.h"

namespace Model {

namespace {

struct Watcher {
  std::uint64_t stamp;
  ReactorType type;
  int reactor;
};

}  // namespace

template <class ToMirror, class ToGated>
void DirectoryModel::tell(Half half, int directory, ToMirror const& toMirror, ToGated const& toGated) {
  std::vector<Watcher> watchers;
  for (auto const& [number, mirror] : state_.mirrors)
    if (Input const& input = mirror.input[at(half)]; input.watched() == directory)
      watchers.push_back({input.stamp, mirrorType, number});
  for (auto const& [number, machine] : state_.machines)
    if (Input const& input = half == configHalf ? machine.configs : machine.statuses; input.watched() == directory)
      watchers.push_back({input.stamp, errdisableMachineType, number});
  if (half == statusHalf)
    for (auto const& [number, machine] : state_.statusMachines)
      if (machine.directory.watched() == directory)
        watchers.push_back({machine.directory.stamp, statusMachineType, number});
  std::ranges::sort(watchers, {}, &Watcher::stamp);

  for (Watcher const& watcher : watchers) {
    if (watcher.type == mirrorType) {
      if (state_.mirrors.at(watcher.reactor).input[at(half)].hears()) toMirror(watcher.reactor);
    } else if (watcher.type == statusMachineType) {
      toGated(State::GatedInput{State::Gated::statusDirectory, watcher.reactor});
    } else {
      toGated(State::GatedInput{half == configHalf ? State::Gated::configs : State::Gated::statuses, watcher.reactor});
    }
  }
}

void DirectoryModel::set(Half half, int directory, int interface, int entity) {
  int& entry = state_.directories[at(half)].at(directory)[at(interface)];
  if (entry == entity) return;
  entry = entity;
  notify(half, directory, interface);
}

void DirectoryModel::del(Half half, int directory, int interface) { set(half, directory, interface, none); }

void DirectoryModel::delAll(Half half, int directory) {
  for (int const interface : state_.interfaceOrder)
    del(half, directory, interface);
}

void DirectoryModel::notify(Half half, int directory, int interface) {
  tell(
      half, directory, [&](int mirror) { MirrorModel(state_).mirror(mirror, half, interface); },
      [&](State::GatedInput gated) { Deferral(state_).changed(gated, interface); });
}

void DirectoryModel::notifyAll(Half half, int directory) {
  tell(
      half, directory, [&](int mirror) { MirrorModel(state_).mirrorAll(mirror, half); },
      [&](State::GatedInput gated) { Deferral(state_).everythingChanged(gated); });
}

}  // namespace Model
