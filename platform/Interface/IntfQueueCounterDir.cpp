#include "platform/Interface/IntfQueueCounterDir.h"

#include <utility>

#include "Zon/AttrTable.h"
#include "platform/PlatformTypes.h"

namespace Interface {

IntfQueueCounterDir::IntfQueueCounterDir(Orvet::IntfId intfId)
  : PlatformEntity(intfId.stringValue()), intfId_(std::move(intfId)) {}

IntfQueueCounterDir::~IntfQueueCounterDir() = default;

Zon::Ptr<IntfQueueCounter> IntfQueueCounterDir::intfQueueCounter(Zon::Name const& name) {
  return intfQueueCounter_.ptr(name);
}

Zon::Ptr<IntfQueueCounter const> IntfQueueCounterDir::intfQueueCounter(Zon::Name const& name) const {
  return intfQueueCounter_.ptr(name);
}

void IntfQueueCounterDir::intfQueueCounterIs(Zon::Ptr<IntfQueueCounter> const& counter) {
  intfQueueCounter_.set(*this, counter);
}

Zon::Ptr<IntfQueueCounter> IntfQueueCounterDir::intfQueueCounterDel(Zon::Name name) {
  return intfQueueCounter_.del(*this, name);
}

Zon::Ptr<IntfQueueCounter> IntfQueueCounterDir::intfQueueCounterDel(IntfQueueCounterIterator& at) {
  return intfQueueCounter_.del(*this, at);
}

void IntfQueueCounterDir::intfQueueCounterDelAll() { intfQueueCounter_.delAll(*this); }
void IntfQueueCounterDir::intfQueueCounterNotify(Zon::Name const& name) { intfQueueCounter_.notify(*this, name); }
void IntfQueueCounterDir::intfQueueCounterNotify() { intfQueueCounter_.notify(*this); }

IntfQueueCounterDir::IntfQueueCounterIterator IntfQueueCounterDir::intfQueueCounterIterator() {
  return intfQueueCounter_.iterator();
}

IntfQueueCounterDir::IntfQueueCounterIteratorConst IntfQueueCounterDir::intfQueueCounterIteratorConst() const {
  return intfQueueCounter_.iteratorConst();
}

// The class as types and generic code see it.

namespace {

constexpr auto attributes =
    Zon::attributes(Zon::isNondestructingAttr(), Zon::valueAttr("intfId", 258, &IntfQueueCounterDir::intfId),
                    Zon::collectionAttr<IntfQueueCounterDir::IntfQueueCounterIterator>(
                        "intfQueueCounter", 259, Zon::parameters("intfQueueCounter"),
                        &IntfQueueCounterDir::intfQueueCounter, &IntfQueueCounterDir::intfQueueCounterIs,
                        &IntfQueueCounterDir::intfQueueCounterDel, &IntfQueueCounterDir::intfQueueCounterDel,
                        &IntfQueueCounterDir::intfQueueCounterDelAll, &IntfQueueCounterDir::intfQueueCounterIterator));
constexpr auto creation = Zon::constructor<Orvet::IntfId>("intfId");
constinit Zon::TypeSlot slot =
    Zon::typeSlot<IntfQueueCounterDir>(platform::zonTypeModule, "Interface::IntfQueueCounterDir",
                                       &Zon::Entity::_fwkType, attributes)
        .constructedBy(creation);

}  // namespace

Zon::ZonType* IntfQueueCounterDir::_fwkType() { return slot.node(); }
Zon::ZonType* IntfQueueCounterDir::fwkType() const { return slot.node(); }
bool IntfQueueCounterDir::_fwkTypeRegistered() { return slot.registered(); }
Zon::String8 IntfQueueCounterDir::attributeString(Zon::AttributeId id) const { return slot.attributeString(id); }

}  // namespace Interface
