#pragma once

/// \file
/// A moment as people and programs read it.
///
/// Guarantees
///   A  Both readings are of the same moment, whenever they are asked for.
///
/// Use
///
///     auto const now = VaroHost::ClockTime::now();
///     out.print("{}  {}\n", now.text(), what);        // 14:03:59.120

#include <chrono>
#include <string>

namespace VaroHost {

class ClockTime {
 public:
  static ClockTime now() { return ClockTime(Clock::now()); }

  /// Local time of day, to the millisecond.
  std::string text() const;
  /// Since 1970.
  double seconds() const { return std::chrono::duration<double>(moment_.time_since_epoch()).count(); }

 private:
  using Clock = std::chrono::system_clock;

  explicit ClockTime(Clock::time_point moment) : moment_(moment) {}

  Clock::time_point moment_;
};

}  // namespace VaroHost
