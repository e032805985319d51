#pragma once

/// \file
/// The table of interfaces, as network people know it, with a summary line.
///
/// Guarantees
///   A  Columns are aligned by what a terminal shows; no line ends in blanks.
///   B  Colour is written only when asked for, and changes no width.
///   C  Whatever names and reasons hold, each interface takes exactly one line.
///
/// Use
///
///     VaroHost::InterfaceTable(interfaces, isColoured).print(out);

#include "host/InterfaceList.h"
#include "host/Output.h"

namespace VaroHost {

class InterfaceTable {
 public:
  InterfaceTable(InterfaceList const& interfaces, bool isColoured) : interfaces_(interfaces), isColoured_(isColoured) {}

  void print(Output& out) const;

 private:
  void printSummary(Output& out) const;

  InterfaceList const& interfaces_;
  bool const isColoured_;
};

}  // namespace VaroHost
