#pragma once

/// \file
/// Sets links administratively up and down in the kernel.
///
/// Guarantees
///   A  Of a link nothing but its being up is changed, and of other links nothing.
///   B  When `set` returns, the kernel has carried it out and its notification is on the way, or nothing happened.
///
/// Use
///
///     if (auto const error = linkSwitch.set(index, false)) complain(*error);

#include <optional>
#include <string>

#include "host/Netlink.h"

namespace VaroHost {

class LinkSwitch {
 public:
  virtual ~LinkSwitch() = default;

  /// Returns once the kernel has carried it out; on failure says why.
  virtual std::optional<std::string> set(int index, bool up) = 0;
};

/// The real one. Its own socket: answers never mix with notifications.
class KernelLinkSwitch final : public LinkSwitch {
 public:
  /// Errors: `Trouble` when there is no netlink.
  KernelLinkSwitch();

  std::optional<std::string> set(int index, bool up) override;

 private:
  NetlinkSocket socket_;
};

}  // namespace VaroHost
