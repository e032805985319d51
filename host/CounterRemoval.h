#pragma once

/// \file
/// Removes the listed objects of counter blocks from the machine, after asking.
///
/// Guarantees
///   A  Nothing is removed without a yes on the terminal, or `--yes`.
///   B  Only what was shown in the question is removed, as far as that can be held: an object that took the name of another
///      meanwhile stays, unless it took it in the moment between the last look and the removal by name.
///   C  Processes that have an object open go on with it; its memory is freed when the last of them closes it.
///
/// Use
///
///     bool const isDone = VaroHost::CounterRemoval(list, out).run(options.isConfirmed);

#include "host/CounterList.h"
#include "host/Output.h"

namespace VaroHost {

class CounterRemoval {
 public:
  CounterRemoval(CounterList const& list, Output& out) : list_(list), out_(out) {}

  /// False when something could not be removed, which is said. Errors: `Trouble` when nobody can be asked.
  bool run(bool isConfirmed);

 private:
  bool ask() const;
  bool remove(CounterObject const& object);

  CounterList const& list_;
  Output& out_;
};

}  // namespace VaroHost
