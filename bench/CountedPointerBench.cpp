/// \file
/// Copying and releasing a counted pointer, beside its peers. std::shared_ptr counts without locks until a process has
/// started a thread, so one runs throughout: a host's process has threads.

#include <algorithm>
#include <memory>
#include <random>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>
#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>

#include "Zon/Ptr.h"
#include "Zon/PtrInterface.h"

namespace {

class Object final : public Zon::PtrInterface {};

template <class Policy>
class BoostObject : public boost::intrusive_ref_counter<BoostObject<Policy>, Policy> {
 public:
  virtual ~BoostObject() = default;
};

using BoostPlain = BoostObject<boost::thread_unsafe_counter>;
using BoostLocked = BoostObject<boost::thread_safe_counter>;

void processHasThreads() {
  std::thread([] {}).join();
}

template <class Pointer>
void copyAndRelease(benchmark::State& state, Pointer const& pointer) {
  for (auto _ : state) {
    Pointer copy(pointer);
    benchmark::DoNotOptimize(copy);
  }
  state.SetItemsProcessed(state.iterations());
}

void CopyAndRelease_Varo(benchmark::State& state) { copyAndRelease(state, Zon::newPtr<Object>()); }

void CopyAndRelease_VaroLocked(benchmark::State& state) {
  Zon::VFPtrInterface::enableThreadSafePointers = true;
  copyAndRelease(state, Zon::newPtr<Object>());
  Zon::VFPtrInterface::enableThreadSafePointers = false;
}

void CopyAndRelease_BoostPlain(benchmark::State& state) {
  copyAndRelease(state, boost::intrusive_ptr<BoostPlain>(new BoostPlain));
}

void CopyAndRelease_BoostLocked(benchmark::State& state) {
  copyAndRelease(state, boost::intrusive_ptr<BoostLocked>(new BoostLocked));
}

void CopyAndRelease_StdShared(benchmark::State& state) {
  processHasThreads();
  copyAndRelease(state, std::make_shared<Object>());
}

BENCHMARK(CopyAndRelease_Varo);
BENCHMARK(CopyAndRelease_VaroLocked);
BENCHMARK(CopyAndRelease_BoostPlain);
BENCHMARK(CopyAndRelease_BoostLocked);
BENCHMARK(CopyAndRelease_StdShared);

/// The same over many objects in random order, as a walk over a collection meets them.
template <class Pointer, class Make>
void copyMany(benchmark::State& state, Make const& make) {
  std::vector<Pointer> pointers;
  for (int i = 0; i < 10'000; ++i)
    pointers.push_back(make());
  std::shuffle(pointers.begin(), pointers.end(), std::mt19937(42));
  for (auto _ : state) {
    for (Pointer const& pointer : pointers) {
      Pointer copy(pointer);
      benchmark::DoNotOptimize(copy);
    }
  }
  state.SetItemsProcessed(state.iterations() * 10'000);
}

void CopyAndReleaseMany_Varo(benchmark::State& state) {
  copyMany<Zon::Ptr<Object>>(state, [] { return Zon::newPtr<Object>(); });
}
void CopyAndReleaseMany_BoostPlain(benchmark::State& state) {
  copyMany<boost::intrusive_ptr<BoostPlain>>(state, [] { return new BoostPlain; });
}
void CopyAndReleaseMany_StdShared(benchmark::State& state) {
  processHasThreads();
  copyMany<std::shared_ptr<Object>>(state, [] { return std::make_shared<Object>(); });
}

BENCHMARK(CopyAndReleaseMany_Varo);
BENCHMARK(CopyAndReleaseMany_BoostPlain);
BENCHMARK(CopyAndReleaseMany_StdShared);

// Making an object and letting it die, the whole life of a pointer.
void MakeAndDestroy_Varo(benchmark::State& state) {
  for (auto _ : state)
    benchmark::DoNotOptimize(Zon::newPtr<Object>());
}
void MakeAndDestroy_BoostPlain(benchmark::State& state) {
  for (auto _ : state)
    benchmark::DoNotOptimize(boost::intrusive_ptr<BoostPlain>(new BoostPlain));
}
void MakeAndDestroy_StdShared(benchmark::State& state) {
  processHasThreads();
  for (auto _ : state)
    benchmark::DoNotOptimize(std::make_shared<Object>());
}

BENCHMARK(MakeAndDestroy_Varo);
BENCHMARK(MakeAndDestroy_BoostPlain);
BENCHMARK(MakeAndDestroy_StdShared);

}  // namespace
