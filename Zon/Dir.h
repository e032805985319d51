#pragma once

/// \file
/// `Zon::Dir`: the generic directory. It owns named entities; those that are directories themselves are its
/// subdirectories.
///
/// Guarantees: those of owning collections (Zon/Collection.h), and
///   A  `entityPtr` and `entityRef` find every entry, subdirectories included; `SubdirIterator` meets exactly the
///      entries that are directories, in the order of their map.
///
/// Use
///
///     dir->entityPtrIs(Zon::newPtr<Zon::Dir>("slices"));
///     for (auto sub = dir->subdirIterator(); sub; sub.advance()) { sub->name(); }

#include "Zon/Collection.h"
#include "Zon/Notifiee.h"

namespace Zon {

class Dir : public PlatformEntity<Dir>, public HashMapLink<Dir> {
 public:
  class NotifieeConst;
  class Notifiee;

  class ZonEntityPtr final : public PointerEntry<ZonEntityPtr, Name, Entity> {
   public:
    using PointerEntry::PointerEntry;
  };

  using EntityPtrIterator = EntryIterator<ZonEntityPtr, false>;
  using EntityPtrIteratorConst = EntryIterator<ZonEntityPtr, true>;
  using SubdirIterator = HashMap<Dir, Name>::Iterator;
  using SubdirIteratorConst = HashMap<Dir, Name>::IteratorConst;

  explicit Dir(Name name);
  ~Dir() override;

  ZonType* fwkType() const override;
  static ZonType* _fwkType();
  using GenericIf_ = TableGenericIf<Dir>;
  String8 attributeString(AttributeId id) const override;

  /// Its key among its siblings: the name.
  Name fwkKey() const { return name(); }

  Ptr<Entity> entityPtr(Name const& name);
  Ptr<Entity const> entityPtr(Name const& name) const;
  Ptr<Entity> entityRef(Name const& name) { return entityPtr(name); }
  Ptr<Entity const> entityRef(Name const& name) const { return entityPtr(name); }

  /// Files an entity under its name, replacing another one.
  /// Errors: range exception for null and for an entity that has another parent or is listed elsewhere.
  virtual void entityPtrIs(Ptr<Entity> const& entity);
  virtual Ptr<Entity> entityPtrDel(Name name);
  Ptr<Entity> entityPtrDel(EntityPtrIterator& at);
  void entityPtrDelAll();
  void entityPtrNotify(Name const& name);
  void entityPtrNotify();
  EntityPtrIterator entityPtrIterator();
  EntityPtrIteratorConst entityPtrIteratorConst() const;
  SubdirIterator subdirIterator();
  SubdirIteratorConst subdirIteratorConst() const;

 private:
  friend WatchedAccess;

  void leave(Entity& removed);

  mutable WatcherList<NotifieeConst> zonNotifiees_;
  PointerCollection<Dir, ZonEntityPtr> entries_;
  // The entries that are directories, once more: the walk over slices meets nothing else.
  HashMap<Dir, Name> subdirs_;
};

class Dir::NotifieeConst : public CollectionNotifiee<Dir, Name> {
 public:
  virtual void onEntityPtr(Name) {}
  virtual void onEntityPtrzonImmediate() {}
  virtual void onEntityPtr() {}

  static constexpr CollectionCallbacks<NotifieeConst, Name> zonCollection{
      266, &NotifieeConst::onEntityPtr, &NotifieeConst::onEntityPtrzonImmediate, &NotifieeConst::onEntityPtr};
};

class Dir::Notifiee : public NotifieeOf<Dir> {};

}  // namespace Zon
