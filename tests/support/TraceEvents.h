#pragma once

/// \file
/// Trace lines of both modules among the events of a test: "[AllIntfSM::handleIntf(Orvet::IntfId)E1]", what happened
/// without its namespace, blanks as commas.
///
/// Use
///
///     Support::TraceEvents trace(events);
///     ...
///     EXPECT_EQ(events.take(), "c+E1 [AllIntfSM::handleIntf(Orvet::IntfId)E1]");

#include <string>
#include <utility>

#include "Zon/Trace.h"
#include "support/Events.h"

namespace Support {

/// Switches levels 7 and 8 of both facilities on, records their lines, and switches them off at its end.
class TraceEvents {
 public:
  explicit TraceEvents(Events& events) {
    switchTo(true);
    Zon::traceSinkIs([this, &events](Zon::TraceRecord const& record) {
      std::string text = record.text.stdString();
      lines_ += text + "\n";
      text.erase(0, text.find("::") + 2);
      for (char& c : text)
        if (c == ' ') c = ',';
      events.add("[" + text + "]");
    });
  }
  ~TraceEvents() {
    Zon::traceSinkIs({});
    switchTo(false);
  }
  TraceEvents(TraceEvents const&) = delete;
  TraceEvents& operator=(TraceEvents const&) = delete;

  /// The texts to the character, a line each, everything since the last call.
  std::string takeLines() { return std::exchange(lines_, {}); }

 private:
  void switchTo(bool on) {
    for (auto* const facility : {&errdisable_, &intf_}) {
      facility->enabledIs(on);
      for (unsigned const level : {7U, 8U})
        facility->levelIs(level, on);
    }
  }

  Zon::TraceHandle errdisable_{"Errdisable", false};
  Zon::TraceHandle intf_{"VaroIntf", false};
  std::string lines_;
};

}  // namespace Support
