#pragma once

/// \file
/// How one attribute is served: `Zon::AttrSpec`, the base of every line of an attribute table, and the conversions
/// between reflective values and those of members. The lines themselves are in Zon/AttrTable.h.
///
/// Guarantees
///   A  A request that does not fit (key, value type, constness, operation) throws before the object is touched.
///   B  A value is taken only as the very type that the member has; nothing is converted or narrowed.
///
/// Use: deriving a line for a new kind of attribute; classes only write tables.

#include <concepts>
#include <cstdint>
#include <type_traits>

#include "Zon/GenericIf.h"
#include "Zon/Strep.h"
#include "Zon/ZonType.h"

namespace Zon {

// The node of a type: of a class its own, of a value type that found by argument-dependent look-up.

ZonType* zonTypeNode(bool const*);
ZonType* zonTypeNode(std::int32_t const*);
ZonType* zonTypeNode(std::uint32_t const*);
ZonType* zonTypeNode(String8 const*);
ZonType* zonVoidTypeNode();

template <class T>
ZonType* typeNodeOf() {
  if constexpr (IsPtr<T>::value) {
    return IsPtr<T>::Object::_fwkType();
  } else if constexpr (std::is_void_v<T>) {
    return zonVoidTypeNode();
  } else {
    return zonTypeNode(static_cast<T const*>(nullptr));
  }
}

/// One request, all but the attribute itself checked.
struct AttrCall {
  unsigned opId;
  PtrInterface const* object;  ///< Held by the caller; mutable when `opId` modifies or `isConst` is false.
  bool isConst;
  GenericIf const* key;  ///< Null for none.
  Ptr<GenericIf> const& value;
};

/// One line of an attribute table.
class AttrSpec {
 public:
  using Op = GenericIf::AttributeOp;

  constexpr char const* name() const noexcept { return name_; }
  constexpr AttributeId id() const noexcept { return id_; }

  /// The introspection flags.
  virtual unsigned flags() const noexcept { return 0; }
  /// Whether it is a collection or a child.
  virtual bool isInstantiating() const noexcept { return false; }
  virtual ZonType* attributeType() const = 0;
  /// The type of its key, null for an attribute without.
  virtual ZonType* keyType() const { return nullptr; }
  /// Whether this is the right key (null for none) for the operation.
  virtual bool keyFits(unsigned, GenericIf const* key) const { return key == nullptr; }
  virtual bool offers(unsigned opId) const noexcept = 0;
  /// REQUIRES: the operation is offered and the key fits.
  virtual Ptr<GenericIf> perform(AttrCall const& call) const = 0;
  /// An iterator on the first member, or at or behind the key; null for an attribute that is no collection.
  virtual Ptr<GenericIf> iterator(Ptr<PtrInterface const> const&, bool, GenericIf const*) const { return {}; }

 protected:
  constexpr AttrSpec(char const* name, AttributeId id) noexcept : name_(name), id_(id) {}
  ~AttrSpec() = default;

 private:
  char const* name_;
  AttributeId id_;
};

/// The member's class out of the object. REQUIRES: the object is a C.
template <class C>
C const& constObject(AttrCall const& call) noexcept {
  return *static_cast<C const*>(call.object);
}
/// REQUIRES: the interface is not const.
template <class C>
C& mutableObject(AttrCall const& call) noexcept {
  return *const_cast<C*>(static_cast<C const*>(call.object));
}

// Reflective value to member's value.

/// Whether an element has the type of a parameter T; null has none.
template <class T>
bool elementFits(GenericIf const* element) {
  if constexpr (IsPtr<T>::value) {
    using X = typename IsPtr<T>::Object;
    PtrInterface const* object = nullptr;
    bool isConst = false;
    if (auto const* const reference = dynamic_cast<GenericIfAnyRef const*>(element)) {
      object = reference->zonObject().ptr();
      isConst = reference->isConst();
      if (object == nullptr) {
        return (std::is_const_v<X> || !isConst) &&
               reference->zonDeclaredType().zonDerivesFrom(*std::remove_const_t<X>::_fwkType());
      }
    } else if (auto const* const interface = dynamic_cast<GenericIfPtrInterface const*>(element)) {
      object = interface->zonObject().ptr();
      isConst = interface->isConst();
    }
    return object != nullptr && (std::is_const_v<X> || !isConst) && dynamic_cast<X const*>(object) != nullptr;
  } else {
    return dynamic_cast<GenericIfValue<T> const*>(element) != nullptr;
  }
}

/// REQUIRES: `elementFits<T>(element)`.
template <class T>
T elementValue(GenericIf const* element) {
  if constexpr (IsPtr<T>::value) {
    using X = typename IsPtr<T>::Object;
    auto const* const reference = dynamic_cast<GenericIfAnyRef const*>(element);
    PtrInterface const* const object = reference != nullptr
                                           ? reference->zonObject().ptr()
                                           : static_cast<GenericIfPtrInterface const*>(element)->zonObject().ptr();
    return T(const_cast<X*>(dynamic_cast<X const*>(object)));
  } else {
    return dynamic_cast<GenericIfValue<T> const*>(element)->value();
  }
}

/// The value an operation was given. Errors: type exception with `name` for a missing or wrong one.
template <class T>
T argumentOf(GenericIf const* element, char const* name) {
  if (!elementFits<T>(element)) {
    GenericIf::throwTypeException(name);
  }
  return elementValue<T>(element);
}

// Member's value to reflective value.

/// The interface of an object, const when the object or the way to it is; null for null.
template <class T>
Ptr<GenericIf> interfaceOf(Ptr<T> const& object, bool isConst) {
  if (!object) {
    return {};
  }
  ZonType const* const type = object->fwkType();
  if constexpr (!std::is_const_v<T>) {
    if (!isConst) {
      return type->genericIf(object);
    }
  }
  return type->genericIfConst(object);
}

/// A value as it is, a pointer as a reference of its declared constness.
template <class T>
Ptr<GenericIf> valueOf(T const& value) {
  if constexpr (IsPtr<T>::value) {
    return newPtr<GenericIfRef<typename IsPtr<T>::Object>>(value);
  } else {
    return newPtr<GenericIfValue<T>>(value);
  }
}

/// The list in an argument. Errors: type exceptions "Zon::GenericIf::List_" and "List".
GenericIf::List const& listArgument(Ptr<GenericIf> const& value);

}  // namespace Zon
