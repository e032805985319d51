#include "platform/Interface/AllIntfQueueCounterDir.h"

#include <utility>

#include "Zon/AttrTable.h"
#include "Zon/ValidPtr.h"
#include "platform/PlatformTypes.h"

namespace Interface {

AllIntfQueueCounterDir::AllIntfQueueCounterDir(Zon::Name name)
  : Dir(std::move(name)),
    counterShmemMan_(Zon::newPtr<Pelto::ShmemMan>()),
    statisticsShmemMan_(Zon::newPtr<Pelto::ShmemMan>()) {}

AllIntfQueueCounterDir::~AllIntfQueueCounterDir() = default;

Zon::Ptr<IntfQueueCounterDir> AllIntfQueueCounterDir::intfQueueCounterDir(Orvet::IntfId const& intfId) {
  return intfQueueCounterDir_.ptr(intfId);
}

Zon::Ptr<IntfQueueCounterDir const> AllIntfQueueCounterDir::intfQueueCounterDir(Orvet::IntfId const& intfId) const {
  return intfQueueCounterDir_.ptr(intfId);
}

void AllIntfQueueCounterDir::intfQueueCounterDirIs(Zon::Ptr<IntfQueueCounterDir> const& counters) {
  intfQueueCounterDir_.set(*this, counters);
}

Zon::Ptr<IntfQueueCounterDir> AllIntfQueueCounterDir::intfQueueCounterDirDel(Orvet::IntfId intfId) {
  return intfQueueCounterDir_.del(*this, intfId);
}

Zon::Ptr<IntfQueueCounterDir> AllIntfQueueCounterDir::intfQueueCounterDirDel(IntfQueueCounterDirIterator& at) {
  return intfQueueCounterDir_.del(*this, at);
}

void AllIntfQueueCounterDir::intfQueueCounterDirDelAll() { intfQueueCounterDir_.delAll(*this); }

void AllIntfQueueCounterDir::intfQueueCounterDirNotify(Orvet::IntfId const& intfId) {
  intfQueueCounterDir_.notify(*this, intfId);
}

void AllIntfQueueCounterDir::intfQueueCounterDirNotify() { intfQueueCounterDir_.notify(*this); }

AllIntfQueueCounterDir::IntfQueueCounterDirIterator AllIntfQueueCounterDir::intfQueueCounterDirIterator() {
  return intfQueueCounterDir_.iterator();
}

AllIntfQueueCounterDir::IntfQueueCounterDirIteratorConst
AllIntfQueueCounterDir::intfQueueCounterDirIteratorConst() const {
  return intfQueueCounterDir_.iteratorConst();
}

template <Zon::AttributeId id, auto callback>
void AllIntfQueueCounterDir::managerIs(Zon::Ptr<Pelto::ShmemMan>& stored, Zon::Ptr<Pelto::ShmemMan> manager) {
  if (stored == Zon::validPtr(manager)) {
    return;
  }
  stored.swap(manager);
  zonTell<id>([](Zon::Dir::NotifieeConst& listed) {
    // The list also holds watchers of plain directories.
    if (auto* const watcher = dynamic_cast<NotifieeConst*>(&listed)) {
      (watcher->*callback)();
    }
  });
}

void AllIntfQueueCounterDir::counterShmemManIs(Zon::Ptr<Pelto::ShmemMan> const& manager) {
  managerIs<387, &NotifieeConst::onCounterShmemMan>(counterShmemMan_, manager);
}

void AllIntfQueueCounterDir::statisticsShmemManIs(Zon::Ptr<Pelto::ShmemMan> const& manager) {
  managerIs<388, &NotifieeConst::onStatisticsShmemMan>(statisticsShmemMan_, manager);
}

// The class as types and generic code see it.

namespace {

constexpr auto attributes = Zon::attributes(
    Zon::collectionAttr<AllIntfQueueCounterDir::IntfQueueCounterDirIterator>(
        "intfQueueCounterDir", 386, Zon::parameters("intfQueueCounterDir"),
        &AllIntfQueueCounterDir::intfQueueCounterDir, &AllIntfQueueCounterDir::intfQueueCounterDirIs,
        &AllIntfQueueCounterDir::intfQueueCounterDirDel, &AllIntfQueueCounterDir::intfQueueCounterDirDel,
        &AllIntfQueueCounterDir::intfQueueCounterDirDelAll, &AllIntfQueueCounterDir::intfQueueCounterDirIterator),
    Zon::valueAttr("counterShmemMan", 387, &AllIntfQueueCounterDir::counterShmemMan,
                   &AllIntfQueueCounterDir::counterShmemManIs),
    Zon::valueAttr("statisticsShmemMan", 388, &AllIntfQueueCounterDir::statisticsShmemMan,
                   &AllIntfQueueCounterDir::statisticsShmemManIs));
constexpr auto creation = Zon::constructor<Zon::Name>("name");
constinit Zon::TypeSlot slot =
    Zon::typeSlot<AllIntfQueueCounterDir>(platform::zonTypeModule, "Interface::AllIntfQueueCounterDir",
                                          &Zon::Dir::_fwkType, attributes)
        .constructedBy(creation);

}  // namespace

Zon::ZonType* AllIntfQueueCounterDir::_fwkType() { return slot.node(); }
Zon::ZonType* AllIntfQueueCounterDir::fwkType() const { return slot.node(); }
bool AllIntfQueueCounterDir::_fwkTypeRegistered() { return slot.registered(); }
Zon::String8 AllIntfQueueCounterDir::attributeString(Zon::AttributeId id) const { return slot.attributeString(id); }

}  // namespace Interface
