#pragma once

/// \file
/// A function that runs in a forked child of the test.
///
/// Guarantees
///   A  The child does nothing else: it leaves at once, with the status that the function returned. An exception ends it
///      with the status `threw`; what it says goes to standard error.
///   B  The child ends with its object at the latest, and with the thread that made it: it is killed.
///   C  It is waited for once, and sent no signal afterwards: another process may have its number by then.
///
/// Use
///
///     Support::ChildProcess child([&] { return ShmemMan::unlink(name) ? 0 : 1; });
///     EXPECT_EQ(child.finish(), 0);

#include <cerrno>
#include <concepts>
#include <csignal>
#include <cstdio>
#include <exception>
#include <system_error>
#include <type_traits>
#include <utility>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Support {

class ChildProcess {
 public:
  static constexpr int threw = 99;

  /// Forks. What returns true for success is not taken: as a status that would be a failure.
  template <class Function>
    requires(std::same_as<std::invoke_result_t<Function const&>, int>)
  explicit ChildProcess(Function const& function) : process_(::fork()) {
    if (process_ < 0) throw std::system_error(errno, std::generic_category(), "fork");
    if (process_ != 0) return;
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    int status = threw;
    try {
      status = function();
    } catch (std::exception const& exception) {
      std::fprintf(stderr, "child: %s\n", exception.what());
    } catch (...) {
      std::fputs("child: unknown exception\n", stderr);
    }
    leave(status);
  }
  ChildProcess(ChildProcess&& other) noexcept : process_(std::exchange(other.process_, 0)), ending_(other.ending_) {}
  ChildProcess& operator=(ChildProcess&&) = delete;
  ~ChildProcess() { kill(); }

  /// For a child in the middle of its function: ends it with this status; nothing is destroyed or flushed.
  [[noreturn]] static void leave(int status) { ::_exit(status); }

  /// Whether it has ended by now.
  bool hasEnded() { return wait(WNOHANG); }
  /// Waits for the end: its exit status, or 128 and the signal that ended it.
  int finish() {
    wait(0);
    return WIFEXITED(ending_) ? WEXITSTATUS(ending_) : 128 + WTERMSIG(ending_);
  }
  /// Sends a signal that ends it, unless it has ended, and waits as `finish` does.
  int kill(int signal = SIGKILL) {
    if (process_ != 0) ::kill(process_, signal);
    return finish();
  }
  /// The signal that ended it, 0 when it left by itself; known after the end.
  int endingSignal() const { return WIFSIGNALED(ending_) ? WTERMSIG(ending_) : 0; }

 private:
  /// False when it is not ended and need not be waited for.
  bool wait(int options) {
    while (process_ != 0) {
      pid_t const ended = ::waitpid(process_, &ending_, options);
      if (ended == 0) return false;
      if (ended == process_) {
        process_ = 0;
      } else if (errno != EINTR) {
        throw std::system_error(errno, std::generic_category(), "waitpid");
      }
    }
    return true;
  }

  /// 0: waited for.
  pid_t process_;
  /// As `waitpid` tells it.
  int ending_ = 0;
};

}  // namespace Support
