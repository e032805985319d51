#pragma once

/// \file
/// `Zon::ZonType`: the type node, what the runtime knows about one type; and the registry of all nodes.
///
/// Guarantees
///   A  A node is made on first use, complete, whichever static initialiser asks; it is never destroyed, so plain
///      pointers to it are always good.
///   B  Attributes are listed in the order of the type's table (Zon/AttrTable.h). Past the end everything is null or
///      empty.
///   C  Conversion between ids and names falls back to the base type: "unknown" and -1 when no type of the chain
///      knows. Id 0 is shared by several attributes and answers the first.
///   D  A name in the registry belongs to one node for good.
///
/// Use
///
///     if (auto type = Zon::ZonType::typeNode("VaroErrdisable::Root")) {
///       auto root = type->genericFactory()(Zon::GenericIf::listOf({name}));
///     }

#include <vector>

#include "Zon/LinkedQueue.h"
#include "Zon/Ptr.h"
#include "Zon/PtrInterface.h"

namespace Zon {

class AttrSpec;
class GenericIf;
class TypeSlot;
class ZonAttr;

class ZonType : public PtrInterface {
 public:
  class ZonTypeFlags {
   public:
    constexpr ZonTypeFlags(std::uint32_t value = 0) noexcept : value_(value) {}
    constexpr std::uint32_t value() const noexcept { return value_; }
    constexpr operator std::uint32_t() const noexcept { return value_; }

   private:
    std::uint32_t value_;
  };

  using GenericFactory = Ptr<PtrInterface> (*)(Ptr<GenericIf> const& arguments);

  /// A node made by the slot of a class.
  explicit ZonType(TypeSlot& slot);
  /// A node of its own, without table; for types that exist at run time only. Make it nondestructing before it enters
  /// the registry.
  explicit ZonType(Name fullName);
  ~ZonType() override;

  // The registry.

  /// The node of that full name, null when there is none.
  static Ptr<ZonType const> typeNode(Name const& fullName);
  /// All nodes in order of entry.
  static std::vector<Ptr<ZonType const>> typeNodes();
  /// Enters a node; entering it again changes nothing.
  /// Errors: name-in-use exception when the name belongs to another node.
  static void typeNodeIs(ZonType const* node, Name const& fullName);

  // The node. `scope` and `name` are the full name before and after its last "::".

  Name const& name() const noexcept { return name_; }
  Name const& scope() const noexcept { return scope_; }
  Name const& fullName() const noexcept { return fullName_; }
  ZonTypeFlags flags() const noexcept { return {}; }
  /// The type it derives from; null for `Zon::PtrInterface` and for values.
  Ptr<ZonType const> baseType() const noexcept { return Ptr<ZonType const>(base_); }

  /// The attribute of that index, null past the end.
  Ptr<ZonAttr> attributeQ(unsigned int index) const;
  unsigned int attributeQs() const noexcept { return attributeQ_.size(); }
  /// The attribute of that name, null when the type itself has none.
  Ptr<ZonAttr> attributeQIdx(Name const& name) const;
  Name constructorArgNameQ(unsigned int index) const;
  Ptr<ZonType const> constructorArgTypeQ(unsigned int index) const;
  String8 attributeString(AttributeId id) const;
  AttributeId attributeId(Name const& name) const;

  std::vector<Ptr<ZonType const>> nestedTypes() const { return counted(nestedTypes_); }
  std::vector<Ptr<ZonType const>> derivedTypes() const { return counted(derivedTypes_); }
  /// The attributes, of whatever types, that have this one as their attribute type.
  std::vector<Ptr<ZonAttr>> referringAttributes() const;
  /// The attribute that describes the type as a whole; its `attr(name)` finds the attributes by name.
  Ptr<ZonAttr> describingAttr() const;

  /// Makes an instance out of a `GenericIf::List_`; null for types that only their owners construct.
  GenericFactory genericFactory() const noexcept;
  /// The reflective interface of an instance; of null an interface that answers names and ids only.
  /// Errors: type exception with the node's full name for an object of another type and for value types.
  Ptr<GenericIf> genericIf(Ptr<PtrInterface> const& object) const;
  Ptr<GenericIf> genericIfConst(Ptr<PtrInterface const> const& object) const;

  // For the introspection routine and the reflective interfaces.

  TypeSlot* zonSlot() const noexcept { return slot_; }
  void zonBaseIs(ZonType const* base) noexcept { base_ = base; }
  /// Whether it is that type or derives from it.
  bool zonDerivesFrom(ZonType const& base) const noexcept {
    ZonType const* type = this;
    while (type != nullptr && type != &base) {
      type = type->base_;
    }
    return type != nullptr;
  }
  void zonAttributeIs(Ptr<ZonAttr> const& attribute);
  void zonNestedTypeIs(ZonType const* type) { insert(nestedTypes_, type); }
  void zonDerivedTypeIs(ZonType const* type) { insert(derivedTypes_, type); }
  /// How an attribute is served, looked for in this type and its bases; null when unknown. Ids must not be 0.
  AttrSpec const* zonSpec(AttributeId id) const noexcept;
  AttrSpec const* zonSpec(Name const& name) const noexcept;

 private:
  /// A link of the attribute queue.
  struct ZonAttributeQ {
    explicit ZonAttributeQ(ZonAttr* zonAttr) noexcept : attribute(zonAttr) {}
    ZonAttr* attribute;
  };

  static void insert(std::vector<ZonType const*>& types, ZonType const* type);
  static std::vector<Ptr<ZonType const>> counted(std::vector<ZonType const*> const& types);

  TypeSlot* const slot_;
  Name const fullName_;
  Name const scope_;
  Name const name_;
  ZonType const* base_ = nullptr;
  // Nodes and their attributes live for ever: the lists hold plain pointers.
  LinkQueue<ZonAttributeQ, unsigned int> attributeQ_;
  std::vector<AttrSpec const*> specs_;
  std::vector<ZonType const*> nestedTypes_;
  std::vector<ZonType const*> derivedTypes_;
  std::vector<ZonAttr*> referringAttributes_;
  Ptr<ZonAttr> describingAttr_;
};

}  // namespace Zon
