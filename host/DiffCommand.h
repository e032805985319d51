#pragma once

/// \file
/// `varo-host diff A B`: what two states differ in.
///
/// Guarantees
///   A  Nothing is printed unless both files are states.
///
/// Use
///
///     return VaroHost::DiffCommand(options, out).run();

#include "host/Options.h"
#include "host/Output.h"

namespace VaroHost {

class DiffCommand {
 public:
  DiffCommand(DiffOptions options, Output& out);

  /// Returns an exit status. Errors: `Trouble`.
  int run();

 private:
  DiffOptions const options_;
  Output& out_;
};

}  // namespace VaroHost
