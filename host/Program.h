#pragma once

/// \file
/// The program `varo-host`: command line, commands, exit status.
///
/// Guarantees
///   A  Wrong usage and trouble end with status 2 and a line on standard error; nothing throws out of `run`.
///
/// Use
///
///     int main(int argc, char** argv) { return VaroHost::Program::run(argc, argv); }

namespace VaroHost {

class Program {
 public:
  static int run(int argc, char const* const* argv);
};

}  // namespace VaroHost
