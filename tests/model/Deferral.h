#pragma once

/// \file
/// What waits for a dispatch, and what gets lost there.
///
/// Only the inputs on whole collections (`State::Gated`) ever wait. On a null or immediate activity a change is handled at
/// once. On a deferring one it is counted: exactly one change since the last turn is handled with its key; two or more,
/// even of one key, are lost, and so is "everything changed". Inputs wait in the order of their first change.

#include "model/State.h"

namespace Model {

class Deferral {
 public:
  explicit Deferral(State& state) : state_(state) {}

  /// One key of the collection changed: handled, recorded, or not heard at all.
  void changed(State::GatedInput gated, int key);
  /// The host said that everything changed.
  void everythingChanged(State::GatedInput gated);
  /// One round of an activity.
  void dispatch(int activity);
  /// Another activity for the input; what waits moves along, or is handled now when the new one does not defer.
  void activityIs(State::GatedInput gated, int activity);
  /// The setter of a gated input (none drops it, and what waits with it). Another notifier handles nothing by itself;
  /// what waits stays, and will be looked up in the new one.
  void inputIs(State::GatedInput gated, int notifier);

 private:
  Input& inputOf(State::GatedInput gated);
  State::Reactor& ownerOf(State::GatedInput gated);
  void handle(State::GatedInput gated, int key);
  void serve(State::GatedInput gated);
  void wait(State::GatedInput gated);
  static bool defers(int activity) { return activity >= firstDeferring; }
  std::vector<State::GatedInput>& queueOf(int activity) { return state_.queues[at(activity)]; }

  State& state_;
};

}  // namespace Model
