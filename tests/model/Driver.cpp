#include "model/Driver.h"

#include <csignal>
#include <cstring>
#include <new>
#include <stdexcept>
#include <utility>

#include <sys/mman.h>
#include <sys/time.h>

#include "model/LibraryWorld.h"
#include "model/Source.h"
#include "support/ChildProcess.h"

// The leak checker of a sanitized build, absent from others.
extern "C" int __lsan_do_recoverable_leak_check() __attribute__((weak));

namespace Model {

namespace {

/// What a child process tells its parent, in memory they share.
struct Report {
  std::uint64_t seed = 0;
  std::uint64_t sequences = 0;
  std::uint64_t operations = 0;
  /// Operations of the present sequence.
  std::uint64_t step = 0;
  char difference[4096] = {};
};

class SharedReport {
 public:
  SharedReport() {
    void* const place = mmap(nullptr, sizeof(Report), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (place == MAP_FAILED) throw std::bad_alloc();
    report_ = ::new (place) Report();
  }
  ~SharedReport() { munmap(report_, sizeof(Report)); }
  SharedReport(SharedReport const&) = delete;
  SharedReport& operator=(SharedReport const&) = delete;

  Report* operator->() const { return report_; }
  Report& operator*() const { return *report_; }

 private:
  Report* report_;
};

constexpr int differs = 3;
constexpr int leaks = 4;
/// Seconds of processor time for one sequence, which takes milliseconds: what takes longer goes round in circles.
constexpr unsigned patience = 60;

void startPatience() {
  itimerval timer{};
  timer.it_value.tv_sec = patience;
  setitimer(ITIMER_PROF, &timer, nullptr);
}

/// Runs `act` in a child process; empty when it returned true, else how it ended.
template <class Act>
std::string inChild(Report& report, Act const& act) {
  Support::ChildProcess child([&] {
    int code = differs;
    try {
      code = act() ? 0 : differs;
    } catch (std::exception const& e) {
      std::strncpy(report.difference, e.what(), sizeof report.difference - 1);
    }
    if (code == 0 && __lsan_do_recoverable_leak_check != nullptr && __lsan_do_recoverable_leak_check() != 0)
      code = leaks;
    return code;
  });
  int const status = child.finish();
  int const signal = child.endingSignal();
  if (signal == SIGPROF) return "not done after " + std::to_string(patience) + " s of processor time\n";
  if (signal != 0) return "ended by signal " + std::to_string(signal) + "\n";
  switch (status) {
  case 0:
    return {};
  case differs:
    return report.difference;
  case leaks:
    return "memory leaked\n";
  default:
    return "ended with status " + std::to_string(status) + "\n";
  }
}

/// The model alone, which leaves out what is impossible.
class Filter {
 public:
  explicit Filter(WalkOrders const& orders) : model_(orders) {}

  /// What the model predicts; nothing, and nothing done, for what is impossible.
  std::optional<Outcome> apply(Operation const& operation, int step) {
    if (!model_.mayBeImpossible(operation)) {
      Outcome const outcome = model_.apply(operation, step);
      if (outcome == Outcome::impossible) throw std::logic_error("impossible without warning: " + operation.text());
      return outcome;
    }
    ReferenceModel trial = model_;
    Outcome const outcome = trial.apply(operation, step);
    if (outcome == Outcome::impossible) return std::nullopt;
    model_ = std::move(trial);
    return outcome;
  }

  ReferenceModel const& model() const { return model_; }

 private:
  ReferenceModel model_;
};

}  // namespace

/// One sequence under comparison.
class Driver::Run {
 public:
  Run(WalkOrders const& orders, Report& report) : filter_(orders), report_(report) {
    report_.step = 0;
    startPatience();
    compare(Operation());
  }

  /// False when library and model part; an impossible operation is skipped.
  bool apply(Operation const& operation) {
    int const step = static_cast<int>(report_.step++);
    std::optional<Outcome> const expected = filter_.apply(operation, step);
    if (!expected) return true;
    Outcome const found = world_.apply(operation, step);
    ++report_.operations;
    if (found != *expected) {
      note(operation, std::string("- ") + text(*expected) + "\n+ " + text(found) + "\n");
      return false;
    }
    return compare(operation);
  }

 private:
  void note(Operation const& operation, std::string const& difference) {
    std::string const whole = "after " + (operation.kind == Kind::count ? "nothing" : operation.text()) +
                              " (- expected, + found):\n" + difference;
    std::strncpy(report_.difference, whole.c_str(), sizeof report_.difference - 1);
  }

  bool compare(Operation const& operation) {
    Observation const expected = filter_.model().observe();
    Observation const found = world_.observe();
    if (expected != found) {
      note(operation, difference(expected, found));
      return false;
    }
    // The numbers of blocks are equal; the names are looked at when a number changed.
    std::uint64_t blocks = 0;
    for (Fact const& fact : expected)
      if (fact.what == What::blocks) blocks += static_cast<std::uint64_t>(fact.value);
    if (std::exchange(blocks_, blocks) == blocks || filter_.model().blocks() == world_.blocks()) return true;
    note(operation, "other names of blocks\n");
    return false;
  }

  Filter filter_;
  LibraryWorld world_;
  Report& report_;
  std::uint64_t blocks_ = 0;
};

std::string Driver::Failure::text() const {
  return "seed " + std::to_string(seed) + "\n" + difference + "sequence:\n" + Model::text(operations);
}

std::optional<Driver::Failure> Driver::search(std::uint64_t first, std::function<bool(std::uint64_t)> const& goesOn) {
  SharedReport const report;
  std::string const difference = inChild(*report, [&] {
    for (report->seed = first; goesOn(report->sequences); ++report->seed, ++report->sequences) {
      Source source(report->seed);
      Run run(orders_, *report);
      while (auto const operation = source.next())
        if (!run.apply(*operation)) return false;
    }
    return true;
  });
  operations_ += report->operations;
  sequences_ += report->sequences;
  if (difference.empty()) return std::nullopt;
  Failure failure{report->seed, sequenceOf(report->seed), difference};
  if (failure.operations.size() > report->step) failure.operations.resize(report->step);
  if (replay(failure.operations)) {
    failure.operations = shrink(std::move(failure.operations));
    failure.difference = replay(failure.operations).value_or("");
  } else {
    failure.difference += "(not when the sequence runs alone)\n";
  }
  return failure;
}

std::vector<Operation> Driver::sequenceOf(std::uint64_t seed) const {
  std::vector<Operation> operations;
  Source source(seed);
  while (auto const operation = source.next())
    operations.push_back(*operation);
  return operations;
}

std::optional<std::string> Driver::replay(std::vector<Operation> const& operations) const {
  SharedReport const report;
  std::string const difference = inChild(*report, [&] {
    Run run(orders_, *report);
    for (Operation const& operation : operations)
      if (!run.apply(operation)) return false;
    return true;
  });
  return difference.empty() ? std::nullopt : std::optional(difference);
}

std::vector<Operation> Driver::shrink(std::vector<Operation> operations) const {
  // Numbers of made things follow the position: a removal renumbers, which changes nothing but names.
  for (std::size_t chunk = operations.size(); chunk != 0; chunk /= 2) {
    for (std::size_t start = 0; start < operations.size();) {
      std::vector<Operation> fewer(operations.begin(), operations.begin() + static_cast<std::ptrdiff_t>(start));
      std::size_t const end = std::min(start + chunk, operations.size());
      fewer.insert(fewer.end(), operations.begin() + static_cast<std::ptrdiff_t>(end), operations.end());
      if (replay(fewer)) {
        operations = std::move(fewer);
      } else {
        start = end;
      }
    }
  }
  for (Operation& operation : operations) {
    for (int& argument : operation.argument) {
      int const before = argument;
      for (argument = 0; argument != before; ++argument)
        if (replay(operations)) break;
    }
  }
  return operations;
}

}  // namespace Model
