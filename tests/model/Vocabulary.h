#pragma once

/// \file
/// The small world of the random operations: which names there are, and how many of each thing.
///
/// Everything is a small number in the operations and in the model; the names below are what the library gets. They are
/// chosen to hurt: an empty interface, an empty slice name, and pairs of interface and counter that share a block.

#include <array>
#include <cstddef>

namespace Model {

/// No entity, no directory, no reactor.
inline constexpr int none = -1;

inline constexpr std::array interfaceNames{"Ethernet1", "Ethernet1-0", "", "Ethernet2", "Management1"};
/// What errdisable entries and hosts write as a reason. The first three are also what the library writes itself.
inline constexpr std::array reasonTexts{"", "inactive", "admin", "bpduguard", "link-flap"};
inline constexpr std::array sourceNames{"", "bridging", "routing"};
inline constexpr std::array sliceNames{"Linecard1", "", "fabric"};
inline constexpr std::array counterNames{"drops", "0-drops", "tx"};

inline constexpr int interfaceCount = static_cast<int>(interfaceNames.size());
inline constexpr int reasonCount = static_cast<int>(reasonTexts.size());
inline constexpr int sourceCount = static_cast<int>(sourceNames.size());
inline constexpr int sliceCount = static_cast<int>(sliceNames.size());
inline constexpr int counterCount = static_cast<int>(counterNames.size());

/// Entities of one interface, or one slice name, that a host has at hand at the same time.
inline constexpr int versions = 2;
/// What can stand under a slice name: two slices, a directory that is no slice, an entity that is no directory.
inline constexpr int entryVersions = 4;

inline constexpr int agentCount = 2;
inline constexpr int rootCount = 2;
inline constexpr int hostDirectories = 2;

/// A host's reach to a configuration or status directory: its own ones, one it took from an agent and kept, and what
/// each agent has now.
inline constexpr int grabbedDirectory = hostDirectories;
inline constexpr int firstAgentDirectory = grabbedDirectory + 1;
inline constexpr int reachableDirectories = firstAgentDirectory + agentCount;

/// Whom an operation on a reactor means: that of the first or second owner, or the one a host kept a pointer to.
inline constexpr int keptReactor = 2;
inline constexpr int reachableReactors = keptReactor + 1;

/// Activities: null, immediate, two deferring ones.
inline constexpr int nullActivity = 0;
inline constexpr int immediateActivity = 1;
inline constexpr int firstDeferring = 2;
inline constexpr int activityCount = 4;

/// Blocks per counter: one for the interface, one for each queue.
inline constexpr int queueCount = 18;

/// The two halves of an aggregate directory and of its mirror.
enum Half : int { configHalf, statusHalf };

/// The kinds of reactors a root entity owns.
enum ReactorType : int { mirrorType, statusMachineType, discoveryType, errdisableMachineType, reactorTypes };

/// Numbers of what exists from the start are below this one; what the n-th operation makes has this plus n.
inline constexpr int firstMade = 100;

/// The managers of a slice from its birth, and those that slices may share.
constexpr int ownManager(int entry, int index) { return 2 * entry + index; }
constexpr int pooledManager(int index) { return -10 - index; }

/// The number of the first of two configurations that only serve as defaults.
inline constexpr int firstDefault = 50;

/// Small numbers index arrays everywhere here.
constexpr std::size_t at(int index) { return static_cast<std::size_t>(index); }

}  // namespace Model
