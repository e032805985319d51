// The table-driven reflection over sample classes: every operation of every kind of attribute, and every refusal.

#include "Zon/AttrTable.h"

#include <functional>
#include <vector>

#include <gtest/gtest.h>

#include "Zon/Dir.h"
#include "Zon/Reactor.h"
#include "platform/Interface/AllIntfQueueCounterDir.h"
#include "support/Reflected.h"

using test::byName;
using test::list;
using test::op;
using test::Op;
using test::outcome;
using test::ref;
using test::shown;
using test::text;
using test::value;

namespace sample {

extern Zon::TypeModule zonTypeModule;

class Lane : public Zon::ReactorOf<Lane>, public Zon::HashMapLink<Lane> {
 public:
  Lane(Zon::Ptr<Zon::ActivityConfig> const& activity, Zon::String8 laneId)
    : ReactorOf(activity), laneId_(std::move(laneId)) {}
  ~Lane() override { zonTearDown(); }
  Zon::ZonType* fwkType() const override { return _fwkType(); }
  static Zon::ZonType* _fwkType();
  using GenericIf_ = Zon::TableGenericIf<Lane>;

  Zon::String8 const& laneId() const noexcept { return laneId_; }
  Zon::String8 const& fwkKey() const noexcept { return laneId_; }

 private:
  friend Zon::ReactorOf<Lane>;
  static constexpr auto zonInputs() { return std::tuple<>(); }
  Zon::String8 const laneId_;
};

class PortSm : public Zon::ReactorOf<PortSm> {
 public:
  using Lanes = Zon::HashMap<Lane, Zon::String8>;
  using LaneSmIterator = Lanes::Iterator;
  explicit PortSm(Zon::Ptr<Zon::ActivityConfig> const& activity, Orvet::IntfId portId)
    : ReactorOf(activity), portId_(std::move(portId)) {}
  ~PortSm() override { zonTearDown(); }
  Zon::ZonType* fwkType() const override { return _fwkType(); }
  static Zon::ZonType* _fwkType();
  static bool _fwkTypeRegistered();
  using GenericIf_ = Zon::TableGenericIf<PortSm>;

  Orvet::IntfId const& portId() const noexcept { return portId_; }
  Zon::Ptr<Zon::Dir> input() const { return input_; }
  void inputIs(Zon::Ptr<Zon::Dir> const& dir) { input_ = dir; }
  Zon::Ptr<Zon::Dir> inputDel() { return std::exchange(input_, nullptr); }
  Zon::Ptr<Zon::Dir const> reader() const { return reader_; }
  void readerIs(Zon::Ptr<Zon::Dir const> const& dir) { reader_ = dir; }
  Zon::Ptr<Zon::Dir const> readerDel() { return std::exchange(reader_, nullptr); }

  Zon::Ptr<Lane> laneSm(Zon::String8 const& id) { return lanes_.member(id); }
  Zon::Ptr<Lane const> laneSm(Zon::String8 const& id) const { return lanes_.member(id); }
  Zon::Ptr<Lane> laneSmIs(Zon::Ptr<Zon::ActivityConfig> const& activity, Zon::String8 const& id) {
    auto const lane = Zon::newPtr<Lane>(activity, id);
    lanes_.newMember(lane, Lanes::hashOf(id));
    return lane;
  }
  Zon::Ptr<Lane> laneSmDel(Zon::String8 const& id) { return lanes_.memberDel(id); }
  Zon::Ptr<Lane> laneSmDel(LaneSmIterator& at) { return lanes_.memberDel(at); }
  void laneSmDelAll() { lanes_.memberDelAll(); }
  LaneSmIterator laneSmIterator() { return lanes_; }

  void handleAll() {
    calls.push_back("all");
    if (onAll) onAll();
    calls.push_back("end");
  }
  std::function<void()> onAll;
  void handleLane(Zon::String8 id) { calls.push_back("lane " + id.stdString()); }
  void handleState() { calls.push_back("state"); }
  void handleState(Zon::String8 id) { calls.push_back("state " + id.stdString()); }
  bool initialized() const noexcept { return initialized_; }
  void initializedIs(bool initialized) noexcept { initialized_ = initialized; }
  std::int32_t speed() const { return speed_; }
  void speedIs(std::int32_t speed) { speed_ = speed; }

  std::vector<std::string> calls;

 private:
  friend Zon::ReactorOf<PortSm>;
  static constexpr auto zonInputs() { return std::tuple<>(); }
  Orvet::IntfId const portId_;
  Zon::Ptr<Zon::Dir> input_;
  Zon::Ptr<Zon::Dir const> reader_;
  Lanes lanes_;
  bool initialized_ = false;
  std::int32_t speed_ = 0;
};

class Card : public Zon::Entity {
 public:
  using Zon::Entity::Entity;
  Zon::ZonType* fwkType() const override { return _fwkType(); }
  static Zon::ZonType* _fwkType();
  using GenericIf_ = Zon::TableGenericIf<Card>;

  Zon::Ptr<Zon::Dir> dir() const { return dir_; }
  Zon::Ptr<Zon::Dir> dirIs(Zon::Name name) { return dir_ = Zon::newPtr<Zon::Dir>(name); }
  Zon::Ptr<Zon::Dir> dirDel() { return std::exchange(dir_, nullptr); }
  Zon::Ptr<PortSm> portSm() const { return portSm_; }
  Zon::Ptr<PortSm> portSmIs(Zon::Ptr<Zon::ActivityConfig> const& activity, Orvet::IntfId portId) {
    return portSm_ = Zon::newPtr<PortSm>(activity, portId);
  }
  Zon::Ptr<PortSm> portSmDel() { return std::exchange(portSm_, nullptr); }

 private:
  Zon::Ptr<Zon::Dir> dir_;
  Zon::Ptr<PortSm> portSm_;
};

Zon::Ptr<PortSm> portSmFactory(Zon::Ptr<Zon::ActivityConfig> const& activity, Orvet::IntfId portId) {
  return Zon::newPtr<PortSm>(activity, std::move(portId));
}

namespace {

constexpr auto laneAttributes =
    Zon::attributes(Zon::activityAttr<Lane>(), Zon::valueAttr("laneId", 130, &Lane::laneId), Zon::keyAttr<Lane>());
constinit Zon::TypeSlot laneSlot =
    Zon::typeSlot<Lane>(zonTypeModule, "sample::Lane", &Zon::PtrInterface::_fwkType, laneAttributes);

constexpr auto portAttributes =
    Zon::attributes(Zon::activityAttr<PortSm>(), Zon::valueAttr("portId", 130, &PortSm::portId),
                    Zon::inputAttr("input", 131, &PortSm::input, &PortSm::inputIs, &PortSm::inputDel),
                    Zon::inputAttr("reader", 132, &PortSm::reader, &PortSm::readerIs, &PortSm::readerDel),
                    Zon::collectionAttr<PortSm::LaneSmIterator>(
                        "laneSm", 133, Zon::parameters("zonFwkActivity", "laneId"), &PortSm::laneSm, &PortSm::laneSmIs,
                        &PortSm::laneSmDel, &PortSm::laneSmDel, &PortSm::laneSmDelAll, &PortSm::laneSmIterator),
                    Zon::functionAttr("handleAll", 134, &PortSm::handleAll),
                    Zon::functionAttr("handleLane", 136, "id", &PortSm::handleLane),
                    Zon::functionAttr("handleState", 137, "id", &PortSm::handleState, &PortSm::handleState),
                    Zon::valueAttr("initialized", 138, &PortSm::initialized, &PortSm::initializedIs),
                    Zon::valueAttr("speed", 139, &PortSm::speed, &PortSm::speedIs), Zon::activeSwitchAttr<PortSm>(),
                    Zon::zombieSwitchAttr<PortSm>());
constexpr auto portCreation = Zon::creator(&portSmFactory, "zonFwkActivity", "portId");
constinit Zon::TypeSlot portSlot =
    Zon::typeSlot<PortSm>(zonTypeModule, "sample::PortSm", &Zon::PtrInterface::_fwkType, portAttributes)
        .constructible<portCreation>();

constexpr auto cardAttributes =
    Zon::attributes(Zon::isNondestructingAttr(), Zon::childAttr("dir", 258, &Card::dir, &Card::dirIs, &Card::dirDel),
                    Zon::childAttr("portSm", 259, Zon::parameters("zonFwkActivity", "portId"), &Card::portSm,
                                   &Card::portSmIs, &Card::portSmDel));
constinit Zon::TypeSlot cardSlot =
    Zon::typeSlot<Card>(zonTypeModule, "sample::Card", &Zon::Entity::_fwkType, cardAttributes);

constexpr Zon::TypeModule::Type types[] = {&Lane::_fwkType, &PortSm::_fwkType, &Card::_fwkType};

// Asked before the module is registered, as another static initialiser may.
unsigned const attributesBeforeRegistration = Card::_fwkType()->attributeQs();
bool const registeredBefore = PortSm::_fwkTypeRegistered();

}  // namespace

constinit Zon::TypeModule zonTypeModule(types);
bool const isRegistered = zonTypeModule.registerTypes();

Zon::ZonType* Lane::_fwkType() { return laneSlot.node(); }
Zon::ZonType* PortSm::_fwkType() { return portSlot.node(); }
bool PortSm::_fwkTypeRegistered() { return portSlot.registered(); }
Zon::ZonType* Card::_fwkType() { return cardSlot.node(); }

}  // namespace sample

using sample::Card;
using sample::Lane;
using sample::PortSm;
using Zon::newPtr;
using Zon::Ptr;

namespace {

constexpr char const* constText = "Const: attempting to modify a const instance";

class AttrTable : public testing::Test {
 protected:
  Ptr<Zon::ActivityConfig> const activity = newPtr<Zon::ActivityConfig>();
  Ptr<PortSm> const port = newPtr<PortSm>(activity, "e1");
  test::If const port_ = newPtr<PortSm::GenericIf_>(port);
  test::If const reader_ = newPtr<PortSm::GenericIf_>(Ptr<PortSm const>(port));
  Ptr<Card> const card = newPtr<Card>("card");
  test::If const card_ = newPtr<Card::GenericIf_>(card);
  test::If const cardReader_ = newPtr<Card::GenericIf_>(Ptr<Card const>(card));
  Ptr<Zon::Dir> const dir = newPtr<Zon::Dir>("dir");

  test::If lanes(char const* id) { return list(ref(activity), text(id)); }
};

TEST_F(AttrTable, NodesAreCompleteBeforeRegistration) {
  EXPECT_EQ(sample::attributesBeforeRegistration, 3u);
  EXPECT_FALSE(sample::registeredBefore);
  EXPECT_TRUE(sample::isRegistered);
  EXPECT_TRUE(PortSm::_fwkTypeRegistered());
  EXPECT_EQ(PortSm::_fwkType(), PortSm::_fwkType());
}

TEST_F(AttrTable, ValuesAreReadAndSet) {
  EXPECT_EQ(op(port_, 138, Op::get), "false");
  EXPECT_EQ(op(port_, 138, Op::set, {}, value(true)), "null");
  EXPECT_TRUE(port->initialized());
  EXPECT_EQ(op(port_, 139, Op::set, {}, value<std::int32_t>(-7)), "null");
  EXPECT_EQ(op(reader_, 139, Op::get), "i-7");
  EXPECT_EQ(op(port_, 130, Op::get), "id e1");
}

TEST_F(AttrTable, ValuesAreStrict) {
  EXPECT_EQ(op(port_, 138, Op::set), "Type: initialized");
  EXPECT_EQ(op(port_, 138, Op::set, {}, text("true")), "Type: initialized");
  EXPECT_EQ(op(port_, 139, Op::set, {}, value<std::uint32_t>(1)), "Type: speed");
  EXPECT_EQ(op(port_, 139, Op::set, {}, value(true)), "Type: speed");
  EXPECT_EQ(op(port_, 139, Op::set, {}, list(value<std::int32_t>(1))), "Type: speed");
  EXPECT_EQ(port->speed(), 0);
}

TEST_F(AttrTable, WhatIsNotOfferedIsRefusedWithTheOperation) {
  EXPECT_EQ(op(port_, 130, Op::set, {}, test::intf("x")), "Op: portId: operation 128 not supported");
  EXPECT_EQ(op(port_, 138, Op::del), "Op: initialized: operation 129 not supported");
  EXPECT_EQ(op(port_, 138, Op::iterate), "Op: initialized: operation 2 not supported");
  EXPECT_EQ(op(port_, 131, Op::size), "Op: input: operation 3 not supported");
  EXPECT_EQ(op(port_, 134, Op::get), "Op: handleAll: operation 1 not supported");
  EXPECT_EQ(op(port_, 138, 77), "Op: initialized: operation 77 not supported");
  EXPECT_EQ(op(port_, 138, 255), "Op: initialized: operation 255 not supported");
  EXPECT_EQ(op(port_, 133, Op::call), "Op: laneSm: operation 131 not supported");
  EXPECT_EQ(op(port_, 133, Op::call, text("a")), "Op: laneSm: operation 131 not supported");
  EXPECT_EQ(op(card_, 258, Op::iterate), "Op: dir: operation 2 not supported");
}

TEST_F(AttrTable, UnknownAttributesAreRefused) {
  EXPECT_EQ(op(port_, 135, Op::get), "Op: unknown: operation 1 not supported");
  EXPECT_EQ(op(port_, 0, Op::get), "Op: zonFwkActivity: operation 1 not supported");
  EXPECT_EQ(op(card_, 0, Op::get), "Op: unknown: operation 1 not supported");
  EXPECT_EQ(op(port_, -1, Op::get), "Op: unknown: operation 1 not supported");
  EXPECT_EQ(op(card_, 130, Op::get), "Op: name: operation 1 not supported");
  EXPECT_EQ(op(card_, 131, Op::set, {}, value(true)), "Op: parent: operation 128 not supported");
  EXPECT_EQ(op(card_, 5, Op::get), "Op: zeroReferences: operation 1 not supported");
  EXPECT_EQ(byName(port_, "nothing", Op::get), "Op: nothing: operation 1 not supported");
  EXPECT_EQ(op(reader_, 135, 200), constText);
}

TEST_F(AttrTable, TheModifyingOperationsAreThoseFrom128To255) {
  EXPECT_EQ(op(reader_, 138, 127), "Op: initialized: operation 127 not supported");
  EXPECT_EQ(op(reader_, 138, 128), constText);
  EXPECT_EQ(op(reader_, 138, 255), constText);
  EXPECT_EQ(op(reader_, 138, 256), "Op: initialized: operation 256 not supported");
}

TEST_F(AttrTable, RefusalsComeInTheirOrder) {
  // Const before the key, the key before the operation, the operation before the value.
  EXPECT_EQ(op(reader_, 138, Op::set, text("k"), text("v")), constText);
  EXPECT_EQ(op(port_, 138, Op::set, text("k"), text("v")), "BadIndex: initialized");
  EXPECT_EQ(op(port_, 138, Op::del, text("k")), "BadIndex: initialized");
  EXPECT_EQ(op(port_, 138, Op::del, {}, text("v")), "Op: initialized: operation 129 not supported");
  EXPECT_EQ(op(port_, 133, Op::get), "BadIndex: laneSm");
  EXPECT_EQ(op(port_, 133, Op::get, test::intf("a")), "BadIndex: laneSm");
  EXPECT_EQ(op(port_, 133, Op::del), "BadIndex: laneSm");
  EXPECT_EQ(op(port_, 133, Op::delAll, text("a")), "BadIndex: laneSm");
  EXPECT_EQ(op(port_, 133, Op::set, text("a"), lanes("a")), "BadIndex: laneSm");
  EXPECT_EQ(op(port_, 133, Op::size, text("a")), "BadIndex: laneSm");
  EXPECT_EQ(op(port_, 134, Op::call, text("a")), "BadIndex: handleAll");
  EXPECT_EQ(op(reader_, 134, Op::call), constText);
  EXPECT_EQ(op(reader_, 131, Op::del), constText);
  EXPECT_EQ(op(reader_, 133, Op::delAll), constText);
}

TEST_F(AttrTable, InputsAreReadSetAndRemoved) {
  EXPECT_EQ(op(port_, 131, Op::get), "ref null");
  EXPECT_EQ(op(port_, 131, Op::set, {}, ref(dir)), "null");
  EXPECT_EQ(port->input(), dir);
  EXPECT_EQ(op(port_, 131, Op::get), "ref Dir");
  EXPECT_EQ(op(reader_, 131, Op::get), "ref Dir") << "references keep the constness they were declared with";
  EXPECT_EQ(op(port_, 131, Op::del), "ref Dir");
  EXPECT_EQ(op(port_, 131, Op::del), "null");
  EXPECT_EQ(op(port_, 131, Op::set, {}, newPtr<Zon::Dir::GenericIf_>(dir)), "null") << "an interface passes too";
  EXPECT_EQ(op(port_, 131, Op::set, {}, ref(Ptr<Zon::Dir>())), "null") << "null is a legal value";
  EXPECT_EQ(port->input(), nullptr);
}

TEST_F(AttrTable, ReferencesAreStrictAboutTypeAndConstness) {
  Ptr<Zon::Entity> const asBase = dir;
  EXPECT_EQ(op(port_, 131, Op::set, {}, ref(asBase)), "null") << "the dynamic type counts";
  EXPECT_EQ(op(port_, 131, Op::set, {}, ref(card)), "Type: input");
  EXPECT_EQ(op(port_, 131, Op::set, {}, ref(Ptr<Zon::Dir const>(dir))), "Type: input");
  EXPECT_EQ(op(port_, 131, Op::set, {}, newPtr<Zon::Dir::GenericIf_>(Ptr<Zon::Dir const>(dir))), "Type: input");
  EXPECT_EQ(op(port_, 132, Op::set, {}, ref(dir)), "null") << "mutable passes for const";
  EXPECT_EQ(op(port_, 132, Op::get), "const ref Dir");
  EXPECT_EQ(op(port_, 131, Op::set, {}, text("dir")), "Type: input");
  EXPECT_EQ(op(port_, 131, Op::set), "Type: input");
}

TEST_F(AttrTable, NullReferencesHaveATypeToo) {
  auto const slice = ref(Ptr<Interface::AllIntfQueueCounterDir>());
  EXPECT_EQ(op(port_, 131, Op::set, {}, slice), "null") << "a derived type passes for its base";
  EXPECT_EQ(op(port_, 131, Op::set, {}, ref(Ptr<Card>())), "Type: input");
  EXPECT_EQ(op(port_, 131, Op::set, {}, ref(Ptr<Zon::Entity>())), "Type: input") << "the base may be anything else";
  EXPECT_EQ(op(port_, 131, Op::set, {}, ref(Ptr<Zon::Dir const>())), "Type: input");
  EXPECT_EQ(op(port_, 132, Op::set, {}, ref(Ptr<Zon::Dir>())), "null") << "mutable passes for const";
  EXPECT_EQ(op(port_, 132, Op::set, {}, ref(Ptr<Zon::Dir const>())), "null");
}

TEST_F(AttrTable, ReferencesServeTheAttributesOfTheirObject) {
  auto const reference = ref(port);
  EXPECT_EQ(byName(reference, "initialized", Op::set, {}, value(true)), "null");
  EXPECT_EQ(byName(ref(Ptr<PortSm const>(port)), "initialized", Op::get), "true");
  EXPECT_EQ(byName(ref(Ptr<PortSm const>(port)), "initialized", Op::set, {}, value(true)), constText);
  EXPECT_EQ(byName(ref(Ptr<PortSm>()), "initialized", Op::get), "Range: null ValidPtr");
  EXPECT_EQ(byName(ref(Ptr<PortSm const>()), "initialized", Op::set, {}, value(true)), constText)
      << "const comes first";
  EXPECT_EQ(reference->attributeId("speed"), 139);
}

TEST_F(AttrTable, ReferencesServeTheAttributesOfTheirObjectById) {
  auto const reference = ref(port);
  auto const constant = ref(Ptr<PortSm const>(port));
  auto const null = ref(Ptr<PortSm>());
  EXPECT_EQ(op(reference, 138, Op::set, {}, value(true)), "null");
  EXPECT_EQ(op(constant, 138, Op::get), "true");
  EXPECT_EQ(op(constant, 138, Op::set, {}, value(false)), constText);
  EXPECT_TRUE(port->initialized());
  EXPECT_EQ(op(null, 138, Op::get), "Range: null ValidPtr");
  EXPECT_EQ(op(ref(Ptr<PortSm const>()), 138, Op::set, {}, value(true)), constText) << "const comes first";
  EXPECT_EQ(reference->attributeString(138), "initialized");
  EXPECT_EQ(reference->attributeString(1), "unknown");
  EXPECT_EQ(null->attributeString(138), "unknown");
  EXPECT_EQ(null->attributeId("initialized"), -1);
}

TEST_F(AttrTable, ReferencesAreWalkedAsTheirObjectIs) {
  for (char const* id : {"a", "b"})
    op(port_, 133, Op::set, {}, lanes(id));
  auto const reference = ref(port);
  auto const constant = ref(Ptr<PortSm const>(port));
  auto const null = ref(Ptr<PortSm>());
  auto const first = shown(port_->attributeIterator_iterKey(port_->attributeIterator(133)));
  for (auto const& walk :
       {reference->attributeIterator(133), reference->attributeIteratorConst(133), constant->attributeIterator(133)}) {
    EXPECT_EQ(shown(port_->attributeIterator_iterKey(walk)), first);
  }
  EXPECT_FALSE(reference->attributeIterator(133)->isConst());
  EXPECT_TRUE(reference->attributeIteratorConst(133)->isConst());
  EXPECT_TRUE(constant->attributeIterator(133)->isConst());
  for (char const* id : {"a", "b"}) {
    auto const at = reference->attributeIteratorKey(133, text(id));
    EXPECT_EQ(shown(port_->attributeIterator_iterKey(at)), "\"" + std::string(id) + "\"");
  }
  EXPECT_EQ(outcome([&] { return reference->attributeIterator(138); }), "Op: initialized: operation 2 not supported");
  EXPECT_EQ(outcome([&] { return null->attributeIterator(133); }), "Range: null ValidPtr");
  EXPECT_EQ(outcome([&] { return null->attributeIteratorConst(133); }), "Range: null ValidPtr");
  EXPECT_EQ(outcome([&] { return null->attributeIteratorKey(133, text("a")); }), "Range: null ValidPtr");
}

TEST_F(AttrTable, CollectionsAreCreatedReadAndRemovedByKey) {
  EXPECT_EQ(op(port_, 133, Op::get, text("a")), "null");
  EXPECT_EQ(op(port_, 133, Op::set, {}, lanes("a")), "if Lane");
  EXPECT_EQ(op(port_, 133, Op::set, {}, lanes("b")), "if Lane");
  EXPECT_EQ(op(reader_, 133, Op::size), "u2");
  EXPECT_EQ(op(port_, 133, Op::get, text("a")), "if Lane");
  EXPECT_EQ(op(reader_, 133, Op::get, text("a")), "const if Lane") << "const travels";
  EXPECT_EQ(op(port_, 133, Op::del, text("a")), "if Lane");
  EXPECT_EQ(op(port_, 133, Op::del, text("a")), "null");
  EXPECT_EQ(op(port_, 133, Op::delAll), "null");
  EXPECT_EQ(op(port_, 133, Op::size), "u0");
}

TEST_F(AttrTable, CollectionArgumentsAreCheckedBeforeAnythingIsMade) {
  EXPECT_EQ(op(port_, 133, Op::set), "Type: Zon::GenericIf::List_");
  EXPECT_EQ(op(port_, 133, Op::set, {}, text("a")), "Type: Zon::GenericIf::List_");
  EXPECT_EQ(op(port_, 133, Op::set, {}, newPtr<Zon::GenericIf::List_>(nullptr)), "Type: List");
  EXPECT_EQ(op(port_, 133, Op::set, {}, list()), "Type: zonFwkActivity");
  EXPECT_EQ(op(port_, 133, Op::set, {}, list(test::If(), text("a"))), "Type: zonFwkActivity");
  EXPECT_EQ(op(port_, 133, Op::set, {}, list(ref(activity))), "Type: laneId");
  EXPECT_EQ(op(port_, 133, Op::set, {}, list(ref(activity), test::intf("a"))), "Type: laneId");
  EXPECT_EQ(op(port_, 133, Op::set, {}, list(ref(activity), text("a"), text("b"))), "UnknownArg: laneSm");
  EXPECT_EQ(op(port_, 133, Op::size), "u0");
  EXPECT_EQ(op(port_, 133, Op::set, {}, list(ref(Ptr<Zon::ActivityConfig>()), text("a"))), "if Lane")
      << "a null activity is a legal argument";
}

TEST_F(AttrTable, ListsAreNeverConsumed) {
  auto const arguments = lanes("a");
  EXPECT_EQ(op(port_, 133, Op::set, {}, arguments), "if Lane");
  EXPECT_EQ(Zon::ptrCast<Zon::GenericIf::List_>(arguments)->list()->size(), 2u);
}

TEST_F(AttrTable, FunctionsTakeTheirArgumentsAndNoMore) {
  EXPECT_EQ(op(port_, 134, Op::call), "null");
  EXPECT_EQ(op(port_, 134, Op::call, {}, list()), "null");
  EXPECT_EQ(op(port_, 134, Op::call, {}, list(text("a"))), "UnknownArg: handleAll");
  EXPECT_EQ(op(port_, 134, Op::call, {}, text("a")), "Type: Zon::GenericIf::List_");
  EXPECT_EQ(op(port_, 136, Op::call), "Type: id");
  EXPECT_EQ(op(port_, 136, Op::call, {}, list(test::If())), "Type: id");
  EXPECT_EQ(op(port_, 136, Op::call, {}, list(text("a"), text("b"))), "UnknownArg: handleLane");
  EXPECT_EQ(op(port_, 136, Op::call, {}, list(text("a"))), "null");
  EXPECT_EQ(op(port_, 137, Op::call), "null");
  EXPECT_EQ(op(port_, 137, Op::call, {}, list(text("b"))), "null");
  EXPECT_EQ(op(port_, 137, Op::call, {}, list(test::If())), "Type: id") << "a null element is a missing argument";
  EXPECT_EQ(op(port_, 137, Op::call, {}, list(text("a"), text("b"))), "UnknownArg: handleState");
  EXPECT_EQ(port->calls, (std::vector<std::string>{"all", "end", "all", "end", "lane a", "state", "state b"}));
}

TEST_F(AttrTable, SharedAttributesWorkByName) {
  EXPECT_EQ(byName(port_, "zonFwkActivity", Op::get), "ref ActivityConfig");
  EXPECT_EQ(byName(port_, "zonFwkActivity", Op::set, {}, ref(Ptr<Zon::ActivityConfig>())), "null");
  EXPECT_EQ(byName(port_, "zonFwkActivity", Op::get), "ref null");
  EXPECT_EQ(byName(port_, "hasNotificationActiveIs", Op::call, {}, list(value(true))), "null");
  EXPECT_TRUE(port->hasNotificationActive());
  EXPECT_EQ(byName(port_, "hasNotificationActiveIs", Op::call), "Type: active");
  EXPECT_EQ(byName(port_, "zonDoZombieReactors", Op::call, {}, list(value(true))), "null");
  EXPECT_TRUE(port->zonMarkedForDeletion());
  EXPECT_EQ(byName(port_, "fwkKey", Op::get), "Op: fwkKey: operation 1 not supported") << "a port has no key";
  EXPECT_EQ(byName(newPtr<Lane::GenericIf_>(newPtr<Lane>(activity, "l")), "fwkKey", Op::get), "\"l\"");
}

TEST_F(AttrTable, ChildrenAreMadeByNameOrByParameters) {
  EXPECT_EQ(op(card_, 258, Op::get), "null");
  EXPECT_EQ(op(card_, 258, Op::set, {}, text("d")), "if Dir");
  EXPECT_EQ(card->dir()->name(), "d");
  EXPECT_EQ(op(card_, 258, Op::set, {}, list(text("e"))), "if Dir");
  EXPECT_EQ(card->dir()->name(), "e");
  EXPECT_EQ(op(cardReader_, 258, Op::get), "const if Dir") << "const travels";
  EXPECT_EQ(op(card_, 258, Op::set, {}, value(true)), "Type: dir");
  EXPECT_EQ(op(card_, 258, Op::set, {}, list(text("e"), text("f"))), "UnknownArg: dir");
  EXPECT_EQ(op(card_, 258, Op::del), "if Dir");
  EXPECT_EQ(op(card_, 258, Op::del), "null");
  EXPECT_EQ(op(card_, 259, Op::set, {}, text("p")), "Type: Zon::GenericIf::List_");
  EXPECT_EQ(op(card_, 259, Op::set, {}, list(ref(activity), test::intf("p"))), "if PortSm");
  EXPECT_EQ(op(cardReader_, 259, Op::get), "const if PortSm");
  EXPECT_EQ(op(cardReader_, 259, Op::del), constText);
}

TEST_F(AttrTable, EntitiesServeTheirSwitch) {
  EXPECT_EQ(op(card_, 6, Op::get), "false");
  EXPECT_EQ(op(card_, 6, Op::set, {}, value(true)), "null");
  EXPECT_EQ(op(card_, 6, Op::get), "true");
  EXPECT_EQ(op(card_, 6, Op::set, {}, value(false)), "null");
  EXPECT_EQ(op(card_, 6, Op::del), "Op: isNondestructing: operation 129 not supported");
  EXPECT_EQ(op(card_, 6, Op::get, text("k")), "BadIndex: isNondestructing");
  EXPECT_EQ(op(newPtr<Zon::GenericIfEntity>(Ptr<Zon::Entity>(card)), 6, Op::get), "false");
  EXPECT_EQ(op(newPtr<Zon::GenericIfEntity>(Ptr<Zon::Entity>(card)), 258, Op::get),
            "Op: unknown: operation 1 not supported");
  EXPECT_EQ(op(newPtr<Zon::GenericIfPtrInterface>(Ptr<Zon::PtrInterface>(port)), 138, Op::get),
            "Op: unknown: operation 1 not supported");
}

TEST_F(AttrTable, AnInterfaceOfABaseTakesPointersToDerivedObjects) {
  EXPECT_EQ(op(newPtr<Zon::Entity::GenericIf_>(card), 6, Op::get), "false");
  EXPECT_EQ(op(newPtr<Zon::Entity::GenericIf_>(card), 6, Op::set, {}, value(true)), "null");
  EXPECT_EQ(op(newPtr<Zon::Entity::GenericIf_>(Ptr<Card const>(card)), 6, Op::get), "true");
  EXPECT_EQ(op(newPtr<Zon::Entity::GenericIf_>(Ptr<Card const>(card)), 6, Op::set, {}, value(false)), constText);
  EXPECT_EQ(op(newPtr<Zon::Entity::GenericIf_>(card), 6, Op::set, {}, value(false)), "null");
}

TEST_F(AttrTable, NullInterfacesAnswerNamesOnly) {
  test::If const nothing = newPtr<PortSm::GenericIf_>(Ptr<PortSm>());
  EXPECT_EQ(nothing->attributeString(138), "initialized");
  EXPECT_EQ(nothing->attributeId("speed"), 139);
  EXPECT_EQ(op(nothing, 138, Op::get), "Range: null ValidPtr");
  EXPECT_EQ(op(nothing, 999, Op::get), "Range: null ValidPtr");
  EXPECT_EQ(outcome([&] { return nothing->attributeIterator(133); }), "Range: null ValidPtr");
  EXPECT_EQ(op(newPtr<PortSm::GenericIf_>(Ptr<PortSm const>()), 138, Op::set), constText);
}

TEST_F(AttrTable, NamesAndIdsConvert) {
  EXPECT_EQ(port_->attributeString(133), "laneSm");
  EXPECT_EQ(port_->attributeString(135), "unknown");
  EXPECT_EQ(port_->attributeString(0), "zonFwkActivity");
  EXPECT_EQ(port_->attributeId("handleState"), 137);
  EXPECT_EQ(port_->attributeId("hasNotificationActiveIs"), 0);
  EXPECT_EQ(port_->attributeId("nothing"), -1);
  EXPECT_EQ(card_->attributeString(0), "unknown");
  EXPECT_EQ(card_->attributeString(130), "name");
  EXPECT_EQ(text("x")->attributeId("x"), -1);
  EXPECT_EQ(op(text("x"), 1, Op::get), "Op: unknown: operation 1 not supported");
}

TEST_F(AttrTable, IteratorsWalkInTheOrderOfTheCollection) {
  std::vector<std::string> direct;
  for (char const* id : {"a", "b", "c", "d"})
    op(port_, 133, Op::set, {}, lanes(id));
  for (auto it = port->laneSmIterator(); it; it.advance())
    direct.push_back("\"" + it.key().stdString() + "\"");
  std::vector<std::string> reflected;
  auto const it = port_->attributeIterator(133);
  for (; port_->attributeIterator_nonNull(it); port_->attributeIterator_iterInc(it)) {
    EXPECT_EQ(shown(port_->attributeIterator_iterObj(it)), "if Lane");
    reflected.push_back(shown(port_->attributeIterator_iterKey(it)));
  }
  EXPECT_EQ(reflected, direct);
  EXPECT_EQ(shown(port_->attributeIterator_iterObj(it)), "null");
  EXPECT_EQ(shown(port_->attributeIterator_iterKey(it)), "null");
  EXPECT_EQ(shown(port_->attributeIterator_iterDel(it)), "null");
  EXPECT_EQ(op(port_, 133, Op::iterate), "iterator");
  EXPECT_EQ(op(reader_, 133, Op::iterate), "const iterator");
}

TEST_F(AttrTable, IteratorsRemoveTheirMemberAndStayOnIt) {
  for (char const* id : {"a", "b", "c", "d"})
    op(port_, 133, Op::set, {}, lanes(id));
  auto const it = port_->attributeIterator(133);
  auto const first = shown(port_->attributeIterator_iterKey(it));
  EXPECT_EQ(shown(port_->attributeIterator_iterDel(it)), "if Lane");
  EXPECT_EQ(shown(port_->attributeIterator_iterKey(it)), first);
  EXPECT_EQ(shown(port_->attributeIterator_iterDel(it)), "null");
  auto const clone = port_->attributeIterator_iterClone(it);
  port_->attributeIterator_iterInc(it);
  EXPECT_EQ(shown(port_->attributeIterator_iterKey(clone)), first);
  EXPECT_NE(shown(port_->attributeIterator_iterKey(it)), first);
  EXPECT_EQ(op(port_, 133, Op::size), "u3");
}

TEST_F(AttrTable, IteratorsStartAtOrBehindAKey) {
  for (char const* id : {"a", "b", "c", "d"})
    op(port_, 133, Op::set, {}, lanes(id));
  std::vector<std::string> keys;
  for (auto it = port->laneSmIterator(); it; it.advance())
    keys.push_back(it.key().stdString());
  for (std::size_t i = 0; i != keys.size(); ++i) {
    auto const it = port_->attributeIteratorKey(133, text(keys[i].c_str()));
    EXPECT_EQ(shown(port_->attributeIterator_iterKey(it)), "\"" + keys[i] + "\"");
  }
  op(port_, 133, Op::del, text(keys[1].c_str()));
  auto const behind = port_->attributeIteratorKey(133, text(keys[1].c_str()));
  EXPECT_EQ(shown(port_->attributeIterator_iterKey(behind)), "\"" + keys[2] + "\"");
  op(port_, 133, Op::del, text(keys[3].c_str()));
  EXPECT_FALSE(port_->attributeIterator_nonNull(port_->attributeIteratorKey(133, text(keys[3].c_str()))));
  EXPECT_EQ(outcome([&] { return port_->attributeIteratorKey(133, test::intf("a")); }), "BadIndex: laneSm");
  EXPECT_EQ(outcome([&] { return port_->attributeIteratorKey(133, {}); }), "BadIndex: laneSm");
}

TEST_F(AttrTable, IteratorsStartBehindAKeyThatIsNotThereAnyMore) {
  std::vector<std::string> keys;
  for (int i = 0; i != 40; ++i)
    op(port_, 133, Op::set, {}, lanes(("l" + std::to_string(i)).c_str()));
  for (auto it = port->laneSmIterator(); it; it.advance())
    keys.push_back(it.key().stdString());
  ASSERT_EQ(keys.size(), 40U);
  for (std::size_t i = 0; i + 1 < keys.size(); ++i) {
    auto const key = text(keys[i].c_str());
    op(port_, 133, Op::del, key);
    EXPECT_EQ(shown(port_->attributeIterator_iterKey(port_->attributeIteratorKey(133, key))),
              "\"" + keys[i + 1] + "\"");
  }
}

TEST_F(AttrTable, AConstInterfaceRemovesNothingThroughTheIteratorOfAnother) {
  op(port_, 133, Op::set, {}, lanes("a"));
  auto const it = port_->attributeIterator(133);
  EXPECT_EQ(outcome([&] { return reader_->attributeIterator_iterDel(it); }), constText);
  EXPECT_TRUE(port_->attributeIterator_nonNull(port_->attributeIterator(133)));
}

TEST_F(AttrTable, ConstWalksShowConstMembersAndRemoveNothing) {
  op(port_, 133, Op::set, {}, lanes("a"));
  for (auto const& it : {reader_->attributeIterator(133), port_->attributeIteratorConst(133)}) {
    EXPECT_EQ(shown(reader_->attributeIterator_iterObj(it)), "const if Lane");
    EXPECT_EQ(outcome([&] { return reader_->attributeIterator_iterDel(it); }), constText);
    EXPECT_EQ(outcome([&] { return port_->attributeIterator_iterDel(it); }), constText);
  }
  EXPECT_EQ(op(port_, 133, Op::size), "u1");
}

TEST_F(AttrTable, IteratorsHaveNoAttributesAndConstOnesRefuseModificationFirst) {
  auto const walk = port_->attributeIterator(133);
  auto const constWalk = port_->attributeIteratorConst(133);
  for (unsigned const opId : {unsigned{Op::set}, unsigned{Op::del}, 255U}) {
    std::string const unsupported = "operation " + std::to_string(opId) + " not supported";
    EXPECT_EQ(outcome([&] { return walk->attributeOp({133, opId}); }), "Op: unknown: " + unsupported);
    EXPECT_EQ(outcome([&] { return walk->attributeOpByName("lane", opId); }), "Op: lane: " + unsupported);
    EXPECT_EQ(outcome([&] { return constWalk->attributeOp({133, opId}); }), constText);
    EXPECT_EQ(outcome([&] { return constWalk->attributeOpByName("lane", opId); }), constText);
  }
  EXPECT_EQ(outcome([&] { return constWalk->attributeOp({133, Op::get}); }), "Op: unknown: operation 1 not supported");
}

TEST_F(AttrTable, WhatIsNoIteratorOrCollectionIsRefused) {
  EXPECT_EQ(outcome([&] { return port_->attributeIterator_iterKey(text("a")); }), "Type: iterator");
  EXPECT_EQ(outcome([&] { return port_->attributeIterator_iterObj({}); }), "Type: iterator");
  EXPECT_EQ(outcome([&] { return port_->attributeIterator(138); }), "Op: initialized: operation 2 not supported");
  EXPECT_EQ(outcome([&] { return port_->attributeIterator(1); }), "Op: unknown: operation 2 not supported");
}

TEST_F(AttrTable, IteratorsKeepTheOwnerAlive) {
  auto owner = newPtr<PortSm>(activity, "x");
  owner->laneSmIs(activity, "a");
  auto const it = newPtr<PortSm::GenericIf_>(owner)->attributeIterator(133);
  owner = nullptr;
  EXPECT_EQ(shown(port_->attributeIterator_iterDel(it)), "if Lane");
}

TEST_F(AttrTable, GenericFactoriesCheckTheirArguments) {
  auto const make = [](test::If const& arguments) {
    return outcome([&] { return PortSm::_fwkType()->genericIf(PortSm::_fwkType()->genericFactory()(arguments)); });
  };
  EXPECT_EQ(make(list(ref(activity), test::intf("e"))), "if PortSm");
  EXPECT_EQ(make(list(ref(Ptr<Zon::ActivityConfig>()), test::intf("e"))), "if PortSm");
  EXPECT_EQ(make({}), "Type: Zon::GenericIf::List_");
  EXPECT_EQ(make(text("e")), "Type: Zon::GenericIf::List_");
  EXPECT_EQ(make(newPtr<Zon::GenericIf::List_>(nullptr)), "Type: List");
  EXPECT_EQ(make(list()), "Type: zonFwkActivity");
  EXPECT_EQ(make(list(ref(activity))), "Type: portId");
  EXPECT_EQ(make(list(ref(dir), test::intf("e"))), "Type: zonFwkActivity");
  EXPECT_EQ(make(list(ref(Ptr<Zon::Dir>()), test::intf("e"))), "Type: zonFwkActivity");
  EXPECT_EQ(make(list(ref(activity), text("e"))), "Type: portId");
  EXPECT_EQ(make(list(ref(activity), test::intf("e"), text("more"))), "UnknownArg: PortSm");
  EXPECT_EQ(Lane::_fwkType()->genericFactory(), nullptr);
  EXPECT_EQ(PortSm::_fwkType()->constructorArgNameQ(1), "portId");
  EXPECT_EQ(PortSm::_fwkType()->constructorArgTypeQ(1)->fullName(), "Orvet::IntfId");
  EXPECT_EQ(PortSm::_fwkType()->constructorArgNameQ(2), "");
  EXPECT_EQ(PortSm::_fwkType()->constructorArgTypeQ(2), nullptr);
}

TEST_F(AttrTable, InterfacesOfOtherObjectsAreRefused) {
  EXPECT_EQ(outcome([&] { return PortSm::_fwkType()->genericIf(card); }), "Type: sample::PortSm");
  EXPECT_EQ(outcome([&] { return PortSm::_fwkType()->genericIfConst(port); }), "const if PortSm");
  EXPECT_EQ(outcome([&] { return PortSm::_fwkType()->genericIf(nullptr); }), "if PortSm");
  EXPECT_EQ(outcome([&] { return Zon::ZonType::typeNode("bool")->genericIf(port); }), "Type: bool");
}

TEST_F(AttrTable, AnInterfaceThatGoesDuringItsOwnCallKeepsTheObjectToItsEnd) {
  auto const owner = newPtr<PortSm>(activity, "p");
  std::uint32_t during = 0;
  test::If interface = newPtr<PortSm::GenericIf_>(owner);
  owner->onAll = [&] {
    interface = nullptr;
    during = owner->zonReferences();
  };
  interface->attributeOpByName("handleAll", Op::call);
  EXPECT_EQ(owner->calls, (std::vector<std::string>{"all", "end"}));
  EXPECT_EQ(during, 2u) << "the test's reference and the call's own";
  EXPECT_EQ(owner->zonReferences(), 1u);
}

}  // namespace
