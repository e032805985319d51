#pragma once

/// \file
/// `Zon::ZonAttr`: what the runtime knows about one attribute of a type; `Zon::ZonConstraint`, an entry of the index
/// by name that the attribute describing a whole type keeps.
///
/// Guarantees
///   A  An attribute's name, types, flags and id are fixed once its type is complete; then it lives as long as the
///      process.
///   B  `attr(name)` finds attributes only: another kind of entry under that name answers null.
///
/// Use
///
///     Ptr<ZonAttr> config = VaroIntf::AllIntfDir::_fwkType()->describingAttr()->attr("config");
///     config->attributeId();   // 258

#include "Zon/HashMap.h"
#include "Zon/PtrInterface.h"

namespace Zon {

/// A named statement about a type.
class ZonConstraint : public PtrInterface, public HashMapLink<ZonConstraint> {
 public:
  explicit ZonConstraint(Name name);
  ~ZonConstraint() override;

  Name const& name() const noexcept { return name_; }
  Name const& fwkKey() const noexcept { return name_; }

 private:
  Name const name_;
};

class ZonAttr : public ZonConstraint {
 public:
  /// Further flags of an attribute; none are in use.
  class AttrFlags {
   public:
    constexpr AttrFlags(std::uint32_t value = 0) noexcept : value_(value) {}
    constexpr std::uint32_t value() const noexcept { return value_; }
    constexpr operator std::uint32_t() const noexcept { return value_; }

   private:
    std::uint32_t value_;
  };

  /// A set of six bits.
  class ZonAttrIntrospectionFlags {
   public:
    static constexpr unsigned int maximum = 0x3f;

    /// Errors: range exception above 0x3f.
    ZonAttrIntrospectionFlags(unsigned int value = 0);
    std::uint32_t value() const noexcept { return value_; }
    operator std::uint32_t() const noexcept { return value_; }

    static ZonAttrIntrospectionFlags isIndependentDomainAttr_() { return 2; }
    static ZonAttrIntrospectionFlags isFunction_() { return 8; }
    static ZonAttrIntrospectionFlags hasInternalIndex_() { return 32; }

   private:
    std::uint32_t value_;
  };

  ZonAttr(Name name, Ptr<ZonType> const& attributeType, AttrFlags const& flags, AttributeId id);
  ~ZonAttr() override;

  /// Makes an instantiating attribute (a collection or a child) of the given attribute type. It belongs to the type
  /// that is open when it is handed to `IntrospectionReactor::handleAttr`.
  /// \param outer the attribute it stands in, null at the top of a type
  /// \param inverse the attribute that leads back, null without one
  static Ptr<ZonAttr> attrIs(Name name, Ptr<ZonType> const& attributeType, ZonAttr* outer, ZonAttr* inverse,
                             AttrFlags const& flags, AttributeId id);

  /// The type whose attribute this is; null before it was handed to one.
  Ptr<ZonType> owningType() const;
  Ptr<ZonType> attributeType() const;
  AttrFlags flags() const noexcept { return flags_; }
  ZonAttrIntrospectionFlags introspectionFlags() const noexcept { return introspectionFlags_; }
  AttributeId attributeId() const noexcept { return id_; }
  /// True for collections and children, whose entries come into being through the attribute.
  bool isInstantiating() const noexcept { return instantiating_; }

  /// Of an attribute that describes a type as a whole: the attribute of that name, null when there is none.
  Ptr<ZonAttr> attr(Name const& name) const;

  // While the type is being introspected.
  void introspectionFlagsIs(ZonAttrIntrospectionFlags flags) noexcept { introspectionFlags_ = flags; }
  void owningTypeIs(ZonType* owner) noexcept { owningType_ = owner; }
  /// Enters a statement about the described type; an equal name is kept as it was.
  void constraintIs(Ptr<ZonConstraint> const& constraint);

 private:
  // Type nodes are immortal: plain pointers.
  ZonType* owningType_ = nullptr;
  ZonType* const attributeType_;
  AttrFlags const flags_;
  ZonAttrIntrospectionFlags introspectionFlags_;
  AttributeId const id_;
  bool instantiating_ = false;
  HashMap<ZonConstraint, Name> constraints_;
};

}  // namespace Zon
