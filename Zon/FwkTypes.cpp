// The runtime's own types: objects, entities, directories, activities and the values every attribute may have.

#include "Zon/Activity.h"
#include "Zon/AttrTable.h"
#include "Zon/Dir.h"
#include "Zon/Entity.h"

namespace Zon {

namespace {

constinit TypeSlot ptrInterfaceSlot = typeSlot<PtrInterface>(zonRuntimeTypes, "Zon::PtrInterface", nullptr);

constexpr auto entityAttributes = attributes(
    NamedAttr("zeroReferences", zeroReferencesId, [] { return zonTypeNode(static_cast<bool*>(nullptr)); }),
    isNondestructingAttr(), NamedAttr("name", Entity::nameId, [] { return zonTypeNode(static_cast<Name*>(nullptr)); }),
    NamedAttr("parent", Entity::parentId, [] { return Entity::_fwkType(); }));
constinit TypeSlot entitySlot =
    typeSlot<Entity>(zonRuntimeTypes, "Zon::Entity", &PtrInterface::_fwkType, entityAttributes);

constexpr auto dirAttributes =
    attributes(isNondestructingAttr(),
               collectionAttr<Dir::EntityPtrIterator>("entityPtr", 266, parameters("entity"), &Dir::entityPtr,
                                                      &Dir::entityPtrIs, &Dir::entityPtrDel, &Dir::entityPtrDel,
                                                      &Dir::entityPtrDelAll, &Dir::entityPtrIterator));
constexpr auto dirCreator = constructor<Name>("name");
constinit TypeSlot dirSlot =
    typeSlot<Dir>(zonRuntimeTypes, "Zon::Dir", &Entity::_fwkType, dirAttributes).constructedBy(dirCreator);

constinit TypeSlot activityConfigSlot =
    typeSlot<ActivityConfig>(zonRuntimeTypes, "Zon::ActivityConfig", &PtrInterface::_fwkType);

constinit TypeSlot voidSlot = valueTypeSlot(zonRuntimeTypes, "void");
constinit TypeSlot boolSlot = valueTypeSlot(zonRuntimeTypes, "bool");
constinit TypeSlot int32Slot = valueTypeSlot(zonRuntimeTypes, "std::int32_t");
constinit TypeSlot uint32Slot = valueTypeSlot(zonRuntimeTypes, "std::uint32_t");
constinit TypeSlot stringSlot = valueTypeSlot(zonRuntimeTypes, "Zon::String8");

constexpr TypeModule::Type types[] = {
    &PtrInterface::_fwkType,
    &Entity::_fwkType,
    &Dir::_fwkType,
    &ActivityConfig::_fwkType,
    [] { return zonTypeNode(static_cast<String8 const*>(nullptr)); },
    [] { return zonVoidTypeNode(); },
    [] { return zonTypeNode(static_cast<bool const*>(nullptr)); },
    [] { return zonTypeNode(static_cast<std::int32_t const*>(nullptr)); },
    [] { return zonTypeNode(static_cast<std::uint32_t const*>(nullptr)); },
};

}  // namespace

constinit TypeModule zonRuntimeTypes(types);

ZonType* PtrInterface::_fwkType() { return ptrInterfaceSlot.node(); }
ZonType* PtrInterface::fwkType() const { return _fwkType(); }
ZonType* Entity::_fwkType() { return entitySlot.node(); }
ZonType* Entity::fwkType() const { return _fwkType(); }
ZonType* Dir::_fwkType() { return dirSlot.node(); }
ZonType* Dir::fwkType() const { return _fwkType(); }
String8 Dir::attributeString(AttributeId id) const { return dirSlot.attributeString(id); }
ZonType* ActivityConfig::_fwkType() { return activityConfigSlot.node(); }
ZonType* ActivityConfig::fwkType() const { return _fwkType(); }

ZonType* zonVoidTypeNode() { return voidSlot.node(); }
ZonType* zonTypeNode(bool const*) { return boolSlot.node(); }
ZonType* zonTypeNode(std::int32_t const*) { return int32Slot.node(); }
ZonType* zonTypeNode(std::uint32_t const*) { return uint32Slot.node(); }
ZonType* zonTypeNode(String8 const*) { return stringSlot.node(); }

}  // namespace Zon
