#pragma once

/// \file
/// Does something every so many seconds.
///
/// Guarantees
///   A  The pause is counted from the end of each action: a slow one delays the next and never piles up.
///   B  Nothing happens before `start`, nor after the repeater is gone.
///
/// Use
///
///     VaroHost::Repeater repeater(loop, 1.0, [&] { look(); });
///     repeater.start();   // the first time after one second

#include <chrono>
#include <functional>

#include <asio/io_context.hpp>
#include <asio/steady_timer.hpp>

namespace VaroHost {

/// As timers take it.
inline std::chrono::nanoseconds timerDuration(double seconds) {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::duration<double>(seconds));
}

class Repeater {
 public:
  Repeater(asio::io_context& loop, double seconds, std::function<void()> action);

  void start();

 private:
  asio::steady_timer timer_;
  std::chrono::nanoseconds const interval_;
  std::function<void()> const action_;
};

}  // namespace VaroHost
