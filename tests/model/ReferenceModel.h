#pragma once

/// \file
/// The reference model: predicts what can be seen of both modules after any sequence of host operations.
///
/// It shares no code with the library and has no notifications: it holds plain maps, and after each host operation works
/// out, reactor by reactor, what each of them does about it. What it remembers beside the inputs is listed in State.h.
///
/// Guarantees
///   A  It never needs the library's answer to predict the next one. The only thing it is told is the order of walks.
///   B  An operation that would abort the process, or use an input that is not there, is reported as impossible; the model
///      is useless afterwards, so such an operation is tried on a copy first.
///
/// Use
///
///     ReferenceModel trial = model;
///     if (trial.apply(operation, step) != Outcome::impossible) { model = trial; ... }

#include "model/Observation.h"
#include "model/Operation.h"
#include "model/Outcome.h"
#include "model/State.h"

namespace Model {

/// In which order walks over all keys meet them.
struct WalkOrders {
  std::vector<int> interfaces, slices, counters;
};

class ReferenceModel {
 public:
  explicit ReferenceModel(WalkOrders const& orders);

  /// \param step the operation's position in the sequence: what it makes is numbered by it.
  Outcome apply(Operation const& operation, int step);
  /// Whether the operation must be tried first.
  bool mayBeImpossible(Operation const& operation) const;

  Observation observe() const;
  /// Block names by manager.
  std::map<int, std::set<std::string>> const& blocks() const { return state_.blocks; }

 private:
  State state_;
};

}  // namespace Model
