#include "VaroIntf/AllIntfQueueCounterReactor.h"

#include <ostream>
#include <utility>

#include "VaroIntf/VaroIntf.h"
#include "Zon/AttrTable.h"
#include "Zon/ZombieWatch.h"

namespace VaroIntf {

namespace {

Zon::Ptr<Interface::AllIntfQueueCounterDir> sliceOf(Zon::Dir& slices, Zon::Name const& name) {
  return Zon::ptrCast<Interface::AllIntfQueueCounterDir>(slices.entityRef(name));
}

bool someSliceLists(Zon::Dir& slices, Orvet::IntfId const& intfId) {
  for (auto subdir = slices.subdirIterator(); subdir; subdir.advance()) {
    auto const slice = sliceOf(slices, subdir->name());
    if (slice && slice->intfQueueCounterDir(intfId)) {
      return true;
    }
  }
  return false;
}

}  // namespace

Zon::Ptr<AllIntfQueueCounterReactor> AllIntfQueueCounterReactor::AllIntfQueueCounterReactorIs(
    Zon::Ptr<Zon::ActivityConfig> const& activity, Zon::Ptr<Interface::AllIntfQueueCounterPtrDir> const& counterOut,
    Zon::Ptr<Zon::Dir> const& counterIn) {
  auto reactor = Zon::validPtr(Zon::newPtr<AllIntfQueueCounterReactor>(activity, counterOut, counterIn));
  reactor->handleQueueCounterDir();
  reactor->hasNotificationActiveIs(true);
  return reactor;
}

AllIntfQueueCounterReactor::AllIntfQueueCounterReactor(Zon::Ptr<Zon::ActivityConfig> const& activity,
                                                       Zon::Ptr<Interface::AllIntfQueueCounterPtrDir> const& counterOut,
                                                       Zon::Ptr<Zon::Dir> const& counterIn)
  : ReactorOf(activity), counterOut_(counterOut) {
  if (counterIn) {
    counterIn_ = newCounterIn(counterIn);
  }
}

AllIntfQueueCounterReactor::~AllIntfQueueCounterReactor() { zonTearDown(); }

Zon::Ptr<Zon::Dir> AllIntfQueueCounterReactor::counterIn() const { return zonNotifier(counterIn_); }

void AllIntfQueueCounterReactor::counterInIs(Zon::Ptr<Zon::Dir> const& directory) {
  zonInputIs(&AllIntfQueueCounterReactor::counterIn_, directory, [this](auto const& dir) { return newCounterIn(dir); });
}

Zon::Ptr<Zon::Dir> AllIntfQueueCounterReactor::counterInDel() {
  return zonInputDel(&AllIntfQueueCounterReactor::counterIn_);
}

Zon::Ptr<AllIntfQueueCounterReactor::ZonCounterIn>
AllIntfQueueCounterReactor::newCounterIn(Zon::Ptr<Zon::Dir> const& directory) {
  return zonNewInput<ZonCounterIn>(directory);
}

void AllIntfQueueCounterReactor::ZonCounterIn::onEntityPtr(Zon::Name name) {
  zonGate(std::move(name),
          [](AllIntfQueueCounterReactor& reactor, Zon::Name const& key) { reactor.handleQueueCounterDir(key); });
}

Zon::Ptr<AllIntfQueueCounterSliceReactor> AllIntfQueueCounterReactor::sliceSm(Zon::String8 const& sliceName) {
  return sliceSm_.member(sliceName);
}

Zon::Ptr<AllIntfQueueCounterSliceReactor const>
AllIntfQueueCounterReactor::sliceSm(Zon::String8 const& sliceName) const {
  return sliceSm_.member(sliceName);
}

Zon::Ptr<AllIntfQueueCounterSliceReactor>
AllIntfQueueCounterReactor::sliceSmIs(Zon::Ptr<Zon::ActivityConfig> const& activity, Zon::String8 const& sliceName,
                                      Zon::Ptr<Interface::AllIntfQueueCounterPtrDir> const& counterOut,
                                      Zon::Ptr<Interface::AllIntfQueueCounterDir> const& counterIn) {
  using Slice = AllIntfQueueCounterSliceReactor;
  Zon::Ptr<AllIntfQueueCounterReactor> const self(this);
  return Zon::findOrCreate(
      sliceSm_, sliceName, activity,
      [&](Zon::String8 const& key) {
        return Slice::AllIntfQueueCounterSliceReactorIs(activity, key, counterOut, counterIn);
      },
      Zon::ConstructorParameter<Slice, Interface::AllIntfQueueCounterPtrDir>{
          "counterOut", counterOut, [](Slice const& slice) { return slice.counterOut(); }},
      Zon::ConstructorParameter<Slice, Interface::AllIntfQueueCounterDir>{
          "counterIn", counterIn, [](Slice const& slice) { return slice.counterIn(); }});
}

Zon::Ptr<AllIntfQueueCounterSliceReactor>
AllIntfQueueCounterReactor::newSliceSm(Zon::Ptr<Zon::ActivityConfig> const& activity, Zon::String8 const& sliceName,
                                       Zon::Ptr<Interface::AllIntfQueueCounterPtrDir> const& counterOut,
                                       Zon::Ptr<Interface::AllIntfQueueCounterDir> const& counterIn) {
  // Watchers of the output hear of the new reactor's interfaces and may drop this one.
  Zon::Ptr<AllIntfQueueCounterReactor> const self(this);
  auto slice =
      AllIntfQueueCounterSliceReactor::AllIntfQueueCounterSliceReactorIs(activity, sliceName, counterOut, counterIn);
  sliceSm_.newMember(slice, SliceSms::hashOf(sliceName));
  return slice;
}

Zon::Ptr<AllIntfQueueCounterSliceReactor> AllIntfQueueCounterReactor::sliceSmDel(Zon::String8 const& sliceName) {
  return sliceSm_.memberDel(sliceName);
}

Zon::Ptr<AllIntfQueueCounterSliceReactor> AllIntfQueueCounterReactor::sliceSmDel(SliceSmIterator& at) {
  return sliceSm_.memberDel(at);
}

void AllIntfQueueCounterReactor::sliceSmDelAll() {
  Zon::Ptr<AllIntfQueueCounterReactor> const self(this);
  sliceSm_.memberDelAll();
}

AllIntfQueueCounterReactor::SliceSmIterator AllIntfQueueCounterReactor::sliceSmIterator() {
  return SliceSmIterator(sliceSm_);
}

AllIntfQueueCounterReactor::SliceSmIteratorConst AllIntfQueueCounterReactor::sliceSmIteratorConst() const {
  return SliceSmIteratorConst(sliceSm_);
}

void AllIntfQueueCounterReactor::handleQueueCounterDir(Zon::String8 name) {
  auto const traced = [&name](int line, char const* what) {
    Zon::trace(traceFacility, 8, traceFile, line, "handleQueueCounterDir", [&](std::ostream& text) {
      text << "void VaroIntf::AllIntfQueueCounterReactor::handleQueueCounterDir(Zon::String) " << name << what;
    });
  };
  Zon::Ptr<AllIntfQueueCounterReactor> const self(this);
  traced(159, "");
  Zon::Ptr<Zon::Dir> const slices = counterIn();
  Zon::Ptr<Interface::AllIntfQueueCounterDir> const dirIn = slices ? sliceOf(*slices, name) : nullptr;
  if (dirIn) {
    traced(179, " add");
    Zon::require(dirIn.ptr() != nullptr, "dirIn", traceFile, 180,
                 "void VaroIntf::AllIntfQueueCounterReactor::handleQueueCounterDir(Zon::String)");
    // On no activity: what a slice reactor hears must take effect at once.
    sliceSmIs(nullptr, name, counterOut_, dirIn);
    return;
  }
  traced(164, " does not exist");
  Zon::Ptr<AllIntfQueueCounterSliceReactor> const slice = sliceSm(name);
  if (!slice) {
    return;
  }
  Zon::ZombieWatch const alive(*this);
  traced(172, " delete");
  slice->doPrepareToDie();
  // Watchers of the output may have brought the slice back meanwhile, under a reactor of its own.
  if (sliceSm(name) != slice) {
    return;
  }
  Zon::retire(sliceSmDel(name));
  // Or under this one, that is gone now.
  Zon::Ptr<Zon::Dir> const now = counterIn();
  if (alive.goesOn() && now && sliceOf(*now, name)) {
    handleQueueCounterDir(name);
  }
}

void AllIntfQueueCounterReactor::handleQueueCounterDir() {
  Zon::Ptr<AllIntfQueueCounterReactor> const self(this);
  Zon::trace(traceFacility, 8, traceFile, 126, "handleQueueCounterDir",
             [](std::ostream& text) { text << "void VaroIntf::AllIntfQueueCounterReactor::handleQueueCounterDir()"; });
  Zon::Ptr<Zon::Dir> const slices = counterIn();
  if (!slices) {
    return;
  }
  Zon::ZombieWatch const alive(*this);
  removeStaleEntries(*slices);
  for (auto subdir = slices->subdirIterator(); subdir && alive.goesOn(); subdir.advance()) {
    handleQueueCounterDir(subdir->name());
  }
}

void AllIntfQueueCounterReactor::removeStaleEntries(Zon::Dir& slices) {
  if (!counterOut_) {
    return;
  }
  Zon::ZombieWatch const alive(*this);
  for (auto entry = counterOut_->intfQueueCounterDirIterator(); entry && alive.goesOn(); entry.advance()) {
    Orvet::IntfId const intfId = entry->intfId();
    if (someSliceLists(slices, intfId)) {
      continue;
    }
    Zon::trace(traceFacility, 8, traceFile, 146, "handleQueueCounterDir", [&intfId](std::ostream& text) {
      text << "void VaroIntf::AllIntfQueueCounterReactor::handleQueueCounterDir() " << intfId << " delete";
    });
    counterOut_->intfQueueCounterDirDel(entry);
  }
}

// The class as types and generic code see it.

namespace {

constexpr auto attributes = Zon::attributes(
    Zon::activityAttr<AllIntfQueueCounterReactor>(),
    Zon::valueAttr("counterOut", 130, &AllIntfQueueCounterReactor::counterOut),
    Zon::inputAttr("counterIn", 131, &AllIntfQueueCounterReactor::counterIn, &AllIntfQueueCounterReactor::counterInIs,
                   &AllIntfQueueCounterReactor::counterInDel),
    Zon::collectionAttr<AllIntfQueueCounterReactor::SliceSmIterator>(
        "sliceSm", 132, Zon::parameters("zonFwkActivity", "sliceName", "counterOut", "counterIn"),
        &AllIntfQueueCounterReactor::sliceSm, &AllIntfQueueCounterReactor::sliceSmIs,
        &AllIntfQueueCounterReactor::sliceSmDel, &AllIntfQueueCounterReactor::sliceSmDel,
        &AllIntfQueueCounterReactor::sliceSmDelAll, &AllIntfQueueCounterReactor::sliceSmIterator),
    Zon::functionAttr("handleQueueCounterDir", 133, "name", &AllIntfQueueCounterReactor::handleQueueCounterDir,
                      &AllIntfQueueCounterReactor::handleQueueCounterDir),
    Zon::activeSwitchAttr<AllIntfQueueCounterReactor>(), Zon::zombieSwitchAttr<AllIntfQueueCounterReactor>());
constexpr auto creation = Zon::creator(&AllIntfQueueCounterReactor::AllIntfQueueCounterReactorIs, "zonFwkActivity",
                                       "counterOut", "counterIn");
constinit Zon::TypeSlot slot =
    Zon::typeSlot<AllIntfQueueCounterReactor>(zonTypeModule, "VaroIntf::AllIntfQueueCounterReactor",
                                              &Zon::PtrInterface::_fwkType, attributes)
        .constructedBy(creation);

}  // namespace

Zon::ZonType* AllIntfQueueCounterReactor::_fwkType() { return slot.node(); }
Zon::ZonType* AllIntfQueueCounterReactor::fwkType() const { return slot.node(); }
bool AllIntfQueueCounterReactor::_fwkTypeRegistered() { return slot.registered(); }

}  // namespace VaroIntf
