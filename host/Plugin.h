#pragma once

/// \file
/// The plug-in library, loaded when the program runs: loading registers its types, nothing else is known of it.
///
/// Guarantees
///   A  After construction the types of the library can be created by name through the registry.
///   B  The library stays loaded until the process ends: the registry points into it.
///
/// Use
///
///     VaroHost::Plugin plugin("");   // the library that was built or installed with the program

#include <string>

namespace VaroHost {

class Plugin {
 public:
  /// \param file path of a library; empty for the program's own
  /// Errors: `Trouble` with what the loader says.
  explicit Plugin(std::string const& file);
};

}  // namespace VaroHost
