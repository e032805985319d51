#pragma once

/// \file
/// `varo-host replay FILE`: plays a recording into a device and shows what became of it.
///
/// Guarantees
///   A  Memory is bounded by the device and one line, however long the recording is.
///   B  A line is applied whole or not at all; what is wrong with it is reported as `FILE:LINE:COLUMN: reason`.
///   C  The state of a recording that was read to its end is written, whoever reads the output. A signal, or the notice
///      that the reader has gone, ends the command before, between two lines. Neither leaves a state behind; a signal
///      leaves a table. A reader that has gone is worth a word only when a state was asked for.
///
/// Use
///
///     return VaroHost::ReplayCommand(options, out).run();

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

#include <asio/io_context.hpp>
#include <asio/posix/stream_descriptor.hpp>
#include <asio/signal_set.hpp>
#include <asio/steady_timer.hpp>

#include "host/ChangeReader.h"
#include "host/Device.h"
#include "host/InputFile.h"
#include "host/LineReader.h"
#include "host/Options.h"
#include "host/Output.h"
#include "host/Progress.h"
#include "host/Report.h"
#include "host/StateFollower.h"

namespace VaroHost {

class ReplayCommand {
 public:
  /// Errors: `Trouble` when the file cannot be opened.
  ReplayCommand(ReplayOptions options, Output& out);
  ~ReplayCommand();

  /// Returns an exit status. Errors: `Trouble`.
  int run();

 private:
  /// Handles a batch of lines, then yields to the loop.
  /// \param mayRead there is input, or the wait for it is over
  void step(bool mayRead);
  void resume(bool mayRead);
  // Each answers whether to go on.
  bool handle(LineReader::Result result);
  bool handleLine(std::string_view line);
  bool apply(Change const& change);
  bool failed(Change const& change, Member member, std::string_view reason);
  bool failed(std::size_t column, std::string_view reason);
  /// Sets the timer when the change is not due yet.
  bool mustWait(Change const& change);
  void interrupted(std::string_view reason);
  void outputEnded();
  void stop();

  ReplayOptions const options_;
  Output& out_;
  InputFile input_;
  LineReader lines_;
  ChangeReader reader_;
  StateFollower follower_;
  Device device_;
  Report report_;
  Progress progress_;

  asio::io_context loop_;
  asio::signal_set signals_;
  asio::steady_timer timer_;
  /// Open for what is no regular file.
  asio::posix::stream_descriptor readable_;
  int descriptorFlags_ = 0;

  std::chrono::nanoseconds lastTime_{0};
  /// The change that waits for its time; owned by the reader.
  Change const* waiting_ = nullptr;
  bool isStarted_ = false;
  std::chrono::nanoseconds firstTime_{0};
  std::chrono::steady_clock::time_point start_;
  int status_ = ExitStatus::fine;
  bool isAborted_ = false;
  bool isInterrupted_ = false;
};

}  // namespace VaroHost
