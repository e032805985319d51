#pragma once

/// \file
/// `Interface::AllIntfConfigDir`: the configurations of all interfaces.
///
/// Guarantees: those of pointer collections (Zon/Collection.h). The same entity may stand in several directories; its
/// parent is left alone.
///
/// Use
///
///     auto directory = Zon::newPtr<Interface::AllIntfConfigDir>("config");
///     directory->intfConfigIs(Zon::newPtr<Interface::IntfConfig>("Ethernet1"));

#include "Zon/Collection.h"
#include "Zon/Notifiee.h"
#include "platform/Interface/IntfConfig.h"
#include "platform/Orvet/IntfId.h"

namespace Interface {

class AllIntfConfigDir : public Zon::PlatformEntity<AllIntfConfigDir> {
 public:
  class NotifieeConst;
  class Notifiee;
  class ZonIntfConfig final : public Zon::PointerEntry<ZonIntfConfig, Orvet::IntfId, IntfConfig> {
   public:
    using PointerEntry::PointerEntry;
  };

  using IntfConfigIterator = Zon::EntryIterator<ZonIntfConfig, false>;
  using IntfConfigIteratorConst = Zon::EntryIterator<ZonIntfConfig, true>;

  explicit AllIntfConfigDir(Zon::Name name);
  ~AllIntfConfigDir() override;

  Zon::ZonType* fwkType() const override;
  static Zon::ZonType* _fwkType();
  static bool _fwkTypeRegistered();
  using GenericIf_ = Zon::TableGenericIf<AllIntfConfigDir>;
  Zon::String8 attributeString(Zon::AttributeId id) const override;

  Zon::Ptr<IntfConfig> intfConfig(Orvet::IntfId const& intfId);
  Zon::Ptr<IntfConfig const> intfConfig(Orvet::IntfId const& intfId) const;
  /// Files an entity under its own interface, replacing another one.
  /// Errors: range exception for null.
  virtual void intfConfigIs(Zon::Ptr<IntfConfig> const& intfConfig);
  virtual Zon::Ptr<IntfConfig> intfConfigDel(Orvet::IntfId intfId);
  Zon::Ptr<IntfConfig> intfConfigDel(IntfConfigIterator& at);
  void intfConfigDelAll();
  void intfConfigNotify(Orvet::IntfId const& intfId);
  void intfConfigNotify();
  IntfConfigIterator intfConfigIterator();
  IntfConfigIteratorConst intfConfigIteratorConst() const;

 private:
  friend Zon::WatchedAccess;

  mutable Zon::WatcherList<NotifieeConst> zonNotifiees_;
  Zon::PointerCollection<AllIntfConfigDir, ZonIntfConfig> intfConfig_;
};

class AllIntfConfigDir::NotifieeConst : public Zon::CollectionNotifiee<AllIntfConfigDir, Orvet::IntfId> {
 public:
  virtual void onIntfConfig(Orvet::IntfId) {}
  virtual void onIntfConfigzonImmediate() {}
  virtual void onIntfConfig() {}

  static constexpr Zon::CollectionCallbacks<NotifieeConst, Orvet::IntfId> zonCollection{
      258, &NotifieeConst::onIntfConfig, &NotifieeConst::onIntfConfigzonImmediate, &NotifieeConst::onIntfConfig};
};

class AllIntfConfigDir::Notifiee : public Zon::NotifieeOf<AllIntfConfigDir> {};

}  // namespace Interface
