#include "model/Observation.h"

#include <algorithm>

namespace Model {

namespace {

constexpr char const* names[] = {
    "configSlot",         "configState",    "statusSlot",   "statusModel",    "directory",           "directoryEntry",
    "errdisabled",        "agentDirectory", "pending",      "reactor",        "reactorSwitch",       "reactorActivity",
    "mirrorInput",        "mirrorOutput",   "statusInput",  "statusReactor",  "statusReactorSwitch", "machineInput",
    "machineInitialized", "member",         "memberStatus", "memberList",     "memberSwitch",        "slicesEntry",
    "sliceEntry",         "countersEntry",  "output",       "discoveryInput", "discoveryOutput",     "sliceReactor",
    "sliceReactorSwitch", "leaf",           "leafSwitch",   "blocks"};
static_assert(std::size(names) == static_cast<std::size_t>(What::blocks) + 1);

void append(std::string& lines, char sign, Observation const& from, Observation const& without) {
  for (Fact const& fact : from) {
    if (std::ranges::find(without, fact) == without.end()) lines += std::string(1, sign) + " " + fact.text() + "\n";
  }
}

}  // namespace

std::string Fact::text() const {
  return std::string(names[static_cast<std::size_t>(what)]) + " " + std::to_string(subject) + "[" +
         std::to_string(key) + "] = " + std::to_string(value);
}

std::string difference(Observation const& expected, Observation const& found) {
  std::string lines;
  append(lines, '-', expected, found);
  append(lines, '+', found, expected);
  if (lines.empty() && expected != found) lines = "the same facts in another order\n";
  return lines;
}

}  // namespace Model
