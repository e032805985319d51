#pragma once

/// \file
/// What a command shows: changes as they happen, and the interfaces at the end, as text or as JSON.
///
/// Guarantees
///   A  Standard output carries nothing but what was asked for; notes and errors go to standard error.
///   B  A state that goes to standard output has it for itself.
///
/// Use
///
///     VaroHost::Report report(options, out);
///     report.change(seconds, "12.250", transition);
///     report.interfaces(VaroHost::InterfaceList(device));

#include <string>
#include <string_view>

#include "host/InterfaceList.h"
#include "host/Options.h"
#include "host/Output.h"
#include "host/StateFollower.h"

namespace VaroHost {

class Report {
 public:
  Report(CommonOptions const& options, Output& out);

  /// \param time for JSON
  /// \param timeText the same for people
  void change(double time, std::string_view timeText, StateFollower::Transition const& transition);
  /// A remark beside the changes; silent in JSON.
  void remark(std::string_view timeText, std::string_view text);
  /// Sets apart what comes next; silent in JSON.
  void gap();
  void interfaces(InterfaceList const& interfaces);
  /// Writes the complete state where it was asked for. Errors: `Trouble`.
  void state(Device const& device);

 private:
  Output& out_;
  bool const isJson_;
  bool const isColoured_;
  std::string const stateFile_;
  bool const isStateOutput_;
};

}  // namespace VaroHost
