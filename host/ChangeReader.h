#pragma once

/// \file
/// Reads one line of a recording into a `Change`, strictly: docs/replay.md states the form.
///
/// Guarantees
///   A  Either a change that keeps the promises of Change.h, or a `LineError` with column and reason; never both, and
///      no line, however hostile, does anything else.
///   B  Memory is bounded by the line: nesting deeper than the form ends the reading at once.
///   C  Nothing is remembered from one line to the next but buffers; whoever reads several lines checks the order of their times.
///
/// Use
///
///     VaroHost::ChangeReader reader;
///     VaroHost::Change const& change = reader.read(line);

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include "host/Change.h"

namespace VaroHost {

/// What is wrong with a line, and where.
class LineError : public std::runtime_error {
 public:
  /// \param column counted in bytes from 1
  LineError(std::size_t column, std::string const& reason) : std::runtime_error(reason), column_(column) {}

  std::size_t column() const noexcept { return column_; }

 private:
  std::size_t column_;
};

class ChangeReader {
 public:
  /// Longest name of an interface, a default configuration or another key, in bytes.
  static constexpr std::size_t maxNameBytes = 255;
  /// Longest reason, in bytes.
  static constexpr std::size_t maxTextBytes = 1024;
  /// Largest time in seconds.
  static constexpr double maxTime = 9e9;

  ChangeReader();
  ~ChangeReader();
  ChangeReader(ChangeReader const&) = delete;
  ChangeReader& operator=(ChangeReader const&) = delete;

  /// True when the line holds only white space.
  static bool isBlank(std::string_view line) noexcept;

  /// The change stays valid until the next call.
  /// Errors: `LineError`.
  Change const& read(std::string_view line);

 private:
  class Members;

  std::unique_ptr<Members> members_;
  Change change_;
};

}  // namespace VaroHost
