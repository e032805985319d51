#include "Zon/Entity.h"

#include <string>
#include <vector>

#include "Zon/ZonAttr.h"
#include "Zon/ZonType.h"

namespace Zon {

Entity::~Entity() {
  linkTo(nullptr);
  while (firstChild_ != nullptr) {
    firstChild_->linkTo(nullptr);
  }
}

Name Entity::name() const { return name_; }

Ptr<Entity const> Entity::parent() const { return parent_; }

Ptr<Entity> Entity::parent() { return parent_; }

void Entity::parentIs(Ptr<Entity> const& parent) {
  zonMoveUnder(parent.ptr());
  parentUntold_ = false;
}

void Entity::zonMoveUnder(Entity* parent) noexcept {
  if (parent != parent_) {
    linkTo(parent);
    parentUntold_ = true;
  }
}

void Entity::linkTo(Entity* parent) noexcept {
  if (parent_ != nullptr) {
    (previousSibling_ != nullptr ? previousSibling_->nextSibling_ : parent_->firstChild_) = nextSibling_;
    if (nextSibling_ != nullptr) {
      nextSibling_->previousSibling_ = previousSibling_;
    }
    previousSibling_ = nullptr;
  }
  parent_ = parent;
  if (parent != nullptr) {
    nextSibling_ = parent->firstChild_;
    if (nextSibling_ != nullptr) {
      nextSibling_->previousSibling_ = this;
    }
    parent->firstChild_ = this;
  }
}

Ptr<ZonAttr> Entity::parentAttr() const {
  if (parent_ == nullptr) {
    return {};
  }
  // Of the bases too: a slice holds its entries under the attribute of directories.
  for (Ptr<ZonType const> type = parent_->fwkType(); type; type = type->baseType()) {
    for (unsigned i = 0; i != type->attributeQs(); ++i) {
      Ptr<ZonAttr> const attribute = type->attributeQ(i);
      if (attribute->attributeId() == parentAttrId_) {
        return attribute;
      }
    }
  }
  return {};
}

AttributeId Entity::parentAttrId() const { return parentAttrId_; }

void Entity::parentAttrIdIs(AttributeId id) { parentAttrId_ = id; }

String8 Entity::uriPath() const { return String8("/" + fullName().stdString()); }

String8 Entity::fullName() const {
  std::vector<Entity const*> path;
  for (Entity const* entity = this; entity != nullptr; entity = entity->parent_) {
    path.push_back(entity);
  }
  std::string text = path.back()->name().stdString();
  for (auto entity = path.rbegin() + 1; entity != path.rend(); ++entity) {
    text += '/';
    text += (*entity)->name().stdString();
  }
  return String8(text);
}

String8 Entity::attributeString(AttributeId id) const {
  switch (id) {
  case zeroReferencesId:
    return "zeroReferences";
  case isNondestructingId:
    return "isNondestructing";
  case nameId:
    return "name";
  case parentId:
    return "parent";
  default:
    return "unknown";
  }
}

}  // namespace Zon
