#include "Zon/TypeSlot.h"

#include "Zon/IntrospectionReactor.h"

namespace Zon {

ZonType* TypeSlot::makeNode() {
  module_->introspect();
  if (node_ == nullptr) {
    // Either the routine is running right now and asks for this very node, or this type is not on its list.
    node_ = new ZonType(*this);
    node_->isNondestructingIs(true);
  }
  return node_;
}

void TypeSlot::takeHandles() {
  unsigned int const count = node()->attributeQs();
  if (count == 0) {
    return;
  }
  handles_ = new Ptr<ZonAttr>[count];
  for (unsigned int i = 0; i != count; ++i) {
    handles_[i] = node_->describingAttr()->attr(node_->attributeQ(i)->name());
  }
}

bool TypeModule::isNested(ZonType const& type) const {
  for (std::size_t i = 0; i != count_; ++i) {
    if (types_[i]()->fullName() == type.scope()) {
      return true;
    }
  }
  return false;
}

void TypeModule::introspect() {
  if (introspectionBegun_) {
    return;
  }
  introspectionBegun_ = true;
  IntrospectionReactor& reactor = IntrospectionReactor::global();
  ZonType const* previous = nullptr;
  for (std::size_t i = 0; i != count_; ++i) {
    ZonType& type = *types_[i]();
    if (isNested(type)) {
      continue;
    }
    if (previous == nullptr || previous->scope() != type.scope()) {
      if (previous != nullptr) {
        reactor.handleScopeExit();
      }
      reactor.handleNameSpace(type.scope().cStr());
    }
    introspectType(type);
    previous = &type;
  }
  if (previous != nullptr) {
    reactor.handleScopeExit();
  }
}

void TypeModule::introspectType(ZonType& type) {
  IntrospectionReactor& reactor = IntrospectionReactor::global();
  TypeSlot const& slot = *type.zonSlot();
  reactor.handleType(Ptr<ZonType const>(&type), Ptr<ZonType const>(slot.base() != nullptr ? slot.base()() : nullptr));
  if (slot.lines() != nullptr) {
    slot.lines()->forEach(
        [](void* context, AttrSpec const& spec) {
          Ptr<ZonType> const owner(static_cast<ZonType*>(context));
          IntrospectionReactor& to = IntrospectionReactor::global();
          Ptr<ZonType> const attributeType(spec.attributeType());
          if (!spec.isInstantiating()) {
            to.defNoninstantiatingAttr(owner, spec.name(), attributeType, Ptr<ZonType>(spec.keyType()), {},
                                       spec.flags(), spec.id());
            return;
          }
          Ptr<ZonAttr> const attribute = ZonAttr::attrIs(spec.name(), attributeType, nullptr, nullptr, {}, spec.id());
          attribute->introspectionFlagsIs(spec.flags());
          to.handleAttr(attribute);
          to.handleAttrContextExit();
        },
        &type);
  }
  for (std::size_t i = 0; i != count_; ++i) {
    ZonType& nested = *types_[i]();
    if (nested.scope() == type.fullName()) {
      introspectType(nested);
    }
  }
  reactor.handleScopeExit();
}

bool TypeModule::registerTypes() noexcept {
  if (registrationBegun_) {
    return registered_;
  }
  registrationBegun_ = true;
  try {
    for (std::size_t i = 0; i != count_; ++i) {
      ZonType* const node = types_[i]();
      ZonType::typeNodeIs(node, node->fullName());
      node->zonSlot()->registered_ = true;
      node->zonSlot()->takeHandles();
    }
    registered_ = true;
  } catch (...) {
    // Another library owns one of the names. The loader cannot be told; the flag stays false.
  }
  return registered_;
}

}  // namespace Zon
