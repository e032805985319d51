#pragma once

/// \file
/// Agents and roots, and what their reactors share: who is replaced, kept, switched, moved to another activity.
///
/// A replaced reactor is not told anything; it goes when its last pointer goes. One the host kept works on: then two
/// write, and the last one wins.

#include "model/Operation.h"
#include "model/State.h"

namespace Model {

class WiringModel {
 public:
  explicit WiringModel(State& state) : state_(state) {}

  void start();
  void apply(Operation const& operation, int made);

  /// The number of the reactor an operation means, or none.
  int reactor(int type, int which) const;
  /// Forgets the reactors that nobody points to any more, and what waits for them.
  void releaseDropped();

 private:
  void newAgent(int agent, int name);
  void applyToAgent(Operation const& operation, int made);
  void takeReactor(int type, int owner);
  int& attribute(int type, int owner);
  void activityIs(int type, int number, int activity);

  void mirrorIs(Operation const& operation);
  void statusesIs(Operation const& operation);
  void machineIs(Operation const& operation);
  void discoveryIs(Operation const& operation);

  State& state_;
};

/// Calls `act` with the reactor of a type and number.
template <class S, class Act>
void withReactor(S& state, int type, int number, Act const& act) {
  switch (type) {
  case mirrorType:
    act(state.mirrors.at(number));
    break;
  case statusMachineType:
    act(state.statusMachines.at(number));
    break;
  case discoveryType:
    act(state.discoveries.at(number));
    break;
  default:
    act(state.machines.at(number));
  }
}

}  // namespace Model
