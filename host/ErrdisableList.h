#pragma once

/// \file
/// The text form of an errdisabled list: a line for each interface, with its name, blanks, and the reason up to the end
/// of the line, less the blanks it ends with. Empty lines are left out, and lines that begin with `#`, whatever bytes they
/// hold.
///
/// Guarantees
///   A  A text is taken whole or not at all: one bad line, and there are no entries, only complaints.
///   B  Complaints say line and column, counted in bytes from 1, a line has one at most, and they end after
///      `maxComplaints`; `hasMoreBadLines` tells whether any were left out.
///
/// Use
///
///     auto const list = VaroHost::ErrdisableList::parse(text);
///     if (list.complaints.empty()) links.errdisabledIs(list.entries);

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace VaroHost {

struct ErrdisableList {
  static constexpr std::size_t maxNameBytes = 255;
  static constexpr std::size_t maxReasonBytes = 1024;
  static constexpr std::size_t maxComplaints = 20;

  struct Complaint {
    std::size_t line;
    std::size_t column;
    std::string reason;
  };

  std::map<std::string, std::string> entries;
  std::vector<Complaint> complaints;
  bool hasMoreBadLines = false;

  static ErrdisableList parse(std::string_view text);
};

}  // namespace VaroHost
