#include "host/LiveCounters.h"

#include <atomic>

#include <fmt/format.h>

#include "host/Text.h"
#include "platform/Interface/IntfQueueCounter.h"

namespace VaroHost {

namespace {

constexpr char received[] = "rx";
constexpr char sent[] = "tx";

struct Counter {
  char const* slice;
  /// As in RFC 8343 where that model has it.
  char const* name;
  __u64 rtnl_link_stats64::*ofLink;
  /// Null where the kernel has no such number of a queue.
  std::uint64_t LinkStatistics::Queue::*ofQueue = nullptr;
};

using Statistics = rtnl_link_stats64;
using Queue = LinkStatistics::Queue;

constexpr Counter table[] = {
    {received, "in-octets", &Statistics::rx_bytes},
    {received, "in-pkts", &Statistics::rx_packets},
    {received, "in-multicast-pkts", &Statistics::multicast},
    {received, "in-discards", &Statistics::rx_dropped},
    {received, "in-errors", &Statistics::rx_errors},
    {sent, "out-octets", &Statistics::tx_bytes, &Queue::octets},
    {sent, "out-pkts", &Statistics::tx_packets, &Queue::packets},
    {sent, "out-discards", &Statistics::tx_dropped, &Queue::drops},
    {sent, "out-errors", &Statistics::tx_errors},
};

std::byte* dataOf(Zon::Ptr<Pelto::CounterBlock> const& block) noexcept { return block ? block->data() : nullptr; }

/// Writes the number at the start of a block; nothing without one.
void store(std::byte* data, std::uint64_t value) noexcept {
  if (data != nullptr) {
    std::atomic_ref(*reinterpret_cast<std::uint64_t*>(data)).store(value, std::memory_order_relaxed);
  }
}

}  // namespace

LiveCounters::LiveCounters(QueueCounters& counters) : counters_(counters) {
  static_assert(std::size(table) == LiveCounters::counterCount);
  counters_.sliceIs(received);
  counters_.sliceIs(sent);
}

std::optional<std::string> LiveCounters::linkIs(int index, std::string const& name, unsigned transmitQueues) {
  for (char const* const slice : {received, sent}) {
    auto const added = counters_.countersIs(*counters_.slice(slice), name);
    for (Counter const& counter : table) {
      if (counter.slice == slice) {
        added->intfQueueCounterIs(Zon::newPtr<Interface::IntfQueueCounter>(counter.name));
      }
    }
  }
  Link& link = links_[index];
  link = {name, transmitQueues, {}, {}};
  bool isComplete = true;
  for (std::size_t at = 0; at < counterCount; ++at) {
    link.values[at] = dataOf(counters_.interfaceBlocks()->counterBlock(fmt::format("{}-{}", name, table[at].name)));
    isComplete = isComplete && counters_.hasBlocks(name, table[at].name);
  }
  if (!isComplete) {
    return fmt::format("{}: some of its counters have no blocks: the shared memory is exhausted", printable(name));
  }
  return std::nullopt;
}

void LiveCounters::linkDel(int index) {
  auto const found = links_.find(index);
  if (found == links_.end()) {
    return;
  }
  for (char const* const slice : {received, sent}) {
    counters_.countersDel(*counters_.slice(slice), found->second.name);
  }
  links_.erase(found);
}

void LiveCounters::onLinkCounted(int index, rtnl_link_stats64 const& counted) {
  auto const found = links_.find(index);
  if (found == links_.end()) {
    return;
  }
  for (std::size_t at = 0; at < counterCount; ++at) {
    store(found->second.values[at], counted.*table[at].ofLink);
  }
}

void LiveCounters::onQueueCounted(int index, unsigned queue, LinkStatistics::Queue const& counted) {
  auto const found = links_.find(index);
  if (found == links_.end()) {
    return;
  }
  Link& link = found->second;
  if (queue == LinkStatistics::wholeLink) {
    // Of several queues it cannot be said which one it was.
    if (link.transmitQueues != 1) {
      return;
    }
    queue = 0;
  }
  if (queue >= QueueCounters::queues) {
    return;
  }
  auto const [at, isNew] = link.queueValues.try_emplace(queue);
  for (std::size_t number = 0; number < counterCount; ++number) {
    Counter const& counter = table[number];
    if (counter.ofQueue == nullptr) {
      continue;
    }
    if (isNew) {
      auto const name = fmt::format("{}-{}-{}", link.name, queue, counter.name);
      at->second[number] = dataOf(counters_.queueBlocks()->counterBlock(name));
    }
    store(at->second[number], counted.*counter.ofQueue);
  }
}

}  // namespace VaroHost
