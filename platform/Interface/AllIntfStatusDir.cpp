#include "platform/Interface/AllIntfStatusDir.h"

#include <utility>

#include "Zon/AttrTable.h"
#include "Zon/ValidPtr.h"
#include "platform/PlatformTypes.h"

namespace Interface {

AllIntfStatusDir::AllIntfStatusDir(Zon::Name name) : PlatformEntity(std::move(name)) {}

AllIntfStatusDir::~AllIntfStatusDir() = default;

Zon::Ptr<IntfStatus> AllIntfStatusDir::intfStatus(Orvet::IntfId const& intfId) { return intfStatus_.ptr(intfId); }

Zon::Ptr<IntfStatus const> AllIntfStatusDir::intfStatus(Orvet::IntfId const& intfId) const {
  return intfStatus_.ptr(intfId);
}

void AllIntfStatusDir::intfStatusIs(Zon::Ptr<IntfStatus> const& intfStatus) {
  intfStatus_.set(*this, Zon::validPtr(intfStatus)->intfId(), intfStatus);
}

Zon::Ptr<IntfStatus> AllIntfStatusDir::intfStatusDel(Orvet::IntfId intfId) { return intfStatus_.del(*this, intfId); }

Zon::Ptr<IntfStatus> AllIntfStatusDir::intfStatusDel(IntfStatusIterator& at) { return intfStatus_.del(*this, at); }

void AllIntfStatusDir::intfStatusDelAll() { intfStatus_.delAll(*this); }
void AllIntfStatusDir::intfStatusNotify(Orvet::IntfId const& intfId) { intfStatus_.notify(*this, intfId); }
void AllIntfStatusDir::intfStatusNotify() { intfStatus_.notify(*this); }
AllIntfStatusDir::IntfStatusIterator AllIntfStatusDir::intfStatusIterator() { return intfStatus_.iterator(); }
AllIntfStatusDir::IntfStatusIteratorConst AllIntfStatusDir::intfStatusIteratorConst() const {
  return intfStatus_.iteratorConst();
}

// The class as types and generic code see it.

namespace {

constexpr auto attributes = Zon::attributes(
    Zon::isNondestructingAttr(),
    Zon::collectionAttr<AllIntfStatusDir::IntfStatusIterator>(
        "intfStatus", 258, Zon::parameters("intfStatus"), &AllIntfStatusDir::intfStatus,
        &AllIntfStatusDir::intfStatusIs, &AllIntfStatusDir::intfStatusDel, &AllIntfStatusDir::intfStatusDel,
        &AllIntfStatusDir::intfStatusDelAll, &AllIntfStatusDir::intfStatusIterator));
constexpr auto creation = Zon::constructor<Zon::Name>("name");
constinit Zon::TypeSlot slot = Zon::typeSlot<AllIntfStatusDir>(platform::zonTypeModule, "Interface::AllIntfStatusDir",
                                                               &Zon::Entity::_fwkType, attributes)
                                   .constructedBy(creation);

}  // namespace

Zon::ZonType* AllIntfStatusDir::_fwkType() { return slot.node(); }
Zon::ZonType* AllIntfStatusDir::fwkType() const { return slot.node(); }
bool AllIntfStatusDir::_fwkTypeRegistered() { return slot.registered(); }
Zon::String8 AllIntfStatusDir::attributeString(Zon::AttributeId id) const { return slot.attributeString(id); }

}  // namespace Interface
