#pragma once

/// \file
/// Values and references as reflective interfaces. Include Zon/GenericIf.h.
///
/// Guarantees: a value never changes; a reference keeps its object alive and passes operations on to it, modifying ones
/// only when it refers to a mutable object.
///
/// Use
///
///     auto const name = Zon::newPtr<Zon::GenericIfValue<Zon::String8>>("Ethernet1");
///     auto const port = Zon::newPtr<Zon::GenericIfRef<Port>>(object);

#include <type_traits>
#include <utility>

#include "Zon/GenericIf.h"

namespace Zon {

/// A value: `bool`, `std::int32_t`, `std::uint32_t`, `Zon::String8`, or a value type of the platform.
template <class T>
class GenericIfValue : public GenericIf {
 public:
  explicit GenericIfValue(T value) noexcept(std::is_nothrow_move_constructible_v<T>) : value_(std::move(value)) {}

  T const& value() const noexcept { return value_; }

 private:
  T const value_;
};

/// What references of all types share. A reference may hold null; operations on its attributes go to the interface of
/// the object it holds.
class GenericIfAnyRef : public GenericIf {
 public:
  ~GenericIfAnyRef() override;

  bool isConst() const override { return isConst_; }
  Ptr<PtrInterface const> const& zonObject() const noexcept { return object_; }
  /// The type the reference was declared with, also of a null one.
  ZonType const& zonDeclaredType() const noexcept { return *declared_; }

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
  GenericIfAnyRef(ZonType const* declared, Ptr<PtrInterface const> object, bool isConst) noexcept
    : declared_(declared), object_(std::move(object)), isConst_(isConst) {}

 private:
  Ptr<GenericIf> target() const;

  ZonType const* const declared_;
  Ptr<PtrInterface const> const object_;
  bool const isConst_;
};

/// A reference to a T, or to a const T.
template <class T>
class GenericIfRef : public GenericIfAnyRef {
 public:
  explicit GenericIfRef(Ptr<T> const& object)
    : GenericIfAnyRef(std::remove_const_t<T>::_fwkType(), object, std::is_const_v<T>), value_(object) {}

  Ptr<T> const& value() const noexcept { return value_; }

 private:
  Ptr<T> const value_;
};

}  // namespace Zon
