#pragma once

/// \file
/// What ends a command that goes on: Ctrl-C, a signal that asks for the end, time that is over.
///
/// Guarantees
///   A  From construction on these signals do not end the process: they stop the loop.
///   B  A terminal that is closed (SIGHUP) ends it too, unless that signal was ignored from the start, as under nohup.
///
/// Use
///
///     VaroHost::Ending ending(loop);
///     ending.after(seconds);
///     loop.run();

#include <asio/io_context.hpp>
#include <asio/signal_set.hpp>
#include <asio/steady_timer.hpp>

namespace VaroHost {

/// Adds the signals that ask for the end.
void addEndingSignals(asio::signal_set& signals);

class Ending {
 public:
  explicit Ending(asio::io_context& loop);

  /// Stops the loop after so many seconds.
  void after(double seconds);
  /// Forgets that.
  void cancelTime() { timer_.cancel(); }

 private:
  asio::io_context& loop_;
  asio::signal_set signals_;
  asio::steady_timer timer_;
};

}  // namespace VaroHost
