// Every registered type: names, ids, flags and order of its attributes; and a walk through all of its attributes.

#include <functional>
#include <map>
#include <set>

#include <gtest/gtest.h>

#include "VaroErrdisable/Root.h"
#include "VaroErrdisable/VaroErrdisableIntf.h"
#include "VaroIntf/Agent.h"
#include "VaroIntf/VaroIntf.h"
#include "Zon/AttrSpec.h"
#include "Zon/ZonAttr.h"
#include "platform/Interface/AllIntfQueueCounterDir.h"
#include "platform/Interface/AllIntfQueueCounterPtrDir.h"
#include "platform/PlatformTypes.h"
#include "support/Reflected.h"

using test::byName;
using test::intf;
using test::list;
using test::op;
using test::Op;
using test::outcome;
using test::ref;
using test::shown;
using test::text;
using test::value;
using Zon::newPtr;
using Zon::Ptr;
using Zon::ZonType;

namespace {

std::string attributesOf(ZonType const& type) {
  std::string all;
  for (unsigned i = 0; i != type.attributeQs(); ++i) {
    auto const attribute = type.attributeQ(i);
    all += attribute->name().stdString() + " " + std::to_string(attribute->attributeId());
    if (auto const flags = attribute->introspectionFlags().value()) all += "/" + std::to_string(flags);
    all += " " + attribute->attributeType()->fullName().stdString() + "; ";
  }
  return all;
}

std::string attributesOf(char const* name) {
  auto const type = ZonType::typeNode(name);
  return type ? attributesOf(*type) : "no such type";
}

constexpr char const* switches = "hasNotificationActiveIs 0/8 void; zonDoZombieReactors 0/8 void; ";
constexpr char const* activityLine = "zonFwkActivity 0 Zon::ActivityConfig; ";

TEST(RegisteredTypes, TheModulesTypesAreRegisteredInTheirOrder) {
  std::vector<std::string> intfTypes, errdisableTypes;
  for (auto const& type : ZonType::typeNodes()) {
    if (type->scope() == "VaroIntf") intfTypes.push_back(type->name().stdString());
    if (type->scope() == "VaroErrdisable") errdisableTypes.push_back(type->name().stdString());
  }
  EXPECT_EQ(intfTypes,
            (std::vector<std::string>{"IntfStatusReactor", "AllIntfStatusDirSm", "AllIntfDir", "AllIntfReactor",
                                      "AllIntfQueueCounterSliceIntfCounterReactor", "AllIntfQueueCounterSliceReactor",
                                      "AllIntfQueueCounterReactor", "Agent"}));
  EXPECT_EQ(errdisableTypes, (std::vector<std::string>{"IntfSM", "AllIntfSM", "Root"}));
  EXPECT_TRUE(VaroIntf::_fwkRegistered());
  EXPECT_TRUE(VaroErrdisable::_fwkRegistered());
  EXPECT_TRUE(platform::_fwkRegistered());
  EXPECT_TRUE(VaroErrdisable::Root::_fwkTypeRegistered());
  EXPECT_TRUE(VaroIntf::IntfStatusReactor::_fwkTypeRegistered());
}

TEST(RegisteredTypes, AreKeptWithAHandleOnEachAttribute) {
  std::size_t attributes = 0;
  for (auto const& type : ZonType::typeNodes()) {
    for (unsigned i = 0; i != type->attributeQs(); ++i, ++attributes) {
      auto const attribute = type->attributeQ(i);
      // Ours, the node's two, and the handle.
      EXPECT_EQ(attribute->zonReferences(), 4U) << type->fullName().cStr() << " " << attribute->name().cStr();
    }
  }
  EXPECT_GT(attributes, 50U);
}

TEST(RegisteredTypes, TheErrdisableModulesAttributes) {
  EXPECT_EQ(
      attributesOf("VaroErrdisable::IntfSM"),
      std::string(activityLine) +
          "intfId 130 Orvet::IntfId; errdisableStatus 131 Errdisable::Status; intfConfig 132 Interface::IntfConfig; "
          "intfStatus 133 Interface::IntfStatus; handleStateChange 134/8 void; initialized 135 bool; "
          "handleInitialized 136/8 void; fwkKey 0 Orvet::IntfId; " +
          switches);
  EXPECT_EQ(attributesOf("VaroErrdisable::AllIntfSM"),
            std::string(activityLine) +
                "intfConfigDir 130 Interface::AllIntfConfigDir; intfStatusDir 131 Interface::AllIntfStatusDir; "
                "errdisableStatus 132 Errdisable::Status; intfSM 133/32 VaroErrdisable::IntfSM; "
                "handleErrdisable 134/8 void; handleIntf 136/8 void; initialized 139 bool; "
                "handleInitialized 140/8 void; " +
                switches);
  EXPECT_EQ(attributesOf("VaroErrdisable::Root"), "isNondestructing 6 bool; allIntfSM 258 VaroErrdisable::AllIntfSM; ");
}

TEST(RegisteredTypes, TheInterfaceModulesAttributes) {
  EXPECT_EQ(attributesOf("VaroIntf::IntfStatusReactor"),
            std::string(activityLine) +
                "intfStatus 262 Interface::IntfStatus; intfId 264 Orvet::IntfId; "
                "handleForwardingModelInputs 265/8 void; fwkKey 0 Orvet::IntfId; " +
                switches);
  EXPECT_EQ(
      attributesOf("VaroIntf::AllIntfStatusDirSm"),
      std::string(activityLine) +
          "allIntfStatusDir 130 Interface::AllIntfStatusDir; intfStatusReactor 131/32 VaroIntf::IntfStatusReactor; "
          "handleIntfStatus 132/8 void; " +
          switches);
  EXPECT_EQ(
      attributesOf("VaroIntf::AllIntfDir"),
      "isNondestructing 6 bool; config 258 Interface::AllIntfConfigDir; status 259 Interface::AllIntfStatusDir; ");
  EXPECT_EQ(attributesOf("VaroIntf::AllIntfReactor"),
            std::string(activityLine) +
                "configOut 130 Interface::AllIntfConfigDir; statusOut 131 Interface::AllIntfStatusDir; "
                "configIn 132 Interface::AllIntfConfigDir; statusIn 133 Interface::AllIntfStatusDir; " +
                switches);
  EXPECT_EQ(attributesOf("VaroIntf::AllIntfQueueCounterSliceIntfCounterReactor"),
            std::string(activityLine) +
                "intfId 130 Orvet::IntfId; intfQueueCounterDir 131 Interface::IntfQueueCounterDir; "
                "allIntfQueueCounterDir 132 Interface::AllIntfQueueCounterDir; handleQueueCounter 133/8 void; "
                "fwkKey 0 Orvet::IntfId; " +
                switches);
  EXPECT_EQ(attributesOf("VaroIntf::AllIntfQueueCounterSliceReactor"),
            std::string(activityLine) +
                "sliceName 130 Zon::String8; counterOut 131 Interface::AllIntfQueueCounterPtrDir; "
                "counterIn 132 Interface::AllIntfQueueCounterDir; "
                "intfQueueCounterSm 133/32 VaroIntf::AllIntfQueueCounterSliceIntfCounterReactor; "
                "handleQueueCounterDir 134/8 void; doPrepareToDie 136/8 void; fwkKey 0 Zon::String8; " +
                switches);
  EXPECT_EQ(attributesOf("VaroIntf::AllIntfQueueCounterReactor"),
            std::string(activityLine) +
                "counterOut 130 Interface::AllIntfQueueCounterPtrDir; counterIn 131 Zon::Dir; "
                "sliceSm 132/32 VaroIntf::AllIntfQueueCounterSliceReactor; handleQueueCounterDir 133/8 void; " +
                switches);
  EXPECT_EQ(
      attributesOf("VaroIntf::Agent"),
      "isNondestructing 6 bool; allIntfDir 258 VaroIntf::AllIntfDir; allIntfReactor 259 VaroIntf::AllIntfReactor; "
      "allIntfStatusDirSm 260 VaroIntf::AllIntfStatusDirSm; "
      "allIntfQueueCounterReactor 261 VaroIntf::AllIntfQueueCounterReactor; ");
}

TEST(RegisteredTypes, ThePlatformsAttributes) {
  EXPECT_EQ(attributesOf("Interface::IntfConfig"),
            "isNondestructing 6 bool; intfId 258 Orvet::IntfId; adminEnabled 259 bool; "
            "defaultConfig 260 Interface::IntfConfig; adminEnabledStateLocal 263 Interface::IntfEnabledState; "
            "enabledStateLocal 264 Interface::IntfEnabledState; enabledStateReason 265 Zon::String8; ");
  EXPECT_EQ(attributesOf("Interface::IntfStatus"),
            "isNondestructing 6 bool; intfId 258 Orvet::IntfId; forwardingModel 265 std::int32_t; "
            "forwardingModelInputs 266/32 std::int32_t; active 272 bool; ");
  EXPECT_EQ(attributesOf("Errdisable::Status"), "isNondestructing 6 bool; errdisabledIntf 258/32 Zon::String8; ");
  EXPECT_EQ(attributesOf("Zon::Dir"), "isNondestructing 6 bool; entityPtr 266/32 Zon::Entity; ");
  EXPECT_EQ(attributesOf("Interface::AllIntfQueueCounterDir"),
            "intfQueueCounterDir 386/32 Interface::IntfQueueCounterDir; counterShmemMan 387 Pelto::ShmemMan; "
            "statisticsShmemMan 388 Pelto::ShmemMan; ");
  EXPECT_EQ(attributesOf("Interface::AllIntfConfigDir"),
            "isNondestructing 6 bool; intfConfig 258/32 Interface::IntfConfig; ");
  EXPECT_EQ(attributesOf("Interface::AllIntfStatusDir"),
            "isNondestructing 6 bool; intfStatus 258/32 Interface::IntfStatus; ");
  EXPECT_EQ(attributesOf("Interface::AllIntfQueueCounterPtrDir"),
            "isNondestructing 6 bool; intfQueueCounterDir 258/32 Interface::IntfQueueCounterDir; ");
  EXPECT_EQ(attributesOf("Interface::IntfQueueCounterDir"),
            "isNondestructing 6 bool; intfId 258 Orvet::IntfId; intfQueueCounter 259/32 Interface::IntfQueueCounter; ");
  EXPECT_EQ(attributesOf("Interface::IntfQueueCounter"), "isNondestructing 6 bool; ");
  EXPECT_EQ(attributesOf("Interface::IntfEnabledState"), "");
  EXPECT_EQ(attributesOf("Orvet::IntfId"), "");
  EXPECT_EQ(attributesOf("Zon::ActivityConfig"), "");
}

TEST(RegisteredTypes, ConstructibleByNameAreThree) {
  std::string constructible;
  for (auto const& type : ZonType::typeNodes()) {
    if (type->genericFactory() != nullptr) constructible += type->fullName().stdString() + " ";
  }
  EXPECT_EQ(constructible, "VaroIntf::Agent VaroErrdisable::IntfSM VaroErrdisable::Root ");
}

TEST(RegisteredTypes, FactoriesAsTheHostUsesThem) {
  auto const make = [](char const* type, test::If const& arguments) {
    auto const node = ZonType::typeNode(type);
    return outcome([&] { return node->genericIf(node->genericFactory()(arguments)); });
  };
  EXPECT_EQ(make("VaroErrdisable::Root", list(text("r"))), "if Root");
  EXPECT_EQ(make("VaroErrdisable::Root", list()), "Type: name");
  EXPECT_EQ(make("VaroErrdisable::Root", list(text("r"), text("s"))), "UnknownArg: Root");
  EXPECT_EQ(make("VaroErrdisable::Root", text("r")), "Type: Zon::GenericIf::List_");
  EXPECT_EQ(make("VaroIntf::Agent", list(text("a"))), "if Agent");
  EXPECT_EQ(make("VaroIntf::Agent", list(text("a"), text("b"))), "UnknownArg: Agent");
  EXPECT_EQ(make("VaroIntf::Agent", list()), "Type: name");
  EXPECT_EQ(make("VaroIntf::Agent", text("a")), "Type: Zon::GenericIf::List_");
  EXPECT_EQ(make("VaroIntf::Agent", list(intf("a"))), "Type: name");
  EXPECT_EQ(make("VaroIntf::Agent", list(value(1U))), "Type: name");
  auto const activity = newPtr<Zon::ActivityConfig>();
  auto const status = newPtr<Errdisable::Status>("s");
  auto const config = newPtr<Interface::IntfConfig>("e1");
  EXPECT_EQ(make("VaroErrdisable::IntfSM", list(ref(activity), intf("e1"), ref(status), ref(config))), "if IntfSM");
  EXPECT_EQ(make("VaroErrdisable::IntfSM", list(ref(activity), text("e1"), ref(status), ref(config))), "Type: intfId");
  EXPECT_EQ(make("VaroErrdisable::IntfSM", list(ref(activity), intf("e1"), ref(config), ref(config))),
            "Type: errdisableStatus");
  EXPECT_EQ(make("VaroErrdisable::IntfSM", list(ref(activity), intf("e1"), ref(status))), "Type: intfConfig");
  EXPECT_EQ(make("VaroErrdisable::IntfSM", list(ref(activity), intf("e1"), ref(status), ref(config), text(""))),
            "UnknownArg: IntfSM");
}

TEST(RegisteredTypes, TheErrdisableModuleRunsByReflectionAlone) {
  auto const activity = newPtr<Zon::ActivityConfig>(Zon::ActivityConfig::Delivery::immediate);
  auto const configs = newPtr<Interface::AllIntfConfigDir>("c");
  auto const statuses = newPtr<Interface::AllIntfStatusDir>("s");
  auto const errdisable = newPtr<Errdisable::Status>("e");
  auto const config = newPtr<Interface::IntfConfig>("e1");
  configs->intfConfigIs(config);

  auto const type = ZonType::typeNode("VaroErrdisable::Root");
  auto const root = type->genericIf(type->genericFactory()(list(text("root"))));
  auto const machine = root->attributeOpByName("allIntfSM", Op::set, {},
                                               list(ref(activity), ref(configs), ref(statuses), ref(errdisable)));
  ASSERT_EQ(shown(machine), "if AllIntfSM");
  EXPECT_EQ(byName(machine, "intfSM", Op::size), "u1");
  EXPECT_EQ(byName(machine, "intfStatusDir", Op::get), "const ref AllIntfStatusDir");
  errdisable->errdisabledIntfIs("e1", "flap");
  EXPECT_EQ(byName(ref(config), "enabledStateReason", Op::get), "\"flap\"");
  EXPECT_EQ(byName(machine, "handleErrdisable", Op::call), "Type: id");
  EXPECT_EQ(byName(machine, "handleErrdisable", Op::call, {}, list(intf("e1"), intf("e2"))),
            "UnknownArg: handleErrdisable");
  EXPECT_EQ(byName(machine, "intfSM", Op::del, intf("e1")), "if IntfSM");
  EXPECT_EQ(byName(machine, "intfSM", Op::get, intf("e1")), "null");
  EXPECT_EQ(byName(root, "allIntfSM", Op::del), "if AllIntfSM");
  EXPECT_EQ(byName(root, "allIntfSM", Op::get), "null");
}

TEST(RegisteredTypes, PlatformCollectionsByReflection) {
  auto const status = newPtr<Interface::IntfStatus>("e1");
  auto const on = newPtr<Interface::IntfStatus::GenericIf_>(status);
  auto const reader = newPtr<Interface::IntfStatus::GenericIf_>(Ptr<Interface::IntfStatus const>(status));
  EXPECT_EQ(op(on, 266, Op::set, {}, list(text("lag"), value<std::int32_t>(4))), "null");
  EXPECT_EQ(op(on, 266, Op::set, {}, list(text("lag"))), "Type: model");
  EXPECT_EQ(op(reader, 266, Op::get, text("lag")), "i4");
  EXPECT_EQ(op(on, 266, Op::get, text("stp")), "null");
  auto const it = on->attributeIterator(266);
  EXPECT_EQ(shown(on->attributeIterator_iterKey(it)), "\"lag\"");
  EXPECT_EQ(shown(on->attributeIterator_iterObj(it)), "i4");
  EXPECT_EQ(shown(on->attributeIterator_iterDel(it)), "i4");
  EXPECT_EQ(op(on, 266, Op::size), "u0");

  auto const dir = newPtr<Interface::AllIntfStatusDir>("d");
  auto const directory = newPtr<Interface::AllIntfStatusDir::GenericIf_>(dir);
  EXPECT_EQ(op(directory, 258, Op::set, {}, list(ref(status))), "null");
  EXPECT_EQ(op(directory, 258, Op::set, {}, list(ref(Ptr<Interface::IntfStatus>()))), "Range: null ValidPtr");
  EXPECT_EQ(op(directory, 258, Op::get, intf("e1")), "if IntfStatus");
  EXPECT_EQ(op(directory, 258, Op::get, text("e1")), "BadIndex: intfStatus");
  EXPECT_EQ(op(directory, 258, Op::del, intf("e1")), "if IntfStatus");
}

TEST(RegisteredTypes, ASliceServesTheAttributesOfADirectoryToo) {
  auto const slice = newPtr<Interface::AllIntfQueueCounterDir>("slice");
  auto const on = newPtr<Interface::AllIntfQueueCounterDir::GenericIf_>(slice);
  EXPECT_EQ(op(on, 266, Op::set, {}, list(ref(newPtr<Zon::Dir>("sub")))), "null");
  EXPECT_EQ(op(on, 266, Op::get, text("sub")), "if Dir");
  EXPECT_EQ(op(on, 386, Op::set, {}, list(ref(newPtr<Interface::IntfQueueCounterDir>("e1")))), "null");
  EXPECT_EQ(op(on, 386, Op::size), "u1");
  EXPECT_EQ(op(on, 6, Op::get), "false");
  EXPECT_EQ(byName(on, "counterShmemMan", Op::get), "ref ShmemMan");
  EXPECT_EQ(slice->attributeString(266), "entityPtr");
  EXPECT_EQ(slice->attributeString(387), "counterShmemMan");
  EXPECT_EQ(slice->attributeString(999), "unknown");
}

TEST(RegisteredTypes, AReactorsTextIsNoReferenceToADirectory) {
  auto const reactor = newPtr<VaroIntf::AllIntfReactor>(nullptr, nullptr, nullptr, nullptr, nullptr);
  auto const asText = Zon::valueToStrep(reactor);
  EXPECT_EQ(Zon::strepToValue<Ptr<VaroIntf::AllIntfReactor>>(asText), reactor);
  EXPECT_EQ(outcome([&] { return value(static_cast<bool>(Zon::strepToValue<Ptr<VaroIntf::AllIntfDir>>(asText))); }),
            "Conversion: cannot convert \"" + asText.stdString() + "\" to VaroIntf::AllIntfDir");
}

template <class X>
void expectTypedText(char const* type, Ptr<X> const& object) {
  SCOPED_TRACE(type);
  auto const asText = Zon::valueToStrep(object);
  EXPECT_TRUE(asText.view().starts_with(std::string("<") + type + "#"));
  EXPECT_EQ(Zon::valueToStrep(Ptr<X const>(object)), asText);
  EXPECT_EQ(Zon::strepToValue<Ptr<X>>(asText), object);
  EXPECT_EQ(Zon::strepToValue<Ptr<X const>>(asText), object);
  auto const other = newPtr<Zon::Dir>("other");
  auto const wrong = Zon::valueToStrep(other);
  std::string const refused = "Conversion: cannot convert \"" + wrong.stdString() + "\" to " + type;
  EXPECT_EQ(outcome([&] { return value(static_cast<bool>(Zon::strepToValue<Ptr<X>>(wrong))); }), refused);
  EXPECT_EQ(outcome([&] { return value(static_cast<bool>(Zon::strepToValue<Ptr<X const>>(wrong))); }), refused);
}

TEST(RegisteredTypes, TextsOfTheInterfaceModulesTypesAreTyped) {
  using namespace VaroIntf;
  expectTypedText("VaroIntf::Agent", agentFactory("a"));
  expectTypedText("VaroIntf::AllIntfDir", newPtr<AllIntfDir>("d"));
  expectTypedText("VaroIntf::AllIntfReactor", newPtr<AllIntfReactor>(nullptr, nullptr, nullptr, nullptr, nullptr));
  expectTypedText("VaroIntf::AllIntfStatusDirSm", AllIntfStatusDirSm::AllIntfStatusDirSmIs(nullptr, nullptr));
  expectTypedText("VaroIntf::IntfStatusReactor", newPtr<IntfStatusReactor>(newPtr<Interface::IntfStatus>("e1")));
  expectTypedText("VaroIntf::AllIntfQueueCounterReactor",
                  AllIntfQueueCounterReactor::AllIntfQueueCounterReactorIs(nullptr, nullptr, nullptr));
  expectTypedText("VaroIntf::AllIntfQueueCounterSliceReactor",
                  AllIntfQueueCounterSliceReactor::AllIntfQueueCounterSliceReactorIs(nullptr, "s", nullptr, nullptr));
  using Leaf = AllIntfQueueCounterSliceIntfCounterReactor;
  expectTypedText("VaroIntf::AllIntfQueueCounterSliceIntfCounterReactor",
                  Leaf::AllIntfQueueCounterSliceIntfCounterReactorIs(nullptr, "e1", nullptr, nullptr));
}

TEST(RegisteredTypes, TextsOfTheErrdisableModulesTypesAreTyped) {
  using namespace VaroErrdisable;
  auto const root = rootFactory("r");
  expectTypedText("VaroErrdisable::Root", root);
  expectTypedText("VaroErrdisable::AllIntfSM", root->allIntfSMIs(nullptr, nullptr, nullptr, nullptr));
  expectTypedText("VaroErrdisable::IntfSM",
                  intfSMFactory(nullptr, "e1", newPtr<Errdisable::Status>("s"), newPtr<Interface::IntfConfig>("e1")));
}

// The walk.

struct Instance {
  char const* type;
  std::function<Ptr<Zon::PtrInterface>()> make;
};

void PrintTo(Instance const& instance, std::ostream* out) { *out << instance.type; }

class EveryType : public testing::TestWithParam<Instance> {};

TEST_P(EveryType, IsWalkedThrough) {
  auto const node = ZonType::typeNode(GetParam().type);
  ASSERT_TRUE(node);
  auto const object = GetParam().make();
  ASSERT_EQ(object->fwkType(), node.ptr());

  // Text: there and back.
  auto const strep = Zon::valueToStrep(object);
  EXPECT_TRUE(strep.view().starts_with(std::string("<") + GetParam().type + "#"));
  EXPECT_EQ(Zon::strepToValue<Ptr<Zon::PtrInterface>>(strep), object);

  auto const on = node->genericIf(object);
  auto const reader = node->genericIfConst(object);
  auto const nothing = node->genericIf(nullptr);
  auto const wrong = text("a value of no attribute's type is a list of nothing");
  auto const wrongKey = value(true);
  auto const* const entity = dynamic_cast<Zon::Entity const*>(object.ptr());
  std::set<std::string> names;
  for (unsigned i = 0; i != node->attributeQs(); ++i) {
    auto const attribute = node->attributeQ(i);
    std::string const name = attribute->name().stdString();
    SCOPED_TRACE(name);
    EXPECT_TRUE(names.insert(name).second) << "twice";
    EXPECT_EQ(node->attributeQIdx(attribute->name()), attribute);
    EXPECT_EQ(node->describingAttr()->attr(attribute->name()), attribute);
    EXPECT_EQ(attribute->owningType(), node);
    EXPECT_EQ(attribute->flags().value(), 0u);
    ASSERT_TRUE(attribute->attributeType());
    bool listed = false;
    for (auto const& referring : attribute->attributeType()->referringAttributes())
      listed |= referring == attribute;
    EXPECT_TRUE(listed);
    auto const id = attribute->attributeId();
    EXPECT_EQ(on->attributeId(attribute->name()), id);
    if (id != 0) {
      EXPECT_EQ(on->attributeString(id), attribute->name());
      if (entity != nullptr) {
        EXPECT_EQ(entity->attributeString(id), attribute->name());
      }
    }

    char const* const n = name.c_str();
    bool const isFunction = attribute->introspectionFlags() == 8u;
    bool const isCollection = attribute->introspectionFlags() == 32u;
    std::string const constText = "Const: attempting to modify a const instance";
    for (unsigned const modifying : {Op::set + 0U, Op::del + 0U, Op::delAll + 0U, Op::call + 0U, 200U}) {
      EXPECT_EQ(byName(reader, n, modifying, wrongKey, wrong), constText);
    }
    for (unsigned const any : {Op::get + 0U, Op::iterate + 0U, Op::size + 0U, Op::set + 0U}) {
      EXPECT_EQ(byName(on, n, any, wrongKey), "BadIndex: " + name);
      EXPECT_EQ(byName(nothing, n, any, wrongKey), "Range: null ValidPtr");
    }
    EXPECT_EQ(byName(on, n, 77), "Op: " + name + ": operation 77 not supported");
    if (isFunction) {
      EXPECT_EQ(byName(on, n, Op::get), "Op: " + name + ": operation 1 not supported");
      EXPECT_EQ(byName(on, n, Op::call, {}, list(wrong, wrong)), "UnknownArg: " + name);
      EXPECT_TRUE(byName(on, n, Op::call, {}, wrong).starts_with("Type: "));
    } else if (isCollection) {
      EXPECT_EQ(byName(on, n, Op::get), "BadIndex: " + name);
      EXPECT_EQ(byName(on, n, Op::iterate), "iterator");
      EXPECT_EQ(byName(reader, n, Op::iterate), "const iterator");
      EXPECT_TRUE(byName(on, n, Op::size).starts_with("u"));
      EXPECT_EQ(byName(on, n, Op::set, {}, wrong), "Type: Zon::GenericIf::List_");
      EXPECT_TRUE(byName(on, n, Op::set, {}, list()).starts_with("Type: "));
      EXPECT_EQ(byName(on, n, Op::delAll), "null");
      EXPECT_EQ(byName(on, n, Op::size), "u0");
    } else {
      auto const read = outcome([&] { return on->attributeOpByName(n, Op::get); });
      if (GetParam().type == std::string("Zon::Entity") && id != Zon::isNondestructingId) {
        // Known by name and id alone.
        EXPECT_EQ(read, "Op: " + name + ": operation 1 not supported");
        EXPECT_EQ(byName(on, n, Op::set, {}, wrong), "Op: " + name + ": operation 128 not supported");
        continue;
      }
      EXPECT_EQ(read.find("not supported"), std::string::npos) << read;
      auto const held = on->attributeOpByName(n, Op::get);
      // What was read is accepted again, if the attribute is set to a value of its own kind.
      bool const isChild = attribute->isInstantiating();
      if (held && !isChild && byName(on, n, Op::set, {}, list()).starts_with("Type: ")) {
        auto const again = byName(on, n, Op::set, {}, held);
        EXPECT_TRUE(again == "null" || again == "Range: null ValidPtr") << again;
      }
      if (isChild || byName(on, n, Op::set).starts_with("Type: ")) {
        EXPECT_TRUE(byName(on, n, Op::set, {}, value(3U)).starts_with("Type: "));
      }
    }
  }
  EXPECT_EQ(node->attributeQ(node->attributeQs()), nullptr);
  EXPECT_EQ(node->attributeQIdx("no such attribute"), nullptr);
  EXPECT_EQ(op(on, 12345, Op::get), "Op: unknown: operation 1 not supported");
}

// Their owners keep what the constructed reactors refer to.
auto const immediate = [] { return newPtr<Zon::ActivityConfig>(Zon::ActivityConfig::Delivery::immediate); };

Instance const instances[] = {
    Instance{"Zon::PtrInterface", [] { return newPtr<Zon::GenericIf::List>(); }},
    Instance{"Zon::Entity", [] { return newPtr<Zon::Entity>("e"); }},
    Instance{"Zon::ActivityConfig", [] { return newPtr<Zon::ActivityConfig>(); }},
    Instance{"Interface::IntfStatus::NotifieeConst", [] { return newPtr<Interface::IntfStatus::NotifieeConst>(); }},
    Instance{"Pelto::ShmemMan", [] { return newPtr<Pelto::ShmemMan>("", 4096); }},
    Instance{"Pelto::CounterBlock", [] { return newPtr<Pelto::CounterBlock>("b", nullptr); }},
    Instance{"Zon::Dir", [] { return newPtr<Zon::Dir>("d"); }},
    Instance{"Interface::IntfConfig", [] { return newPtr<Interface::IntfConfig>("e1"); }},
    Instance{"Interface::IntfStatus", [] { return newPtr<Interface::IntfStatus>("e1"); }},
    Instance{"Interface::AllIntfConfigDir", [] { return newPtr<Interface::AllIntfConfigDir>("d"); }},
    Instance{"Interface::AllIntfStatusDir", [] { return newPtr<Interface::AllIntfStatusDir>("d"); }},
    Instance{"Interface::AllIntfQueueCounterDir", [] { return newPtr<Interface::AllIntfQueueCounterDir>("d"); }},
    Instance{"Interface::AllIntfQueueCounterPtrDir", [] { return newPtr<Interface::AllIntfQueueCounterPtrDir>("d"); }},
    Instance{"Interface::IntfQueueCounterDir", [] { return newPtr<Interface::IntfQueueCounterDir>("e1"); }},
    Instance{"Interface::IntfQueueCounter", [] { return newPtr<Interface::IntfQueueCounter>("drops"); }},
    Instance{"Errdisable::Status", [] { return newPtr<Errdisable::Status>("s"); }},
    Instance{"VaroErrdisable::Root", [] { return VaroErrdisable::rootFactory("r"); }},
    Instance{"VaroErrdisable::AllIntfSM",
             [] {
               return VaroErrdisable::AllIntfSM::AllIntfSMIs(immediate(), newPtr<Interface::AllIntfConfigDir>("c"),
                                                             newPtr<Interface::AllIntfStatusDir>("s"),
                                                             newPtr<Errdisable::Status>("e"));
             }},
    Instance{"VaroErrdisable::IntfSM",
             [] {
               return VaroErrdisable::intfSMFactory(immediate(), "e1", newPtr<Errdisable::Status>("e"),
                                                    newPtr<Interface::IntfConfig>("e1"));
             }},
    Instance{"VaroIntf::Agent", [] { return VaroIntf::agentFactory("a"); }},
    Instance{"VaroIntf::AllIntfDir", [] { return newPtr<VaroIntf::AllIntfDir>("d"); }},
    Instance{"VaroIntf::AllIntfReactor",
             [] {
               return newPtr<VaroIntf::AllIntfReactor>(
                   immediate(), newPtr<Interface::AllIntfConfigDir>("c"), newPtr<Interface::AllIntfStatusDir>("s"),
                   newPtr<Interface::AllIntfConfigDir>("i"), newPtr<Interface::AllIntfStatusDir>("j"));
             }},
    Instance{"VaroIntf::AllIntfStatusDirSm",
             [] {
               return VaroIntf::AllIntfStatusDirSm::AllIntfStatusDirSmIs(immediate(),
                                                                         newPtr<Interface::AllIntfStatusDir>("s"));
             }},
    Instance{"VaroIntf::IntfStatusReactor",
             [] { return newPtr<VaroIntf::IntfStatusReactor>(newPtr<Interface::IntfStatus>("e1")); }},
    Instance{"VaroIntf::AllIntfQueueCounterReactor",
             [] {
               return VaroIntf::AllIntfQueueCounterReactor::AllIntfQueueCounterReactorIs(
                   immediate(), newPtr<Interface::AllIntfQueueCounterPtrDir>("o"), newPtr<Zon::Dir>("i"));
             }},
    Instance{"VaroIntf::AllIntfQueueCounterSliceReactor",
             [] {
               return VaroIntf::AllIntfQueueCounterSliceReactor::AllIntfQueueCounterSliceReactorIs(
                   immediate(), "s", newPtr<Interface::AllIntfQueueCounterPtrDir>("o"),
                   newPtr<Interface::AllIntfQueueCounterDir>("s"));
             }},
    Instance{
        "VaroIntf::AllIntfQueueCounterSliceIntfCounterReactor", [] {
          return VaroIntf::AllIntfQueueCounterSliceIntfCounterReactor::AllIntfQueueCounterSliceIntfCounterReactorIs(
              immediate(), "e1", newPtr<Interface::IntfQueueCounterDir>("e1"),
              newPtr<Interface::AllIntfQueueCounterDir>("s"));
        }}};

TEST(RegisteredTypes, EveryTypeOfObjectsIsWalkedThrough) {
  std::set<std::string> walked;
  for (auto const& instance : instances)
    walked.insert(instance.type);
  std::string values, forgotten;
  for (auto const& type : ZonType::typeNodes()) {
    std::string const name = type->fullName().stdString();
    if (outcome([&] { return type->genericIf(nullptr); }) == "Type: " + name) {
      values += name + " ";
    } else if (!walked.contains(name)) {
      forgotten += name + " ";
    }
  }
  EXPECT_EQ(forgotten, "");
  EXPECT_EQ(values, "Zon::String8 void bool std::int32_t std::uint32_t Interface::IntfEnabledState Orvet::IntfId ");
}

INSTANTIATE_TEST_SUITE_P(RegisteredTypes, EveryType, testing::ValuesIn(instances),
                         [](testing::TestParamInfo<Instance> const& instance) {
                           std::string name = instance.param.type;
                           std::erase(name, ':');
                           return name;
                         });

}  // namespace
