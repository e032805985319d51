/// \file
/// One operation of the runtime, done COUNT times between two marks, for bench/instructions.py, which counts the
/// instructions between them under callgrind. `InstructionsDriver OPERATION COUNT`; prints how often it was done. COUNT
/// is the number of members, watchers or interfaces.

#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "VaroErrdisable/Root.h"
#include "Zon/ListRaw.h"
#include "Zon/SnapshotIterator.h"
#include "bench/IntfWorlds.h"

namespace {

using Bench::Port;
using Bench::PortMap;

// A result that is used nowhere would be computed nowhere.
void keep(void const* value) { asm volatile("" : : "r"(value)); }

// Everything a driver measures happens inside a function whose name begins with `measured`.
[[gnu::noinline]] void measuredFind(PortMap const& map, std::vector<Orvet::IntfId> const& ids) {
  for (auto const& id : ids)
    keep(map.find(id));
}

[[gnu::noinline]] void measuredMember(PortMap const& map, std::vector<Orvet::IntfId> const& ids) {
  for (auto const& id : ids)
    keep(map.member(id).ptr());
}

[[gnu::noinline]] void measuredInsert(PortMap& map, std::vector<Zon::Ptr<Port>> const& ports) {
  Bench::fill(map, ports);
}

[[gnu::noinline]] void measuredErase(PortMap& map, std::vector<Orvet::IntfId> const& ids) {
  for (auto const& id : ids)
    map.memberDel(id);
}

[[gnu::noinline]] void measuredIterate(PortMap const& map) {
  for (PortMap::IteratorConst it(map); it; it.advance())
    keep(&*it);
}

void copyOnce(Zon::Ptr<Port> const& port) {
  Zon::Ptr<Port> const copy(port);
  keep(copy.ptr());
}

// By eights, so that the loop itself hardly counts.
[[gnu::noinline]] void measuredCopy(Zon::Ptr<Port> const& port, std::size_t count) {
  for (std::size_t i = 0; i < count; i += 8) {
    copyOnce(port), copyOnce(port), copyOnce(port), copyOnce(port);
    copyOnce(port), copyOnce(port), copyOnce(port), copyOnce(port);
  }
}

class Watcher final : public Zon::PtrInterface::NotifieeConst {};

[[gnu::noinline]] void measuredSnapshot(Zon::ListRaw<Watcher> const& list) {
  for (Zon::SnapshotIterator<Zon::ListRaw<Watcher>> it(list); it; ++it, it.skipDropped()) {
    keep(&*it);
  }
}

class ConfigWatcher final : public Interface::AllIntfConfigDir::NotifieeConst {
 public:
  void onIntfConfig(Orvet::IntfId) override { ++calls; }
  void onIntfConfig() override {}

  std::size_t calls = 0;
};

[[gnu::noinline]] void measuredDeliver(Interface::AllIntfConfigDir& directory, std::vector<Orvet::IntfId> const& ids) {
  for (auto const& id : ids)
    directory.intfConfigNotify(id);
}

// What `measuredDeliver` protects, unprotected: the loop over virtual calls alone.
[[gnu::noinline]] void measuredLoop(std::vector<Zon::Ptr<Interface::AllIntfConfigDir::NotifieeConst>> const& watchers,
                                    std::vector<Orvet::IntfId> const& ids) {
  for (auto const& id : ids)
    for (auto const& watcher : watchers)
      watcher->onIntfConfig(id);
}

/// Changes of a collection with `count` watchers; returns the callbacks, 0 when one is missing.
std::size_t deliver(std::size_t count, bool protectedDelivery) {
  constexpr std::size_t changes = 1000;
  auto const ids = Bench::idsOf(changes);
  auto const directory = Zon::newPtr<Interface::AllIntfConfigDir>("config");
  std::vector<Zon::Ptr<Interface::AllIntfConfigDir::NotifieeConst>> watchers;
  for (std::size_t i = 0; i < count; ++i) {
    watchers.push_back(Zon::newPtr<ConfigWatcher>());
    watchers.back()->notifierIs(directory);
    watchers.back()->isRegisteredNotifieeIs(true);
    watchers.back()->hasNotificationActiveIs(true);
  }
  if (protectedDelivery) {
    measuredDeliver(*directory, ids);
  } else {
    measuredLoop(watchers, ids);
  }
  std::size_t calls = 0;
  for (auto const& watcher : watchers)
    calls += static_cast<ConfigWatcher const&>(*watcher).calls;
  return calls == changes * count ? calls : 0;
}

// The flip, the decision, two writes into the configuration and their delivery.
[[gnu::noinline]] void measuredEvent(std::vector<Zon::Ptr<Interface::IntfStatus>> const& statuses, bool active) {
  for (auto const& status : statuses)
    status->activeIs(active);
}

/// Flips the statuses of `count` interfaces down and up; one in sixteen is errdisabled. Returns the events, 0 when an
/// interface ends up in a wrong state.
std::size_t events(std::size_t count) {
  using Interface::IntfEnabledState;
  auto const ids = Bench::idsOf(count);
  auto const configDir = Zon::newPtr<Interface::AllIntfConfigDir>("config");
  auto const statusDir = Zon::newPtr<Interface::AllIntfStatusDir>("status");
  auto const errdisabled = Zon::newPtr<Errdisable::Status>("errdisable");
  for (std::size_t i = 0; i < count; ++i) {
    configDir->intfConfigIs(Zon::newPtr<Interface::IntfConfig>(ids[i]));
    statusDir->intfStatusIs(Zon::newPtr<Interface::IntfStatus>(ids[i]));
    if (i % 16 == 3) errdisabled->errdisabledIntfIs(ids[i], "bpduguard");
  }
  std::vector<Zon::Ptr<Interface::IntfStatus>> statuses;
  for (std::uint32_t const i : Bench::shuffled(count)) {
    statuses.push_back(statusDir->intfStatus(ids[i]));
    statuses.back()->activeIs(true);
  }
  auto const root = VaroErrdisable::rootFactory("errdisable");
  root->allIntfSMIs(Zon::newPtr<Zon::ActivityConfig>(Zon::ActivityConfig::Delivery::immediate), configDir, statusDir,
                    errdisabled);
  measuredEvent(statuses, false);
  measuredEvent(statuses, true);
  for (std::size_t i = 0; i < count; ++i) {
    auto const wanted = i % 16 == 3 ? IntfEnabledState::disabled : IntfEnabledState::enabled;
    if (configDir->intfConfig(ids[i])->enabledStateLocal() != wanted) return 0;
  }
  return 2 * count;
}

// Of the interface module's worlds (bench/IntfWorlds.h).
template <class World>
[[gnu::noinline]] void measuredWire(World& world) {
  world.wire();
}

template <class World>
[[gnu::noinline]] void measuredChange(World& world, std::vector<std::uint32_t> const& order) {
  for (std::uint32_t const i : order)
    world.change(i, 1);
}

[[gnu::noinline]] void measuredRemove(Bench::Mirror& world, std::vector<std::uint32_t> const& order) {
  for (std::uint32_t const i : order)
    world.remove(i);
}

[[gnu::noinline]] void measuredSweep(Bench::CounterSlice& world) { world.sweep(); }

[[gnu::noinline]] void measuredMake(Pelto::ShmemMan& manager, std::vector<Zon::String8> const& names) {
  for (auto const& name : names)
    manager.newCounterBlock(name);
}

template <class World>
std::size_t wire(std::size_t count) {
  World world(count);
  world.unwire();
  measuredWire(world);
  return world.check(0) == nullptr ? count : 0;
}

template <class World>
std::size_t change(std::size_t count) {
  World world(count);
  world.wire();
  measuredChange(world, Bench::shuffled(count));
  return world.check(1) == nullptr ? count : 0;
}

/// One of the interface module's operations for each of `count` interfaces; returns how often it was done, 0 when its
/// result is wrong.
std::size_t interfaces(std::string_view operation, std::size_t count) {
  using Bench::blocksOfACounter;
  if (operation == "wire-mirror") return wire<Bench::Mirror>(count);
  if (operation == "wire-blocks") return wire<Bench::CounterBlocks<true>>(count) * blocksOfACounter;
  if (operation == "wire-private-blocks") return wire<Bench::CounterBlocks<false>>(count) * blocksOfACounter;
  if (operation == "change-mirror") return change<Bench::Mirror>(count);
  if (operation == "change-model") return change<Bench::ForwardingModels>(count);
  if (operation == "remove-mirror") {
    Bench::Mirror world(count);
    world.wire();
    measuredRemove(world, Bench::shuffled(count));
    return world.isEmpty() ? count : 0;
  }
  if (operation == "make-block") {
    std::vector<Zon::String8> names;
    for (std::size_t i = 0; i < count; ++i)
      names.emplace_back(Bench::nameOf(i) + "-17-dropped");
    auto const manager = Bench::newManager(true, "blocks");
    measuredMake(*manager, names);
    return manager->counterBlocks();
  }
  if (operation == "sweep-slice") {
    Bench::CounterSlice world(count);
    world.wire();
    measuredSweep(world);
    return world.check(0) == nullptr ? count : 0;
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  std::string_view const operation = argv[1];
  std::size_t const count = std::strtoull(argv[2], nullptr, 10);

  bool const ofInterfaces = operation.find('-') != std::string_view::npos;
  if (ofInterfaces || operation == "deliver" || operation == "loop" || operation == "event") {
    std::size_t const done = ofInterfaces           ? interfaces(operation, count)
                             : operation == "event" ? events(count)
                                                    : deliver(count, operation == "deliver");
    std::printf("%zu\n", done);
    return done == 0 ? 1 : 0;
  }

  auto const ids = Bench::idsOf(count);
  auto const ports = Bench::portsOf(ids);
  std::vector<Orvet::IntfId> sought;
  for (std::uint32_t const i : Bench::shuffled(count))
    sought.push_back(ids[i]);
  // Hashes are computed once a string; these are known.
  for (auto const& id : ids)
    static_cast<void>(id.reversedHash());
  PortMap map;
  if (operation != "insert") Bench::fill(map, ports);

  Zon::ListRaw<Watcher> list;
  std::vector<Zon::Ptr<Watcher>> watchers;
  if (operation == "snapshot") {
    for (std::size_t i = 0; i < count; ++i) {
      watchers.push_back(Zon::newPtr<Watcher>());
      list.append(watchers.back().ptr());
    }
  }

  if (operation == "find") {
    measuredFind(map, sought);
  } else if (operation == "member") {
    measuredMember(map, sought);
  } else if (operation == "insert") {
    measuredInsert(map, ports);
  } else if (operation == "erase") {
    measuredErase(map, sought);
  } else if (operation == "iterate") {
    measuredIterate(map);
  } else if (operation == "copy") {
    measuredCopy(ports[0], count);
  } else if (operation == "snapshot") {
    measuredSnapshot(list);
  } else {
    return 2;
  }
  list.deleteAll();
  std::printf("%zu\n", count);
  return 0;
}
