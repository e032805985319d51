#pragma once

/// \file
/// Tells when a file may have new content: written in place, replaced, deleted or made again.
///
/// Guarantees
///   A  Many events within a moment are one call, so that a file being exchanged is not met while it is away.
///   B  The file need not exist; its directory must. A file reached through a symbolic link is watched at both ends.
///
/// Use
///
///     VaroHost::FileWatch watch(loop, "/etc/varo/errdisable", [&] { reload(); });

#include <functional>
#include <string>

#include <asio/io_context.hpp>
#include <asio/posix/stream_descriptor.hpp>
#include <asio/steady_timer.hpp>

namespace VaroHost {

class FileWatch {
 public:
  /// Errors: `Trouble` when the directory cannot be watched.
  FileWatch(asio::io_context& loop, std::string file, std::function<void()> changed);

 private:
  void wait();
  void receive();
  void watchFile();
  void settle();

  std::string const file_;
  std::string name_;
  std::function<void()> const changed_;
  asio::posix::stream_descriptor events_;
  asio::steady_timer timer_;
  int fileWatch_ = -1;
  bool isSettling_ = false;
};

}  // namespace VaroHost
