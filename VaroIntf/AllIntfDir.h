#pragma once

/// \file
/// `VaroIntf::AllIntfDir`: the aggregate directory in which producers write all interface configurations and statuses.
///
/// Guarantees
///   A  A directory starts life with both children, under its own name.
///   B  Replacing or removing a child tells every watcher once, oldest registration first; giving the name a child
///      already has does nothing.
///   C  The delivery is that of Zon/Notifier.h, to every registered watcher: switched off or zombie does not matter.
///
/// Use
///
///     auto directory = agent->allIntfDir();
///     directory->config()->intfConfigIs(config);

#include "Zon/Notifiee.h"
#include "platform/Interface/AllIntfConfigDir.h"
#include "platform/Interface/AllIntfStatusDir.h"

namespace VaroIntf {

class AllIntfDir : public Zon::Watched<AllIntfDir> {
 public:
  class NotifieeConst;
  class Notifiee;

  static constexpr Zon::Deliver zonDelivery = Zon::Deliver::always;

  explicit AllIntfDir(Zon::Name name);
  ~AllIntfDir() override;

  Zon::ZonType* fwkType() const override;
  static Zon::ZonType* _fwkType();
  static bool _fwkTypeRegistered();
  using GenericIf_ = Zon::TableGenericIf<AllIntfDir>;
  Zon::String8 attributeString(Zon::AttributeId id) const override;

  Zon::Ptr<Interface::AllIntfConfigDir> config() const noexcept { return config_; }
  Zon::Ptr<Interface::AllIntfConfigDir> configIs(Zon::Name name);
  /// Makes a directory under this one without storing it.
  Zon::Ptr<Interface::AllIntfConfigDir> newConfig(Zon::Name name);
  Zon::Ptr<Interface::AllIntfConfigDir> configDel();

  Zon::Ptr<Interface::AllIntfStatusDir> status() const noexcept { return status_; }
  Zon::Ptr<Interface::AllIntfStatusDir> statusIs(Zon::Name name);
  Zon::Ptr<Interface::AllIntfStatusDir> newStatus(Zon::Name name);
  Zon::Ptr<Interface::AllIntfStatusDir> statusDel();

 private:
  friend Zon::WatchedAccess;

  template <Zon::AttributeId id, auto callback, class Child, class Make>
  Zon::Ptr<Child> childIs(Zon::Ptr<Child>& child, Zon::Name name, Make const& make);
  template <Zon::AttributeId id, auto callback, class Child>
  Zon::Ptr<Child> childDel(Zon::Ptr<Child>& child);

  mutable Zon::WatcherList<NotifieeConst> zonNotifiees_;
  Zon::Ptr<Interface::AllIntfConfigDir> config_;
  Zon::Ptr<Interface::AllIntfStatusDir> status_;
};

class AllIntfDir::NotifieeConst : public Zon::NotifieeConstOf<AllIntfDir> {
 public:
  virtual void onConfig() {}
  virtual void onStatus() {}
};

class AllIntfDir::Notifiee : public Zon::NotifieeOf<AllIntfDir> {};

}  // namespace VaroIntf
