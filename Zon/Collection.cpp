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

void adopt(Entity& owner, AttributeId id, Entity& member) {
  member.parentAttrIdIs(id);
  member.parentIs(&owner);
}

}  // namespace Zon
