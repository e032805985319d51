#pragma once

/// \file
/// One line on the user's terminal that tells how far long work has come.
///
/// Guarantees
///   A  Writes only to a terminal, not before `patience`, and at most five times a second.
///   B  `clear` and the destructor leave the terminal's line empty.
///
/// Use
///
///     VaroHost::Progress progress("replay");
///     progress.update(lines, bytesDone, bytesTotal);

#include <chrono>
#include <cstdint>
#include <string>

namespace VaroHost {

class Progress {
 public:
  /// \param isWanted false for silence, as beside other output
  Progress(std::string label, bool isWanted);
  ~Progress() { clear(); }
  Progress(Progress const&) = delete;
  Progress& operator=(Progress const&) = delete;

  /// \param total 0 when unknown
  void update(std::uint64_t lines, std::uint64_t done, std::uint64_t total);
  void clear();

 private:
  using Clock = std::chrono::steady_clock;
  static constexpr std::chrono::milliseconds patience{500};
  static constexpr std::chrono::milliseconds interval{200};

  std::string const label_;
  bool const isActive_;
  bool isShown_ = false;
  Clock::time_point next_;
};

}  // namespace VaroHost
