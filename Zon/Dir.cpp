#include "Zon/Dir.h"

#include "Zon/AttrTable.h"

namespace Zon {

Dir::Dir(Name name) : PlatformEntity(std::move(name)) {}

Dir::~Dir() = default;

Ptr<Entity> Dir::entityPtr(Name const& name) { return entries_.ptr(name); }

Ptr<Entity const> Dir::entityPtr(Name const& name) const { return entries_.ptr(name); }

void Dir::entityPtrIs(Ptr<Entity> const& entity) {
  checkAdoptable(*this, entity);
  Ptr<Dir> const self(this);
  Ptr<Entity> const added(entity);  // NOLINT(performance-unnecessary-copy-initialization): callbacks may change it
  Name const key = added->name();
  Ptr<Entity> exchanged = added;
  Ptr<Entity> const old = entries_.ptr(key);
  if (!entries_.store(key, exchanged)) {
    return;
  }
  if (ptrCast<Dir>(old)) {
    subdirs_.memberDel(key);
  }
  if (Ptr<Dir> const subdir = ptrCast<Dir>(added)) {
    subdirs_.newMember(subdir, HashMap<Dir, Name>::hashOf(key));
  }
  if (old) {
    old->parentIs(nullptr);
  }
  // A watcher of the old entry's parent may have taken the new one out again.
  if (entries_.ptr(key) == added) {
    adopt(*this, NotifieeConst::zonCollection.id, *added);
  }
  entries_.notify(*this, key);
}

Ptr<Entity> Dir::entityPtrDel(Name name) { return tellRemoved(entries_.take(name)); }

Ptr<Entity> Dir::entityPtrDel(EntityPtrIterator& at) { return tellRemoved(entries_.take(at)); }

Ptr<Entity> Dir::tellRemoved(Ptr<ZonEntityPtr> const& entry) {
  if (!entry) {
    return {};
  }
  Ptr<Dir> const self(this);
  release(*entry->ptr());
  entries_.notify(*this, entry->fwkKey());
  return entry->ptr();
}

void Dir::release(Entity& entity) {
  if (auto* const subdir = dynamic_cast<Dir*>(&entity)) {
    subdirs_.memberDel(subdir->fwkKey());
  }
  entity.parentIs(nullptr);
}

void Dir::entityPtrDelAll() {
  Ptr<Dir> const self(this);
  for (EntityPtrIterator entry = entityPtrIterator(); entry; entry.advance()) {
    entityPtrDel(entry);
  }
}

void Dir::entityPtrNotify(Name const& name) { entries_.notify(*this, name); }
void Dir::entityPtrNotify() { entries_.notify(*this); }
Dir::EntityPtrIterator Dir::entityPtrIterator() { return entries_.iterator(); }
Dir::EntityPtrIteratorConst Dir::entityPtrIteratorConst() const { return entries_.iteratorConst(); }
Dir::SubdirIterator Dir::subdirIterator() { return SubdirIterator(subdirs_); }
Dir::SubdirIteratorConst Dir::subdirIteratorConst() const { return SubdirIteratorConst(subdirs_); }

}  // namespace Zon
