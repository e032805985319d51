#include "Zon/ZonAttr.h"

#include <utility>

#include "Zon/Exception.h"
#include "Zon/ZonType.h"

namespace Zon {

ZonConstraint::ZonConstraint(Name name) : name_(std::move(name)) {}

ZonConstraint::~ZonConstraint() = default;

ZonAttr::ZonAttrIntrospectionFlags::ZonAttrIntrospectionFlags(unsigned int value) : value_(value) {
  if (value > maximum) {
    throwRangeException("ZonAttrIntrospectionFlags::value > 0x3f not allowed");
  }
}

ZonAttr::ZonAttr(Name name, Ptr<ZonType> const& attributeType, AttrFlags const& flags, AttributeId id)
  : ZonConstraint(std::move(name)), attributeType_(attributeType.ptr()), flags_(flags), id_(id) {}

ZonAttr::~ZonAttr() = default;

Ptr<ZonAttr> ZonAttr::attrIs(Name name, Ptr<ZonType> const& attributeType, ZonAttr*, ZonAttr*, AttrFlags const& flags,
                             AttributeId id) {
  Ptr<ZonAttr> const attribute = newPtr<ZonAttr>(std::move(name), attributeType, flags, id);
  attribute->instantiating_ = true;
  return attribute;
}

Ptr<ZonType> ZonAttr::owningType() const { return Ptr<ZonType>(owningType_); }

Ptr<ZonType> ZonAttr::attributeType() const { return Ptr<ZonType>(attributeType_); }

Ptr<ZonAttr> ZonAttr::attr(Name const& name) const { return ptrCast<ZonAttr>(constraints_.member(name)); }

void ZonAttr::constraintIs(Ptr<ZonConstraint> const& constraint) {
  if (!constraints_.member(constraint->name())) {
    constraints_.newMember(constraint, HashMap<ZonConstraint, Name>::hashOf(constraint->name()));
  }
}

}  // namespace Zon
