#pragma once

/// \file
/// The kernel's links over rtnetlink: all of them at the start, then every change as it comes.
///
/// Guarantees
///   A  Dump and notifications travel on one socket, in the kernel's order: what is told last is what holds.
///   B  After the kernel dropped messages everything is read again; links that are no longer there are told as gone.
///   C  Only messages of the kernel count.
///   D  However fast messages come, others get their turn on the loop after `messagesPerTurn` of them.
///
/// Use
///
///     VaroHost::LinkMonitor monitor(loop, listener);
///     monitor.start();

#include <asio/io_context.hpp>
#include <asio/posix/stream_descriptor.hpp>
#include <asio/steady_timer.hpp>

#include "host/LinkMessages.h"
#include "host/Netlink.h"

namespace VaroHost {

class LinkMonitor {
 public:
  /// Datagrams, which may hold several links each.
  static constexpr int messagesPerTurn = 64;

  using Listener = LinkMessages::Listener;

  /// \param receiveBuffer bytes the kernel may queue for us
  /// Errors: `Trouble` when there is no netlink.
  LinkMonitor(asio::io_context& loop, Listener& listener, int receiveBuffer = 1 << 20);
  ~LinkMonitor();
  LinkMonitor(LinkMonitor const&) = delete;
  LinkMonitor& operator=(LinkMonitor const&) = delete;

  void start();

 private:
  void wait();
  void receive();
  void requestDump();
  void requestDumpSoon();

  Listener& listener_;
  LinkMessages messages_;
  NetlinkSocket socket_;
  asio::posix::stream_descriptor readable_;
  asio::steady_timer retry_;
};

}  // namespace VaroHost
