#include "Zon/Collection.h"

#include <string>

#include "Zon/FirstThrown.h"

namespace Zon {

namespace {

[[noreturn]] void refuseMemberOf(std::string const& where) {
  throwRangeException(String8("already a member of " + where));
}

}  // namespace

void checkAdoptable(Entity const& owner, Ptr<Entity> const& member) {
  if (!member) {
    throwRangeException("null ValidPtr");
  }
  if (member->zonHasParent() && !member->zonIsChildOf(&owner)) {
    refuseMemberOf(member->parent()->fullName().stdString());
  }
  for (Ptr<Entity const> ancestor(&owner); ancestor; ancestor = ancestor->parent()) {
    if (ancestor == member) {
      throwRangeException(String8("cannot contain itself: " + member->fullName().stdString()));
    }
  }
}

void checkNotFiled(Entity const& member) {
  if (member.zonIsFiled()) {
    Ptr<Entity const> const parent = member.parent();
    refuseMemberOf(parent ? parent->fullName().stdString() : "another collection");
  }
}

void release(Entity& owner, Entity& removed) {
  removed.zonIsFiledIs(false);
  // Somebody may have given it another parent by hand.
  if (removed.zonIsChildOf(&owner)) {
    removed.zonMoveUnder(nullptr);
    removed.parentIs(nullptr);
  }
}

void adopt(Entity& owner, AttributeId id, Ptr<Entity> const& replaced, Ptr<Entity> const& added) {
  added->zonIsFiledIs(true);
  FirstThrown thrown;
  thrown.attempt([&] { added->parentAttrIdIs(id); });
  if (thrown) {
    // Filed is filed: the override decides about neither place nor parent.
    added->Entity::parentAttrIdIs(id);
  }
  // The override may have taken it out again, and given it away.
  if (added->zonIsFiled() && !added->zonHasParent()) {
    added->zonMoveUnder(&owner);
  }
  if (replaced) {
    thrown.attempt([&] { release(owner, *replaced); });
  }
  // A watcher of the replaced one's parent may have taken the new one out again.
  if (added->zonIsChildOf(&owner)) {
    thrown.attempt([&] { added->parentIs(&owner); });
  }
  thrown.rethrow();
}

}  // namespace Zon
