#pragma once

/// \file
/// `VaroIntf::AllIntfStatusDirSm`: keeps one `IntfStatusReactor` for every status of the watched directory.
///
/// Guarantees
///   A  Children are made by the creation sweep and by keyed changes, and removed by keyed changes; several changes that
///      an activity coalesced into one unkeyed notification cause no work.
///   B  The sweep only creates and rebinds.
///   C  A removed child that somebody else holds is a zombie: nobody expects the child of a vanished key to act.
///
/// Use: `Agent::allIntfStatusDirSmIs` makes and owns it.

#include "VaroIntf/IntfStatusReactor.h"
#include "Zon/Reactor.h"
#include "platform/Interface/AllIntfStatusDir.h"

namespace VaroIntf {

class AllIntfStatusDirSm : public Zon::ReactorOf<AllIntfStatusDirSm> {
 public:
  class ZonAllIntfStatusDir;

  using IntfStatusReactors = Zon::HashMap<IntfStatusReactor, Orvet::IntfId>;
  using IntfStatusReactorIterator = IntfStatusReactors::Iterator;
  using IntfStatusReactorIteratorConst = IntfStatusReactors::IteratorConst;

  /// Creates the machine, sweeps the directory and switches the machine on.
  static Zon::Ptr<AllIntfStatusDirSm> AllIntfStatusDirSmIs(Zon::Ptr<Zon::ActivityConfig> const& activity,
                                                           Zon::Ptr<Interface::AllIntfStatusDir> const& directory);

  AllIntfStatusDirSm(Zon::Ptr<Zon::ActivityConfig> const& activity,
                     Zon::Ptr<Interface::AllIntfStatusDir> const& directory);
  ~AllIntfStatusDirSm() override;

  Zon::ZonType* fwkType() const override;
  static Zon::ZonType* _fwkType();
  static bool _fwkTypeRegistered();
  using GenericIf_ = Zon::TableGenericIf<AllIntfStatusDirSm>;

  Zon::Ptr<Interface::AllIntfStatusDir> allIntfStatusDir() const;
  void allIntfStatusDirIs(Zon::Ptr<Interface::AllIntfStatusDir> const& directory);
  Zon::Ptr<Interface::AllIntfStatusDir> allIntfStatusDirDel();
  Zon::Ptr<ZonAllIntfStatusDir> newAllIntfStatusDir(Zon::Ptr<Interface::AllIntfStatusDir> const& directory);

  Zon::Ptr<IntfStatusReactor> intfStatusReactor(Orvet::IntfId const& intfId);
  Zon::Ptr<IntfStatusReactor const> intfStatusReactor(Orvet::IntfId const& intfId) const;
  /// Finds the reactor of the status's interface and rebinds it, or makes it.
  /// Errors: range exception for null.
  Zon::Ptr<IntfStatusReactor> intfStatusReactorIs(Zon::Ptr<Interface::IntfStatus> const& intfStatus);
  /// Makes a reactor and inserts it, without looking for one.
  Zon::Ptr<IntfStatusReactor> newIntfStatusReactor(Zon::Ptr<Interface::IntfStatus> const& intfStatus);
  Zon::Ptr<IntfStatusReactor> intfStatusReactorDel(Orvet::IntfId const& intfId);
  Zon::Ptr<IntfStatusReactor> intfStatusReactorDel(IntfStatusReactorIterator& at);
  void intfStatusReactorDelAll();
  void intfStatusReactorNotify(Orvet::IntfId const&) noexcept {}
  IntfStatusReactorIterator intfStatusReactorIterator();
  IntfStatusReactorIteratorConst intfStatusReactorIteratorConst() const;

  /// Reaction to a status that came, was replaced or went.
  void handleIntfStatus(Orvet::IntfId intfId);
  /// The sweep over all statuses.
  void handleIntfStatus();

 private:
  friend Zon::ReactorOf<AllIntfStatusDirSm>;
  static constexpr auto zonInputs() { return std::tuple(&AllIntfStatusDirSm::allIntfStatusDir_); }
  static constexpr auto zonChildren() { return std::tuple(&AllIntfStatusDirSm::intfStatusReactor_); }

  Zon::Ptr<ZonAllIntfStatusDir> allIntfStatusDir_;
  IntfStatusReactors intfStatusReactor_;
};

class AllIntfStatusDirSm::ZonAllIntfStatusDir final
  : public Zon::KeyedInput<AllIntfStatusDirSm, Interface::AllIntfStatusDir::Notifiee> {
 public:
  using KeyedInput::KeyedInput;
  void allIntfStatusDirSmIs(AllIntfStatusDirSm* owner) noexcept { zonOwnerIs(owner); }
  void onIntfStatus(Orvet::IntfId intfId) override;
  void onIntfStatus() override {}
};

}  // namespace VaroIntf
