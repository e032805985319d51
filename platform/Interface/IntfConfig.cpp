#include "platform/Interface/IntfConfig.h"

#include <utility>

#include "Zon/AttrTable.h"
#include "platform/PlatformTypes.h"

namespace Interface {

IntfConfig::IntfConfig(Orvet::IntfId intfId) : PlatformEntity(intfId.stringValue()), intfId_(std::move(intfId)) {}

IntfConfig::~IntfConfig() = default;

bool IntfConfig::adminEnabled() const { return adminEnabledStateEffective() != IntfEnabledState::disabled; }

void IntfConfig::defaultConfigIs(Zon::Ptr<IntfConfig> const& config) {
  Zon::Ptr<IntfConfig> value(config);
  zonSet<260, &NotifieeConst::onDefaultConfig>(defaultConfig_, value);
}

void IntfConfig::adminEnabledStateLocalIs(IntfEnabledState state) {
  zonSet<263, &NotifieeConst::onAdminEnabledStateLocal>(adminEnabledStateLocal_, state);
}

void IntfConfig::enabledStateLocalIs(IntfEnabledState state) {
  zonSet<264, &NotifieeConst::onEnabledStateLocal>(enabledStateLocal_, state);
}

void IntfConfig::enabledStateReasonIs(Zon::String8 reason) {
  zonSet<265, &NotifieeConst::onEnabledStateReason>(enabledStateReason_, reason);
}

// The class as types and generic code see it.

namespace {

constexpr auto attributes = Zon::attributes(
    Zon::isNondestructingAttr(), Zon::valueAttr("intfId", 258, &IntfConfig::intfId),
    Zon::valueAttr("adminEnabled", 259, &IntfConfig::adminEnabled),
    Zon::valueAttr("defaultConfig", 260, &IntfConfig::defaultConfig, &IntfConfig::defaultConfigIs),
    Zon::valueAttr("adminEnabledStateLocal", 263, &IntfConfig::adminEnabledStateLocal,
                   &IntfConfig::adminEnabledStateLocalIs),
    Zon::valueAttr("enabledStateLocal", 264, &IntfConfig::enabledStateLocal, &IntfConfig::enabledStateLocalIs),
    Zon::valueAttr("enabledStateReason", 265, &IntfConfig::enabledStateReason, &IntfConfig::enabledStateReasonIs));
constexpr auto creation = Zon::constructor<Orvet::IntfId>("intfId");
constinit Zon::TypeSlot slot =
    Zon::typeSlot<IntfConfig>(platform::zonTypeModule, "Interface::IntfConfig", &Zon::Entity::_fwkType, attributes)
        .constructedBy(creation);

}  // namespace

Zon::ZonType* IntfConfig::_fwkType() { return slot.node(); }
Zon::ZonType* IntfConfig::fwkType() const { return slot.node(); }
bool IntfConfig::_fwkTypeRegistered() { return slot.registered(); }
Zon::String8 IntfConfig::attributeString(Zon::AttributeId id) const { return slot.attributeString(id); }

}  // namespace Interface
