#include "Zon/GenericIfPtrInterface.h"

#include <utility>

#include "Zon/AttrSpec.h"
#include "Zon/ZonType.h"

namespace Zon {

GenericIfPtrInterface::GenericIfPtrInterface(Ptr<PtrInterface> const& object)
  : GenericIfPtrInterface(PtrInterface::_fwkType(), object, false) {}

GenericIfPtrInterface::GenericIfPtrInterface(Ptr<PtrInterface const> const& object)
  : GenericIfPtrInterface(PtrInterface::_fwkType(), object, true) {}

GenericIfPtrInterface::~GenericIfPtrInterface() = default;

GenericIfEntity::GenericIfEntity(Ptr<Entity> const& entity)
  : GenericIfPtrInterface(Entity::_fwkType(), entity, false) {}

GenericIfEntity::GenericIfEntity(Ptr<Entity const> const& entity)
  : GenericIfPtrInterface(Entity::_fwkType(), entity, true) {}

GenericIfEntity::~GenericIfEntity() = default;

Ptr<GenericIf> GenericIfPtrInterface::attributeOp(AttributeOp const& op, Ptr<GenericIf const> const& key,
                                                  Ptr<GenericIf> const& value) {
  AttributeId const id = op.attributeId();
  return perform(type_->zonSpec(id), attributeString(id), op.opId(), key, value);
}

Ptr<GenericIf> GenericIfPtrInterface::attributeOpByName(String8 name, unsigned opId, Ptr<GenericIf const> const& key,
                                                        Ptr<GenericIf> const& value) {
  return perform(type_->zonSpec(name), name, opId, key, value);
}

Ptr<GenericIf> GenericIfPtrInterface::perform(AttrSpec const* spec, String8 const& name, unsigned opId,
                                              Ptr<GenericIf const> const& key, Ptr<GenericIf> const& value) {
  refuseModification(opId);
  if (!object_) {
    throwRangeException("null ValidPtr");
  }
  if (spec == nullptr) {
    throwOpNotSupportedException(name, opId, false);
  }
  if (!spec->keyFits(opId, key.ptr())) {
    throwBadIndexAttrException(name);
  }
  if (!spec->offers(opId)) {
    throwOpNotSupportedException(name, opId, false);
  }
  // What the attribute does may drop every other reference, to this interface too.
  Ptr<PtrInterface const> const object(object_);
  return spec->perform({opId, object.ptr(), isConst_, key.ptr(), value});
}

String8 GenericIfPtrInterface::attributeString(AttributeId id) const { return type_->attributeString(id); }

AttributeId GenericIfPtrInterface::attributeId(String8 name) const { return type_->attributeId(name); }

Ptr<GenericIf> GenericIfPtrInterface::attributeIterator(AttributeId id) { return iterator(id, isConst_, nullptr); }

Ptr<GenericIf> GenericIfPtrInterface::attributeIteratorConst(AttributeId id) const {
  return iterator(id, true, nullptr);
}

Ptr<GenericIf> GenericIfPtrInterface::attributeIteratorKey(AttributeId id, Ptr<GenericIf const> const& key) {
  if (object_) {
    AttrSpec const* const spec = type_->zonSpec(id);
    if (spec != nullptr && !spec->keyFits(AttributeOp::get, key.ptr())) {
      throwBadIndexAttrException(spec->name());
    }
  }
  return iterator(id, isConst_, key.ptr());
}

Ptr<GenericIf> GenericIfPtrInterface::iterator(AttributeId id, bool isConst, GenericIf const* fromKey) const {
  if (!object_) {
    throwRangeException("null ValidPtr");
  }
  AttrSpec const* const spec = type_->zonSpec(id);
  if (spec == nullptr || !spec->offers(AttributeOp::iterate)) {
    throwOpNotSupportedException(attributeString(id), AttributeOp::iterate, false);
  }
  return spec->iterator(object_, isConst, fromKey);
}

GenericIf::List const& listArgument(Ptr<GenericIf> const& value) {
  auto const* const list = dynamic_cast<GenericIf::List_ const*>(value.ptr());
  if (list == nullptr) {
    GenericIf::throwTypeException("Zon::GenericIf::List_");
  }
  if (!list->list()) {
    GenericIf::throwTypeException("List");
  }
  return *list->list();
}

}  // namespace Zon
