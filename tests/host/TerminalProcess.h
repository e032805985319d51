#pragma once

/// \file
/// Runs `varo-host` on a terminal of its own, as people do.

#include <chrono>
#include <csignal>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

class TerminalProcess {
 public:
  explicit TerminalProcess(std::vector<std::string> arguments, unsigned short lines = 24,
                           std::vector<std::string> const& program = {VARO_HOST_PROGRAM}) {
    arguments.insert(arguments.begin(), program.begin(), program.end());
    std::vector<char*> words;
    for (std::string& argument : arguments) {
      words.push_back(argument.data());
    }
    words.push_back(nullptr);
    winsize const size{lines, 80, 0, 0};
    child_ = ::forkpty(&terminal_, nullptr, nullptr, &size);
    if (child_ < 0) {
      throw std::runtime_error("forkpty");
    }
    if (child_ == 0) {
      ::setenv("TERM", "xterm", 1);
      ::execvp(words[0], words.data());
      ::_exit(127);
    }
  }
  ~TerminalProcess() {
    hangUp();
    if (child_ > 0) {
      ::kill(child_, SIGKILL);
      ::waitpid(child_, nullptr, 0);
    }
  }
  TerminalProcess(TerminalProcess const&) = delete;
  TerminalProcess& operator=(TerminalProcess const&) = delete;

  /// Closes the terminal: who runs on it is sent SIGHUP, and cannot write there any more.
  void hangUp() {
    if (terminal_ >= 0) {
      ::close(terminal_);
      terminal_ = -1;
    }
  }
  void type(std::string_view text) const {
    if (::write(terminal_, text.data(), text.size()) < 0) {
      throw std::runtime_error("terminal");
    }
  }
  /// All that came, lines ending as the terminal ends them.
  std::string const& screen() const { return screen_; }
  bool waitFor(std::string_view text, std::size_t from = 0) {
    while (screen_.find(text, from) == std::string::npos) {
      if (!read()) {
        return false;
      }
    }
    return true;
  }
  /// The exit status, or 128 and the signal that ended it.
  int finish() {
    while (read()) {
    }
    int status = 0;
    ::waitpid(child_, &status, 0);
    child_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }

 private:
  /// False when the program has ended, the terminal is closed, or nothing came for a long time.
  bool read() {
    pollfd waited{terminal_, POLLIN, 0};
    if (terminal_ < 0 || ::poll(&waited, 1, 60000) <= 0) {
      return false;
    }
    char buffer[4096];
    ssize_t const got = ::read(terminal_, buffer, sizeof buffer);
    screen_.append(buffer, got > 0 ? static_cast<std::size_t>(got) : 0);
    return got > 0;
  }

  pid_t child_ = -1;
  int terminal_ = -1;
  std::string screen_;
};
