#pragma once

/// \file
/// Draws the operations of one sequence from a seed.
///
/// Uniform draws would wire everything anew all the time and hardly ever touch what is wired. So most sequences begin with
/// the wiring a host would do over directories that are not empty, arguments fall on that wiring more often than not, and every sequence has its own mixture of
/// themes, its own favourite activity and its own patience with dispatches.

#include <cstdint>
#include <optional>
#include <random>
#include <vector>

#include "model/Operation.h"

namespace Model {

class Source {
 public:
  explicit Source(std::uint64_t seed);

  /// The next operation; nothing at the end of the sequence.
  std::optional<Operation> next();

 private:
  int draw(int limit) { return static_cast<int>(generator_() % static_cast<unsigned>(limit)); }
  template <class T, std::size_t n>
  T oneOf(T const (&values)[n]) {
    return values[generator_() % n];
  }
  /// The wiring a host would do, and something in the directories; in any order.
  void begin();
  int drawArgument(Operation const& operation, std::size_t index);

  std::mt19937_64 generator_;
  std::discrete_distribution<int> kinds_;
  /// What is still to be done of the beginning, last first.
  std::vector<Operation> beginning_;
  int left_;
  int usualActivity_;
  /// How many of ten arguments fall on the usual value.
  int habit_;
};

}  // namespace Model
