#pragma once

/// \file
/// What can be seen of a world at one moment: a list of facts, in a fixed order. The model and the library each write one
/// down; they must be equal.
///
/// Collections are written as they are walked, so the order of walks is compared too.

#include <string>
#include <vector>

namespace Model {

enum class What {
  configSlot,
  configState,  // key: state, value: reason
  statusSlot,
  statusModel,  // key: active, value: model
  directory,
  directoryEntry,
  errdisabled,
  agentDirectory,
  pending,
  reactor,
  reactorSwitch,
  reactorActivity,
  mirrorInput,
  mirrorOutput,
  statusInput,
  statusReactor,
  statusReactorSwitch,
  machineInput,
  machineInitialized,
  member,
  memberStatus,
  memberList,
  memberSwitch,
  slicesEntry,
  sliceEntry,
  countersEntry,
  output,
  discoveryInput,
  discoveryOutput,
  sliceReactor,
  sliceReactorSwitch,
  leaf,
  leafSwitch,
  blocks
};

struct Fact {
  What what;
  int subject;
  int key;
  int value;
  bool operator==(Fact const&) const = default;
  std::string text() const;
};

using Observation = std::vector<Fact>;

/// The facts of either that the other does not have, a line each: "-" expected, "+" found.
std::string difference(Observation const& expected, Observation const& found);

/// Two bits in one value.
constexpr int marks(bool on, bool zombie) { return (on ? 1 : 0) + (zombie ? 2 : 0); }

}  // namespace Model
