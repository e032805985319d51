#pragma once

/// \file
/// `Interface::AllIntfStatusDir`: the statuses of all interfaces.
///
/// Guarantees: those of pointer collections (Zon/Collection.h). The same entity may stand in several directories; its
/// parent is left alone.
///
/// Use
///
///     auto directory = Zon::newPtr<Interface::AllIntfStatusDir>("status");
///     directory->intfStatusIs(Zon::newPtr<Interface::IntfStatus>("Ethernet1"));

#include "Zon/Collection.h"
#include "Zon/Notifiee.h"
#include "platform/Interface/IntfStatus.h"
#include "platform/Orvet/IntfId.h"

namespace Interface {

class AllIntfStatusDir : public Zon::PlatformEntity<AllIntfStatusDir> {
 public:
  class NotifieeConst;
  class Notifiee;
  class ZonIntfStatus final : public Zon::PointerEntry<ZonIntfStatus, Orvet::IntfId, IntfStatus> {
   public:
    using PointerEntry::PointerEntry;
  };

  using IntfStatusIterator = Zon::EntryIterator<ZonIntfStatus, false>;
  using IntfStatusIteratorConst = Zon::EntryIterator<ZonIntfStatus, true>;

  explicit AllIntfStatusDir(Zon::Name name);
  ~AllIntfStatusDir() override;

  Zon::ZonType* fwkType() const override;
  static Zon::ZonType* _fwkType();
  static bool _fwkTypeRegistered();
  using GenericIf_ = Zon::TableGenericIf<AllIntfStatusDir>;
  Zon::String8 attributeString(Zon::AttributeId id) const override;

  Zon::Ptr<IntfStatus> intfStatus(Orvet::IntfId const& intfId);
  Zon::Ptr<IntfStatus const> intfStatus(Orvet::IntfId const& intfId) const;
  /// Files an entity under its own interface, replacing another one.
  /// Errors: range exception for null.
  virtual void intfStatusIs(Zon::Ptr<IntfStatus> const& intfStatus);
  virtual Zon::Ptr<IntfStatus> intfStatusDel(Orvet::IntfId intfId);
  Zon::Ptr<IntfStatus> intfStatusDel(IntfStatusIterator& at);
  void intfStatusDelAll();
  void intfStatusNotify(Orvet::IntfId const& intfId);
  void intfStatusNotify();
  IntfStatusIterator intfStatusIterator();
  IntfStatusIteratorConst intfStatusIteratorConst() const;

 private:
  friend Zon::WatchedAccess;

  mutable Zon::WatcherList<NotifieeConst> zonNotifiees_;
  Zon::PointerCollection<AllIntfStatusDir, ZonIntfStatus> intfStatus_;
};

class AllIntfStatusDir::NotifieeConst : public Zon::CollectionNotifiee<AllIntfStatusDir, Orvet::IntfId> {
 public:
  virtual void onIntfStatus(Orvet::IntfId) {}
  virtual void onIntfStatuszonImmediate() {}
  virtual void onIntfStatus() {}

  static constexpr Zon::CollectionCallbacks<NotifieeConst, Orvet::IntfId> zonCollection{
      258, &NotifieeConst::onIntfStatus, &NotifieeConst::onIntfStatuszonImmediate, &NotifieeConst::onIntfStatus};
};

class AllIntfStatusDir::Notifiee : public Zon::NotifieeOf<AllIntfStatusDir> {};

}  // namespace Interface
