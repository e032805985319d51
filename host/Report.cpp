#include "host/Report.h"

#include <cstdlib>
#include <string>

#include <fmt/format.h>

#include "host/AtomicFile.h"
#include "host/DeviceState.h"
#include "host/InterfaceJson.h"
#include "host/InterfaceTable.h"
#include "host/Text.h"

namespace VaroHost {

namespace {

bool isColoured(Colour colour, Output const& out) {
  switch (colour) {
  case Colour::always:
    return true;
  case Colour::never:
    return false;
  case Colour::automatic:
    break;
  }
  return out.isScreen() && std::getenv("NO_COLOR") == nullptr;
}

std::string describe(StateFollower::View const& view) {
  std::string text = name(view.state);
  if (!view.reason.empty()) {
    text += fmt::format(" ({})", printable(view.reason.view()));
  }
  return text;
}

}  // namespace

Report::Report(CommonOptions const& options, Output& out)
  : out_(out),
    isJson_(options.isJson),
    isColoured_(isColoured(options.colour, out)),
    stateFile_(options.stateFile),
    isStateOutput_(options.isStateOutput()) {}

void Report::change(double time, std::string_view timeText, StateFollower::Transition const& transition) {
  if (isStateOutput_) {
    return;
  }
  if (isJson_) {
    InterfaceJson::printChange(out_, time, transition);
    return;
  }
  out_.print("{}  {}: {} -> {}\n", timeText, printable(transition.intfId.stringValue().view()),
             describe(transition.before), describe(transition.after));
}

void Report::remark(std::string_view timeText, std::string_view text) {
  if (!isJson_ && !isStateOutput_) {
    out_.print("{}  {}\n", timeText, text);
  }
}

void Report::gap() {
  if (!isJson_ && !isStateOutput_) {
    out_.write("\n");
  }
}

void Report::interfaces(InterfaceList const& interfaces) {
  if (isStateOutput_ || out_.ended()) {
    return;
  }
  if (isJson_) {
    InterfaceJson(interfaces).print(out_);
  } else {
    InterfaceTable(interfaces, isColoured_).print(out_);
  }
  out_.flush();
}

void Report::state(Device const& device) {
  if (isStateOutput_) {
    DeviceState(device).print(out_);
    out_.flush();
  } else if (!stateFile_.empty()) {
    AtomicFile file(stateFile_);
    DeviceState(device).print(file.output());
    file.commit();
  }
}

}  // namespace VaroHost
