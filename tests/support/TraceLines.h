#pragma once

/// \file
/// The trace lines of one facility, to the character.
///
/// Use
///
///     Support::TraceLines lines("Errdisable", {7, 8});
///     ...
///     EXPECT_EQ(lines.take(), "7 VaroErrdisableIntf:69 handleIntf <unknown>: void ...\n");

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "Zon/Trace.h"

namespace Support {

/// Switches levels of a facility on, collects its lines, and puts everything back at its end.
class TraceLines {
 public:
  TraceLines(char const* facility, std::initializer_list<unsigned> levels) : facility_(facility, false), on_(levels) {
    facility_.enabledIs(true);
    for (unsigned const level : on_)
      facility_.levelIs(level, true);
    Zon::traceSinkIs([this](Zon::TraceRecord const& record) {
      if (record.facility == facility_.name()) add(record);
    });
  }
  ~TraceLines() {
    Zon::traceSinkIs({});
    for (unsigned const level : on_)
      facility_.levelIs(level, false);
    facility_.enabledIs(false);
  }
  TraceLines(TraceLines const&) = delete;
  TraceLines& operator=(TraceLines const&) = delete;

  /// "LEVEL FILE:LINE FUNCTION NAME: TEXT" and a line feed each, everything since the last call.
  std::string take() { return std::exchange(text_, {}); }

 private:
  void add(Zon::TraceRecord const& record) {
    text_ += std::to_string(record.level) + " " + record.file.stdString() + ":" + std::to_string(record.line) + " " +
             record.function.stdString() + " " + record.name.stdString() + ": " + record.text.stdString() +
             (record.levelOn ? "\n" : " (off)\n");
  }

  Zon::TraceHandle const facility_;
  std::vector<unsigned> const on_;
  std::string text_;
};

}  // namespace Support
