#include "model/LibraryWiring.h"

namespace Model {

void LibraryWiring::start() {
  using Zon::ActivityConfig;
  library_.activities[immediateActivity] = Zon::newPtr<ActivityConfig>(ActivityConfig::Delivery::immediate);
  for (int activity = firstDeferring; activity != activityCount; ++activity)
    library_.activities[at(activity)] = Zon::newPtr<ActivityConfig>();
  for (int agent = 0; agent != agentCount; ++agent)
    library_.agents[at(agent)] = VaroIntf::agentFactory(numberName(hostDirectories + agent));
  for (auto& root : library_.roots)
    root = VaroErrdisable::rootFactory("root");
}

void LibraryWiring::apply(Operation const& operation, int made) {
  auto const& a = operation.argument;
  auto const activity = [&] { return library_.activities[at(a[1])]; };
  switch (operation.kind) {
  case Kind::agentRenew:
  case Kind::agentDirectory:
  case Kind::agentDirectoryDel:
  case Kind::agentHalf:
  case Kind::agentHalfDel:
    applyToAgent(operation, made);
    break;
  case Kind::rootRenew:
    library_.roots[at(a[0])] = VaroErrdisable::rootFactory("root");
    break;
  case Kind::keep:
    keptIs(a[0], a[1]);
    break;
  case Kind::drop:
    keptIs(a[0], none);
    break;
  case Kind::reactorDel:
    takeReactor(a[0], a[1]);
    break;
  case Kind::mirrorIs:
    library_.agents[at(a[0])]->allIntfReactorIs(activity(), library_.configDirectory(a[2]),
                                                library_.statusDirectory(a[3]));
    break;
  case Kind::statusesIs:
    library_.agents[at(a[0])]->allIntfStatusDirSmIs(activity(), library_.statusDirectory(a[2]));
    break;
  case Kind::machineIs:
    library_.roots[at(a[0])]->allIntfSMIs(activity(), library_.configDirectory(a[2]), library_.statusDirectory(a[3]),
                                          a[4] < 2 ? library_.lists[at(a[4])] : nullptr);
    break;
  case Kind::discoveryIs:
    library_.agents[at(a[0])]->allIntfQueueCounterReactorIs(
        activity(), a[2] < hostDirectories ? library_.outputs[at(a[2])] : nullptr,
        a[3] < hostDirectories ? library_.sliceDirectories[at(a[3])] : nullptr);
    break;
  default:
    applyToReactor(operation);
  }
}

void LibraryWiring::applyToAgent(Operation const& operation, int made) {
  auto const& a = operation.argument;
  Zon::Name const name = numberName(made);
  bool const ofHalf = operation.kind == Kind::agentHalf || operation.kind == Kind::agentHalfDel;
  auto& agent = library_.agents[at(a[ofHalf ? 1 : 0])];
  auto const directory = agent->allIntfDir();
  // The new name, or the one the child has already.
  auto const nameFor = [&](auto const& child, int fresh) { return child && fresh == 0 ? child->name() : name; };
  switch (operation.kind) {
  case Kind::agentRenew:
    agent = nullptr;
    agent = VaroIntf::agentFactory(name);
    break;
  case Kind::agentDirectory:
    agent->allIntfDirIs(nameFor(directory, a[1]));
    break;
  case Kind::agentDirectoryDel:
    agent->allIntfDirDel();
    break;
  case Kind::agentHalf:
    if (!directory) break;
    if (a[0] == configHalf) {
      directory->configIs(nameFor(directory->config(), a[2]));
    } else {
      directory->statusIs(nameFor(directory->status(), a[2]));
    }
    break;
  default:
    if (!directory) break;
    if (a[0] == configHalf) {
      directory->configDel();
    } else {
      directory->statusDel();
    }
  }
}

void LibraryWiring::applyToReactor(Operation const& operation) {
  auto const& a = operation.argument;
  library_.withReactor(a[0], a[1], [&](auto const& reactor) {
    if (!reactor) return;
    switch (operation.kind) {
    case Kind::reactorSwitch:
      reactor->hasNotificationActiveIs(a[2] != 0);
      break;
    case Kind::reactorZombie:
      reactor->zonDoZombieReactors(a[2] != 0);
      break;
    default:
      reactor->zonFwkActivityIs(library_.activities[at(a[2])]);
    }
  });
}

void LibraryWiring::keptIs(int type, int which) {
  switch (type) {
  case mirrorType:
    library_.keptMirror = which == none ? nullptr : library_.mirror(which);
    break;
  case statusMachineType:
    library_.keptStatusMachine = which == none ? nullptr : library_.statusMachine(which);
    break;
  case discoveryType:
    library_.keptDiscovery = which == none ? nullptr : library_.discovery(which);
    break;
  default:
    library_.keptMachine = which == none ? nullptr : library_.machine(which);
  }
}

void LibraryWiring::takeReactor(int type, int owner) {
  switch (type) {
  case mirrorType:
    library_.agents[at(owner)]->allIntfReactorDel();
    break;
  case statusMachineType:
    library_.agents[at(owner)]->allIntfStatusDirSmDel();
    break;
  case discoveryType:
    library_.agents[at(owner)]->allIntfQueueCounterReactorDel();
    break;
  default:
    library_.roots[at(owner)]->allIntfSMDel();
  }
}

}  // namespace Model
