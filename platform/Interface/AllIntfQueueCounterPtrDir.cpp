#include "platform/Interface/AllIntfQueueCounterPtrDir.h"

#include <utility>

#include "Zon/AttrTable.h"
#include "Zon/ValidPtr.h"
#include "platform/PlatformTypes.h"

namespace Interface {

AllIntfQueueCounterPtrDir::AllIntfQueueCounterPtrDir(Zon::Name name) : PlatformEntity(std::move(name)) {}

AllIntfQueueCounterPtrDir::~AllIntfQueueCounterPtrDir() = default;

Zon::Ptr<IntfQueueCounterDir> AllIntfQueueCounterPtrDir::intfQueueCounterDir(Orvet::IntfId const& intfId) {
  return intfQueueCounterDir_.ptr(intfId);
}

Zon::Ptr<IntfQueueCounterDir const> AllIntfQueueCounterPtrDir::intfQueueCounterDir(Orvet::IntfId const& intfId) const {
  return intfQueueCounterDir_.ptr(intfId);
}

void AllIntfQueueCounterPtrDir::intfQueueCounterDirIs(Zon::Ptr<IntfQueueCounterDir> const& intfQueueCounterDir) {
  intfQueueCounterDir_.set(*this, Zon::validPtr(intfQueueCounterDir)->intfId(), intfQueueCounterDir);
}

Zon::Ptr<IntfQueueCounterDir> AllIntfQueueCounterPtrDir::intfQueueCounterDirDel(Orvet::IntfId intfId) {
  return intfQueueCounterDir_.del(*this, intfId);
}

Zon::Ptr<IntfQueueCounterDir> AllIntfQueueCounterPtrDir::intfQueueCounterDirDel(IntfQueueCounterDirIterator& at) {
  return intfQueueCounterDir_.del(*this, at);
}

void AllIntfQueueCounterPtrDir::intfQueueCounterDirDelAll() { intfQueueCounterDir_.delAll(*this); }
void AllIntfQueueCounterPtrDir::intfQueueCounterDirNotify(Orvet::IntfId const& intfId) {
  intfQueueCounterDir_.notify(*this, intfId);
}
void AllIntfQueueCounterPtrDir::intfQueueCounterDirNotify() { intfQueueCounterDir_.notify(*this); }
AllIntfQueueCounterPtrDir::IntfQueueCounterDirIterator AllIntfQueueCounterPtrDir::intfQueueCounterDirIterator() {
  return intfQueueCounterDir_.iterator();
}
AllIntfQueueCounterPtrDir::IntfQueueCounterDirIteratorConst
AllIntfQueueCounterPtrDir::intfQueueCounterDirIteratorConst() const {
  return intfQueueCounterDir_.iteratorConst();
}

// The class as types and generic code see it.

namespace {

constexpr auto attributes = Zon::attributes(
    Zon::isNondestructingAttr(),
    Zon::collectionAttr<AllIntfQueueCounterPtrDir::IntfQueueCounterDirIterator>(
        "intfQueueCounterDir", 258, Zon::parameters("intfQueueCounterDir"),
        &AllIntfQueueCounterPtrDir::intfQueueCounterDir, &AllIntfQueueCounterPtrDir::intfQueueCounterDirIs,
        &AllIntfQueueCounterPtrDir::intfQueueCounterDirDel, &AllIntfQueueCounterPtrDir::intfQueueCounterDirDel,
        &AllIntfQueueCounterPtrDir::intfQueueCounterDirDelAll,
        &AllIntfQueueCounterPtrDir::intfQueueCounterDirIterator));
constexpr auto creation = Zon::constructor<Zon::Name>("name");
constinit Zon::TypeSlot slot =
    Zon::typeSlot<AllIntfQueueCounterPtrDir>(platform::zonTypeModule, "Interface::AllIntfQueueCounterPtrDir",
                                             &Zon::Entity::_fwkType, attributes)
        .constructedBy(creation);

}  // namespace

Zon::ZonType* AllIntfQueueCounterPtrDir::_fwkType() { return slot.node(); }
Zon::ZonType* AllIntfQueueCounterPtrDir::fwkType() const { return slot.node(); }
bool AllIntfQueueCounterPtrDir::_fwkTypeRegistered() { return slot.registered(); }
Zon::String8 AllIntfQueueCounterPtrDir::attributeString(Zon::AttributeId id) const { return slot.attributeString(id); }

}  // namespace Interface
