#pragma once

/// \file
/// What a command shows: changes as they happen, and the interfaces at the end, as text or as JSON.
///
/// Guarantees
///   A  Standard output carries nothing but what was asked for; notes and errors go to standard error.
///
/// Use
///
///     VaroHost::Report report(options, out);
///     report.change(seconds, "12.250", transition);
///     report.interfaces(VaroHost::InterfaceList(device));

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
  void interfaces(InterfaceList const& interfaces);

 private:
  Output& out_;
  bool const isJson_;
  bool const isColoured_;
};

}  // namespace VaroHost
