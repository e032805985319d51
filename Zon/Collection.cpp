#include "Zon/Collection.h"

#include "Zon/FirstThrown.h"

namespace Zon {

void checkAdoptable(Entity const& owner, Ptr<Entity> const& member) {
  if (!member) {
    throwRangeException("null ValidPtr");
  }
  if (member->zonHasParent() && !member->zonIsChildOf(&owner)) {
    throwRangeException(String8("already a member of " + member->parent()->fullName().stdString()));
  }
  for (Ptr<Entity const> ancestor(&owner); ancestor; ancestor = ancestor->parent()) {
    if (ancestor == member) {
      throwRangeException(String8("cannot contain itself: " + member->fullName().stdString()));
    }
  }
}

void adopt(Entity& owner, AttributeId id, Ptr<Entity> const& replaced, Ptr<Entity> const& added) {
  FirstThrown thrown;
  thrown.attempt([&] { added->parentAttrIdIs(id); });
  if (thrown) {
    // Filed is filed: the override decides about neither place nor parent.
    added->Entity::parentAttrIdIs(id);
  }
  added->zonMoveUnder(&owner);
  if (replaced) {
    replaced->zonMoveUnder(nullptr);
    thrown.attempt([&] { replaced->parentIs(nullptr); });
  }
  // A watcher of the replaced one's parent may have taken the new one out again.
  if (added->zonIsChildOf(&owner)) {
    thrown.attempt([&] { added->parentIs(&owner); });
  }
  thrown.rethrow();
}

void release(Entity& removed) {
  removed.zonMoveUnder(nullptr);
  removed.parentIs(nullptr);
}

}  // namespace Zon
