#pragma once

/// \file
/// Lack of memory on demand: replaces the program's `operator new`, every form of it, by ones that fail when told to.
///
/// The throwing forms throw `std::bad_alloc`, the others return null. What does not come from `operator new` (the memory of
/// an exception, of a mapping) never fails. For one thread.
///
/// Use
///
///     Faults::FailingAllocations faults(3, Faults::FailingAllocations::Which::thatOne);
///     ...                       // the third allocation fails
///     faults.end();
///     if (faults.failures() == 0) ...

#include <cstddef>

namespace Faults {

class FailingAllocations {
 public:
  enum class Which { thatOne, thatAndAllLater };

  /// Counts from 1; with 0 nothing fails. One at a time.
  FailingAllocations(std::size_t nth, Which which) noexcept;
  ~FailingAllocations() { end(); }
  FailingAllocations(FailingAllocations const&) = delete;
  FailingAllocations& operator=(FailingAllocations const&) = delete;

  /// There is memory again.
  void end() noexcept;

  /// How many were asked for until the end, and how many of them failed.
  std::size_t asked() const noexcept { return asked_; }
  std::size_t failures() const noexcept { return failures_; }

  /// Whether the allocation that is being asked for now fails.
  static bool fails() noexcept;

 private:
  static FailingAllocations* current;

  std::size_t const nth_;
  Which const which_;
  std::size_t asked_ = 0;
  std::size_t failures_ = 0;
};

/// Blocks from `operator new` that were not given back.
std::size_t liveAllocations() noexcept;

}  // namespace Faults
