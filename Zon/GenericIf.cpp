#include "Zon/GenericIf.h"

#include <utility>

namespace Zon {

namespace {

GenericIfIterator& iteratorOf(Ptr<GenericIf> const& iterator) {
  auto* const typed = dynamic_cast<GenericIfIterator*>(iterator.ptr());
  if (typed == nullptr) {
    GenericIf::throwTypeException("iterator");
  }
  return *typed;
}

}  // namespace

GenericIf::~GenericIf() = default;
GenericIf::List::~List() = default;
GenericIf::List_::~List_() = default;
GenericIfIterator::~GenericIfIterator() = default;

void GenericIf::refuseModification(unsigned opId) const {
  if (isConst() && AttributeOp::modifies(opId)) {
    throwConstException("attempting to modify a const instance");
  }
}

Ptr<GenericIf> GenericIf::attributeOp(AttributeOp const& op, Ptr<GenericIf const> const&, Ptr<GenericIf> const&) {
  refuseModification(op.opId());
  throwOpNotSupportedException(attributeString(op.attributeId()), op.opId(), false);
}

Ptr<GenericIf> GenericIf::attributeOpByName(String8 name, unsigned opId, Ptr<GenericIf const> const&,
                                            Ptr<GenericIf> const&) {
  refuseModification(opId);
  throwOpNotSupportedException(std::move(name), opId, false);
}

String8 GenericIf::attributeString(AttributeId) const { return "unknown"; }

AttributeId GenericIf::attributeId(String8) const { return -1; }

Ptr<GenericIf> GenericIf::attributeIterator(AttributeId id) {
  throwOpNotSupportedException(attributeString(id), AttributeOp::iterate, false);
}

Ptr<GenericIf> GenericIf::attributeIteratorConst(AttributeId id) const {
  throwOpNotSupportedException(attributeString(id), AttributeOp::iterate, false);
}

Ptr<GenericIf> GenericIf::attributeIteratorKey(AttributeId id, Ptr<GenericIf const> const&) {
  throwOpNotSupportedException(attributeString(id), AttributeOp::iterate, false);
}

Ptr<GenericIf> GenericIf::attributeIterator_iterObj(Ptr<GenericIf> const& iterator) const {
  return iteratorOf(iterator).object();
}

Ptr<GenericIf> GenericIf::attributeIterator_iterKey(Ptr<GenericIf> const& iterator) const {
  return iteratorOf(iterator).key();
}

void GenericIf::attributeIterator_iterInc(Ptr<GenericIf> const& iterator) const { iteratorOf(iterator).advance(); }

Ptr<GenericIf> GenericIf::attributeIterator_iterDel(Ptr<GenericIf> const& iterator) {
  refuseModification(AttributeOp::del);
  return iteratorOf(iterator).del();
}

bool GenericIf::attributeIterator_nonNull(Ptr<GenericIf> const& iterator) const {
  return iteratorOf(iterator).nonNull();
}

Ptr<GenericIf> GenericIf::attributeIterator_iterClone(Ptr<GenericIf> const& iterator) const {
  return iteratorOf(iterator).clone();
}

Ptr<GenericIf> GenericIf::listOf(std::initializer_list<Ptr<GenericIf>> elements) {
  Ptr<List> const list = newPtr<List>();
  for (Ptr<GenericIf> const& element : elements) {
    list->append(element);
  }
  return newPtr<List_>(list);
}

void GenericIf::throwConstException(String8 text) { throw ConstException(std::move(text)); }
void GenericIf::throwTypeException(String8 text) { throw TypeException(std::move(text)); }
void GenericIf::throwUnknownArgException(String8 text) { throw UnknownArgException(std::move(text)); }
void GenericIf::throwBadIndexAttrException(String8 text) { throw BadIndexAttrException(std::move(text)); }
void GenericIf::throwOpNotSupportedException(String8 attribute, unsigned opId, bool flag) {
  throw OpNotSupportedException(std::move(attribute), opId, flag);
}

}  // namespace Zon
