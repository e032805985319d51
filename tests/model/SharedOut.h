#pragma once

/// \file
/// Which part of a host an operation goes to, and what a host starts with: the same for the model and the library.

#include "model/Operation.h"
#include "model/Vocabulary.h"

namespace Model {

/// Hands an operation of `Area::host` to the part of `host` it is for.
template <class Host>
void shareOutHost(Host& host, Operation const& operation, int made) {
  Kind const kind = operation.kind;
  if (kind < Kind::directorySet || (kind >= Kind::statusActive && kind < Kind::errdisableSet)) {
    host.applyToEntities(operation, made);
  } else if (kind < Kind::statusActive) {
    host.applyToDirectories(operation, made);
  } else if (kind < Kind::agentRenew) {
    host.applyToLists(operation, made);
  } else if (kind < Kind::countersRenew) {
    host.applyToSlices(operation, made);
  } else if (kind < Kind::outputSet) {
    host.applyToCounters(operation, made);
  } else {
    host.applyToOutputs(operation, made);
  }
}

/// Hands an operation of `Area::handlers` to the part of `handlers` it is for.
template <class Handlers>
void shareOutHandlers(Handlers& handlers, Operation const& operation) {
  if (operation.kind < Kind::statusesInput) {
    handlers.applyToMirror(operation);
  } else if (operation.kind < Kind::machineInput) {
    handlers.applyToStatusMachine(operation);
  } else if (operation.kind < Kind::discoveryInput) {
    handlers.applyToMachine(operation);
  } else {
    handlers.applyToDiscovery(operation);
  }
}

/// Lets `host` make the entities every host starts with, under their fixed numbers.
template <class Host>
void makeFirstEntities(Host& host) {
  for (int interface = 0; interface != interfaceCount; ++interface)
    for (int version = 0; version != versions; ++version) {
      int const number = interface * versions + version;
      host.newEntity(configHalf, interface, version, number);
      host.newEntity(statusHalf, interface, version, number);
      host.newCounters(interface, version, number);
    }
  for (int slice = 0; slice != sliceCount; ++slice)
    for (int version = 0; version != entryVersions; ++version)
      host.newEntry(slice, version, slice * entryVersions + version);
}

}  // namespace Model
