#include "host/QueueCounters.h"

#include <utility>

namespace VaroHost {

namespace {

constexpr char reactorAttribute[] = "allIntfQueueCounterReactor";

}  // namespace

QueueCounters::QueueCounters(CounterMemory memory)
  : memory_(std::move(memory)),
    slices_(Zon::newPtr<Zon::Dir>("slices")),
    output_(Zon::newPtr<Interface::AllIntfQueueCounterPtrDir>("queueCounters")) {
  if (!memory_.isPrivate()) {
    makeMemory();
  }
}

void QueueCounters::makeMemory() {
  auto const interfaceBlocks = Zon::newPtr<Pelto::ShmemMan>(memory_.interfaceName(), memory_.capacity());
  queueBlocks_ = Zon::newPtr<Pelto::ShmemMan>(memory_.queueName(), memory_.capacity());
  interfaceBlocks_ = interfaceBlocks;
}

void QueueCounters::wire(Module& agent, Zon::Ptr<Zon::ActivityConfig> const& activity) {
  reactor_ = agent.childIs(reactorAttribute,
                           {Module::reference(activity), Module::reference(output_), Module::reference(slices_)});
}

void QueueCounters::unwire(Module& agent) {
  reactor_ = nullptr;
  agent.childDel(reactorAttribute);
}

Zon::Ptr<QueueCounters::Slice> QueueCounters::slice(Zon::Name const& name) const {
  return Zon::ptrCast<Slice>(slices_->entityPtr(name));
}

Zon::Ptr<QueueCounters::Slice> QueueCounters::sliceIs(Zon::Name const& name) {
  if (!interfaceBlocks_) {
    makeMemory();
  }
  sliceDel(name);
  auto const added = Zon::newPtr<Slice>(name);
  added->counterShmemManIs(interfaceBlocks_);
  added->statisticsShmemManIs(queueBlocks_);
  slices_->entityPtrIs(added);
  return added;
}

void QueueCounters::sliceDel(Zon::Name const& name) {
  auto const removed = slice(name);
  if (!removed) {
    return;
  }
  slices_->entityPtrDel(name);
  for (auto at = removed->intfQueueCounterDirIteratorConst(); at; at.advance()) {
    publishAnew(at->intfId());
  }
}

Zon::Ptr<QueueCounters::Counters> QueueCounters::countersIs(Slice& slice, Orvet::IntfId const& intfId) {
  countersDel(slice, intfId);
  auto const added = Zon::newPtr<Counters>(intfId);
  slice.intfQueueCounterDirIs(added);
  return added;
}

void QueueCounters::countersDel(Slice& slice, Orvet::IntfId const& intfId) {
  if (slice.intfQueueCounterDirDel(intfId)) {
    publishAnew(intfId);
  }
}

bool QueueCounters::hasBlocks(Orvet::IntfId const& intfId, Zon::Name const& counter) const {
  Zon::String8 const& intf = intfId.stringValue();
  // The last queue's block is the last to be made.
  return interfaceBlocks_->counterBlock(Zon::format("%s-%s", intf, counter)) &&
         queueBlocks_->counterBlock(Zon::format("%s-%hhu-%s", intf, queues - 1, counter));
}

/// The slice that withdrew an interface took it out of the output, whosever it was there.
void QueueCounters::publishAnew(Orvet::IntfId const& intfId) {
  for (auto at = slices_->subdirIterator(); at && reactor_; at.advance()) {
    auto const other = slice(at->name());
    if (other && other->intfQueueCounterDir(intfId)) {
      auto const sliceReactor = Module::get(reactor_, "sliceSm", Module::value<Zon::String8>(at->name()));
      if (sliceReactor) {
        Module::call(sliceReactor, "handleQueueCounterDir", Module::value(intfId));
        return;
      }
    }
  }
}

}  // namespace VaroHost
