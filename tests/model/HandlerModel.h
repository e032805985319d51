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

 private:
  void applyToMirror(Operation const& operation);
  void applyToStatusMachine(Operation const& operation);
  Outcome applyToMachine(Operation const& operation);
  void applyToMember(Operation const& operation, int number);
  Outcome applyToDiscovery(Operation const& operation);
  Outcome applyToSliceReactor(Operation const& operation, State::SliceReactor& reactor);
  void applyToLeaf(Operation const& operation, State::Leaf& leaf);

  State& state_;
};

}  // namespace Model
