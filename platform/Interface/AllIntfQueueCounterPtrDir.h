#pragma once

/// \file
/// `Interface::AllIntfQueueCounterPtrDir`: the queue counters of all interfaces, whichever slice
/// provides them.
///
/// Guarantees: those of pointer collections (Zon/Collection.h). The same entity may stand in several directories; its
/// parent is left alone.
///
/// Use
///
///     auto output = Zon::newPtr<Interface::AllIntfQueueCounterPtrDir>("counters");
///     output->intfQueueCounterDir("Ethernet1");   // null until a slice publishes it

#include "Zon/Collection.h"
#include "Zon/Notifiee.h"
#include "platform/Interface/IntfQueueCounterDir.h"
#include "platform/Orvet/IntfId.h"

namespace Interface {

class AllIntfQueueCounterPtrDir : public Zon::PlatformEntity<AllIntfQueueCounterPtrDir> {
 public:
  class NotifieeConst;
  class Notifiee;
  class ZonIntfQueueCounterDir final
    : public Zon::PointerEntry<ZonIntfQueueCounterDir, Orvet::IntfId, IntfQueueCounterDir> {
   public:
    using PointerEntry::PointerEntry;
  };

  using IntfQueueCounterDirIterator = Zon::EntryIterator<ZonIntfQueueCounterDir, false>;
  using IntfQueueCounterDirIteratorConst = Zon::EntryIterator<ZonIntfQueueCounterDir, true>;

  explicit AllIntfQueueCounterPtrDir(Zon::Name name);
  ~AllIntfQueueCounterPtrDir() override;

  Zon::ZonType* fwkType() const override;
  static Zon::ZonType* _fwkType();
  static bool _fwkTypeRegistered();
  using GenericIf_ = Zon::TableGenericIf<AllIntfQueueCounterPtrDir>;
  Zon::String8 attributeString(Zon::AttributeId id) const override;

  Zon::Ptr<IntfQueueCounterDir> intfQueueCounterDir(Orvet::IntfId const& intfId);
  Zon::Ptr<IntfQueueCounterDir const> intfQueueCounterDir(Orvet::IntfId const& intfId) const;
  /// Files an entity under its own interface, replacing another one.
  /// Errors: range exception for null.
  virtual void intfQueueCounterDirIs(Zon::Ptr<IntfQueueCounterDir> const& intfQueueCounterDir);
  virtual Zon::Ptr<IntfQueueCounterDir> intfQueueCounterDirDel(Orvet::IntfId intfId);
  Zon::Ptr<IntfQueueCounterDir> intfQueueCounterDirDel(IntfQueueCounterDirIterator& at);
  void intfQueueCounterDirDelAll();
  void intfQueueCounterDirNotify(Orvet::IntfId const& intfId);
  void intfQueueCounterDirNotify();
  IntfQueueCounterDirIterator intfQueueCounterDirIterator();
  IntfQueueCounterDirIteratorConst intfQueueCounterDirIteratorConst() const;

 private:
  friend Zon::WatchedAccess;

  mutable Zon::WatcherList<NotifieeConst> zonNotifiees_;
  Zon::PointerCollection<AllIntfQueueCounterPtrDir, ZonIntfQueueCounterDir> intfQueueCounterDir_;
};

class AllIntfQueueCounterPtrDir::NotifieeConst
  : public Zon::CollectionNotifiee<AllIntfQueueCounterPtrDir, Orvet::IntfId> {
 public:
  virtual void onIntfQueueCounterDir(Orvet::IntfId) {}
  virtual void onIntfQueueCounterDirzonImmediate() {}
  virtual void onIntfQueueCounterDir() {}

  static constexpr Zon::CollectionCallbacks<NotifieeConst, Orvet::IntfId> zonCollection{
      258, &NotifieeConst::onIntfQueueCounterDir, &NotifieeConst::onIntfQueueCounterDirzonImmediate,
      &NotifieeConst::onIntfQueueCounterDir};
};

class AllIntfQueueCounterPtrDir::Notifiee : public Zon::NotifieeOf<AllIntfQueueCounterPtrDir> {};

}  // namespace Interface
