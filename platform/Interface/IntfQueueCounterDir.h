#pragma once

/// \file
/// `Interface::IntfQueueCounterDir`: the queue counters of one interface within one slice.
///
/// Guarantees: those of owning collections (Zon/Collection.h); a counter is filed under its name.
///
/// Use
///
///     auto counters = Zon::newPtr<Interface::IntfQueueCounterDir>("Ethernet1");
///     counters->intfQueueCounterIs(Zon::newPtr<Interface::IntfQueueCounter>("drops"));

#include "Zon/Collection.h"
#include "Zon/Notifiee.h"
#include "platform/Interface/IntfQueueCounter.h"
#include "platform/Orvet/IntfId.h"

namespace Interface {

class IntfQueueCounterDir : public Zon::PlatformEntity<IntfQueueCounterDir>,
                            public Zon::HashMapLink<IntfQueueCounterDir> {
 public:
  class NotifieeConst;
  class Notifiee;

  using Counters = Zon::OwningCollection<IntfQueueCounterDir, IntfQueueCounter, Zon::Name>;
  using IntfQueueCounterIterator = Counters::Iterator;
  using IntfQueueCounterIteratorConst = Counters::IteratorConst;

  explicit IntfQueueCounterDir(Orvet::IntfId intfId);
  ~IntfQueueCounterDir() override;

  Zon::ZonType* fwkType() const override;
  static Zon::ZonType* _fwkType();
  static bool _fwkTypeRegistered();
  using GenericIf_ = Zon::TableGenericIf<IntfQueueCounterDir>;
  Zon::String8 attributeString(Zon::AttributeId id) const override;

  Orvet::IntfId const& intfId() const noexcept { return intfId_; }
  /// Its key in a slice: the interface.
  Orvet::IntfId const& fwkKey() const noexcept { return intfId_; }

  Zon::Ptr<IntfQueueCounter> intfQueueCounter(Zon::Name const& name);
  Zon::Ptr<IntfQueueCounter const> intfQueueCounter(Zon::Name const& name) const;
  /// Errors: range exception for null and for a counter that has another parent.
  virtual void intfQueueCounterIs(Zon::Ptr<IntfQueueCounter> const& counter);
  virtual Zon::Ptr<IntfQueueCounter> intfQueueCounterDel(Zon::Name name);
  Zon::Ptr<IntfQueueCounter> intfQueueCounterDel(IntfQueueCounterIterator& at);
  void intfQueueCounterDelAll();
  void intfQueueCounterNotify(Zon::Name const& name);
  void intfQueueCounterNotify();
  IntfQueueCounterIterator intfQueueCounterIterator();
  IntfQueueCounterIteratorConst intfQueueCounterIteratorConst() const;

 private:
  friend Zon::WatchedAccess;

  mutable Zon::WatcherList<NotifieeConst> zonNotifiees_;
  Orvet::IntfId const intfId_;
  Counters intfQueueCounter_;
};

class IntfQueueCounterDir::NotifieeConst : public Zon::CollectionNotifiee<IntfQueueCounterDir, Zon::Name> {
 public:
  virtual void onIntfQueueCounter(Zon::Name) {}
  virtual void onIntfQueueCounterzonImmediate() {}
  virtual void onIntfQueueCounter() {}

  static constexpr Zon::CollectionCallbacks<NotifieeConst, Zon::Name> zonCollection{
      259, &NotifieeConst::onIntfQueueCounter, &NotifieeConst::onIntfQueueCounterzonImmediate,
      &NotifieeConst::onIntfQueueCounter};
};

class IntfQueueCounterDir::Notifiee : public Zon::NotifieeOf<IntfQueueCounterDir> {};

}  // namespace Interface
