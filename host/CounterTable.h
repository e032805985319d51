#pragma once

/// \file
/// The table of counter blocks: object, block, value.
///
/// Guarantees
///   A  Objects and blocks stand in natural order, each block on exactly one line whatever its name holds.
///   B  On a terminal the table is cut to its size, and says how much is not shown.
///
/// Use
///
///     VaroHost::CounterTable(list).print(out);

#include "host/CounterList.h"
#include "host/Output.h"

namespace VaroHost {

class CounterTable {
 public:
  explicit CounterTable(CounterList const& list);

  void print(Output& out) const;
  /// The same in at most so many lines of so many columns.
  void print(Output& out, Output::Size size) const;

 private:
  void printSummary(Output& out) const;

  CounterList const& list_;
  std::size_t blocks_ = 0;
  std::size_t rows_ = 0;
  std::size_t objectWidth_;
  std::size_t blockWidth_;
  std::size_t valueWidth_;
};

}  // namespace VaroHost
