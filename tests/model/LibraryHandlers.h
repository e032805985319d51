#pragma once

/// \file
/// The operations of `HandlerModel`, done to the library's reactors.

#include "model/Library.h"
#include "model/Operation.h"

namespace Model {

class LibraryHandlers {
 public:
  explicit LibraryHandlers(Library& library) : library_(library) {}

  void apply(Operation const& operation);

  // The parts `shareOutHandlers` chooses from.
  void applyToMirror(Operation const& operation);
  void applyToStatusMachine(Operation const& operation);
  void applyToMachine(Operation const& operation);
  void applyToDiscovery(Operation const& operation);

 private:
  void machineInputIs(VaroErrdisable::AllIntfSM& machine, int input, int reach);
  void applyToMember(Operation const& operation, VaroErrdisable::IntfSM& member);
  void applyToSliceReactor(Operation const& operation, VaroIntf::AllIntfQueueCounterSliceReactor& reactor);
  void applyToLeaf(Operation const& operation, VaroIntf::AllIntfQueueCounterSliceIntfCounterReactor& leaf);

  Library& library_;
};

}  // namespace Model
