#pragma once

/// \file
/// `--trace FACILITY=LEVEL[,LEVEL...]`: switches trace facilities on. Lines go to standard error.
///
/// Use
///
///     VaroHost::TraceSwitches::apply({"Errdisable=7,8"});

#include <string>
#include <vector>

namespace VaroHost {

class TraceSwitches {
 public:
  /// Errors: `Trouble` for what cannot be read; then nothing is switched.
  static void apply(std::vector<std::string> const& switches);
};

}  // namespace VaroHost
