#include "host/Netlink.h"

#include <fmt/format.h>
#include <netlink/errno.h>

#include "host/Trouble.h"

namespace VaroHost {

NetlinkSocket connectedNetlink() {
  NetlinkSocket socket(nl_socket_alloc());
  checkNetlink(socket ? nl_connect(socket.get(), NETLINK_ROUTE) : -NLE_NOMEM, "connect");
  return socket;
}

void checkNetlink(int result, char const* what) {
  if (result < 0) {
    throw Trouble(fmt::format("netlink: cannot {}: {}", what, nl_geterror(result)));
  }
}

}  // namespace VaroHost
