#pragma once

/// \file
/// `VaroErrdisable::IntfSM`: decides one interface's enabled state and the reason for it, and writes both into the
/// interface's configuration.
///
/// Guarantees
///   A  The order of the tests is fixed: an inactive status wins over an errdisable entry, that wins over the
///      administrative setting.
///   B  Every evaluation writes the state first and the reason second, even when both are already there: the
///      configuration's setters decide whether anybody is told.
///   C  An evaluation works on the configuration, status and errdisable status it began with, whatever a callback of its
///      own writes replaces.
///   D  Its own writes and a changed default configuration cause no evaluation.
///   E  At its end, silent already, it releases the collection link, the status input, the configuration input, the
///      errdisable status and the activity, in this order.
///
/// REQUIRES, at every evaluation: a configuration; an errdisable status unless the status is inactive.
///
/// Use: `AllIntfSM` makes one per configured interface.
///
///     auto machine = VaroErrdisable::intfSMFactory(activity, "Ethernet1", errdisableStatus, intfConfig);
///     machine->intfStatusIs(intfStatus);
///     machine->handleStateChange();

#include <iosfwd>

#include "Zon/HashMap.h"
#include "Zon/Input.h"
#include "Zon/Reactor.h"
#include "platform/Errdisable/Status.h"
#include "platform/Interface/IntfConfig.h"
#include "platform/Interface/IntfStatus.h"

namespace VaroErrdisable {

class IntfSM : public Zon::ReactorOf<IntfSM>, public Zon::HashMapLink<IntfSM> {
 public:
  class ZonIntfConfig;
  class ZonIntfStatus;

  /// Creates a machine that is initialized and switched on; it has not evaluated yet.
  static Zon::Ptr<IntfSM> IntfSMIs(Zon::Ptr<Zon::ActivityConfig> const& activity, Orvet::IntfId intfId,
                                   Zon::Ptr<Errdisable::Status> const& errdisableStatus,
                                   Zon::Ptr<Interface::IntfConfig> const& intfConfig);

  IntfSM(Zon::Ptr<Zon::ActivityConfig> const& activity, Orvet::IntfId intfId,
         Zon::Ptr<Errdisable::Status> const& errdisableStatus, Zon::Ptr<Interface::IntfConfig> const& intfConfig);
  ~IntfSM() override;

  Zon::ZonType* fwkType() const override;
  static Zon::ZonType* _fwkType();
  static bool _fwkTypeRegistered();
  using GenericIf_ = Zon::TableGenericIf<IntfSM>;

  Orvet::IntfId const& intfId() const noexcept { return intfId_; }
  Orvet::IntfId const& fwkKey() const noexcept { return intfId_; }
  Zon::Ptr<Errdisable::Status> errdisableStatus() const noexcept { return errdisableStatus_; }

  Zon::Ptr<Interface::IntfConfig> intfConfig() const;
  void intfConfigIs(Zon::Ptr<Interface::IntfConfig> const& intfConfig);
  Zon::Ptr<Interface::IntfConfig> intfConfigDel();
  Zon::Ptr<ZonIntfConfig> newIntfConfig(Zon::Ptr<Interface::IntfConfig> const& intfConfig);

  Zon::Ptr<Interface::IntfStatus const> intfStatus() const;
  void intfStatusIs(Zon::Ptr<Interface::IntfStatus const> const& intfStatus);
  Zon::Ptr<Interface::IntfStatus const> intfStatusDel();
  Zon::Ptr<ZonIntfStatus> newIntfStatus(Zon::Ptr<Interface::IntfStatus const> const& intfStatus);

  bool initialized() const noexcept { return initialized_; }
  void initializedIs(bool initialized) noexcept { initialized_ = initialized; }

  /// Opens the machine for evaluations; evaluates nothing itself.
  void handleInitialized();
  /// Evaluates: does nothing before `handleInitialized()`.
  void handleStateChange();

 private:
  friend Zon::ReactorOf<IntfSM>;
  static constexpr auto zonInputs() { return std::tuple(&IntfSM::intfConfig_, &IntfSM::intfStatus_); }

  void writeStateChange(std::ostream& line) const;

  Orvet::IntfId const intfId_;
  Zon::Ptr<Errdisable::Status> const errdisableStatus_;
  Zon::Ptr<ZonIntfConfig> intfConfig_;
  Zon::Ptr<ZonIntfStatus> intfStatus_;
  bool initialized_ = false;
};

class IntfSM::ZonIntfConfig final
  : public Zon::ValueInput<IntfSM, Interface::IntfConfig::Notifiee, 263,
                           &Interface::IntfConfig::NotifieeConst::onAdminEnabledStateLocal> {
 public:
  using ValueInput::ValueInput;
  void intfSMIs(IntfSM* owner) noexcept { zonOwnerIs(owner); }

  void notifierIs(Zon::Ptr<Zon::PtrInterface const> const& notifier) override;
  void onAdminEnabledStateLocal() override;
};

class IntfSM::ZonIntfStatus final : public Zon::ValueInput<IntfSM, Interface::IntfStatus::NotifieeConst, 272,
                                                           &Interface::IntfStatus::NotifieeConst::onActive> {
 public:
  using ValueInput::ValueInput;
  void intfSMIs(IntfSM* owner) noexcept { zonOwnerIs(owner); }

  void notifierIs(Zon::Ptr<Zon::PtrInterface const> const& notifier) override;
  void onActive() override;
};

}  // namespace VaroErrdisable
