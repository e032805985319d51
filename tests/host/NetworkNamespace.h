#pragma once

/// \file
/// A network namespace for one test: the calling process and what it starts live in it.

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sched.h>
#include <unistd.h>

class NetworkNamespace {
 public:
  /// Enters a new namespace; on failure the reason, else empty.
  static std::string enter() {
    if (::unshare(CLONE_NEWNET) == 0) {
      return check();
    }
    uid_t const user = ::getuid();
    gid_t const group = ::getgid();
    if (::unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) {
      return std::string("network namespaces are not permitted here: ") + std::strerror(errno);
    }
    std::ofstream("/proc/self/setgroups") << "deny";
    std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
    std::ofstream("/proc/self/gid_map") << "0 " << group << " 1";
    return check();
  }

  static bool isRequired() {
    char const* const value = std::getenv("CI");
    return value != nullptr && std::string_view(value) == "true";
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
      if (NetworkNamespace::isRequired()) {
        FAIL() << reason;
      }
      GTEST_SKIP() << reason;
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
