#include "host/LinkMessages.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <linux/if.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>

#include "host/Trouble.h"

using namespace VaroHost;

namespace {

using Strings = std::vector<std::string>;

template <class T>
std::string bytesOf(T const& value) {
  return std::string(reinterpret_cast<char const*>(&value), sizeof value);
}

std::string padded(std::string bytes) {
  bytes.resize((bytes.size() + 3) / 4 * 4);
  return bytes;
}

std::string attribute(unsigned short type, std::string_view data) {
  auto const length = static_cast<unsigned short>(sizeof(rtattr) + data.size());
  return padded(bytesOf(rtattr{length, type}) + std::string(data));
}

std::string message(unsigned short type, std::string const& payload, std::uint32_t sequence = 0,
                    unsigned short flags = 0) {
  auto const length = static_cast<std::uint32_t>(sizeof(nlmsghdr) + payload.size());
  return padded(bytesOf(nlmsghdr{length, type, flags, sequence, 0}) + payload);
}

std::string link(int index, std::string const& attributes, unsigned flags = IFF_UP, unsigned short type = RTM_NEWLINK,
                 unsigned char family = AF_UNSPEC) {
  ifinfomsg info{};
  info.ifi_family = family;
  info.ifi_type = 1;
  info.ifi_index = index;
  info.ifi_flags = flags;
  return message(type, bytesOf(info) + attributes, 1);
}

std::string named(std::string_view name) { return attribute(IFLA_IFNAME, std::string(name) + '\0'); }
std::string done(std::uint32_t sequence, unsigned short flags = 0) {
  return message(NLMSG_DONE, bytesOf(0), sequence, flags);
}
std::string error(int number, std::uint32_t sequence) {
  nlmsgerr answer{};
  answer.error = -number;
  return message(NLMSG_ERROR, bytesOf(answer), sequence);
}

/// Messages and what they tell, as texts.
class Bench : public LinkMessages::Listener {
 public:
  void onLink(Link const& told) override {
    events.push_back(std::to_string(told.index) + " " + told.name + (told.isUp ? " up" : " down") +
                     (told.operState ? " " + std::to_string(*told.operState) : ""));
  }
  void onLinkGone(int index) override { events.push_back("gone " + std::to_string(index)); }
  void onOverrun() override { events.push_back("overrun"); }
  void onSynchronized() override { events.push_back("synchronized"); }

  /// Reads a datagram out of a block that ends where it ends.
  Strings read(std::string const& datagram) {
    std::unique_ptr<unsigned char[]> const block(new unsigned char[datagram.size()]);
    std::memcpy(block.get(), datagram.data(), datagram.size());
    messages.read(block.get(), static_cast<int>(datagram.size()));
    return std::exchange(events, {});
  }

  Strings events;
  LinkMessages messages{*this};
};

}  // namespace

TEST(LinkMessages, TellWhatTheKernelSays) {
  Bench bench;
  EXPECT_EQ(bench.read(link(2, named("eth0") + attribute(IFLA_OPERSTATE, "\x06")) + link(3, named("eth1"), 0)),
            (Strings{"2 eth0 up 6", "3 eth1 down"}));
  EXPECT_EQ(bench.read(link(2, "", 0, RTM_DELLINK)), (Strings{"gone 2"}));
  EXPECT_EQ(bench.read(link(2, "", 0, RTM_DELLINK)), (Strings{}));
  EXPECT_EQ(bench.read(link(3, "", 0, RTM_DELLINK, AF_BRIDGE)), (Strings{}));
}

TEST(LinkMessages, LinkWithoutNameTellsNothing) {
  Bench bench;
  EXPECT_EQ(bench.read(link(2, "")), (Strings{}));
  EXPECT_EQ(bench.read(link(2, attribute(IFLA_IFNAME, ""))), (Strings{}));
  EXPECT_EQ(bench.read(link(2, named(""))), (Strings{}));
  EXPECT_EQ(bench.read(link(2, attribute(IFLA_IFNAME, std::string_view("\0eth0", 5)))), (Strings{}));
}

TEST(LinkMessages, NameWithoutTerminatingZeroEndsWithItsAttribute) {
  Bench bench;
  EXPECT_EQ(bench.read(link(2, attribute(IFLA_IFNAME, "eth0"))), (Strings{"2 eth0 up"}));
  EXPECT_EQ(bench.read(link(2, attribute(IFLA_IFNAME, "e"))), (Strings{"2 e up"}));
}

TEST(LinkMessages, WrongLengthsEndTheDatagram) {
  Bench bench;
  std::string longHeader = link(2, named("eth0"));
  longHeader[0] = '\x7f';
  EXPECT_EQ(bench.read(longHeader), (Strings{}));
  EXPECT_EQ(bench.read(message(RTM_NEWLINK, std::string(8, '\0'))), (Strings{}));
  EXPECT_EQ(bench.read(std::string(16, '\0') + link(2, named("eth0"))), (Strings{}));
  EXPECT_EQ(bench.read(link(2, named("eth0")) + std::string(3, '\1')), (Strings{"2 eth0 up"}));
}

TEST(LinkMessages, DumpTellsWhoIsGone) {
  Bench bench;
  bench.messages.dumpIs(1);
  EXPECT_EQ(bench.read(link(2, named("eth0")) + link(3, named("eth1")) + done(1)),
            (Strings{"2 eth0 up", "3 eth1 up", "synchronized"}));
  bench.messages.dumpIs(1);
  EXPECT_TRUE(bench.messages.isDumping());
  EXPECT_EQ(bench.read(done(7) + link(3, named("eth1")) + done(1)), (Strings{"3 eth1 up", "gone 2", "synchronized"}));
  EXPECT_FALSE(bench.messages.isDumping());
  EXPECT_FALSE(bench.messages.takesDumpAgain());
}

TEST(LinkMessages, TornOrRefusedDumpTellsNobodyGoneAndIsAskedForAgainOnce) {
  Bench bench;
  bench.messages.dumpIs(1);
  bench.read(link(2, named("eth0")) + done(1));
  bench.messages.dumpIs(1);
  EXPECT_EQ(bench.read(done(1, NLM_F_DUMP_INTR)), (Strings{}));
  EXPECT_TRUE(bench.messages.takesDumpAgain());
  EXPECT_FALSE(bench.messages.takesDumpAgain());
  bench.messages.dumpIs(1);
  EXPECT_EQ(bench.read(error(0, 1) + error(EBUSY, 7)), (Strings{}));
  EXPECT_TRUE(bench.messages.isDumping());
  EXPECT_EQ(bench.read(error(EBUSY, 1)), (Strings{}));
  EXPECT_TRUE(bench.messages.takesDumpAgain());
  bench.messages.dumpIs(1);
  EXPECT_THROW(bench.read(error(EPERM, 1)), Trouble);
}

TEST(LinkMessages, LostMessagesNeedADumpAfterTheOneUnderWay) {
  Bench bench;
  EXPECT_FALSE(bench.messages.needsDump());
  bench.read(message(NLMSG_OVERRUN, ""));
  EXPECT_TRUE(bench.messages.needsDump());
  bench.messages.dumpIs(1);
  EXPECT_FALSE(bench.messages.needsDump());
  bench.messages.overrunIs();
  EXPECT_FALSE(bench.messages.needsDump());
  EXPECT_EQ(bench.read(done(1)), (Strings{"synchronized"}));
  EXPECT_TRUE(bench.messages.needsDump());
}
