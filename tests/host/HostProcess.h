#pragma once

/// \file
/// Runs `varo-host` as its users do: arguments in, standard output, standard error and exit status out.

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

/// What standard output and error of a program are. Terminals are two, one each, and change no byte.
enum class Outlet { pipe, terminal };

/// A program that runs beside the test.
class HostProcess {
 public:
  /// \param input what standard input holds; stays open while `keepsInput`
  explicit HostProcess(std::vector<std::string> arguments, std::string_view input = "", bool keepsInput = false,
                       std::vector<std::string> program = {VARO_HOST_PROGRAM}, Outlet outlet = Outlet::pipe) {
    arguments.insert(arguments.begin(), program.begin(), program.end());
    int in[2];
    int out[2];
    int err[2];
    if (::pipe2(in, O_CLOEXEC) != 0) {
      throw std::runtime_error("pipe");
    }
    open(outlet, out);
    open(outlet, err);
    std::vector<char*> words;
    for (std::string& argument : arguments) {
      words.push_back(argument.data());
    }
    words.push_back(nullptr);
    child_ = ::fork();
    if (child_ == 0) {
      ::dup2(in[0], STDIN_FILENO);
      ::dup2(out[1], STDOUT_FILENO);
      ::dup2(err[1], STDERR_FILENO);
      ::execvp(words[0], words.data());
      ::_exit(127);
    }
    ::close(in[0]);
    ::close(out[1]);
    ::close(err[1]);
    in_ = in[1];
    streams_[0].descriptor = out[0];
    streams_[1].descriptor = err[0];
    std::signal(SIGPIPE, SIG_IGN);
    write(input);
    if (!keepsInput) {
      closeInput();
    }
  }

  ~HostProcess() {
    closeInput();
    closeOutput();
    closeError();
    if (child_ > 0) {
      ::kill(child_, SIGKILL);
      ::waitpid(child_, nullptr, 0);
    }
  }
  HostProcess(HostProcess const&) = delete;
  HostProcess& operator=(HostProcess const&) = delete;

  void write(std::string_view text) {
    // The program may fill its output meanwhile.
    ::fcntl(in_, F_SETFL, O_NONBLOCK);
    while (!text.empty()) {
      ssize_t const written = ::write(in_, text.data(), text.size());
      if (written > 0) {
        text.remove_prefix(static_cast<std::size_t>(written));
      } else if (errno == EAGAIN) {
        pump(std::chrono::milliseconds(10));
      } else if (errno != EINTR) {
        return;
      }
    }
  }
  void closeInput() {
    if (in_ >= 0) {
      ::close(in_);
      in_ = -1;
    }
  }
  /// The reader of standard output goes away.
  void closeOutput() { close(streams_[0]); }
  /// The reader of standard error goes away.
  void closeError() { close(streams_[1]); }
  void signal(int number) const { ::kill(child_, number); }
  /// Stops the program until it is sent SIGCONT; returns once it stands still.
  void stop() const {
    signal(SIGSTOP);
    ::waitpid(child_, nullptr, WUNTRACED);
  }

  std::string const& out() const { return streams_[0].text; }
  std::string const& err() const { return streams_[1].text; }

  /// Waits until standard output (or error) holds the text somewhere at or after `from`; false when the program ends
  /// first or patience does.
  bool waitFor(std::string_view text, std::size_t from = 0) { return waitFor(streams_[0], text, from); }
  /// The same with a regular expression.
  bool waitForMatch(std::string const& expression) {
    std::regex const regex(expression);
    return waitUntil([&] { return std::regex_search(out(), regex); });
  }
  bool waitForError(std::string_view text, std::size_t from = 0) { return waitFor(streams_[1], text, from); }

  /// Reads all the program still says; its exit status, or 128 and the signal that ended it.
  int finish() {
    while (pump(patience)) {
    }
    int status = 0;
    rusage usage{};
    ::wait4(child_, &status, 0, &usage);
    child_ = -1;
    peakKilobytes_ = usage.ru_maxrss;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }
  /// The most memory the program had at once (or this process when it began that one); known after `finish`.
  long peakKilobytes() const { return peakKilobytes_; }

 private:
  struct Stream {
    int descriptor = -1;
    std::string text;
  };

  // How long before a test gives up; nothing is measured by it.
  static constexpr std::chrono::milliseconds patience{60000};

  /// Where to read, and where the program writes.
  static void open(Outlet outlet, int (&ends)[2]) {
    if (outlet == Outlet::pipe) {
      if (::pipe2(ends, O_CLOEXEC) != 0) {
        throw std::runtime_error("pipe");
      }
      return;
    }
    termios settings{};
    ::cfmakeraw(&settings);
    if (::openpty(&ends[0], &ends[1], nullptr, &settings, nullptr) != 0) {
      throw std::runtime_error("openpty");
    }
    ::fcntl(ends[0], F_SETFD, FD_CLOEXEC);
    ::fcntl(ends[1], F_SETFD, FD_CLOEXEC);
  }

  static void close(Stream& stream) {
    if (stream.descriptor >= 0) {
      ::close(stream.descriptor);
      stream.descriptor = -1;
    }
  }

  bool waitFor(Stream& stream, std::string_view text, std::size_t from) {
    return waitUntil([&] { return stream.text.find(text, from) != std::string::npos; });
  }

  template <class Condition>
  bool waitUntil(Condition const& isMet) {
    auto const deadline = std::chrono::steady_clock::now() + patience;
    while (!isMet()) {
      if (std::chrono::steady_clock::now() > deadline || !pump(std::chrono::milliseconds(100), true)) {
        return isMet();
      }
    }
    return true;
  }

  /// Reads once; false when both streams have ended, or nothing came in time (unless that is fine).
  bool pump(std::chrono::milliseconds time, bool isQuietFine = false) {
    pollfd waited[2] = {{streams_[0].descriptor, POLLIN, 0}, {streams_[1].descriptor, POLLIN, 0}};
    if (streams_[0].descriptor < 0 && streams_[1].descriptor < 0) {
      return false;
    }
    if (::poll(waited, 2, static_cast<int>(time.count())) == 0) {
      return isQuietFine;
    }
    for (std::size_t at = 0; at < 2; ++at) {
      if (waited[at].revents == 0) {
        continue;
      }
      char buffer[65536];
      ssize_t const got = ::read(streams_[at].descriptor, buffer, sizeof buffer);
      if (got > 0) {
        streams_[at].text.append(buffer, static_cast<std::size_t>(got));
      } else if (got == 0 || errno != EINTR) {
        close(streams_[at]);
      }
    }
    return true;
  }

  pid_t child_ = -1;
  int in_ = -1;
  Stream streams_[2];
  long peakKilobytes_ = 0;
};

/// What a program that has ended left behind.
struct HostResult {
  int status;
  std::string out;
  std::string err;
};

inline HostResult runHost(std::vector<std::string> arguments, std::string_view input = "") {
  HostProcess process(std::move(arguments), input);
  int const status = process.finish();
  return {status, process.out(), process.err()};
}

/// The same in a shell that redirects, for instance "2>/dev/full".
inline HostResult runRedirected(std::string const& redirection, std::vector<std::string> arguments,
                                std::string_view input = "") {
  HostProcess process(std::move(arguments), input, false,
                      {"/bin/sh", "-c", "exec \"$0\" \"$@\" " + redirection, VARO_HOST_PROGRAM});
  int const status = process.finish();
  return {status, process.out(), process.err()};
}

inline std::string readFile(std::string const& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

/// A directory of its own for one test.
class ScratchDirectory {
 public:
  ScratchDirectory() {
    path_ = (std::filesystem::temp_directory_path() / "varo-host-test-XXXXXX").string();
    if (::mkdtemp(path_.data()) == nullptr) {
      throw std::runtime_error("mkdtemp");
    }
  }
  ~ScratchDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchDirectory(ScratchDirectory const&) = delete;
  ScratchDirectory& operator=(ScratchDirectory const&) = delete;

  std::string file(std::string const& name) const { return path_ + "/" + name; }
  std::string write(std::string const& name, std::string_view text) const {
    std::ofstream(file(name), std::ios::binary) << text;
    return file(name);
  }

 private:
  std::string path_;
};
