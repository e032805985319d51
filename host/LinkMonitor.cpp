#include "host/LinkMonitor.h"

#include <chrono>
#include <cstdlib>
#include <utility>

#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <netlink/attr.h>
#include <netlink/errno.h>

#include "host/Trouble.h"

namespace VaroHost {

namespace {

struct FreeDeleter {
  void operator()(void* memory) const noexcept { std::free(memory); }
};

}  // namespace

LinkMonitor::LinkMonitor(asio::io_context& loop, Listener& listener, int receiveBuffer)
  : listener_(listener), messages_(listener), socket_(connectedNetlink()), readable_(loop), retry_(loop) {
  nl_socket_disable_seq_check(socket_.get());
  checkNetlink(nl_socket_set_buffer_size(socket_.get(), receiveBuffer, 0), "set the buffer");
  checkNetlink(nl_socket_add_memberships(socket_.get(), RTNLGRP_LINK, 0), "listen to links");
  checkNetlink(nl_socket_set_nonblocking(socket_.get()), "stop blocking");
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
  bool isDrained = false;
  for (int count = 0; count < messagesPerTurn; ++count) {
    sockaddr_nl sender{};
    unsigned char* raw = nullptr;
    int length = nl_recv(socket_.get(), &sender, &raw, nullptr);
    std::unique_ptr<unsigned char, FreeDeleter> const buffer(raw);
    if (length == 0 || length == -NLE_AGAIN) {
      isDrained = true;
      break;
    }
    if (length == -NLE_NOMEM) {
      // The kernel had no room for a message: ENOBUFS.
      messages_.overrunIs();
      continue;
    }
    checkNetlink(length, "receive");
    if (sender.nl_pid != 0) {
      continue;
    }
    messages_.read(raw, length);
  }
  if (messages_.takesDumpAgain()) {
    requestDumpSoon();
  }
  // Only now is the queue empty: what the dump tells is newer than all that was read before.
  if (isDrained && messages_.needsDump()) {
    listener_.onOverrun();
    requestDump();
  }
}

void LinkMonitor::requestDumpSoon() {
  retry_.expires_after(std::chrono::milliseconds(20));
  retry_.async_wait([this](asio::error_code const& error) {
    if (!error && !messages_.isDumping()) {
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
  checkNetlink(nl_send_auto(socket_.get(), message.get()), "ask for the links");
  messages_.dumpIs(nlmsg_hdr(message.get())->nlmsg_seq);
}

}  // namespace VaroHost
