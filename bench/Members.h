#pragma once

/// \file
/// The members and keys that the benchmarks of the keyed collection share.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "Zon/HashMap.h"
#include "Zon/Ptr.h"
#include "platform/Orvet/IntfId.h"

namespace Bench {

/// What a map of the system holds: a counted object under an interface identifier.
class Port final : public Zon::PtrInterface, public Zon::HashMapLink<Port> {
 public:
  explicit Port(Orvet::IntfId id) : id_(std::move(id)) {}

  Orvet::IntfId const& fwkKey() const noexcept { return id_; }

  std::uint64_t value = 1;

 private:
  Orvet::IntfId id_;
};

using PortMap = Zon::HashMap<Port, Orvet::IntfId>;

inline std::string nameOf(std::size_t i) {
  return "Ethernet" + std::to_string(i / 64 + 1) + "/" + std::to_string(i % 64 + 1);
}

inline std::vector<Orvet::IntfId> idsOf(std::size_t count) {
  std::vector<Orvet::IntfId> ids;
  ids.reserve(count);
  for (std::size_t i = 0; i < count; ++i)
    ids.emplace_back(nameOf(i));
  return ids;
}

inline std::vector<Zon::Ptr<Port>> portsOf(std::vector<Orvet::IntfId> const& ids) {
  std::vector<Zon::Ptr<Port>> ports;
  ports.reserve(ids.size());
  for (Orvet::IntfId const& id : ids)
    ports.push_back(Zon::newPtr<Port>(id));
  return ports;
}

inline void fill(PortMap& map, std::vector<Zon::Ptr<Port>> const& ports) {
  for (auto const& port : ports)
    map.newMember(port, PortMap::hashOf(port->fwkKey()));
}

/// A random order of 0 to count - 1, the same in every run.
inline std::vector<std::uint32_t> shuffled(std::size_t count) {
  std::vector<std::uint32_t> order(count);
  for (std::size_t i = 0; i < count; ++i)
    order[i] = static_cast<std::uint32_t>(i);
  std::shuffle(order.begin(), order.end(), std::mt19937(42));
  return order;
}

/// For each index the next one of a single random cycle through all of them.
inline std::vector<std::uint32_t> cycle(std::size_t count) {
  std::vector<std::uint32_t> const order = shuffled(count);
  std::vector<std::uint32_t> next(count);
  for (std::size_t i = 0; i < count; ++i)
    next[order[i]] = order[(i + 1) % count];
  return next;
}

}  // namespace Bench
