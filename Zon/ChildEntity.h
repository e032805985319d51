#pragma once

/// \file
/// A named child entity in an attribute of its parent: the steps that making and removing one share.

#include <utility>

#include "Zon/Entity.h"
#include "Zon/ValidPtr.h"

namespace Zon {

/// Makes a child of that name under `parent`, filed under the attribute `id`.
template <class Child>
Ptr<Child> newChild(Entity& parent, AttributeId id, Name name) {
  Ptr<Child> const child = validPtr(newPtr<Child>(std::move(name)));
  child->parentAttrIdIs(id);
  child->parentIs(&parent);
  return child;
}

/// Takes the child out of its attribute and from under its parent; null when there is none.
template <class Child>
Ptr<Child> takeChild(Ptr<Child>& attribute) {
  Ptr<Child> removed = std::exchange(attribute, nullptr);
  if (removed) {
    removed->parentIs(nullptr);
  }
  return removed;
}

}  // namespace Zon
