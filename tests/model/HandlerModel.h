#pragma once

/// \file
/// What a host does to a reactor directly: another input, a handler called by hand, a child removed or switched.

#include "model/Operation.h"
#include "model/Outcome.h"
#include "model/State.h"

namespace Model {

class HandlerModel {
 public:
  explicit HandlerModel(State& state) : state_(state) {}

  Outcome apply(Operation const& operation);

  // The parts `shareOutHandlers` chooses from.
  void applyToMirror(Operation const& operation);
  void applyToStatusMachine(Operation const& operation);
  void applyToMachine(Operation const& operation);
  void applyToDiscovery(Operation const& operation);

 private:
  void applyToMember(Operation const& operation, int number);
  void applyToSliceReactor(Operation const& operation, State::SliceReactor& reactor);
  void applyToLeaf(Operation const& operation, State::Leaf& leaf);
  void ended(bool well) { outcome_ = well ? Outcome::done : Outcome::nameInUse; }

  State& state_;
  Outcome outcome_ = Outcome::done;
};

}  // namespace Model
