// Reflection: every operation on every attribute of every registered type, with keys, values and argument lists built
// from bytes. Only the runtime's exceptions may come out.
//
// An input is a list of steps, each a byte that chooses and the choices it needs.

#include <array>
#include <cstring>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "Fuzz.h"
#include "VaroErrdisable/Root.h"
#include "VaroIntf/Agent.h"
#include "Zon/Activity.h"
#include "Zon/AttrSpec.h"
#include "Zon/Dir.h"
#include "Zon/Exception.h"
#include "Zon/GenericIf.h"
#include "Zon/Strep.h"
#include "Zon/Trace.h"
#include "Zon/ZonAttr.h"
#include "Zon/ZonType.h"
#include "platform/Errdisable/Status.h"
#include "platform/Interface/AllIntfConfigDir.h"
#include "platform/Interface/AllIntfQueueCounterDir.h"
#include "platform/Interface/AllIntfQueueCounterPtrDir.h"
#include "platform/Interface/AllIntfStatusDir.h"
#include "platform/Interface/IntfConfig.h"
#include "platform/Interface/IntfEnabledState.h"
#include "platform/Interface/IntfQueueCounter.h"
#include "platform/Interface/IntfQueueCounterDir.h"
#include "platform/Interface/IntfStatus.h"
#include "platform/Orvet/IntfId.h"
#include "platform/Pelto/ShmemMan.h"

using Fuzz::require;
using Zon::AttributeId;
using Zon::GenericIf;
using Zon::Ptr;
using Zon::String8;
using Zon::ZonType;

namespace {

/// A programming error of the host's, which the errdisable module states and ends the process for: removing an input or
/// a member of a live machine. Here it ends the input.
struct HostError {};
bool hasEnded = false;

}  // namespace

namespace Zon {

// Found before the library's own.
void assertFailed(char const* text, char const* file, int line, char const* function) {
  static std::set<std::string> const stated{"intfSm", "intfConfigDir", "intfStatusDir", "errdisableStatus",
                                            "intfConfig"};
  if (std::strcmp(file, "VaroErrdisableIntf") == 0 && stated.contains(text)) {
    hasEnded = true;
    throw HostError();
  }
  std::fprintf(stderr, "assertion \"%s\" failed: %s:%d: %s\n", text, file, line, function);
  std::abort();
}

}  // namespace Zon

namespace {

/// Objects, values and results, one of which every choice picks.
class World {
 public:
  World() {
    add(Ptr<GenericIf>(), nullptr);
    for (bool const value : {false, true})
      add(value);
    for (std::int32_t const value : {0, 1, -1, 258})
      add(value);
    add(std::uint32_t{7});
    for (auto const value : {Interface::IntfEnabledState::enabled, Interface::IntfEnabledState::disabled,
                             static_cast<Interface::IntfEnabledState>(9)})
      add(value);
    for (char const* const name : {"", "Ethernet1", "Ethernet2", "slice", "drops"}) {
      add(String8(name));
      add(Orvet::IntfId(name));
    }
    addReference(Ptr<Zon::ActivityConfig>());
    addReference(Zon::newPtr<Zon::ActivityConfig>(Zon::ActivityConfig::Delivery::immediate));
    activity_ = Zon::newPtr<Zon::ActivityConfig>();
    addReference(activity_);
    for (char const* const name : {"Ethernet1", "Ethernet2"}) {
      addReference(Zon::newPtr<Interface::IntfConfig>(name));
      addReference(Zon::newPtr<Interface::IntfStatus>(name));
      addReference(Zon::newPtr<Interface::IntfQueueCounterDir>(name));
    }
    for (char const* const name : {"in", "out"}) {
      addReference(Zon::newPtr<Interface::AllIntfConfigDir>(name));
      addReference(Zon::newPtr<Interface::AllIntfStatusDir>(name));
      addReference(Zon::newPtr<Interface::AllIntfQueueCounterPtrDir>(name));
      addReference(Zon::newPtr<Errdisable::Status>(name));
      addReference(Zon::newPtr<Zon::Dir>(name));
    }
    addReference(Zon::newPtr<Interface::AllIntfQueueCounterDir>("slice"));
    addReference(Zon::newPtr<Interface::IntfQueueCounter>("drops"));
    addReference(Zon::newPtr<Pelto::ShmemMan>("", std::uint64_t{4096}));
    addReference(VaroIntf::agentFactory("agent"));
    addReference(VaroErrdisable::rootFactory("root"));
    add(Zon::newPtr<GenericIf::List_>(nullptr), nullptr);
    fixed_ = values_.size();
    for (auto const& type : ZonType::typeNodes()) {
      types_.push_back(type);
    }
  }
  World(World const&) = delete;
  World& operator=(World const&) = delete;

  /// Opens every circle of references that a host could close, so that what is left is a leak.
  ~World() {
    for (Zon::PtrInterface const* const object : std::exchange(immortals_, {}))
      const_cast<Zon::PtrInterface*>(object)->isNondestructingIs(false);
    for (auto const& object : objects_) {
      if (auto const config = Zon::ptrCast<Interface::IntfConfig>(object)) config->defaultConfigIs(nullptr);
      if (auto const dir = Zon::ptrCast<Zon::Dir>(object)) dir->entityPtrDelAll();
    }
  }

  void step(Fuzz::Input& input) {
    switch (input.choice(12)) {
    case 0:
    case 1:
    case 2:
    case 3:
      return operate(input, pick(input));
    case 4:
      return iterate(input, pick(input));
    case 5:
    case 6:
      return walk(input, pick(input), pick(input));
    case 7:
      for (int round = 0; round < 4 && activity_->zonPending() != 0; ++round)
        activity_->zonDispatch();
      return;
    case 8:
      return addValue(input);
    case 9:
      return keep(listOf(input, input.choice(6)));
    case 10:
      return create(input);
    default:
      return ask(input, pick(input));
    }
  }

 private:
  struct Value {
    Ptr<GenericIf> interface;
    ZonType const* type;
  };
  struct Attribute {
    String8 name;
    AttributeId id;
    Ptr<ZonType> type;
  };

  void add(Ptr<GenericIf> const& interface, ZonType const* type) { values_.push_back({interface, type}); }
  template <class T>
  void add(T value) {
    add(Zon::newPtr<Zon::GenericIfValue<T>>(std::move(value)), Zon::typeNodeOf<T>());
  }
  template <class T>
  void addReference(Ptr<T> const& object) {
    add(Zon::newPtr<Zon::GenericIfRef<T>>(object), T::_fwkType());
    add(Zon::newPtr<Zon::GenericIfRef<T const>>(object), T::_fwkType());
    add(Zon::newPtr<Zon::GenericIfRef<T>>(nullptr), T::_fwkType());
    if (object) own(object);
  }
  void own(Ptr<Zon::PtrInterface> const& object) {
    objects_.push_back(object);
    ZonType const* const type = object->fwkType();
    add(type->genericIf(object), nullptr);
    add(type->genericIfConst(object), nullptr);
  }

  /// Keeps a result for later steps; of many the last ones.
  void keep(Ptr<GenericIf> const& result) {
    if (!result) return;
    constexpr std::size_t most = 48;
    if (values_.size() < fixed_ + most) {
      add(result, nullptr);
    } else {
      values_[fixed_ + kept_++ % most] = {result, nullptr};
    }
  }

  Ptr<GenericIf> const& pick(Fuzz::Input& input) const { return values_[input.choice(values_.size())].interface; }
  /// A value of that type, as far as there is one.
  Ptr<GenericIf> pickOf(Fuzz::Input& input, ZonType const* type) const {
    std::size_t const start = input.choice(values_.size());
    for (std::size_t offset = 0; offset < values_.size(); ++offset) {
      Value const& value = values_[(start + offset) % values_.size()];
      if (value.type == type) return value.interface;
    }
    return nullptr;
  }
  Ptr<GenericIf> listOf(Fuzz::Input& input, std::size_t count) const {
    auto const list = Zon::newPtr<GenericIf::List>();
    while (count-- > 0)
      list->append(pick(input));
    return Zon::newPtr<GenericIf::List_>(list);
  }
  /// What the constructor of that type takes.
  Ptr<GenericIf> argumentsOf(Fuzz::Input& input, ZonType const& type) const {
    auto const list = Zon::newPtr<GenericIf::List>();
    for (unsigned at = 0; auto const argument = type.constructorArgTypeQ(at); ++at)
      list->append(pickOf(input, argument.ptr()));
    return Zon::newPtr<GenericIf::List_>(list);
  }

  static std::vector<Attribute> attributesOf(GenericIf const& interface) {
    std::vector<Attribute> attributes;
    Ptr<ZonType const> type;
    if (auto const* const object = dynamic_cast<Zon::GenericIfPtrInterface const*>(&interface)) {
      type = object->zonType();
    } else if (auto const* const reference = dynamic_cast<Zon::GenericIfAnyRef const*>(&interface)) {
      if (reference->zonObject()) type = reference->zonObject()->fwkType();
    }
    for (; type; type = type->baseType()) {
      for (unsigned at = 0; at < type->attributeQs(); ++at) {
        auto const attribute = type->attributeQ(at);
        attributes.push_back({attribute->name(), attribute->attributeId(), attribute->attributeType()});
      }
    }
    return attributes;
  }

  /// One of the interface's attributes, or one that it does not have.
  static Attribute attributeOf(Fuzz::Input& input, GenericIf const& interface) {
    auto const attributes = attributesOf(interface);
    std::size_t const choice = input.byte();
    if (choice < 250 && !attributes.empty()) return attributes[choice % attributes.size()];
    return {String8(input.bytes(input.choice(24))), input.integer(), nullptr};
  }

  Ptr<GenericIf> valueFor(Fuzz::Input& input, Attribute const& attribute) const {
    switch (input.choice(8)) {
    case 0:
      return nullptr;
    case 1:
      return pick(input);
    case 2:
      return listOf(input, input.choice(6));
    case 3:
    case 4:
      return attribute.type ? argumentsOf(input, *attribute.type) : nullptr;
    case 5:
      return GenericIf::listOf({pickOf(input, attribute.type.ptr())});
    case 6:
      return GenericIf::listOf({pick(input), pickOf(input, attribute.type.ptr())});
    default:
      return pickOf(input, attribute.type.ptr());
    }
  }

  static unsigned operation(Fuzz::Input& input) {
    using Op = GenericIf::AttributeOp;
    constexpr std::array<unsigned, 7> known{Op::get, Op::set, Op::call, Op::del, Op::iterate, Op::size, Op::delAll};
    std::size_t const choice = input.byte();
    return choice < 250 ? known[choice % known.size()] : static_cast<unsigned>(input.integer());
  }

  void operate(Fuzz::Input& input, Ptr<GenericIf> const& picked) {
    Ptr<GenericIf> const interface = picked;
    if (!interface) return;
    Attribute const attribute = attributeOf(input, *interface);
    unsigned const opId = operation(input);
    Ptr<GenericIf> const key = input.flag() ? pick(input) : Ptr<GenericIf>();
    Ptr<GenericIf> const value = valueFor(input, attribute);
    bool const isByName = attribute.id == 0 || input.flag();
    bool const mustRefuse = interface->isConst() && GenericIf::AttributeOp::modifies(opId);
    try {
      keep(isByName ? interface->attributeOpByName(attribute.name, opId, key, value)
                    : interface->attributeOp({attribute.id, opId}, key, value));
      require(!mustRefuse, "nothing is modified through a const interface");
    } catch (Zon::ConstException const&) {
      require(mustRefuse, "only modifications need more than a const interface");
    } catch (Zon::Exception const&) {
      require(!mustRefuse, "constness is refused first");
    }
    noteImmortality(*interface);
  }

  /// An object that cannot die would be a leak: it is made mortal at the end.
  void noteImmortality(GenericIf const& interface) {
    Zon::PtrInterface const* object = nullptr;
    if (auto const* const direct = dynamic_cast<Zon::GenericIfPtrInterface const*>(&interface)) {
      object = direct->zonObject().ptr();
    } else if (auto const* const reference = dynamic_cast<Zon::GenericIfAnyRef const*>(&interface)) {
      object = reference->zonObject().ptr();
    }
    if (dynamic_cast<Zon::Entity const*>(object) == nullptr) return;
    if (object->isNondestructing()) {
      immortals_.insert(object);
    } else {
      immortals_.erase(object);
    }
  }

  void iterate(Fuzz::Input& input, Ptr<GenericIf> const& picked) {
    Ptr<GenericIf> const interface = picked;
    if (!interface) return;
    Attribute const attribute = attributeOf(input, *interface);
    switch (input.choice(3)) {
    case 0:
      return keep(interface->attributeIterator(attribute.id));
    case 1:
      return keep(interface->attributeIteratorConst(attribute.id));
    default:
      return keep(interface->attributeIteratorKey(attribute.id, pick(input)));
    }
  }

  void walk(Fuzz::Input& input, Ptr<GenericIf> const& pickedInterface, Ptr<GenericIf> const& pickedIterator) {
    Ptr<GenericIf> const interface = pickedInterface;
    Ptr<GenericIf> const iterator = pickedIterator;
    if (!interface) return;
    switch (input.choice(6)) {
    case 0:
      return keep(interface->attributeIterator_iterObj(iterator));
    case 1:
      return keep(interface->attributeIterator_iterKey(iterator));
    case 2:
      return interface->attributeIterator_iterInc(iterator);
    case 3:
      return keep(interface->attributeIterator_iterDel(iterator));
    case 4:
      return keep(interface->attributeIterator_iterClone(iterator));
    default:
      require(interface->attributeIterator_nonNull(iterator) ==
                  static_cast<bool>(interface->attributeIterator_iterKey(iterator)),
              "an iterator has a key where it stands on something");
    }
  }

  void addValue(Fuzz::Input& input) {
    switch (input.choice(5)) {
    case 0:
      return keep(Zon::newPtr<Zon::GenericIfValue<std::int32_t>>(input.integer()));
    case 1:
      return keep(Zon::newPtr<Zon::GenericIfValue<std::uint32_t>>(static_cast<std::uint32_t>(input.integer())));
    case 2:
      return keep(Zon::newPtr<Zon::GenericIfValue<Interface::IntfEnabledState>>(
          static_cast<Interface::IntfEnabledState>(input.integer())));
    case 3:
      return keep(Zon::newPtr<Zon::GenericIfValue<Orvet::IntfId>>(Orvet::IntfId(String8(input.bytes(input.byte())))));
    default:
      return keep(Zon::newPtr<Zon::GenericIfValue<String8>>(String8(input.bytes(input.byte()))));
    }
  }

  void create(Fuzz::Input& input) {
    auto const& type = types_[input.choice(types_.size())];
    if (type->genericFactory() == nullptr) {
      // Of no object: answers, but does nothing.
      return keep(input.flag() ? type->genericIf(nullptr) : type->genericIfConst(nullptr));
    }
    auto const made = type->genericFactory()(input.flag() ? argumentsOf(input, *type) : pick(input));
    require(made->fwkType() == type, "a factory makes its type");
    require(Zon::strepToValue<Ptr<Zon::PtrInterface>>(Zon::valueToStrep(made)) == made, "a reference reads as itself");
    keep(type->genericIf(made));
  }

  void ask(Fuzz::Input& input, Ptr<GenericIf> const& picked) {
    auto const& type = types_[input.choice(types_.size())];
    Attribute attribute{String8(input.bytes(input.choice(24))), input.integer(), nullptr};
    if (Ptr<GenericIf> const interface = picked) {
      attribute = attributeOf(input, *interface);
      AttributeId const id = interface->attributeId(attribute.name);
      require(id <= 0 || interface->attributeString(id) == attribute.name, "names and ids are inverse");
      interface->attributeString(attribute.id);
    }
    AttributeId const id = type->attributeId(attribute.name);
    require(id <= 0 || type->attributeString(id) == attribute.name, "names and ids are inverse");
    type->attributeString(attribute.id);
    type->attributeQ(static_cast<unsigned>(attribute.id));
    type->constructorArgNameQ(static_cast<unsigned>(attribute.id));
    if (auto const found = type->attributeQIdx(attribute.name)) {
      require(found->name() == attribute.name && found->owningType() == type, "an attribute belongs to its type");
    }
    if (auto const node = ZonType::typeNode(attribute.name)) require(node->fullName() == attribute.name, "by its name");
  }

  Ptr<Zon::ActivityConfig> activity_;
  std::vector<Ptr<Zon::PtrInterface>> objects_;
  std::vector<Ptr<ZonType const>> types_;
  std::vector<Value> values_;
  std::size_t fixed_ = 0;
  std::size_t kept_ = 0;
  std::set<Zon::PtrInterface const*> immortals_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  Fuzz::Input input(data, size);
  hasEnded = false;
  World world;
  while (!input.atEnd() && !hasEnded) {
    try {
      world.step(input);
    } catch (Zon::Exception const&) {
    } catch (HostError const&) {
      require(hasEnded, "it was stated");
    }
  }
  return 0;
}
