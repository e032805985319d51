#include "model/Operation.h"

#include <algorithm>
#include <sstream>
#include <string_view>

#include "model/Vocabulary.h"

namespace Model {

namespace {

struct Argument {
  char const* name;
  int limit;
  int usual = 0;
};

struct Row {
  Kind kind;
  char const* name;
  Theme theme;
  double weight;
  std::array<Argument, Operation::mostArguments> arguments;
};

constexpr Argument half{"half", 2};
constexpr Argument interface { "interface", interfaceCount };
constexpr Argument version{"version", versions};
constexpr Argument state{"state", 3};
constexpr Argument reason{"reason", reasonCount};
constexpr Argument flag{"on", 2, 1};
constexpr Argument zombie{"on", 2, 0};
constexpr Argument directory{"directory", reachableDirectories, firstAgentDirectory};
constexpr Argument directoryOrNone{"directory", reachableDirectories + 1};
constexpr Argument host{"slot", hostDirectories};
constexpr Argument hostOrNone{"slot", hostDirectories + 1};
constexpr Argument agent{"agent", agentCount};
constexpr Argument root{"root", rootCount};
constexpr Argument source{"source", sourceCount};
constexpr Argument model{"model", 9};
constexpr Argument type{"type", reactorTypes};
constexpr Argument which{"which", reachableReactors};
constexpr char const* activityName = "activity";
constexpr Argument activity{activityName, activityCount};
constexpr Argument slice{"slice", sliceCount};
constexpr Argument counter{"counter", counterCount};

constexpr Row rows[] = {
    {Kind::entityRenew, "entity.renew", Theme::entities, 1, {half, interface, version}},
    {Kind::configAdmin, "config.admin", Theme::entities, 4, {interface, version, state}},
    {Kind::configDefault, "config.default", Theme::entities, 1, {interface, version, {"default", 3}}},
    {Kind::configState, "config.state", Theme::entities, 0.7, {interface, version, state}},
    {Kind::configReason, "config.reason", Theme::entities, 1, {interface, version, reason}},
    {Kind::defaultAdmin, "default.admin", Theme::entities, 1, {{{"default", 2}, state}}},
    {Kind::defaultDefault, "default.default", Theme::entities, 0.3, {{flag}}},
    {Kind::directorySet, "directory.set", Theme::mirror, 12, {half, directory, interface, version}},
    {Kind::directoryDel, "directory.del", Theme::mirror, 6, {half, directory, interface}},
    {Kind::directoryDelAll, "directory.delAll", Theme::mirror, 0.25, {half, directory}},
    {Kind::directoryNotify, "directory.notify", Theme::mirror, 1, {half, directory, interface}},
    {Kind::directoryNotifyAll, "directory.notifyAll", Theme::mirror, 1, {half, directory}},
    {Kind::directoryRenew, "directory.renew", Theme::wiring, 0.15, {half, host}},
    {Kind::directoryGrab, "directory.grab", Theme::wiring, 0.5, {half, agent}},
    {Kind::statusActive, "status.active", Theme::entities, 6, {interface, version, flag}},
    {Kind::statusInput, "status.input", Theme::statuses, 5, {interface, version, source, model}},
    {Kind::statusInputDel, "status.inputDel", Theme::statuses, 3, {interface, version, source}},
    {Kind::statusInputDelAll, "status.inputDelAll", Theme::statuses, 0.5, {interface, version}},
    {Kind::statusInputNotify, "status.inputNotify", Theme::statuses, 0.5, {interface, version, source}},
    {Kind::statusInputNotifyAll, "status.inputNotifyAll", Theme::statuses, 0.5, {interface, version}},
    {Kind::statusModel, "status.model", Theme::statuses, 0.7, {interface, version, model}},
    {Kind::errdisableSet, "errdisable.set", Theme::errdisable, 8, {{{"list", 2}, interface, reason}}},
    {Kind::errdisableDel, "errdisable.del", Theme::errdisable, 5, {{{"list", 2}, interface}}},
    {Kind::errdisableDelAll, "errdisable.delAll", Theme::errdisable, 0.3, {{{"list", 2}}}},
    {Kind::errdisableNotify, "errdisable.notify", Theme::errdisable, 1, {{{"list", 2}, interface}}},
    {Kind::errdisableNotifyAll, "errdisable.notifyAll", Theme::errdisable, 0.4, {{{"list", 2}}}},
    {Kind::errdisableRenew, "errdisable.renew", Theme::wiring, 0.1, {{{"list", 2}}}},
    {Kind::agentRenew, "agent.renew", Theme::wiring, 0.1, {agent}},
    {Kind::agentDirectory, "agent.directory", Theme::wiring, 0.2, {agent, {"fresh", 2}}},
    {Kind::agentDirectoryDel, "agent.directoryDel", Theme::wiring, 0.05, {agent}},
    {Kind::agentHalf, "agent.half", Theme::wiring, 0.15, {half, agent, {"fresh", 2}}},
    {Kind::agentHalfDel, "agent.halfDel", Theme::wiring, 0.05, {half, agent}},
    {Kind::rootRenew, "root.renew", Theme::wiring, 0.1, {root}},
    {Kind::keep, "keep", Theme::wiring, 0.3, {type, agent}},
    {Kind::drop, "drop", Theme::wiring, 0.3, {type}},
    {Kind::reactorSwitch, "reactor.switch", Theme::switches, 1.2, {type, which, flag}},
    {Kind::reactorZombie, "reactor.zombie", Theme::switches, 0.6, {type, which, zombie}},
    {Kind::reactorActivity, "reactor.activity", Theme::switches, 1, {type, which, activity}},
    {Kind::reactorDel, "reactor.del", Theme::wiring, 0.15, {type, agent}},
    {Kind::dispatch, "dispatch", Theme::mirror, 7, {{{"deferring", activityCount - firstDeferring}}}},
    {Kind::mirrorIs,
     "mirror.is",
     Theme::wiring,
     0.4,
     {agent, activity, {"configOut", reachableDirectories + 1}, {"statusOut", reachableDirectories + 1}}},
    {Kind::mirrorInput, "mirror.input", Theme::handlers, 0.4, {half, which, directoryOrNone}},
    {Kind::mirrorInputDel, "mirror.inputDel", Theme::handlers, 0.3, {half, which}},
    {Kind::statusesIs, "statuses.is", Theme::wiring, 0.4, {agent, activity, directoryOrNone}},
    {Kind::statusesInput, "statuses.input", Theme::handlers, 0.4, {which, directoryOrNone}},
    {Kind::statusesInputDel, "statuses.inputDel", Theme::handlers, 0.1, {which}},
    {Kind::statusesHandle, "statuses.handle", Theme::handlers, 1, {which, interface}},
    {Kind::statusesSweep, "statuses.sweep", Theme::handlers, 0.5, {which}},
    {Kind::statusesReactorIs, "statuses.reactorIs", Theme::handlers, 0.6, {which, interface, version}},
    {Kind::statusesReactorDel, "statuses.reactorDel", Theme::handlers, 0.6, {which, interface}},
    {Kind::statusesReactorDelAll, "statuses.reactorDelAll", Theme::handlers, 0.05, {which}},
    {Kind::statusesReactorSwitch, "statuses.reactorSwitch", Theme::switches, 0.5, {which, interface, flag}},
    {Kind::statusesReactorZombie, "statuses.reactorZombie", Theme::switches, 0.5, {which, interface, zombie}},
    {Kind::machineIs,
     "machine.is",
     Theme::wiring,
     0.7,
     {root, activity, {"configs", reachableDirectories + 1}, {"statuses", reachableDirectories + 1}, {"list", 2 + 1}}},
    {Kind::machineInput, "machine.input", Theme::handlers, 0.2, {which, {"input", 3}, directoryOrNone}},
    {Kind::machineInputDel, "machine.inputDel", Theme::handlers, 0.05, {which, {"input", 3}}},
    {Kind::machineHandleIntf, "machine.handleIntf", Theme::handlers, 1, {which, interface}},
    {Kind::machineHandleErrdisable, "machine.handleErrdisable", Theme::handlers, 0.6, {which, interface}},
    {Kind::machineHandleInitialized, "machine.handleInitialized", Theme::handlers, 1, {which}},
    {Kind::machineInitialized, "machine.initialized", Theme::handlers, 0.2, {which, flag}},
    {Kind::machineMemberDel, "machine.memberDel", Theme::handlers, 0.4, {which, interface}},
    {Kind::machineMemberDelAll, "machine.memberDelAll", Theme::handlers, 0.05, {which}},
    {Kind::memberSwitch, "member.switch", Theme::switches, 0.5, {which, interface, flag}},
    {Kind::memberZombie, "member.zombie", Theme::switches, 0.3, {which, interface, zombie}},
    {Kind::memberEvaluate, "member.evaluate", Theme::handlers, 0.6, {which, interface}},
    {Kind::slicesSet, "slices.set", Theme::counters, 3, {host, slice, {"version", entryVersions}}},
    {Kind::slicesDel, "slices.del", Theme::counters, 1.5, {host, slice}},
    {Kind::slicesDelAll, "slices.delAll", Theme::counters, 0.15, {host}},
    {Kind::slicesNotify, "slices.notify", Theme::counters, 0.5, {host, slice}},
    {Kind::slicesNotifyAll, "slices.notifyAll", Theme::counters, 0.3, {host}},
    {Kind::slicesRenew, "slices.renew", Theme::counters, 0.1, {host}},
    {Kind::sliceRenew, "slice.renew", Theme::counters, 0.15, {slice, {"version", entryVersions}}},
    {Kind::sliceSet, "slice.set", Theme::counters, 7, {slice, version, interface, {"counters", versions}}},
    {Kind::sliceDel, "slice.del", Theme::counters, 3, {slice, version, interface}},
    {Kind::sliceDelAll, "slice.delAll", Theme::counters, 0.3, {slice, version}},
    {Kind::sliceNotify, "slice.notify", Theme::counters, 0.7, {slice, version, interface}},
    {Kind::sliceManager, "slice.manager", Theme::counters, 0.5, {slice, version, {"manager", 2}, {"pool", 2}}},
    {Kind::countersRenew, "counters.renew", Theme::counters, 0.3, {interface, {"counters", versions}}},
    {Kind::countersSet, "counters.set", Theme::counters, 3, {interface, {"counters", versions}, counter}},
    {Kind::countersDel, "counters.del", Theme::counters, 1.5, {interface, {"counters", versions}, counter}},
    {Kind::countersDelAll, "counters.delAll", Theme::counters, 0.3, {interface, {"counters", versions}}},
    {Kind::countersNotify, "counters.notify", Theme::counters, 0.4, {interface, {"counters", versions}, counter}},
    {Kind::outputSet, "output.set", Theme::counters, 0.5, {host, interface, {"counters", versions}}},
    {Kind::outputDel, "output.del", Theme::counters, 0.5, {host, interface}},
    {Kind::outputDelAll, "output.delAll", Theme::counters, 0.1, {host}},
    {Kind::outputRenew, "output.renew", Theme::counters, 0.1, {host}},
    {Kind::discoveryIs, "discovery.is", Theme::wiring, 0.5, {agent, activity, {"output", 3}, {"slices", 3}}},
    {Kind::discoveryInput, "discovery.input", Theme::handlers, 0.3, {which, hostOrNone}},
    {Kind::discoveryInputDel, "discovery.inputDel", Theme::handlers, 0.04, {which}},
    {Kind::discoverySweep, "discovery.sweep", Theme::handlers, 0.6, {which}},
    {Kind::discoveryHandle, "discovery.handle", Theme::handlers, 0.8, {which, slice}},
    {Kind::discoverySliceDel, "discovery.sliceDel", Theme::handlers, 0.3, {which, slice}},
    {Kind::discoverySliceDelAll, "discovery.sliceDelAll", Theme::handlers, 0.05, {which}},
    {Kind::sliceReactorSweep, "sliceReactor.sweep", Theme::handlers, 0.6, {which, slice}},
    {Kind::sliceReactorHandle, "sliceReactor.handle", Theme::handlers, 0.6, {which, slice, interface}},
    {Kind::sliceReactorPrepareToDie, "sliceReactor.prepareToDie", Theme::handlers, 0.3, {which, slice}},
    {Kind::sliceReactorLeafDel, "sliceReactor.leafDel", Theme::handlers, 0.3, {which, slice, interface}},
    {Kind::sliceReactorSwitch, "sliceReactor.switch", Theme::switches, 0.5, {which, slice, flag}},
    {Kind::sliceReactorZombie, "sliceReactor.zombie", Theme::switches, 0.3, {which, slice, zombie}},
    {Kind::leafSweep, "leaf.sweep", Theme::handlers, 0.4, {which, slice, interface}},
    {Kind::leafHandle, "leaf.handle", Theme::handlers, 0.4, {which, slice, interface, counter}},
    {Kind::leafSwitch, "leaf.switch", Theme::switches, 0.4, {which, slice, interface, flag}},
};

static_assert(std::size(rows) == kindCount);
constexpr bool inOrder() {
  for (std::size_t i = 0; i != kindCount; ++i)
    if (rows[i].kind != static_cast<Kind>(i)) return false;
  return true;
}
static_assert(inOrder());

Row const& row(Kind kind) { return rows[static_cast<std::size_t>(kind)]; }

}  // namespace

Theme themeOf(Kind kind) { return row(kind).theme; }
double weightOf(Kind kind) { return row(kind).weight; }

Area areaOf(Kind kind) {
  if (kind == Kind::dispatch) return Area::dispatch;
  if (kind < Kind::agentRenew || (kind >= Kind::slicesSet && kind <= Kind::outputRenew)) return Area::host;
  constexpr Kind creators[] = {Kind::mirrorIs, Kind::statusesIs, Kind::machineIs, Kind::discoveryIs};
  return kind < Kind::dispatch || std::ranges::find(creators, kind) != std::end(creators) ? Area::wiring
                                                                                          : Area::handlers;
}

std::size_t Operation::arguments() const {
  std::size_t n = 0;
  while (n != mostArguments && row(kind).arguments[n].name != nullptr)
    ++n;
  return n;
}

int Operation::limit(std::size_t index) const { return row(kind).arguments[index].limit; }
int Operation::usual(std::size_t index) const { return row(kind).arguments[index].usual; }
bool Operation::isActivity(std::size_t index) const { return row(kind).arguments[index].name == activityName; }

std::string Operation::text() const {
  Row const& r = row(kind);
  std::string line = r.name;
  for (std::size_t i = 0; i != arguments(); ++i)
    line += std::string(" ") + r.arguments[i].name + "=" + std::to_string(argument[i]);
  return line;
}

std::optional<Operation> Operation::parse(std::string const& line) {
  std::istringstream words(line);
  std::string word;
  if (!(words >> word)) return std::nullopt;
  for (Row const& r : rows) {
    if (word != r.name) continue;
    Operation operation;
    operation.kind = r.kind;
    for (std::size_t i = 0; i != operation.arguments(); ++i) {
      std::string const prefix = std::string(r.arguments[i].name) + "=";
      if (!(words >> word) || word.size() != prefix.size() + 1 || word.compare(0, prefix.size(), prefix) != 0)
        return std::nullopt;
      // Every limit is a single digit.
      int const value = word.back() - '0';
      if (value < 0 || value >= r.arguments[i].limit) return std::nullopt;
      operation.argument[i] = value;
    }
    if (words >> word) return std::nullopt;
    return operation;
  }
  return std::nullopt;
}

std::string text(std::vector<Operation> const& operations) {
  std::string lines;
  for (Operation const& operation : operations)
    lines += operation.text() + "\n";
  return lines;
}

}  // namespace Model
