#pragma once

/// \file
/// `VaroErrdisable::Root`, the entity a host creates to run errdisable enforcement, and the module's factories.
///
/// Guarantees
///   A  A root is empty or owns exactly one active `AllIntfSM`.
///   B  `allIntfSMIs` with the inputs the machine already has only refreshes its activity; with others it replaces the
///      machine, without telling the old one anything.
///   C  `allIntfSMDel` and the destructor silence the machine before they release it.
///
/// Use
///
///     auto root = VaroErrdisable::rootFactory("errdisable");
///     root->allIntfSMIs(activity, intfConfigDir, intfStatusDir, errdisableStatus);

#include "VaroErrdisable/AllIntfSM.h"
#include "VaroErrdisable/VaroErrdisableIntf.h"
#include "Zon/Entity.h"

namespace VaroErrdisable {

class Root : public Zon::Entity {
 public:
  explicit Root(Zon::Name name);
  ~Root() override;

  void isNondestructingIs(bool nondestructing) override;
  Zon::ZonType* fwkType() const override;
  static Zon::ZonType* _fwkType();
  static bool _fwkTypeRegistered();
  using GenericIf_ = Zon::TableGenericIf<Root>;
  Zon::String8 attributeString(Zon::AttributeId id) const override;

  Zon::Ptr<AllIntfSM> allIntfSM() const noexcept { return allIntfSM_; }
  Zon::Ptr<AllIntfSM> allIntfSMIs(Zon::Ptr<Zon::ActivityConfig> const& activity,
                                  Zon::Ptr<Interface::AllIntfConfigDir> const& intfConfigDir,
                                  Zon::Ptr<Interface::AllIntfStatusDir const> const& intfStatusDir,
                                  Zon::Ptr<Errdisable::Status> const& errdisableStatus);
  /// Makes a machine without storing it.
  Zon::Ptr<AllIntfSM> newAllIntfSM(Zon::Ptr<Zon::ActivityConfig> const& activity,
                                   Zon::Ptr<Interface::AllIntfConfigDir> const& intfConfigDir,
                                   Zon::Ptr<Interface::AllIntfStatusDir const> const& intfStatusDir,
                                   Zon::Ptr<Errdisable::Status> const& errdisableStatus);
  /// The removed machine, silenced; null when there was none.
  Zon::Ptr<AllIntfSM> allIntfSMDel();

 private:
  Zon::Ptr<AllIntfSM> allIntfSM_;
};

/// Creates an empty root.
Zon::Ptr<Root> rootFactory(Zon::Name name);

/// Creates the machine of one interface, outside any `AllIntfSM`: initialized and switched on, not yet evaluated.
Zon::Ptr<IntfSM> intfSMFactory(Zon::Ptr<Zon::ActivityConfig> const& activity, Orvet::IntfId intfId,
                               Zon::Ptr<Errdisable::Status> const& errdisableStatus,
                               Zon::Ptr<Interface::IntfConfig> const& intfConfig);

}  // namespace VaroErrdisable
