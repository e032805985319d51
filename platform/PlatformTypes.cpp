#include "platform/PlatformTypes.h"

#include "Zon/AttrTable.h"
#include "platform/Errdisable/Status.h"
#include "platform/Interface/AllIntfConfigDir.h"
#include "platform/Interface/AllIntfQueueCounterDir.h"
#include "platform/Interface/AllIntfQueueCounterPtrDir.h"
#include "platform/Interface/AllIntfStatusDir.h"
#include "platform/Interface/IntfEnabledState.h"
#include "platform/Orvet/IntfId.h"
#include "platform/Pelto/ShmemMan.h"

namespace platform {

namespace {

constinit Zon::TypeSlot intfIdSlot = Zon::valueTypeSlot(zonTypeModule, "Orvet::IntfId");
constinit Zon::TypeSlot intfEnabledStateSlot = Zon::valueTypeSlot(zonTypeModule, "Interface::IntfEnabledState");
constinit Zon::TypeSlot shmemManSlot =
    Zon::typeSlot<Pelto::ShmemMan>(zonTypeModule, "Pelto::ShmemMan", &Zon::PtrInterface::_fwkType);
constinit Zon::TypeSlot counterBlockSlot =
    Zon::typeSlot<Pelto::CounterBlock>(zonTypeModule, "Pelto::CounterBlock", &Zon::PtrInterface::_fwkType);
// The base of reactors that are watchers of a status themselves.
constinit Zon::TypeSlot statusNotifieeSlot = Zon::typeSlot<Interface::IntfStatus::NotifieeConst>(
    zonTypeModule, "Interface::IntfStatus::NotifieeConst", &Zon::PtrInterface::_fwkType);

constexpr Zon::TypeModule::Type types[] = {
    [] { return zonTypeNode(static_cast<Interface::IntfEnabledState const*>(nullptr)); },
    &Interface::IntfConfig::_fwkType,
    &Interface::IntfStatus::_fwkType,
    &Interface::IntfStatus::NotifieeConst::_fwkType,
    &Interface::AllIntfConfigDir::_fwkType,
    &Interface::AllIntfStatusDir::_fwkType,
    &Interface::AllIntfQueueCounterDir::_fwkType,
    &Interface::AllIntfQueueCounterPtrDir::_fwkType,
    &Interface::IntfQueueCounterDir::_fwkType,
    &Interface::IntfQueueCounter::_fwkType,
    &Errdisable::Status::_fwkType,
    [] { return zonTypeNode(static_cast<Orvet::IntfId const*>(nullptr)); },
    &Pelto::ShmemMan::_fwkType,
    &Pelto::CounterBlock::_fwkType,
};

}  // namespace

constinit Zon::TypeModule zonTypeModule(types);

namespace {

[[maybe_unused]] bool const isRegistered = zonTypeModule.registerTypes();

}  // namespace

bool _fwkRegistered() { return zonTypeModule.registered(); }

}  // namespace platform

namespace Orvet {
Zon::ZonType* zonTypeNode(IntfId const*) { return platform::intfIdSlot.node(); }
}  // namespace Orvet

namespace Interface {
Zon::ZonType* zonTypeNode(IntfEnabledState const*) { return platform::intfEnabledStateSlot.node(); }

Zon::ZonType* IntfStatus::NotifieeConst::_fwkType() { return platform::statusNotifieeSlot.node(); }
Zon::ZonType* IntfStatus::NotifieeConst::fwkType() const { return platform::statusNotifieeSlot.node(); }
}  // namespace Interface

namespace Pelto {
Zon::ZonType* ShmemMan::_fwkType() { return platform::shmemManSlot.node(); }
Zon::ZonType* ShmemMan::fwkType() const { return platform::shmemManSlot.node(); }
Zon::ZonType* CounterBlock::_fwkType() { return platform::counterBlockSlot.node(); }
Zon::ZonType* CounterBlock::fwkType() const { return platform::counterBlockSlot.node(); }
}  // namespace Pelto
