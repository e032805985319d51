#pragma once

/// \file
/// The operations of `WiringModel`, done to the library's agents and roots.

#include "model/Library.h"
#include "model/Operation.h"

namespace Model {

class LibraryWiring {
 public:
  explicit LibraryWiring(Library& library) : library_(library) {}

  void start();
  void apply(Operation const& operation, int made);

 private:
  void applyToAgent(Operation const& operation, int made);
  void applyToReactor(Operation const& operation);
  void keptIs(int type, int which);
  void takeReactor(int type, int owner);

  Library& library_;
};

}  // namespace Model
