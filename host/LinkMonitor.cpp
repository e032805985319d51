#include "host/LinkMonitor.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <utility>

#include <fmt/format.h>
#include <linux/if.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <netlink/attr.h>
#include <netlink/errno.h>

#include "host/Trouble.h"

namespace VaroHost {

namespace {

void check(int result, char const* what) {
  if (result < 0) {
    throw Trouble(fmt::format("netlink: {}: {}", what, nl_geterror(result)));
  }
}

struct FreeDeleter {
  void operator()(void* memory) const noexcept { std::free(memory); }
};

}  // namespace

LinkMonitor::LinkMonitor(asio::io_context& loop, Listener& listener, int receiveBuffer)
  : listener_(listener), socket_(nl_socket_alloc()), readable_(loop), retry_(loop) {
  if (!socket_) {
    throw Trouble("netlink: out of memory");
  }
  nl_socket_disable_seq_check(socket_.get());
  check(nl_connect(socket_.get(), NETLINK_ROUTE), "cannot connect");
  check(nl_socket_set_buffer_size(socket_.get(), receiveBuffer, 0), "cannot set the buffer");
  check(nl_socket_add_memberships(socket_.get(), RTNLGRP_LINK, 0), "cannot listen to links");
  check(nl_socket_set_nonblocking(socket_.get()), "cannot stop blocking");
  readable_.assign(nl_socket_get_fd(socket_.get()));
}

LinkMonitor::~LinkMonitor() {
  // The descriptor is the socket's.
  readable_.release();
}

void LinkMonitor::start() {
  requestDump();
  wait();
}

void LinkMonitor::wait() {
  readable_.async_wait(asio::posix::stream_descriptor::wait_read, [this](asio::error_code const& error) {
    if (!error) {
      receive();
      wait();
    }
  });
}

void LinkMonitor::receive() {
  while (true) {
    sockaddr_nl sender{};
    unsigned char* raw = nullptr;
    int length = nl_recv(socket_.get(), &sender, &raw, nullptr);
    std::unique_ptr<unsigned char, FreeDeleter> const buffer(raw);
    if (length == 0 || length == -NLE_AGAIN) {
      break;
    }
    if (length == -NLE_NOMEM) {
      // The kernel had no room for a message: ENOBUFS.
      hasOverrun_ = true;
      continue;
    }
    check(length, "cannot receive");
    if (sender.nl_pid != 0) {
      continue;
    }
    for (auto* header = reinterpret_cast<nlmsghdr*>(raw); nlmsg_ok(header, length) != 0;
         header = nlmsg_next(header, &length)) {
      handle(header);
    }
  }
  // Only now is the queue empty: what the dump tells is newer than all that was read before.
  if (hasOverrun_ && !isDumping_) {
    listener_.onOverrun();
    requestDump();
  }
}

void LinkMonitor::handle(nlmsghdr* header) {
  bool const isOfDump = isDumping_ && header->nlmsg_seq == dumpSequence_;
  if (isOfDump && (header->nlmsg_flags & NLM_F_DUMP_INTR) != 0) {
    isDumpTorn_ = true;
  }
  switch (header->nlmsg_type) {
  case RTM_NEWLINK:
  case RTM_DELLINK:
    handleLink(header);
    break;
  case NLMSG_DONE:
    handleDone(header);
    break;
  case NLMSG_ERROR:
    handleError(header);
    break;
  case NLMSG_OVERRUN:
    hasOverrun_ = true;
    break;
  default:
    break;
  }
}

void LinkMonitor::handleLink(nlmsghdr* header) {
  if (nlmsg_valid_hdr(header, sizeof(ifinfomsg)) == 0) {
    return;
  }
  auto const* const info = static_cast<ifinfomsg const*>(nlmsg_data(header));
  // A bridge tells of its ports in the same group: such a deletion only means that the port left the bridge.
  if (info->ifi_family != AF_UNSPEC) {
    return;
  }
  if (header->nlmsg_type == RTM_DELLINK) {
    if (met_.erase(info->ifi_index) != 0) {
      listener_.onLinkGone(info->ifi_index);
    }
    return;
  }
  std::array<nlattr*, IFLA_MAX + 1> attributes{};
  if (nlmsg_parse(header, sizeof(ifinfomsg), attributes.data(), IFLA_MAX, nullptr) < 0) {
    return;
  }
  nlattr* const name = attributes[IFLA_IFNAME];
  if (name == nullptr || nla_len(name) <= 1) {
    return;
  }
  Link link;
  link.index = info->ifi_index;
  link.name.assign(static_cast<char const*>(nla_data(name)));
  link.isUp = (info->ifi_flags & IFF_UP) != 0;
  link.type = info->ifi_type;
  if (nlattr* const state = attributes[IFLA_OPERSTATE]; state != nullptr && nla_len(state) >= 1) {
    link.operState = nla_get_u8(state);
  }
  if (nlattr* const queues = attributes[IFLA_NUM_TX_QUEUES]; queues != nullptr && nla_len(queues) >= 4) {
    link.transmitQueues = nla_get_u32(queues);
  }
  met_[link.index] = dump_;
  listener_.onLink(link);
}

void LinkMonitor::handleDone(nlmsghdr const* header) {
  if (!isDumping_ || header->nlmsg_seq != dumpSequence_) {
    return;
  }
  isDumping_ = false;
  if (isDumpTorn_) {
    // Links came or went between two parts of the dump, so it may lack some: nothing may be called gone.
    requestDumpSoon();
    return;
  }
  for (auto at = met_.begin(); at != met_.end();) {
    auto const [index, dump] = *at;
    if (dump == dump_) {
      ++at;
    } else {
      at = met_.erase(at);
      listener_.onLinkGone(index);
    }
  }
  listener_.onSynchronized();
}

void LinkMonitor::handleError(nlmsghdr* header) {
  if (!isDumping_ || header->nlmsg_seq != dumpSequence_ || nlmsg_valid_hdr(header, sizeof(nlmsgerr)) == 0) {
    return;
  }
  int const error = -static_cast<nlmsgerr const*>(nlmsg_data(header))->error;
  if (error == 0) {
    return;
  }
  isDumping_ = false;
  if (error != EBUSY && error != ENOBUFS && error != EAGAIN && error != EINTR) {
    throw Trouble("netlink: cannot read the links", error);
  }
  requestDumpSoon();
}

void LinkMonitor::requestDumpSoon() {
  retry_.expires_after(std::chrono::milliseconds(20));
  retry_.async_wait([this](asio::error_code const& error) {
    if (!error && !isDumping_) {
      requestDump();
    }
  });
}

void LinkMonitor::requestDump() {
  NetlinkMessage const message(nlmsg_alloc_simple(RTM_GETLINK, NLM_F_DUMP));
  ifinfomsg info{};
  info.ifi_family = AF_UNSPEC;
  if (!message || nlmsg_append(message.get(), &info, sizeof info, NLMSG_ALIGNTO) < 0 ||
      nla_put_u32(message.get(), IFLA_EXT_MASK, RTEXT_FILTER_SKIP_STATS) < 0) {
    throw Trouble("netlink: out of memory");
  }
  check(nl_send_auto(socket_.get(), message.get()), "cannot ask for the links");
  dumpSequence_ = nlmsg_hdr(message.get())->nlmsg_seq;
  ++dump_;
  isDumping_ = true;
  isDumpTorn_ = false;
  hasOverrun_ = false;
}

}  // namespace VaroHost
