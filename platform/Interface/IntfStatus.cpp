#include "platform/Interface/IntfStatus.h"

#include <utility>

#include "Zon/AttrTable.h"
#include "platform/PlatformTypes.h"

namespace Interface {

IntfStatus::IntfStatus(Orvet::IntfId intfId) : PlatformEntity(intfId.stringValue()), intfId_(std::move(intfId)) {}

IntfStatus::~IntfStatus() = default;

void IntfStatus::forwardingModelIs(std::int32_t model) {
  zonSet<265, &NotifieeConst::onForwardingModel>(forwardingModel_, model);
}

void IntfStatus::activeIs(bool active) { zonSet<272, &NotifieeConst::onActive>(active_, active); }

Zon::Ptr<IntfStatus::ZonForwardingModelInputs> IntfStatus::forwardingModelInputs(Zon::String8 const& source) {
  return forwardingModelInputs_.find(source);
}

Zon::Ptr<IntfStatus::ZonForwardingModelInputs const>
IntfStatus::forwardingModelInputs(Zon::String8 const& source) const {
  return forwardingModelInputs_.find(source);
}

void IntfStatus::forwardingModelInputsIs(Zon::String8 source, std::int32_t model) {
  forwardingModelInputs_.set(*this, source, model);
}

Zon::Ptr<IntfStatus::ZonForwardingModelInputs> IntfStatus::forwardingModelInputsDel(Zon::String8 source) {
  return forwardingModelInputs_.del(*this, source);
}

Zon::Ptr<IntfStatus::ZonForwardingModelInputs> IntfStatus::forwardingModelInputsDel(ForwardingModelInputsIterator& at) {
  return forwardingModelInputs_.del(*this, at);
}

void IntfStatus::forwardingModelInputsDelAll() { forwardingModelInputs_.delAll(*this); }

void IntfStatus::forwardingModelInputsNotify(Zon::String8 const& source) {
  forwardingModelInputs_.notify(*this, source);
}

void IntfStatus::forwardingModelInputsNotify() { forwardingModelInputs_.notify(*this); }

IntfStatus::ForwardingModelInputsIterator IntfStatus::forwardingModelInputsIterator() {
  return forwardingModelInputs_.iterator();
}

IntfStatus::ForwardingModelInputsIteratorConst IntfStatus::forwardingModelInputsIteratorConst() const {
  return forwardingModelInputs_.iteratorConst();
}

// The class as types and generic code see it.

namespace {

constexpr auto attributes = Zon::attributes(
    Zon::isNondestructingAttr(), Zon::valueAttr("intfId", 258, &IntfStatus::intfId),
    Zon::valueAttr("forwardingModel", 265, &IntfStatus::forwardingModel, &IntfStatus::forwardingModelIs),
    Zon::valueCollectionAttr<IntfStatus::ForwardingModelInputsIterator>(
        "forwardingModelInputs", 266, Zon::parameters("source", "model"), &IntfStatus::forwardingModelInputs,
        &IntfStatus::forwardingModelInputsIs, &IntfStatus::forwardingModelInputsDel,
        &IntfStatus::forwardingModelInputsDel, &IntfStatus::forwardingModelInputsDelAll,
        &IntfStatus::forwardingModelInputsIterator),
    Zon::valueAttr("active", 272, &IntfStatus::active, &IntfStatus::activeIs));
constexpr auto creation = Zon::constructor<Orvet::IntfId>("intfId");
constinit Zon::TypeSlot slot =
    Zon::typeSlot<IntfStatus>(platform::zonTypeModule, "Interface::IntfStatus", &Zon::Entity::_fwkType, attributes)
        .constructedBy(creation);

}  // namespace

Zon::ZonType* IntfStatus::_fwkType() { return slot.node(); }
Zon::ZonType* IntfStatus::fwkType() const { return slot.node(); }
bool IntfStatus::_fwkTypeRegistered() { return slot.registered(); }
Zon::String8 IntfStatus::attributeString(Zon::AttributeId id) const { return slot.attributeString(id); }

}  // namespace Interface
