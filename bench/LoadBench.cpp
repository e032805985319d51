/// \file
/// Loading and registering the library in a fresh process, beside a library of nothing: Load/varo and Load/empty. Every
/// iteration is a process of its own (bench/LoadDriver.cpp), which has the standard library already; the time is what
/// `dlopen` took of its processor. `min_us` is the quickest, in microseconds: the one that nobody disturbed.

#include <algorithm>
#include <cstdio>
#include <limits>
#include <optional>
#include <string>

#include <benchmark/benchmark.h>

namespace {

/// Nanoseconds, nothing when the library could not be loaded.
std::optional<double> loading(std::string const& library) {
  std::FILE* const driver = ::popen((VARO_LOAD_DRIVER " '" + library + "'").c_str(), "r");
  if (driver == nullptr) return std::nullopt;
  long long nanoseconds = 0;
  bool const read = std::fscanf(driver, "%lld", &nanoseconds) == 1;
  return ::pclose(driver) == 0 && read ? std::optional(static_cast<double>(nanoseconds)) : std::nullopt;
}

void load(benchmark::State& state, std::string const& library) {
  double least = std::numeric_limits<double>::infinity();
  for (auto _ : state) {
    auto const took = loading(library);
    if (!took) {
      state.SkipWithError("the library cannot be loaded");
      break;
    }
    least = std::min(least, *took);
    state.SetIterationTime(*took / 1e9);
  }
  state.counters["min_us"] = least / 1e3;
}

BENCHMARK_CAPTURE(load, varo, std::string(VARO_LIBVARO_FILE))
    ->Name("Load/varo")
    ->UseManualTime()
    ->Iterations(200)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(load, empty, std::string(VARO_EMPTY_FILE))
    ->Name("Load/empty")
    ->UseManualTime()
    ->Iterations(200)
    ->Unit(benchmark::kMicrosecond);

}  // namespace
