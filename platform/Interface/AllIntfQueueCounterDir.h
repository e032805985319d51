#pragma once

/// \file
/// `Interface::AllIntfQueueCounterDir`: one slice of queue counters, a directory that also owns, per interface, the
/// interface's counters, and the two shared-memory managers for their blocks.
///
/// Guarantees: those of `Zon::Dir` and of owning collections (Zon/Collection.h), and
///   A  Both managers exist from construction, as two private ones; setting one later moves no block.
///   B  A watcher of this type also hears the directory's own changes; a watcher of `Zon::Dir` hears nothing of the
///      slice's.
///
/// Use
///
///     auto slice = Zon::newPtr<Interface::AllIntfQueueCounterDir>("linecard3");
///     slice->counterShmemManIs(Zon::newPtr<Pelto::ShmemMan>("linecard3-counters"));
///     slice->intfQueueCounterDirIs(Zon::newPtr<Interface::IntfQueueCounterDir>("Ethernet3/1"));

#include "Zon/Dir.h"
#include "platform/Interface/IntfQueueCounterDir.h"
#include "platform/Orvet/IntfId.h"
#include "platform/Pelto/ShmemMan.h"

namespace Interface {

class AllIntfQueueCounterDir : public Zon::Dir {
 public:
  class NotifieeConst;
  class Notifiee;

  using Counters = Zon::OwningCollection<AllIntfQueueCounterDir, IntfQueueCounterDir, Orvet::IntfId>;
  using IntfQueueCounterDirIterator = Counters::Iterator;
  using IntfQueueCounterDirIteratorConst = Counters::IteratorConst;

  explicit AllIntfQueueCounterDir(Zon::Name name);
  ~AllIntfQueueCounterDir() override;

  Zon::ZonType* fwkType() const override;
  static Zon::ZonType* _fwkType();
  static bool _fwkTypeRegistered();
  using GenericIf_ = Zon::TableGenericIf<AllIntfQueueCounterDir>;
  Zon::String8 attributeString(Zon::AttributeId id) const override;

  Zon::Ptr<IntfQueueCounterDir> intfQueueCounterDir(Orvet::IntfId const& intfId);
  Zon::Ptr<IntfQueueCounterDir const> intfQueueCounterDir(Orvet::IntfId const& intfId) const;
  /// Errors: range exception for null and for counters that have another parent.
  virtual void intfQueueCounterDirIs(Zon::Ptr<IntfQueueCounterDir> const& counters);
  virtual Zon::Ptr<IntfQueueCounterDir> intfQueueCounterDirDel(Orvet::IntfId intfId);
  Zon::Ptr<IntfQueueCounterDir> intfQueueCounterDirDel(IntfQueueCounterDirIterator& at);
  void intfQueueCounterDirDelAll();
  void intfQueueCounterDirNotify(Orvet::IntfId const& intfId);
  void intfQueueCounterDirNotify();
  IntfQueueCounterDirIterator intfQueueCounterDirIterator();
  IntfQueueCounterDirIteratorConst intfQueueCounterDirIteratorConst() const;

  /// The manager of the blocks per interface.
  Zon::Ptr<Pelto::ShmemMan> const& counterShmemMan() const noexcept { return counterShmemMan_; }
  /// The manager of the blocks per interface and queue.
  Zon::Ptr<Pelto::ShmemMan> const& statisticsShmemMan() const noexcept { return statisticsShmemMan_; }
  /// Errors: range exception for null.
  virtual void counterShmemManIs(Zon::Ptr<Pelto::ShmemMan> const& manager);
  virtual void statisticsShmemManIs(Zon::Ptr<Pelto::ShmemMan> const& manager);

 private:
  template <Zon::AttributeId id, auto callback>
  void managerIs(Zon::Ptr<Pelto::ShmemMan>& stored, Zon::Ptr<Pelto::ShmemMan> manager);

  Counters intfQueueCounterDir_;
  Zon::Ptr<Pelto::ShmemMan> counterShmemMan_;
  Zon::Ptr<Pelto::ShmemMan> statisticsShmemMan_;
};

class AllIntfQueueCounterDir::NotifieeConst
  : public Zon::CollectionNotifiee<AllIntfQueueCounterDir, Orvet::IntfId,
                                   Zon::RefinedNotifiee<AllIntfQueueCounterDir, Zon::Dir::NotifieeConst>> {
 public:
  virtual void onIntfQueueCounterDir(Orvet::IntfId) {}
  virtual void onIntfQueueCounterDirzonImmediate() {}
  virtual void onIntfQueueCounterDir() {}
  virtual void onCounterShmemMan() {}
  virtual void onStatisticsShmemMan() {}

  static constexpr Zon::CollectionCallbacks<NotifieeConst, Orvet::IntfId> zonCollection{
      386, &NotifieeConst::onIntfQueueCounterDir, &NotifieeConst::onIntfQueueCounterDirzonImmediate,
      &NotifieeConst::onIntfQueueCounterDir};
};

class AllIntfQueueCounterDir::Notifiee : public Zon::NotifieeOf<AllIntfQueueCounterDir> {};

}  // namespace Interface
