#include "platform/Errdisable/Status.h"

#include <utility>

#include "Zon/AttrTable.h"
#include "platform/PlatformTypes.h"

namespace Errdisable {

Status::Status(Zon::Name name) : PlatformEntity(std::move(name)) {}

Status::~Status() = default;

Zon::Ptr<Status::ZonErrdisabledIntf> Status::errdisabledIntf(Orvet::IntfId const& intfId) {
  // The usual answer, asked for at every evaluation of an interface: none is error-disabled.
  if (errdisabledIntf_.members() == 0) {
    return {};
  }
  return errdisabledIntf_.find(intfId);
}

Zon::Ptr<Status::ZonErrdisabledIntf const> Status::errdisabledIntf(Orvet::IntfId const& intfId) const {
  return errdisabledIntf_.find(intfId);
}

void Status::errdisabledIntfIs(Orvet::IntfId intfId, Zon::String8 reason) {
  errdisabledIntf_.set(*this, intfId, std::move(reason));
}

Zon::Ptr<Status::ZonErrdisabledIntf> Status::errdisabledIntfDel(Orvet::IntfId intfId) {
  return errdisabledIntf_.del(*this, intfId);
}

Zon::Ptr<Status::ZonErrdisabledIntf> Status::errdisabledIntfDel(ErrdisabledIntfIterator& at) {
  return errdisabledIntf_.del(*this, at);
}

void Status::errdisabledIntfDelAll() { errdisabledIntf_.delAll(*this); }
void Status::errdisabledIntfNotify(Orvet::IntfId const& intfId) { errdisabledIntf_.notify(*this, intfId); }
void Status::errdisabledIntfNotify() { errdisabledIntf_.notify(*this); }
Status::ErrdisabledIntfIterator Status::errdisabledIntfIterator() { return errdisabledIntf_.iterator(); }
Status::ErrdisabledIntfIteratorConst Status::errdisabledIntfIteratorConst() const {
  return errdisabledIntf_.iteratorConst();
}

// The class as types and generic code see it.

namespace {

constexpr auto attributes =
    Zon::attributes(Zon::isNondestructingAttr(),
                    Zon::valueCollectionAttr<Status::ErrdisabledIntfIterator>(
                        "errdisabledIntf", 258, Zon::parameters("intfId", "reason"), &Status::errdisabledIntf,
                        &Status::errdisabledIntfIs, &Status::errdisabledIntfDel, &Status::errdisabledIntfDel,
                        &Status::errdisabledIntfDelAll, &Status::errdisabledIntfIterator));
constexpr auto creation = Zon::constructor<Zon::Name>("name");
constinit Zon::TypeSlot slot =
    Zon::typeSlot<Status>(platform::zonTypeModule, "Errdisable::Status", &Zon::Entity::_fwkType, attributes)
        .constructedBy(creation);

}  // namespace

Zon::ZonType* Status::_fwkType() { return slot.node(); }
Zon::ZonType* Status::fwkType() const { return slot.node(); }
bool Status::_fwkTypeRegistered() { return slot.registered(); }
Zon::String8 Status::attributeString(Zon::AttributeId id) const { return slot.attributeString(id); }

}  // namespace Errdisable
