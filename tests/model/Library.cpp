#include "model/Library.h"

namespace Model {

namespace {

template <class Own, class Aggregate>
auto reachable(Own const& own, decltype(own[0]) const& grabbed, std::array<Zon::Ptr<VaroIntf::Agent>, 2> const& agents,
               int reach, Aggregate const& aggregate) {
  using Directory = std::remove_cvref_t<decltype(own[0])>;
  if (reach < hostDirectories) return own[at(reach)];
  if (reach == grabbedDirectory) return grabbed;
  if (reach == reachableDirectories) return Directory();
  auto const directory = agents[at(reach - firstAgentDirectory)]->allIntfDir();
  return directory ? aggregate(*directory) : Directory();
}

}  // namespace

Zon::Ptr<VaroIntf::AllIntfReactor> Library::mirror(int which) const {
  return which == keptReactor ? keptMirror : agents[at(which)]->allIntfReactor();
}

Zon::Ptr<VaroIntf::AllIntfStatusDirSm> Library::statusMachine(int which) const {
  return which == keptReactor ? keptStatusMachine : agents[at(which)]->allIntfStatusDirSm();
}

Zon::Ptr<VaroIntf::AllIntfQueueCounterReactor> Library::discovery(int which) const {
  return which == keptReactor ? keptDiscovery : agents[at(which)]->allIntfQueueCounterReactor();
}

Zon::Ptr<VaroErrdisable::AllIntfSM> Library::machine(int which) const {
  return which == keptReactor ? keptMachine : roots[at(which)]->allIntfSM();
}

Zon::Ptr<Library::ConfigDirectory> Library::configDirectory(int reach) const {
  return reachable(configDirectories, grabbedConfigs, agents, reach, [](auto& dir) { return dir.config(); });
}

Zon::Ptr<Library::StatusDirectory> Library::statusDirectory(int reach) const {
  return reachable(statusDirectories, grabbedStatuses, agents, reach, [](auto& dir) { return dir.status(); });
}

Zon::Ptr<Zon::Entity> const& Library::entry(int slice, int version) {
  auto& entry = entries[at(slice)][at(version)];
  if (!entry) {
    int const number = entryNumbers[at(slice)][at(version)];
    Zon::Name const name = sliceName(slice);
    if (version < versions) {
      auto const made = Zon::newPtr<Slice>(number, name);
      managers[ownManager(number, 0)] = made->counterShmemMan();
      managers[ownManager(number, 1)] = made->statisticsShmemMan();
      entry = made;
    } else if (version < entryVersions - 1) {
      entry = Zon::newPtr<Numbered<Zon::Dir>>(number, name);
    } else {
      entry = Zon::newPtr<Numbered<Interface::IntfQueueCounter>>(number, name);
    }
  }
  return entry;
}

Zon::Ptr<Interface::AllIntfQueueCounterDir> Library::slice(int slice, int version) {
  return Zon::ptrCast<Interface::AllIntfQueueCounterDir>(entry(slice, version));
}

}  // namespace Model
