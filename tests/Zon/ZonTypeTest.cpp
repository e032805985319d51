#include "Zon/ZonType.h"

#include <vector>

#include <gtest/gtest.h>

#include "Zon/Activity.h"
#include "Zon/Dir.h"
#include "Zon/IntrospectionReactor.h"
#include "Zon/TypeSlot.h"
#include "Zon/ZonAttr.h"
#include "platform/Interface/IntfStatus.h"
#include "support/Reflected.h"

using test::outcome;
using Zon::IntrospectionReactor;
using Zon::Name;
using Zon::newPtr;
using Zon::Ptr;
using Zon::ZonAttr;
using Zon::ZonType;
using Flags = Zon::ZonAttr::ZonAttrIntrospectionFlags;

namespace {

/// A node that lives to the end of the process, as all in the registry do.
ZonType* newNode(char const* fullName) {
  static auto* const nodes = new std::vector<ZonType*>();
  nodes->push_back(new ZonType(Name(fullName)));
  nodes->back()->isNondestructingIs(true);
  return nodes->back();
}

std::string names(std::vector<Ptr<ZonType const>> const& types) {
  std::string all;
  for (auto const& type : types)
    all += type->fullName().stdString() + " ";
  return all;
}

TEST(ZonAttr, IntrospectionFlagsHaveSixBits) {
  EXPECT_EQ(Flags(63).value(), 63u);
  EXPECT_EQ(Flags(0).value(), 0u);
  EXPECT_EQ(outcome([] { static_cast<void>(Flags(64)); }),
            "Range: ZonAttrIntrospectionFlags::value > 0x3f not allowed");
  EXPECT_EQ(outcome([] { static_cast<void>(Flags(0xffffffffU)); }),
            "Range: ZonAttrIntrospectionFlags::value > 0x3f not allowed");
  EXPECT_EQ(Flags::isIndependentDomainAttr_().value(), 2u);
  EXPECT_EQ(Flags::isFunction_().value(), 8u);
  EXPECT_EQ(Flags::hasInternalIndex_().value(), 32u);
}

TEST(ZonAttr, LookUpFindsAttributesOnly) {
  auto const describing = newPtr<ZonAttr>("t", Ptr<ZonType>(), ZonAttr::AttrFlags(), 0);
  auto const attribute = newPtr<ZonAttr>("a", Ptr<ZonType>(), ZonAttr::AttrFlags(), 130);
  describing->constraintIs(attribute);
  describing->constraintIs(newPtr<Zon::ZonConstraint>("other kind"));
  EXPECT_EQ(describing->attr("a"), attribute);
  EXPECT_EQ(describing->attr("other kind"), nullptr);
  EXPECT_EQ(describing->attr("absent"), nullptr);
  describing->constraintIs(newPtr<ZonAttr>("a", Ptr<ZonType>(), ZonAttr::AttrFlags(), 131));
  EXPECT_EQ(describing->attr("a"), attribute) << "the first of a name stays";
}

TEST(ZonType, FullNamesSplitAtTheirLastSeparator) {
  ZonType const* const type = newNode("a::b::C");
  EXPECT_EQ(type->name(), "C");
  EXPECT_EQ(type->scope(), "a::b");
  EXPECT_EQ(type->fullName(), "a::b::C");
  EXPECT_EQ(Zon::ZonType::typeNode("bool")->scope(), "");
  EXPECT_EQ(Zon::ZonType::typeNode("bool")->name(), "bool");
}

TEST(ZonType, ANodeIsDescribedUnderTheIdZero) {
  EXPECT_EQ(newNode("described::Bare")->describingAttr()->attributeId(), 0);
  EXPECT_EQ(Zon::Dir::_fwkType()->describingAttr()->attributeId(), 0);
}

TEST(ZonType, ANameBelongsToOneNode) {
  ZonType* const node = newNode("registry::A");
  std::size_t const before = ZonType::typeNodes().size();
  EXPECT_EQ(ZonType::typeNode("registry::A"), nullptr);
  ZonType::typeNodeIs(node, "registry::A");
  EXPECT_EQ(ZonType::typeNode("registry::A"), node);
  ZonType::typeNodeIs(node, "registry::A");
  EXPECT_EQ(ZonType::typeNodes().size(), before + 1) << "again changes nothing";
  EXPECT_EQ(ZonType::typeNodes().back(), node);
  EXPECT_TRUE(outcome([] { ZonType::typeNodeIs(newNode("registry::A"), "registry::A"); }).starts_with("NameInUse: "));
  EXPECT_EQ(ZonType::typeNode("registry::A"), node);
}

// A module one of whose names belongs to somebody else already.
extern Zon::TypeModule takenModule;
constinit Zon::TypeSlot beforeSlot = Zon::valueTypeSlot(takenModule, "taken::Before");
constinit Zon::TypeSlot takenSlot = Zon::valueTypeSlot(takenModule, "taken::Taken");
constinit Zon::TypeSlot behindSlot = Zon::valueTypeSlot(takenModule, "taken::Behind");
constexpr Zon::TypeModule::Type takenTypes[] = {[] { return beforeSlot.node(); }, [] { return takenSlot.node(); },
                                                [] { return behindSlot.node(); }};
constinit Zon::TypeModule takenModule(takenTypes);

TEST(TypeModule, RegistrationEndsSilentlyAtATakenName) {
  ZonType* const owner = newNode("taken::Taken");
  ZonType::typeNodeIs(owner, "taken::Taken");
  std::size_t const before = ZonType::typeNodes().size();
  EXPECT_FALSE(takenModule.registerTypes());
  EXPECT_FALSE(takenModule.registered());
  EXPECT_TRUE(beforeSlot.registered());
  EXPECT_FALSE(takenSlot.registered());
  EXPECT_FALSE(behindSlot.registered());
  EXPECT_EQ(ZonType::typeNode("taken::Before"), beforeSlot.node());
  EXPECT_EQ(ZonType::typeNode("taken::Taken"), owner);
  EXPECT_EQ(ZonType::typeNode("taken::Behind"), nullptr);
  EXPECT_FALSE(takenModule.registerTypes()) << "it runs once";
  EXPECT_EQ(ZonType::typeNodes().size(), before + 1);
  // The nodes are there nevertheless, and stay.
  EXPECT_EQ(takenSlot.node()->fullName(), "taken::Taken");
  EXPECT_NE(takenSlot.node(), owner);
}

TEST(ZonType, EverythingPastTheEndIsNullOrEmpty) {
  ZonType const* const type = newNode("past::End");
  EXPECT_EQ(type->attributeQs(), 0u);
  EXPECT_EQ(type->attributeQ(0), nullptr);
  EXPECT_EQ(type->attributeQIdx("x"), nullptr);
  EXPECT_EQ(type->constructorArgNameQ(0), "");
  EXPECT_EQ(type->constructorArgTypeQ(0), nullptr);
  EXPECT_EQ(type->attributeString(0), "unknown");
  EXPECT_EQ(type->attributeId("x"), -1);
  EXPECT_EQ(type->genericFactory(), nullptr);
  EXPECT_EQ(type->flags().value(), 0u);
  EXPECT_TRUE(type->nestedTypes().empty());
  EXPECT_TRUE(type->derivedTypes().empty());
  EXPECT_TRUE(type->referringAttributes().empty());
}

TEST(ZonType, ValuesHaveNoInterface) {
  auto const boolean = ZonType::typeNode("bool");
  ASSERT_TRUE(boolean);
  EXPECT_EQ(outcome([&] { return boolean->genericIf(nullptr); }), "Type: bool");
  EXPECT_EQ(outcome([&] { return boolean->genericIfConst(nullptr); }), "Type: bool");
}

TEST(ZonType, WhatIsEnteredTwiceStandsOnce) {
  ZonType* const type = newNode("twice::Entered");
  ZonType const* const derived = newNode("twice::Derived");
  type->zonDerivedTypeIs(derived);
  type->zonDerivedTypeIs(derived);
  EXPECT_EQ(names(type->derivedTypes()), "twice::Derived ");
  auto const first = newPtr<ZonAttr>("speed", Ptr<ZonType>(), ZonAttr::AttrFlags(), 130);
  type->zonAttributeIs(first);
  type->zonAttributeIs(newPtr<ZonAttr>("speed", Ptr<ZonType>(), ZonAttr::AttrFlags(), 130));
  EXPECT_EQ(type->attributeQs(), 1U);
  EXPECT_EQ(type->attributeQ(0), first);
}

TEST(ZonType, NodesAreNeverFreed) {
  EXPECT_TRUE(Zon::Dir::_fwkType()->isNondestructing());
  { Ptr<ZonType> const held(Zon::Dir::_fwkType()); }
  EXPECT_EQ(Zon::Dir::_fwkType()->fullName(), "Zon::Dir");
}

TEST(ZonType, BasesKnowTheirDerivedTypesExceptTheRoot) {
  EXPECT_NE(names(Zon::Entity::_fwkType()->derivedTypes()).find("Zon::Dir "), std::string::npos);
  for (char const* const root : {"VaroIntf::Agent ", "VaroIntf::AllIntfDir ", "VaroErrdisable::Root "}) {
    EXPECT_NE(names(Zon::Entity::_fwkType()->derivedTypes()).find(root), std::string::npos) << root;
  }
  EXPECT_EQ(names(Zon::PtrInterface::_fwkType()->derivedTypes()), "");
  EXPECT_NE(names(Zon::Dir::_fwkType()->derivedTypes()).find("Interface::AllIntfQueueCounterDir "), std::string::npos);
  EXPECT_EQ(names(Interface::IntfStatus::NotifieeConst::_fwkType()->derivedTypes()), "VaroIntf::IntfStatusReactor ");
  EXPECT_EQ(names(Interface::IntfStatus::_fwkType()->nestedTypes()), "Interface::IntfStatus::NotifieeConst ");
}

TEST(ZonType, ParentsKnowTheAttributeThatHoldsAChild) {
  auto const dir = newPtr<Zon::Dir>("d");
  auto const child = newPtr<Zon::Dir>("c");
  EXPECT_EQ(child->parentAttr(), nullptr);
  dir->entityPtrIs(child);
  EXPECT_EQ(child->parentAttr(), Zon::Dir::_fwkType()->attributeQIdx("entityPtr"));
}

TEST(IntrospectionReactor, ATypeOpenedInsideAnotherHasItsOwnScope) {
  IntrospectionReactor& reactor = IntrospectionReactor::global();
  EXPECT_EQ(&reactor, &IntrospectionReactor::global());
  std::size_t const before = reactor.openScopes();
  ZonType* const outer = newNode("scopes::Outer");
  ZonType* const inner = newNode("scopes::Outer::Inner");
  auto const define = [&](char const* name, Zon::AttributeId id) {
    auto const attribute = ZonAttr::attrIs(name, Ptr<ZonType>(inner), nullptr, nullptr, {}, id);
    reactor.handleAttr(attribute);
    reactor.handleAttrContextExit();
  };
  reactor.handleNameSpace("scopes");
  reactor.handleType(Ptr<ZonType const>(outer), Ptr<ZonType const>(Zon::Entity::_fwkType()));
  define("first", 258);
  reactor.handleType(Ptr<ZonType const>(inner), Ptr<ZonType const>(Zon::PtrInterface::_fwkType()));
  EXPECT_EQ(reactor.openType(), inner);
  define("own", 130);
  reactor.handleScopeExit();
  EXPECT_EQ(reactor.openType(), outer);
  reactor.defNoninstantiatingAttr(Ptr<ZonType>(outer), "second", Ptr<ZonType>(inner), {}, {}, 8u, 259);
  define("third", 260);
  reactor.handleScopeExit();
  reactor.handleScopeExit();
  EXPECT_EQ(reactor.openScopes(), before);

  ASSERT_EQ(outer->attributeQs(), 3u);
  EXPECT_EQ(outer->attributeQ(0)->name(), "first");
  EXPECT_TRUE(outer->attributeQ(0)->isInstantiating());
  EXPECT_EQ(outer->attributeQ(1)->name(), "second");
  EXPECT_FALSE(outer->attributeQ(1)->isInstantiating());
  EXPECT_EQ(outer->attributeQ(1)->introspectionFlags().value(), 8u);
  EXPECT_EQ(outer->attributeQ(2)->name(), "third");
  ASSERT_EQ(inner->attributeQs(), 1u);
  EXPECT_EQ(inner->attributeQ(0)->owningType(), inner);
  EXPECT_EQ(names(outer->nestedTypes()), "scopes::Outer::Inner ");
  EXPECT_EQ(inner->referringAttributes().size(), 4u);
  EXPECT_EQ(outer->baseType(), Zon::Entity::_fwkType());
  EXPECT_NE(names(Zon::Entity::_fwkType()->derivedTypes()).find("scopes::Outer "), std::string::npos);
}

TEST(IntrospectionReactorDeath, UnbalancedScopesStopTheProcess) {
  IntrospectionReactor& reactor = IntrospectionReactor::global();
  ASSERT_EQ(reactor.openScopes(), 0u);
  EXPECT_DEATH(reactor.handleScopeExit(), "assertion \"a scope is open\" failed");
  EXPECT_DEATH(
      {
        reactor.handleNameSpace("open");
        reactor.handleType(Ptr<ZonType const>(newNode("open::Type")), {});
        reactor.handleAttr(newPtr<ZonAttr>("a", Ptr<ZonType>(), ZonAttr::AttrFlags(), 130));
        reactor.handleScopeExit();
      },
      "assertion \"a scope is open\" failed");
  EXPECT_DEATH(reactor.handleAttr(newPtr<ZonAttr>("a", Ptr<ZonType>(), ZonAttr::AttrFlags(), 1)),
               "assertion \"a type is open\" failed");
  EXPECT_DEATH(reactor.handleAttrContextExit(), "assertion \"an attribute is open\" failed");
}

}  // namespace
