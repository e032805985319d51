#include "Zon/Dir.h"

#include "Zon/AttrTable.h"

namespace Zon {

Dir::Dir(Name name) : PlatformEntity(std::move(name)) {}

Dir::~Dir() { unfile(entries_); }

Ptr<Entity> Dir::entityPtr(Name const& name) { return entries_.ptr(name); }

Ptr<Entity const> Dir::entityPtr(Name const& name) const { return entries_.ptr(name); }

void Dir::entityPtrIs(Ptr<Entity> const& entity) {
  checkAdoptable(*this, entity);
  Ptr<Dir> const self(this);
  Ptr<Entity> const added(entity);  // NOLINT(performance-unnecessary-copy-initialization): callbacks may change it
  Name const key = added->name();
  Ptr<Entity> exchanged = added;
  Ptr<Entity> const replaced = entries_.ptr(key);
  if (replaced != added) {
    checkNotFiled(*added);
  }
  if (!entries_.store(key, exchanged)) {
    return;
  }
  if (ptrCast<Dir>(replaced)) {
    subdirs_.memberDel(key);
  }
  if (Ptr<Dir> const subdir = ptrCast<Dir>(added)) {
    subdirs_.newMember(subdir, HashMap<Dir, Name>::hashOf(key));
  }
  entries_.notifyAfter(*this, key, [&] { adopt(*this, NotifieeConst::zonCollection.id, replaced, added); });
}

Ptr<Entity> Dir::entityPtrDel(Name name) {
  return entries_.del(*this, name, [this](ZonEntityPtr& entry) { leave(*entry.ptr()); });
}

Ptr<Entity> Dir::entityPtrDel(EntityPtrIterator& at) {
  return entries_.del(*this, at, [this](ZonEntityPtr& entry) { leave(*entry.ptr()); });
}

void Dir::entityPtrDelAll() {
  entries_.delAll(*this, [this](ZonEntityPtr& entry) { leave(*entry.ptr()); });
}

void Dir::leave(Entity& removed) {
  if (auto* const subdir = dynamic_cast<Dir*>(&removed)) {
    subdirs_.memberDel(subdir->fwkKey());
  }
  release(*this, removed);
}

void Dir::entityPtrNotify(Name const& name) { entries_.notify(*this, name); }
void Dir::entityPtrNotify() { entries_.notify(*this); }
Dir::EntityPtrIterator Dir::entityPtrIterator() { return entries_.iterator(); }
Dir::EntityPtrIteratorConst Dir::entityPtrIteratorConst() const { return entries_.iteratorConst(); }
Dir::SubdirIterator Dir::subdirIterator() { return SubdirIterator(subdirs_); }
Dir::SubdirIteratorConst Dir::subdirIteratorConst() const { return SubdirIteratorConst(subdirs_); }

}  // namespace Zon
