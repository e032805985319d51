#include "host/FileWatch.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <utility>

#include <fmt/format.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/LinkedPath.h"
#include "host/Text.h"
#include "host/Trouble.h"

namespace VaroHost {

namespace {

/// How long nothing must happen before a change is told, and how long it may be put off by that.
constexpr std::chrono::milliseconds quietTime{200};
constexpr std::chrono::milliseconds longestDelay{1000};

constexpr std::uint32_t writing = IN_MODIFY | IN_CLOSE_WRITE;
constexpr std::uint32_t coming = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO;
/// What may not be read may become readable.
constexpr std::uint32_t permitting = IN_ATTRIB;
constexpr std::uint32_t watchedOfPlaces = writing | coming | permitting | IN_ONLYDIR;

/// A new name brings content with it when it is another name of something older; a new file is empty still.
bool isNewFile(std::string const& file) {
  struct stat facts {};
  return ::lstat(file.c_str(), &facts) == 0 && S_ISREG(facts.st_mode) && facts.st_nlink == 1;
}

std::string directoryOf(std::string const& file) {
  std::size_t const slash = file.rfind('/');
  return slash == std::string::npos ? "." : slash == 0 ? "/" : file.substr(0, slash);
}

}  // namespace

FileWatch::FileWatch(asio::io_context& loop, std::string file, std::function<void(Content)> changed)
  : file_(std::move(file)), changed_(std::move(changed)), events_(loop), timer_(loop) {
  int const descriptor = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  if (descriptor < 0) {
    throw Trouble("inotify", errno);
  }
  events_.assign(descriptor);
  std::string const directory = directoryOf(file_);
  if (::inotify_add_watch(descriptor, directory.c_str(), watchedOfPlaces) < 0) {
    throw Trouble(fmt::format("cannot watch the directory {}", printable(directory)), errno);
  }
  follow();
  wait();
}

void FileWatch::follow() {
  int const descriptor = events_.native_handle();
  std::map<int, Place> places;
  walkLinkedPath(file_, [&](std::string const& directory, std::string const& name) {
    // One that cannot be watched (search permission alone) leaves us with the others.
    int const watch = ::inotify_add_watch(descriptor, directory.c_str(), watchedOfPlaces);
    if (watch >= 0) {
      Place& place = places[watch];
      place.directory = directory;
      place.names.insert(name);
    }
  });
  for (auto const& [watch, place] : std::exchange(places_, std::move(places))) {
    if (!places_.contains(watch)) {
      ::inotify_rm_watch(descriptor, watch);
    }
  }
  // The file itself too: it may be written under another of its names.
  struct stat facts {};
  bool const isFile = ::stat(file_.c_str(), &facts) == 0 && S_ISREG(facts.st_mode);
  int const watch = isFile ? ::inotify_add_watch(descriptor, file_.c_str(), writing | permitting) : -1;
  if (watch != fileWatch_ && fileWatch_ >= 0) {
    ::inotify_rm_watch(descriptor, fileWatch_);
  }
  fileWatch_ = watch;
}

void FileWatch::wait() {
  events_.async_wait(asio::posix::stream_descriptor::wait_read, [this](asio::error_code const& error) {
    if (!error) {
      if (receive()) {
        settle();
      }
      wait();
    }
  });
}

bool FileWatch::receive() {
  alignas(inotify_event) char buffer[16384];
  ssize_t length = 0;
  bool isOurs = false;
  while ((length = ::read(events_.native_handle(), buffer, sizeof buffer)) > 0) {
    for (std::size_t at = 0; at < static_cast<std::size_t>(length);) {
      inotify_event event{};
      std::memcpy(&event, buffer + at, sizeof event);
      std::string_view const name = event.len != 0 ? std::string_view(buffer + at + sizeof event) : "";
      at += sizeof event + event.len;
      isOurs = handle(event.wd, event.mask, name) || isOurs;
    }
  }
  return isOurs;
}

bool FileWatch::handle(int watch, std::uint32_t mask, std::string_view name) {
  auto const place = places_.find(watch);
  bool const isOverflow = (mask & IN_Q_OVERFLOW) != 0;
  // An event without a name is about the directory itself.
  bool const isOfPlace = place != places_.end() && (name.empty() || place->second.names.contains(name));
  if (!isOverflow && !isOfPlace && watch != fileWatch_) {
    return false;
  }
  bool const isBirth = isOfPlace && (mask & IN_CREATE) != 0 && isNewFile(place->second.directory + std::string(name));
  // Other permissions say nothing of whoever writes.
  if ((mask & permitting) == 0) {
    content_ = (mask & IN_MODIFY) != 0 || isBirth ? Content::beingWritten : Content::whole;
  }
  if ((mask & writing) == 0) {
    follow();
  }
  return true;
}

void FileWatch::settle() {
  auto const now = Clock::now();
  since_ = since_.value_or(now);
  timer_.expires_at(std::min(now + quietTime, *since_ + longestDelay));
  timer_.async_wait([this](asio::error_code const& error) {
    if (error) {
      return;
    }
    // More may have come with the end of the wait: whoever reads now must know of it.
    if (receive() && Clock::now() < since_.value_or(Clock::time_point::min()) + longestDelay) {
      return settle();
    }
    since_.reset();
    changed_(content_);
  });
}

}  // namespace VaroHost
