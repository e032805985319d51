#pragma once

/// \file
/// One host operation as a record: it can be written as a line of text and read back.
///
/// Use
///
///     Operation operation{Kind::errdisableSet, {0, 1, 3}};
///     std::string line = operation.text();            // "errdisable.set list=0 interface=1 reason=3"
///     auto again = Model::Operation::parse(line);

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Model {

enum class Kind : std::uint8_t {
  // What a host holds: entities, directories, lists.
  entityRenew,
  configAdmin,
  configDefault,
  configState,
  configReason,
  defaultAdmin,
  defaultDefault,
  directorySet,
  directoryDel,
  directoryDelAll,
  directoryNotify,
  directoryNotifyAll,
  directoryRenew,
  directoryGrab,
  statusActive,
  statusInput,
  statusInputDel,
  statusInputDelAll,
  statusInputNotify,
  statusInputNotifyAll,
  statusModel,
  errdisableSet,
  errdisableDel,
  errdisableDelAll,
  errdisableNotify,
  errdisableNotifyAll,
  errdisableRenew,
  // The roots and what all their reactors share.
  agentRenew,
  agentDirectory,
  agentDirectoryDel,
  agentHalf,
  agentHalfDel,
  rootRenew,
  keep,
  drop,
  reactorSwitch,
  reactorZombie,
  reactorActivity,
  reactorDel,
  dispatch,
  // The mirror.
  mirrorIs,
  mirrorInput,
  mirrorInputDel,
  // The status machine.
  statusesIs,
  statusesInput,
  statusesInputDel,
  statusesHandle,
  statusesSweep,
  statusesReactorIs,
  statusesReactorDel,
  statusesReactorDelAll,
  statusesReactorSwitch,
  statusesReactorZombie,
  // The errdisable machine.
  machineIs,
  machineInput,
  machineInputDel,
  machineHandleIntf,
  machineHandleErrdisable,
  machineHandleInitialized,
  machineInitialized,
  machineMemberDel,
  machineMemberDelAll,
  memberSwitch,
  memberZombie,
  memberEvaluate,
  // The queue-counter chain.
  slicesSet,
  slicesDel,
  slicesDelAll,
  slicesNotify,
  slicesNotifyAll,
  slicesRenew,
  sliceRenew,
  sliceSet,
  sliceDel,
  sliceDelAll,
  sliceNotify,
  sliceManager,
  countersRenew,
  countersSet,
  countersDel,
  countersDelAll,
  countersNotify,
  outputSet,
  outputDel,
  outputDelAll,
  outputRenew,
  discoveryIs,
  discoveryInput,
  discoveryInputDel,
  discoverySweep,
  discoveryHandle,
  discoverySliceDel,
  discoverySliceDelAll,
  sliceReactorSweep,
  sliceReactorHandle,
  sliceReactorPrepareToDie,
  sliceReactorLeafDel,
  sliceReactorSwitch,
  sliceReactorZombie,
  leafSweep,
  leafHandle,
  leafSwitch,
  count
};

inline constexpr std::size_t kindCount = static_cast<std::size_t>(Kind::count);

/// Which part of the model, and of the library, an operation is for.
enum class Area { host, wiring, handlers, dispatch };
Area areaOf(Kind kind);

/// Operations that a random sequence stresses or leaves out together.
enum class Theme { entities, errdisable, mirror, statuses, counters, wiring, handlers, switches };
inline constexpr std::size_t themes = 8;
Theme themeOf(Kind kind);
/// How often the operation is drawn, compared to others.
double weightOf(Kind kind);

struct Operation {
  static constexpr std::size_t mostArguments = 5;

  Kind kind = Kind::count;
  std::array<int, mostArguments> argument{};

  bool operator==(Operation const&) const = default;

  std::string text() const;
  /// Nothing when the line is no operation.
  static std::optional<Operation> parse(std::string const& line);

  /// The number of arguments this kind has.
  std::size_t arguments() const;
  /// An argument is below this.
  int limit(std::size_t argument) const;
  /// The value that meets the usual wiring.
  int usual(std::size_t argument) const;
  /// Whether the argument chooses an activity.
  bool isActivity(std::size_t argument) const;
};

std::string text(std::vector<Operation> const& operations);

}  // namespace Model
