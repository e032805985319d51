#pragma once

/// \file
/// `VaroHost::Trouble`: why the program cannot do what it was asked to. Ends it with status 2.
///
/// Guarantees
///   A  `what()` is one message for people, without the program's name and without a newline.
///
/// Use
///
///     throw VaroHost::Trouble("cannot open", errno);

#include <stdexcept>
#include <string>

namespace VaroHost {

class Trouble : public std::runtime_error {
 public:
  explicit Trouble(std::string const& reason) : std::runtime_error(reason) {}
  /// \param errorNumber of the system call that failed
  Trouble(std::string const& what, int errorNumber);
};

}  // namespace VaroHost
