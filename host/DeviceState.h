#pragma once

/// \file
/// The complete state of a device as canonical JSON: what producers wrote, what the modules made of it, and the names of
/// all counter blocks.
///
/// Guarantees
///   A  Equal state gives equal bytes, whatever events led to it and in whatever order: keys are sorted by bytes,
///      every attribute is written, nothing that differs from run to run (times, addresses, values of counters) is.
///      One exception: blocks of counters that are gone are written too, since nothing frees a block.
///   B  An entry a line, written as it goes.
///   C  Different names stay different: bytes that are not UTF-8 stand as `\xHH`, and a backslash is doubled.
///
/// Use
///
///     VaroHost::DeviceState(device).print(out);

#include "host/Device.h"
#include "host/Output.h"

namespace VaroHost {

class DeviceState {
 public:
  /// The member that marks a document as a state, and its value.
  static constexpr char formatKey[] = "varo-state";
  static constexpr int format = 1;

  explicit DeviceState(Device const& device) : device_(device) {}

  void print(Output& out) const;

 private:
  class Writer;

  static void printBlocks(Writer& writer, char const* key, Zon::Ptr<Pelto::ShmemMan const> const& blocks);
  void printAggregate(Writer& writer) const;
  void printSlices(Writer& writer) const;

  Device const& device_;
};

}  // namespace VaroHost
