#include "Zon/IntrospectionReactor.h"

#include <utility>

#include "Zon/Trace.h"

namespace Zon {

namespace {

constexpr char const* file = "Zon/IntrospectionReactor";

}  // namespace

IntrospectionReactor& IntrospectionReactor::global() {
  // Never destroyed: types are described from static initialisers and asked about until the process ends.
  static auto* const reactor = new IntrospectionReactor();
  return *reactor;
}

ZonType* IntrospectionReactor::open() const noexcept { return scopes_.empty() ? nullptr : scopes_.back().type; }

Ptr<ZonType const> IntrospectionReactor::openType() const { return Ptr<ZonType const>(open()); }

void IntrospectionReactor::handleNameSpace(char const*) { scopes_.emplace_back(); }

void IntrospectionReactor::handleType(Ptr<ZonType const> const& type, Ptr<ZonType const> const& base) {
  // Nodes are described once, by their own module, before anybody reads them.
  auto* const node = const_cast<ZonType*>(type.ptr());
  if (ZonType* const outer = open()) {
    outer->zonNestedTypeIs(node);
  }
  node->zonBaseIs(base.ptr());
  if (base && base != PtrInterface::_fwkType()) {
    const_cast<ZonType*>(base.ptr())->zonDerivedTypeIs(node);
  }
  scopes_.push_back({node, false});
}

void IntrospectionReactor::defNoninstantiatingAttr(Ptr<ZonType> const& owner, Name name,
                                                   Ptr<ZonType> const& attributeType, Ptr<ZonType> const&,
                                                   ZonAttr::AttrFlags const& flags,
                                                   ZonAttr::ZonAttrIntrospectionFlags introspectionFlags,
                                                   AttributeId id) {
  Ptr<ZonAttr> const attribute = newPtr<ZonAttr>(std::move(name), attributeType, flags, id);
  attribute->introspectionFlagsIs(introspectionFlags);
  owner->zonAttributeIs(attribute);
}

void IntrospectionReactor::handleAttr(Ptr<ZonAttr> const& attribute) {
  ZonType* const type = open();
  require(type != nullptr, "a type is open", file, __LINE__, "handleAttr");
  type->zonAttributeIs(attribute);
  scopes_.back().attributeOpen = true;
}

void IntrospectionReactor::handleAttrContextExit() {
  require(!scopes_.empty() && scopes_.back().attributeOpen, "an attribute is open", file, __LINE__,
          "handleAttrContextExit");
  scopes_.back().attributeOpen = false;
}

void IntrospectionReactor::handleScopeExit() {
  require(!scopes_.empty() && !scopes_.back().attributeOpen, "a scope is open", file, __LINE__, "handleScopeExit");
  scopes_.pop_back();
}

}  // namespace Zon
