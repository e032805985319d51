#pragma once

/// \file
/// The kernel's statistics of the links in the counter blocks of the device: a slice of what is received, a slice of
/// what is sent.
///
/// Guarantees
///   A  The slices list the links that are there, under their names; the module makes the blocks, this writes the first
///      eight bytes of each, an unsigned number in native order, in one store.
///   B  Blocks by queue are written where the kernel counts by queue, the others are left untouched.
///   C  Blocks of a link that went keep their last value: nothing frees a block.
///
/// Use
///
///     VaroHost::LiveCounters counters(device.queueCounters());
///     counters.linkIs(2, "eth0", 4);
///     counters.refresh();

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "host/LinkStatistics.h"
#include "host/QueueCounters.h"

namespace VaroHost {

class LiveCounters final : private LinkStatistics::Listener {
 public:
  /// Makes the slices. Errors: `Trouble` when there is no netlink.
  explicit LiveCounters(QueueCounters& counters);

  /// A link came, under a name that is no other's. Returns why when it has not all its blocks.
  /// \param transmitQueues how many it has
  std::optional<std::string> linkIs(int index, std::string const& name, unsigned transmitQueues);
  /// Nothing when it is unknown.
  void linkDel(int index);
  /// Takes the kernel's present values. Returns why when they cannot be had.
  std::optional<std::string> refresh() { return statistics_.read(*this); }

 private:
  static constexpr std::size_t counterCount = 9;

  using Values = std::array<std::byte*, counterCount>;

  struct Link {
    std::string name;
    unsigned transmitQueues = 0;
    /// The block of each value, null where there is no block.
    Values values{};
    /// The same of each queue the kernel told of.
    std::map<unsigned, Values> queueValues;
  };

  void onLinkCounted(int index, rtnl_link_stats64 const& counted) override;
  void onQueueCounted(int index, unsigned queue, LinkStatistics::Queue const& counted) override;

  QueueCounters& counters_;
  LinkStatistics statistics_;
  std::map<int, Link> links_;
};

}  // namespace VaroHost
