#pragma once

/// \file
/// `--trace FACILITY=LEVEL[,LEVEL...]`: switches trace facilities on. Lines go to standard error.
///
/// Guarantees
///   A  A facility is known when the plug-in's modules or the runtime trace to it, or when it exists already (a plug-in
///      of other make may have made it on loading). Any other name is a mistake: nobody would ever write to it.
///   B  One mistake, and nothing is switched.
///
/// Use
///
///     VaroHost::TraceSwitches::apply({"Errdisable=7,8"});

#include <string>
#include <vector>

namespace VaroHost {

class TraceSwitches {
 public:
  /// REQUIRES: the plug-in is loaded.
  /// Errors: `Trouble` for what cannot be read and for a facility that is not known.
  static void apply(std::vector<std::string> const& switches);
};

}  // namespace VaroHost
