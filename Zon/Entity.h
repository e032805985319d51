#pragma once

/// \file
/// `Zon::Entity`: a named object of the state database, placed under a parent.
///
/// Guarantees
///   A  The name is fixed for life.
///   B  The parent link is not counted: parent and child never keep each other alive through it. A dying entity clears
///      the link of every child that still points at it.
///   C  `parentIs(null)` leaves `parentAttrId()` as it was.
///
/// Use
///
///     child->parentAttrIdIs(258);
///     child->parentIs(this);
///     child->fullName();   // "agent/child"

#include "Zon/Ptr.h"
#include "Zon/PtrInterface.h"

namespace Zon {

class ZonAttr;

class Entity : public PtrInterface {
 public:
  class NotifieeConst;

  static constexpr AttributeId nameId = 130;
  static constexpr AttributeId parentId = 131;

  explicit Entity(Name name) noexcept : name_(std::move(name)) {}
  ~Entity() override;

  ZonType* fwkType() const override;
  static ZonType* _fwkType();
  using GenericIf_ = TableGenericIf<Entity>;

  // The virtual operations every entity adds, in their fixed slot order.

  virtual Name name() const;
  virtual Ptr<Entity const> parent() const;
  virtual Ptr<Entity> parent();
  /// Places the entity under another parent; null takes it out. The new parent's children must not include an
  /// ancestor of it.
  virtual void parentIs(Ptr<Entity> const& parent);
  /// The parent's attribute that holds this entity; null without parent or when the parent has no such attribute.
  virtual Ptr<ZonAttr> parentAttr() const;
  virtual AttributeId parentAttrId() const;
  virtual void parentAttrIdIs(AttributeId id);
  /// "/" and the full name.
  virtual String8 uriPath() const;
  /// The names from the root down, joined by "/".
  virtual String8 fullName() const;
  /// The name of an attribute id, "unknown" for one the type does not have.
  virtual String8 attributeString(AttributeId id) const;

  bool zonHasParent() const noexcept { return parent_ != nullptr; }
  bool zonIsChildOf(Entity const* entity) const noexcept { return parent_ == entity; }
  /// Places the entity without a word; the next `parentIs` of the same parent tells.
  void zonMoveUnder(Entity* parent) noexcept;
  /// Whether a collection lists it as its own, whatever its parent is.
  bool zonIsFiled() const noexcept { return isFiled_; }
  void zonIsFiledIs(bool isFiled) noexcept { isFiled_ = isFiled; }

 protected:
  /// Whether `parentIs` of that parent changes something, or tells of a change made before.
  bool zonHasParentToTell(Entity const* parent) const noexcept { return parent_ != parent || parentUntold_; }

 private:
  void linkTo(Entity* parent) noexcept;

  Name const name_;
  AttributeId parentAttrId_ = 0;
  bool parentUntold_ = false;
  bool isFiled_ = false;
  // The parent and its doubly linked list of children, none of it counted.
  Entity* parent_ = nullptr;
  Entity* firstChild_ = nullptr;
  Entity* previousSibling_ = nullptr;
  Entity* nextSibling_ = nullptr;
};

/// What every watcher of an entity hears; each entity type adds the callbacks of its own attributes.
class Entity::NotifieeConst : public PtrInterface::NotifieeConst {
 public:
  virtual void onParent() {}
  virtual void onVersion() {}
  virtual void onIsNondestructing() {}
};

}  // namespace Zon
