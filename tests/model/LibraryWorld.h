#pragma once

/// \file
/// The library under a host that does the operations: the counterpart of `ReferenceModel`.

#include "model/Library.h"
#include "model/Observation.h"
#include "model/Operation.h"
#include "model/Outcome.h"
#include "model/ReferenceModel.h"

namespace Model {

class LibraryWorld {
 public:
  LibraryWorld();

  /// In which order the library's maps walk the keys; asked once, of maps that hold every key.
  static WalkOrders walkOrders();

  Outcome apply(Operation const& operation, int step);
  Observation observe() const;
  /// Block names by manager.
  std::map<int, std::set<std::string>> blocks() const;

 private:
  Library library_;
};

}  // namespace Model
