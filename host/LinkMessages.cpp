#include "host/LinkMessages.h"

#include <array>
#include <cerrno>
#include <string_view>
#include <utility>

#include <linux/if.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <netlink/attr.h>
#include <netlink/msg.h>

#include "host/Trouble.h"

namespace VaroHost {

namespace {

/// Up to the terminating zero or, without one, to the attribute's end; empty when the attribute is absent.
std::string_view text(nlattr const* attribute) {
  if (attribute == nullptr) {
    return {};
  }
  std::string_view const bytes(static_cast<char const*>(nla_data(attribute)),
                               static_cast<std::size_t>(nla_len(attribute)));
  return bytes.substr(0, bytes.find('\0'));
}

}  // namespace

void LinkMessages::dumpIs(std::uint32_t sequence) noexcept {
  dumpSequence_ = sequence;
  ++dump_;
  isDumping_ = true;
  isDumpTorn_ = false;
  hasOverrun_ = false;
}

bool LinkMessages::takesDumpAgain() noexcept { return std::exchange(isDumpDue_, false); }

void LinkMessages::read(unsigned char* bytes, int length) {
  for (auto* header = reinterpret_cast<nlmsghdr*>(bytes); nlmsg_ok(header, length) != 0;
       header = nlmsg_next(header, &length)) {
    handle(header);
  }
}

void LinkMessages::handle(nlmsghdr* header) {
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

void LinkMessages::handleLink(nlmsghdr* header) {
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
  Link link;
  link.index = info->ifi_index;
  link.name = text(attributes[IFLA_IFNAME]);
  if (link.name.empty()) {
    return;
  }
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

void LinkMessages::handleDone(nlmsghdr const* header) {
  if (!isDumping_ || header->nlmsg_seq != dumpSequence_) {
    return;
  }
  isDumping_ = false;
  if (isDumpTorn_) {
    // Links came or went between two parts of the dump, so it may lack some: nothing may be called gone.
    isDumpDue_ = true;
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

void LinkMessages::handleError(nlmsghdr* header) {
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
  isDumpDue_ = true;
}

}  // namespace VaroHost
