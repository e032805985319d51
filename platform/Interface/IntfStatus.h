#pragma once

/// \file
/// `Interface::IntfStatus`: one interface's operational status.
///
/// Guarantees: those of the entity setters and of value collections (Zon/Collection.h). A new status is not active, has
/// forwarding model 0 and no forwarding-model inputs.
///
/// Use
///
///     auto status = Zon::newPtr<Interface::IntfStatus>("Ethernet1");
///     status->activeIs(true);   // before it is added to a directory: an inactive status holds the interface down
///     status->forwardingModelInputsIs("bridging", 3);

#include "Zon/Collection.h"
#include "Zon/Notifiee.h"
#include "platform/Orvet/IntfId.h"

namespace Interface {

class IntfStatus : public Zon::PlatformEntity<IntfStatus> {
 public:
  class NotifieeConst;
  class Notifiee;
  class ZonForwardingModelInputs final : public Zon::ValueEntry<ZonForwardingModelInputs, Zon::String8, std::int32_t> {
   public:
    using ValueEntry::ValueEntry;
  };

  using ForwardingModelInputsIterator = Zon::EntryIterator<ZonForwardingModelInputs, false>;
  using ForwardingModelInputsIteratorConst = Zon::EntryIterator<ZonForwardingModelInputs, true>;

  explicit IntfStatus(Orvet::IntfId intfId);
  ~IntfStatus() override;

  Zon::ZonType* fwkType() const override;
  static Zon::ZonType* _fwkType();
  static bool _fwkTypeRegistered();
  using GenericIf_ = Zon::TableGenericIf<IntfStatus>;
  Zon::String8 attributeString(Zon::AttributeId id) const override;

  Orvet::IntfId const& intfId() const noexcept { return intfId_; }
  /// The resolved forwarding-model code.
  std::int32_t forwardingModel() const noexcept { return forwardingModel_; }
  bool active() const noexcept { return active_; }

  virtual void forwardingModelIs(std::int32_t model);
  virtual void activeIs(bool active);

  /// The forwarding-model code that a named source asks for, null when it asks for none.
  Zon::Ptr<ZonForwardingModelInputs> forwardingModelInputs(Zon::String8 const& source);
  Zon::Ptr<ZonForwardingModelInputs const> forwardingModelInputs(Zon::String8 const& source) const;
  virtual void forwardingModelInputsIs(Zon::String8 source, std::int32_t model);
  virtual Zon::Ptr<ZonForwardingModelInputs> forwardingModelInputsDel(Zon::String8 source);
  Zon::Ptr<ZonForwardingModelInputs> forwardingModelInputsDel(ForwardingModelInputsIterator& at);
  void forwardingModelInputsDelAll();
  void forwardingModelInputsNotify(Zon::String8 const& source);
  void forwardingModelInputsNotify();
  ForwardingModelInputsIterator forwardingModelInputsIterator();
  ForwardingModelInputsIteratorConst forwardingModelInputsIteratorConst() const;

 private:
  friend Zon::WatchedAccess;

  mutable Zon::WatcherList<NotifieeConst> zonNotifiees_;
  Orvet::IntfId const intfId_;
  std::int32_t forwardingModel_ = 0;
  bool active_ = false;
  Zon::ValueCollection<IntfStatus, ZonForwardingModelInputs> forwardingModelInputs_;
};

class IntfStatus::NotifieeConst : public Zon::CollectionNotifiee<IntfStatus, Zon::String8> {
 public:
  Zon::ZonType* fwkType() const override;
  static Zon::ZonType* _fwkType();

  virtual void onIntfConfig() {}
  virtual void onDeviceName() {}
  virtual void onForwardingModel() {}
  virtual void onForwardingModelInputs(Zon::String8) {}
  virtual void onForwardingModelInputszonImmediate() {}
  virtual void onForwardingModelInputs() {}
  virtual void onMtu() {}
  virtual void onMaxMtu() {}
  virtual void onOperStatus() {}
  virtual void onOperStatusChange() {}
  virtual void onOperStatusUpdatedByAgent() {}
  virtual void onActive() {}

  static constexpr Zon::CollectionCallbacks<NotifieeConst, Zon::String8> zonCollection{
      266, &NotifieeConst::onForwardingModelInputs, &NotifieeConst::onForwardingModelInputszonImmediate,
      &NotifieeConst::onForwardingModelInputs};
};

class IntfStatus::Notifiee : public Zon::NotifieeOf<IntfStatus> {};

}  // namespace Interface
