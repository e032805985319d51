#pragma once

/// \file
/// What a host of the library holds: the counterpart of `State`, in real objects. Every object carries the number by which
/// the model knows it: entities in a second base, directories in their name.

#include <array>
#include <map>
#include <string>
#include <utility>

#include "VaroErrdisable/Root.h"
#include "VaroIntf/Agent.h"
#include "model/Vocabulary.h"

namespace Model {

/// The number of an object of the host.
class Number {
 public:
  explicit Number(int number) : number_(number) {}
  virtual ~Number() = default;
  int number() const { return number_; }

 private:
  int number_;
};

template <class T>
class Numbered final : public T, public Number {
 public:
  template <class... Args>
  explicit Numbered(int number, Args&&... args) : T(std::forward<Args>(args)...), Number(number) {}
};

using Config = Numbered<Interface::IntfConfig>;
using Status = Numbered<Interface::IntfStatus>;
using Slice = Numbered<Interface::AllIntfQueueCounterDir>;
using Counters = Numbered<Interface::IntfQueueCounterDir>;

struct Library {
  using ConfigDirectory = Interface::AllIntfConfigDir;
  using StatusDirectory = Interface::AllIntfStatusDir;
  using Output = Interface::AllIntfQueueCounterPtrDir;

  template <class T>
  using Slots = std::array<std::array<Zon::Ptr<T>, versions>, interfaceCount>;

  // Declared first, destroyed last: what the host's directories hold may outlive their slots only through the modules.
  Slots<Interface::IntfConfig> configs;
  Slots<Interface::IntfStatus> statuses;
  Slots<Interface::IntfQueueCounterDir> counters;
  std::array<Zon::Ptr<Interface::IntfConfig>, 2> defaults;
  std::array<Zon::Ptr<ConfigDirectory>, hostDirectories> configDirectories;
  std::array<Zon::Ptr<StatusDirectory>, hostDirectories> statusDirectories;
  Zon::Ptr<ConfigDirectory> grabbedConfigs;
  Zon::Ptr<StatusDirectory> grabbedStatuses;
  std::array<Zon::Ptr<Errdisable::Status>, 2> lists;
  std::array<Zon::Ptr<Zon::Dir>, hostDirectories> sliceDirectories;
  /// Made when first asked for: slices are expensive, and many sequences need none. The numbers are fixed at once.
  std::array<std::array<Zon::Ptr<Zon::Entity>, entryVersions>, sliceCount> entries;
  std::array<std::array<int, entryVersions>, sliceCount> entryNumbers{};
  std::array<Zon::Ptr<Output>, hostDirectories> outputs;
  /// By number; null for a slice that was not made yet.
  std::map<int, Zon::Ptr<Pelto::ShmemMan>> managers;

  std::array<Zon::Ptr<Zon::ActivityConfig>, activityCount> activities;
  std::array<Zon::Ptr<VaroIntf::Agent>, agentCount> agents;
  std::array<Zon::Ptr<VaroErrdisable::Root>, rootCount> roots;
  Zon::Ptr<VaroIntf::AllIntfReactor> keptMirror;
  Zon::Ptr<VaroIntf::AllIntfStatusDirSm> keptStatusMachine;
  Zon::Ptr<VaroIntf::AllIntfQueueCounterReactor> keptDiscovery;
  Zon::Ptr<VaroErrdisable::AllIntfSM> keptMachine;

  Zon::Ptr<VaroIntf::AllIntfReactor> mirror(int which) const;
  Zon::Ptr<VaroIntf::AllIntfStatusDirSm> statusMachine(int which) const;
  Zon::Ptr<VaroIntf::AllIntfQueueCounterReactor> discovery(int which) const;
  Zon::Ptr<VaroErrdisable::AllIntfSM> machine(int which) const;

  /// Calls `act` with the reactor of a type, null when there is none.
  template <class Act>
  void withReactor(int type, int which, Act const& act) const {
    switch (type) {
    case mirrorType:
      act(mirror(which));
      break;
    case statusMachineType:
      act(statusMachine(which));
      break;
    case discoveryType:
      act(discovery(which));
      break;
    default:
      act(machine(which));
    }
  }

  Zon::Ptr<ConfigDirectory> configDirectory(int reach) const;
  Zon::Ptr<StatusDirectory> statusDirectory(int reach) const;
  Zon::Ptr<Zon::Entity> const& entry(int slice, int version);
  Zon::Ptr<Interface::AllIntfQueueCounterDir> slice(int slice, int version);
};

inline Orvet::IntfId interfaceId(int interface) { return interfaceNames[at(interface)]; }
inline Zon::String8 sliceName(int slice) { return sliceNames[at(slice)]; }
inline Zon::String8 counterName(int counter) { return counterNames[at(counter)]; }
inline Zon::Name numberName(int number) { return std::to_string(number); }

}  // namespace Model
