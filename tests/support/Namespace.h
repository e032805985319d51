#pragma once

/// \file
/// Namespaces of the kernel for one test: the calling process and what it starts live in them.
///
/// Guarantees
///   A  Who may not make a namespace becomes root of a user namespace of its own, where it may; its files stay its own,
///      and it can make new ones.
///   B  Where that is not permitted either, the reason is told. A test that needs the namespace is then skipped; under
///      CI=true it fails.
///
/// Use
///
///     if (std::string const reason = Support::Namespace::enter(CLONE_NEWNET, "network"); !reason.empty()) {
///       return Support::Namespace::refuse(reason);
///     }

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <string_view>

#include <gtest/gtest.h>
#include <sched.h>
#include <unistd.h>

namespace Support {

class Namespace {
 public:
  /// Enters a new namespace; on failure the reason, else empty.
  /// \param kind CLONE_NEWNET, CLONE_NEWNS and so on
  static std::string enter(int kind, std::string const& name) {
    if (::unshare(kind) == 0) return "";
    uid_t const user = ::geteuid();
    gid_t const group = ::getegid();
    if (::unshare(CLONE_NEWUSER | kind) != 0)
      return name + " namespaces are not permitted here: " + std::strerror(errno);
    // Groups can be mapped only by who renounces changing them.
    bool const isMapped = write("/proc/self/setgroups", "deny") &&
                          write("/proc/self/uid_map", "0 " + std::to_string(user) + " 1") &&
                          write("/proc/self/gid_map", "0 " + std::to_string(group) + " 1");
    return isMapped ? "" : std::string("a user namespace cannot be mapped here: ") + std::strerror(errno);
  }

  /// Skips the calling test, or fails it where namespaces are required; the test has to return.
  static void refuse(std::string const& reason) {
    char const* const ci = std::getenv("CI");
    if (ci != nullptr && std::string_view(ci) == "true") FAIL() << reason;
    GTEST_SKIP() << reason;
  }

 private:
  static bool write(char const* file, std::string const& text) {
    return static_cast<bool>(std::ofstream(file) << text << std::flush);
  }
};

}  // namespace Support
