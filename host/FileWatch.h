#pragma once

/// \file
/// Tells when a file may have new content: written, replaced, deleted or made again, reached another
/// way, or permitted to be read.
///
/// Guarantees
///   A  Many events within a moment are one call, so that a file being exchanged is not met while it is away; but a file
///      that changes all the time is told of too.
///   B  The file need not exist; its directory must, at the start. Every directory that decides what the path leads to is
///      watched (those of each component and of each symbolic link), and anew as soon as one of them changes.
///   C  It is told whether the last who wrote has closed the file, by all that is known at that moment: if not, the content
///      may be unfinished.
///
/// Use
///
///     using Content = VaroHost::FileWatch::Content;
///     VaroHost::FileWatch watch(loop, "/etc/varo/errdisable", [&](Content content) { reload(content); });

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include <asio/io_context.hpp>
#include <asio/posix/stream_descriptor.hpp>
#include <asio/steady_timer.hpp>

namespace VaroHost {

class FileWatch {
 public:
  enum class Content {
    whole,         ///< nobody is known to write
    beingWritten,  ///< somebody wrote and has not closed the file
  };

  /// Errors: `Trouble` when the directory cannot be watched.
  FileWatch(asio::io_context& loop, std::string file, std::function<void(Content)> changed);

 private:
  using Clock = std::chrono::steady_clock;

  /// A watched directory and the names in it that matter.
  struct Place {
    std::string directory;
    std::set<std::string, std::less<>> names;
  };

  void wait();
  /// Takes in what came; whether it concerns the file.
  bool receive();
  /// Whether the event concerns the file.
  bool handle(int watch, std::uint32_t mask, std::string_view name);
  /// Watches the directories that matter now, and the file.
  void follow();
  void settle();

  std::string const file_;
  std::function<void(Content)> const changed_;
  asio::posix::stream_descriptor events_;
  asio::steady_timer timer_;
  std::map<int, Place> places_;
  int fileWatch_ = -1;
  Content content_ = Content::whole;
  /// When the first event came that has not been told yet.
  std::optional<Clock::time_point> since_;
};

}  // namespace VaroHost
