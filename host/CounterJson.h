#pragma once

/// \file
/// Counter blocks as JSON: one document with all of them, or a document a line for each change.
///
/// Guarantees
///   A  One block a line, written as it goes: memory does not grow with the number.
///   B  Values are exact integers, up to 2^64 - 1. Bytes of names that are not UTF-8 become U+FFFD.
///
/// Use
///
///     VaroHost::CounterJson(out).print(list);

#include "host/ClockTime.h"
#include "host/CounterList.h"
#include "host/Output.h"

namespace VaroHost {

class CounterJson {
 public:
  explicit CounterJson(Output& out) : out_(out) {}

  void print(CounterList const& list);
  void printValue(ClockTime time, CounterObject const& object, CounterObject::Block const& block);
  /// An object that came or went.
  void printObject(ClockTime time, std::string const& name, bool isThere);

 private:
  Output& out_;
};

}  // namespace VaroHost
