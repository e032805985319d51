#include "VaroIntf/AllIntfQueueCounterSliceReactor.h"

#include <ostream>
#include <utility>

#include "VaroIntf/VaroIntf.h"
#include "Zon/AttrTable.h"
#include "Zon/ZombieWatch.h"

namespace VaroIntf {

Zon::Ptr<AllIntfQueueCounterSliceReactor> AllIntfQueueCounterSliceReactor::AllIntfQueueCounterSliceReactorIs(
    Zon::Ptr<Zon::ActivityConfig> const& activity, Zon::String8 sliceName,
    Zon::Ptr<Interface::AllIntfQueueCounterPtrDir> const& counterOut,
    Zon::Ptr<Interface::AllIntfQueueCounterDir> const& counterIn) {
  auto reactor = Zon::validPtr(
      Zon::newPtr<AllIntfQueueCounterSliceReactor>(activity, std::move(sliceName), counterOut, counterIn));
  reactor->handleQueueCounterDir();
  reactor->hasNotificationActiveIs(true);
  return reactor;
}

AllIntfQueueCounterSliceReactor::AllIntfQueueCounterSliceReactor(
    Zon::Ptr<Zon::ActivityConfig> const& activity, Zon::String8 sliceName,
    Zon::Ptr<Interface::AllIntfQueueCounterPtrDir> const& counterOut,
    Zon::Ptr<Interface::AllIntfQueueCounterDir> const& counterIn)
  : ReactorOf(activity), sliceName_(std::move(sliceName)), counterOut_(counterOut) {
  if (counterIn) {
    counterIn_ = newCounterIn(counterIn);
  }
}

AllIntfQueueCounterSliceReactor::~AllIntfQueueCounterSliceReactor() { zonTearDown(); }

Zon::Ptr<Interface::AllIntfQueueCounterDir> AllIntfQueueCounterSliceReactor::counterIn() const {
  return zonNotifier(counterIn_);
}

void AllIntfQueueCounterSliceReactor::counterInIs(Zon::Ptr<Interface::AllIntfQueueCounterDir> const& slice) {
  zonInputIs(&AllIntfQueueCounterSliceReactor::counterIn_, slice,
             [this](auto const& dir) { return newCounterIn(dir); });
}

Zon::Ptr<Interface::AllIntfQueueCounterDir> AllIntfQueueCounterSliceReactor::counterInDel() {
  return zonInputDel(&AllIntfQueueCounterSliceReactor::counterIn_);
}

Zon::Ptr<AllIntfQueueCounterSliceReactor::ZonCounterIn>
AllIntfQueueCounterSliceReactor::newCounterIn(Zon::Ptr<Interface::AllIntfQueueCounterDir> const& slice) {
  return zonNewInput<ZonCounterIn>(slice);
}

void AllIntfQueueCounterSliceReactor::ZonCounterIn::onIntfQueueCounterDir(Orvet::IntfId intfId) {
  zonGate(std::move(intfId), [](AllIntfQueueCounterSliceReactor& reactor, Orvet::IntfId const& key) {
    reactor.handleQueueCounterDir(key);
  });
}

Zon::Ptr<AllIntfQueueCounterSliceIntfCounterReactor>
AllIntfQueueCounterSliceReactor::intfQueueCounterSm(Orvet::IntfId const& intfId) {
  return intfQueueCounterSm_.member(intfId);
}

Zon::Ptr<AllIntfQueueCounterSliceIntfCounterReactor const>
AllIntfQueueCounterSliceReactor::intfQueueCounterSm(Orvet::IntfId const& intfId) const {
  return intfQueueCounterSm_.member(intfId);
}

Zon::Ptr<AllIntfQueueCounterSliceIntfCounterReactor> AllIntfQueueCounterSliceReactor::intfQueueCounterSmIs(
    Zon::Ptr<Zon::ActivityConfig> const& activity, Orvet::IntfId const& intfId,
    Zon::Ptr<Interface::IntfQueueCounterDir const> const& intfQueueCounterDir,
    Zon::Ptr<Interface::AllIntfQueueCounterDir> const& allIntfQueueCounterDir) {
  using Leaf = AllIntfQueueCounterSliceIntfCounterReactor;
  Zon::Ptr<AllIntfQueueCounterSliceReactor> const self(this);
  return Zon::findOrCreate(
      intfQueueCounterSm_, intfId, activity,
      [&](Orvet::IntfId const& key) {
        return Leaf::AllIntfQueueCounterSliceIntfCounterReactorIs(activity, key, intfQueueCounterDir,
                                                                  allIntfQueueCounterDir);
      },
      Zon::ConstructorParameter<Leaf, Interface::IntfQueueCounterDir const>{
          "intfQueueCounterDir", intfQueueCounterDir, [](Leaf const& leaf) { return leaf.intfQueueCounterDir(); }},
      Zon::ConstructorParameter<Leaf, Interface::AllIntfQueueCounterDir>{
          "allIntfQueueCounterDir", allIntfQueueCounterDir,
          [](Leaf const& leaf) { return leaf.allIntfQueueCounterDir(); }});
}

Zon::Ptr<AllIntfQueueCounterSliceIntfCounterReactor> AllIntfQueueCounterSliceReactor::newIntfQueueCounterSm(
    Zon::Ptr<Zon::ActivityConfig> const& activity, Orvet::IntfId const& intfId,
    Zon::Ptr<Interface::IntfQueueCounterDir const> const& intfQueueCounterDir,
    Zon::Ptr<Interface::AllIntfQueueCounterDir> const& allIntfQueueCounterDir) {
  Zon::Ptr<AllIntfQueueCounterSliceReactor> const self(this);
  auto leaf = AllIntfQueueCounterSliceIntfCounterReactor::AllIntfQueueCounterSliceIntfCounterReactorIs(
      activity, intfId, intfQueueCounterDir, allIntfQueueCounterDir);
  intfQueueCounterSm_.newMember(leaf, IntfQueueCounterSms::hashOf(intfId));
  return leaf;
}

Zon::Ptr<AllIntfQueueCounterSliceIntfCounterReactor>
AllIntfQueueCounterSliceReactor::intfQueueCounterSmDel(Orvet::IntfId const& intfId) {
  return intfQueueCounterSm_.memberDel(intfId);
}

Zon::Ptr<AllIntfQueueCounterSliceIntfCounterReactor>
AllIntfQueueCounterSliceReactor::intfQueueCounterSmDel(IntfQueueCounterSmIterator& at) {
  return intfQueueCounterSm_.memberDel(at);
}

void AllIntfQueueCounterSliceReactor::intfQueueCounterSmDelAll() {
  Zon::Ptr<AllIntfQueueCounterSliceReactor> const self(this);
  intfQueueCounterSm_.memberDelAll();
}

AllIntfQueueCounterSliceReactor::IntfQueueCounterSmIterator
AllIntfQueueCounterSliceReactor::intfQueueCounterSmIterator() {
  return IntfQueueCounterSmIterator(intfQueueCounterSm_);
}

AllIntfQueueCounterSliceReactor::IntfQueueCounterSmIteratorConst
AllIntfQueueCounterSliceReactor::intfQueueCounterSmIteratorConst() const {
  return IntfQueueCounterSmIteratorConst(intfQueueCounterSm_);
}

void AllIntfQueueCounterSliceReactor::handleQueueCounterDir(Orvet::IntfId intfId) {
  auto const traced = [&intfId](int line, char const* what) {
    Zon::trace(traceFacility, 8, traceFile, line, "handleQueueCounterDir", [&](std::ostream& text) {
      text << "void VaroIntf::AllIntfQueueCounterSliceReactor::handleQueueCounterDir(Orvet::IntfId) " << intfId << what;
    });
  };
  Zon::Ptr<AllIntfQueueCounterSliceReactor> const self(this);
  Zon::Ptr<Interface::AllIntfQueueCounterDir> const slice = counterIn();
  if (auto const counters = slice ? slice->intfQueueCounterDir(intfId) : nullptr) {
    traced(106, " add");
    publish(intfId, counters);
    return;
  }
  Zon::ZombieWatch const alive(*this);
  traced(101, " delete");
  withdraw(intfId);
  Zon::retire(intfQueueCounterSmDel(intfId));
  // Watchers of the output may have brought the interface back, and it met the reactor that is gone now.
  Zon::Ptr<Interface::AllIntfQueueCounterDir> const now = counterIn();
  if (alive.goesOn() && now && now->intfQueueCounterDir(intfId)) {
    handleQueueCounterDir(intfId);
  }
}

void AllIntfQueueCounterSliceReactor::publish(Orvet::IntfId const& intfId,
                                              Zon::Ptr<Interface::IntfQueueCounterDir> const& counters) {
  Zon::ZombieWatch const alive(*this);
  if (counterOut_) {
    counterOut_->intfQueueCounterDirIs(counters);
  }
  // Watchers of the output may have changed the slice, or dropped this reactor.
  Zon::Ptr<Interface::AllIntfQueueCounterDir> const slice = counterIn();
  if (!alive.goesOn() || !slice || slice->intfQueueCounterDir(intfId) != counters) {
    return;
  }
  // On no activity: what a counter reactor hears must take effect at once.
  intfQueueCounterSmIs(nullptr, intfId, counters, slice);
}

void AllIntfQueueCounterSliceReactor::withdraw(Orvet::IntfId const& intfId) {
  if (counterOut_) {
    counterOut_->intfQueueCounterDirDel(intfId);
  }
}

void AllIntfQueueCounterSliceReactor::handleQueueCounterDir() {
  Zon::Ptr<AllIntfQueueCounterSliceReactor> const self(this);
  Zon::trace(traceFacility, 8, traceFile, 89, "handleQueueCounterDir", [](std::ostream& text) {
    text << "void VaroIntf::AllIntfQueueCounterSliceReactor::handleQueueCounterDir()";
  });
  if (Zon::Ptr<Interface::AllIntfQueueCounterDir> const slice = counterIn()) {
    Zon::ZombieWatch const alive(*this);
    for (auto counters = slice->intfQueueCounterDirIterator(); counters && alive.goesOn(); counters.advance()) {
      handleQueueCounterDir(counters.key());
    }
  }
}

void AllIntfQueueCounterSliceReactor::doPrepareToDie() {
  Zon::Ptr<AllIntfQueueCounterSliceReactor> const self(this);
  Zon::trace(traceFacility, 8, traceFile, 116, "doPrepareToDie",
             [](std::ostream& text) { text << "void VaroIntf::AllIntfQueueCounterSliceReactor::doPrepareToDie()"; });
  if (Zon::Ptr<Interface::AllIntfQueueCounterDir> const slice = counterIn()) {
    for (auto counters = slice->intfQueueCounterDirIterator(); counters; counters.advance()) {
      withdraw(counters.key());
    }
  }
}

// The class as types and generic code see it.

namespace {

constexpr auto attributes = Zon::attributes(
    Zon::activityAttr<AllIntfQueueCounterSliceReactor>(),
    Zon::valueAttr("sliceName", 130, &AllIntfQueueCounterSliceReactor::sliceName),
    Zon::valueAttr("counterOut", 131, &AllIntfQueueCounterSliceReactor::counterOut),
    Zon::inputAttr("counterIn", 132, &AllIntfQueueCounterSliceReactor::counterIn,
                   &AllIntfQueueCounterSliceReactor::counterInIs, &AllIntfQueueCounterSliceReactor::counterInDel),
    Zon::collectionAttr<AllIntfQueueCounterSliceReactor::IntfQueueCounterSmIterator>(
        "intfQueueCounterSm", 133,
        Zon::parameters("zonFwkActivity", "intfId", "intfQueueCounterDir", "allIntfQueueCounterDir"),
        &AllIntfQueueCounterSliceReactor::intfQueueCounterSm, &AllIntfQueueCounterSliceReactor::intfQueueCounterSmIs,
        &AllIntfQueueCounterSliceReactor::intfQueueCounterSmDel,
        &AllIntfQueueCounterSliceReactor::intfQueueCounterSmDel,
        &AllIntfQueueCounterSliceReactor::intfQueueCounterSmDelAll,
        &AllIntfQueueCounterSliceReactor::intfQueueCounterSmIterator),
    Zon::functionAttr("handleQueueCounterDir", 134, "id", &AllIntfQueueCounterSliceReactor::handleQueueCounterDir,
                      &AllIntfQueueCounterSliceReactor::handleQueueCounterDir),
    Zon::functionAttr("doPrepareToDie", 136, &AllIntfQueueCounterSliceReactor::doPrepareToDie),
    Zon::keyAttr<AllIntfQueueCounterSliceReactor>(), Zon::activeSwitchAttr<AllIntfQueueCounterSliceReactor>(),
    Zon::zombieSwitchAttr<AllIntfQueueCounterSliceReactor>());
constexpr auto creation = Zon::creator(&AllIntfQueueCounterSliceReactor::AllIntfQueueCounterSliceReactorIs,
                                       "zonFwkActivity", "sliceName", "counterOut", "counterIn");
constinit Zon::TypeSlot slot =
    Zon::typeSlot<AllIntfQueueCounterSliceReactor>(zonTypeModule, "VaroIntf::AllIntfQueueCounterSliceReactor",
                                                   &Zon::PtrInterface::_fwkType, attributes)
        .constructedBy(creation);

}  // namespace

Zon::ZonType* AllIntfQueueCounterSliceReactor::_fwkType() { return slot.node(); }
Zon::ZonType* AllIntfQueueCounterSliceReactor::fwkType() const { return slot.node(); }
bool AllIntfQueueCounterSliceReactor::_fwkTypeRegistered() { return slot.registered(); }

}  // namespace VaroIntf
