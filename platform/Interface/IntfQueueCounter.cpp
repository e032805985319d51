#include "platform/Interface/IntfQueueCounter.h"

#include <utility>

#include "Zon/AttrTable.h"
#include "platform/PlatformTypes.h"

namespace Interface {

IntfQueueCounter::IntfQueueCounter(Zon::Name name) : PlatformEntity(std::move(name)) {}

IntfQueueCounter::~IntfQueueCounter() = default;

// The class as types and generic code see it.

namespace {

constexpr auto attributes = Zon::attributes(Zon::isNondestructingAttr());
constexpr auto creation = Zon::constructor<Zon::Name>("name");
constinit Zon::TypeSlot slot = Zon::typeSlot<IntfQueueCounter>(platform::zonTypeModule, "Interface::IntfQueueCounter",
                                                               &Zon::Entity::_fwkType, attributes)
                                   .constructedBy(creation);

}  // namespace

Zon::ZonType* IntfQueueCounter::_fwkType() { return slot.node(); }
Zon::ZonType* IntfQueueCounter::fwkType() const { return slot.node(); }
bool IntfQueueCounter::_fwkTypeRegistered() { return slot.registered(); }
Zon::String8 IntfQueueCounter::attributeString(Zon::AttributeId id) const { return slot.attributeString(id); }

}  // namespace Interface
