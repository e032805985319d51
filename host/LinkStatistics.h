#pragma once

/// \file
/// What the kernel has counted of links and of their transmit queues, over rtnetlink.
///
/// Guarantees
///   A  One call asks once and tells what the kernel answers; nothing is remembered between calls but the socket.
///   B  A queue is told only where the kernel counts by queue: under an `mq` or `mqprio` discipline its children, and a
///      discipline at the root of a link, which counts for the whole link, as `wholeLink`.
///
/// Use
///
///     VaroHost::LinkStatistics statistics;
///     if (auto const error = statistics.read(listener)) complain(*error);

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include <linux/if_link.h>

#include "host/Netlink.h"

namespace VaroHost {

class LinkStatistics {
 public:
  struct Queue {
    std::uint64_t octets = 0;
    std::uint64_t packets = 0;
    std::uint64_t drops = 0;
  };

  static constexpr unsigned wholeLink = ~0U;

  class Listener {
   public:
    virtual void onLinkCounted(int index, rtnl_link_stats64 const& counted) = 0;
    /// \param queue a transmit queue from 0 on, or `wholeLink`
    virtual void onQueueCounted(int index, unsigned queue, Queue const& counted) = 0;

   protected:
    ~Listener() = default;
  };

  /// Errors: `Trouble` when there is no netlink.
  LinkStatistics();

  /// Tells everything there is. Returns why when the kernel did not answer; what was told before holds.
  std::optional<std::string> read(Listener& listener);

 private:
  std::optional<std::string> request(int type, void* header, std::size_t size);
  static int receive(nl_msg* message, void* self) noexcept;
  void handleLink(nlmsghdr* header);
  void handleQueue(nlmsghdr* header);

  NetlinkSocket socket_;
  Listener* listener_ = nullptr;
  /// The handles of the disciplines with a child for each queue, by link; of one dump.
  std::map<int, std::uint32_t> multiQueues_;
};

}  // namespace VaroHost
