// Reflection: every operation on every attribute of every registered type, with keys, values and argument lists built
// from bytes. Only the runtime's exceptions may come out.
//
// An input is a list of steps, each a byte that chooses and the choices it needs.

#include <array>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "Fuzz.h"
#include "Values.h"
#include "Zon/Exception.h"
#include "Zon/Strep.h"
#include "Zon/Trace.h"
#include "Zon/ZonAttr.h"

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

/// What a host can do by reflection, step by step.
class World {
 public:
  void step(Fuzz::Input& input) {
    switch (input.choice(13)) {
    case 0:
    case 1:
    case 2:
    case 3:
      return operate(input, values_.pick(input));
    case 4:
      return iterate(input, values_.pick(input));
    case 5:
    case 6:
      return walk(input, values_.pick(input));
    case 7:
      for (int round = 0; round < 4 && values_.deferring()->zonPending() != 0; ++round)
        values_.deferring()->zonDispatch();
      return;
    case 8:
      return addValue(input);
    case 9:
      return values_.keep(values_.listOf(input, input.choice(6)));
    case 10:
      return create(input);
    case 11:
      return ask(input, values_.pick(input));
    default:
      return count(values_.pick(input));
    }
  }

 private:
  struct Attribute {
    String8 name;
    AttributeId id;
    Ptr<ZonType> type;
    bool isCollection;
  };

  static std::vector<Attribute> attributesOf(GenericIf const& interface) {
    std::vector<Attribute> attributes;
    for (Ptr<ZonType const> type(Fuzz::typeOf(interface)); type; type = type->baseType()) {
      for (unsigned at = 0; at < type->attributeQs(); ++at) {
        auto const attribute = type->attributeQ(at);
        attributes.push_back(
            {attribute->name(), attribute->attributeId(), attribute->attributeType(),
             attribute->introspectionFlags() == Zon::ZonAttr::ZonAttrIntrospectionFlags::hasInternalIndex_()});
      }
    }
    return attributes;
  }

  /// One of the interface's attributes, or one that it does not have.
  static Attribute attributeOf(Fuzz::Input& input, GenericIf const& interface) {
    auto const attributes = attributesOf(interface);
    std::size_t const choice = input.byte();
    if (choice < 250 && !attributes.empty()) return attributes[choice % attributes.size()];
    return {String8(input.bytes(input.choice(24))), input.integer(), nullptr, false};
  }

  Ptr<GenericIf> valueFor(Fuzz::Input& input, Attribute const& attribute) const {
    switch (input.choice(8)) {
    case 0:
      return nullptr;
    case 1:
      return values_.pick(input);
    case 2:
      return values_.listOf(input, input.choice(6));
    case 3:
    case 4:
      return attribute.type ? values_.argumentsOf(input, *attribute.type) : nullptr;
    case 5:
      return GenericIf::listOf({values_.pickOf(input, attribute.type.ptr())});
    case 6:
      return GenericIf::listOf({values_.pick(input), values_.pickOf(input, attribute.type.ptr())});
    default:
      return values_.pickOf(input, attribute.type.ptr());
    }
  }

  Ptr<GenericIf> keyFor(Fuzz::Input& input) const {
    switch (input.choice(4)) {
    case 0:
      return nullptr;
    case 1:
      return values_.pick(input);
    case 2:
      return values_.pickOf(input, Zon::typeNodeOf<Orvet::IntfId>());
    default:
      return values_.pickOf(input, Zon::typeNodeOf<String8>());
    }
  }

  static unsigned operation(Fuzz::Input& input) {
    using Op = GenericIf::AttributeOp;
    constexpr std::array<unsigned, 7> known{Op::get, Op::set, Op::call, Op::del, Op::iterate, Op::size, Op::delAll};
    std::size_t const choice = input.byte();
    return choice < 250 ? known[choice % known.size()] : static_cast<unsigned>(input.integer());
  }

  void operate(Fuzz::Input& input, Ptr<GenericIf> const& interface) {
    if (!interface) return;
    Attribute const attribute = attributeOf(input, *interface);
    unsigned const opId = operation(input);
    Ptr<GenericIf> const key = keyFor(input);
    Ptr<GenericIf> const value = valueFor(input, attribute);
    bool const isByName = attribute.id == 0 || input.flag();
    bool const mustRefuse = interface->isConst() && GenericIf::AttributeOp::modifies(opId);
    try {
      values_.keep(isByName ? interface->attributeOpByName(attribute.name, opId, key, value)
                            : interface->attributeOp({attribute.id, opId}, key, value));
      require(!mustRefuse, "nothing is modified through a const interface");
    } catch (Zon::ConstException const&) {
      require(mustRefuse, "only modifications need more than a const interface");
    } catch (Zon::Exception const&) {
      require(!mustRefuse, "constness is refused first");
    }
    values_.noteImmortality(*interface);
  }

  void iterate(Fuzz::Input& input, Ptr<GenericIf> const& interface) {
    if (!interface) return;
    Attribute const attribute = attributeOf(input, *interface);
    switch (input.choice(3)) {
    case 0:
      return values_.keep(interface->attributeIterator(attribute.id));
    case 1:
      return values_.keep(interface->attributeIteratorConst(attribute.id));
    default:
      return values_.keep(interface->attributeIteratorKey(attribute.id, keyFor(input)));
    }
  }

  void walk(Fuzz::Input& input, Ptr<GenericIf> const& interface) {
    Ptr<GenericIf> const iterator = input.flag() ? values_.pick(input) : values_.pickIterator(input);
    if (!interface) return;
    switch (input.choice(6)) {
    case 0:
      return values_.keep(interface->attributeIterator_iterObj(iterator));
    case 1:
      return values_.keep(interface->attributeIterator_iterKey(iterator));
    case 2:
      return interface->attributeIterator_iterInc(iterator);
    case 3:
      return values_.keep(interface->attributeIterator_iterDel(iterator));
    case 4:
      return values_.keep(interface->attributeIterator_iterClone(iterator));
    default:
      require(interface->attributeIterator_nonNull(iterator) ==
                  static_cast<bool>(interface->attributeIterator_iterKey(iterator)),
              "an iterator has a key where it stands on something");
    }
  }

  void addValue(Fuzz::Input& input) {
    switch (input.choice(5)) {
    case 0:
      return values_.keepValue(input.integer());
    case 1:
      return values_.keepValue(static_cast<std::uint32_t>(input.integer()));
    case 2:
      return values_.keepValue(static_cast<Interface::IntfEnabledState>(input.integer()));
    case 3:
      return values_.keepValue(Orvet::IntfId(String8(input.bytes(input.byte()))));
    default:
      return values_.keepValue(String8(input.bytes(input.byte())));
    }
  }

  void create(Fuzz::Input& input) {
    auto const& type = types_[input.choice(types_.size())];
    if (type->genericFactory() == nullptr) {
      // Of no object: answers, but does nothing.
      return values_.keep(input.flag() ? type->genericIf(nullptr) : type->genericIfConst(nullptr));
    }
    auto const made = type->genericFactory()(input.flag() ? values_.argumentsOf(input, *type) : values_.pick(input));
    require(made->fwkType() == type, "a factory makes its type");
    require(Zon::strepToValue<Ptr<Zon::PtrInterface>>(Zon::valueToStrep(made)) == made, "a reference reads as itself");
    values_.own(made);
    values_.keep(type->genericIf(made));
  }

  void ask(Fuzz::Input& input, Ptr<GenericIf> const& interface) {
    auto const& type = types_[input.choice(types_.size())];
    Attribute attribute{String8(input.bytes(input.choice(24))), input.integer(), nullptr, false};
    if (interface) {
      attribute = attributeOf(input, *interface);
      AttributeId const id = interface->attributeId(attribute.name);
      require(id <= 0 || interface->attributeString(id) == attribute.name, "names and ids are inverse");
      auto const entity = Zon::ptrCast<Zon::Entity const>(Fuzz::objectOf(*interface));
      require(!entity || entity->attributeString(attribute.id) == interface->attributeString(attribute.id),
              "an entity names its attributes as its interface does");
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

  /// Whoever walks a collection meets as many members as it has, and finds each by its key.
  static void count(Ptr<GenericIf> const& interface) {
    using Op = GenericIf::AttributeOp;
    if (!interface) return;
    for (Attribute const& attribute : attributesOf(*interface)) {
      if (!attribute.isCollection) continue;
      std::uint32_t members = 0;
      auto const at = interface->attributeIteratorConst(attribute.id);
      for (; interface->attributeIterator_nonNull(at); interface->attributeIterator_iterInc(at)) {
        auto const key = interface->attributeIterator_iterKey(at);
        require(interface->attributeOp({attribute.id, Op::get}, key) != nullptr, "a member is found by its key");
        ++members;
      }
      auto const size = interface->attributeOp({attribute.id, Op::size});
      auto const* const value = dynamic_cast<Zon::GenericIfValue<std::uint32_t> const*>(size.ptr());
      require(value != nullptr && value->value() == members, "a collection has the members that a walk meets");
    }
  }

  Fuzz::Values values_;
  std::vector<Ptr<ZonType const>> const types_ = ZonType::typeNodes();
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
      // Noted where it was thrown.
    }
  }
  return 0;
}
