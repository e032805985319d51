#pragma once

/// \file
/// Owning handles for what libnl hands out.

#include <memory>

#include <netlink/msg.h>
#include <netlink/netlink.h>
#include <netlink/route/link.h>
#include <netlink/socket.h>

namespace VaroHost {

struct NetlinkDeleter {
  void operator()(nl_sock* socket) const noexcept { nl_socket_free(socket); }
  void operator()(nl_msg* message) const noexcept { nlmsg_free(message); }
  void operator()(rtnl_link* link) const noexcept { rtnl_link_put(link); }
};

using NetlinkSocket = std::unique_ptr<nl_sock, NetlinkDeleter>;
using NetlinkMessage = std::unique_ptr<nl_msg, NetlinkDeleter>;
using NetlinkLink = std::unique_ptr<rtnl_link, NetlinkDeleter>;

}  // namespace VaroHost
