#pragma once

/// \file
/// Runs sequences of random operations through the library and the model, compares after each operation, and shrinks the
/// first sequence that differs.
///
/// A sequence is a world of its own, drawn from one seed: a profile, then operations. What the model calls impossible (see
/// ReferenceModel.h) is left out; so it is when shrinking makes an operation impossible that was not.
///
/// The library runs in child processes: a crash is a failure like any other, with its seed and a shrunk sequence.
///
/// Use
///
///     Driver driver(LibraryWorld::walkOrders());
///     if (auto failure = driver.search(1, [](auto sequences) { return sequences < 100; })) std::cout << failure->text();

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "model/Operation.h"
#include "model/ReferenceModel.h"

namespace Model {

class Driver {
 public:
  struct Failure {
    std::uint64_t seed = 0;
    std::vector<Operation> operations;
    /// What was expected and found after the last operation; how the process ended if it did.
    std::string difference;
    /// Seed, difference, and the sequence, one operation a line.
    std::string text() const;
  };

  explicit Driver(WalkOrders orders) : orders_(std::move(orders)) {}

  /// Runs the sequences of `first`, `first` + 1, ... while `goesOn` says so, given how many were run; the first failure,
  /// shrunk.
  std::optional<Failure> search(std::uint64_t first, std::function<bool(std::uint64_t)> const& goesOn);
  /// A given sequence; what went wrong, or nothing.
  std::optional<std::string> replay(std::vector<Operation> const& operations) const;
  /// The sequence of a seed.
  std::vector<Operation> sequenceOf(std::uint64_t seed) const;
  /// A sequence that still fails, of fewer and simpler operations.
  std::vector<Operation> shrink(std::vector<Operation> operations) const;

  /// Operations and sequences compared so far.
  std::uint64_t operations() const { return operations_; }
  std::uint64_t sequences() const { return sequences_; }

 private:
  class Run;

  WalkOrders orders_;
  std::uint64_t operations_ = 0;
  std::uint64_t sequences_ = 0;
};

}  // namespace Model
