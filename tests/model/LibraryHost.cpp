#include "model/LibraryHost.h"

#include "model/SharedOut.h"

namespace Model {

namespace {

using Interface::IntfEnabledState;

Zon::String8 reasonText(int reason) { return reasonTexts[at(reason)]; }
Zon::String8 sourceName(int source) { return sourceNames[at(source)]; }

// The two halves of everything that has two.
void set(Interface::AllIntfConfigDir& directory, Library const& library, int interface, int version) {
  directory.intfConfigIs(library.configs[at(interface)][at(version)]);
}
void set(Interface::AllIntfStatusDir& directory, Library const& library, int interface, int version) {
  directory.intfStatusIs(library.statuses[at(interface)][at(version)]);
}
void del(Interface::AllIntfConfigDir& directory, Orvet::IntfId const& id) { directory.intfConfigDel(id); }
void del(Interface::AllIntfStatusDir& directory, Orvet::IntfId const& id) { directory.intfStatusDel(id); }
void delAll(Interface::AllIntfConfigDir& directory) { directory.intfConfigDelAll(); }
void delAll(Interface::AllIntfStatusDir& directory) { directory.intfStatusDelAll(); }
void notify(Interface::AllIntfConfigDir& directory, Orvet::IntfId const& id) { directory.intfConfigNotify(id); }
void notify(Interface::AllIntfStatusDir& directory, Orvet::IntfId const& id) { directory.intfStatusNotify(id); }
void notifyAll(Interface::AllIntfConfigDir& directory) { directory.intfConfigNotify(); }
void notifyAll(Interface::AllIntfStatusDir& directory) { directory.intfStatusNotify(); }

}  // namespace

void LibraryHost::start() {
  makeFirstEntities(*this);
  for (int i = 0; i != 2; ++i) {
    library_.defaults[at(i)] = Zon::newPtr<Interface::IntfConfig>("default");
    library_.managers[pooledManager(i)] = Zon::newPtr<Pelto::ShmemMan>();
  }
  for (int slot = 0; slot != hostDirectories; ++slot) {
    library_.configDirectories[at(slot)] = Zon::newPtr<Library::ConfigDirectory>(numberName(slot));
    library_.statusDirectories[at(slot)] = Zon::newPtr<Library::StatusDirectory>(numberName(slot));
    library_.lists[at(slot)] = Zon::newPtr<Errdisable::Status>(numberName(slot));
    library_.sliceDirectories[at(slot)] = Zon::newPtr<Zon::Dir>(numberName(slot));
    library_.outputs[at(slot)] = Zon::newPtr<Library::Output>(numberName(slot));
  }
}

void LibraryHost::newEntity(Half half, int interface, int version, int number) {
  if (half == configHalf) {
    library_.configs[at(interface)][at(version)] = Zon::newPtr<Config>(number, interfaceId(interface));
  } else {
    library_.statuses[at(interface)][at(version)] = Zon::newPtr<Status>(number, interfaceId(interface));
  }
}

void LibraryHost::newEntry(int slice, int version, int number) {
  library_.entries[at(slice)][at(version)] = nullptr;
  library_.entryNumbers[at(slice)][at(version)] = number;
  if (version < versions)
    for (int const index : {0, 1})
      library_.managers[ownManager(number, index)] = nullptr;
}

void LibraryHost::newCounters(int interface, int version, int number) {
  library_.counters[at(interface)][at(version)] = Zon::newPtr<Counters>(number, interfaceId(interface));
}

void LibraryHost::apply(Operation const& operation, int made) { shareOutHost(*this, operation, made); }

void LibraryHost::applyToEntities(Operation const& operation, int made) {
  auto const& a = operation.argument;
  auto const config = [&] { return library_.configs[at(a[0])][at(a[1])]; };
  auto const status = [&] { return library_.statuses[at(a[0])][at(a[1])]; };
  switch (operation.kind) {
  case Kind::entityRenew:
    newEntity(static_cast<Half>(a[0]), a[1], a[2], made);
    break;
  case Kind::configAdmin:
    config()->adminEnabledStateLocalIs(static_cast<IntfEnabledState>(a[2]));
    break;
  case Kind::configDefault:
    config()->defaultConfigIs(a[2] < 2 ? library_.defaults[at(a[2])] : nullptr);
    break;
  case Kind::configState:
    config()->enabledStateLocalIs(static_cast<IntfEnabledState>(a[2]));
    break;
  case Kind::configReason:
    config()->enabledStateReasonIs(reasonText(a[2]));
    break;
  case Kind::defaultAdmin:
    library_.defaults[at(a[0])]->adminEnabledStateLocalIs(static_cast<IntfEnabledState>(a[1]));
    break;
  case Kind::defaultDefault:
    library_.defaults[1]->defaultConfigIs(a[0] != 0 ? library_.defaults[0] : nullptr);
    break;
  case Kind::statusActive:
    status()->activeIs(a[2] != 0);
    break;
  case Kind::statusInput:
    status()->forwardingModelInputsIs(sourceName(a[2]), a[3] - 1);
    break;
  case Kind::statusInputDel:
    status()->forwardingModelInputsDel(sourceName(a[2]));
    break;
  case Kind::statusInputDelAll:
    status()->forwardingModelInputsDelAll();
    break;
  case Kind::statusInputNotify:
    status()->forwardingModelInputsNotify(sourceName(a[2]));
    break;
  case Kind::statusInputNotifyAll:
    status()->forwardingModelInputsNotify();
    break;
  default:
    status()->forwardingModelIs(a[2] - 1);
  }
}

template <class Directory>
void LibraryHost::applyToDirectory(Operation const& operation, Directory const& directory) {
  if (!directory) return;
  auto const& a = operation.argument;
  switch (operation.kind) {
  case Kind::directorySet:
    set(*directory, library_, a[2], a[3]);
    break;
  case Kind::directoryDel:
    del(*directory, interfaceId(a[2]));
    break;
  case Kind::directoryDelAll:
    delAll(*directory);
    break;
  case Kind::directoryNotify:
    notify(*directory, interfaceId(a[2]));
    break;
  default:
    notifyAll(*directory);
  }
}

void LibraryHost::applyToDirectories(Operation const& operation, int made) {
  auto const& a = operation.argument;
  bool const isConfig = a[0] == configHalf;
  if (operation.kind == Kind::directoryRenew) {
    if (isConfig) {
      library_.configDirectories[at(a[1])] = Zon::newPtr<Library::ConfigDirectory>(numberName(made));
    } else {
      library_.statusDirectories[at(a[1])] = Zon::newPtr<Library::StatusDirectory>(numberName(made));
    }
  } else if (operation.kind == Kind::directoryGrab) {
    if (isConfig) {
      library_.grabbedConfigs = library_.configDirectory(firstAgentDirectory + a[1]);
    } else {
      library_.grabbedStatuses = library_.statusDirectory(firstAgentDirectory + a[1]);
    }
  } else if (isConfig) {
    applyToDirectory(operation, library_.configDirectory(a[1]));
  } else {
    applyToDirectory(operation, library_.statusDirectory(a[1]));
  }
}

void LibraryHost::applyToLists(Operation const& operation, int made) {
  auto const& a = operation.argument;
  auto& slot = library_.lists[at(a[0])];
  Zon::Ptr<Errdisable::Status> const list = slot;
  switch (operation.kind) {
  case Kind::errdisableSet:
    list->errdisabledIntfIs(interfaceId(a[1]), reasonText(a[2]));
    break;
  case Kind::errdisableDel:
    list->errdisabledIntfDel(interfaceId(a[1]));
    break;
  case Kind::errdisableDelAll:
    list->errdisabledIntfDelAll();
    break;
  case Kind::errdisableNotify:
    list->errdisabledIntfNotify(interfaceId(a[1]));
    break;
  case Kind::errdisableNotifyAll:
    list->errdisabledIntfNotify();
    break;
  default:
    slot = Zon::newPtr<Errdisable::Status>(numberName(made));
  }
}

void LibraryHost::applyToSlices(Operation const& operation, int made) {
  auto const& a = operation.argument;
  auto const directory = library_.sliceDirectories[at(a[0] % hostDirectories)];
  auto const slice = [&] { return library_.slice(a[0], a[1]); };
  switch (operation.kind) {
  case Kind::slicesSet:
    directory->entityPtrIs(library_.entry(a[1], a[2]));
    break;
  case Kind::slicesDel:
    directory->entityPtrDel(sliceName(a[1]));
    break;
  case Kind::slicesDelAll:
    directory->entityPtrDelAll();
    break;
  case Kind::slicesNotify:
    directory->entityPtrNotify(sliceName(a[1]));
    break;
  case Kind::slicesNotifyAll:
    directory->entityPtrNotify();
    break;
  case Kind::slicesRenew:
    library_.sliceDirectories[at(a[0])] = Zon::newPtr<Zon::Dir>(numberName(made));
    break;
  case Kind::sliceRenew:
    newEntry(a[0], a[1], made);
    break;
  case Kind::sliceSet:
    slice()->intfQueueCounterDirIs(library_.counters[at(a[2])][at(a[3])]);
    break;
  case Kind::sliceDel:
    slice()->intfQueueCounterDirDel(interfaceId(a[2]));
    break;
  case Kind::sliceDelAll:
    slice()->intfQueueCounterDirDelAll();
    break;
  case Kind::sliceNotify:
    slice()->intfQueueCounterDirNotify(interfaceId(a[2]));
    break;
  default: {
    auto const manager = library_.managers.at(pooledManager(a[3]));
    if (a[2] == 0) {
      slice()->counterShmemManIs(manager);
    } else {
      slice()->statisticsShmemManIs(manager);
    }
  }
  }
}

void LibraryHost::applyToCounters(Operation const& operation, int made) {
  auto const& a = operation.argument;
  auto const held = library_.counters[at(a[0])][at(a[1])];
  switch (operation.kind) {
  case Kind::countersRenew:
    newCounters(a[0], a[1], made);
    break;
  case Kind::countersSet:
    held->intfQueueCounterIs(Zon::newPtr<Interface::IntfQueueCounter>(counterName(a[2])));
    break;
  case Kind::countersDel:
    held->intfQueueCounterDel(counterName(a[2]));
    break;
  case Kind::countersDelAll:
    held->intfQueueCounterDelAll();
    break;
  default:
    held->intfQueueCounterNotify(counterName(a[2]));
  }
}

void LibraryHost::applyToOutputs(Operation const& operation, int made) {
  auto const& a = operation.argument;
  auto& slot = library_.outputs[at(a[0])];
  Zon::Ptr<Library::Output> const output = slot;
  switch (operation.kind) {
  case Kind::outputSet:
    output->intfQueueCounterDirIs(library_.counters[at(a[1])][at(a[2])]);
    break;
  case Kind::outputDel:
    output->intfQueueCounterDirDel(interfaceId(a[1]));
    break;
  case Kind::outputDelAll:
    output->intfQueueCounterDirDelAll();
    break;
  default:
    slot = Zon::newPtr<Library::Output>(numberName(made));
  }
}

}  // namespace Model
