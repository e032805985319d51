#pragma once

/// \file
/// `VaroIntf::IntfStatusReactor`: watches one interface's status and writes the resolved forwarding model back into it:
/// the lowest code among all inputs, capped at 5, which is also the value without inputs.
///
/// Guarantees
///   A  The reactor is itself the watcher of its status; it acts at once, on no activity.
///   B  It recomputes from the whole collection at every change and writes every time; the status decides whether
///      anybody is told.
///   C  It keeps the interface it was built with as its key, whatever status is bound later.
///
/// Use: `AllIntfStatusDirSm` keeps one per status.

#include "Zon/HashMap.h"
#include "Zon/Input.h"
#include "platform/Interface/IntfStatus.h"

namespace VaroIntf {

class IntfStatusReactor : public Zon::ReactingWatcher<Interface::IntfStatus::Notifiee>,
                          public Zon::HashMapLink<IntfStatusReactor> {
 public:
  /// Resolves the status's forwarding model before it returns. Null is legal.
  explicit IntfStatusReactor(Zon::Ptr<Interface::IntfStatus> const& intfStatus);
  ~IntfStatusReactor() override;

  Zon::ZonType* fwkType() const override;
  static Zon::ZonType* _fwkType();
  static bool _fwkTypeRegistered();
  using GenericIf_ = Zon::TableGenericIf<IntfStatusReactor>;

  Zon::Ptr<Interface::IntfStatus> intfStatus() const noexcept { return notifier(); }
  void intfStatusIs(Zon::Ptr<Interface::IntfStatus> const& intfStatus) { notifierIs(intfStatus); }
  Orvet::IntfId const& intfId() const noexcept { return intfId_; }
  Orvet::IntfId const& fwkKey() const noexcept { return intfId_; }

  void notifierIs(Zon::Ptr<Zon::PtrInterface const> const& notifier) override;
  void handleNotification(Zon::ActivityConfig* activity) override;
  Zon::Ptr<Zon::ActivityConfig> zonFwkActivity() override { return {}; }
  Zon::Ptr<Zon::ActivityConfig> zonFwkActivity() const override { return {}; }
  void onForwardingModelInputs(Zon::String8 source) override;
  void onForwardingModelInputszonImmediate() override;
  using Interface::IntfStatus::NotifieeConst::onForwardingModelInputs;

  /// Resolves and writes the forwarding model; nothing without status.
  void handleForwardingModelInputs();

 private:
  void handleUnlessZombie();

  Orvet::IntfId const intfId_;
};

}  // namespace VaroIntf
