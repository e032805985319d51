#pragma once

/// \file
/// Where the counter blocks of a device are: the names of its two shared-memory objects.
///
/// Guarantees
///   A  Whoever was given the same prefix finds the same objects, in whatever process.
///   B  Without a prefix the memory is private to the process and both names are empty.
///
/// Use
///
///     VaroHost::CounterMemory memory("line-card");
///     auto blocks = Pelto::ShmemMan::attach(memory.interfaceName());   // "line-card.intf"

#include <string>

#include "Zon/String8.h"

namespace VaroHost {

class CounterMemory {
 public:
  /// Private memory.
  CounterMemory() = default;
  explicit CounterMemory(std::string prefix);

  bool isPrivate() const noexcept { return prefix_.empty(); }
  std::string const& prefix() const noexcept { return prefix_; }
  /// The object with the blocks per interface.
  Zon::Name interfaceName() const;
  /// The object with the blocks per interface and queue.
  Zon::Name queueName() const;

 private:
  Zon::Name objectName(char const* ending) const;

  std::string prefix_;
};

}  // namespace VaroHost
