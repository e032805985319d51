#pragma once

/// \file
/// What a host does to its own entities, directories and lists.

#include "model/Operation.h"
#include "model/Outcome.h"
#include "model/State.h"

namespace Model {

class HostModel {
 public:
  explicit HostModel(State& state) : state_(state) {}

  /// Makes everything a host starts with.
  void start();
  /// \param made the number of whatever this operation makes.
  Outcome apply(Operation const& operation, int made);

  /// A configuration or status directory within a host's reach, none when there is none there now.
  int directory(Half half, int reach) const;
  /// Entities whose directory nobody holds any more are nobody's children.
  void releaseOrphans();

  // The parts `shareOutHost` chooses from, and what `makeFirstEntities` calls.
  void applyToEntities(Operation const& operation, int made);
  void applyToDirectories(Operation const& operation, int made);
  void applyToLists(Operation const& operation, int made);
  void applyToSlices(Operation const& operation, int made);
  void applyToCounters(Operation const& operation, int made);
  void applyToOutputs(Operation const& operation, int made);
  void newEntity(Half half, int interface, int version, int number);
  void newEntry(int slice, int version, int number);
  void newCounters(int interface, int version, int number);

 private:
  void entryIs(int slices, int slice, int entry);
  void countersIs(int entry, int interface, int counters);

  State& state_;
  Outcome outcome_ = Outcome::done;
};

}  // namespace Model
