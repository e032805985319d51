#pragma once

/// \file
/// The interfaces as a JSON document in the names of RFC 8343 (`ietf-interfaces`); what that model does not know stands
/// in leaves under the prefix `varo:`. A leaf is written only when its value is known.
///
/// Guarantees
///   A  One valid document, an interface a line, written as it goes: memory does not grow with the number.
///   B  Bytes that are not UTF-8 become U+FFFD.
///
/// Use
///
///     VaroHost::InterfaceJson(interfaces).print(out);

#include "host/InterfaceList.h"
#include "host/Output.h"
#include "host/StateFollower.h"

namespace VaroHost {

class InterfaceJson {
 public:
  explicit InterfaceJson(InterfaceList const& interfaces) : interfaces_(interfaces) {}

  void print(Output& out) const;

  /// One change as a document of its own on one line.
  /// \param time as the command counts it: seconds of the recording, or since 1970
  static void printChange(Output& out, double time, StateFollower::Transition const& transition);

 private:
  InterfaceList const& interfaces_;
};

}  // namespace VaroHost
