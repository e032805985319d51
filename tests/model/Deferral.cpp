#include "model/Deferral.h"

#include <algorithm>
#include <utility>

#include "model/CounterModel.h"
#include "model/ErrdisableModel.h"
#include "model/StatusModel.h"

namespace Model {

Input& Deferral::inputOf(State::GatedInput gated) {
  switch (gated.which) {
  case State::Gated::configs:
    return state_.machines.at(gated.reactor).configs;
  case State::Gated::statuses:
    return state_.machines.at(gated.reactor).statuses;
  case State::Gated::list:
    return state_.machines.at(gated.reactor).list;
  case State::Gated::statusDirectory:
    return state_.statusMachines.at(gated.reactor).directory;
  case State::Gated::slices:
    break;
  }
  return state_.discoveries.at(gated.reactor).slices;
}

State::Reactor& Deferral::ownerOf(State::GatedInput gated) {
  switch (gated.which) {
  case State::Gated::configs:
  case State::Gated::statuses:
  case State::Gated::list:
    return state_.machines.at(gated.reactor);
  case State::Gated::statusDirectory:
    return state_.statusMachines.at(gated.reactor);
  case State::Gated::slices:
    break;
  }
  return state_.discoveries.at(gated.reactor);
}

// What a handler throws never reaches the host here: the delivery, or the round, contains it.
void Deferral::handle(State::GatedInput gated, int key) {
  switch (gated.which) {
  case State::Gated::configs:
  case State::Gated::statuses:
    ErrdisableModel(state_).handleIntf(gated.reactor, key);
    break;
  case State::Gated::list:
    ErrdisableModel(state_).handleErrdisable(gated.reactor, key);
    break;
  case State::Gated::statusDirectory:
    StatusModel(state_).handle(gated.reactor, key);
    break;
  case State::Gated::slices:
    CounterModel(state_).handleSlice(gated.reactor, key);
    break;
  }
}

void Deferral::wait(State::GatedInput gated) {
  auto& queue = queueOf(inputOf(gated).activity);
  if (std::ranges::find(queue, gated) == queue.end()) queue.push_back(gated);
}

void Deferral::changed(State::GatedInput gated, int key) {
  Input& input = inputOf(gated);
  if (!input.hears()) return;
  if (!defers(input.activity)) {
    handle(gated, key);
    return;
  }
  input.pendingKey = key;
  ++input.pendingCount;
  if (input.pending == Input::Pending::nothing) input.pending = Input::Pending::changes;
  wait(gated);
}

void Deferral::everythingChanged(State::GatedInput gated) {
  Input& input = inputOf(gated);
  if (!input.hears() || !defers(input.activity)) return;
  input.pending = Input::Pending::everything;
  wait(gated);
}

void Deferral::serve(State::GatedInput gated) {
  Input& input = inputOf(gated);
  auto const pending = std::exchange(input.pending, Input::Pending::nothing);
  unsigned const count = std::exchange(input.pendingCount, 0);
  // Who was switched off before its turn is not asked.
  if (!input.hears() || input.notifier == none) return;
  if (pending == Input::Pending::changes && count == 1) handle(gated, input.pendingKey);
}

void Deferral::dispatch(int activity) {
  auto const round = std::exchange(queueOf(activity), {});
  for (State::GatedInput const gated : round)
    serve(gated);
}

void Deferral::activityIs(State::GatedInput gated, int activity) {
  Input& input = inputOf(gated);
  if (!input.present || input.activity == activity) return;
  auto& old = queueOf(input.activity);
  input.activity = activity;
  auto const waiting = std::ranges::find(old, gated);
  if (waiting == old.end()) return;
  old.erase(waiting);
  if (defers(activity)) {
    wait(gated);
  } else {
    serve(gated);
  }
}

void Deferral::inputIs(State::GatedInput gated, int notifier) {
  Input& input = inputOf(gated);
  State::Reactor const& owner = ownerOf(gated);
  if (input.watched() == notifier) return;
  if (notifier == none) {
    std::erase(queueOf(input.activity), gated);
    input = Input();
    return;
  }
  if (input.present) {
    rebind(state_, input, notifier);
  } else {
    input = newInput(state_, owner, notifier);
  }
  input.zombieIs(owner.zombie);
}

}  // namespace Model
