#pragma once

/// \file
/// `Interface::IntfQueueCounter`: one named queue counter of an interface.
///
/// Guarantees: only its presence under its name matters; it has no value of its own.
///
/// Use
///
///     counters->intfQueueCounterIs(Zon::newPtr<Interface::IntfQueueCounter>("drops"));

#include "Zon/HashMap.h"
#include "Zon/Notifiee.h"

namespace Interface {

class IntfQueueCounter : public Zon::PlatformEntity<IntfQueueCounter>, public Zon::HashMapLink<IntfQueueCounter> {
 public:
  class NotifieeConst;
  class Notifiee;

  explicit IntfQueueCounter(Zon::Name name);
  ~IntfQueueCounter() override;

  Zon::ZonType* fwkType() const override;
  static Zon::ZonType* _fwkType();
  static bool _fwkTypeRegistered();
  using GenericIf_ = Zon::TableGenericIf<IntfQueueCounter>;
  Zon::String8 attributeString(Zon::AttributeId id) const override;

  /// Its key in the interface's counters: the name.
  Zon::Name fwkKey() const { return name(); }

 private:
  friend Zon::WatchedAccess;

  mutable Zon::WatcherList<NotifieeConst> zonNotifiees_;
};

class IntfQueueCounter::NotifieeConst : public Zon::NotifieeConstOf<IntfQueueCounter> {};

class IntfQueueCounter::Notifiee : public Zon::NotifieeOf<IntfQueueCounter> {};

}  // namespace Interface
