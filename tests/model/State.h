#pragma once

/// \file
/// All that the model remembers: the host's entities and directories, the reactors with their children, the queues. Plain
/// values: a copy is a second world, to try out what an operation would do.
///
/// History it carries, because the present inputs alone do not say what comes out:
///   - a configuration's state and reason: one that an errdisable or an inactive status left decides between 0, 1 and 2
///     when nobody sets an administrative state;
///   - the forwarding model a status got last: changes while its reactor was off or a zombie went unseen;
///   - the output's pointers: of two slices with one interface the one that reacted last wrote last;
///   - members and leaves bound to the configuration, errdisable list or counters of their birth: a replacement locks them;
///   - children whose key is gone and children that were never made, because a burst was lost or their owner was off;
///   - switch and zombie marks, per input and per child: they part from their owner's;
///   - the order of registration and of the queues;
///   - blocks: never freed, and made in whatever manager the slice had at the time.

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "model/Input.h"

namespace Model {

struct State {
  /// One entity per interface, or none.
  using Directory = std::array<int, interfaceCount>;
  static Directory empty() {
    Directory directory;
    directory.fill(none);
    return directory;
  }

  // What the host makes. All under numbers; an entity that nobody can reach any more is simply never looked at.
  struct Config {
    int interface = 0;
    int defaultConfig = none;
    int admin = 0;
    int state = 0;
    int reason = 0;
  };
  struct Status {
    int interface = 0;
    bool active = false;
    std::int32_t model = 0;
    std::array<std::optional<std::int32_t>, sourceCount> inputs;
  };
  /// What stands in a directory of slices.
  struct Entry {
    int slice = 0;
    bool isSlice = false;
    /// A subdirectory: slices and plain directories.
    bool isDirectory = false;
    int parent = none;
    Directory counters = empty();
    std::array<int, 2> managers{none, none};
  };
  struct Counters {
    int interface = 0;
    int parent = none;
    std::array<bool, counterCount> names{};
  };
  using Slices = std::array<int, sliceCount>;

  std::map<int, Config> configs;
  std::map<int, Status> statuses;
  std::array<std::map<int, Directory>, 2> directories;
  /// Reasons by interface; none is no entry.
  std::map<int, Directory> lists;
  std::map<int, Slices> sliceDirectories;
  std::map<int, Entry> entries;
  std::map<int, Counters> counters;
  std::map<int, Directory> outputs;
  std::map<int, std::set<std::string>> blocks;

  // Which of them the host has at hand.
  std::array<std::array<std::array<int, versions>, interfaceCount>, 2> entitySlot{};
  std::array<std::array<int, hostDirectories>, 2> directorySlot{};
  std::array<int, 2> grabbed{none, none};
  std::array<int, 2> listSlot{};
  std::array<int, hostDirectories> slicesSlot{};
  std::array<std::array<int, entryVersions>, sliceCount> entrySlot{};
  std::array<std::array<int, versions>, interfaceCount> countersSlot{};
  std::array<int, hostDirectories> outputSlot{};

  // The reactors.
  struct Reactor {
    bool on = false;
    bool zombie = false;
    int activity = nullActivity;
  };
  struct Mirror : Reactor {
    std::array<int, 2> output{none, none};
    std::array<Input, 2> input;
  };
  struct StatusMachine : Reactor {
    Input directory;
    /// Each is its own watcher of its status.
    std::map<int, Input> reactors;
  };
  struct Member : Reactor {
    int list = none;
    Input config, status;
  };
  struct Machine : Reactor {
    Input configs, statuses, list;
    bool initialized = false;
    std::map<int, Member> members;
  };
  struct Leaf : Reactor {
    int interface = 0;
    Input counters;
    int slice = none;
  };
  struct SliceReactor : Reactor {
    Input slice;
    int output = none;
    std::map<int, Leaf> leaves;
  };
  struct Discovery : Reactor {
    int output = none;
    Input slices;
    std::map<int, SliceReactor> reactors;
  };

  std::map<int, Mirror> mirrors;
  std::map<int, StatusMachine> statusMachines;
  std::map<int, Discovery> discoveries;
  std::map<int, Machine> machines;

  struct Agent {
    /// The aggregate directory's name, none without one; the halves in it.
    int directory = none;
    std::array<int, 2> half{none, none};
    /// By `ReactorType`; the last is not used.
    std::array<int, reactorTypes> reactor{none, none, none, none};
  };
  std::array<Agent, agentCount> agents;
  /// The errdisable machines of the roots.
  std::array<int, rootCount> machineOf{none, none};
  /// The reactors whose pointers the host kept, by type.
  std::array<int, reactorTypes> kept{none, none, none, none};

  /// The gated inputs, which a deferring activity makes wait.
  enum class Gated { configs, statuses, list, statusDirectory, slices };
  struct GatedInput {
    Gated which;
    int reactor;
    bool operator==(GatedInput const&) const = default;
  };
  std::array<std::vector<GatedInput>, activityCount> queues;

  int nextReactor = 0;
  std::uint64_t nextStamp = 1;

  /// In which order walks meet keys. That is the maps' own business (a hash decides); the model is told it once, and says
  /// that every walk keeps to it.
  std::vector<int> interfaceOrder, sliceOrder, counterOrder;

  /// Set when the operation would abort the process or use a missing input: no host may do this.
  bool impossible = false;
};

/// Lets a reactor's switch follow: its inputs, then its children. An equal value does nothing.
void switchIs(Input& input, bool on);
void switchIs(State::Mirror& mirror, bool on);
void switchIs(State::StatusMachine& machine, bool on);
void switchIs(State::Member& member, bool on);
void switchIs(State::Machine& machine, bool on);
void switchIs(State::Leaf& leaf, bool on);
void switchIs(State::SliceReactor& reactor, bool on);
void switchIs(State::Discovery& discovery, bool on);

/// Marks a reactor and its inputs; the children are not told.
void zombieIs(State::Mirror& mirror, bool zombie);
void zombieIs(State::StatusMachine& machine, bool zombie);
void zombieIs(State::Member& member, bool zombie);
void zombieIs(State::Machine& machine, bool zombie);
void zombieIs(State::SliceReactor& reactor, bool zombie);
void zombieIs(State::Discovery& discovery, bool zombie);

/// A watcher made by `owner`: on its activity and with its switch. Registered last.
Input newInput(State& state, State::Reactor const& owner, int notifier);
/// Another notifier for a watcher: its registration moves to the end.
void rebind(State& state, Input& input, int notifier);

}  // namespace Model
