#include "host/FileWatch.h"

#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <utility>

#include <fmt/format.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/Text.h"
#include "host/Trouble.h"

namespace VaroHost {

namespace {

/// How long a file may be away or unfinished while it is exchanged.
constexpr std::chrono::milliseconds settlingTime{100};

/// A new name brings content with it only when it is another name of something older: what was just opened for writing
/// is empty still, and its end will be told.
bool bringsContent(std::string const& file) {
  struct stat facts {};
  return ::lstat(file.c_str(), &facts) == 0 && (S_ISLNK(facts.st_mode) || facts.st_nlink > 1);
}

}  // namespace

FileWatch::FileWatch(asio::io_context& loop, std::string file, std::function<void()> changed)
  : file_(std::move(file)), changed_(std::move(changed)), events_(loop), timer_(loop) {
  std::size_t const slash = file_.rfind('/');
  std::string const directory = slash == std::string::npos ? "." : slash == 0 ? "/" : file_.substr(0, slash);
  name_ = slash == std::string::npos ? file_ : file_.substr(slash + 1);
  int const descriptor = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  if (descriptor < 0) {
    throw Trouble("inotify", errno);
  }
  events_.assign(descriptor);
  constexpr std::uint32_t wanted = IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_CREATE | IN_DELETE | IN_ONLYDIR;
  if (::inotify_add_watch(descriptor, directory.c_str(), wanted) < 0) {
    throw Trouble(fmt::format("cannot watch the directory {}", printable(directory)), errno);
  }
  watchFile();
  wait();
}

void FileWatch::watchFile() {
  int const watch = ::inotify_add_watch(events_.native_handle(), file_.c_str(), IN_CLOSE_WRITE);
  if (watch != fileWatch_ && fileWatch_ >= 0) {
    ::inotify_rm_watch(events_.native_handle(), fileWatch_);
  }
  fileWatch_ = watch;
}

void FileWatch::wait() {
  events_.async_wait(asio::posix::stream_descriptor::wait_read, [this](asio::error_code const& error) {
    if (!error) {
      receive();
      wait();
    }
  });
}

void FileWatch::receive() {
  alignas(inotify_event) char buffer[16384];
  ssize_t length = 0;
  while ((length = ::read(events_.native_handle(), buffer, sizeof buffer)) > 0) {
    for (std::size_t at = 0; at < static_cast<std::size_t>(length);) {
      inotify_event event{};
      std::memcpy(&event, buffer + at, sizeof event);
      std::string_view const name = event.len != 0 ? std::string_view(buffer + at + sizeof event) : "";
      at += sizeof event + event.len;
      bool const isOurs = event.wd == fileWatch_ || name == name_ || (event.mask & IN_Q_OVERFLOW) != 0;
      bool const isBirth = (event.mask & IN_CREATE) != 0;
      if (isOurs && (!isBirth || bringsContent(file_))) {
        settle();
      }
    }
  }
}

void FileWatch::settle() {
  // Not prolonged by further events: a file that is written all the time is still read.
  if (std::exchange(isSettling_, true)) {
    return;
  }
  timer_.expires_after(settlingTime);
  timer_.async_wait([this](asio::error_code const& error) {
    if (!error) {
      isSettling_ = false;
      watchFile();
      changed_();
    }
  });
}

}  // namespace VaroHost
