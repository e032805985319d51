#include "host/LinkStatistics.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include <fmt/format.h>
#include <linux/gen_stats.h>
#include <linux/pkt_sched.h>
#include <linux/rtnetlink.h>
#include <netlink/attr.h>
#include <netlink/errno.h>

namespace VaroHost {

namespace {

/// Copies what both sides know of an attribute: kernels differ in how much they tell.
template <class T>
bool get(nlattr* attribute, T& value) noexcept {
  if (attribute == nullptr) {
    return false;
  }
  std::memcpy(&value, nla_data(attribute), std::min(sizeof value, static_cast<std::size_t>(nla_len(attribute))));
  return true;
}

/// The attributes of a message by type, null where it has none.
template <int max>
using Attributes = std::array<nlattr*, max + 1>;

}  // namespace

LinkStatistics::LinkStatistics() : socket_(connectedNetlink()) {
  checkNetlink(nl_socket_modify_cb(socket_.get(), NL_CB_VALID, NL_CB_CUSTOM, &LinkStatistics::receive, this),
               "listen to answers");
}

std::optional<std::string> LinkStatistics::read(Listener& listener) {
  listener_ = &listener;
  multiQueues_.clear();
  if_stats_msg links{};
  links.filter_mask = IFLA_STATS_FILTER_BIT(IFLA_STATS_LINK_64);
  auto error = request(RTM_GETSTATS, &links, sizeof links);
  if (!error) {
    tcmsg disciplines{};
    error = request(RTM_GETQDISC, &disciplines, sizeof disciplines);
  }
  listener_ = nullptr;
  return error;
}

std::optional<std::string> LinkStatistics::request(int type, void* header, std::size_t size) {
  NetlinkMessage const message(nlmsg_alloc_simple(type, NLM_F_DUMP));
  int result = message ? nlmsg_append(message.get(), header, size, NLMSG_ALIGNTO) : -NLE_NOMEM;
  result = result < 0 ? result : nl_send_auto(socket_.get(), message.get());
  result = result < 0 ? result : nl_recvmsgs_default(socket_.get());
  // Links that came or went meanwhile make no number wrong.
  if (result < 0 && result != -NLE_DUMP_INTR) {
    return fmt::format("netlink: cannot read the statistics: {}", nl_geterror(result));
  }
  return std::nullopt;
}

int LinkStatistics::receive(nl_msg* message, void* self) noexcept {
  auto& statistics = *static_cast<LinkStatistics*>(self);
  nlmsghdr* const header = nlmsg_hdr(message);
  if (header->nlmsg_type == RTM_NEWSTATS) {
    statistics.handleLink(header);
  } else if (header->nlmsg_type == RTM_NEWQDISC) {
    statistics.handleQueue(header);
  }
  return NL_OK;
}

void LinkStatistics::handleLink(nlmsghdr* header) {
  Attributes<IFLA_STATS_MAX> attributes{};
  rtnl_link_stats64 counted{};
  if (nlmsg_parse(header, sizeof(if_stats_msg), attributes.data(), IFLA_STATS_MAX, nullptr) >= 0 &&
      get(attributes[IFLA_STATS_LINK_64], counted)) {
    auto const* const about = static_cast<if_stats_msg const*>(nlmsg_data(header));
    listener_->onLinkCounted(static_cast<int>(about->ifindex), counted);
  }
}

void LinkStatistics::handleQueue(nlmsghdr* header) {
  Attributes<TCA_MAX> attributes{};
  Attributes<TCA_STATS_MAX> statistics{};
  if (nlmsg_parse(header, sizeof(tcmsg), attributes.data(), TCA_MAX, nullptr) < 0 || attributes[TCA_KIND] == nullptr ||
      attributes[TCA_STATS2] == nullptr ||
      nla_parse_nested(statistics.data(), TCA_STATS_MAX, attributes[TCA_STATS2], nullptr) < 0) {
    return;
  }
  auto const* const about = static_cast<tcmsg const*>(nlmsg_data(header));
  std::string_view const kind(nla_get_string(attributes[TCA_KIND]));
  unsigned queue = wholeLink;
  if (about->tcm_parent == TC_H_ROOT) {
    if (kind == "mq" || kind == "mqprio") {
      multiQueues_[about->tcm_ifindex] = TC_H_MAJ(about->tcm_handle);
    }
    // Without a queue nothing is counted.
    if (kind == "noqueue") {
      return;
    }
  } else {
    auto const multiQueue = multiQueues_.find(about->tcm_ifindex);
    if (multiQueue == multiQueues_.end() || multiQueue->second != TC_H_MAJ(about->tcm_parent) ||
        TC_H_MIN(about->tcm_parent) == 0) {
      return;
    }
    queue = TC_H_MIN(about->tcm_parent) - 1;
  }
  gnet_stats_basic basic{};
  gnet_stats_queue queued{};
  if (!get(statistics[TCA_STATS_BASIC], basic)) {
    return;
  }
  Queue counted{basic.bytes, basic.packets, 0};
  // Only there when 32 bits are too few.
  get(statistics[TCA_STATS_PKT64], counted.packets);
  if (get(statistics[TCA_STATS_QUEUE], queued)) {
    counted.drops = queued.drops;
  }
  listener_->onQueueCounted(about->tcm_ifindex, queue, counted);
}

}  // namespace VaroHost
