#pragma once

/// \file
/// The kernel's links over rtnetlink: all of them at the start, then every change as it comes.
///
/// Guarantees
///   A  Dump and notifications travel on one socket, in the kernel's order: what is told last is what holds.
///   B  After the kernel dropped messages everything is read again; links that are no longer there are told as gone.
///   C  Only messages of the kernel count, and only those about links themselves (not about their bridge ports).
///
/// Use
///
///     VaroHost::LinkMonitor monitor(loop, listener);
///     monitor.start();

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include <asio/io_context.hpp>
#include <asio/posix/stream_descriptor.hpp>
#include <asio/steady_timer.hpp>

#include "host/Netlink.h"

namespace VaroHost {

/// One message about a link.
struct Link {
  int index = 0;
  std::string name;
  /// `IFF_UP`.
  bool isUp = false;
  /// `IF_OPER_*`; some messages leave it out.
  std::optional<std::uint8_t> operState;
  /// `ARPHRD_*`.
  std::uint16_t type = 0;
  std::optional<std::uint32_t> transmitQueues{};
};

class LinkMonitor {
 public:
  class Listener {
   public:
    virtual void onLink(Link const& link) = 0;
    virtual void onLinkGone(int index) = 0;
    /// Messages were lost; all links are about to be told again.
    virtual void onOverrun() = 0;
    /// All links have been told.
    virtual void onSynchronized() = 0;

   protected:
    ~Listener() = default;
  };

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
  void handle(nlmsghdr* header);
  void handleLink(nlmsghdr* header);
  void handleDone(nlmsghdr const* header);
  void handleError(nlmsghdr* header);
  void requestDump();
  void requestDumpSoon();

  Listener& listener_;
  NetlinkSocket socket_;
  asio::posix::stream_descriptor readable_;
  asio::steady_timer retry_;
  /// The links told, each with the dump that met it last.
  std::map<int, std::uint64_t> met_;
  std::uint64_t dump_ = 0;
  std::uint32_t dumpSequence_ = 0;
  bool isDumping_ = false;
  bool isDumpTorn_ = false;
  bool hasOverrun_ = false;
};

}  // namespace VaroHost
