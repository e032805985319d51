#pragma once

/// \file
/// Where the counter blocks of a device are: the names of its two shared-memory objects.
///
/// Guarantees
///   A  Whoever was given the same prefix finds the same objects, in whatever process.
///   B  Without a prefix the memory is private to the process and both names are empty.
///   C  The capacity is that of each object made for it; one that is there already keeps its own.
///
/// Use
///
///     VaroHost::CounterMemory memory("line-card");
///     auto blocks = Pelto::ShmemMan::attach(memory.interfaceName());   // "line-card.intf"

#include <cstdint>
#include <string>

#include "Zon/String8.h"
#include "platform/Pelto/ShmemMan.h"

namespace VaroHost {

class CounterMemory {
 public:
  /// Private memory.
  CounterMemory() = default;
  /// \param prefix empty for private memory
  /// \param capacity bytes of each object
  explicit CounterMemory(std::string prefix, std::uint64_t capacity = Pelto::ShmemMan::defaultCapacity);

  bool isPrivate() const noexcept { return prefix_.empty(); }
  std::string const& prefix() const noexcept { return prefix_; }
  std::uint64_t capacity() const noexcept { return capacity_; }
  /// The object with the blocks per interface.
  Zon::Name interfaceName() const;
  /// The object with the blocks per interface and queue.
  Zon::Name queueName() const;

 private:
  Zon::Name objectName(char const* ending) const;

  std::string prefix_;
  std::uint64_t capacity_ = Pelto::ShmemMan::defaultCapacity;
};

}  // namespace VaroHost
