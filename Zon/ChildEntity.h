#pragma once

/// \file
/// A named child entity in an attribute of its parent: the steps that making and removing one share.
///
/// Guarantees
///   A  A child has its attribute id before its parent hears of it.
///   B  A child that is taken out has left its attribute before anybody hears that it lost its parent.
///
/// Use
///
///     ports_ = Zon::newChild<PortDir>(*this, 258, name);
///     Zon::Ptr<PortDir> const removed = Zon::takeChild(ports_);

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
