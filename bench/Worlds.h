#pragma once

/// \file
/// What benchmarks over N interfaces share. A world is everything of one kind (Varo's, a hand-written peer's, Qt's) over N
/// interfaces: `World(count)` makes the interfaces, `wire()` and `unwire()` make and drop what reacts to them, and
/// `check(round)` says what is wrong after so many rounds of events, null when nothing is. Names read WHAT/HOW/N;
/// `items_per_second` counts events or interfaces.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <malloc.h>

#include "bench/Members.h"

namespace Bench {

/// Drops the world that is kept: there is one at a time, whatever its kind.
inline std::function<void()> dropWorld = [] {};

/// The wired world of one kind and size, kept for the benchmarks that use the same one next.
template <class World>
class Kept {
 public:
  static Kept& of(std::size_t count) {
    static std::unique_ptr<Kept> last;
    if (last == nullptr || last->order.size() != count) {
      dropWorld();
      last = std::make_unique<Kept>(count);
      dropWorld = [] { last.reset(); };
    }
    return *last;
  }

  explicit Kept(std::size_t count) : order(shuffled(count)), world(count) { world.wire(); }

  std::vector<std::uint32_t> const order;
  World world;
  std::size_t round = 0;
};

inline void countItems(benchmark::State& state, std::size_t each) {
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(each));
}

template <class World>
void checkWorld(benchmark::State& state, World const& world, std::size_t round) {
  if (char const* const wrong = world.check(round)) state.SkipWithError(wrong);
}

/// Rounds of `event(i, round)` for every interface, in random order.
template <class World, auto event>
void events(benchmark::State& state, std::size_t count) {
  auto& kept = Kept<World>::of(count);
  for (auto _ : state) {
    ++kept.round;
    for (std::uint32_t const i : kept.order)
      (kept.world.*event)(i, kept.round);
  }
  checkWorld(state, kept.world, kept.round);
  countItems(state, count);
}

inline double heapBytes() {
  struct mallinfo2 const heap = mallinfo2();
  return static_cast<double>(heap.uordblks + heap.hblkhd);
}

/// `wire()` over interfaces that exist already; `bytes` is what that takes an interface.
template <class World>
void wiring(benchmark::State& state, std::size_t count) {
  auto& kept = Kept<World>::of(count);
  double bytes = 0;
  for (auto _ : state) {
    state.PauseTiming();
    kept.world.unwire();
    double const before = heapBytes();
    state.ResumeTiming();
    kept.world.wire();
    state.PauseTiming();
    bytes = heapBytes() - before;
    state.ResumeTiming();
  }
  checkWorld(state, kept.world, kept.round);
  state.counters["bytes"] = bytes / static_cast<double>(count);
  countItems(state, count);
}

using Run = void (*)(benchmark::State&, std::size_t);

inline void addBenchmark(std::string const& what, std::string const& how, std::size_t count, Run run) {
  std::string const name = what + "/" + how + "/" + std::to_string(count);
  benchmark::RegisterBenchmark(name.c_str(), run, count)->Unit(benchmark::kMicrosecond);
}

}  // namespace Bench
