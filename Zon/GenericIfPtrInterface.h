#pragma once

/// \file
/// The reflective interfaces of objects. Include Zon/GenericIf.h.
///
/// Guarantees: those of Zon/GenericIf.h. Every class X with a type node has `X::GenericIf_`, a `TableGenericIf<X>`: made
/// of a `Ptr<X>` it reads and modifies, made of a `Ptr<X const>` it only reads. Made of null it answers names and ids;
/// operations raise the range exception "null ValidPtr".
///
/// Use
///
///     auto const face = Zon::newPtr<Port::GenericIf_>(port);
///     face->attributeOpByName("active", Zon::GenericIf::set, {}, value);

#include <concepts>
#include <type_traits>

#include "Zon/Entity.h"
#include "Zon/GenericIf.h"

namespace Zon {

class AttrSpec;

/// The interface of any object: serves the attributes of a type node and of its bases.
class GenericIfPtrInterface : public GenericIf {
 public:
  /// Without attributes of its own: every operation is refused.
  explicit GenericIfPtrInterface(Ptr<PtrInterface> const& object);
  explicit GenericIfPtrInterface(Ptr<PtrInterface const> const& object);
  ~GenericIfPtrInterface() override;

  bool isConst() const override { return isConst_; }
  /// The object, whatever its constness; null allowed.
  Ptr<PtrInterface const> const& zonObject() const noexcept { return object_; }
  ZonType const* zonType() const noexcept { return type_; }

  Ptr<GenericIf> attributeOp(AttributeOp const& op, Ptr<GenericIf const> const& key = {},
                             Ptr<GenericIf> const& value = {}) override;
  Ptr<GenericIf> attributeOpByName(String8 name, unsigned opId, Ptr<GenericIf const> const& key = {},
                                   Ptr<GenericIf> const& value = {}) override;
  String8 attributeString(AttributeId id) const override;
  AttributeId attributeId(String8 name) const override;
  Ptr<GenericIf> attributeIterator(AttributeId id) override;
  Ptr<GenericIf> attributeIteratorConst(AttributeId id) const override;
  Ptr<GenericIf> attributeIteratorKey(AttributeId id, Ptr<GenericIf const> const& key) override;

 protected:
  GenericIfPtrInterface(ZonType const* type, Ptr<PtrInterface const> object, bool isConst) noexcept
    : type_(type), object_(std::move(object)), isConst_(isConst) {}

 private:
  Ptr<GenericIf> perform(AttrSpec const* spec, String8 const& name, unsigned opId, Ptr<GenericIf const> const& key,
                         Ptr<GenericIf> const& value);
  Ptr<GenericIf> iterator(AttributeId id, bool isConst, GenericIf const* fromKey) const;

  ZonType const* const type_;
  Ptr<PtrInterface const> const object_;
  bool const isConst_;
};

/// The interface of any entity: adds `isNondestructing`.
class GenericIfEntity : public GenericIfPtrInterface {
 public:
  explicit GenericIfEntity(Ptr<Entity> const& entity);
  explicit GenericIfEntity(Ptr<Entity const> const& entity);
  ~GenericIfEntity() override;

 protected:
  using GenericIfPtrInterface::GenericIfPtrInterface;
};

/// The interface of class X, derived from that of entities or of other objects.
template <class X>
class TableGenericIf final
  : public std::conditional_t<std::derived_from<X, Entity>, GenericIfEntity, GenericIfPtrInterface> {
  using Base = std::conditional_t<std::derived_from<X, Entity>, GenericIfEntity, GenericIfPtrInterface>;

 public:
  explicit TableGenericIf(Ptr<X> const& object) : Base(X::_fwkType(), object, false) {}
  explicit TableGenericIf(Ptr<X const> const& object) : Base(X::_fwkType(), object, true) {}
  template <std::derived_from<X> Derived>
  explicit TableGenericIf(Ptr<Derived> const& object) : Base(X::_fwkType(), object, std::is_const_v<Derived>) {}
};

}  // namespace Zon
