#pragma once

/// \file
/// The operations of `HostModel`, done to the library's objects.

#include "model/Library.h"
#include "model/Operation.h"

namespace Model {

class LibraryHost {
 public:
  explicit LibraryHost(Library& library) : library_(library) {}

  void start();
  void apply(Operation const& operation, int made);

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
  template <class Directory>
  void applyToDirectory(Operation const& operation, Directory const& directory);

  Library& library_;
};

}  // namespace Model
