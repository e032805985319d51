#include "Zon/GenericIfValue.h"

#include "Zon/ZonType.h"

namespace Zon {

GenericIfAnyRef::~GenericIfAnyRef() = default;

Ptr<GenericIf> GenericIfAnyRef::target() const {
  if (!object_) {
    throwRangeException("null ValidPtr");
  }
  ZonType const* const type = object_->fwkType();
  return isConst_ ? type->genericIfConst(object_)
                  : type->genericIf(Ptr<PtrInterface>(const_cast<PtrInterface*>(object_.ptr())));
}

Ptr<GenericIf> GenericIfAnyRef::attributeOp(AttributeOp const& op, Ptr<GenericIf const> const& key,
                                            Ptr<GenericIf> const& value) {
  // Before `target()` finds a null reference: refusals have one order.
  refuseModification(op.opId());
  return target()->attributeOp(op, key, value);
}

Ptr<GenericIf> GenericIfAnyRef::attributeOpByName(String8 name, unsigned opId, Ptr<GenericIf const> const& key,
                                                  Ptr<GenericIf> const& value) {
  refuseModification(opId);
  return target()->attributeOpByName(std::move(name), opId, key, value);
}

String8 GenericIfAnyRef::attributeString(AttributeId id) const {
  return object_ ? object_->fwkType()->attributeString(id) : String8("unknown");
}

AttributeId GenericIfAnyRef::attributeId(String8 name) const {
  return object_ ? object_->fwkType()->attributeId(name) : -1;
}

Ptr<GenericIf> GenericIfAnyRef::attributeIterator(AttributeId id) { return target()->attributeIterator(id); }

Ptr<GenericIf> GenericIfAnyRef::attributeIteratorConst(AttributeId id) const {
  return target()->attributeIteratorConst(id);
}

Ptr<GenericIf> GenericIfAnyRef::attributeIteratorKey(AttributeId id, Ptr<GenericIf const> const& key) {
  return target()->attributeIteratorKey(id, key);
}

}  // namespace Zon
