#include "Zon/Collection.h"

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
  auto const move = [&]() noexcept {
    added->zonMoveUnder(&owner);
    if (replaced) {
      replaced->zonMoveUnder(nullptr);
    }
  };
  try {
    added->parentAttrIdIs(id);
  } catch (...) {
    // Filed is filed: the override decides about neither place nor parent.
    added->Entity::parentAttrIdIs(id);
    move();
    throw;
  }
  move();
  if (replaced) {
    replaced->parentIs(nullptr);
  }
  // A watcher of the replaced one's parent may have taken the new one out again.
  if (added->zonIsChildOf(&owner)) {
    added->parentIs(&owner);
  }
}

void release(Entity& removed) {
  removed.zonMoveUnder(nullptr);
  removed.parentIs(nullptr);
}

}  // namespace Zon
