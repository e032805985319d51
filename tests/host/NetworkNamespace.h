#pragma once

/// \file
/// A network namespace for one test: the calling process and what it starts live in it.

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string>

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <nlohmann/json.hpp>
#include <sys/socket.h>
#include <unistd.h>

#include "host/Descriptor.h"
#include "support/Namespace.h"

class NetworkNamespace {
 public:
  /// Enters a new namespace; on failure the reason, else empty.
  static std::string enter() {
    std::string const reason = Support::Namespace::enter(CLONE_NEWNET, "network");
    return reason.empty() ? check() : reason;
  }

  /// Runs `ip` or `tc` with these arguments. Errors: throws when it fails.
  static std::string ip(std::string const& arguments) { return run("ip " + arguments); }
  static std::string tc(std::string const& arguments) { return run("tc " + arguments); }

  static nlohmann::json link(std::string const& name) {
    return nlohmann::json::parse(ip("-j link show dev " + name)).at(0);
  }
  /// Waits for a condition on what the kernel shows; false when it does not come true within a minute.
  template <class Condition>
  static bool eventually(Condition const& condition) {
    for (int attempt = 0; attempt < 6000; ++attempt) {
      if (condition()) {
        return true;
      }
      ::usleep(10000);
    }
    return false;
  }
  /// Waits for an operational state: the kernel settles it a moment after what caused it.
  static bool becomesOperationally(std::string const& name, std::string const& state) {
    return eventually([&] { return link(name).at("operstate") == state; });
  }
  static bool isUp(std::string const& name) {
    nlohmann::json const shown = link(name);
    for (auto const& flag : shown.at("flags")) {
      if (flag == "UP") {
        return true;
      }
    }
    return false;
  }
  /// Sends broadcast frames of 200 bytes out of a link. Errors: throws when the kernel never takes them.
  static void sendFrames(std::string const& name, int count) {
    VaroHost::Descriptor const socket(::socket(AF_PACKET, SOCK_RAW, htons(ETH_P_ALL)));
    sockaddr_ll to{};
    to.sll_family = AF_PACKET;
    to.sll_ifindex = static_cast<int>(::if_nametoindex(name.c_str()));
    char const frame[200] = "\xff\xff\xff\xff\xff\xff\x02\0\0\0\0\1\x88\xb5";
    auto const send = [&] {
      return ::sendto(socket.number, frame, sizeof frame, 0, reinterpret_cast<sockaddr*>(&to), sizeof to) >= 0;
    };
    for (int at = 0; at < count; ++at) {
      // While the link is coming up the kernel has no room.
      if (!eventually(send)) {
        throw std::runtime_error(name + " takes no frames: " + std::strerror(errno));
      }
    }
  }

 private:
  static std::string run(std::string const& command) {
    std::string text;
    FILE* const pipe = ::popen(("PATH=$PATH:/sbin:/usr/sbin " + command + " 2>&1").c_str(), "r");
    char buffer[4096];
    while (std::size_t const got = std::fread(buffer, 1, sizeof buffer, pipe)) {
      text.append(buffer, got);
    }
    if (::pclose(pipe) != 0) {
      throw std::runtime_error(command + ": " + text);
    }
    return text;
  }

  static std::string check() {
    try {
      ip("link add name probe0 type veth peer name probe1");
      ip("link delete dev probe0");
    } catch (std::exception const& error) {
      return std::string("veth pairs cannot be made here: ") + error.what();
    }
    return "";
  }
};

/// A test in a namespace of its own with the pair of links a0 - a1, both up. Where that is not permitted the test is
/// skipped, under CI=true it fails.
class VethTest : public testing::Test {
 protected:
  void enterWithPair(std::string const& linkOptions = "", std::string const& peerOptions = "") {
    if (std::string const reason = NetworkNamespace::enter(); !reason.empty()) {
      return Support::Namespace::refuse(reason);
    }
    ip("link add name a0" + linkOptions + " type veth peer name a1" + peerOptions);
    ip("link set a0 up");
    ip("link set a1 up");
    // The kernel settles operational states a moment later; before that, frames are dropped.
    ASSERT_TRUE(NetworkNamespace::becomesOperationally("a0", "UP"));
    ASSERT_TRUE(NetworkNamespace::becomesOperationally("a1", "UP"));
  }

  static void ip(std::string const& arguments) { NetworkNamespace::ip(arguments); }
};
