#pragma once

/// \file
/// The queue counters of the device: slices with the counters of their interfaces, the output that gathers the
/// interfaces of all slices, and the shared memory with the blocks.
///
/// Guarantees
///   A  A slice has its managers before anybody sees it; all slices share the two of the device. Private memory is made
///      with the first slice, named memory at once.
///   B  What is put in the place of something present comes after that has left: the reactors serve nothing that is
///      replaced in place.
///   C  While some slice lists an interface, the output has it: an interface that one slice withdrew is published anew
///      from another that lists it.
///
/// Use
///
///     VaroHost::QueueCounters counters(VaroHost::CounterMemory("line-card"));
///     counters.wire(agent, activity);
///     auto slice = counters.sliceIs("linecard3");
///     counters.countersIs(*slice, "Ethernet3/1")->intfQueueCounterIs(Zon::newPtr<Interface::IntfQueueCounter>("drops"));

#include <string>

#include "Zon/Activity.h"
#include "Zon/Dir.h"
#include "Zon/Ptr.h"
#include "host/CounterMemory.h"
#include "host/Module.h"
#include "platform/Interface/AllIntfQueueCounterDir.h"
#include "platform/Interface/AllIntfQueueCounterPtrDir.h"

namespace VaroHost {

class QueueCounters {
 public:
  using Slice = Interface::AllIntfQueueCounterDir;
  using Counters = Interface::IntfQueueCounterDir;

  /// Queues of an interface, each of which has a block of every counter.
  static constexpr unsigned queues = 18;

  /// Errors: range exception when named memory cannot be had.
  explicit QueueCounters(CounterMemory memory);
  QueueCounters(QueueCounters const&) = delete;
  QueueCounters& operator=(QueueCounters const&) = delete;

  /// Gives output and slices to the agent's reactor, which works until `unwire`.
  void wire(Module& agent, Zon::Ptr<Zon::ActivityConfig> const& activity);
  void unwire(Module& agent);

  Zon::Ptr<Zon::Dir> const& slices() const noexcept { return slices_; }
  /// The interfaces of all slices, as the module gathers them.
  Zon::Ptr<Interface::AllIntfQueueCounterPtrDir const> output() const noexcept { return output_; }
  /// Null while there is no memory yet, as `queueBlocks`.
  Zon::Ptr<Pelto::ShmemMan const> interfaceBlocks() const noexcept { return interfaceBlocks_; }
  Zon::Ptr<Pelto::ShmemMan const> queueBlocks() const noexcept { return queueBlocks_; }
  /// Whether the counter of an interface has got all its blocks.
  bool hasBlocks(Orvet::IntfId const& intfId, Zon::Name const& counter) const;

  /// Null when absent.
  Zon::Ptr<Slice> slice(Zon::Name const& name) const;
  /// Makes an empty slice, in the place of one that is there.
  /// Errors: range exception when private memory cannot be had.
  Zon::Ptr<Slice> sliceIs(Zon::Name const& name);
  void sliceDel(Zon::Name const& name);
  /// Makes an interface of that slice, without counters, in the place of one that is there.
  Zon::Ptr<Counters> countersIs(Slice& slice, Orvet::IntfId const& intfId);
  void countersDel(Slice& slice, Orvet::IntfId const& intfId);

 private:
  void publishAnew(Orvet::IntfId const& intfId);
  void makeMemory();

  CounterMemory const memory_;
  Zon::Ptr<Pelto::ShmemMan> interfaceBlocks_;
  Zon::Ptr<Pelto::ShmemMan> queueBlocks_;
  Zon::Ptr<Zon::Dir> const slices_;
  Zon::Ptr<Interface::AllIntfQueueCounterPtrDir> const output_;
  Module::Interface reactor_;
};

}  // namespace VaroHost
