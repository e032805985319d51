#include "Zon/ZonType.h"

#include <map>
#include <string_view>
#include <utility>

#include "Zon/Exception.h"
#include "Zon/TypeSlot.h"
#include "Zon/ZonAttr.h"

namespace Zon {

namespace {

constexpr std::string_view separator = "::";

std::size_t scopeLength(Name const& fullName) {
  std::size_t const at = fullName.view().rfind(separator);
  return at == std::string_view::npos ? 0 : at;
}

Name scopeOf(Name const& fullName) { return Name(fullName.view().substr(0, scopeLength(fullName))); }

Name nameIn(Name const& fullName) {
  std::size_t const scope = scopeLength(fullName);
  return scope == 0 ? fullName : Name(fullName.view().substr(scope + separator.size()));
}

/// All nodes: by name, and in order of entry. Never destroyed.
struct Registry {
  std::map<Name, ZonType const*> byName;
  std::vector<ZonType const*> inOrder;

  static Registry& global() {
    static auto* const registry = new Registry();
    zonRuntimeTypes.registerTypes();
    return *registry;
  }
};

}  // namespace

ZonType::ZonType(TypeSlot& slot)
  : slot_(&slot),
    fullName_(slot.fullName()),
    scope_(scopeOf(fullName_)),
    name_(nameIn(fullName_)),
    describingAttr_(newPtr<ZonAttr>(fullName_, Ptr<ZonType>(this), ZonAttr::AttrFlags(), 0)) {
  if (slot.lines() != nullptr) {
    slot.lines()->forEach(
        [](void* specs, AttrSpec const& spec) { static_cast<std::vector<AttrSpec const*>*>(specs)->push_back(&spec); },
        &specs_);
  }
}

ZonType::ZonType(Name fullName)
  : slot_(nullptr),
    fullName_(std::move(fullName)),
    scope_(scopeOf(fullName_)),
    name_(nameIn(fullName_)),
    describingAttr_(newPtr<ZonAttr>(fullName_, Ptr<ZonType>(this), ZonAttr::AttrFlags(), 0)) {}

ZonType::~ZonType() = default;

Ptr<ZonType const> ZonType::typeNode(Name const& fullName) {
  auto const& byName = Registry::global().byName;
  auto const at = byName.find(fullName);
  return Ptr<ZonType const>(at != byName.end() ? at->second : nullptr);
}

std::vector<Ptr<ZonType const>> ZonType::typeNodes() { return counted(Registry::global().inOrder); }

void ZonType::typeNodeIs(ZonType const* node, Name const& fullName) {
  Registry& registry = Registry::global();
  auto const [at, added] = registry.byName.try_emplace(fullName, node);
  if (added) {
    registry.inOrder.push_back(node);
  } else if (at->second != node) {
    throwNameInUseException(String8("type name " + fullName.stdString() + " is in use"));
  }
}

Ptr<ZonAttr> ZonType::attributeQ(unsigned int index) const {
  ZonAttributeQ const* const link = attributeQ_.link(index);
  return Ptr<ZonAttr>(link != nullptr ? link->attribute : nullptr);
}

Ptr<ZonAttr> ZonType::attributeQIdx(Name const& name) const { return describingAttr_->attr(name); }

Name ZonType::constructorArgNameQ(unsigned int index) const {
  Creator const* const creator = slot_ != nullptr ? slot_->creator() : nullptr;
  return creator != nullptr && index < creator->parameters() ? Name(creator->name(index)) : Name();
}

Ptr<ZonType const> ZonType::constructorArgTypeQ(unsigned int index) const {
  Creator const* const creator = slot_ != nullptr ? slot_->creator() : nullptr;
  return Ptr<ZonType const>(creator != nullptr && index < creator->parameters() ? creator->type(index) : nullptr);
}

String8 ZonType::attributeString(AttributeId id) const {
  for (ZonType const* type = this; type != nullptr; type = type->base_) {
    for (AttrSpec const* const spec : type->specs_) {
      if (spec->id() == id) {
        return spec->name();
      }
    }
  }
  return "unknown";
}

AttributeId ZonType::attributeId(Name const& name) const {
  AttrSpec const* const spec = zonSpec(name);
  return spec != nullptr ? spec->id() : -1;
}

AttrSpec const* ZonType::zonSpec(AttributeId id) const noexcept {
  for (ZonType const* type = this; type != nullptr && id != 0; type = type->base_) {
    for (AttrSpec const* const spec : type->specs_) {
      if (spec->id() == id) {
        return spec;
      }
    }
  }
  return nullptr;
}

AttrSpec const* ZonType::zonSpec(Name const& name) const noexcept {
  for (ZonType const* type = this; type != nullptr; type = type->base_) {
    for (AttrSpec const* const spec : type->specs_) {
      if (name == spec->name()) {
        return spec;
      }
    }
  }
  return nullptr;
}

std::vector<Ptr<ZonAttr>> ZonType::referringAttributes() const {
  std::vector<Ptr<ZonAttr>> attributes;
  attributes.reserve(referringAttributes_.size());
  for (ZonAttr* const attribute : referringAttributes_) {
    attributes.emplace_back(attribute);
  }
  return attributes;
}

Ptr<ZonAttr> ZonType::describingAttr() const { return describingAttr_; }

ZonType::GenericFactory ZonType::genericFactory() const noexcept {
  return slot_ != nullptr ? slot_->factory() : nullptr;
}

Ptr<GenericIf> ZonType::genericIf(Ptr<PtrInterface> const& object) const {
  if (slot_ == nullptr || slot_->interface() == nullptr) {
    GenericIf::throwTypeException(fullName_);
  }
  return slot_->interface()(object, false);
}

Ptr<GenericIf> ZonType::genericIfConst(Ptr<PtrInterface const> const& object) const {
  if (slot_ == nullptr || slot_->interface() == nullptr) {
    GenericIf::throwTypeException(fullName_);
  }
  return slot_->interface()(object, true);
}

void ZonType::zonAttributeIs(Ptr<ZonAttr> const& attribute) {
  if (describingAttr_->attr(attribute->name())) {
    return;
  }
  attribute->owningTypeIs(this);
  describingAttr_->constraintIs(attribute);
  // The queue's own reference, as immortal as the node.
  increment(attribute.ptr());
  attributeQ_.append(attribute.ptr());
  if (ZonType* const type = attribute->attributeType().ptr()) {
    type->referringAttributes_.push_back(attribute.ptr());
  }
}

void ZonType::insert(std::vector<ZonType const*>& types, ZonType const* type) {
  for (ZonType const* const known : types) {
    if (known == type) {
      return;
    }
  }
  types.push_back(type);
}

std::vector<Ptr<ZonType const>> ZonType::counted(std::vector<ZonType const*> const& types) {
  return std::vector<Ptr<ZonType const>>(types.begin(), types.end());
}

}  // namespace Zon
