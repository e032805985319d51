#include "host/LinkSwitch.h"

#include <linux/if.h>
#include <netlink/errno.h>

namespace VaroHost {

KernelLinkSwitch::KernelLinkSwitch() : socket_(connectedNetlink()) {}

std::optional<std::string> KernelLinkSwitch::set(int index, bool up) {
  NetlinkLink const link(rtnl_link_alloc());
  NetlinkLink const change(rtnl_link_alloc());
  if (!link || !change) {
    return "out of memory";
  }
  rtnl_link_set_ifindex(link.get(), index);
  if (up) {
    rtnl_link_set_flags(change.get(), IFF_UP);
  } else {
    rtnl_link_unset_flags(change.get(), IFF_UP);
  }
  int const result = rtnl_link_change(socket_.get(), link.get(), change.get(), 0);
  if (result < 0) {
    return nl_geterror(result);
  }
  return std::nullopt;
}

}  // namespace VaroHost
