#include "host/ReplayCommand.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <utility>

#include <asio/post.hpp>
#include <fcntl.h>
#include <fmt/format.h>

#include "Zon/Exception.h"
#include "host/Complaint.h"
#include "host/Ending.h"
#include "host/Trouble.h"

namespace VaroHost {

namespace {

/// Lines between two looks at signals and progress.
constexpr int batch = 1024;

double seconds(std::chrono::nanoseconds time) { return std::chrono::duration<double>(time).count(); }

}  // namespace

ReplayCommand::ReplayCommand(ReplayOptions options, Output& out)
  : options_(std::move(options)),
    out_(out),
    input_(options_.file),
    lines_(input_.descriptor()),
    device_(options_.isFollowing ? &follower_ : nullptr, CounterMemory(options_.counterMemory)),
    report_(options_, out),
    progress_("replay", !options_.isFollowing && !options_.isPaced && options_.traces.empty()),
    signals_(loop_),
    timer_(loop_),
    readable_(loop_) {
  if (!input_.isRegular()) {
    // What cannot be polled, such as /dev/null, answers each wait with an error and is then read at once.
    asio::error_code error;
    descriptorFlags_ = ::fcntl(input_.descriptor(), F_GETFL);
    readable_.assign(input_.descriptor(), error);
  }
}

ReplayCommand::~ReplayCommand() {
  if (readable_.is_open()) {
    readable_.release();
    // Waiting made the descriptor nonblocking; standard input belongs to others too.
    ::fcntl(input_.descriptor(), F_SETFL, descriptorFlags_);
  }
}

int ReplayCommand::run() {
  addEndingSignals(signals_);
  signals_.async_wait([this](asio::error_code const& error, int) {
    if (!error) {
      progress_.clear();
      interrupted("interrupted");
    }
  });
  resume(false);
  loop_.run();
  progress_.clear();
  if (!isAborted_) {
    if (options_.isFollowing && lines_.number() != 0) {
      report_.gap();
    }
    report_.interfaces(InterfaceList(device_));
    // Whoever compares states would take half a recording for the whole.
    if (!isInterrupted_) {
      report_.state(device_);
    }
  }
  return status_;
}

void ReplayCommand::stop() {
  signals_.cancel();
  loop_.stop();
}

/// Ends the replay before the recording has ended.
void ReplayCommand::interrupted(std::string_view reason) {
  complain("{}:{}: {}\n", input_.name(), lines_.number(), reason);
  status_ = ExitStatus::someFailed;
  isInterrupted_ = true;
  stop();
}

void ReplayCommand::outputEnded() {
  if (!options_.stateFile.empty() && out_.error() == 0) {
    return interrupted("the reader of standard output has gone; no state is written");
  }
  isInterrupted_ = true;
  stop();
}

void ReplayCommand::resume(bool mayRead) {
  asio::post(loop_, [this, mayRead] { step(mayRead); });
}

void ReplayCommand::step(bool mayRead) {
  auto const woken = [this](asio::error_code const& error) {
    if (error != asio::error::operation_aborted) {
      step(true);
    }
  };
  for (int count = 0; count < batch; ++count) {
    if (waiting_ != nullptr) {
      if (mustWait(*waiting_)) {
        out_.flush();
        if (out_.ended()) {
          return outputEnded();
        }
        timer_.async_wait(woken);
        return;
      }
      if (!apply(*std::exchange(waiting_, nullptr))) {
        return stop();
      }
    }
    if (readable_.is_open() && !mayRead && !lines_.hasLine()) {
      out_.flush();
      if (out_.ended()) {
        return outputEnded();
      }
      readable_.async_wait(asio::posix::stream_descriptor::wait_read, woken);
      return;
    }
    mayRead = false;
    if (!handle(lines_.next())) {
      return stop();
    }
  }
  if (out_.ended()) {
    return outputEnded();
  }
  progress_.update(lines_.number(), lines_.offset(), input_.size());
  resume(false);
}

bool ReplayCommand::handle(LineReader::Result result) {
  switch (result) {
  case LineReader::Result::line:
    return handleLine(lines_.line());
  case LineReader::Result::tooLong:
    return failed(1, fmt::format("the line has more than {} bytes", LineReader::maxLineBytes));
  case LineReader::Result::again:
    return true;
  case LineReader::Result::end:
    return false;
  case LineReader::Result::failed:
    throw Trouble(input_.name(), lines_.error());
  }
  return false;
}

bool ReplayCommand::handleLine(std::string_view line) {
  if (ChangeReader::isBlank(line)) {
    return true;
  }
  try {
    Change const& change = reader_.read(line);
    if (change.time < lastTime_) {
      return failed(change, Member::time,
                    fmt::format("\"time\" goes back from {} to {}", seconds(lastTime_), seconds(change.time)));
    }
    if (mustWait(change)) {
      waiting_ = &change;
      return true;
    }
    return apply(change);
  } catch (LineError const& error) {
    return failed(error.column(), error.what());
  }
}

bool ReplayCommand::mustWait(Change const& change) {
  if (!options_.isPaced) {
    return false;
  }
  auto const now = std::chrono::steady_clock::now();
  if (!isStarted_) {
    isStarted_ = true;
    firstTime_ = change.time;
    start_ = now;
  }
  // A gap of years must not overflow the clock.
  constexpr std::chrono::nanoseconds longest = std::chrono::hours(24 * 365);
  auto const due = start_ + std::min(change.time - firstTime_, longest);
  if (due <= now) {
    return false;
  }
  timer_.expires_at(due);
  return true;
}

bool ReplayCommand::apply(Change const& change) {
  try {
    device_.apply(change);
  } catch (ChangeError const& error) {
    return failed(change, error.member(), error.what());
  } catch (Zon::Exception const& error) {
    return failed(1, error.what());
  }
  lastTime_ = change.time;
  if (options_.isFollowing) {
    double const time = seconds(change.time);
    follower_.flush([&](StateFollower::Transition const& transition) {
      report_.change(time, fmt::format("{:10.3f}", time), transition);
    });
    if (!options_.traces.empty()) {
      // Trace lines go to another descriptor: keep the two in step.
      out_.flush();
    }
  }
  return true;
}

bool ReplayCommand::failed(Change const& change, Member member, std::string_view reason) {
  return failed(change.columns[static_cast<std::size_t>(member)], reason);
}

bool ReplayCommand::failed(std::size_t column, std::string_view reason) {
  progress_.clear();
  out_.flush();
  complain("{}:{}:{}: {}\n", input_.name(), lines_.number(), std::max<std::size_t>(column, 1), reason);
  status_ = ExitStatus::someFailed;
  isAborted_ = !options_.keepsGoing;
  return options_.keepsGoing;
}

}  // namespace VaroHost
