#include "host/InterfaceTable.h"

#include <algorithm>
#include <array>
#include <map>
#include <string>
#include <vector>

#include "host/Text.h"

namespace VaroHost {

namespace {

using Interface::IntfEnabledState;

enum Column : std::size_t {
  interfaceColumn,
  adminColumn,
  operColumn,
  activeColumn,
  modelColumn,
  stateColumn,
  reasonColumn
};
constexpr std::size_t columns = 7;
constexpr std::array<std::string_view, columns> titles = {"Interface", "Admin", "Oper",  "Active",
                                                          "Model",     "State", "Reason"};

using Cells = std::array<std::string, columns>;
using Widths = std::array<std::size_t, columns>;
using Shown = std::array<bool, columns>;

/// The administrative state in effect, with the default configuration that decides it if one does.
std::string adminCell(Interface::IntfConfig const& config) {
  std::string cell = name(config.adminEnabledStateEffective());
  bool const isByDefault = config.adminEnabledStateLocal() == IntfEnabledState::unset &&
                           config.defaultConfig() != nullptr &&
                           config.adminEnabledStateEffective() != IntfEnabledState::unset;
  if (isByDefault) {
    cell += fmt::format(" ({})", printable(config.defaultConfig()->intfId().stringValue().view()));
  }
  return cell;
}

Cells cellsOf(InterfaceView const& view) {
  Cells cells;
  cells.fill("-");
  cells[interfaceColumn] = printable(view.name.view());
  if (view.link != nullptr) {
    cells[operColumn] = operStateName(view.link->operState);
  }
  if (view.status) {
    cells[activeColumn] = view.status->active() ? "yes" : "no";
    cells[modelColumn] = fmt::to_string(view.status->forwardingModel());
  }
  if (view.config) {
    cells[adminColumn] = adminCell(*view.config);
    cells[stateColumn] = name(view.config->enabledStateLocal());
    if (!view.config->enabledStateReason().empty()) {
      cells[reasonColumn] = printable(view.config->enabledStateReason().view());
    }
  }
  return cells;
}

std::string_view colourOf(InterfaceView const& view) {
  if (!view.config) {
    return "";
  }
  switch (view.config->enabledStateLocal()) {
  case IntfEnabledState::enabled:
    return "\x1b[32m";
  case IntfEnabledState::disabled:
    return view.isHeldByErrdisable() ? "\x1b[31m" : "\x1b[33m";
  case IntfEnabledState::unset:
    break;
  }
  return "";
}

class RowPrinter {
 public:
  RowPrinter(Output& out, Widths const& widths, Shown const& shown) : out_(out), widths_(widths), shown_(shown) {}

  void print(Cells const& cells, std::string_view stateColour) {
    line_.clear();
    for (std::size_t at = 0; at < columns; ++at) {
      if (!shown_[at]) {
        continue;
      }
      bool const isColoured = at == stateColumn && !stateColour.empty();
      line_ += isColoured ? stateColour : "";
      line_ += cells[at];
      line_ += isColoured ? "\x1b[0m" : "";
      if (at + 1 < columns) {
        line_.append(widths_[at] + 2 - displayWidth(cells[at]), ' ');
      }
    }
    // A reason may end in some.
    line_.erase(line_.find_last_not_of(' ') + 1);
    line_ += '\n';
    out_.write(line_);
  }

 private:
  Output& out_;
  Widths const& widths_;
  Shown const& shown_;
  std::string line_;
};

}  // namespace

void InterfaceTable::print(Output& out) const {
  Cells header;
  Widths widths{};
  Shown shown;
  shown.fill(true);
  shown[operColumn] = interfaces_.hasLinks();
  shown[modelColumn] = false;
  for (std::size_t at = 0; at < columns; ++at) {
    header[at] = titles[at];
    widths[at] = titles[at].size();
  }
  for (std::size_t row = 0; row < interfaces_.size(); ++row) {
    InterfaceView const view = interfaces_.view(row);
    Cells const cells = cellsOf(view);
    // Where nobody asks for a model there is nothing to tell them apart by.
    shown[modelColumn] = shown[modelColumn] || (view.status && view.status->forwardingModelInputsIteratorConst());
    for (std::size_t at = 0; at + 1 < columns; ++at) {
      widths[at] = std::max(widths[at], displayWidth(cells[at]));
    }
  }
  RowPrinter printer(out, widths, shown);
  printer.print(header, "");
  for (std::size_t row = 0; row < interfaces_.size() && !out.ended(); ++row) {
    InterfaceView const view = interfaces_.view(row);
    printer.print(cellsOf(view), isColoured_ ? colourOf(view) : "");
  }
  printSummary(out);
}

void InterfaceTable::printSummary(Output& out) const {
  constexpr std::size_t namedReasons = 6;
  // One more for values that are no state: writers may have put anything into the attribute.
  std::array<std::size_t, 4> byState{};
  std::size_t unconfigured = 0;
  std::map<Zon::String8, std::size_t> byReason;
  for (std::size_t row = 0; row < interfaces_.size(); ++row) {
    InterfaceView const view = interfaces_.view(row);
    if (!view.config) {
      ++unconfigured;
      continue;
    }
    IntfEnabledState const state = view.config->enabledStateLocal();
    ++byState[std::min<std::size_t>(static_cast<std::uint32_t>(state), byState.size() - 1)];
    if (state == IntfEnabledState::disabled) {
      ++byReason[view.config->enabledStateReason()];
    }
  }

  std::string line = fmt::format("{} interface{}: {} enabled, {} disabled", interfaces_.size(),
                                 plural(interfaces_.size()), byState[1], byState[2]);
  if (!byReason.empty()) {
    std::vector<std::pair<Zon::String8, std::size_t>> reasons(byReason.begin(), byReason.end());
    std::stable_sort(reasons.begin(), reasons.end(), [](auto const& a, auto const& b) { return a.second > b.second; });
    std::size_t others = 0;
    std::string separator = " (";
    for (std::size_t at = 0; at < reasons.size(); ++at) {
      if (at >= namedReasons) {
        others += reasons[at].second;
        continue;
      }
      std::string const reason = reasons[at].first.empty() ? "no reason" : excerpt(reasons[at].first.view(), 30);
      line += fmt::format("{}{} {}", separator, reasons[at].second, reason);
      separator = ", ";
    }
    line += others != 0 ? fmt::format(", {} other)", others) : ")";
  }
  if (byState[0] != 0) {
    line += fmt::format(", {} unset", byState[0]);
  }
  if (byState[3] != 0) {
    line += fmt::format(", {} of no known state", byState[3]);
  }
  if (unconfigured != 0) {
    line += fmt::format(", {} without configuration", unconfigured);
  }
  if (std::size_t const entries = interfaces_.unconfiguredErrdisabled(); entries != 0) {
    line += fmt::format("; {} errdisable entr{} of no configured interface", entries, entries == 1 ? "y" : "ies");
  }
  out.print("\n{}\n", line);
}

}  // namespace VaroHost
