#pragma once

/// \file
/// `Errdisable::Status`: the platform's list of error-disabled interfaces, each with its reason.
///
/// Guarantees: those of value collections (Zon/Collection.h). Membership alone disables an interface; an empty reason is
/// legal.
///
/// Use
///
///     status->errdisabledIntfIs("Ethernet1", "bpduguard");
///     status->errdisabledIntfDel("Ethernet1");

#include "Zon/Collection.h"
#include "Zon/Notifiee.h"
#include "platform/Orvet/IntfId.h"

namespace Errdisable {

class Status : public Zon::PlatformEntity<Status> {
 public:
  class NotifieeConst;
  class Notifiee;
  class ZonErrdisabledIntf final : public Zon::ValueEntry<ZonErrdisabledIntf, Orvet::IntfId, Zon::String8> {
   public:
    using ValueEntry::ValueEntry;
  };

  using ErrdisabledIntfIterator = Zon::EntryIterator<ZonErrdisabledIntf, false>;
  using ErrdisabledIntfIteratorConst = Zon::EntryIterator<ZonErrdisabledIntf, true>;

  explicit Status(Zon::Name name);
  ~Status() override;

  Zon::ZonType* fwkType() const override;
  static Zon::ZonType* _fwkType();
  static bool _fwkTypeRegistered();
  using GenericIf_ = Zon::TableGenericIf<Status>;
  Zon::String8 attributeString(Zon::AttributeId id) const override;

  /// The entry of an interface, null when it is not error-disabled.
  Zon::Ptr<ZonErrdisabledIntf> errdisabledIntf(Orvet::IntfId const& intfId);
  Zon::Ptr<ZonErrdisabledIntf const> errdisabledIntf(Orvet::IntfId const& intfId) const;
  virtual void errdisabledIntfIs(Orvet::IntfId intfId, Zon::String8 reason);
  virtual Zon::Ptr<ZonErrdisabledIntf> errdisabledIntfDel(Orvet::IntfId intfId);
  Zon::Ptr<ZonErrdisabledIntf> errdisabledIntfDel(ErrdisabledIntfIterator& at);
  void errdisabledIntfDelAll();
  void errdisabledIntfNotify(Orvet::IntfId const& intfId);
  void errdisabledIntfNotify();
  ErrdisabledIntfIterator errdisabledIntfIterator();
  ErrdisabledIntfIteratorConst errdisabledIntfIteratorConst() const;

 private:
  friend Zon::WatchedAccess;

  mutable Zon::WatcherList<NotifieeConst> zonNotifiees_;
  Zon::ValueCollection<Status, ZonErrdisabledIntf> errdisabledIntf_;
};

class Status::NotifieeConst : public Zon::CollectionNotifiee<Status, Orvet::IntfId> {
 public:
  virtual void onErrdisabledIntf(Orvet::IntfId) {}
  virtual void onErrdisabledIntfzonImmediate() {}
  virtual void onErrdisabledIntf() {}

  static constexpr Zon::CollectionCallbacks<NotifieeConst, Orvet::IntfId> zonCollection{
      258, &NotifieeConst::onErrdisabledIntf, &NotifieeConst::onErrdisabledIntfzonImmediate,
      &NotifieeConst::onErrdisabledIntf};
};

class Status::Notifiee : public Zon::NotifieeOf<Status> {};

}  // namespace Errdisable
