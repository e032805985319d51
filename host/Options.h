#pragma once

/// \file
/// What the command line asked for.
///
/// Guarantees
///   A  As they are made, options mean what a command line without any of them means.
///
/// Use
///
///     VaroHost::ReplayOptions options;
///     options.file = "line-card.jsonl";

#include <optional>
#include <string>
#include <vector>

namespace VaroHost {

enum class Colour { automatic, always, never };

/// What the commands that run a device understand.
struct CommonOptions {
  std::string plugin;               ///< file of the plug-in; empty for the program's own
  std::vector<std::string> traces;  ///< FACILITY=LEVEL
  Colour colour = Colour::automatic;
  bool isJson = false;
  bool isFollowing = false;
  std::string counterMemory;  ///< prefix of the shared memory's names; empty for private memory
  std::string stateFile;      ///< "-" for standard output; empty for none

  /// Whether standard output is the state's alone.
  bool isStateOutput() const noexcept { return stateFile == "-"; }
};

struct ReplayOptions : CommonOptions {
  std::string file;  ///< "-" for standard input
  bool isPaced = false;
  bool keepsGoing = false;
};

struct LiveOptions : CommonOptions {
  std::optional<double> duration;  ///< seconds
  double interval = 1.0;           ///< seconds between two looks at the kernel's statistics
  std::string errdisableFile;      ///< empty for none
  bool isEnforcing = false;
  bool leavesDown = false;

  /// Whether the command goes on after the first table.
  bool goesOn() const noexcept { return isFollowing || duration.has_value(); }
};

struct DiffOptions {
  std::string before;  ///< "-" for standard input
  std::string after;
  bool isJson = false;
};

struct CountersOptions {
  std::vector<std::string> names;  ///< of objects or blocks; none for all
  bool isJson = false;
  bool isWatching = false;
  double interval = 1.0;           ///< seconds
  std::optional<double> duration;  ///< seconds
  bool isUnlinking = false;
  bool isConfirmed = false;
};

/// Exit statuses of the program.
namespace ExitStatus {
inline constexpr int fine = 0;
inline constexpr int someFailed = 1;  ///< a line, an entry, a link or an object could not be handled
inline constexpr int different = 1;   ///< two states are not the same
inline constexpr int trouble = 2;     ///< wrong usage, or the program cannot work at all
}  // namespace ExitStatus

}  // namespace VaroHost
