#pragma once

/// \file
/// Owning handles for what libnl hands out.
///
/// Guarantees
///   A  A handle frees what it owns, once; an empty one is libnl's "out of memory".
///
/// Use
///
///     VaroHost::NetlinkSocket const socket = VaroHost::connectedNetlink();

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

/// A socket connected to the kernel's routes and links. Errors: `Trouble`.
NetlinkSocket connectedNetlink();
/// Errors: `Trouble` when the library's result is negative.
/// \param what cannot be done, to follow "cannot"
void checkNetlink(int result, char const* what);

}  // namespace VaroHost
