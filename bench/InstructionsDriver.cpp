/// \file
/// One operation of the runtime, done COUNT times between two marks, for bench/instructions.py, which counts the
/// instructions between them under callgrind. `InstructionsDriver OPERATION COUNT`; prints how often it was done.

#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "Zon/ListRaw.h"
#include "Zon/SnapshotIterator.h"
#include "bench/Members.h"

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

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  std::string_view const operation = argv[1];
  std::size_t const count = std::strtoull(argv[2], nullptr, 10);

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
