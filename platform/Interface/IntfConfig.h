#pragma once

/// \file
/// `Interface::IntfConfig`: one interface's configuration, as producers and the errdisable module write it.
///
/// Guarantees
///   A  A setter given the value already held does nothing; any other value is stored first and told once.
///   B  `adminEnabled()` is false exactly when the effective administrative state is `disabled`: the own state if set,
///      else the own state of the default configuration. One level only, so cycles of defaults cannot hang it.
///   C  A changed default configuration notifies nobody else: states derived from it are recomputed on request.
///
/// Use
///
///     auto config = Zon::newPtr<Interface::IntfConfig>("Ethernet1");
///     config->adminEnabledStateLocalIs(Interface::IntfEnabledState::disabled);

#include "Zon/Notifiee.h"
#include "platform/Interface/IntfEnabledState.h"
#include "platform/Orvet/IntfId.h"

namespace Interface {

class IntfConfig : public Zon::PlatformEntity<IntfConfig> {
 public:
  class NotifieeConst;
  class Notifiee;

  explicit IntfConfig(Orvet::IntfId intfId);
  ~IntfConfig() override;

  Zon::ZonType* fwkType() const override;
  static Zon::ZonType* _fwkType();
  static bool _fwkTypeRegistered();
  using GenericIf_ = Zon::TableGenericIf<IntfConfig>;
  Zon::String8 attributeString(Zon::AttributeId id) const override;

  Orvet::IntfId const& intfId() const noexcept { return intfId_; }
  virtual bool adminEnabled() const;
  /// The administrative state in effect: the own one if set, else the default configuration's own.
  IntfEnabledState adminEnabledStateEffective() const noexcept {
    if (adminEnabledStateLocal_ != IntfEnabledState::unset || !defaultConfig_) {
      return adminEnabledStateLocal_;
    }
    return defaultConfig_->adminEnabledStateLocal_;
  }

  Zon::Ptr<IntfConfig> const& defaultConfig() const noexcept { return defaultConfig_; }
  IntfEnabledState adminEnabledStateLocal() const noexcept { return adminEnabledStateLocal_; }
  IntfEnabledState enabledStateLocal() const noexcept { return enabledStateLocal_; }
  Zon::String8 const& enabledStateReason() const noexcept { return enabledStateReason_; }

  /// Null is legal: no default.
  virtual void defaultConfigIs(Zon::Ptr<IntfConfig> const& config);
  virtual void adminEnabledStateLocalIs(IntfEnabledState state);
  virtual void enabledStateLocalIs(IntfEnabledState state);
  virtual void enabledStateReasonIs(Zon::String8 reason);

 private:
  friend Zon::WatchedAccess;

  mutable Zon::WatcherList<NotifieeConst> zonNotifiees_;
  Orvet::IntfId const intfId_;
  Zon::Ptr<IntfConfig> defaultConfig_;
  IntfEnabledState adminEnabledStateLocal_ = IntfEnabledState::unset;
  IntfEnabledState enabledStateLocal_ = IntfEnabledState::unset;
  Zon::String8 enabledStateReason_;
};

class IntfConfig::NotifieeConst : public Zon::NotifieeConstOf<IntfConfig> {
 public:
  virtual void onDefaultConfig() {}
  virtual void onDescription() {}
  virtual void onLinkStatusLogging() {}
  virtual void onAdminEnabledStateLocal() {}
  virtual void onEnabledStateLocal() {}
  virtual void onEnabledStateReason() {}
  virtual void onLoadInterval() {}
  virtual void onRequestor(Zon::String8) {}
  virtual void onRequestorzonImmediate() {}
  virtual void onRequestor() {}
  virtual void onMtu() {}
};

class IntfConfig::Notifiee : public Zon::NotifieeOf<IntfConfig> {};

}  // namespace Interface
