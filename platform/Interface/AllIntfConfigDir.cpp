#include "platform/Interface/AllIntfConfigDir.h"

#include <utility>

#include "Zon/AttrTable.h"
#include "Zon/ValidPtr.h"
#include "platform/PlatformTypes.h"

namespace Interface {

AllIntfConfigDir::AllIntfConfigDir(Zon::Name name) : PlatformEntity(std::move(name)) {}

AllIntfConfigDir::~AllIntfConfigDir() = default;

Zon::Ptr<IntfConfig> AllIntfConfigDir::intfConfig(Orvet::IntfId const& intfId) { return intfConfig_.ptr(intfId); }

Zon::Ptr<IntfConfig const> AllIntfConfigDir::intfConfig(Orvet::IntfId const& intfId) const {
  return intfConfig_.ptr(intfId);
}

void AllIntfConfigDir::intfConfigIs(Zon::Ptr<IntfConfig> const& intfConfig) {
  intfConfig_.set(*this, Zon::validPtr(intfConfig)->intfId(), intfConfig);
}

Zon::Ptr<IntfConfig> AllIntfConfigDir::intfConfigDel(Orvet::IntfId intfId) { return intfConfig_.del(*this, intfId); }

Zon::Ptr<IntfConfig> AllIntfConfigDir::intfConfigDel(IntfConfigIterator& at) { return intfConfig_.del(*this, at); }

void AllIntfConfigDir::intfConfigDelAll() { intfConfig_.delAll(*this); }
void AllIntfConfigDir::intfConfigNotify(Orvet::IntfId const& intfId) { intfConfig_.notify(*this, intfId); }
void AllIntfConfigDir::intfConfigNotify() { intfConfig_.notify(*this); }
AllIntfConfigDir::IntfConfigIterator AllIntfConfigDir::intfConfigIterator() { return intfConfig_.iterator(); }
AllIntfConfigDir::IntfConfigIteratorConst AllIntfConfigDir::intfConfigIteratorConst() const {
  return intfConfig_.iteratorConst();
}

// The class as types and generic code see it.

namespace {

constexpr auto attributes = Zon::attributes(
    Zon::isNondestructingAttr(),
    Zon::collectionAttr<AllIntfConfigDir::IntfConfigIterator>(
        "intfConfig", 258, Zon::parameters("intfConfig"), &AllIntfConfigDir::intfConfig,
        &AllIntfConfigDir::intfConfigIs, &AllIntfConfigDir::intfConfigDel, &AllIntfConfigDir::intfConfigDel,
        &AllIntfConfigDir::intfConfigDelAll, &AllIntfConfigDir::intfConfigIterator));
constexpr auto creation = Zon::constructor<Zon::Name>("name");
constinit Zon::TypeSlot slot = Zon::typeSlot<AllIntfConfigDir>(platform::zonTypeModule, "Interface::AllIntfConfigDir",
                                                               &Zon::Entity::_fwkType, attributes)
                                   .constructedBy(creation);

}  // namespace

Zon::ZonType* AllIntfConfigDir::_fwkType() { return slot.node(); }
Zon::ZonType* AllIntfConfigDir::fwkType() const { return slot.node(); }
bool AllIntfConfigDir::_fwkTypeRegistered() { return slot.registered(); }
Zon::String8 AllIntfConfigDir::attributeString(Zon::AttributeId id) const { return slot.attributeString(id); }

}  // namespace Interface
