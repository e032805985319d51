#include "host/LiveCommand.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <ctime>
#include <utility>

#include <asio/post.hpp>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/Complaint.h"
#include "host/ErrdisableList.h"
#include "host/Text.h"
#include "host/Trouble.h"

namespace VaroHost {

namespace {

/// How long the end waits for the kernel to tell of what was released.
constexpr std::chrono::seconds echoPatience{2};

constexpr off_t maxErrdisableBytes = 16 << 20;

using WallClock = std::chrono::system_clock;

std::string timeText(WallClock::time_point time) {
  std::time_t const seconds = WallClock::to_time_t(time);
  auto const milliseconds =
      std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch()).count() % 1000;
  std::tm local{};
  ::localtime_r(&seconds, &local);
  return fmt::format("{:02}:{:02}:{:02}.{:03}", local.tm_hour, local.tm_min, local.tm_sec, milliseconds);
}

}  // namespace

LiveCommand::LiveCommand(LiveOptions options, Output& out)
  : options_(std::move(options)),
    out_(out),
    device_(options_.isFollowing ? &follower_ : nullptr, CounterMemory(options_.counterMemory)),
    report_(options_, out),
    switch_(options_.isEnforcing ? std::make_unique<KernelLinkSwitch>() : nullptr),
    links_(device_, switch_.get(), *this),
    signals_(loop_, SIGINT, SIGTERM),
    end_(loop_),
    monitor_(loop_, links_) {}

int LiveCommand::run() {
  signals_.add(SIGHUP);
  signals_.async_wait([this](asio::error_code const& error, int) {
    if (!error) {
      stop();
    }
  });
  if (!options_.errdisableFile.empty()) {
    errdisableWatch_.emplace(loop_, options_.errdisableFile,
                             [this](FileWatch::Content content) { loadErrdisable(content); });
    loadErrdisable(FileWatch::Content::whole);
  }
  monitor_.start();
  std::exception_ptr trouble;
  try {
    loop_.run();
  } catch (...) {
    trouble = std::current_exception();
  }
  if (!options_.leavesDown) {
    links_.releaseAll();
  }
  if (trouble) {
    std::rethrow_exception(trouble);
  }
  awaitEchoes();
  // Where only a moment was asked for, its table has been printed; JSON is one document, at the end.
  if (isShown_ && (options_.goesOn() || options_.isJson)) {
    if (options_.isFollowing) {
      report_.gap();
    }
    show();
  }
  if (isShown_) {
    report_.state(device_);
  }
  return status_;
}

void LiveCommand::awaitEchoes() {
  end_.cancel();
  asio::steady_timer patience(loop_, echoPatience);
  bool isOver = false;
  patience.async_wait([&isOver](asio::error_code const&) { isOver = true; });
  loop_.restart();
  while (links_.awaitsEcho() && !isOver && !out_.ended() && loop_.run_one() != 0) {
  }
}

void LiveCommand::stop() { loop_.stop(); }

void LiveCommand::show() {
  report_.interfaces(InterfaceList(device_, [this](Zon::String8 const& name) { return links_.facts(name); }));
}

void LiveCommand::synchronized() {
  isShown_ = true;
  // What led to the first table is no change.
  follower_.flush([](StateFollower::Transition const&) {});
  if (!options_.isJson) {
    show();
  }
  if (!options_.goesOn()) {
    return stop();
  }
  report_.gap();
  out_.flush();
  if (options_.duration) {
    end_.expires_after(
        std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::duration<double>(*options_.duration)));
    end_.async_wait([this](asio::error_code const& error) {
      if (!error) {
        stop();
      }
    });
  }
}

void LiveCommand::changed() {
  if (!isShown_ || !options_.isFollowing) {
    return;
  }
  auto const now = WallClock::now();
  double const seconds = std::chrono::duration<double>(now.time_since_epoch()).count();
  follower_.flush(
      [&](StateFollower::Transition const& transition) { report_.change(seconds, timeText(now), transition); });
  out_.flush();
  if (out_.ended()) {
    stop();
  }
}

void LiveCommand::note(std::string const& text) {
  if (options_.isFollowing) {
    report_.remark(timeText(WallClock::now()), text);
    out_.flush();
  }
}

void LiveCommand::enforced(std::string const& text) {
  if (options_.isJson || options_.isStateOutput()) {
    complain("varo-host: {}\n", text);
    return;
  }
  report_.remark(timeText(WallClock::now()), text);
  out_.flush();
}

void LiveCommand::failed(std::string const& text) {
  out_.flush();
  complain("varo-host: {}\n", text);
  status_ = ExitStatus::someFailed;
}

std::optional<std::string> LiveCommand::readErrdisable() {
  std::string const& file = options_.errdisableFile;
  std::string const shown = printable(file);
  auto const refuse = [&](std::string const& reason) {
    failed(fmt::format("{}: {}; what it said before stays in force", shown, reason));
    return std::nullopt;
  };
  // Nonblocking: a pipe in the file's place must not stop everything.
  int const descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
  if (descriptor < 0) {
    if (errno == ENOENT) {
      complain("varo-host: {}: does not exist; no interface is error-disabled until it does\n", shown);
      return "";
    }
    return refuse(Trouble("cannot open", errno).what());
  }
  struct stat facts {};
  std::string text;
  char const* fault = nullptr;
  if (::fstat(descriptor, &facts) != 0 || !S_ISREG(facts.st_mode)) {
    fault = "not a regular file";
  } else if (facts.st_size > maxErrdisableBytes) {
    fault = "larger than 16 MiB";
  } else {
    // The file may shrink or grow meanwhile; what comes after the size known now is left to the next reading.
    text.resize(static_cast<std::size_t>(facts.st_size));
    std::size_t done = 0;
    ssize_t got = 1;
    while (done < text.size() && got > 0) {
      got = ::read(descriptor, text.data() + done, text.size() - done);
      done += got > 0 ? static_cast<std::size_t>(got) : 0;
    }
    text.resize(done);
    fault = got < 0 ? "cannot be read" : nullptr;
  }
  ::close(descriptor);
  if (fault != nullptr) {
    return refuse(fault);
  }
  return text;
}

void LiveCommand::loadErrdisable(FileWatch::Content content) {
  auto const text = readErrdisable();
  // Who emptied the file or is in the middle of a line will go on or close it, and we hear of either.
  bool const isUnfinished = content == FileWatch::Content::beingWritten && text && !text->ends_with('\n');
  if (!text || isUnfinished) {
    return;
  }
  auto const list = ErrdisableList::parse(*text);
  if (list.complaints.empty()) {
    links_.errdisabledIs(list.entries);
    return;
  }
  out_.flush();
  for (auto const& complaint : list.complaints) {
    complain("{}:{}:{}: {}\n", printable(options_.errdisableFile), complaint.line, complaint.column, complaint.reason);
  }
  failed(fmt::format("{}: not taken; what it said before stays in force", printable(options_.errdisableFile)));
}

}  // namespace VaroHost
