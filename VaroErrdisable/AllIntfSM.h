#pragma once

/// \file
/// `VaroErrdisable::AllIntfSM`: keeps one `IntfSM` for every configured interface, feeds it the interface's status and
/// asks it to evaluate whenever the interface's configuration, status entity or errdisable entry comes or goes.
///
/// Guarantees
///   A  A machine exists exactly for the interfaces whose configuration was present at the last `handleIntf` for them;
///      status and errdisable entries create and delete nothing.
///   B  Children run on the null activity: their own changes are never deferred.
///   C  Several keyed changes that an activity coalesced into one unkeyed notification cause no work.
///   D  A child is bound to one configuration and one errdisable status; meeting another one is a name-in-use exception.
///
/// REQUIRES: both directories and the errdisable status, whenever a handler runs past its `initialized` test; and a
/// child for every configured interface that is errdisabled (assertion "intfSm").
///
/// Use: `Root::allIntfSMIs` makes and owns it.

#include "VaroErrdisable/IntfSM.h"
#include "Zon/Input.h"
#include "Zon/Reactor.h"
#include "platform/Errdisable/Status.h"
#include "platform/Interface/AllIntfConfigDir.h"
#include "platform/Interface/AllIntfStatusDir.h"

namespace VaroErrdisable {

class AllIntfSM : public Zon::ReactorOf<AllIntfSM> {
 public:
  class ZonIntfConfigDir;
  class ZonIntfStatusDir;
  class ZonErrdisableStatus;

  using IntfSMs = Zon::HashMap<IntfSM, Orvet::IntfId>;
  using IntfSMIterator = IntfSMs::Iterator;
  using IntfSMIteratorConst = IntfSMs::IteratorConst;

  /// Creates the machine, scans all configurations and switches it on.
  static Zon::Ptr<AllIntfSM> AllIntfSMIs(Zon::Ptr<Zon::ActivityConfig> const& activity,
                                         Zon::Ptr<Interface::AllIntfConfigDir> const& intfConfigDir,
                                         Zon::Ptr<Interface::AllIntfStatusDir const> const& intfStatusDir,
                                         Zon::Ptr<Errdisable::Status> const& errdisableStatus);

  AllIntfSM(Zon::Ptr<Zon::ActivityConfig> const& activity, Zon::Ptr<Interface::AllIntfConfigDir> const& intfConfigDir,
            Zon::Ptr<Interface::AllIntfStatusDir const> const& intfStatusDir,
            Zon::Ptr<Errdisable::Status> const& errdisableStatus);
  ~AllIntfSM() override;

  Zon::ZonType* fwkType() const override;
  static Zon::ZonType* _fwkType();
  static bool _fwkTypeRegistered();
  using GenericIf_ = Zon::TableGenericIf<AllIntfSM>;

  Zon::Ptr<Interface::AllIntfConfigDir> intfConfigDir() const;
  void intfConfigDirIs(Zon::Ptr<Interface::AllIntfConfigDir> const& directory);
  Zon::Ptr<Interface::AllIntfConfigDir> intfConfigDirDel();
  Zon::Ptr<ZonIntfConfigDir> newIntfConfigDir(Zon::Ptr<Interface::AllIntfConfigDir> const& directory);

  Zon::Ptr<Interface::AllIntfStatusDir const> intfStatusDir() const;
  void intfStatusDirIs(Zon::Ptr<Interface::AllIntfStatusDir const> const& directory);
  Zon::Ptr<Interface::AllIntfStatusDir const> intfStatusDirDel();
  Zon::Ptr<ZonIntfStatusDir> newIntfStatusDir(Zon::Ptr<Interface::AllIntfStatusDir const> const& directory);

  Zon::Ptr<Errdisable::Status> errdisableStatus() const;
  void errdisableStatusIs(Zon::Ptr<Errdisable::Status> const& status);
  Zon::Ptr<Errdisable::Status> errdisableStatusDel();
  Zon::Ptr<ZonErrdisableStatus> newErrdisableStatus(Zon::Ptr<Errdisable::Status> const& status);

  Zon::Ptr<IntfSM> intfSM(Orvet::IntfId const& intfId);
  Zon::Ptr<IntfSM const> intfSM(Orvet::IntfId const& intfId) const;
  /// Finds the machine of an interface or makes it. A found one gets the activity first.
  /// Errors: name-in-use exception when it was built from another errdisable status or watches another configuration.
  Zon::Ptr<IntfSM> intfSMIs(Zon::Ptr<Zon::ActivityConfig> const& activity, Orvet::IntfId const& intfId,
                            Zon::Ptr<Errdisable::Status> const& errdisableStatus,
                            Zon::Ptr<Interface::IntfConfig> const& intfConfig);
  /// Makes a machine and inserts it, without looking for one.
  Zon::Ptr<IntfSM> newIntfSM(Zon::Ptr<Zon::ActivityConfig> const& activity, Orvet::IntfId const& intfId,
                             Zon::Ptr<Errdisable::Status> const& errdisableStatus,
                             Zon::Ptr<Interface::IntfConfig> const& intfConfig);
  /// The removed machine, null when there is none; it goes on working for whoever holds it.
  Zon::Ptr<IntfSM> intfSMDel(Orvet::IntfId const& intfId);
  Zon::Ptr<IntfSM> intfSMDel(IntfSMIterator& at);
  void intfSMDelAll();
  void intfSMNotify(Orvet::IntfId const&) noexcept {}
  IntfSMIterator intfSMIterator();
  IntfSMIteratorConst intfSMIteratorConst() const;

  bool initialized() const noexcept { return initialized_; }
  void initializedIs(bool initialized) noexcept { initialized_ = initialized; }

  /// Reaction to a configuration or status that came, changed or went.
  void handleIntf(Orvet::IntfId intfId);
  /// Reaction to an errdisable entry that came, changed or went.
  void handleErrdisable(Orvet::IntfId intfId);
  /// Opens the machine for events and scans all configurations.
  void handleInitialized();

 private:
  friend Zon::ReactorOf<AllIntfSM>;
  static constexpr auto zonInputs() {
    return std::tuple(&AllIntfSM::intfConfigDir_, &AllIntfSM::intfStatusDir_, &AllIntfSM::errdisableStatus_);
  }
  static constexpr auto zonChildren() { return std::tuple(&AllIntfSM::intfSM_); }

  Zon::Ptr<ZonIntfConfigDir> intfConfigDir_;
  Zon::Ptr<ZonIntfStatusDir> intfStatusDir_;
  Zon::Ptr<ZonErrdisableStatus> errdisableStatus_;
  IntfSMs intfSM_;
  bool initialized_ = false;
};

class AllIntfSM::ZonIntfConfigDir final : public Zon::KeyedInput<AllIntfSM, Interface::AllIntfConfigDir::Notifiee> {
 public:
  using KeyedInput::KeyedInput;
  void allIntfSMIs(AllIntfSM* owner) noexcept { zonOwnerIs(owner); }
  void onIntfConfig(Orvet::IntfId intfId) override;
  void onIntfConfig() override {}
};

class AllIntfSM::ZonIntfStatusDir final
  : public Zon::KeyedInput<AllIntfSM, Interface::AllIntfStatusDir::NotifieeConst> {
 public:
  using KeyedInput::KeyedInput;
  void allIntfSMIs(AllIntfSM* owner) noexcept { zonOwnerIs(owner); }
  void onIntfStatus(Orvet::IntfId intfId) override;
  void onIntfStatus() override {}
};

class AllIntfSM::ZonErrdisableStatus final : public Zon::KeyedInput<AllIntfSM, Errdisable::Status::Notifiee> {
 public:
  using KeyedInput::KeyedInput;
  void allIntfSMIs(AllIntfSM* owner) noexcept { zonOwnerIs(owner); }
  void onErrdisabledIntf(Orvet::IntfId intfId) override;
  void onErrdisabledIntf() override {}
};

}  // namespace VaroErrdisable
