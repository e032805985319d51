#pragma once

/// \file
/// What two states differ in, path by path.
///
/// Guarantees
///   A  Every leaf that only one of them has, or that has another value, is printed once, in the order of the paths;
///      an object without members is a leaf where the other has no object.
///   B  Each takes one line, whatever names and texts hold. As JSON each is a document of its own.
///
/// Use
///
///     bool const isSame = VaroHost::StateDiff(out, isJson).print(before, after);

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/Output.h"

namespace VaroHost {

class StateDiff {
 public:
  StateDiff(Output& out, bool isJson) : out_(out), isJson_(isJson) {}

  /// True when nothing differs.
  bool print(nlohmann::json const& before, nlohmann::json const& after);

 private:
  void compare(nlohmann::json const& before, nlohmann::json const& after);
  /// Every leaf of what only one side has.
  void printLeaves(nlohmann::json const& value, bool isBefore);
  void printDifference(nlohmann::json const* before, nlohmann::json const* after);
  std::string path() const;

  Output& out_;
  bool const isJson_;
  bool isSame_ = true;
  /// The keys on the way to where the comparison stands.
  std::vector<std::string const*> keys_;
};

}  // namespace VaroHost
